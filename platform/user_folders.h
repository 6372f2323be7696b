// Where a user's data and settings belong.
#pragma once

#include "platform/types.h"

#include <filesystem>

/// $XDG_DATA_HOME, else ~/.local/share; empty when neither is known. [any-thread]
QM_API std::filesystem::path UserDataFolder();
/// $XDG_CONFIG_HOME, else ~/.config; empty when neither is known. [any-thread]
QM_API std::filesystem::path UserConfigFolder();
/// $XDG_CACHE_HOME, else ~/.cache: what can be made again; empty when neither is known. [any-thread]
QM_API std::filesystem::path UserCacheFolder();
/// The first of $XDG_CONFIG_DIRS, else /etc/xdg: what an administrator sets for all users. [any-thread]
QM_API std::filesystem::path MachineConfigFolder();
