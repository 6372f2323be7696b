#include "mediafile/riff64.h"

#include "mediafile/file_stream.h"
#include "mediafile/riff_core.h"

using namespace tarn;

namespace {

constexpr uint64_t TYPE_BYTES = 16;

/// Bytes up to the next multiple of 8. A file has fewer than 2 to the 63rd, so larger sizes are that.
uint64_t Padded(uint64_t size) {
    constexpr uint64_t MOST = uint64_t{INT64_MAX} & ~uint64_t{7};
    return size > MOST ? MOST : (size + 7) & ~uint64_t{7};
}

uint64_t Less(uint64_t size, uint64_t by) { return size - std::min(size, by); }

FileStream On(HQMFILE file) { return FileStream{file}; }

bool ReadLong(HQMFILE file, uint64_t* value) {
    uint8_t bytes[8] = {};
    const bool read = On(file).Read(bytes, sizeof bytes);
    *value = FromLittleEndian<uint64_t>(bytes);
    return read;
}
bool WriteLong(HQMFILE file, uint64_t value) {
    uint8_t bytes[8];
    ToLittleEndian(bytes, value);
    return On(file).Write(bytes, sizeof bytes);
}
// The record lies in memory as in the file: this processor's order is the file's.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);
bool ReadGuid(HQMFILE file, GUID* guid) { return On(file).Read(guid, sizeof *guid); }
bool WriteGuid(HQMFILE file, const GUID* guid) { return On(file).Write(guid, sizeof *guid); }

void Move(HQMFILE file, uint64_t bytes) { QmFile_Seek(file, static_cast<int64_t>(bytes), FILE_FROM_CURRENT); }

HRESULT Written(bool done) { return done ? S_OK : MEDIA_E_WRITE; }
HRESULT Read(bool done) { return done ? S_OK : MEDIA_E_READ; }

bool WriteAll(HQMFILE file, const void* buffer, uint64_t bytes) {
    constexpr uint32_t MOST = 1u << 30;
    const auto* data = static_cast<const uint8_t*>(buffer);
    for (; bytes > 0;) {
        const auto part = static_cast<uint32_t>(std::min<uint64_t>(bytes, MOST));
        if (!On(file).Write(data, part)) return false;
        data += part;
        bytes -= part;
    }
    return true;
}

bool WriteZeros(HQMFILE file, uint64_t count) {
    constexpr uint8_t ZEROS[8] = {};
    return On(file).Write(ZEROS, static_cast<uint32_t>(count));
}

/// Below 0 or below a header, in signed numbers.
bool IsBelowHeader(uint64_t remaining) {
    return static_cast<int64_t>(remaining) < static_cast<int64_t>(RIFF64_CHUNK_HEADER);
}

/// What is left after a skip, not below 0.
uint64_t LeftAfter(uint64_t remaining, uint64_t taken) {
    return static_cast<int64_t>(remaining) < 0 ? remaining : Less(remaining, taken);
}

HRESULT FromStart(HQMFILE file, uint64_t* left) {
    GUID form;
    QmFile_Seek(file, 0, FILE_FROM_START);
    return riff64_ReadFileID(file, left, &form);
}

}  // namespace

extern "C" {

HRESULT riff64_ValidateChunkHeader(const GUID*, uint64_t size) {
    constexpr uint64_t NOT_ALLOWED = 0x800000007;
    if (size & NOT_ALLOWED) return MEDIA_E_MALFORMED;
    return size == 0 ? MEDIA_E_EMPTY_CHUNK : S_OK;
}
HRESULT riff64_SaveLocation(HQMFILE file, uint64_t* position) {
    *position = static_cast<uint64_t>(QmFile_Tell(file));
    return S_OK;
}
HRESULT riff64_RestoreLocation(HQMFILE file, uint64_t position) {
    return Read(QmFile_Seek(file, static_cast<int64_t>(position), FILE_FROM_START) >= 0);
}
uint64_t riff64_SkipChunk(HQMFILE file, uint64_t size) {
    Move(file, Padded(size));
    return Padded(size);
}
const char16_t* riff64_getGUIDLabel(const GUID*) { return nullptr; }
const char16_t* riff64_getGUIDLabelProperly(const GUID*) { return nullptr; }

HRESULT riff64_ReadData(HQMFILE file, void* buffer, uint64_t bytes) {
    if (!On(file).Read(buffer, static_cast<uint32_t>(bytes))) return MEDIA_E_READ;
    if (bytes & 7) Move(file, 8 - (bytes & 7));
    return S_OK;
}
HRESULT riff64_ReadDataBounded(HQMFILE file, void* buffer, uint32_t room, uint32_t size) {
    const uint32_t read = std::min(room, size);
    if (!On(file).Read(buffer, read)) return MEDIA_E_READ;
    Move(file, uint64_t{size & 7} + room - read);
    return S_OK;
}
HRESULT riff64_ReadDataAlloc(HQMFILE file, RIFFDATABLOCK* block) {
    block->data = nullptr;
    if (block->size == 0) return S_OK;
    if (QmFile_Size(file) - QmFile_Tell(file) < int64_t{block->size}) return MEDIA_E_READ;
    block->data = MemAlloc(block->size);
    if (!block->data) return E_OUTOFMEMORY;
    const HRESULT hr = riff64_ReadData(file, block->data, block->size);
    if (Failed(hr)) MemFree(std::exchange(block->data, nullptr));
    return hr;
}

HRESULT riff64_SetRIFFSize(HQMFILE file, uint64_t size) {
    const PositionKeeper keeper(On(file));
    return Written(On(file).Seek(16) && WriteLong(file, size + RIFF64_CHUNK_HEADER));
}
HRESULT riff64_GetFileSize(HQMFILE file, uint64_t* size) {
    *size = 0;
    uint64_t left = 0;
    if (const HRESULT hr = FromStart(file, &left); Failed(hr)) return hr;
    const PositionKeeper keeper(On(file));
    return Read(On(file).Seek(16) && ReadLong(file, size));
}
HRESULT riff64_UpdateRIFFSize(HQMFILE file, int64_t delta) {
    const PositionKeeper keeper(On(file));
    uint64_t size = 0;
    if (!On(file).Seek(16) || !ReadLong(file, &size)) return MEDIA_E_READ;
    On(file).Seek(16);
    return Written(WriteLong(file, size + static_cast<uint64_t>(delta)));
}

HRESULT riff64_WriteChunkHeader(HQMFILE file, const GUID* label, uint64_t size) {
    return Written(WriteGuid(file, label) && WriteLong(file, size + RIFF64_CHUNK_HEADER));
}
HRESULT riff64_WriteChunk(HQMFILE file, const GUID* label, const void* buffer, uint64_t size,
                          uint64_t* written) {
    uint64_t body = 0;
    if (Failed(riff64_WriteChunkHeader(file, label, size)) ||
        Failed(riff64_WriteData(file, buffer, size, &body)))
        return MEDIA_E_WRITE;
    if (written) *written = body + RIFF64_CHUNK_HEADER;
    return S_OK;
}
HRESULT riff64_WriteListHeader(HQMFILE file, const GUID* type, uint64_t size) {
    return Written(Succeeded(riff64_WriteChunkHeader(file, &W64_LIST, size)) && WriteGuid(file, type));
}
HRESULT riff64_WriteFileID(HQMFILE file, const GUID* form, uint64_t size) {
    riff64_WriteChunkHeader(file, &W64_RIFF, size);
    return Written(WriteGuid(file, form));
}
HRESULT riff64_WriteData(HQMFILE file, const void* buffer, uint64_t bytes, uint64_t* written) {
    if (!WriteAll(file, buffer, bytes) || !WriteZeros(file, Padded(bytes) - bytes)) return MEDIA_E_WRITE;
    if (written) *written = Padded(bytes);
    return S_OK;
}

HRESULT riff64_PrepareChunk(HQMFILE file, const GUID* label, uint64_t* start) {
    *start = static_cast<uint64_t>(QmFile_Tell(file));
    return riff64_WriteChunkHeader(file, label, 0);
}
HRESULT riff64_PrepareList(HQMFILE file, const GUID* type, uint64_t* start) {
    *start = static_cast<uint64_t>(QmFile_Tell(file));
    return riff64_WriteListHeader(file, type, 0);
}
HRESULT riff64_CompleteChunk(HQMFILE file, uint64_t start) {
    if (Failed(riff64_Pad(file, start))) return MEDIA_E_WRITE;
    const PositionKeeper keeper(On(file));
    const uint64_t size = riff64_AmountWritten(file, start);
    return Written(On(file).Seek(static_cast<int64_t>(start + 16)) && WriteLong(file, size));
}
HRESULT riff64_WriteChunkToFile(HQMFILE file, const GUID* label, const void* buffer, uint64_t bytes) {
    uint64_t start = 0;
    if (Failed(riff64_PrepareChunk(file, label, &start)) || !WriteAll(file, buffer, bytes))
        return MEDIA_E_WRITE;
    return riff64_CompleteChunk(file, start);
}
HRESULT riff64_WriteToFile(HQMFILE file, const void* buffer, uint64_t bytes) {
    return Written(WriteAll(file, buffer, bytes));
}
HRESULT riff64_Pad(HQMFILE file, uint64_t start) {
    const uint64_t written = riff64_AmountWritten(file, start);
    return Written(WriteZeros(file, Padded(written) - written));
}
uint64_t riff64_AmountWritten(HQMFILE file, uint64_t start) {
    return static_cast<uint64_t>(QmFile_Tell(file)) - start;
}

HRESULT riff64_ReadChunkHeader(HQMFILE file, GUID* label, uint64_t* size) {
    uint64_t stored = 0;
    if (!ReadGuid(file, label) || !ReadLong(file, &stored)) return MEDIA_E_READ;
    // As a signed number, so that what no file can have reads as nothing.
    *size = static_cast<int64_t>(stored) < 0 ? 0 : Less(stored, RIFF64_CHUNK_HEADER);
    return S_OK;
}
HRESULT riff64_ReadListHeader(HQMFILE file, GUID* type, uint64_t* size) {
    GUID label;
    if (Failed(riff64_ReadChunkHeader(file, &label, size))) return MEDIA_E_READ;
    if (label != W64_LIST) return MEDIA_E_NO_LIST;
    if (!ReadGuid(file, type)) return MEDIA_E_READ;
    *size = Less(*size, TYPE_BYTES);
    return S_OK;
}
HRESULT riff64_ReadFileID(HQMFILE file, uint64_t* size, GUID* form) {
    GUID label{};
    *size = 0;
    riff64_ReadChunkHeader(file, &label, size);
    if (label != W64_RIFF) return *size = 0, MEDIA_E_NO_RIFF;
    if (!ReadGuid(file, form)) return *size = 0, MEDIA_E_READ;
    *size = Less(*size, TYPE_BYTES);
    return S_OK;
}

HRESULT riff64_SeekDataStart(HQMFILE file) { return Read(On(file).Seek(RIFF64_DATA_START)); }

HRESULT riff64_FindChunkHeader(HQMFILE file, const GUID* label, uint64_t* size, uint64_t* remaining) {
    uint64_t left = remaining ? *remaining : INT64_MAX;
    for (;;) {
        if (remaining && IsBelowHeader(left)) {
            *remaining = left;
            return MEDIA_E_NOT_FOUND;
        }
        GUID found;
        uint64_t length = 0;
        if (Failed(riff64_ReadChunkHeader(file, &found, &length))) return MEDIA_E_READ;
        left = LeftAfter(left, RIFF64_CHUNK_HEADER);
        if (found == *label) {
            *size = length;
            if (remaining) *remaining = left;
            return S_OK;
        }
        left = LeftAfter(left, riff64_SkipChunk(file, length));
    }
}
HRESULT riff64_FindChunkHeaderInRIFF(HQMFILE file, const GUID* label, uint64_t* size, uint64_t* remaining) {
    uint64_t left = 0;
    if (const HRESULT hr = FromStart(file, &left); Failed(hr)) return hr;
    const HRESULT hr = riff64_FindChunkHeader(file, label, size, &left);
    if (remaining) *remaining = left;
    return hr;
}
HRESULT riff64_FindListChunk(HQMFILE file, const GUID* type, uint64_t* size, uint64_t* remaining) {
    constexpr int64_t LEAST = 8;  // and not a header's 24
    for (;;) {
        if (remaining && static_cast<int64_t>(*remaining) < LEAST) return MEDIA_E_NOT_FOUND;
        uint64_t length = 0;
        if (const HRESULT hr = riff64_FindChunkHeader(file, &W64_LIST, &length, remaining); Failed(hr))
            return hr;
        GUID found;
        if (!ReadGuid(file, &found)) return MEDIA_E_READ;
        if (remaining) *remaining = LeftAfter(*remaining, TYPE_BYTES);
        if (found == *type) {
            *size = Less(length, TYPE_BYTES);
            return S_OK;
        }
        const uint64_t rest = Less(Padded(length), TYPE_BYTES);
        Move(file, rest);
        if (remaining) *remaining = LeftAfter(*remaining, rest);
    }
}
HRESULT riff64_FindListChunkFromStart(HQMFILE file, const GUID* type, uint64_t* size) {
    uint64_t left = 0;
    if (const HRESULT hr = FromStart(file, &left); Failed(hr)) return hr;
    return riff64_FindListChunk(file, type, size, &left);
}
HRESULT riff64_GetNumListEntries(HQMFILE file, uint32_t* count, uint64_t* remaining) {
    const PositionKeeper keeper(On(file));
    *count = 0;
    uint64_t left = remaining ? *remaining : INT64_MAX;
    while (!IsBelowHeader(left)) {
        GUID label;
        uint64_t size = 0;
        if (Failed(riff64_ReadChunkHeader(file, &label, &size))) return remaining ? MEDIA_E_READ : S_OK;
        left = LeftAfter(LeftAfter(left, RIFF64_CHUNK_HEADER), riff64_SkipChunk(file, size));
        ++*count;
    }
    return S_OK;
}
HRESULT riff64_SeekListEntry(HQMFILE file, uint32_t entry, uint64_t* remaining) {
    for (; entry > 0; entry--) {
        if (remaining && IsBelowHeader(*remaining)) return MEDIA_E_NOT_FOUND;
        GUID label;
        uint64_t size = 0;
        if (Failed(riff64_ReadChunkHeader(file, &label, &size))) return MEDIA_E_NOT_FOUND;
        const uint64_t skipped = riff64_SkipChunk(file, size);
        if (remaining) *remaining = LeftAfter(LeftAfter(*remaining, RIFF64_CHUNK_HEADER), skipped);
    }
    return S_OK;
}
HRESULT riff64_DeleteChunk(HQMFILE file, const GUID* label, uint64_t* removed) {
    uint64_t size = 0;
    if (const HRESULT hr = riff64_FindChunkHeaderInRIFF(file, label, &size, nullptr); Failed(hr)) return hr;
    const int64_t start = QmFile_Tell(file) - static_cast<int64_t>(RIFF64_CHUNK_HEADER);
    // A size beyond the file's end takes what there is.
    const int64_t most = QmFile_Size(file) - start;
    const int64_t amount = std::min<int64_t>(
        most, static_cast<int64_t>(std::min<uint64_t>(Padded(size), INT64_MAX / 2) + RIFF64_CHUNK_HEADER));
    if (const HRESULT hr = MoveTailDown(On(file), start, start + amount); Failed(hr)) return hr;
    if (const HRESULT hr = riff64_UpdateRIFFSize(file, -amount); Failed(hr)) return hr;
    if (removed) *removed = static_cast<uint64_t>(amount);
    return S_OK;
}

}  // extern "C"
