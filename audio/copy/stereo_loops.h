// The loops of stereo.h. Internal linkage, for the reason told in samples.h.
#pragma once

#include "audio/copy/stereo.h"

#include <cstring>

namespace {

template <int BYTES>
struct WordOf;
template <>
struct WordOf<1> {
    using Type = uint8_t;
};
template <>
struct WordOf<2> {
    using Type = uint16_t;
};
template <>
struct WordOf<4> {
    using Type = uint32_t;
};
template <>
struct WordOf<8> {
    using Type = uint64_t;
};

/// Words at any address.
template <int BYTES>
struct __attribute__((packed, may_alias)) Word {
    typename WordOf<BYTES>::Type value;
};

inline bool LieApart(const void* a, int64_t aBytes, const void* b, int64_t bBytes) {
    const auto *first = static_cast<const uint8_t*>(a), *second = static_cast<const uint8_t*>(b);
    return first + aBytes <= second || second + bBytes <= first;
}

template <int BYTES>
struct StereoLoops {
    using W = Word<BYTES>;

    static void Extract(void* mono, const void* channel, int64_t frames) {
        auto* d = static_cast<W*>(mono);
        const auto* s = static_cast<const W*>(channel);
        for (int64_t i = 0; i < frames; i++) d[i].value = s[2 * i].value;
    }

    static void Spread(void* stereo, const void* mono, int64_t frames) {
        // In its place only from the end, which makes no vectors.
        if (LieApart(stereo, 2 * frames * BYTES, mono, frames * BYTES))
            return Join(stereo, mono, mono, frames);
        auto* d = static_cast<W*>(stereo);
        const auto* s = static_cast<const W*>(mono);
        for (int64_t i = frames - 1; i >= 0; i--) d[2 * i + 1].value = d[2 * i].value = s[i].value;
    }

    static void Insert(void* channel, const void* mono, int64_t frames) {
        auto* d = static_cast<W*>(channel);
        const auto* s = static_cast<const W*>(mono);
        for (int64_t i = 0; i < frames; i++) d[2 * i].value = s[i].value;
    }

    static void Join(void* stereo, const void* left, const void* right, int64_t frames) {
        auto* d = static_cast<W*>(stereo);
        const auto *l = static_cast<const W*>(left), *r = static_cast<const W*>(right);
        for (int64_t i = 0; i < frames; i++) {
            d[2 * i].value = l[i].value;
            d[2 * i + 1].value = r[i].value;
        }
    }

    static void Split(void* left, void* right, const void* stereo, int64_t frames) {
        const auto* s = static_cast<const W*>(stereo);
        auto *l = static_cast<W*>(left), *r = static_cast<W*>(right);
        for (int64_t i = 0; i < frames; i++) {
            l[i].value = s[2 * i].value;
            r[i].value = s[2 * i + 1].value;
        }
    }

    static void SwapInPlace(W* p, int64_t frames) {
        for (int64_t i = 0; i < frames; i++) {
            const auto left = p[2 * i].value, right = p[2 * i + 1].value;
            p[2 * i].value = right;
            p[2 * i + 1].value = left;
        }
    }
    static void Swap(void* dst, const void* src, int64_t frames) {
        if (dst == src) return SwapInPlace(static_cast<W*>(dst), frames);  // one pointer, so vectors here too
        auto* d = static_cast<W*>(dst);
        const auto* s = static_cast<const W*>(src);
        for (int64_t i = 0; i < frames; i++) {
            d[2 * i].value = s[2 * i + 1].value;
            d[2 * i + 1].value = s[2 * i].value;
        }
    }

    static constexpr StereoTable TABLE = {Extract, Spread, Insert, Join, Split, Swap};
};

struct __attribute__((packed, may_alias)) AnyFloat {
    float value;
};

constexpr int64_t AVERAGED_AT_ONCE = 256;

/// As in doubles, which is how the average of any number of channels is taken. A sum of two floats rounded to
/// a float is the same with and without a double between, and half of it is exact; but not where it overflows
/// or its half is subnormal, and those pieces are done again.
inline void AveragePiece(AnyFloat* d, const AnyFloat* s, int64_t frames) {
    constexpr float LARGEST = __FLT_MAX__, SMALLEST = 4 * __FLT_MIN__;
    float half[AVERAGED_AT_ONCE];
    int32_t isOdd = 0;
    for (int64_t i = 0; i < frames; i++) {
        const float sum = s[2 * i].value + s[2 * i + 1].value, size = __builtin_fabsf(sum);
        isOdd |= (size <= LARGEST ? 0 : 1) | ((size < SMALLEST ? 1 : 0) & (size > 0 ? 1 : 0));
        half[i] = sum * 0.5f;
    }
    if (isOdd)
        for (int64_t i = 0; i < frames; i++)
            half[i] = static_cast<float>(
                (static_cast<double>(s[2 * i].value) + static_cast<double>(s[2 * i + 1].value)) * 0.5);
    std::memcpy(d, half, static_cast<size_t>(frames) * sizeof(float));
}

inline void AverageFloats(void* mono, const void* stereo, int64_t frames) {
    auto* d = static_cast<AnyFloat*>(mono);
    const auto* s = static_cast<const AnyFloat*>(stereo);
    int64_t i = 0;
    for (; i + AVERAGED_AT_ONCE <= frames; i += AVERAGED_AT_ONCE)
        AveragePiece(d + i, s + 2 * i, AVERAGED_AT_ONCE);
    if (i < frames) AveragePiece(d + i, s + 2 * i, frames - i);
}

struct __attribute__((packed, may_alias)) AnyShort {
    int16_t value;
};

inline void SumShorts(void* mono, const void* stereo, int64_t frames) {
    auto* d = static_cast<AnyShort*>(mono);
    const auto* s = static_cast<const AnyShort*>(stereo);
    for (int64_t i = 0; i < frames; i++) {
        const int32_t sum = s[2 * i].value + s[2 * i + 1].value;
        d[i].value = static_cast<int16_t>(sum < INT16_MIN ? INT16_MIN : sum > INT16_MAX ? INT16_MAX : sum);
    }
}
inline void AverageShorts(void* mono, const void* stereo, int64_t frames) {
    auto* d = static_cast<AnyShort*>(mono);
    const auto* s = static_cast<const AnyShort*>(stereo);
    for (int64_t i = 0; i < frames; i++) {
        const int32_t sum = s[2 * i].value + s[2 * i + 1].value;
        d[i].value = static_cast<int16_t>((sum + (sum >> 1 & 1)) >> 1);
    }
}

inline void SumWords(int32_t* mono, const int32_t* stereo, int64_t frames) {
    for (int64_t i = 0; i < frames; i++) mono[i] = stereo[2 * i] + stereo[2 * i + 1];
}
inline void AverageWords(int32_t* mono, const int32_t* stereo, int64_t frames) {
    for (int64_t i = 0; i < frames; i++) {
        const int32_t sum = stereo[2 * i] + stereo[2 * i + 1];
        mono[i] = (sum + (sum >> 1 & 1)) >> 1;
    }
}

constexpr StereoTables MakeStereoTables(void (*stream)(void*, const void*, size_t), void (*endStream)()) {
    StereoTables tables{};
    tables.width[0] = StereoLoops<1>::TABLE;
    tables.width[1] = StereoLoops<2>::TABLE;
    tables.width[3] = StereoLoops<4>::TABLE;
    tables.width[7] = StereoLoops<8>::TABLE;
    tables.averageFloats = AverageFloats;
    tables.sumShorts = SumShorts;
    tables.averageShorts = AverageShorts;
    tables.sumWords = SumWords;
    tables.averageWords = AverageWords;
    tables.stream = stream;
    tables.endStream = endStream;
    return tables;
}

}  // namespace
