// What stands before the samples of a file whose header may be damaged: its format, and where the samples
// begin.
#pragma once

#include "mediafile/byte_source.h"
#include "mediafile/chunk_grammar.h"
#include "mediafile/long_sizes.h"
#include "mediafile/repair.h"

namespace tarn {

struct DamagedHead {
    MediaContainer container = MediaContainer::Unknown;
    std::string refusal;           ///< why nothing is found; then the rest is as far as it was
    bool isFormatMissing = false;  ///< and that is why

    LongSizes longSizes;           ///< of RF64 and BW64
    uint64_t formBytes = 0;        ///< of the form's head, as many as are there of it
    bool isFormWhole = false;      ///< else it is written anew
    uint64_t formEnd = 0;          ///< by its header, which may be anywhere
    uint64_t format = 0;           ///< place of the record; 0 where the hint takes its place
    uint64_t formatBytes = 0;      ///< of the record
    uint64_t dataHeader = 0;       ///< of the samples' chunk
    uint64_t payload = 0;          ///< by that header
    bool isPayloadValid = false;   ///< a size that can be
    std::vector<MediaEdit> edits;  ///< what makes the way from the form's head to the samples' chunk whole
};

/// `hint`, which may be null, takes the place of a format that is not found.
DamagedHead FindDamagedHead(const ByteSource& source, const WAVEFORMATEX* hint);

}  // namespace tarn
