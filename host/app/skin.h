// A folder of images that the host gives its plug-ins for their parts, by the role that each has.
#pragma once

#include "contract/host_contract.h"

#include <QImage>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace host {

class Skin {
public:
    /// Reads ROLE-WIDTHxHEIGHT.png of a folder, images of that size side by side, and where there are those
    /// ROLE-WIDTHxHEIGHT-hot.png and -disabled.png. Files with other names are left alone. Throws
    /// std::runtime_error with file and reason for one that cannot be used, and for a missing folder.
    explicit Skin(const std::filesystem::path& folder);

    /// Fills in the images of the record's role, valid while the skin is; S_FALSE where it has none.
    HRESULT Get(MPIMAGES& images) const;

private:
    struct Strip {
        QImage image;
        MPIMAGESTRIP record{};
    };
    struct Role {
        uint32_t width = 0, height = 0;
        Strip states[3];  ///< normal, hot, disabled
    };
    std::map<uint32_t, Role> m_roles;
};

}  // namespace host
