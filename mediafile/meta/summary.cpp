#include "mediafile/meta/summary.h"

#include "mediafile/byte_order.h"
#include "mediafile/chunk_io.h"
#include "mediafile/file_stream.h"
#include "platform/guarded.h"
#include "platform/stream.h"
#include "platform/text.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

using namespace tarn;

namespace {

constexpr uint32_t STREAM_VERSION = 8;

/// A list that is freed unless it is taken.
struct OwnedList {
    SUMMARYLIST list{};
    ~OwnedList() { QmSummary_Free(&list); }
    void GiveTo(SUMMARYLIST* target) { std::swap(list, *target); }
};

char16_t* NewText(std::u16string_view text) {
    auto* block = static_cast<char16_t*>(MemAlloc((text.size() + 1) * sizeof(char16_t)));
    if (block) std::memcpy(block, text.data(), text.size() * sizeof(char16_t));
    return block;
}

bool Append(SUMMARYLIST* list, uint32_t id, char16_t* text) {
    const size_t used = list->count * sizeof(SUMMARYITEM);
    auto* items = static_cast<SUMMARYITEM*>(MemResize(list->items, used, used + sizeof(SUMMARYITEM)));
    if (!items) return false;
    items[list->count++] = {id, text};
    list->items = items;
    return true;
}
bool AppendCopy(SUMMARYLIST* list, uint32_t id, const char16_t* text) {
    char16_t* copy = text ? NewText(text) : nullptr;
    if (text && !copy) return false;
    if (Append(list, id, copy)) return true;
    MemFree(copy);
    return false;
}

std::u16string FromAnsi(const std::vector<uint8_t>& bytes) {
    return Utf16FromWindows1252(reinterpret_cast<const char*>(bytes.data()));
}
std::u16string FromWide(const std::vector<uint8_t>& bytes) {
    std::u16string text;
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto unit = FromLittleEndian<uint16_t>(&bytes[i]);
        if (unit == 0) break;
        text += static_cast<char16_t>(unit);
    }
    return text;
}

HRESULT Load(HQMFILE file, SUMMARYLIST* list, uint32_t* remaining,
             std::u16string (*text)(const std::vector<uint8_t>&)) {
    if (!list || !remaining) return E_INVALIDARG;
    QmSummary_Free(list);
    const FileStream s{file};
    const int64_t start = s.Tell();
    uint32_t count = 0, id = 0, size = 0;
    for (uint32_t left = *remaining; left >= RIFF_CHUNK_HEADER; count++) {
        if (Failed(riff_ReadChunkHeader(file, &id, &size))) return s.Seek(start), MEDIA_E_READ;
        left -= RIFF_CHUNK_HEADER;
        left -= std::min(left, riff_SkipChunk(file, size));
    }
    s.Seek(start);
    OwnedList loaded;
    std::vector<uint8_t> payload;
    for (; count > 0; count--) {
        if (Failed(riff_ReadChunkHeader(file, &id, &size))) return MEDIA_E_READ;
        if (s.Size() - s.Tell() < int64_t{size}) return MEDIA_E_READ;
        payload.assign(size_t{size} + 2, 0);
        if (const HRESULT hr = riff_ReadData(file, payload.data(), size); Failed(hr)) return hr;
        char16_t* block = NewText(text(payload));
        if (!block) return E_OUTOFMEMORY;
        if (!Append(&loaded.list, id, block)) return MemFree(block), E_OUTOFMEMORY;
        *remaining -= RIFF_CHUNK_HEADER;
        *remaining -= static_cast<uint32_t>(std::min<uint64_t>(*remaining, WAVE_GRAMMAR.Padded(size)));
    }
    loaded.GiveTo(list);
    return S_OK;
}

std::string AnsiBytes(const char16_t* text) { return Windows1252FromUtf16(text) + '\0'; }
std::string WideBytes(const char16_t* text) {
    return {reinterpret_cast<const char*>(text), (TextLength(text) + 1) * sizeof(char16_t)};
}

HRESULT Save(HQMFILE file, const SUMMARYLIST* list, uint32_t type, uint32_t* written,
             std::string (*bytes)(const char16_t*)) {
    if (written) *written = 0;
    if (!list || list->count == 0) return S_OK;
    const FileStream s{file};
    const int64_t start = s.Tell();
    if (Failed(riff_WriteListHeader(file, type, 0))) return MEDIA_E_WRITE;
    for (const SUMMARYITEM& item : std::span(list->items, list->count)) {
        if (!item.text) continue;
        const std::string payload = bytes(item.text);
        if (Failed(riff_WriteChunk(file, item.id, payload.data(), static_cast<uint32_t>(payload.size()),
                                   nullptr)))
            return MEDIA_E_WRITE;
    }
    const int64_t end = s.Tell(), size = end - start - RIFF_CHUNK_HEADER;
    if (size > int64_t{RIFF_LARGEST}) return MEDIA_E_TOO_LARGE;
    if (!s.Seek(start) || Failed(riff_WriteListHeader(file, type, static_cast<uint32_t>(size))) ||
        !s.Seek(end))
        return MEDIA_E_WRITE;
    if (written) *written = static_cast<uint32_t>(size) + RIFF_CHUNK_HEADER;
    return S_OK;
}

bool ReadWord(IStream* stream, uint32_t* value) {
    uint32_t got = 0;
    return Succeeded(stream->Read(value, sizeof *value, &got)) && got == sizeof *value;
}
bool WriteBytes(IStream* stream, const void* bytes, uint32_t count) {
    uint32_t done = 0;
    return Succeeded(stream->Write(bytes, count, &done)) && done == count;
}

}  // namespace

HRESULT _summarylisttag::Persist(IStream* stream, uint32_t) const {
    if (count == 0) return S_OK;
    const uint32_t head[] = {STREAM_VERSION, count};
    if (!WriteBytes(stream, head, sizeof head)) return MEDIA_E_WRITE;
    for (const SUMMARYITEM& item : std::span(items, count)) {
        const size_t length = item.text ? (TextLength(item.text) + 1) * sizeof(char16_t) : 0;
        const uint32_t itemHead[] = {item.id, static_cast<uint32_t>(length)};
        if (!WriteBytes(stream, itemHead, sizeof itemHead) || !WriteBytes(stream, item.text, itemHead[1]))
            return MEDIA_E_WRITE;
    }
    return S_OK;
}

HRESULT _summarylisttag::Create(IStream* stream, uint32_t, _summarylisttag* list) {
    return Guarded([&] {
        constexpr uint32_t PIECE = 1 << 16;
        QmSummary_Free(list);
        uint32_t version = 0, number = 0;
        if (!ReadWord(stream, &version)) return S_OK;  // an empty list wrote nothing
        if (version != STREAM_VERSION || !ReadWord(stream, &number)) return MEDIA_E_READ;
        OwnedList loaded;
        for (; number > 0; number--) {
            uint32_t id = 0, length = 0;
            if (!ReadWord(stream, &id) || !ReadWord(stream, &length)) return MEDIA_E_READ;
            // By pieces: a length that lies is no reason to ask for the memory.
            std::vector<uint8_t> bytes;
            while (bytes.size() < length) {
                const size_t before = bytes.size();
                const auto part = static_cast<uint32_t>(std::min<size_t>(length - before, PIECE));
                bytes.resize(before + part);
                uint32_t got = 0;
                if (Failed(stream->Read(&bytes[before], part, &got)) || got != part) return MEDIA_E_READ;
            }
            if (!AppendCopy(&loaded.list, id, length > 1 ? FromWide(bytes).c_str() : nullptr))
                return E_OUTOFMEMORY;
        }
        loaded.GiveTo(list);
        return S_OK;
    });
}

extern "C" {

HRESULT QmSummary_Load(HQMFILE file, SUMMARYLIST* list, uint32_t* remaining) {
    return Guarded([&] { return Load(file, list, remaining, FromAnsi); });
}
HRESULT QmSummary_LoadUNFO(HQMFILE file, SUMMARYLIST* list, uint32_t* remaining) {
    return Guarded([&] { return Load(file, list, remaining, FromWide); });
}
HRESULT QmSummary_Save(HQMFILE file, const SUMMARYLIST* list, uint32_t* written) {
    return Guarded([&] { return Save(file, list, FourCC("INFO"), written, AnsiBytes); });
}
HRESULT QmSummary_SaveUNFO(HQMFILE file, const SUMMARYLIST* list, uint32_t* written) {
    return Guarded([&] { return Save(file, list, FourCC("UNFO"), written, WideBytes); });
}

HRESULT QmSummary_GetStringFromFile(HQMFILE file, uint32_t id, char16_t* text, uint32_t capacity,
                                    uint32_t* remaining) {
    const PositionKeeper keeper(FileStream{file});
    uint32_t size = 0, item = 0, left = remaining ? *remaining : 0;
    HRESULT hr = riff_FindListChunk(file, FourCC("INFO"), &size, remaining ? &left : nullptr);
    if (Succeeded(hr)) hr = riff_FindChunkHeader(file, id, &item, &size);
    if (Succeeded(hr)) hr = riff_ReadANSIString(file, text, capacity, &item);
    return hr;
}

HRESULT QmSummary_SetItem(SUMMARYLIST* list, uint32_t id, const char16_t* text) {
    if (id == 0) return E_INVALIDARG;
    const int32_t index = QmSummary_GetItemIndex(list, id);
    if (index < 0) return AppendCopy(list, id, text) ? S_OK : E_OUTOFMEMORY;
    SUMMARYITEM& item = list->items[index];
    if (text) {
        char16_t* copy = NewText(text);
        if (!copy) return E_OUTOFMEMORY;
        MemFree(std::exchange(item.text, copy));
        return S_OK;
    }
    if (list->count == 1) return QmSummary_Free(list), S_OK;
    MemFree(item.text);
    std::move(&item + 1, list->items + list->count, &item);
    list->items[--list->count] = {};
    return S_OK;
}
int32_t QmSummary_GetItemIndex(const SUMMARYLIST* list, uint32_t id) {
    for (uint32_t i = 0; i < list->count; i++)
        if (list->items[i].id == id) return static_cast<int32_t>(i);
    return -1;
}
const char16_t* QmSummary_GetItemText(const SUMMARYLIST* list, uint32_t id) {
    const int32_t index = QmSummary_GetItemIndex(list, id);
    return index < 0 ? nullptr : list->items[index].text;
}
HRESULT QmSummary_Copy(SUMMARYLIST* target, const SUMMARYLIST* source) {
    OwnedList copy;
    for (const SUMMARYITEM& item : std::span(source->items, source->count))
        if (!AppendCopy(&copy.list, item.id, item.text)) return E_OUTOFMEMORY;
    copy.GiveTo(target);
    return S_OK;
}
HRESULT QmSummary_Merge(SUMMARYLIST* target, const SUMMARYLIST* source) {
    for (const SUMMARYITEM& item : std::span(source->items, source->count))
        if (item.text)
            if (const HRESULT hr = QmSummary_SetItem(target, item.id, item.text); Failed(hr)) return hr;
    return S_OK;
}
int32_t QmSummary_Compare(const SUMMARYLIST* a, const SUMMARYLIST* b) {
    if (a->count != b->count) return a->count < b->count ? -1 : 1;
    for (uint32_t i = 0; i < a->count; i++) {
        const SUMMARYITEM &x = a->items[i], &y = b->items[i];
        if (x.id != y.id) return x.id < y.id ? -1 : 1;
        if (!x.text != !y.text) return x.text ? 1 : -1;
        if (!x.text) continue;
        const int order = std::u16string_view(x.text).compare(y.text);
        if (order != 0) return order < 0 ? -1 : 1;
    }
    return 0;
}
void QmSummary_Free(SUMMARYLIST* list) {
    for (uint32_t i = 0; i < list->count; i++) MemFree(list->items[i].text);
    MemFree(list->items);
    *list = {};
}

}  // extern "C"
