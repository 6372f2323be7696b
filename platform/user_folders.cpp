#include "platform/user_folders.h"

#include <cstdlib>
#include <string>

namespace {
std::filesystem::path Folder(const char* variable, const char* belowHome) {
    // A relative path there is invalid by the XDG base directory rules and is ignored.
    if (const char* folder = std::getenv(variable); folder && folder[0] == '/') return folder;
    if (const char* home = std::getenv("HOME"); home && home[0] == '/')
        return std::filesystem::path(home) / belowHome;
    return {};
}
}  // namespace

std::filesystem::path UserDataFolder() { return Folder("XDG_DATA_HOME", ".local/share"); }
std::filesystem::path UserConfigFolder() { return Folder("XDG_CONFIG_HOME", ".config"); }
std::filesystem::path UserCacheFolder() { return Folder("XDG_CACHE_HOME", ".cache"); }

std::filesystem::path MachineConfigFolder() {
    const char* folders = std::getenv("XDG_CONFIG_DIRS");
    const std::string first = folders ? folders : "";
    const std::string folder = first.substr(0, first.find(':'));
    return !folder.empty() && folder[0] == '/' ? folder : "/etc/xdg";
}
