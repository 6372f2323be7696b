// Reading times as people type them, in the formats of kernel/time/time_text.h.
//
// Every reader skips leading white space, takes what it can and leaves *end, unless null, where it stopped;
// an error is 0 with *end at the stop. Numbers may have the user's digit groups and decimal separator, or
// '.'. A '-' in front makes a time negative. Results that don't fit are held at the nearest bound.
// [any-thread]
#pragma once

#include "kernel/time/position.h"

extern "C" {

/// A position in the format's own notation, its offset added; what QmNanoTimeToText wrote comes back, to the
/// accuracy that it showed.
QM_API int64_t QmTextToNanoTimeToken(const char16_t* text, const _qmposfmt* format, const char16_t** end);
/// Clamped; the default when there is nothing that can be read.
QM_API int64_t QmTextToNanoTimeTokenEx(int64_t defaultValue, const char16_t* text, const _qmposfmt* format,
                                       int64_t minimum, int64_t maximum, const char16_t** end);
/// With the flags of time_text.h: TIME_TEXT_DURATION adds no offset and counts measures and beats from 0.
QM_API int64_t QmTextToNanoTimeToken2(const char16_t* text, const _qmposfmt* format, uint32_t flags,
                                      const char16_t** end);

/// Up to four groups of digits with anything but digits between: from the right frames at the format's rate
/// (with the flag) or milliseconds, seconds, minutes, hours. What is too many milliseconds counts into the
/// seconds.
QM_API int64_t QmTextToTimeToken(const char16_t* text, const _qmposfmt* format, BOOL frames,
                                 const char16_t** end);
/// The same groups into the fields of a label; false when there is no digit.
QM_API BOOL QmTextToHMSFToken(const char16_t* text, _smpteval* value, const char16_t** end);

/// Frames of "feet+frames"; a number alone is feet.
QM_API int64_t QmTextToFeetAndFramesToken(const char16_t* text, uint32_t framesPerFoot, const char16_t** end);

/// Nano time of "measure.beat.tick", measures and beats counted from 1; what is missing at the right is the
/// first.
QM_API int64_t QmTextToMusicTimeToken(const char16_t* text, const _qmposfmt* format, const char16_t** end);
/// The numbers of "measure.beat.tick" as they stand, 0 for the missing ones; the count of numbers read.
QM_API int32_t QmTextToMeasuresBeatsTicks(const char16_t* text, uint32_t* measures, uint32_t* beats,
                                          uint32_t* ticks);
/// "beats.ticks".
QM_API int32_t QmTextToBeatsTicks(const char16_t* text, uint32_t* beats, uint32_t* ticks);
/// All ticks of "beats.ticks", or of a number alone.
QM_API uint32_t QmTextToTicks(const char16_t* text, const _qmposfmt* format);

}  // extern "C"
