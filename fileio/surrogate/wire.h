// Records, ids and texts as they go between the program and a surrogate, and what both know of each other.
#pragma once

#include "fileio/plugin.h"
#include "fileio/surrogate/surrogate.capnp.h"

#include <cstring>
#include <string>

namespace tarn {

/// The first word is taken with the surrogate's process id, so that no two processes have the same.
inline constexpr GUID SURROGATE_CLASS = Guid("{5CDF45F4-888C-461A-8AB2-5AAA015B4642}");
inline constexpr HRESULT FIO_E_CLASS_NOT_REGISTERED = StatusCode(0x80040154);
inline constexpr int SURROGATE_SOCKET = 3;
/// Of one message.
inline constexpr uint64_t SURROGATE_MOST_WORDS = uint64_t{1} << 24;

inline GUID SurrogateClassOf(uint32_t processId) {
    GUID id = SURROGATE_CLASS;
    id.Data1 ^= processId;
    return id;
}

inline kj::ArrayPtr<const kj::byte> WireBytes(const void* data, size_t size) {
    return {static_cast<const kj::byte*>(data), size};
}
template <class Record>
kj::ArrayPtr<const kj::byte> WireRecord(const Record& record) {
    return WireBytes(&record, sizeof record);
}
inline kj::ArrayPtr<const kj::byte> WireText(std::u16string_view text) {
    return WireBytes(text.data(), text.size() * sizeof(char16_t));
}

/// False where it is of another size.
template <class Record>
bool FromWire(capnp::Data::Reader bytes, Record* record) {
    if (bytes.size() != sizeof *record) return false;
    std::memcpy(record, bytes.begin(), sizeof *record);
    return true;
}
inline std::u16string TextFromWire(capnp::Data::Reader bytes) {
    std::u16string text(bytes.size() / sizeof(char16_t), u'\0');
    if (!text.empty()) std::memcpy(text.data(), bytes.begin(), text.size() * sizeof(char16_t));
    return text.substr(0, text.find(u'\0'));
}

}  // namespace tarn
