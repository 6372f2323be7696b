#include "tools/strings/catalog.h"

#include "tools/strings/directives.h"

#include <gettext-po.h>

#include <algorithm>
#include <charconv>
#include <set>
#include <span>

namespace {

namespace fs = std::filesystem;

// File names by slot; the order is that of the records' languages.
constexpr const char* LANGUAGE_FILES[LANGUAGES] = {"en",    "ja", "de", "es", "fr", "zh_CN", "zh_TW",
                                                   "da",    "fi", "it", "ko", "nl", "nb",    "pt_BR",
                                                   "pt_PT", "ru", "sv", "pl", "he"};

struct PoEntry {
    std::string key, english, translation;
    bool fuzzy;
};

std::vector<std::string>* errorsOfTheReader = nullptr;

void TakeError(int severity, po_message_t, const char* file, size_t line, size_t, int, const char* text) {
    if (severity == PO_SEVERITY_WARNING) return;
    errorsOfTheReader->push_back(std::string(file ? file : "") + ":" + std::to_string(line) + ": " + text);
}

void TakeErrors(int severity, po_message_t message, const char* file, size_t line, size_t column,
                int multiline, const char* text, po_message_t, const char*, size_t, size_t, int,
                const char*) {
    TakeError(severity, message, file, line, column, multiline, text);
}

std::vector<PoEntry> ReadPo(const fs::path& file, std::vector<std::string>& problems) {
    errorsOfTheReader = &problems;
    const po_xerror_handler handler = {TakeError, TakeErrors};
    const po_file_t po = po_file_read(file.c_str(), &handler);
    if (!po) {
        problems.push_back(file.string() + ": cannot be read");
        return {};
    }
    std::vector<PoEntry> entries;
    const po_message_iterator_t at = po_message_iterator(po, nullptr);
    while (const po_message_t message = po_next_message(at)) {
        const std::string english = po_message_msgid(message);
        if (english.empty() || po_message_is_obsolete(message)) continue;
        const char* key = po_message_msgctxt(message);
        entries.push_back(
            {key ? key : "", english, po_message_msgstr(message), po_message_is_fuzzy(message) != 0});
        if (!key) problems.push_back(file.string() + ": \"" + english + "\" has no msgctxt");
    }
    po_message_iterator_free(at);
    po_file_free(po);
    return entries;
}

bool IsName(const std::string& name) {
    const auto isPart = [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '.';
    };
    return !name.empty() && std::ranges::all_of(name, isPart);
}

/// False when the key has not its form.
bool SplitKey(const std::string& key, bool numbered, TextEntry& entry) {
    const char* at = key.data();
    if (numbered) {
        const auto [end, error] = std::from_chars(at, at + key.size(), entry.id);
        if (error != std::errc() || entry.id == 0 || entry.id > 0xFFFF || *end != ' ') return false;
        at = end + 1;
    }
    entry.name = at;
    return IsName(entry.name);
}

std::string Listed(const std::vector<std::string>& directives) {
    std::string text;
    for (const std::string& d : directives) text += (text.empty() ? "" : ", ") + d;
    return text.empty() ? "nothing" : text;
}

void ReadTemplate(const fs::path& pot, bool numbered, Catalog& catalog) {
    std::set<std::string> names;
    std::set<uint32_t> ids;
    for (PoEntry& po : ReadPo(pot, catalog.problems)) {
        TextEntry entry{};
        if (!SplitKey(po.key, numbered, entry))
            catalog.problems.push_back(pot.string() + ": \"" + po.key + "\" is no key");
        else if (!names.insert(entry.name).second || (numbered && !ids.insert(entry.id).second))
            catalog.problems.push_back(pot.string() + ": \"" + po.key + "\" stands twice");
        entry.texts[0] = std::move(po.english);
        catalog.entries.push_back(std::move(entry));
    }
    if (catalog.entries.empty()) catalog.problems.push_back(pot.string() + ": holds no text");
}

void ReadTranslation(const fs::path& file, size_t slot, bool numbered, Catalog& catalog) {
    for (const PoEntry& po : ReadPo(file, catalog.problems)) {
        const auto report = [&](const std::string& reason) {
            catalog.problems.push_back(file.string() + ": \"" + po.key + "\" " + reason);
        };
        TextEntry key{};
        if (!SplitKey(po.key, numbered, key)) {
            report("is no key");
            continue;
        }
        const auto entry = std::ranges::find(catalog.entries, key.name, &TextEntry::name);
        if (entry == catalog.entries.end() || entry->id != key.id) {
            report("is not in the template");
            continue;
        }
        // A text that a translator has not done yet, or marked as doubtful, shows in English.
        if (po.translation.empty() || po.fuzzy) continue;
        const std::string& english = *entry->texts[0];
        if (po.english != english) {
            report("translates another English text: \"" + po.english + "\"");
            continue;
        }
        const auto wanted = DirectivesOf(english), given = DirectivesOf(po.translation);
        if (wanted != given) {
            report("reads " + Listed(given) + " where the English text reads " + Listed(wanted));
            continue;
        }
        entry->texts[slot] = po.translation;
    }
}

}  // namespace

Catalog ReadCatalog(const fs::path& pot, bool numbered) {
    Catalog catalog;
    ReadTemplate(pot, numbered, catalog);
    const std::span files = std::span(LANGUAGE_FILES).first(numbered ? LANGUAGES : RECORD_LANGUAGES);
    for (size_t slot = 1; slot < files.size(); slot++) {
        const fs::path file = pot.parent_path() / (std::string(files[slot]) + ".po");
        if (fs::exists(file)) ReadTranslation(file, slot, numbered, catalog);
    }
    for (const fs::directory_entry& file : fs::directory_iterator(pot.parent_path())) {
        const std::string stem = file.path().stem().string();
        if (file.path().extension() == ".po" &&
            std::find(files.begin() + 1, files.end(), stem) == files.end())
            catalog.problems.push_back(file.path().string() + ": no language of that name has a slot");
    }
    return catalog;
}
