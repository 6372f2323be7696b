#include "fileio/plugin_cache.h"

#include "fileio/plugin_library.h"
#include "platform/file.h"
#include "platform/guid_text.h"
#include "platform/text.h"

#include <charconv>
#include <cstdio>

#include <sys/stat.h>

namespace tarn {

namespace fs = std::filesystem;

namespace {

constexpr size_t MOST_CACHE_BYTES = 1 << 22;

/// Headings are compared without case, and end at a bracket or a line; paths may hold anything.
std::string SectionOf(const fs::path& library) {
    std::string section;
    for (const char c : library.native()) {
        if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '/' || c == '.' || c == '-') {
            section += c;
            continue;
        }
        char escaped[4];
        std::snprintf(escaped, sizeof escaped, "%%%02X", static_cast<unsigned char>(c));
        section += escaped;
    }
    return section;
}

template <class Number>
std::optional<Number> NumberOf(const std::string* text) {
    Number value{};
    if (!text) return {};
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), value);
    if (error != std::errc() || end != text->data() + text->size()) return {};
    return value;
}

struct TextField {
    const char* key;
    size_t offset, units;
};
#define TEXT_FIELD(key, member)                                                                              \
    { key, offsetof(FIOPLUGININFO, member), sizeof(FIOPLUGININFO::member) / sizeof(char16_t) }
constexpr TextField TEXTS[] = {TEXT_FIELD("PreloadModules", preloadModules),
                               TEXT_FIELD("ExtReader", readExtensions),
                               TEXT_FIELD("ExtRenderer", renderExtensions), TEXT_FIELD("DialogName", name)};
#undef TEXT_FIELD

struct IdField {
    const char* key;
    GUID FIOPLUGININFO::*id;
};
constexpr IdField IDS[] = {{"Reader", &FIOPLUGININFO::reader}, {"Renderer", &FIOPLUGININFO::renderer}};

}  // namespace

int64_t ModTimeOf(const fs::path& library) {
    struct stat status {};
    if (::stat(library.c_str(), &status) != 0) return 0;
    constexpr int64_t BILLION = 1000000000;
    return status.st_mtim.tv_sec * BILLION + status.st_mtim.tv_nsec;
}

PluginCache::PluginCache(fs::path file) : m_file(std::move(file)) {
    std::string error;
    if (ReadWholeFile(m_file, MOST_CACHE_BYTES, m_stored, error)) m_ini = IniFile(m_stored);
}

std::optional<FIOPLUGININFO> PluginCache::Find(const fs::path& library, int64_t modTime,
                                               uint32_t langId) const {
    const std::string section = SectionOf(library);
    const auto value = [&](const char* key) { return m_ini.Find(section, key); };
    if (NumberOf<int64_t>(value("ModTime")) != modTime || NumberOf<uint32_t>(value("LangID")) != langId)
        return {};
    if (!FindFailure(library, modTime).empty()) return {};
    FIOPLUGININFO info{};
    info.size = sizeof info;
    info.api = FIO_PLUGIN_API;
    info.flags = NumberOf<uint32_t>(value("Flags")).value_or(0);
    for (const IdField& field : IDS) {
        const std::string* text = value(field.key);
        info.*field.id = text ? GuidFromText(*text).value_or(GUID{}) : GUID{};
    }
    for (const TextField& field : TEXTS) {
        const std::string* text = value(field.key);
        if (text)
            CopyText(reinterpret_cast<char16_t*>(reinterpret_cast<char*>(&info) + field.offset), field.units,
                     Utf16FromUtf8(*text).c_str());
    }
    // Anybody may have written into the file.
    if (!CheckPluginInfo(&info).empty()) return {};
    return info;
}

std::string PluginCache::FindFailure(const fs::path& library, int64_t modTime) const {
    const std::string section = SectionOf(library);
    const std::string* reason = m_ini.Find(section, "Failure");
    return reason && NumberOf<int64_t>(m_ini.Find(section, "ModTime")) == modTime ? *reason : std::string();
}

void PluginCache::Set(const fs::path& library, int64_t modTime, uint32_t langId, const FIOPLUGININFO& info) {
    const std::string section = SectionOf(library);
    m_ini.Set(section, "ModTime", std::to_string(modTime));
    m_ini.Set(section, "LangID", std::to_string(langId));
    m_ini.Set(section, "Flags", std::to_string(info.flags));
    m_ini.Set(section, "Failure", "");
    for (const IdField& field : IDS)
        m_ini.Set(section, field.key, info.*field.id != GUID{} ? GuidText(info.*field.id) : "");
    for (const TextField& field : TEXTS)
        m_ini.Set(section, field.key,
                  Utf8FromUtf16(reinterpret_cast<const char16_t*>(reinterpret_cast<const char*>(&info) +
                                                                  field.offset)));
}

void PluginCache::SetFailure(const fs::path& library, int64_t modTime, const std::string& reason) {
    const std::string section = SectionOf(library);
    m_ini.Set(section, "ModTime", std::to_string(modTime));
    m_ini.Set(section, "Failure", reason);
}

bool PluginCache::Save() {
    const std::string text = m_ini.Text();
    if (m_file.empty() || text == m_stored) return true;
    std::error_code ignored;
    fs::create_directories(m_file.parent_path(), ignored);
    std::string error;
    if (!ReplaceFile(m_file, text, error)) return false;
    m_stored = text;
    return true;
}

}  // namespace tarn
