// The blends on vectors of BYTES, for the levels. Internal linkage, for the reason told in simple_loops.h.
#pragma once

#include "image/rows/image_rows.h"

#include <cstring>
#include <type_traits>

namespace tarn {

namespace {

typedef float Float8 __attribute__((vector_size(32)));
typedef float Float16 __attribute__((vector_size(64)));
inline Float8 Spread(Float8 v) { return __builtin_shufflevector(v, v, 3, 3, 3, 3, 7, 7, 7, 7); }
#ifdef __AVX512F__
inline Float16 Spread(Float16 v) {
    return __builtin_shufflevector(v, v, 3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11, 15, 15, 15, 15);
}
#endif

template <int BYTES>
struct VectorTypes;
template <>
struct VectorTypes<32> {
    typedef uint16_t U16 __attribute__((vector_size(32)));
    typedef uint32_t U32 __attribute__((vector_size(32)));
    typedef int32_t I32 __attribute__((vector_size(32)));
    typedef float F32 __attribute__((vector_size(32)));
};
template <>
struct VectorTypes<64> {
    typedef uint16_t U16 __attribute__((vector_size(64)));
    typedef uint32_t U32 __attribute__((vector_size(64)));
    typedef int32_t I32 __attribute__((vector_size(64)));
    typedef float F32 __attribute__((vector_size(64)));
};

template <int BYTES>
struct Vectors : VectorTypes<BYTES> {
    using F32 = typename VectorTypes<BYTES>::F32;
    using I32 = typename VectorTypes<BYTES>::I32;

    template <class V>
    static V Load(const uint8_t* p) {
        V v;
        std::memcpy(&v, p, sizeof v);
        return v;
    }
    template <class V>
    static void Store(uint8_t* p, V v) {
        std::memcpy(p, &v, sizeof v);
    }
    template <class V>
    static V Least(V a, V b) {
        return a < b ? a : b;
    }
    template <class V>
    static V Most(V a, V b) {
        return a > b ? a : b;
    }
    template <class V, class T>
    static V All(T value) {
        return V{} + static_cast<std::remove_cvref_t<decltype(V{}[0])>>(value);
    }
    /// The alpha of each pixel in all of its floats.
    static F32 Alpha(F32 v) { return Spread(v); }
    /// Whether a float is an alpha.
    static I32 IsAlpha() {
        constexpr int32_t EACH[16] = {0, 0, 0, -1, 0, 0, 0, -1, 0, 0, 0, -1, 0, 0, 0, -1};
        I32 mask;
        std::memcpy(&mask, EACH, sizeof mask);
        return mask;
    }
};

/// Whole vectors, and the rest by way of one that is filled up.
template <int BYTES, class Step>
inline void ForVectors(uint8_t* d, const uint8_t* s, int64_t bytes, Step step) {
    int64_t i = 0;
    for (; i + BYTES <= bytes; i += BYTES) step(d + i, s + i);
    if (i == bytes) return;
    uint8_t to[BYTES] = {}, from[BYTES] = {};
    const auto rest = static_cast<size_t>(bytes - i);
    std::memcpy(to, d + i, rest);
    std::memcpy(from, s + i, rest);
    step(to, from);
    std::memcpy(d + i, to, rest);
}

template <int BYTES, int MODE, bool WEIGHTED>
struct BytesStep {
    using V = Vectors<BYTES>;
    using U16 = typename V::U16;
    using U32 = typename V::U32;
    using I32 = typename V::I32;
    using F32 = typename V::F32;

    static U16 Product(U16 a, U16 b) {
        const U16 t = a * b + 128;
        return (t + (t >> 8)) >> 8;
    }

    /// Every second channel, in words of 16 bits.
    static U16 Half(U16 d, U16 s, U16 sa, U16 w) {
        if constexpr (MODE == 0) {
            const U16 step = ((V::Most(s, d) - V::Least(s, d)) * w) >> 8;
            return s > d ? d + step : d - step;
        }
        if constexpr (MODE == 3) {
            const U16 product = Product(d, s);
            return WEIGHTED ? d - (((d - product) * w) >> 8) : product;
        }
        if constexpr (WEIGHTED) s = (s * w) >> 8;
        if constexpr (MODE == 1) return V::Least(d + s, V::template All<U16>(255));
        if constexpr (MODE == 2) return d - V::Least(d, s);
        if constexpr (WEIGHTED) sa = (sa * w) >> 8;
        return V::Least(Product(d, 255 - sa) + s, V::template All<U16>(255));
    }

    static void Halves(uint8_t* d, const uint8_t* s, int32_t weight) {
        const U16 to = V::template Load<U16>(d), from = V::template Load<U16>(s);
        const U16 w = V::template All<U16>(static_cast<uint16_t>(weight));
        const U32 alpha = reinterpret_cast<U32>(from) >> 24;
        const U16 sa = reinterpret_cast<U16>(alpha | alpha << 16);
        const U16 even = Half(to & 0xFF, from & 0xFF, sa, w), odd = Half(to >> 8, from >> 8, sa, w);
        U16 out = even | odd << 8;
        if constexpr (MODE == 2)
            out = reinterpret_cast<U16>((reinterpret_cast<U32>(out) & 0xFFFFFF) |
                                        (reinterpret_cast<U32>(to) & 0xFF000000));
        V::Store(d, out);
    }

    static I32 Product(I32 a, I32 b) {
        const I32 t = a * b + 128;
        return (t + (t >> 8)) >> 8;
    }

    static I32 StepWeight(I32 sa, I32 da) {
        if constexpr (MODE == 6) return 255 - sa;
        if constexpr (MODE == 7) return da;
        if constexpr (MODE == 8) return 255 - da;
        if constexpr (MODE == 9) return Product(sa, da);
        if constexpr (MODE == 10) return 255 - Product(sa, da);
        if constexpr (MODE == 11) return V::Most(sa, da);
        return V::Least(sa, da);
    }

    static void Step(uint8_t* d, const uint8_t* s, int32_t weight) {
        const U32 to = V::template Load<U32>(d), from = V::template Load<U32>(s);
        const I32 da = reinterpret_cast<I32>(to >> 24);
        I32 w = StepWeight(reinterpret_cast<I32>(from >> 24), da);
        if constexpr (WEIGHTED) w = (w * weight) >> 14;
        const I32 most = V::template All<I32>(255), none = w == 0;
        // A quotient lies at least 1/255 below the next integer, which a float tells apart here.
        const F32 divisor = __builtin_convertvector(none ? V::template All<I32>(1) : w, F32);
        U32 out = reinterpret_cast<U32>(V::Least(da + w, most)) << 24;
        for (int shift = 0; shift < 24; shift += 8) {
            const I32 from1 = reinterpret_cast<I32>(from >> shift & 0xFF),
                      to1 = reinterpret_cast<I32>(to >> shift & 0xFF);
            const I32 quotient =
                __builtin_convertvector(__builtin_convertvector(from1 * 255, F32) / divisor, I32);
            const I32 color = none ? to1 : V::Least(quotient, most);
            const I32 product = (color - to1) * w;
            out |= reinterpret_cast<U32>(to1 + ((product + (product >> 31 & 255)) >> 8)) << shift;
        }
        V::Store(d, out);
    }
};

template <int BYTES, int MODE, bool WEIGHTED>
struct FloatStep {
    using V = Vectors<BYTES>;
    using I32 = typename V::I32;
    using F32 = typename V::F32;

    static F32 Steps(F32 d, F32 s, F32 w) {
        const F32 sa = V::Alpha(s), da = V::Alpha(d), one = V::template All<F32>(1.0f);
        F32 step;
        if constexpr (MODE == 6) step = one - sa;
        if constexpr (MODE == 7) step = da;
        if constexpr (MODE == 8) step = one - da;
        if constexpr (MODE == 9) step = sa * da;
        if constexpr (MODE == 10) step = one - sa * da;
        if constexpr (MODE == 11) step = sa < da ? da : sa;
        if constexpr (MODE == 12) step = da < sa ? da : sa;
        if constexpr (WEIGHTED) step = step * w;
        const F32 quotient = s / step, color = step != 0.0f ? (quotient < one ? quotient : one) : d;
        const F32 sum = da + step;
        return V::IsAlpha() ? (sum < one ? sum : one) : d + (color - d) * step;
    }

    static void Step(uint8_t* to, const uint8_t* from, float weight) {
        const F32 d = V::template Load<F32>(to);
        F32 s = V::template Load<F32>(from), out;
        const F32 w = V::template All<F32>(weight), one = V::template All<F32>(1.0f);
        if constexpr (MODE == 0) {
            out = d + (s - d) * w;
        } else if constexpr (MODE == 3) {
            out = WEIGHTED ? d + (d * s - d) * w : d * s;
        } else if constexpr (MODE >= 6) {
            out = Steps(d, s, w);
        } else {
            if constexpr (WEIGHTED) s = s * w;
            if constexpr (MODE == 1) out = d + s;
            if constexpr (MODE == 2) out = d - s;
            if constexpr (MODE >= 4) out = d * (one - V::Alpha(s)) + s;
            if constexpr (MODE == 2)
                out = V::IsAlpha() ? d : (out > 0.0f ? out : F32{});
            else
                out = out < one ? out : one;
        }
        V::Store(to, out);
    }
};

template <int BYTES, int MODE>
void Blend8(uint8_t* d, const uint8_t* s, int32_t pixels, int32_t weight) {
    const int64_t bytes = int64_t{pixels} * 4;
    if constexpr (MODE <= 5) {
        const int32_t w = MODE == 0 ? weight * 255 / FULL_WEIGHT : weight >> 6;
        if (weight != FULL_WEIGHT)
            ForVectors<BYTES>(d, s, bytes, [=](uint8_t* to, const uint8_t* from) {
                BytesStep<BYTES, MODE, true>::Halves(to, from, w);
            });
        else if constexpr (MODE == 0)
            std::memmove(d, s, static_cast<size_t>(bytes));
        else
            ForVectors<BYTES>(d, s, bytes, [=](uint8_t* to, const uint8_t* from) {
                BytesStep<BYTES, MODE, false>::Halves(to, from, w);
            });
    } else if (weight != FULL_WEIGHT) {
        ForVectors<BYTES>(d, s, bytes, [=](uint8_t* to, const uint8_t* from) {
            BytesStep<BYTES, MODE, true>::Step(to, from, weight);
        });
    } else {
        ForVectors<BYTES>(d, s, bytes, [=](uint8_t* to, const uint8_t* from) {
            BytesStep<BYTES, MODE, false>::Step(to, from, weight);
        });
    }
}

template <int BYTES, int MODE>
void BlendFloat(uint8_t* d, const uint8_t* s, int32_t pixels, int32_t weight) {
    const int64_t bytes = int64_t{pixels} * 16;
    const float w = static_cast<float>(weight) / FULL_WEIGHT;
    if (weight != FULL_WEIGHT)
        ForVectors<BYTES>(d, s, bytes, [=](uint8_t* to, const uint8_t* from) {
            FloatStep<BYTES, MODE, true>::Step(to, from, w);
        });
    else if constexpr (MODE == 0)
        std::memmove(d, s, static_cast<size_t>(bytes));
    else
        ForVectors<BYTES>(d, s, bytes, [=](uint8_t* to, const uint8_t* from) {
            FloatStep<BYTES, MODE, false>::Step(to, from, w);
        });
}

template <int BYTES, int MODE = 0>
constexpr void AddBlends(ImageRows& rows) {
    rows.blend8[MODE] = Blend8<BYTES, MODE>;
    rows.blendFloat[MODE] = BlendFloat<BYTES, MODE>;
    if constexpr (MODE + 1 < BLEND_MODES) AddBlends<BYTES, MODE + 1>(rows);
}

}  // namespace

}  // namespace tarn
