// Arithmetic shared by the sources of time.
#pragma once

#include "kernel/time/smpte.h"

#include <cmath>
#include <cstdint>

namespace timemath {

inline constexpr double PER_SECOND = static_cast<double>(NANO_TIME_PER_SECOND);

/// Cut to an integer; held where 64 bits end, 0 for NaN.
inline int64_t Truncate(double x) {
    constexpr double LIMIT = 9223372036854775808.0;  // 2^63
    if (std::isnan(x)) return 0;
    if (x >= LIMIT) return INT64_MAX;
    if (x < -LIMIT) return INT64_MIN;
    return static_cast<int64_t>(x);
}

inline uint32_t TruncateTo32(double x) {
    return x >= 4294967295.0 ? UINT32_MAX : x > 0 ? static_cast<uint32_t>(x) : 0;
}

inline int64_t AddHeld(int64_t a, int64_t b) {
    int64_t sum = 0;
    if (__builtin_add_overflow(a, b, &sum)) return b < 0 ? INT64_MIN : INT64_MAX;
    return sum;
}

inline int64_t SubtractHeld(int64_t a, int64_t b) {
    int64_t difference = 0;
    if (__builtin_sub_overflow(a, b, &difference)) return b < 0 ? INT64_MAX : INT64_MIN;
    return difference;
}

}  // namespace timemath
