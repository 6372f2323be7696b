// One sample of each type: how it lies in memory, and the rule by which one becomes another. All that the
// vector forms do is held against this.
//
// Everything here has internal linkage and calls nothing that is not inlined: the file is compiled for
// several levels of the processor, and the linker must not take the code of one for that of another.
#pragma once

#include "audio/wave_format.h"

#include <cstring>

namespace {

template <QMSAMPLETYPE TYPE>
struct Sample {
    static constexpr bool IS_FLOAT = TYPE == QMSAMPLE_FLOAT32 || TYPE == QMSAMPLE_FLOAT64;
    static constexpr bool IS_BIG_ENDIAN =
        TYPE == QMSAMPLE_BE16 || TYPE == QMSAMPLE_BE24 || TYPE == QMSAMPLE_BE32;
    static constexpr int BYTES = TYPE == QMSAMPLE_PCM8 || TYPE == QMSAMPLE_SIGNED8 ? 1
                                 : TYPE == QMSAMPLE_PCM16 || TYPE == QMSAMPLE_BE16 ? 2
                                 : TYPE == QMSAMPLE_PCM24 || TYPE == QMSAMPLE_BE24 ? 3
                                 : TYPE == QMSAMPLE_FLOAT64                        ? 8
                                                                                   : 4;
    /// Of the value, which of one type is less than that of the word.
    static constexpr int BITS = TYPE == QMSAMPLE_PCM24IN32 ? 24 : BYTES * 8;
    static constexpr double FULL_SCALE = IS_FLOAT ? 1.0 : static_cast<double>(int64_t{1} << (BITS - 1));
    static constexpr double LOWEST = -FULL_SCALE, HIGHEST = FULL_SCALE - 1;
    /// A word may hold more than the value's range.
    static constexpr bool MAY_EXCEED = TYPE == QMSAMPLE_PCM24IN32;
};

template <class Word>
inline Word Loaded(const uint8_t* p) {
    Word word;
    std::memcpy(&word, p, sizeof word);
    return word;
}
template <class Word>
inline void Stored(uint8_t* p, Word word) {
    std::memcpy(p, &word, sizeof word);
}

/// An integer, undoing the offset of unsigned bytes and the byte order.
template <QMSAMPLETYPE TYPE>
inline int32_t LoadWhole(const uint8_t* p) {
    using S = Sample<TYPE>;
    if constexpr (TYPE == QMSAMPLE_PCM8) return static_cast<int8_t>(*p ^ 0x80);
    if constexpr (TYPE == QMSAMPLE_SIGNED8) return static_cast<int8_t>(*p);
    if constexpr (S::BYTES == 2) {
        const auto word = Loaded<uint16_t>(p);
        return static_cast<int16_t>(S::IS_BIG_ENDIAN ? __builtin_bswap16(word) : word);
    }
    if constexpr (S::BYTES == 3) {
        const uint32_t low = p[S::IS_BIG_ENDIAN ? 2 : 0], middle = p[1], high = p[S::IS_BIG_ENDIAN ? 0 : 2];
        return static_cast<int32_t>(low << 8 | middle << 16 | high << 24) >> 8;
    }
    const auto word = Loaded<uint32_t>(p);
    return static_cast<int32_t>(S::IS_BIG_ENDIAN ? __builtin_bswap32(word) : word);
}

template <QMSAMPLETYPE TYPE>
inline void StoreWhole(uint8_t* p, int32_t value) {
    using S = Sample<TYPE>;
    const auto bits = static_cast<uint32_t>(value);
    if constexpr (S::BYTES == 1) {
        *p = static_cast<uint8_t>(TYPE == QMSAMPLE_PCM8 ? bits ^ 0x80 : bits);
    } else if constexpr (S::BYTES == 2) {
        const auto word = static_cast<uint16_t>(bits);
        Stored<uint16_t>(p, S::IS_BIG_ENDIAN ? __builtin_bswap16(word) : word);
    } else if constexpr (S::BYTES == 3) {
        p[S::IS_BIG_ENDIAN ? 2 : 0] = static_cast<uint8_t>(bits);
        p[1] = static_cast<uint8_t>(bits >> 8);
        p[S::IS_BIG_ENDIAN ? 0 : 2] = static_cast<uint8_t>(bits >> 16);
    } else {
        Stored<uint32_t>(p, S::IS_BIG_ENDIAN ? __builtin_bswap32(bits) : bits);
    }
}

/// Clamps to the type's range and rounds to nearest, ties to even; what is not a number is silence. The sum
/// is so large that its last place is the units, and the processor's own rounding does the work.
template <QMSAMPLETYPE TYPE>
inline int32_t Rounded(double value) {
    using S = Sample<TYPE>;
    constexpr double UNITS = 6755399441055744.0;  // 1.5 * 2^52
    value = value == value ? value : 0.0;
    value = value < S::HIGHEST ? value : S::HIGHEST;
    value = value > S::LOWEST ? value : S::LOWEST;
    const double sum = value + UNITS;
    int64_t bits = 0;
    std::memcpy(&bits, &sum, sizeof bits);
    return static_cast<int32_t>(bits);
}

/// The value of a sample with 1.0 as full scale, times the scale.
template <QMSAMPLETYPE TYPE>
inline double ScaledValue(const uint8_t* p, float scale) {
    using S = Sample<TYPE>;
    if constexpr (TYPE == QMSAMPLE_FLOAT32) return static_cast<double>(scale * Loaded<float>(p));
    if constexpr (TYPE == QMSAMPLE_FLOAT64) return static_cast<double>(scale) * Loaded<double>(p);
    return LoadWhole<TYPE>(p) * (1 / S::FULL_SCALE) * static_cast<double>(scale);
}

/// Writes a value with 1.0 as full scale.
template <QMSAMPLETYPE TYPE>
inline void StoreValue(uint8_t* p, double value) {
    if constexpr (TYPE == QMSAMPLE_FLOAT32)
        Stored<float>(p, static_cast<float>(value));
    else if constexpr (TYPE == QMSAMPLE_FLOAT64)
        Stored<double>(p, value);
    else
        StoreWhole<TYPE>(p, Rounded<TYPE>(value * Sample<TYPE>::FULL_SCALE));
}

/// One sample from type to type. UNITY is a scale of exactly 1, where widening integers is a shift.
template <QMSAMPLETYPE DST, QMSAMPLETYPE SRC, bool UNITY>
inline void CopySample(uint8_t* d, const uint8_t* s, float scale) {
    using D = Sample<DST>;
    using S = Sample<SRC>;
    constexpr int SHIFT = D::BITS - S::BITS;
    if constexpr (UNITY && !D::IS_FLOAT && !S::IS_FLOAT && (SHIFT > 0 || (SHIFT == 0 && D::BYTES > S::BYTES)))
        StoreWhole<DST>(d, static_cast<int32_t>(static_cast<uint32_t>(LoadWhole<SRC>(s)) << SHIFT));
    else
        StoreValue<DST>(d, ScaledValue<SRC>(s, UNITY ? 1.0f : scale));
}

}  // namespace
