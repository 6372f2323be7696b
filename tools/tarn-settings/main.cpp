// Lists and edits what Tarn's programs keep of their user: tarn-settings list
#include "platform/text.h"
#include "tools/tarn-settings/setting_text.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>

using namespace tarn;

namespace {

struct Arguments {
    std::string key, name, value, type;
    bool json = false;
};

int Complain(const std::string& what) {
    std::fprintf(stderr, "tarn-settings: %s\n", what.c_str());
    return 1;
}

struct StatusText {
    HRESULT status;
    const char* text;
};
constexpr StatusText STATUS_TEXTS[] = {
    {STORE_NOT_FOUND, "there is no such setting"},
    {STORE_NO_ACCESS, "the file can't be written"},
    {STORE_IO_ERROR, "the disk does not take it"},
    {STORE_FULL, "the disk is full"},
    {STORE_BUSY, "another program is writing it and does not stop"},
    {STORE_DAMAGED, "the file is damaged"},
    {E_OUTOFMEMORY, "there is no memory left"},
};

int ComplainOfStore(HRESULT status, const std::string& doing) {
    const auto* row = std::ranges::find(STATUS_TEXTS, status, &StatusText::status);
    const std::string reason = row != std::end(STATUS_TEXTS) ? row->text : "status " + std::to_string(status);
    return Complain("cannot " + doing + " in " + StorePath(StoreScope::User).string() + ": " + reason);
}

/// Shells make '/' easier to type than '\'.
std::u16string Path(std::string key) {
    std::ranges::replace(key, '/', '\\');
    return Utf16FromUtf8(key);
}

std::string OneLine(std::string text) {
    for (size_t at = 0; (at = text.find('\n', at)) != text.npos; at += 3) text.replace(at, 1, " | ");
    return text;
}

int List(const Arguments& a) {
    std::vector<StoreEntry> entries;
    if (const HRESULT hr = StoreList(Path(a.key), entries); Failed(hr))
        return ComplainOfStore(hr, "list the settings");
    if (a.json) {
        auto rows = nlohmann::json::array();
        for (const StoreEntry& e : entries)
            rows.push_back({{"key", Utf8FromUtf16(e.key)},
                            {"name", Utf8FromUtf16(e.name)},
                            {"type", TypeName(e.type)},
                            {"value", ShownValue(e)}});
        std::printf("%s\n", rows.dump(2, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
        return 0;
    }
    std::u16string key;
    for (const StoreEntry& e : entries) {
        if (e.key != key) std::printf("%s%s\n", key.empty() ? "" : "\n", Utf8FromUtf16(e.key).c_str());
        key = e.key;
        std::printf("  %-12s %-7s %s\n", Utf8FromUtf16(e.name).c_str(), TypeName(e.type).c_str(),
                    OneLine(ShownValue(e)).c_str());
    }
    return 0;
}

int Get(const Arguments& a) {
    StoreEntry entry{Path(a.key), Utf16FromUtf8(a.name), 0, {}};
    StoreKeyPtr key;
    size_t size = 0;
    HRESULT hr = StoreOpenKey(StoreScope::User, entry.key, key);
    if (Succeeded(hr)) hr = StoreRead(key.get(), entry.name, nullptr, 0, entry.type, size);
    while (hr == STORE_MORE_DATA) {
        entry.bytes.resize(size);
        hr = StoreRead(key.get(), entry.name, entry.bytes.data(), entry.bytes.size(), entry.type, size);
    }
    if (Failed(hr)) return ComplainOfStore(hr, "read '" + a.name + "' of '" + a.key + "'");
    entry.bytes.resize(size);
    std::printf("%s\n", ShownValue(entry).c_str());
    return 0;
}

int Set(const Arguments& a) {
    const std::u16string name = Utf16FromUtf8(a.name);
    const uint32_t type = a.type.empty() ? TypeByName(name) : *TypeNamed(a.type);
    std::string error;
    const std::optional<std::string> bytes = ParsedValue(type, a.value, error);
    if (!bytes) return Complain(error + "; --type tells another type");
    StoreKeyPtr key;
    HRESULT hr = StoreOpenKey(StoreScope::User, Path(a.key), key);
    if (Succeeded(hr)) hr = StoreWrite(key.get(), name, type, bytes->data(), bytes->size());
    return Failed(hr) ? ComplainOfStore(hr, "set '" + a.name + "'") : 0;
}

int Delete(const Arguments& a) {
    if (a.name.empty()) {
        const HRESULT hr = StoreDeleteKey(Path(a.key));
        return Failed(hr) ? ComplainOfStore(hr, "delete '" + a.key + "'") : 0;
    }
    StoreKeyPtr key;
    HRESULT hr = StoreOpenKey(StoreScope::User, Path(a.key), key);
    if (Succeeded(hr)) hr = StoreDelete(key.get(), Utf16FromUtf8(a.name));
    return Failed(hr) ? ComplainOfStore(hr, "delete '" + a.name + "' of '" + a.key + "'") : 0;
}

int PrintPath(const Arguments&) {
    const std::string path = StorePath(StoreScope::User).string();
    if (path.empty()) return Complain("there is no home: neither XDG_CONFIG_HOME nor HOME names a folder");
    std::printf("%s\n", path.c_str());
    return 0;
}

}  // namespace

int main(int argc, char** argv) try {
    Arguments a;
    CLI::App app{"Lists and edits the settings that Tarn's programs keep for you.", "tarn-settings"};
    app.footer("Examples:\n  tarn-settings list\n"
               "  tarn-settings set 'Software/Brena Creative Software/Mixhost/Metrics' 7 1\n"
               "  tarn-settings delete 'Software/Brena Creative Software/Mixhost/Metrics' 7");
    app.require_subcommand(1);

    CLI::App* list = app.add_subcommand("list", "show the settings of a key and of those below it");
    list->add_option("key", a.key, "path of the key, parted by / or \\; all keys without it");
    list->add_flag("--json", a.json, "for other programs");
    CLI::App* get = app.add_subcommand("get", "print one value");
    CLI::App* set = app.add_subcommand("set", "store one value");
    CLI::App* remove = app.add_subcommand("delete", "delete one value, or a key with all below it");
    for (CLI::App* command : {get, set, remove})
        command->add_option("key", a.key, "path of the key, parted by / or \\")->required();
    for (CLI::App* command : {get, set}) command->add_option("name", a.name, "name of the value")->required();
    remove->add_option("name", a.name, "name of the value; the whole key without it");
    set->add_option("value", a.value, "number, text, hexadecimal bytes, or texts parted by line ends")
        ->required();
    set->add_option("--type", a.type, "what the value is; else its name tells (S7 is a text, 7 a number)")
        ->check(CLI::IsMember({"number", "text", "binary", "texts"}));
    CLI::App* path = app.add_subcommand("path", "print where the settings lie");
    CLI11_PARSE(app, argc, argv);

    const struct {
        CLI::App* command;
        int (*run)(const Arguments&);
    } commands[] = {{list, List}, {get, Get}, {set, Set}, {remove, Delete}, {path, PrintPath}};
    for (const auto& row : commands)
        if (*row.command) return row.run(a);
    return 2;
} catch (const std::exception& e) {
    std::fprintf(stderr, "tarn-settings: %s\n", e.what());
    return 1;
}
