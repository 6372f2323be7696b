// How chunks lie in wave, Wave64 and AIFF files: ids, sizes, order of bytes, padding. Nothing here reads a
// file.
#pragma once

#include "mediafile/inspect.h"

#include <cstdint>
#include <cstring>
#include <string>

namespace tarn {

struct ChunkGrammar {
    static constexpr uint32_t LONGEST_HEADER = 24;

    uint32_t header;    ///< bytes of a chunk's header
    uint32_t first;     ///< place of the first chunk: behind the form's header and type
    uint32_t multiple;  ///< that payloads are padded to
    uint32_t type;      ///< bytes of a form's or list's type
    uint32_t sizeAt;    ///< place of the size in a header
    uint32_t sizeBytes;
    bool isBigEndian;
    bool sizeHasHeader;            ///< stored sizes count the header
    uint32_t leastForType;         ///< bytes that a scope has at least where a list's type is read
    const void *form, *list;       ///< labels, as they lie in the file
    const void* filler;            ///< label of a chunk that readers skip
    const char *format, *samples;  ///< ids of the chunks without which there is no sound

    bool IsAiff() const { return format[0] == 'C'; }

    /// Four characters, what is not printable as '?'; of Wave64 a known name or the GUID.
    std::string (*Id)(const uint8_t* header);
    /// An id that chunks of such files are known to have.
    bool (*IsKnown)(const uint8_t* header);
    /// An id that some chunk may have.
    bool (*IsPlausible)(const uint8_t* header);

    /// Payload by the header; false for a size that cannot be.
    bool Payload(const uint8_t* chunkHeader, uint64_t* payload) const;
    /// A size as it is stored.
    uint64_t ReadSize(const uint8_t* bytes) const;
    void WriteSize(uint8_t* bytes, uint64_t stored) const;
    void MakeHead(uint8_t* chunkHeader, const void* label, uint64_t payload) const;
    /// What a header stores for such a payload.
    uint64_t Stored(uint64_t payload) const { return sizeHasHeader ? payload + header : payload; }
    /// The largest that can be stored.
    uint64_t LargestPayload() const;
    /// Up to the next multiple. A file has fewer than 2 to the 63rd bytes, so larger sizes are that.
    uint64_t Padded(uint64_t size) const {
        const uint64_t most = uint64_t{INT64_MAX} & ~uint64_t{multiple - 1};
        return size > most ? most : size + (multiple - size % multiple) % multiple;
    }
    bool IsList(const uint8_t* chunkHeader) const { return std::memcmp(chunkHeader, list, sizeAt) == 0; }
};

extern const ChunkGrammar WAVE_GRAMMAR, WAVE64_GRAMMAR, AIFF_GRAMMAR, RF64_GRAMMAR, BW64_GRAMMAR,
    RIFX_GRAMMAR;

/// By the first 40 bytes of a file, of which `got` are there; Unknown for any other file.
MediaContainer ContainerOf(const uint8_t* head, uint32_t got);
const ChunkGrammar& GrammarOf(MediaContainer container);

}  // namespace tarn
