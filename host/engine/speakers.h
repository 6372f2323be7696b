// The channels of a signal, in the order of ITU-R BS.775 and of wave files.
#pragma once

#include <cstddef>

namespace host {

enum Side : size_t { Left = 0, Right = 1, Center = 2, Lfe = 3, RearLeft = 4, RearRight = 5 };

inline constexpr size_t kStereoSides = 2;
inline constexpr size_t kMaxSides = 6;

}  // namespace host
