#include "mediafile/mriff.h"

#include "mediafile/riff_core.h"

#include <cstring>

using namespace tarn;

namespace {

struct MemoryStream {
    MRIFF* m;

    uint32_t ReadSome(void* buffer, uint32_t bytes) const {
        const auto got = static_cast<uint32_t>(std::min<int64_t>(bytes, m->end - m->current));
        if (got) std::memcpy(buffer, m->current, got);
        m->current += got;
        return got;
    }
    bool Read(void* buffer, uint32_t bytes) const { return ReadSome(buffer, bytes) == bytes; }
    uint32_t WriteSome(const void* buffer, uint32_t bytes) const {
        const auto put = static_cast<uint32_t>(std::min<int64_t>(bytes, m->limit - m->current));
        if (put) std::memcpy(m->current, buffer, put);
        m->current += put;
        m->end = std::max(m->end, m->current);
        return put;
    }
    bool Write(const void* buffer, uint32_t bytes) const { return WriteSome(buffer, bytes) == bytes; }
    int64_t Tell() const { return m->current - m->start; }
    int64_t Size() const { return m->end - m->start; }
    /// Held between start and end.
    bool Seek(int64_t position) const {
        m->current = m->start + std::clamp<int64_t>(position, 0, Size());
        return true;
    }
    bool SetEnd() const {
        m->end = m->current;
        return true;
    }
};

Riff<MemoryStream> On(MRIFF* m) { return Riff<MemoryStream>(MemoryStream{m}); }

}  // namespace

extern "C" {

HRESULT mriff_Init(MRIFF* m, void* buffer, uint32_t size, uint32_t capacity) {
    if (!m) return E_POINTER;
    if (size > capacity) return E_INVALIDARG;
    auto* start = static_cast<uint8_t*>(buffer);
    *m = {start, start, start + size, start + capacity, size, capacity};
    return S_OK;
}
void* mriff_GetFilePointer(MRIFF* m) { return m->current; }

uint32_t mriff_SetFilePointer(MRIFF* m, int32_t offset, int32_t*, uint32_t method) {
    return mriff_QmSetFilePointer(m, offset, method);
}
uint32_t mriff_QmSetFilePointer(MRIFF* m, int64_t offset, uint32_t method) {
    const MemoryStream stream{m};
    const int64_t from[] = {0, stream.Tell(), stream.Size()};
    int64_t target = 0;
    if (method < std::size(from)) {
        if (__builtin_add_overflow(from[method], offset, &target)) target = offset < 0 ? 0 : stream.Size();
        stream.Seek(target);
    }
    return static_cast<uint32_t>(stream.Tell());
}

BOOL mriff_ReadFile(MRIFF* m, void* buffer, uint32_t bytes, uint32_t* got) {
    const uint32_t read = MemoryStream{m}.ReadSome(buffer, bytes);
    if (got) *got = read;
    return read == bytes;
}
BOOL mriff_WriteFile(MRIFF* m, const void* buffer, uint32_t bytes, uint32_t* put) {
    const uint32_t written = MemoryStream{m}.WriteSome(buffer, bytes);
    if (put) *put = written;
    return 1;
}
uint32_t mriff_UpdateDataSize(MRIFF* m, uint32_t bytes) {
    const auto added = static_cast<uint32_t>(std::min<int64_t>(bytes, m->limit - m->end));
    m->end += added;
    return added;
}

HRESULT mriff_SaveLocation(MRIFF* m, uint32_t* position) {
    *position = static_cast<uint32_t>(MemoryStream{m}.Tell());
    return S_OK;
}
HRESULT mriff_RestoreLocation(MRIFF* m, uint32_t position) {
    MemoryStream{m}.Seek(position);
    return S_OK;
}

uint32_t mriff_SkipChunk(MRIFF* m, uint32_t size) { return On(m).SkipChunk(size); }
HRESULT mriff_ReadData(MRIFF* m, void* buffer, uint32_t bytes) { return On(m).ReadData(buffer, bytes); }
HRESULT mriff_ReadDataBounded(MRIFF* m, void* buffer, uint32_t room, uint32_t size) {
    return On(m).ReadDataBounded(buffer, room, size);
}
HRESULT mriff_ReadDataAlloc(MRIFF* m, RIFFDATABLOCK* block) { return On(m).ReadDataAlloc(block); }
HRESULT mriff_SetRIFFSize(MRIFF* m, uint32_t size) { return On(m).SetRiffSize(size); }
HRESULT mriff_GetFileSize(MRIFF* m, uint32_t* size) { return On(m).GetFileSize(size); }
HRESULT mriff_UpdateRIFFSize(MRIFF* m, int64_t delta) { return On(m).UpdateRiffSize(delta); }
HRESULT mriff_WriteChunkHeader(MRIFF* m, uint32_t id, uint32_t size) {
    return On(m).WriteChunkHeader(id, size);
}
HRESULT mriff_WriteChunk(MRIFF* m, uint32_t id, const void* buffer, uint32_t size, uint32_t* written) {
    return On(m).WriteChunk(id, buffer, size, written);
}
HRESULT mriff_WriteListHeader(MRIFF* m, uint32_t type, uint32_t size) {
    return On(m).WriteListHeader(type, size);
}
HRESULT mriff_WriteFileID(MRIFF* m, uint32_t form, uint32_t size) { return On(m).WriteFileId(form, size); }
HRESULT mriff_ReadChunkHeader(MRIFF* m, uint32_t* id, uint32_t* size) {
    return On(m).ReadChunkHeader(id, size);
}
HRESULT mriff_ReadListHeader(MRIFF* m, uint32_t* type, uint32_t* size) {
    return On(m).ReadListHeader(type, size);
}
HRESULT mriff_ReadFileID(MRIFF* m, uint32_t* size, uint32_t* form) { return On(m).ReadFileId(size, form); }
HRESULT mriff_SeekDataStart(MRIFF* m) { return On(m).SeekDataStart(); }
HRESULT mriff_FindChunkHeader(MRIFF* m, uint32_t id, uint32_t* size, uint32_t* remaining) {
    return On(m).FindChunkHeader(id, size, remaining);
}
HRESULT mriff_FindChunkHeaderInRIFF(MRIFF* m, uint32_t id, uint32_t* size, uint32_t* remaining) {
    return On(m).FindChunkHeaderInRiff(id, size, remaining);
}
HRESULT mriff_FindListChunk(MRIFF* m, uint32_t type, uint32_t* size, uint32_t* remaining) {
    return On(m).FindListChunk(type, size, remaining);
}
HRESULT mriff_FindListChunkFromStart(MRIFF* m, uint32_t type, uint32_t* size) {
    return On(m).FindListChunkFromStart(type, size);
}
HRESULT mriff_GetNumListEntries(MRIFF* m, uint32_t* count, uint32_t* remaining) {
    return On(m).GetNumListEntries(count, remaining);
}
HRESULT mriff_SeekListEntry(MRIFF* m, uint32_t entry, uint32_t* remaining) {
    return On(m).SeekListEntry(entry, remaining);
}
HRESULT mriff_DeleteChunk(MRIFF* m, uint32_t id, uint32_t* removed, BOOL isList) {
    return On(m).DeleteChunk(id, removed, isList);
}
HRESULT mriff_WriteANSIString(MRIFF* m, const char16_t* text, uint32_t* written) {
    return On(m).WriteAnsiString(text, written);
}
HRESULT mriff_ReadANSIString(MRIFF* m, char16_t* text, uint32_t capacity, uint32_t* size) {
    return On(m).ReadAnsiString(text, capacity, size);
}

HRESULT mriff_GetInfoString(MRIFF* m, uint32_t id, void* buffer, uint32_t bytes, uint32_t* remaining) {
    const PositionKeeper keeper(MemoryStream{m});
    uint32_t size = 0, item = 0, bound = remaining ? *remaining : 0;
    if (Failed(mriff_FindListChunk(m, FourCC("INFO"), &size, remaining ? &bound : nullptr)))
        return MEDIA_E_NOT_FOUND;
    if (Failed(mriff_FindChunkHeader(m, id, &item, &size))) return MEDIA_E_NOT_FOUND;
    return mriff_ReadData(m, buffer, std::min(item, bytes));
}

HRESULT mriff_WriteWaveHeader(MRIFF* m, const WAVEFORMATEX* wfx, uint32_t dataBytes, uint32_t extraBytes) {
    WAVEFORMATEX format = *wfx;
    uint32_t formatBytes = sizeof format;
    if (wfx->wFormatTag == WAVE_TAG_PCM) {
        QmAudio_InitWfxFlex(&format, WAVE_TAG_PCM, wfx->nSamplesPerSec, wfx->wBitsPerSample, wfx->nChannels,
                            0, sizeof format);
        formatBytes = 16;
    }
    const uint64_t length = uint64_t{formatBytes} + dataBytes + extraBytes, form = length + 20 + (length & 1);
    if (form > RIFF_LARGEST) return MEDIA_E_TOO_LARGE;
    mriff_WriteFileID(m, FourCC("WAVE"), static_cast<uint32_t>(form));
    mriff_WriteChunkHeader(m, FourCC("fmt "), formatBytes);
    if (!MemoryStream{m}.Write(&format, formatBytes)) return MEDIA_E_WRITE;
    mriff_WriteChunkHeader(m, FourCC("data"), dataBytes);
    return S_OK;
}

HRESULT mriff_GetWfx(WAVEFORMATEX* wfx, void* buffer, uint32_t size, uint32_t* dataBytes) {
    MRIFF m;
    if (const HRESULT hr = mriff_Init(&m, buffer, size, size); Failed(hr)) return hr;
    uint32_t formSize = 0, form = 0;
    if (Failed(mriff_ReadFileID(&m, &formSize, &form))) return MEDIA_E_NO_RIFF;
    if (form != FourCC("WAVE")) return E_FAIL;
    if (formSize < 12) return MEDIA_E_NOT_FOUND;
    uint32_t length = 0;
    if (Failed(mriff_FindChunkHeader(&m, FourCC("fmt "), &length, &formSize))) return MEDIA_E_NOT_FOUND;
    *wfx = {};
    if (!mriff_ReadFile(&m, wfx, std::min<uint32_t>(length, sizeof *wfx), nullptr)) return MEDIA_E_READ;
    if (Failed(mriff_FindChunkHeaderInRIFF(&m, FourCC("data"), &length, nullptr))) return MEDIA_E_NOT_FOUND;
    *dataBytes = length;
    return S_OK;
}

}  // extern "C"
