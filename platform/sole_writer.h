// Whether another program has a file open for writing, such as a recorder that is at work.
#pragma once

#include "platform/types.h"

#include <filesystem>

namespace tarn {

class QM_API SoleWriter {
public:
    /// Asks now. A file system that cannot tell counts as nobody writing.
    explicit SoleWriter(const std::filesystem::path& path);
    bool IsSole() const { return m_isSole; }

private:
    bool m_isSole = true;
};

}  // namespace tarn
