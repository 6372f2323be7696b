#include "kernel/metrics/metrics.h"

#include "kernel/metrics/metric_key.h"
#include "kernel/print/print.h"
#include "platform/text.h"

#include <algorithm>
#include <cstring>
#include <vector>

using namespace tarn;

namespace {

constexpr uint32_t NAME_CHARACTERS = 12;
constexpr uint32_t MOST_STREAM_BYTES = 2048;

struct Name {
    char16_t text[NAME_CHARACTERS];
};

uint32_t Magnitude(int32_t id) { return id < 0 ? 0u - static_cast<uint32_t>(id) : static_cast<uint32_t>(id); }

const char16_t* PrefixOf(uint32_t type) {
    return type == QMMETRIC_TEXT         ? u"S"
           : type == QMMETRIC_BINARY     ? u"B"
           : type == QMMETRIC_MULTI_TEXT ? u"Z"
                                         : u"";
}

Name NameOf(int32_t id, uint32_t type) {
    Name name{};
    QmCchPrintF(name.text, NAME_CHARACTERS, nullptr, u"%s%u", PrefixOf(type), Magnitude(id));
    return name;
}

HRESULT Read(StoreKey* key, const char16_t* name, uint32_t type, void* buffer, size_t capacity,
             size_t& size) {
    size = 0;
    if (!key) return E_UNEXPECTED;
    uint32_t found = 0;
    const HRESULT hr = StoreRead(key, name, buffer, capacity, found, size);
    if (hr != S_OK && hr != STORE_MORE_DATA) return hr;
    if (found != type) return QM_E_WRONG_TYPE;
    return hr == S_OK ? S_OK : QM_E_MORE_DATA;
}

bool ReadNumber(StoreKey* key, int32_t id, uint32_t& value) {
    size_t size = 0;
    const Name name = NameOf(id, QMMETRIC_NUMBER);
    return Read(key, name.text, QMMETRIC_NUMBER, &value, sizeof value, size) == S_OK && size == sizeof value;
}

HRESULT Write(HQMMETRIC handle, const char16_t* name, uint32_t type, const void* data, size_t size) {
    StoreKey* key = KeyOf(handle);
    return key ? StoreWrite(key, name, type, data, size) : E_FAIL;
}

HRESULT Write(HQMMETRIC handle, int32_t id, uint32_t type, const void* data, size_t size) {
    return Write(handle, NameOf(id, type).text, type, data, size);
}

/// A read text ends inside its buffer of `capacity` bytes.
HRESULT TerminateText(void* buffer, size_t capacity, size_t& size) {
    auto* text = static_cast<char16_t*>(buffer);
    const size_t characters = size / sizeof(char16_t), room = capacity / sizeof(char16_t);
    if (std::find(text, text + characters, u'\0') != text + characters) return S_OK;
    if (characters < room) {
        text[characters] = 0;
        return S_OK;
    }
    size += sizeof(char16_t);
    if (room) text[room - 1] = 0;
    return QM_E_MORE_DATA;
}

HRESULT ReadAny(StoreKey* key, const char16_t* name, uint32_t type, void* buffer, uint32_t capacity,
                uint32_t* size) {
    size_t stored = 0;
    if (!buffer) capacity = 0;
    HRESULT hr = Read(key, name, type, buffer, capacity, stored);
    if (hr == S_OK && type == QMMETRIC_TEXT) hr = TerminateText(buffer, capacity, stored);
    if (size) *size = static_cast<uint32_t>(stored);
    return hr;
}

uint32_t ReadText(HQMMETRIC handle, int32_t id, uint32_t type, char16_t* out, uint32_t capacity,
                  const char16_t* defaultText, BOOL keepEmpty) {
    if (!out || capacity == 0) return 0;
    std::fill_n(out, capacity, u'\0');
    size_t size = 0;
    const HRESULT hr =
        Read(KeyOf(handle), NameOf(id, type).text, type, out, capacity * sizeof(char16_t), size);
    const size_t characters = size / sizeof(char16_t);
    if (hr == S_OK && characters > 1 && out[characters - 1] == 0)
        return static_cast<uint32_t>(characters - 1);
    if (hr == S_OK && characters <= 1 && out[0] == 0 && keepEmpty) return 0;
    std::fill_n(out, capacity, u'\0');
    return static_cast<uint32_t>(CopyText(out, capacity, defaultText));
}

}  // namespace

extern "C" {

uint32_t QmGetMetric(HQMMETRIC handle, int32_t id) {
    uint32_t value = 0;
    return ReadNumber(KeyOf(handle), id, value) ? value : 0;
}

int32_t QmGetMetricEx(HQMMETRIC handle, int32_t id, int32_t minimum, int32_t maximum, int32_t defaultValue) {
    StoreKey* key = KeyOf(handle);
    if (!key) return defaultValue;
    uint32_t stored = 0;
    const int32_t value = ReadNumber(key, id, stored) ? static_cast<int32_t>(stored) : defaultValue;
    return minimum == maximum ? value : std::max(minimum, std::min(value, maximum));
}

BOOL QmGetMetricBool(HQMMETRIC handle, int32_t id, BOOL defaultValue) {
    uint32_t value = 0;
    return ReadNumber(KeyOf(handle), id, value) ? value != 0 : defaultValue != 0;
}

HRESULT QmSetMetric(HQMMETRIC handle, int32_t id, uint32_t value) {
    return Write(handle, id, QMMETRIC_NUMBER, &value, sizeof value);
}

HRESULT QmGetMetricAny(HQMMETRIC handle, int32_t id, uint32_t type, void* buffer, uint32_t capacity,
                       uint32_t* size) {
    return ReadAny(KeyOf(handle), NameOf(id, type).text, type, buffer, capacity, size);
}

uint32_t QmGetMetricBinaryEx(HQMMETRIC handle, int32_t id, void* buffer, uint32_t capacity, uint32_t* size) {
    size_t stored = 0;
    const HRESULT hr = Read(KeyOf(handle), NameOf(id, QMMETRIC_BINARY).text, QMMETRIC_BINARY, buffer,
                            buffer ? capacity : 0, stored);
    const size_t read = hr == S_OK ? stored : 0;
    if (buffer) std::memset(static_cast<uint8_t*>(buffer) + read, 0, capacity - read);
    if (size) *size = static_cast<uint32_t>(stored);
    return static_cast<uint32_t>(read);
}

uint32_t QmGetMetricBinary(HQMMETRIC handle, int32_t id, void* buffer, uint32_t capacity) {
    return QmGetMetricBinaryEx(handle, id, buffer, capacity, nullptr);
}

HRESULT QmSetMetricBinary(HQMMETRIC handle, int32_t id, const void* data, uint32_t size) {
    return Write(handle, id, QMMETRIC_BINARY, data, size);
}

HRESULT QmSetMetricStream(HQMMETRIC handle, int32_t id, IStream* stream) {
    if (!stream) return E_POINTER;
    uint64_t size = 0;
    HRESULT hr = stream->Seek(0, STREAM_SEEK_CUR, &size);
    if (Failed(hr)) return hr;
    if (size == 0) return E_UNEXPECTED;
    if (size > MOST_STREAM_BYTES) return E_INVALIDARG;
    uint8_t bytes[MOST_STREAM_BYTES];
    uint32_t read = 0;
    hr = stream->Seek(0, STREAM_SEEK_SET, nullptr);
    if (Succeeded(hr)) hr = stream->Read(bytes, static_cast<uint32_t>(size), &read);
    if (Failed(hr)) return hr;
    return read == size ? QmSetMetricBinary(handle, id, bytes, read) : E_UNEXPECTED;
}

HRESULT QmGetMetricStream(HQMMETRIC handle, int32_t id, IStream* stream) {
    if (!stream) return E_POINTER;
    uint8_t bytes[MOST_STREAM_BYTES];
    const uint32_t size = QmGetMetricBinary(handle, id, bytes, sizeof bytes);
    if (size == 0) return E_UNEXPECTED;
    const HRESULT hr = stream->Seek(0, STREAM_SEEK_SET, nullptr);
    return Failed(hr) ? hr : stream->Write(bytes, size, nullptr);
}

uint32_t QmGetMetricStringEx(HQMMETRIC handle, int32_t id, char16_t* out, uint32_t capacity,
                             const char16_t* defaultText, BOOL keepEmpty) {
    return ReadText(handle, id, QMMETRIC_TEXT, out, capacity, defaultText, keepEmpty);
}

HRESULT QmSetMetricString(HQMMETRIC handle, int32_t id, const char16_t* text) {
    if (!text) text = u"";
    return Write(handle, id, QMMETRIC_TEXT, text, (TextLength(text) + 1) * sizeof(char16_t));
}

uint32_t QmGetMetricMultiStringEx(HQMMETRIC handle, int32_t id, char16_t* out, uint32_t capacity,
                                  const char16_t* defaultText, BOOL keepEmpty) {
    return ReadText(handle, id, QMMETRIC_MULTI_TEXT, out, capacity, defaultText, keepEmpty);
}

HRESULT QmSetMetricMultiString(HQMMETRIC handle, int32_t id, const char16_t* data, uint32_t characters) {
    return Write(handle, id, QMMETRIC_MULTI_TEXT, data, size_t{characters} * sizeof(char16_t));
}

int32_t QmDoesMetricExist(HQMMETRIC handle, int32_t id, uint32_t type) {
    size_t size = 0;
    const HRESULT hr = Read(KeyOf(handle), NameOf(id, type).text, type, nullptr, 0, size);
    return hr == S_OK || hr == QM_E_MORE_DATA ? 0 : 1;
}

HRESULT QmDeleteMetric(HQMMETRIC handle, int32_t id) {
    StoreKey* key = KeyOf(handle);
    if (!key) return E_FAIL;
    HRESULT result = STORE_NOT_FOUND;
    for (const uint32_t type : {QMMETRIC_NUMBER, QMMETRIC_TEXT, QMMETRIC_BINARY, QMMETRIC_MULTI_TEXT}) {
        const HRESULT hr = StoreDelete(key, NameOf(id, type).text);
        if (hr != STORE_NOT_FOUND && Succeeded(result == STORE_NOT_FOUND ? S_OK : result)) result = hr;
    }
    return result;
}

HRESULT QmDeleteMetricUsingName(HQMMETRIC handle, const char16_t* name) {
    StoreKey* key = KeyOf(handle);
    return key && name ? StoreDelete(key, name) : E_FAIL;
}

HRESULT QmSetMetricUsingName(HQMMETRIC handle, const char16_t* name, uint32_t type, const void* data,
                             uint32_t size) {
    return name ? Write(handle, name, type, data, size) : E_INVALIDARG;
}

HRESULT QmGetMetricUsingName(HQMMETRIC handle, const char16_t* name, uint32_t type, void* buffer,
                             uint32_t capacity, uint32_t* size) {
    return name ? ReadAny(KeyOf(handle), name, type, buffer, capacity, size) : E_INVALIDARG;
}

void QmMetricGetName(int32_t id, uint32_t type, char16_t* out) {
    QmCchPrintF(out, NAME_CHARACTERS, nullptr, u"%s%u", type == QMMETRIC_NUMBER ? u"D" : PrefixOf(type),
                Magnitude(id));
}

}  // extern "C"
