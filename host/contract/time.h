// Positions: seconds of the engine, nano positions of the contract (counts of 100 ns).
#pragma once

#include <cmath>
#include <cstdint>

namespace host {

inline constexpr int64_t kNanoRate = 10'000'000;  ///< nano positions a second

/// seconds within +-1e11, beyond which a nano position cannot count.
inline int64_t NanoFromSeconds(double seconds) {
    return std::llround(seconds * static_cast<double>(kNanoRate));
}
inline double SecondsFromNano(int64_t nano) {
    return static_cast<double>(nano) / static_cast<double>(kNanoRate);
}

}  // namespace host
