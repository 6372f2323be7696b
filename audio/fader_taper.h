// The taper of a fader: how decibels lie along its travel. Pure arithmetic. [any-thread]
#pragma once

#include "platform/types.h"

namespace tarn {

/// Position on the tapered scale of a value in tenths of a decibel; the sign is kept,
/// and values beyond 1000 stay.
QM_API int32_t FaderTaper(int32_t value);
/// The value at a position of the tapered scale.
QM_API int32_t FaderTaperInverse(int32_t position);

/// Where a gain lies along the travel of a console's fader, 0..1, and back: -72 dB, which is silence, to
/// 12 dB, by the taper and without steps.
QM_API float FaderShareOfGain(float gain);
QM_API float FaderGainOfShare(float share);

}  // namespace tarn
