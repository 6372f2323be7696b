// Positions in nano time (see kernel/time/smpte.h) by hours, minutes, seconds and frames, and by measures,
// beats and ticks. [any-thread]
#pragma once

#include "kernel/time/smpte.h"

/// The formats of rulers; what each shows stands with the texts, in kernel/time/time_text.h.
enum PositionFormat : uint32_t {
    POSITION_SAMPLES = 0,
    POSITION_TIME = 1,
    POSITION_SECONDS = 2,
    POSITION_TIME_AND_FRAMES = 3,
    POSITION_FRAMES = 4,
    POSITION_MEASURES = 5,
    POSITION_SMPTE_29_97 = 6,
    POSITION_SMPTE_30 = 7,
    POSITION_SMPTE_DROP = 8,
    POSITION_SMPTE_EBU = 9,
    POSITION_SMPTE_FILM = 10,
    POSITION_RAW = 11,
    POSITION_MICROSECONDS = 12,
    POSITION_MEASURES_FROM_0 = 13,
    POSITION_BEATS = 14,
    POSITION_FEET_16 = 15,  ///< 16 mm film: 40 frames a foot
    POSITION_FEET_35 = 16,  ///< 35 mm film: 16 frames a foot
    POSITION_CD = 17,
    POSITION_SMPTE_23_976 = 18,
    POSITION_SHORTEST = 19,
    POSITION_FORMATS = 20,
};

struct _qmposfmt {
    uint32_t format;  ///< PositionFormat
    uint32_t rate;    ///< samples a second
    double framesPerSecond;
    double tempo;    ///< beats a minute
    int64_t offset;  ///< nano time at which the ruler shows 0
    uint16_t beatsPerMeasure;
    uint16_t ticksPerBeat;
};
static_assert(sizeof(_qmposfmt) == 40);

extern "C" {

/// Counted from 0. A meter or tempo of 0 counts as 1.
QM_API void QmNanoTimeToMeasures(int64_t nanos, const _qmposfmt* format, uint32_t* measure, uint32_t* beat,
                                 uint32_t* tick);

/// An SMPTE format in value->format decides over `rate`, the frames a second. keepDays: hours go on past 23.
/// Negative times are 0 unless the format is SMPTE.
QM_API void QmNanoTimeToHMSF(int64_t nanos, _smpteval* value, double rate, BOOL keepDays);
QM_API int64_t QmHMSFToNanoTime(const _smpteval* value, double rate);

}  // extern "C"
