// Markers and regions: what "cue " and the labels beside it hold, as lists and as plain records.
#pragma once

#include "kernel/list.h"
#include "mediafile/media_codes.h"
#include "platform/com.h"
#include "platform/file_handle.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

inline constexpr GUID QM_CUE_LABEL = tarn::Guid("{ABF76256-392D-11D2-86C7-00C04F8EDB8A}");

/// Samples to units of 100 nanoseconds, to the nearest; 0 with rate 0.
QM_API int64_t QmFMMeta_TimeFromSamples(uint64_t samples, uint32_t rate);

/// Most bytes of a label that the lists below take.
inline constexpr size_t QM_MOST_LABEL = 1023;

namespace tarn {

/// Of a cue in its chunk.
inline constexpr size_t CUE_BYTES = 24;

struct MediaCue {
    uint32_t id = 0;
    uint32_t position = 0;           ///< in frames
    std::optional<uint32_t> length;  ///< of a region
    std::u16string label, note;
    uint32_t purpose = 0;  ///< of a region, four characters
};

/// Of the payloads of "cue " and of "adtl" without its type. MEDIA_E_MALFORMED for a longer label.
QM_API HRESULT ReadMediaCues(std::span<const uint8_t> cues, std::span<const uint8_t> labels, size_t mostLabel,
                             std::vector<MediaCue>* out);
/// The same payloads; the labels' is empty where there are none.
QM_API std::vector<uint8_t> MediaCueBytes(std::span<const MediaCue> cues);
QM_API std::vector<uint8_t> MediaLabelBytes(std::span<const MediaCue> cues);

}  // namespace tarn

struct QMMARKER {
    int64_t position, length;  ///< in 100 ns; a marker has no length
    char16_t text[1];          ///< as long as it is, with a terminator
};
struct QMCUE {
    GUID label;  ///< QM_CUE_LABEL
    uint32_t cueId;
    int64_t position, length;  ///< in frames; -1 for a marker
    char16_t text[1];
};

extern "C" {

/// Appends each cue of a RIFF file, in its order, to the lists that are given: heap lists of QMMARKER and of
/// QMCUE. Without cues nothing is added. MEDIA_E_MALFORMED for a label of more than QM_MOST_LABEL bytes.
QM_API HRESULT QmFMMeta_fillCuesFromFileEx(HQMFILE file, uint32_t rate, HQMLIST markers, HQMLIST regions);
QM_API HRESULT QmFMMeta64_fillCuesFromFileEx(HQMFILE file, uint32_t rate, HQMLIST markers, HQMLIST regions);

}  // extern "C"
