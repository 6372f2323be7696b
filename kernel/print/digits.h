// Decimal digits of whole numbers, two at a time.
#pragma once

#include <cstdint>
#include <cstring>

namespace digits {

struct Pairs {
    char16_t text[200];
};
constexpr Pairs MakePairs() {
    Pairs pairs{};
    for (int i = 0; i < 100; i++) {
        pairs.text[2 * i] = static_cast<char16_t>(u'0' + i / 10);
        pairs.text[2 * i + 1] = static_cast<char16_t>(u'0' + i % 10);
    }
    return pairs;
}
inline constexpr Pairs PAIRS = MakePairs();

/// Most digits that a 64-bit number has.
inline constexpr int MOST = 20;

/// Writes the digits so that they end before `end`; returns where they begin.
template <class Unsigned>
char16_t* WriteBackward(char16_t* end, Unsigned value) {
    while (value >= 100) {
        end -= 2;
        std::memcpy(end, PAIRS.text + 2 * (value % 100), 2 * sizeof(char16_t));
        value /= 100;
    }
    if (value >= 10) {
        end -= 2;
        std::memcpy(end, PAIRS.text + 2 * value, 2 * sizeof(char16_t));
        return end;
    }
    *--end = static_cast<char16_t>(u'0' + value);
    return end;
}

}  // namespace digits
