// Chunks of Wave64 files: a GUID for a label, 64-bit size that counts its own 24-byte header, payload, zeros
// up to a multiple of 8. The functions are those of riff.h with these in the place of id and size; what
// differs is told here. Sizes are given and taken without the header.
#pragma once

#include "mediafile/riff.h"
#include "platform/com.h"

inline constexpr uint64_t RIFF64_CHUNK_HEADER = 24;
inline constexpr uint64_t RIFF64_DATA_START = 40;

inline constexpr GUID W64_RIFF = tarn::Guid("{66666972-912E-11CF-A5D6-28DB04C10000}");
inline constexpr GUID W64_LIST = tarn::Guid("{7473696C-912F-11CF-A5D6-28DB04C10000}");
inline constexpr GUID W64_WAVE = tarn::Guid("{65766177-ACF3-11D3-8CD1-00C04F8EDB8A}");
inline constexpr GUID W64_FMT = tarn::Guid("{20746D66-ACF3-11D3-8CD1-00C04F8EDB8A}");
inline constexpr GUID W64_DATA = tarn::Guid("{61746164-ACF3-11D3-8CD1-00C04F8EDB8A}");
inline constexpr GUID W64_JUNK =
    tarn::Guid("{6B6E756A-ACF3-113D-8CD1-00C04F8EDB8A}");  ///< 113D, as the writers put it
inline constexpr GUID W64_DISP_ITEM = tarn::Guid("{612CCA25-92BB-4C55-8408-7BDA2F15BD27}");

extern "C" {

/// MEDIA_E_MALFORMED for a size with one of the bits 0x800000007, MEDIA_E_EMPTY_CHUNK for 0.
QM_API HRESULT riff64_ValidateChunkHeader(const GUID* label, uint64_t size);
QM_API HRESULT riff64_SaveLocation(HQMFILE file, uint64_t* position);
QM_API HRESULT riff64_RestoreLocation(HQMFILE file, uint64_t position);
QM_API uint64_t riff64_SkipChunk(HQMFILE file, uint64_t size);
/// Null for every label.
QM_API const char16_t* riff64_getGUIDLabel(const GUID* label);
QM_API const char16_t* riff64_getGUIDLabelProperly(const GUID* label);

QM_API HRESULT riff64_ReadData(HQMFILE file, void* buffer, uint64_t bytes);
/// Ends behind `room` bytes and `size` & 7 more, which is not the pad.
QM_API HRESULT riff64_ReadDataBounded(HQMFILE file, void* buffer, uint32_t room, uint32_t size);
QM_API HRESULT riff64_ReadDataAlloc(HQMFILE file, RIFFDATABLOCK* block);

QM_API HRESULT riff64_SetRIFFSize(HQMFILE file, uint64_t size);
/// The size of the file by its header.
QM_API HRESULT riff64_GetFileSize(HQMFILE file, uint64_t* size);
/// Without a limit.
QM_API HRESULT riff64_UpdateRIFFSize(HQMFILE file, int64_t delta);

QM_API HRESULT riff64_WriteChunkHeader(HQMFILE file, const GUID* label, uint64_t size);
/// The stored size is without the pad.
QM_API HRESULT riff64_WriteChunk(HQMFILE file, const GUID* label, const void* buffer, uint64_t size,
                                 uint64_t* written);
QM_API HRESULT riff64_WriteListHeader(HQMFILE file, const GUID* type, uint64_t size);
QM_API HRESULT riff64_WriteFileID(HQMFILE file, const GUID* form, uint64_t size);
/// Payload and pad; `*written` counts both.
QM_API HRESULT riff64_WriteData(HQMFILE file, const void* buffer, uint64_t bytes, uint64_t* written);

/// Chunks whose size is known at their end. The start is that of the header; the stored size is with the pad.
QM_API HRESULT riff64_PrepareChunk(HQMFILE file, const GUID* label, uint64_t* start);
QM_API HRESULT riff64_PrepareList(HQMFILE file, const GUID* type, uint64_t* start);
QM_API HRESULT riff64_CompleteChunk(HQMFILE file, uint64_t start);
QM_API HRESULT riff64_WriteChunkToFile(HQMFILE file, const GUID* label, const void* buffer, uint64_t bytes);
QM_API HRESULT riff64_WriteToFile(HQMFILE file, const void* buffer, uint64_t bytes);
QM_API HRESULT riff64_Pad(HQMFILE file, uint64_t start);
QM_API uint64_t riff64_AmountWritten(HQMFILE file, uint64_t start);

QM_API HRESULT riff64_ReadChunkHeader(HQMFILE file, GUID* label, uint64_t* size);
QM_API HRESULT riff64_ReadListHeader(HQMFILE file, GUID* type, uint64_t* size);
/// A file that is too short is MEDIA_E_NO_RIFF.
QM_API HRESULT riff64_ReadFileID(HQMFILE file, uint64_t* size, GUID* form);

QM_API HRESULT riff64_SeekDataStart(HQMFILE file);
/// `remaining` is compared as a signed number.
QM_API HRESULT riff64_FindChunkHeader(HQMFILE file, const GUID* label, uint64_t* size, uint64_t* remaining);
QM_API HRESULT riff64_FindChunkHeaderInRIFF(HQMFILE file, const GUID* label, uint64_t* size,
                                            uint64_t* remaining);
QM_API HRESULT riff64_FindListChunk(HQMFILE file, const GUID* type, uint64_t* size, uint64_t* remaining);
QM_API HRESULT riff64_FindListChunkFromStart(HQMFILE file, const GUID* type, uint64_t* size);
QM_API HRESULT riff64_GetNumListEntries(HQMFILE file, uint32_t* count, uint64_t* remaining);
QM_API HRESULT riff64_SeekListEntry(HQMFILE file, uint32_t entry, uint64_t* remaining);
QM_API HRESULT riff64_DeleteChunk(HQMFILE file, const GUID* label, uint64_t* removed);

}  // extern "C"
