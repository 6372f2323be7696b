// A session that uses every member of the document, and a folder that goes with the test.
#pragma once

#include "host/session/session.h"

#include <filesystem>
#include <string>

namespace host::test {

Session FullSession();

/// A fresh folder, removed with its content at the end.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    std::filesystem::path operator/(std::string_view name) const { return m_path / name; }
    const std::filesystem::path& Path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

}  // namespace host::test
