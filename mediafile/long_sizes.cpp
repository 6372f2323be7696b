#include "mediafile/long_sizes.h"

#include "mediafile/byte_order.h"
#include "mediafile/byte_source.h"

namespace tarn {

namespace {
constexpr uint32_t PLACE = 12, HEADER = 8, MOST_ENTRIES = 1024, ENTRY_BYTES = 12, LEAST = 24;
}

uint64_t LongSizes::Of(const uint8_t* chunkHead, uint64_t told) const {
    const auto id = FromLittleEndian<uint32_t>(chunkHead);
    if (!isThere || FromLittleEndian<uint32_t>(chunkHead + 4) != ELSEWHERE) return told;
    if (id == FourCC("data")) return data;
    if (id == FourCC("RF64") || id == FourCC("BW64")) return form;
    for (const Entry& entry : table)
        if (entry.id == id) return entry.size;
    return told;
}

LongSizes ReadLongSizes(const ByteSource& source) {
    LongSizes sizes;
    uint8_t bytes[HEADER + LongSizes::BYTES];
    if (!source.Read(PLACE, bytes, sizeof bytes) || FromLittleEndian<uint32_t>(bytes) != FourCC("ds64"))
        return sizes;
    const auto size = FromLittleEndian<uint32_t>(bytes + 4);
    if (size < LEAST) return sizes;
    const uint8_t* payload = bytes + HEADER;
    sizes.isThere = true;
    sizes.offset = PLACE + HEADER;
    sizes.form = FromLittleEndian<uint64_t>(payload);
    sizes.data = FromLittleEndian<uint64_t>(payload + 8);
    sizes.frames = FromLittleEndian<uint64_t>(payload + 16);
    const auto told = FromLittleEndian<uint32_t>(payload + 24),
               room = (size - LongSizes::BYTES) / ENTRY_BYTES;
    uint64_t at = sizes.offset + LongSizes::BYTES;
    for (uint32_t i = 0; i < std::min({told, room, MOST_ENTRIES}); i++, at += ENTRY_BYTES) {
        uint8_t entry[ENTRY_BYTES];
        if (!source.Read(at, entry, sizeof entry)) break;
        sizes.table.push_back({FromLittleEndian<uint32_t>(entry), FromLittleEndian<uint64_t>(entry + 4)});
    }
    return sizes;
}

}  // namespace tarn
