// Whether what lies at a place of a file is chunks, one behind the other, or something else, such as samples
// that look like a chunk.
#pragma once

#include "mediafile/byte_source.h"
#include "mediafile/chunk_grammar.h"

#include <optional>

namespace tarn {

struct ChunkChain {
    enum Kind {
        Whole,   ///< chunks up to the end, or nothing at all
        Cut,     ///< the last one reaches beyond the end
        Broken,  ///< something that is no chunk
    } kind = Broken;
    uint64_t wholeEnd = 0;  ///< behind the last whole chunk
    uint64_t toldEnd = 0;   ///< where a cut one would end
    uint32_t chunks = 0;    ///< whole ones
    /// All of them known, none that stands once in a file twice, lists well-formed: no samples look so.
    bool isConvincing = true;
};

ChunkChain FollowChunks(const ByteSource& source, const ChunkGrammar& g, uint64_t at, uint64_t end);

/// The first place from `from` on where convincing chunks begin that end where the file does.
std::optional<uint64_t> FindTrailingChunks(const ByteSource& source, const ChunkGrammar& g, uint64_t from);

}  // namespace tarn
