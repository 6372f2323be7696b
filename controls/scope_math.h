// The four functions that a scope plots with: the standard ones, or quick ones that are good for a few
// hundredths. [any-thread]
#pragma once

#include <numbers>

inline constexpr float kPi = std::numbers::pi_v<float>;

struct ScopeMath {
    float (*sqrt)(float value);
    float (*sin)(float angle);
    float (*cos)(float angle);
    float (*atan2)(float y, float x);
};

extern const ScopeMath kExactScopeMath;
/// A Newton step on an estimate by the number's bits; a table of 512 sines; a rational arc tangent.
extern const ScopeMath kFastScopeMath;
