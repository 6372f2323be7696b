#include "mediafile/chunk_chain.h"

#include "mediafile/chunk_io.h"

#include <cstring>
#include <vector>

namespace tarn {

namespace {

constexpr uint32_t MOST_CHUNKS = 10000, MOST_TRAILING = 64;

/// Chunks within a list.
bool IsListWellFormed(const ByteSource& source, const ChunkGrammar& g, uint64_t body, uint64_t end) {
    if (end - body < g.type) return false;
    ChunkIo<SourceStream> chunks(SourceStream(source), g);
    ChunkHead head;
    uint64_t at = body + g.type;
    for (uint32_t n = 0; at < end; n++) {
        if (n == MOST_CHUNKS || end - at < g.header || !chunks.ReadHeadAt(at, &head)) return false;
        if (!g.IsPlausible(head.bytes) || !head.isValid || head.size > end - at - g.header) return false;
        at += g.header + g.Padded(head.size);
    }
    return true;
}

}  // namespace

ChunkChain FollowChunks(const ByteSource& source, const ChunkGrammar& g, uint64_t at, uint64_t end) {
    ChunkChain chain;
    std::vector<std::string> seen;
    ChunkIo<SourceStream> chunks(SourceStream(source), g);
    ChunkHead head;
    for (;;) {
        chain.wholeEnd = std::min(at, end);
        if (at >= end) return chain.kind = ChunkChain::Whole, chain;
        if (chain.chunks == MOST_CHUNKS || end - at < g.header || !chunks.ReadHeadAt(at, &head)) return chain;
        if (!g.IsPlausible(head.bytes) || !head.isValid) return chain;
        const std::string id = g.Id(head.bytes);
        const uint64_t body = at + g.header, size = head.size;
        const bool isList = g.IsList(head.bytes),
                   isTold = std::find(seen.begin(), seen.end(), id) != seen.end();
        if (!g.IsKnown(head.bytes) || id == g.format || id == g.samples || (isTold && !isList) ||
            chain.chunks == MOST_TRAILING)
            chain.isConvincing = false;
        if (size > end - body) {
            chain.kind = ChunkChain::Cut;
            chain.toldEnd = body + size;
            return chain;
        }
        if (isList && chain.isConvincing) chain.isConvincing = IsListWellFormed(source, g, body, body + size);
        if (chain.isConvincing) seen.push_back(id);
        chain.chunks++;
        at = body + g.Padded(size);
    }
}

std::optional<uint64_t> FindTrailingChunks(const ByteSource& source, const ChunkGrammar& g, uint64_t from) {
    constexpr uint32_t BLOCK = 1 << 16;
    std::vector<uint8_t> block(BLOCK + 24);
    const uint64_t length = source.Size();
    for (uint64_t start = from; start < length; start += BLOCK) {
        const uint32_t got = source.ReadSome(start, block.data(), static_cast<uint32_t>(block.size()));
        for (uint32_t i = 0; i < BLOCK && i + g.header <= got; i++) {  // at any byte: pads are forgotten
            constexpr uint32_t NOT_ASCII = 0x80808080;                 // no known id has any; most samples do
            uint32_t first = 0;
            std::memcpy(&first, &block[i], sizeof first);
            uint64_t size = 0;
            if ((first & NOT_ASCII) || !g.IsKnown(&block[i])) continue;
            if (!g.Payload(&block[i], &size) || size > length - start - i - g.header) continue;
            const ChunkChain chain = FollowChunks(source, g, start + i, length);
            if (chain.kind == ChunkChain::Whole && chain.isConvincing) return start + i;
        }
    }
    return std::nullopt;
}

}  // namespace tarn
