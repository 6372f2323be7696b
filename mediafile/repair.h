// A media file whose header is damaged or was never completed, made whole again. What is done is planned
// first, by reading alone, and a plan never touches a byte at or behind the first sample: headers change,
// samples stay. Where the file can be read in more than one way, or does not tell its format, nothing is
// guessed: the plan is refused, with the reason, until the caller says which. [any-thread]
#pragma once

#include "mediafile/inspect.h"
#include "mediafile/media_codes.h"

#include <functional>
#include <optional>

namespace tarn {

struct MediaEdit {
    uint64_t offset;   ///< in the file as it is
    uint64_t removed;  ///< bytes there that give way
    std::vector<uint8_t> bytes;
    std::string what;  ///< for a person
};

struct MediaRepairOptions {
    /// Plain, without codec bytes; taken only where the file does not tell its own. Null: then it is refused.
    const WAVEFORMATEX* format = nullptr;
    /// Where the samples end in the file, UINT64_MAX for its end; absent, as the file tells.
    std::optional<uint64_t> samplesEnd;
};

/// What only the caller can know.
enum class MediaRepairNeeds { Nothing, Format, SamplesEnd };

struct MediaRepairPlan {
    std::vector<MediaEdit>
        edits;            ///< in the order of their places, apart from each other; empty when refused
    std::string refusal;  ///< why nothing is done, or what is left as it is; empty when all is well
    MediaRepairNeeds needs = MediaRepairNeeds::Nothing;  ///< with which it would not be refused
    uint64_t samples = 0;  ///< the first sample's place in the file as it is; 0 where it is not found
    uint64_t frames = 0;   ///< whole ones that the file has afterwards; of a codec as the header tells

    bool IsRefused() const { return !refusal.empty(); }
    /// Bytes were lost or are missing, so that samples lie at another place afterwards: not in place.
    bool MovesSamples() const {
        for (const MediaEdit& edit : edits)
            if (edit.removed != edit.bytes.size()) return true;
        return false;
    }
};

/// Applied, the plan gives a file without errors in its structure. Throws std::bad_alloc.
QM_API MediaRepairPlan PlanMediaRepair(HQMFILE file, const MediaRepairOptions& options);

/// Writes the edits in place, one after the other. A file in which only some of them arrived can be planned
/// anew. E_INVALIDARG for a plan that moves samples. The caller flushes.
QM_API HRESULT ApplyMediaRepair(HQMFILE file, const MediaRepairPlan& plan);

/// Writes the file as it is after the plan. `progress`, which may be empty, is called with the bytes read.
QM_API HRESULT WriteRepairedMedia(HQMFILE from, const MediaRepairPlan& plan, HQMFILE to,
                                  const std::function<void(uint64_t)>& progress);

}  // namespace tarn
