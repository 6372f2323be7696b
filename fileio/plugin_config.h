// Configuration files of plug-ins, "*.Fio2007-Config": what the person who installs a plug-in decides.
//
//   [FileIO Plug-Ins]
//   acme=lib/acme.so       a section's name and the library; without a value "acme.so" beside the file
//   [acme]
//   Surrogate=2            the group of plug-ins that share a process; -1, as the plug-in wants it
//   Reader={...}           the reader that the endings below are for; without it, whatever the library has
//   mp4=1                  a further ending that it is asked for
//   wav=0                  one that it is not asked for
#pragma once

#include "platform/com.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace tarn {

struct PluginConfig {
    std::filesystem::path library;
    int32_t group = -1;
    GUID reader{};
    std::map<std::string, bool> extensions;
};

/// Of all such files in the folder, by name. What cannot be read is left out and told of.
std::vector<PluginConfig> ReadPluginConfigs(const std::filesystem::path& folder,
                                            std::vector<std::string>* complaints);

}  // namespace tarn
