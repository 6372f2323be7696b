// Metadata of samples that become others: a part of them, at another rate, at another level. Throws
// std::bad_alloc. [any-thread]
#pragma once

#include "mediafile/meta/meta_document.h"

namespace tarn {

struct MetaRetiming {
    uint32_t fromRate = 0, toRate = 0;
    uint64_t start = 0, frames = UINT64_MAX;  ///< that stay, in frames of the source
    bool changesLevel = false;                ///< what was measured holds no more
};

/// Positions in frames move along; markers and loops that lie outside are left out, regions end with the
/// samples. The time of the first sample stays true. Loudness of another level, or of a part, is not told.
QM_API void RetimeMetadata(MetaDocument& document, const MetaRetiming& retiming);

}  // namespace tarn
