// Decimal digits of integers, two at a time.
#pragma once

#include <cstdint>
#include <cstring>

namespace digits {

constexpr bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

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

/// Most decimals that `FixedPoint` works with.
inline constexpr int FIXED_DECIMALS = 9;

inline constexpr uint64_t POWERS_OF_TEN[FIXED_DECIMALS + 1] = {
    1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000};

/// The magnitude times 10 to the power of `decimals`, rounded as the C library prints it: by the exact binary
/// value, halves to even. False when that is beyond 10 to the 18th, or beyond exact arithmetic.
inline bool FixedPoint(double magnitude, int decimals, uint64_t& scaled) {
    if (decimals < 0 || decimals > FIXED_DECIMALS || !(magnitude < 1e9)) return false;
    uint64_t bits = 0;
    std::memcpy(&bits, &magnitude, sizeof bits);
    constexpr int MANTISSA = 52, BIAS = 1075;
    const int shift = BIAS - static_cast<int>(bits >> MANTISSA);  // 23 at least, below 2 to the 30th
    constexpr uint64_t ONE = uint64_t{1} << MANTISSA;
    __extension__ using Wide = unsigned __int128;
    const Wide product = Wide{(bits & (ONE - 1)) | ONE} * POWERS_OF_TEN[decimals];
    if (shift > 100) {  // the product has 83 bits, so this is far below a half; subnormals end here too
        scaled = 0;
        return true;
    }
    const Wide half = Wide{1} << (shift - 1), rest = product & ((half << 1) - 1);
    scaled = static_cast<uint64_t>(product >> shift);
    if (rest > half || (rest == half && (scaled & 1))) scaled++;
    return true;
}

/// Writes such a number with its point before `end`; returns where it begins.
inline char16_t* WriteFixedBackward(char16_t* end, uint64_t scaled, int decimals) {
    if (decimals == 0) return WriteBackward(end, scaled);
    for (; decimals >= 2; decimals -= 2, scaled /= 100) {
        end -= 2;
        std::memcpy(end, PAIRS.text + 2 * (scaled % 100), 2 * sizeof(char16_t));
    }
    if (decimals) {
        *--end = static_cast<char16_t>(u'0' + scaled % 10);
        scaled /= 10;
    }
    *--end = u'.';
    return scaled <= UINT32_MAX ? WriteBackward(end, static_cast<uint32_t>(scaled))
                                : WriteBackward(end, scaled);
}

}  // namespace digits
