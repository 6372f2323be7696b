// Metadata as a stream of kinds, and the writers that put such a stream into a file.
//
// Each kind begins with a QMMETAHEADER and has its items behind it, numbers little-endian and without
// padding:
//   summary       id (32 bits), bytes of the wide text with its terminator (32), the text
//   markers       cue id (32), position, length or -1 (64 each, in frames), bytes (32) and text as above
//   play list     cue id (32), length (64), repeats (32)
//   all others    RIFF id (32), bytes (32), the payload of the chunk as it is
// One thread at a time.
#pragma once

#include "kernel/list.h"
#include "mediafile/media_codes.h"
#include "mediafile/meta/meta_kinds.h"
#include "mediafile/meta/read_meta.h"
#include "platform/file_handle.h"

#include <span>
#include <vector>

struct QMMETAHEADER {
    uint32_t kind;   ///< one bit of QMFIO_TYPESOFMETADATA
    uint32_t bytes;  ///< of the items
    uint32_t count;
    uint32_t reserved[4];
};
static_assert(sizeof(QMMETAHEADER) == 28 && offsetof(QMMETAHEADER, count) == 8);

namespace tarn {

/// A stream over a copy of the bytes, with one reference; null when out of memory.
QM_API IQmReadMeta* CreateMetaStream(std::span<const uint8_t> bytes);
/// What a RIFF or Wave64 file has of the kinds, as such a stream has it.
QM_API HRESULT ReadMetaStream(HQMFILE file, bool isWave64, uint32_t kinds, std::vector<uint8_t>* stream);

}  // namespace tarn

/// A chunk as it lies in the file; of a list without its type.
struct QMMETABLOCK {
    uint32_t id;  ///< of the chunk in RIFF files
    uint32_t size;
    uint8_t data[1];  ///< as many as there are
};

extern "C" {

/// Appends the chunks of a kind to a heap list of QMMETABLOCK. None is S_OK.
QM_API HRESULT QmFMMeta_fillBlocksFromFile(HQMFILE file, uint32_t kind, HQMLIST blocks);
QM_API HRESULT QmFMMeta64_fillBlocksFromFile(HQMFILE file, uint32_t kind, HQMLIST blocks);

/// Writes the kind at which the stream stands behind the last chunk of an open RIFF file. A kind without
/// items writes nothing. Positions and lengths that 32 bits do not hold are left out. What was written before
/// a failure stays.
QM_API HRESULT QmFMMeta_WriteMetaStream(HQMFILE file, IQmReadMeta* meta);
/// All kinds of the set up to `size` bytes of the stream.
QM_API HRESULT QmFMMeta_WriteMetaStreamEx(HQMFILE file, uint32_t size, IQmReadMeta* meta, uint32_t kinds,
                                          BOOL isWave64);

/// Into the file. With `flag` a file that is neither RIFF nor Wave64 gets the stream in a side file.
QM_API HRESULT QmFMMeta_openAndWriteMetaStreamEx(const char16_t* path, BOOL flag, uint32_t size,
                                                 IQmReadMeta* meta, uint32_t kinds, uint32_t kinds2);
QM_API HRESULT QmFMMeta64_openAndWriteMetaStream(const char16_t* path, uint32_t size, IQmReadMeta* meta,
                                                 uint32_t kinds);
/// Deletes the kinds, and writes those of the stream.
QM_API HRESULT QmFMMeta_UpdateMetaStream2(const char16_t* path, uint32_t size, IQmReadMeta* meta,
                                          uint32_t kinds);
QM_API HRESULT QmFMMeta64_UpdateMetaStream(const char16_t* path, uint32_t size, IQmReadMeta* meta,
                                           uint32_t kinds);

/// Deletes the chunks of the kinds; with the AIFF bit those of an AIFF file. A file that cannot be opened,
/// and chunks that are not there, are S_OK.
QM_API HRESULT QmFMMeta_DeleteMetaChunksEx(const char16_t* path, uint32_t kinds, BOOL isWave64);
/// Markers and regions of a RIFF file.
QM_API HRESULT QmFMMeta_DeleteMetaChunks(const char16_t* path);

}  // extern "C"
