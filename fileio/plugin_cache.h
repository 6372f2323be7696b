// What plug-ins have said of themselves, kept from start to start in a file of the user's cache, so that a
// library is loaded only when it is new, changed, or wanted. One thread at a time.
#pragma once

#include "fileio/plugin.h"
#include "kernel/profile/ini_file.h"

#include <filesystem>
#include <optional>

namespace tarn {

/// Of a library's file: what tells that it has changed; 0 when there is no such file.
int64_t ModTimeOf(const std::filesystem::path& library);

class PluginCache {
public:
    /// Reads the file; one that is not there or cannot be read is empty.
    explicit PluginCache(std::filesystem::path file);

    /// What the library said in that language when it was of that time.
    std::optional<FIOPLUGININFO> Find(const std::filesystem::path& library, int64_t modTime,
                                      uint32_t langId) const;
    /// Why the library of that time is not to be tried again; empty when it may be.
    std::string FindFailure(const std::filesystem::path& library, int64_t modTime) const;

    void Set(const std::filesystem::path& library, int64_t modTime, uint32_t langId,
             const FIOPLUGININFO& info);
    void SetFailure(const std::filesystem::path& library, int64_t modTime, const std::string& reason);
    /// False when it cannot be written.
    bool Save();

private:
    const std::filesystem::path m_file;
    std::string m_stored;
    IniFile m_ini;
};

}  // namespace tarn
