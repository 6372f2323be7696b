// Metadata from one file to another, of whatever container. Texts, markers and instruments take the shape
// that the target's kind has for them; all other blocks go as they are. What has no place there is told of,
// with the reason, and may go into a side file. Throws std::bad_alloc. [any-thread]
#pragma once

#include "mediafile/meta/meta_document.h"

namespace tarn {

struct MetaLoss {
    std::string id;      ///< of the block
    std::string reason;  ///< for a person
};

struct MetaCarried {
    MetaDocument document;  ///< as the target's container has it
    std::vector<MetaLoss> losses;
    std::vector<MetaBlock> lost;  ///< whole blocks, for a side file; those that lose a part are among them
};

QM_API MetaCarried CarryMetadata(const MetaDocument& from, MediaContainer to);

/// Writes what `from` has behind the samples of a finished file that has no metadata yet: the one call that
/// makers of new files need. MEDIA_E_MALFORMED with the reason in `refusal` where it cannot be written.
QM_API HRESULT CarryMetadata(HQMFILE from, HQMFILE to, std::vector<MetaLoss>* losses, std::string* refusal);

/// "take.aiff.qml" with the blocks that are lost, beside the target. The paths are as WideFromPath makes
/// them.
QM_API HRESULT WriteLostMetadata(const char16_t* targetPath, std::span<const MetaBlock> lost);

}  // namespace tarn
