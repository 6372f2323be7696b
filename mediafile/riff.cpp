#include "mediafile/riff.h"

#include "mediafile/file_stream.h"
#include "mediafile/riff_core.h"

using namespace tarn;

namespace {
Riff<FileStream> RiffOn(HQMFILE file) { return Riff<FileStream>(FileStream{file}); }
}  // namespace

extern "C" {

HRESULT riff_ValidateChunkHeader(uint32_t, uint32_t size) {
    if (size > INT32_MAX) return MEDIA_E_MALFORMED;
    return size == 0 ? MEDIA_E_EMPTY_CHUNK : S_OK;
}
HRESULT riff_SaveLocation(HQMFILE file, uint32_t* position) {
    *position = static_cast<uint32_t>(QmFile_Tell(file));
    return S_OK;
}
HRESULT riff_RestoreLocation(HQMFILE file, uint32_t position) {
    return QmFile_Seek(file, position, FILE_FROM_START) >= 0 ? S_OK : MEDIA_E_READ;
}

uint32_t riff_SkipChunk(HQMFILE file, uint32_t size) { return RiffOn(file).SkipChunk(size); }
HRESULT riff_ReadData(HQMFILE file, void* buffer, uint32_t bytes) {
    return RiffOn(file).ReadData(buffer, bytes);
}
HRESULT riff_ReadDataBounded(HQMFILE file, void* buffer, uint32_t room, uint32_t size) {
    return RiffOn(file).ReadDataBounded(buffer, room, size);
}
HRESULT riff_ReadDataAlloc(HQMFILE file, RIFFDATABLOCK* block) { return RiffOn(file).ReadDataAlloc(block); }
HRESULT riff_SetRIFFSize(HQMFILE file, uint32_t size) { return RiffOn(file).SetRiffSize(size); }
HRESULT riff_GetFileSize(HQMFILE file, uint32_t* size) { return RiffOn(file).GetFileSize(size); }
HRESULT riff_UpdateRIFFSize(HQMFILE file, int64_t delta) { return RiffOn(file).UpdateRiffSize(delta); }
HRESULT riff_WriteChunkHeader(HQMFILE file, uint32_t id, uint32_t size) {
    return RiffOn(file).WriteChunkHeader(id, size);
}
HRESULT riff_WriteChunk(HQMFILE file, uint32_t id, const void* buffer, uint32_t size, uint32_t* written) {
    return RiffOn(file).WriteChunk(id, buffer, size, written);
}
HRESULT riff_WriteListHeader(HQMFILE file, uint32_t type, uint32_t size) {
    return RiffOn(file).WriteListHeader(type, size);
}
HRESULT riff_WriteFileID(HQMFILE file, uint32_t form, uint32_t size) {
    return RiffOn(file).WriteFileId(form, size);
}
HRESULT riff_ReadChunkHeader(HQMFILE file, uint32_t* id, uint32_t* size) {
    return RiffOn(file).ReadChunkHeader(id, size);
}
HRESULT riff_ReadListHeader(HQMFILE file, uint32_t* type, uint32_t* size) {
    return RiffOn(file).ReadListHeader(type, size);
}
HRESULT riff_ReadFileID(HQMFILE file, uint32_t* size, uint32_t* form) {
    return RiffOn(file).ReadFileId(size, form);
}
HRESULT riff_SeekDataStart(HQMFILE file) { return RiffOn(file).SeekDataStart(); }
HRESULT riff_FindChunkHeader(HQMFILE file, uint32_t id, uint32_t* size, uint32_t* remaining) {
    return RiffOn(file).FindChunkHeader(id, size, remaining);
}
HRESULT riff_FindChunkHeaderInRIFF(HQMFILE file, uint32_t id, uint32_t* size, uint32_t* remaining) {
    return RiffOn(file).FindChunkHeaderInRiff(id, size, remaining);
}
HRESULT riff_FindListChunk(HQMFILE file, uint32_t type, uint32_t* size, uint32_t* remaining) {
    return RiffOn(file).FindListChunk(type, size, remaining);
}
HRESULT riff_FindListChunkFromStart(HQMFILE file, uint32_t type, uint32_t* size) {
    return RiffOn(file).FindListChunkFromStart(type, size);
}
HRESULT riff_GetNumListEntries(HQMFILE file, uint32_t* count, uint32_t* remaining) {
    return RiffOn(file).GetNumListEntries(count, remaining);
}
HRESULT riff_SeekListEntry(HQMFILE file, uint32_t entry, uint32_t* remaining) {
    return RiffOn(file).SeekListEntry(entry, remaining);
}
HRESULT riff_DeleteChunk(HQMFILE file, uint32_t id, uint32_t* removed, BOOL isList) {
    return RiffOn(file).DeleteChunk(id, removed, isList);
}
HRESULT riff_WriteANSIString(HQMFILE file, const char16_t* text, uint32_t* written) {
    return RiffOn(file).WriteAnsiString(text, written);
}
HRESULT riff_ReadANSIString(HQMFILE file, char16_t* text, uint32_t capacity, uint32_t* size) {
    return RiffOn(file).ReadAnsiString(text, capacity, size);
}

HRESULT riff_ReadRIFFCDDA(HQMFILE file, RIFFCDDA* record) {
    *record = {};
    uint32_t size = 0, form = 0;
    if (const HRESULT hr = riff_ReadFileID(file, &size, &form); Failed(hr)) return hr;
    if (form != FourCC("CDDA")) return MEDIA_E_UNKNOWN_FORMAT;
    uint32_t length = 0;
    if (Failed(riff_FindChunkHeader(file, FourCC("fmt "), &length, &size))) return MEDIA_E_NOT_FOUND;
    if (length != sizeof *record) return MEDIA_E_UNSUPPORTED_VERSION;
    uint8_t bytes[sizeof *record];
    if (!QmFile_Read(file, bytes, sizeof bytes, nullptr)) return MEDIA_E_READ;
    *record = {FromLittleEndian<uint16_t>(bytes),
               FromLittleEndian<uint16_t>(bytes + 2),
               FromLittleEndian<uint32_t>(bytes + 4),
               FromLittleEndian<uint32_t>(bytes + 8),
               FromLittleEndian<uint32_t>(bytes + 12),
               bytes[16],
               bytes[17],
               bytes[18],
               bytes[19],
               {bytes[20], bytes[21], bytes[22], bytes[23]}};
    return S_OK;
}

HRESULT riff_ReadCDAFile(const char16_t* path, uint32_t* track, uint32_t* startSector, uint32_t* startFrames,
                         uint32_t* sectorCount, uint32_t* serial) {
    RIFFCDDA record{};
    const HQMFILE file = QmFile_Open(path, FILE_ACCESS_READ, FILE_OPEN_EXISTING);
    const HRESULT hr = file ? riff_ReadRIFFCDDA(file, &record) : MEDIA_E_OPEN;
    QmFile_Close(file);
    constexpr uint32_t FRAMES_PER_SECOND = 75;
    if (track) *track = record.track;
    if (startSector) *startSector = record.firstSector;
    if (startFrames) *startFrames = (record.minute * 60u + record.second) * FRAMES_PER_SECOND + record.frame;
    if (sectorCount) *sectorCount = record.sectorCount;
    if (serial) *serial = record.serial;
    return hr;
}

}  // extern "C"
