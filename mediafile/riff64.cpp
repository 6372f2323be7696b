#include "mediafile/riff64.h"

#include "mediafile/chunk_io.h"
#include "mediafile/file_stream.h"

using namespace tarn;

namespace {

ChunkIo<FileStream> Riff64On(HQMFILE file) { return {FileStream{file}, WAVE64_GRAMMAR}; }
HRESULT Written(bool done) { return done ? S_OK : MEDIA_E_WRITE; }
HRESULT Read(bool done) { return done ? S_OK : MEDIA_E_READ; }

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
uint64_t riff64_SkipChunk(HQMFILE file, uint64_t size) { return Riff64On(file).Skip(size); }
const char16_t* riff64_getGUIDLabel(const GUID*) { return nullptr; }
const char16_t* riff64_getGUIDLabelProperly(const GUID*) { return nullptr; }

HRESULT riff64_ReadData(HQMFILE file, void* buffer, uint64_t bytes) {
    return Riff64On(file).ReadData(buffer, static_cast<uint32_t>(bytes));
}
HRESULT riff64_ReadDataBounded(HQMFILE file, void* buffer, uint32_t room, uint32_t size) {
    return Riff64On(file).ReadDataBounded(buffer, room, size);
}
HRESULT riff64_ReadDataAlloc(HQMFILE file, RIFFDATABLOCK* block) {
    return Riff64On(file).ReadDataAlloc(block);
}

HRESULT riff64_SetRIFFSize(HQMFILE file, uint64_t size) {
    return Written(Riff64On(file).StoreFormSize(size + RIFF64_CHUNK_HEADER));
}
HRESULT riff64_GetFileSize(HQMFILE file, uint64_t* size) {
    uint64_t behindType = 0;
    GUID form;
    *size = 0;
    if (const HRESULT hr = Riff64On(file).ReadForm(&behindType, &form); Failed(hr)) return hr;
    return Read(Riff64On(file).StoredFormSize(size));
}
HRESULT riff64_UpdateRIFFSize(HQMFILE file, int64_t delta) { return Riff64On(file).AddToFormSize(delta); }

HRESULT riff64_WriteChunkHeader(HQMFILE file, const GUID* label, uint64_t size) {
    return Written(Riff64On(file).WriteHead(label, size));
}
HRESULT riff64_WriteChunk(HQMFILE file, const GUID* label, const void* buffer, uint64_t size,
                          uint64_t* written) {
    if (!Riff64On(file).Write(label, buffer, size)) return MEDIA_E_WRITE;
    if (written) *written = WAVE64_GRAMMAR.Padded(size) + RIFF64_CHUNK_HEADER;
    return S_OK;
}
HRESULT riff64_WriteListHeader(HQMFILE file, const GUID* type, uint64_t size) {
    return Written(Riff64On(file).WriteListHead(type, size));
}
HRESULT riff64_WriteFileID(HQMFILE file, const GUID* form, uint64_t size) {
    Riff64On(file).WriteHead(&W64_RIFF, size);
    return riff64_WriteToFile(file, form, sizeof *form);
}
HRESULT riff64_WriteData(HQMFILE file, const void* buffer, uint64_t bytes, uint64_t* written) {
    if (!Riff64On(file).WritePayload(buffer, bytes)) return MEDIA_E_WRITE;
    if (written) *written = WAVE64_GRAMMAR.Padded(bytes);
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
    const FileStream s{file};
    const PositionKeeper keeper(s);
    uint8_t size[8];
    ToLittleEndian(size, riff64_AmountWritten(file, start));
    return Written(s.Seek(static_cast<int64_t>(start + 16)) && s.Write(size, sizeof size));
}
HRESULT riff64_WriteChunkToFile(HQMFILE file, const GUID* label, const void* buffer, uint64_t bytes) {
    uint64_t start = 0;
    if (Failed(riff64_PrepareChunk(file, label, &start)) || !Riff64On(file).WritePayload(buffer, bytes))
        return MEDIA_E_WRITE;
    return riff64_CompleteChunk(file, start);
}
HRESULT riff64_WriteToFile(HQMFILE file, const void* buffer, uint64_t bytes) {
    return Written(Riff64On(file).WriteBytes(buffer, bytes));
}
HRESULT riff64_Pad(HQMFILE file, uint64_t start) {
    return Written(Riff64On(file).WritePad(riff64_AmountWritten(file, start)));
}
uint64_t riff64_AmountWritten(HQMFILE file, uint64_t start) {
    return static_cast<uint64_t>(QmFile_Tell(file)) - start;
}

HRESULT riff64_ReadChunkHeader(HQMFILE file, GUID* label, uint64_t* size) {
    ChunkHead head;
    if (!Riff64On(file).ReadHead(&head)) return MEDIA_E_READ;
    std::memcpy(label, head.bytes, sizeof *label);
    *size = head.isValid ? head.size : 0;
    return S_OK;
}
HRESULT riff64_ReadListHeader(HQMFILE file, GUID* type, uint64_t* size) {
    return Riff64On(file).ReadListHead(type, size);
}
HRESULT riff64_ReadFileID(HQMFILE file, uint64_t* size, GUID* form) {
    return Riff64On(file).ReadFormHere(size, form);
}
HRESULT riff64_SeekDataStart(HQMFILE file) { return Read(FileStream{file}.Seek(RIFF64_DATA_START)); }

HRESULT riff64_FindChunkHeader(HQMFILE file, const GUID* label, uint64_t* size, uint64_t* remaining) {
    return Riff64On(file).Find(label, size, remaining);
}
HRESULT riff64_FindChunkHeaderInRIFF(HQMFILE file, const GUID* label, uint64_t* size, uint64_t* remaining) {
    return Riff64On(file).FindInForm(label, size, remaining);
}
HRESULT riff64_FindListChunk(HQMFILE file, const GUID* type, uint64_t* size, uint64_t* remaining) {
    return Riff64On(file).FindList(type, size, remaining);
}
HRESULT riff64_FindListChunkFromStart(HQMFILE file, const GUID* type, uint64_t* size) {
    return Riff64On(file).FindListInForm(type, size);
}
HRESULT riff64_GetNumListEntries(HQMFILE file, uint32_t* count, uint64_t* remaining) {
    return Riff64On(file).Count(count, remaining);
}
HRESULT riff64_SeekListEntry(HQMFILE file, uint32_t entry, uint64_t* remaining) {
    return Riff64On(file).SeekEntry(entry, remaining);
}
HRESULT riff64_DeleteChunk(HQMFILE file, const GUID* label, uint64_t* removed) {
    return Riff64On(file).Delete(label, removed);
}

}  // extern "C"
