// Where a user's data belongs.
#pragma once

#include "platform/types.h"

#include <filesystem>

/// $XDG_DATA_HOME, else ~/.local/share; empty when neither is known. [any-thread]
QM_API std::filesystem::path UserDataFolder();
