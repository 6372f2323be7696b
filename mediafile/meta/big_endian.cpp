#include "mediafile/meta/big_endian.h"

#include <algorithm>
#include <iterator>

namespace tarn {

namespace {

/// Where numbers stand: digits are those of so many bytes, other characters a byte that stays.
struct ChunkNumbers {
    const char* id;
    size_t skipped;        ///< bytes of texts before
    const char* numbers;   ///< once
    const char* repeated;  ///< up to the end
};
constexpr ChunkNumbers NUMBERED[] = {
    {"cue ", 0, "4", "44____444"},
    {"plst", 0, "4", "444"},
    {"smpl", 0, "444444444", "444444"},
    {"inst", 0, "", ""},
    {"acid", 0, "42244224", ""},
    {"labl", 0, "4", ""},
    {"note", 0, "4", ""},
    {"ltxt", 0, "44____2222", ""},
    {"bext", 338, "442________________________________________________________________22222", ""},
    {"iXML", 0, "", ""},
    {"axml", 0, "", ""},
    {"id3 ", 0, "", ""},
    {"ID3 ", 0, "", ""},
    {"_PMX", 0, "", ""},
};

const ChunkNumbers* NumbersOf(const std::string& id) {
    const auto* found = std::ranges::find(NUMBERED, id, &ChunkNumbers::id);
    return found == std::end(NUMBERED) ? nullptr : found;
}

/// False at the end of the bytes.
bool Turn(MetaBytes& bytes, size_t& at, const char* numbers) {
    for (; *numbers; numbers++) {
        const size_t width = *numbers == '_' ? 1 : static_cast<size_t>(*numbers - '0');
        if (at + width > bytes.size()) return false;
        const auto from = bytes.begin() + static_cast<ptrdiff_t>(at);
        std::reverse(from, from + static_cast<ptrdiff_t>(width));
        at += width;
    }
    return true;
}

MetaBytes TurnItems(const MetaBytes& list) {
    MetaWriter out;
    std::span<const uint8_t> rest = list;
    while (rest.size() >= RIFF_CHUNK_HEADER) {
        const auto id = FromLittleEndian<uint32_t>(rest.data());
        const size_t size =
            std::min<size_t>(FromBigEndian<uint32_t>(&rest[4]), rest.size() - RIFF_CHUNK_HEADER);
        const auto payload = rest.subspan(RIFF_CHUNK_HEADER, size);
        out.Chunk(id, TurnBigEndian(id, {payload.begin(), payload.end()}));
        rest = rest.subspan(std::min(rest.size(), RIFF_CHUNK_HEADER + size + (size & 1)));
    }
    return std::move(out.Bytes());
}

}  // namespace

MetaBytes TurnBigEndian(uint32_t id, MetaBytes payload) {
    if (id == FourCC("LIST")) return TurnItems(payload);
    const ChunkNumbers* layout = NumbersOf({reinterpret_cast<const char*>(&id), 4});
    if (!layout) return payload;
    size_t at = layout->skipped;
    if (Turn(payload, at, layout->numbers))
        while (*layout->repeated && Turn(payload, at, layout->repeated)) {
        }
    return payload;
}

bool IsBigEndianKnown(const std::string& id) { return id.starts_with("LIST:") || NumbersOf(id); }

}  // namespace tarn
