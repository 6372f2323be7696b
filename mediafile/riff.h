// Chunks of RIFF files: id, 32-bit size, payload, a pad byte where the size is odd. Plain functions over an
// open file; what they leave is the file's position and, where they have one, `remaining`: the bytes left in
// the enclosing scope, counted down, never below 0, and without it the end of the file is the bound.
//
// All return 0 or a negative status of media_codes.h. Ids are FOURCCs, first character lowest. None locks; a
// file is used by one thread at a time. Nothing is taken back when an operation fails half way.
#pragma once

#include "mediafile/media_codes.h"
#include "platform/file_handle.h"

inline constexpr uint32_t RIFF_CHUNK_HEADER = 8;
/// The first chunk behind the form type.
inline constexpr uint32_t RIFF_DATA_START = 12;
/// The largest size that a file's header takes.
inline constexpr uint32_t RIFF_LARGEST = 0xFFFFFFF7;

/// A block that a reader allocates: `size` in, `data` out, freed with MemFree.
struct RIFFDATABLOCK {
    uint32_t size;
    void* data;
};

#pragma pack(push, 1)
/// "fmt " of a CD track's shortcut.
struct RIFFCDDA {
    uint16_t format, track;
    uint32_t serial, firstSector, sectorCount;
    uint8_t frame, second, minute, reserved;
    uint8_t length[4];  ///< frame, second, minute, reserved
};
#pragma pack(pop)
static_assert(sizeof(RIFFCDDA) == 24);

extern "C" {

/// MEDIA_E_MALFORMED for 2 GiB and more, MEDIA_E_EMPTY_CHUNK for 0.
QM_API HRESULT riff_ValidateChunkHeader(uint32_t id, uint32_t size);
QM_API HRESULT riff_SaveLocation(HQMFILE file, uint32_t* position);
QM_API HRESULT riff_RestoreLocation(HQMFILE file, uint32_t position);
/// Seeks over the payload and its pad; returns that count, at most 0xFFFFFFFF.
QM_API uint32_t riff_SkipChunk(HQMFILE file, uint32_t size);

/// All of it, and over the pad.
QM_API HRESULT riff_ReadData(HQMFILE file, void* buffer, uint32_t bytes);
/// Reads the lesser and ends behind `room` bytes and the pad of `size`.
QM_API HRESULT riff_ReadDataBounded(HQMFILE file, void* buffer, uint32_t room, uint32_t size);
QM_API HRESULT riff_ReadDataAlloc(HQMFILE file, RIFFDATABLOCK* block);

/// The size in the file's header, as it stands there; the position stays.
QM_API HRESULT riff_SetRIFFSize(HQMFILE file, uint32_t size);
/// That size and 4; ends behind the form type.
QM_API HRESULT riff_GetFileSize(HQMFILE file, uint32_t* size);
/// Adds to that size. Where it would pass RIFF_LARGEST the file is cut to its old size, and that is
/// MEDIA_E_TOO_LARGE. The position stays.
QM_API HRESULT riff_UpdateRIFFSize(HQMFILE file, int64_t delta);

QM_API HRESULT riff_WriteChunkHeader(HQMFILE file, uint32_t id, uint32_t size);
/// `*written`, which may be null, counts header and pad.
QM_API HRESULT riff_WriteChunk(HQMFILE file, uint32_t id, const void* buffer, uint32_t size,
                               uint32_t* written);
/// `size` counts the 4 bytes of the type.
QM_API HRESULT riff_WriteListHeader(HQMFILE file, uint32_t type, uint32_t size);
QM_API HRESULT riff_WriteFileID(HQMFILE file, uint32_t form, uint32_t size);

QM_API HRESULT riff_ReadChunkHeader(HQMFILE file, uint32_t* id, uint32_t* size);
/// `*size` is without the type.
QM_API HRESULT riff_ReadListHeader(HQMFILE file, uint32_t* type, uint32_t* size);
/// `*size` is without the form, 0 on a failed read.
QM_API HRESULT riff_ReadFileID(HQMFILE file, uint32_t* size, uint32_t* form);

QM_API HRESULT riff_SeekDataStart(HQMFILE file);
/// From here on; ends at the payload. MEDIA_E_NOT_FOUND within a bound, MEDIA_E_READ at the end of the file.
QM_API HRESULT riff_FindChunkHeader(HQMFILE file, uint32_t id, uint32_t* size, uint32_t* remaining);
/// From the first chunk of the file, bounded by its size; `remaining` is only given back.
QM_API HRESULT riff_FindChunkHeaderInRIFF(HQMFILE file, uint32_t id, uint32_t* size, uint32_t* remaining);
/// Ends behind the list's type, and `*size` is without it.
QM_API HRESULT riff_FindListChunk(HQMFILE file, uint32_t type, uint32_t* size, uint32_t* remaining);
QM_API HRESULT riff_FindListChunkFromStart(HQMFILE file, uint32_t type, uint32_t* size);
/// Chunks from here on; the position stays.
QM_API HRESULT riff_GetNumListEntries(HQMFILE file, uint32_t* count, uint32_t* remaining);
/// Over so many chunks; MEDIA_E_NOT_FOUND when there are fewer.
QM_API HRESULT riff_SeekListEntry(HQMFILE file, uint32_t entry, uint32_t* remaining);
/// Takes a chunk out of the file, or the list of type `id`, and corrects the file's size.
QM_API HRESULT riff_DeleteChunk(HQMFILE file, uint32_t id, uint32_t* removed, BOOL isList);

/// In Windows-1252 with a terminator and a pad; null is an empty text.
QM_API HRESULT riff_WriteANSIString(HQMFILE file, const char16_t* text, uint32_t* written);
/// `*size` is the payload's, and one more afterwards. What does not fit is left out; ends behind the pad.
QM_API HRESULT riff_ReadANSIString(HQMFILE file, char16_t* text, uint32_t capacity, uint32_t* size);

QM_API HRESULT riff_ReadRIFFCDDA(HQMFILE file, RIFFCDDA* record);
/// The results, each of which may be null, are 0 on failure. The start is in frames of a 75th of a second.
QM_API HRESULT riff_ReadCDAFile(const char16_t* path, uint32_t* track, uint32_t* startSector,
                                uint32_t* startFrames, uint32_t* sectorCount, uint32_t* serial);

}  // extern "C"
