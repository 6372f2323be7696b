#include "platform/user_folders.h"

#include <cstdlib>

std::filesystem::path UserDataFolder() {
    // A relative XDG_DATA_HOME is invalid by the XDG base directory rules and is ignored.
    if (const char* data = std::getenv("XDG_DATA_HOME"); data && data[0] == '/') return data;
    if (const char* home = std::getenv("HOME"); home && home[0] == '/')
        return std::filesystem::path(home) / ".local" / "share";
    return {};
}
