// Nano time as text, in the twenty formats of rulers, and back.
//
//  0 samples                           10 SMPTE film (24)
//  1 hours:minutes:seconds.millis      11 units of nano time
//  2 seconds                           12 microseconds
//  3 time and frames                   13 measures, beats, ticks from 0
//  4 frames                            14 beats
//  5 measures, beats, ticks from 1     15 feet and frames, 40 a foot
//  6 SMPTE 29.97 non-drop              16 feet and frames, 16 a foot
//  7 SMPTE 30                          17 CD time, 75 frames a second
//  8 SMPTE drop frame                  18 SMPTE 23.976
//  9 SMPTE EBU (25)                    19 the shortest form of hours, minutes and seconds
//
// Separators and digit groups are the user's. Texts have at most 63 characters. The functions without a
// capacity need room for 64; the N forms cut at capacity - 1. All return the length. [any-thread]
#pragma once

#include "kernel/time/position.h"

inline constexpr uint32_t TIME_TEXT_SHORT = 1;     ///< without what is finer than a second or a beat
inline constexpr uint32_t TIME_TEXT_DURATION = 2;  ///< no offset, and measures and beats count from 0

extern "C" {

/// printFormat takes the values of its format, see PrintFormatOfTime, whose it is when null; a format number
/// above 19 prints the count.
QM_API int32_t QmNanoTimeToTextFormat(char16_t* out, const _qmposfmt* format, int64_t nanos,
                                      const char16_t* printFormat, uint32_t flags);
QM_API int32_t QmNanoTimeToTextFormatN(char16_t* out, uint32_t capacity, const _qmposfmt* format,
                                       int64_t nanos, const char16_t* printFormat, uint32_t flags);
/// flags: TIME_TEXT_...
QM_API int32_t QmNanoTimeToTextEx(char16_t* out, const _qmposfmt* format, int64_t nanos, uint32_t flags);
QM_API int32_t QmNanoTimeToTextExN(char16_t* out, uint32_t capacity, const _qmposfmt* format, int64_t nanos,
                                   uint32_t flags);
QM_API int32_t QmNanoTimeToText(char16_t* out, const _qmposfmt* format, int64_t nanos, BOOL isShort);
QM_API int32_t QmNanoTimeToTextN(char16_t* out, uint32_t capacity, const _qmposfmt* format, int64_t nanos,
                                 BOOL isShort);

/// "5.2.120" of a measure and the ticks in it, both from 0, shown from 1.
QM_API int32_t QmMeasuresAndTicksToText(char16_t* out, const _qmposfmt* format, uint32_t measure,
                                        uint32_t ticks);
/// "2.120": beats, from 0, and ticks.
QM_API int32_t QmTicksToText(char16_t* out, const _qmposfmt* format, uint32_t ticks);

}  // extern "C"

namespace tarn {

/// The print format of a format number; that of raw units for an unknown one.
QM_API const char16_t* PrintFormatOfTime(uint32_t format, bool isShort);
}  // namespace tarn
