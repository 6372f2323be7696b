// Chunks of AIFF and AIFC files, and what is read of them: format, place of the samples, markers. Numbers are
// big-endian in the file and plain here; ids have their first character highest. Statuses are those of
// media_codes.h. A file is used by one thread at a time. (Audio Interchange File Format, version 1.3.)
#pragma once

#include "audio/wave_format.h"
#include "mediafile/media_codes.h"
#include "platform/file_handle.h"

struct IFFCHUNKHEADER {
    uint32_t id, size;
};

#pragma pack(push, 1)
struct IFFMARKER {
    uint16_t id;
    uint32_t position;  ///< in frames
    uint8_t nameLength;
};
#pragma pack(pop)
static_assert(sizeof(IFFMARKER) == 7);

extern "C" {

/// Swap so many items in place.
QM_API void iff_ByteSwap16(void* buffer, uint32_t count);
QM_API void iff_ByteSwap32(void* buffer, uint32_t count);
QM_API void aiff_WriteByteSwap16(void* buffer, uint32_t count);
QM_API void aiff_WriteByteSwap32(void* buffer, uint32_t count);

QM_API HRESULT iff_ReadChunkHdr(HQMFILE file, IFFCHUNKHEADER* header);
QM_API HRESULT iff_ReadDWORD(HQMFILE file, uint32_t* value);
QM_API HRESULT iff_ReadWORD(HQMFILE file, uint16_t* value);
QM_API HRESULT iff_WriteFileID(HQMFILE file, uint32_t form, uint32_t size);
/// The header alone.
QM_API HRESULT iff_WriteChunk(HQMFILE file, const IFFCHUNKHEADER* header);
QM_API HRESULT iff_WriteDWORD(HQMFILE file, uint32_t value);
QM_API HRESULT iff_WriteWORD(HQMFILE file, uint16_t value);
/// From here; MEDIA_E_UNKNOWN_FORMAT unless "FORM" stands here.
QM_API HRESULT iff_ReadFormType(HQMFILE file, IFFCHUNKHEADER* header, uint32_t* form);
QM_API uint32_t iff_SkipChunk(HQMFILE file, uint32_t size);
QM_API HRESULT iff_DeleteChunk(HQMFILE file, uint32_t id, uint32_t* removed);
/// As riff_FindChunkHeader; `remaining` must be given.
QM_API HRESULT iff_FindChunkHeader(HQMFILE file, uint32_t id, uint32_t* size, uint32_t* remaining);
QM_API HRESULT iff_SeekChunkHeader(HQMFILE file, uint32_t id, uint32_t* size);
/// MEDIA_E_NO_RIFF for a file that is no form, MEDIA_E_NOT_FOUND for any failure behind that.
QM_API HRESULT iff_FindChunkFromStart(HQMFILE file, uint32_t id, uint32_t* size);
/// Ends at the marker's name.
QM_API HRESULT iff_FindMarker(HQMFILE file, IFFMARKER* record, uint32_t id);

/// An 80-bit float of a sign with exponent and four words of mantissa. Negative exponents give 44100; what is
/// above 192000 comes out between 96000 and 192000.
QM_API uint32_t aiff_ConvertRate(uint16_t exponent, const uint16_t* mantissa);
QM_API void aiff_CreateRate(uint32_t rate, uint16_t* exponent, uint16_t* mantissa);

/// Ends behind the form type, at the first chunk.
QM_API BOOL iff_IsAIFFFile(HQMFILE file, uint32_t* formSize);
/// AIFC is AIFF only when its samples are plain: "NONE", or "sowt", which is little-endian.
QM_API BOOL iff_IsAIFFFileEx(HQMFILE file, uint32_t* formSize, BOOL* isAifc, BOOL* isLittleEndian);
/// Whatever "COMM" says goes into the record, cbSize apart. The results may be null.
QM_API HRESULT iff_GetAIFFWfx(HQMFILE file, WAVEFORMATEX* wfx, uint64_t* frames, uint64_t* dataOffset);
QM_API BOOL QmFileIsAiff(const char16_t* path);

}  // extern "C"
