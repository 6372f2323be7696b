// The taper of a fader: how decibels lie along its travel. Pure arithmetic. [any-thread]
#pragma once

#include <cstdint>

/// A range and its travel, as the value-pixel rules need them.
struct FaderScale {
    int32_t min = 0, max = 100;
    int32_t origin = 0, span = 1;  ///< constants of the taper, from Update
    bool taper = false;

    /// To be called when the range changes.
    void Update();
    /// Pixels from the low end of the travel.
    int32_t Distance(int32_t value, int32_t travel) const;
    /// The value at a distance. Both ends of the travel, and all beyond, are the ends of the range exactly.
    int32_t Value(int32_t distance, int32_t travel) const;
};

/// Position on the tapered scale of a value in tenths of a decibel; the sign is kept,
/// and values beyond 1000 stay.
int32_t FaderTaper(int32_t value);
/// The value at a position of the tapered scale.
int32_t FaderTaperInverse(int32_t position);

/// Where a gain lies along the travel of a console's fader, 0..1, and back: -72 dB, which is silence, to
/// 12 dB, by the taper and without steps.
float FaderShareOfGain(float gain);
float FaderGainOfShare(float share);
