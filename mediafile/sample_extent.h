// Where the samples of a file end whose sizes cannot be trusted.
#pragma once

#include "mediafile/byte_source.h"
#include "mediafile/chunk_grammar.h"

#include <optional>
#include <string>

namespace tarn {

struct ExtentFacts {
    uint64_t samples;  ///< place of the first one
    uint64_t stored;   ///< bytes of them by the header of their chunk
    bool isSet;        ///< false where that header was never completed
    uint64_t formEnd;  ///< by the form's header, which may be anywhere
    uint64_t frame;    ///< bytes of one
    uint64_t counted;  ///< bytes by a number of frames that is told elsewhere; 0 where it is not
};

struct SampleExtent {
    uint64_t bytes = 0;      ///< of samples
    uint64_t formEnd = 0;    ///< where the form ends then
    bool isChanged = false;  ///< not as the samples' chunk tells
    std::string unclear;     ///< why it cannot be told; then the rest is what the headers say
};

SampleExtent FindSampleExtent(const ByteSource& source, const ChunkGrammar& g, const ExtentFacts& facts);

/// As a person says.
SampleExtent SampleExtentUpTo(const ByteSource& source, const ChunkGrammar& g, const ExtentFacts& facts,
                              uint64_t end);

}  // namespace tarn
