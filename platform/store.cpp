#include "platform/store.h"

#include "platform/guarded.h"
#include "platform/store_file.h"
#include "platform/text.h"
#include "platform/user_folders.h"

#include <sqlite3.h>

#include <cstring>
#include <limits>

namespace tarn {

struct StoreKey {
    std::shared_ptr<StoreFile> file;
    std::string path;
};

namespace {

/// The process has one connection to a file, which its keys share.
std::shared_ptr<StoreFile> FileOf(StoreScope scope) {
    static std::mutex opening;
    static std::weak_ptr<StoreFile> open[2];
    const std::filesystem::path path = StorePath(scope);
    if (path.empty()) return nullptr;
    const std::lock_guard lock(opening);
    std::weak_ptr<StoreFile>& slot = open[scope == StoreScope::Machine];
    std::shared_ptr<StoreFile> file = slot.lock();
    if (!file || file->Path() != path)
        slot = file = std::make_shared<StoreFile>(path, scope == StoreScope::User);
    return file;
}

void Bind(sqlite3_stmt* statement, int at, std::string_view text) {
    sqlite3_bind_text(statement, at, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
}

std::string_view ColumnBytes(sqlite3_stmt* statement, int column) {
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement, column));
    return {bytes, static_cast<size_t>(sqlite3_column_bytes(statement, column))};
}

constexpr size_t MOST_VALUE_BYTES = 1 << 28;

}  // namespace

void StoreKeyCloser::operator()(StoreKey* key) const { delete key; }

std::filesystem::path StorePath(StoreScope scope) {
    const std::filesystem::path folder =
        scope == StoreScope::User ? UserConfigFolder() : MachineConfigFolder();
    return folder.empty() ? folder : folder / "Tarn" / "settings.db";
}

HRESULT StoreOpenKey(StoreScope scope, std::u16string_view path, StoreKeyPtr& out) {
    out.reset();
    return Guarded([&] {
        std::shared_ptr<StoreFile> file = FileOf(scope);
        if (!file) return STORE_NO_ACCESS;
        out.reset(new StoreKey{std::move(file), Utf8FromUtf16(path)});
        return S_OK;
    });
}

HRESULT StoreDeleteKey(std::u16string_view path) {
    return Guarded([&] {
        const std::shared_ptr<StoreFile> file = FileOf(StoreScope::User);
        if (!file) return STORE_NO_ACCESS;
        const std::string utf8 = Utf8FromUtf16(path);
        const HRESULT hr = file->Run(StoreFile::ERASE_TREE, [&](sqlite3_stmt* statement) {
            Bind(statement, 1, utf8);
            return sqlite3_step(statement);
        });
        return hr == STORE_NOT_FOUND ? S_OK : hr;
    });
}

HRESULT StoreRead(StoreKey* key, std::u16string_view name, void* buffer, size_t capacity, uint32_t& type,
                  size_t& size) {
    type = 0;
    size = 0;
    if (!key) return E_INVALIDARG;
    return Guarded([&] {
        const std::string utf8 = Utf8FromUtf16(name);
        HRESULT found = STORE_NOT_FOUND;
        const HRESULT hr = key->file->Run(StoreFile::READ, [&](sqlite3_stmt* statement) {
            Bind(statement, 1, key->path);
            Bind(statement, 2, utf8);
            const int code = sqlite3_step(statement);
            if (code != SQLITE_ROW) return code;
            const std::string_view bytes = ColumnBytes(statement, 1);
            type = static_cast<uint32_t>(sqlite3_column_int64(statement, 0));
            size = bytes.size();
            found = size <= capacity ? S_OK : STORE_MORE_DATA;
            if (found == S_OK && size) std::memcpy(buffer, bytes.data(), size);
            return code;
        });
        return Failed(hr) ? hr : found;
    });
}

HRESULT StoreWrite(StoreKey* key, std::u16string_view name, uint32_t type, const void* data, size_t size) {
    if (!key || (size && !data) || size > MOST_VALUE_BYTES ||
        (type == STORE_NUMBER && size != sizeof(uint32_t)))
        return E_INVALIDARG;
    return Guarded([&] {
        const std::string utf8 = Utf8FromUtf16(name);
        return key->file->Run(StoreFile::WRITE, [&](sqlite3_stmt* statement) {
            Bind(statement, 1, key->path);
            Bind(statement, 2, utf8);
            sqlite3_bind_int64(statement, 3, type);
            sqlite3_bind_blob(statement, 4, size ? data : "", static_cast<int>(size), SQLITE_STATIC);
            return sqlite3_step(statement);
        });
    });
}

HRESULT StoreDelete(StoreKey* key, std::u16string_view name) {
    if (!key) return E_INVALIDARG;
    uint32_t type = 0;
    size_t size = 0;
    if (const HRESULT hr = StoreRead(key, name, nullptr, 0, type, size); Failed(hr) && hr != STORE_MORE_DATA)
        return hr;
    return Guarded([&] {
        const std::string utf8 = Utf8FromUtf16(name);
        return key->file->Run(StoreFile::ERASE, [&](sqlite3_stmt* statement) {
            Bind(statement, 1, key->path);
            Bind(statement, 2, utf8);
            return sqlite3_step(statement);
        });
    });
}

HRESULT StoreList(std::u16string_view path, std::vector<StoreEntry>& out) {
    out.clear();
    return Guarded([&] {
        const std::shared_ptr<StoreFile> file = FileOf(StoreScope::User);
        if (!file) return STORE_NO_ACCESS;
        const std::string utf8 = Utf8FromUtf16(path);
        const HRESULT hr = file->Run(StoreFile::LIST, [&](sqlite3_stmt* statement) {
            out.clear();
            Bind(statement, 1, utf8);
            int code = sqlite3_step(statement);
            for (; code == SQLITE_ROW; code = sqlite3_step(statement))
                out.push_back({Utf16FromUtf8(ColumnBytes(statement, 0)),
                               Utf16FromUtf8(ColumnBytes(statement, 1)),
                               static_cast<uint32_t>(sqlite3_column_int64(statement, 2)),
                               std::string(ColumnBytes(statement, 3))});
            return code;
        });
        return hr == STORE_NOT_FOUND ? S_OK : hr;
    });
}

}  // namespace tarn
