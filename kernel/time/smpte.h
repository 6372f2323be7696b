// SMPTE time: labels of frames, their counts, and nano time.
//
// Nano time is a signed count of 100 nanoseconds, 10,000,000 a second. Labels are of SMPTE ST 12-1; in drop
// frame (format 2) the labels of frames 0 and 1 do not exist in minutes that are no multiple of ten. An
// unknown format counts as SMPTE 30 where it isn't said otherwise. [any-thread]
#pragma once

#include "platform/types.h"

inline constexpr int64_t NANO_TIME_PER_SECOND = 10000000;

enum SmpteFormat : uint32_t {
    SMPTE_30 = 1,
    SMPTE_DROP = 2,    ///< 30 labels a second, 30000/1001 frames
    SMPTE_EBU = 3,     ///< 25
    SMPTE_FILM = 4,    ///< 24
    SMPTE_29_97 = 5,   ///< 30 labels a second, 30000/1001 frames
    SMPTE_23_976 = 6,  ///< 24 labels a second, 24000/1001 frames
};

struct _smpteval {
    uint32_t format;  ///< SmpteFormat; others where a function says so
    uint32_t hours, minutes, seconds, frames;
    uint32_t user;  ///< the caller's
};
static_assert(sizeof(_smpteval) == 24);

extern "C" {

/// Frames since 00:00:00:00; labels that drop frame lacks count as the next that exists. 0 for an unknown
/// format.
QM_API int64_t QMSMPTE_SMPTEToFrameCount(const _smpteval* value);
/// Fills in the label of a frame in value->format. Counts wrap at 24 hours, negative ones backward.
QM_API void QMSMPTE_FrameCountToSMPTE(_smpteval* value, int64_t frames);

/// a becomes a + b or a - b, in a's format, wrapped to 24 hours.
QM_API void QMSMPTE_AddSMPTE(_smpteval* a, const _smpteval* b);
QM_API void QMSMPTE_SubtractSMPTE(_smpteval* a, const _smpteval* b);
/// By hours, minutes, seconds, frames: 1, -1, or 0 for equal labels.
QM_API int32_t QMSMPTE_SMPTECompare(const _smpteval* a, const _smpteval* b);
/// The next label. Hours keep 5 bits before they are raised.
QM_API void QMSMPTE_IncrementByFrame(_smpteval* value);
/// `count` frames back, wrapped to 24 hours.
QM_API void QMSMPTE_DeccrementByFrame(_smpteval* value, uint32_t count);

/// The frame that is shown at that time, in value->format; before 0 it is the day before's.
QM_API void QMSMPTE_NanoToSMPTE(int64_t nanos, _smpteval* value);
/// The time at which the frame begins, a little late rather than early, so that it is the same frame back.
QM_API int64_t QMSMPTE_SMPTEToNanos(const _smpteval* value);
/// The same for labels at any rate, in frames a second; 0 for a rate that is none.
QM_API int64_t QMSMPTE_SmpteLikeToNanos(double rate, const _smpteval* value);

/// Reads a label into all fields but the format. "1:2:3:4", "01 02 03 04", "10:00" (ten seconds),
/// "01:02:__:__" (what is blank is 0) or a run of digits, in pairs from the right ("1000" is ten seconds). Of
/// a field the last two digits count. False, and 0, without a digit.
QM_API BOOL QMSMPTE_TextToSMPTE(const char16_t* text, _smpteval* value);

}  // extern "C"
