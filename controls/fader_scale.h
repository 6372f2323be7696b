// Values along a fader's travel, in pixels. Pure arithmetic. [any-thread]
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
