// The user's settings: typed values by name under keys by path, in one SQLite file
// ($XDG_CONFIG_HOME/Tarn/settings.db, else ~/.config), and those that an administrator gives all users
// ($XDG_CONFIG_DIRS, else /etc/xdg), which are only read.
//
// Paths are parted by backslashes; paths and names are the same whatever the case of their ASCII letters. A
// key exists as long as it has values. A value is its type and its bytes, kept as they are: a text's bytes
// are its UTF-16 characters with whatever terminator the writer counted in.
//
// Several processes and threads may use the file at once; a call waits at most a second for another's write.
// A write is whole or not at all, also when the process is killed in the middle; after a loss of power the
// last ones may be gone, but never a part of one. Where the folder can't be written, what is there can still
// be read. A damaged file is set aside as settings.db.damaged-N with one line on stderr, and an empty one
// takes its place.
//
// Functions return S_OK, E_OUTOFMEMORY, E_INVALIDARG or STORE_..., never an exception. [any-thread]
#pragma once

#include "platform/types.h"

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tarn {

inline constexpr uint32_t STORE_TEXT = 1;
inline constexpr uint32_t STORE_BINARY = 3;
inline constexpr uint32_t STORE_NUMBER = 4;  ///< 4 bytes
inline constexpr uint32_t STORE_MULTI_TEXT = 7;

inline constexpr HRESULT STORE_NOT_FOUND = StatusCode(0x80070002);
inline constexpr HRESULT STORE_NO_ACCESS = StatusCode(0x80070005);  ///< no home, or it can't be written
inline constexpr HRESULT STORE_IO_ERROR = StatusCode(0x8007001D);
inline constexpr HRESULT STORE_FULL = StatusCode(0x80070070);
inline constexpr HRESULT STORE_BUSY = StatusCode(0x800700AA);  ///< another process kept the file too long
inline constexpr HRESULT STORE_MORE_DATA = StatusCode(0x800700EA);  ///< the buffer is too small
inline constexpr HRESULT STORE_DAMAGED = StatusCode(0x80070570);

enum class StoreScope { User, Machine };

struct StoreKey;
struct StoreKeyCloser {
    QM_API void operator()(StoreKey* key) const;
};
using StoreKeyPtr = std::unique_ptr<StoreKey, StoreKeyCloser>;

/// Opens a key, whether it has values or not; nothing is read or written yet. STORE_NO_ACCESS without a home.
[[nodiscard]] QM_API HRESULT StoreOpenKey(StoreScope scope, std::u16string_view path, StoreKeyPtr& out);
/// Deletes all values of a key of the user and of the keys below it.
[[nodiscard]] QM_API HRESULT StoreDeleteKey(std::u16string_view path);

/// Copies a value of at most `capacity` bytes. `type` and `size` tell what is stored, also with
/// STORE_MORE_DATA, which leaves the buffer as it was; otherwise they are 0 on failure.
[[nodiscard]] QM_API HRESULT StoreRead(StoreKey* key, std::u16string_view name, void* buffer, size_t capacity,
                                       uint32_t& type, size_t& size);
/// Replaces a value, whatever its type was. A number of other than 4 bytes is E_INVALIDARG.
[[nodiscard]] QM_API HRESULT StoreWrite(StoreKey* key, std::u16string_view name, uint32_t type,
                                        const void* data, size_t size);
[[nodiscard]] QM_API HRESULT StoreDelete(StoreKey* key, std::u16string_view name);

struct StoreEntry {
    std::u16string key;
    std::u16string name;
    uint32_t type;
    std::string bytes;
};
/// All values of a key of the user and of those below it, of all keys for an empty path, by path and name.
[[nodiscard]] QM_API HRESULT StoreList(std::u16string_view path, std::vector<StoreEntry>& out);

/// Where the file is or would be; empty without a home.
QM_API std::filesystem::path StorePath(StoreScope scope);

}  // namespace tarn
