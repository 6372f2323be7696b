// Sizes beyond 32 bits of RF64 and BW64 files: a chunk whose size reads as all ones has its own in "ds64",
// the first chunk of such a file.
#pragma once

#include <cstdint>
#include <vector>

namespace tarn {

class ByteSource;

struct LongSizes {
    static constexpr uint32_t ELSEWHERE = UINT32_MAX;  ///< what the chunk itself tells then
    static constexpr uint32_t BYTES = 28;              ///< of the payload with an empty table

    bool isThere = false;
    uint64_t offset = 0;  ///< of the payload; the three sizes are its first
    uint64_t form = 0, data = 0, frames = 0;
    struct Entry {
        uint32_t id;
        uint64_t size;
    };
    std::vector<Entry> table;

    /// By the four characters of a chunk; what the chunk tells where nothing is told here.
    uint64_t Of(const uint8_t* chunkHead, uint64_t told) const;
};

LongSizes ReadLongSizes(const ByteSource& source);

}  // namespace tarn
