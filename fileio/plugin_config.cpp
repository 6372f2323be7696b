#include "fileio/plugin_config.h"

#include "fileio/extensions.h"
#include "kernel/profile/profile.h"
#include "platform/guid_text.h"
#include "platform/text.h"

#include <algorithm>
#include <charconv>

namespace tarn {

namespace fs = std::filesystem;

namespace {

constexpr char LIST[] = "FileIO Plug-Ins";

PluginConfig ConfigOf(const IniFile& ini, const std::string& section, const fs::path& folder,
                      std::vector<std::string>& wrong) {
    const std::string* library = ini.Find(LIST, section);
    PluginConfig config;
    config.library = folder / (library && !library->empty() ? *library : section + ".so");
    for (const std::string& key : ini.Keys(section)) {
        const std::string& value = *ini.Find(section, key);
        const std::string extension = ExtensionOf(Utf16FromUtf8(key), true);
        if (extension == "surrogate") {
            const auto [end, error] =
                std::from_chars(value.data(), value.data() + value.size(), config.group);
            if (error == std::errc() && end == value.data() + value.size()) continue;
            config.group = -1;
            wrong.push_back(JoinText({"[", section, "] Surrogate=", value, " is no number"}));
        } else if (extension == "reader") {
            const std::optional<GUID> reader = GuidFromText(value);
            config.reader = reader.value_or(GUID{});
            if (!reader) wrong.push_back(JoinText({"[", section, "] Reader=", value, " is no class id"}));
        } else if (AreExtensions(extension) && (value == "0" || value == "1")) {
            config.extensions[extension] = value == "1";
        } else {
            wrong.push_back(JoinText({"[", section, "] ", key, "=", value, " is neither 0 nor 1"}));
        }
    }
    return config;
}

}  // namespace

std::vector<PluginConfig> ReadPluginConfigs(const fs::path& folder, std::vector<std::string>* complaints) {
    std::vector<fs::path> files;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(folder, ignored))
        if (entry.path().extension() == ".Fio2007-Config") files.push_back(entry.path());
    std::ranges::sort(files);
    std::vector<PluginConfig> configs;
    for (const fs::path& file : files) {
        IniFile ini;
        std::vector<std::string> wrong;
        if (Failed(ReadIniFile(file, ini))) wrong.emplace_back("cannot be read");
        for (const std::string& section : ini.Keys(LIST))
            configs.push_back(ConfigOf(ini, section, folder, wrong));
        for (const std::string& reason : wrong) complaints->push_back(file.string() + ": " + reason);
    }
    return configs;
}

}  // namespace tarn
