// RIFF in a block of memory: the functions of riff.h with the same results, and a few more. The stream does
// not own the memory. A position lies between start and end; a write moves the end up to the limit, and what
// does not fit is a failed write.
#pragma once

#include "audio/wave_format.h"
#include "mediafile/riff.h"

struct _tMRIFF {
    uint8_t *start, *current, *end, *limit;
    uint32_t size, capacity;
};
typedef _tMRIFF MRIFF;

extern "C" {

QM_API HRESULT mriff_Init(MRIFF* m, void* buffer, uint32_t size, uint32_t capacity);
QM_API void* mriff_GetFilePointer(MRIFF* m);
/// Methods 0 from the start, 1 from here, 2 from the end; any other stays. Held between start and end;
/// returns the offset from the start.
QM_API uint32_t mriff_SetFilePointer(MRIFF* m, int32_t offset, int32_t* unusedHigh, uint32_t method);
QM_API uint32_t mriff_QmSetFilePointer(MRIFF* m, int64_t offset, uint32_t method);
/// True when all was there; what was there is copied in any case.
QM_API BOOL mriff_ReadFile(MRIFF* m, void* buffer, uint32_t bytes, uint32_t* got);
/// Always true: `*put` tells how much there was room for.
QM_API BOOL mriff_WriteFile(MRIFF* m, const void* buffer, uint32_t bytes, uint32_t* put);
/// Raises the end; returns by how much.
QM_API uint32_t mriff_UpdateDataSize(MRIFF* m, uint32_t bytes);

QM_API HRESULT mriff_SaveLocation(MRIFF* m, uint32_t* position);
QM_API HRESULT mriff_RestoreLocation(MRIFF* m, uint32_t position);
QM_API uint32_t mriff_SkipChunk(MRIFF* m, uint32_t size);
QM_API HRESULT mriff_ReadData(MRIFF* m, void* buffer, uint32_t bytes);
QM_API HRESULT mriff_ReadDataBounded(MRIFF* m, void* buffer, uint32_t room, uint32_t size);
QM_API HRESULT mriff_ReadDataAlloc(MRIFF* m, RIFFDATABLOCK* block);
QM_API HRESULT mriff_SetRIFFSize(MRIFF* m, uint32_t size);
QM_API HRESULT mriff_GetFileSize(MRIFF* m, uint32_t* size);
QM_API HRESULT mriff_UpdateRIFFSize(MRIFF* m, int64_t delta);
QM_API HRESULT mriff_WriteChunkHeader(MRIFF* m, uint32_t id, uint32_t size);
QM_API HRESULT mriff_WriteChunk(MRIFF* m, uint32_t id, const void* buffer, uint32_t size, uint32_t* written);
QM_API HRESULT mriff_WriteListHeader(MRIFF* m, uint32_t type, uint32_t size);
QM_API HRESULT mriff_WriteFileID(MRIFF* m, uint32_t form, uint32_t size);
QM_API HRESULT mriff_ReadChunkHeader(MRIFF* m, uint32_t* id, uint32_t* size);
QM_API HRESULT mriff_ReadListHeader(MRIFF* m, uint32_t* type, uint32_t* size);
QM_API HRESULT mriff_ReadFileID(MRIFF* m, uint32_t* size, uint32_t* form);
QM_API HRESULT mriff_SeekDataStart(MRIFF* m);
QM_API HRESULT mriff_FindChunkHeader(MRIFF* m, uint32_t id, uint32_t* size, uint32_t* remaining);
QM_API HRESULT mriff_FindChunkHeaderInRIFF(MRIFF* m, uint32_t id, uint32_t* size, uint32_t* remaining);
QM_API HRESULT mriff_FindListChunk(MRIFF* m, uint32_t type, uint32_t* size, uint32_t* remaining);
QM_API HRESULT mriff_FindListChunkFromStart(MRIFF* m, uint32_t type, uint32_t* size);
QM_API HRESULT mriff_GetNumListEntries(MRIFF* m, uint32_t* count, uint32_t* remaining);
QM_API HRESULT mriff_SeekListEntry(MRIFF* m, uint32_t entry, uint32_t* remaining);
QM_API HRESULT mriff_DeleteChunk(MRIFF* m, uint32_t id, uint32_t* removed, BOOL isList);
QM_API HRESULT mriff_WriteANSIString(MRIFF* m, const char16_t* text, uint32_t* written);
QM_API HRESULT mriff_ReadANSIString(MRIFF* m, char16_t* text, uint32_t capacity, uint32_t* size);

/// The item of the "INFO" list from here on; reads at most `bytes` of it. The position stays.
QM_API HRESULT mriff_GetInfoString(MRIFF* m, uint32_t id, void* buffer, uint32_t bytes, uint32_t* remaining);
/// A wave's header up to its samples; PCM with the short form of the format. `extraBytes` will follow the
/// samples.
QM_API HRESULT mriff_WriteWaveHeader(MRIFF* m, const WAVEFORMATEX* wfx, uint32_t dataBytes,
                                     uint32_t extraBytes);
/// Format, cut to 18 bytes, and size of the samples of a wave in memory.
QM_API HRESULT mriff_GetWfx(WAVEFORMATEX* wfx, void* buffer, uint32_t size, uint32_t* dataBytes);

}  // extern "C"
