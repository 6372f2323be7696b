// Sixteen samples at a time (AVX-512 F, BW, DQ, VL). Compiled for that alone.
#include "audio/copy/routines.h"

#include <immintrin.h>

namespace {

struct Vector {
    static constexpr int LANES = 16;
    using Whole = __m512i;
    using Float = __m512;
    struct Double {
        __m512d low, high;
    };

    template <bool UNSIGNED>
    static Whole Load8(const uint8_t* p) {
        __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        if constexpr (UNSIGNED) x = _mm_xor_si128(x, _mm_set1_epi8(-128));
        return _mm512_cvtepi8_epi32(x);
    }
    template <bool UNSIGNED>
    static void Store8(uint8_t* p, Whole x) {
        __m128i packed = _mm512_cvtsepi32_epi8(x);
        if constexpr (UNSIGNED) packed = _mm_xor_si128(packed, _mm_set1_epi8(-128));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), packed);
    }
    static __m256i Swapped16(__m256i x) {
        return _mm256_shuffle_epi8(x, _mm256_broadcastsi128_si256(_mm_set_epi8(14, 15, 12, 13, 10, 11, 8, 9,
                                                                               6, 7, 4, 5, 2, 3, 0, 1)));
    }
    template <bool SWAP>
    static Whole Load16(const uint8_t* p) {
        __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
        if constexpr (SWAP) x = Swapped16(x);
        return _mm512_cvtepi16_epi32(x);
    }
    template <bool SWAP>
    static void Store16(uint8_t* p, Whole x) {
        __m256i packed = _mm512_cvtsepi32_epi16(x);
        if constexpr (SWAP) packed = Swapped16(packed);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), packed);
    }
    static void Swap16(uint8_t* d, const uint8_t* s) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d),
                            Swapped16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(s))));
    }
    static void Flip8(uint8_t* d, const uint8_t* s) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_xor_si128(x, _mm_set1_epi8(-128)));
    }
    // Four samples, twelve bytes, in each quarter of the vector. In the upper three bytes of each word.
    template <bool SWAP>
    static Whole LoadTop24(const uint8_t* p) {
        const __m512i spread = _mm512_set_epi32(0, 11, 10, 9, 0, 8, 7, 6, 0, 5, 4, 3, 0, 2, 1, 0);
        const __m128i order = SWAP ? _mm_set_epi8(9, 10, 11, -1, 6, 7, 8, -1, 3, 4, 5, -1, 0, 1, 2, -1)
                                   : _mm_set_epi8(11, 10, 9, -1, 8, 7, 6, -1, 5, 4, 3, -1, 2, 1, 0, -1);
        const __m512i x = _mm512_permutexvar_epi32(spread, _mm512_maskz_loadu_epi32(0xFFF, p));
        return _mm512_shuffle_epi8(x, _mm512_broadcast_i32x4(order));
    }
    template <bool SWAP>
    static Whole Load24(const uint8_t* p) {
        return _mm512_srai_epi32(LoadTop24<SWAP>(p), 8);
    }
    template <bool SWAP>
    static void Store24(uint8_t* p, Whole x) {
        const __m512i gather = _mm512_set_epi32(15, 11, 7, 3, 14, 13, 12, 10, 9, 8, 6, 5, 4, 2, 1, 0);
        const __m128i order = SWAP ? _mm_set_epi8(-1, -1, -1, -1, 12, 13, 14, 8, 9, 10, 4, 5, 6, 0, 1, 2)
                                   : _mm_set_epi8(-1, -1, -1, -1, 14, 13, 12, 10, 9, 8, 6, 5, 4, 2, 1, 0);
        x = _mm512_permutexvar_epi32(gather, _mm512_shuffle_epi8(x, _mm512_broadcast_i32x4(order)));
        _mm512_mask_storeu_epi32(p, 0xFFF, x);
    }
    static Whole Swapped32(Whole x) {
        return _mm512_shuffle_epi8(
            x, _mm512_broadcast_i32x4(_mm_set_epi8(12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3)));
    }
    template <bool SWAP>
    static Whole Load32(const uint8_t* p) {
        const Whole x = _mm512_loadu_si512(p);
        return SWAP ? Swapped32(x) : x;
    }
    template <bool SWAP>
    static void Store32(uint8_t* p, Whole x) {
        _mm512_storeu_si512(p, SWAP ? Swapped32(x) : x);
    }

    static Float LoadFloat(const uint8_t* p) { return _mm512_loadu_ps(p); }
    static void StoreFloat(uint8_t* p, Float x) { _mm512_storeu_ps(p, x); }
    static Double LoadDouble(const uint8_t* p) { return {_mm512_loadu_pd(p), _mm512_loadu_pd(p + 64)}; }
    static void StoreDouble(uint8_t* p, Double x) {
        _mm512_storeu_pd(p, x.low);
        _mm512_storeu_pd(p + 64, x.high);
    }

    static Float ToFloat(Whole x) { return _mm512_cvtepi32_ps(x); }
    static Double ToDouble(Whole x) {
        return {_mm512_cvtepi32_pd(_mm512_castsi512_si256(x)),
                _mm512_cvtepi32_pd(_mm512_extracti32x8_epi32(x, 1))};
    }
    static Double ToDouble(Float x) {
        return {_mm512_cvtps_pd(_mm512_castps512_ps256(x)), _mm512_cvtps_pd(_mm512_extractf32x8_ps(x, 1))};
    }
    static Float ToFloat(Double x) {
        return _mm512_insertf32x8(_mm512_castps256_ps512(_mm512_cvtpd_ps(x.low)), _mm512_cvtpd_ps(x.high), 1);
    }

    static Float Times(Float x, float factor) { return _mm512_mul_ps(x, _mm512_set1_ps(factor)); }
    static Double Times(Double x, double factor) {
        const __m512d f = _mm512_set1_pd(factor);
        return {_mm512_mul_pd(x.low, f), _mm512_mul_pd(x.high, f)};
    }

    static Whole Rounded(Float x, float factor) {
        return _mm512_cvtps_epi32(_mm512_mul_ps(x, _mm512_set1_ps(factor)));
    }
    // The lesser of the product and the limit, 0 for NaN.
    static Float Below(Float x, float factor, float high) {
        x = _mm512_mul_ps(x, _mm512_set1_ps(factor));
        return _mm512_maskz_min_ps(_mm512_cmp_ps_mask(x, x, _CMP_ORD_Q), x, _mm512_set1_ps(high));
    }
    static __m512d Below(__m512d x, double factor, double high) {
        x = _mm512_mul_pd(x, _mm512_set1_pd(factor));
        return _mm512_maskz_min_pd(_mm512_cmp_pd_mask(x, x, _CMP_ORD_Q), x, _mm512_set1_pd(high));
    }
    static Whole RoundedBelow(Float x, float factor, float high) {
        return _mm512_cvtps_epi32(Below(x, factor, high));
    }
    static Whole RoundedWithin(Float x, float factor, float low, float high) {
        return _mm512_cvtps_epi32(_mm512_max_ps(Below(x, factor, high), _mm512_set1_ps(low)));
    }
    // Full scale of 32 bits. What is too low converts to the lowest value by itself.
    static Whole Rounded32(Float x) {
        x = _mm512_mul_ps(x, _mm512_set1_ps(2147483648.0f));
        const __m512i whole = _mm512_maskz_cvtps_epi32(_mm512_cmp_ps_mask(x, x, _CMP_ORD_Q), x);
        const __mmask16 high = _mm512_cmp_ps_mask(x, _mm512_set1_ps(2147483648.0f), _CMP_GE_OQ);
        return _mm512_mask_mov_epi32(whole, high, _mm512_set1_epi32(INT32_MAX));
    }
    static Whole Joined(__m512d low, __m512d high) {
        return _mm512_inserti32x8(_mm512_castsi256_si512(_mm512_cvtpd_epi32(low)), _mm512_cvtpd_epi32(high),
                                  1);
    }
    static Whole RoundedBelow(Double x, double factor, double high) {
        return Joined(Below(x.low, factor, high), Below(x.high, factor, high));
    }
    static Whole RoundedWithin(Double x, double factor, double low, double high) {
        const __m512d least = _mm512_set1_pd(low);
        return Joined(_mm512_max_pd(Below(x.low, factor, high), least),
                      _mm512_max_pd(Below(x.high, factor, high), least));
    }

    /// Past the caches; both ends are aligned to lines and the size is of whole lines.
    static void Stream(uint8_t* to, const uint8_t* from, size_t bytes) {
        for (size_t i = 0; i < bytes; i += sizeof(__m512i)) {
            const __m512i x = _mm512_load_si512(from + i);
            _mm512_stream_si512(reinterpret_cast<__m512i*>(to + i), x);
        }
    }
    static void EndStream() { _mm_sfence(); }

    template <int BITS>
    static Whole ShiftLeft(Whole x) {
        return _mm512_slli_epi32(x, BITS);
    }
    template <int BITS>
    static Whole RoundedDown(Whole x) {
        const __mmask16 odd = _mm512_test_epi32_mask(x, _mm512_set1_epi32(1 << BITS));
        const Whole sum = _mm512_add_epi32(x, _mm512_set1_epi32((1 << (BITS - 1)) - 1));
        return _mm512_srai_epi32(_mm512_mask_add_epi32(sum, odd, sum, _mm512_set1_epi32(1)), BITS);
    }
    // The upper halves of 32 words and what rounds them up: a lower half above the middle, or at it beside an
    // odd one.
    static constexpr bool NARROWS_32_TO_16 = true;
    template <bool SWAP_TO, bool SWAP_FROM>
    static void Narrow32To16(uint8_t* d, const uint8_t* s) {
        const __m512i even = _mm512_set_epi16(62, 60, 58, 56, 54, 52, 50, 48, 46, 44, 42, 40, 38, 36, 34, 32,
                                              30, 28, 26, 24, 22, 20, 18, 16, 14, 12, 10, 8, 6, 4, 2, 0);
        const __m512i one = _mm512_set1_epi16(1), middle = _mm512_set1_epi16(INT16_MIN);
        const __m512i a = Load32<SWAP_FROM>(s), b = Load32<SWAP_FROM>(s + 64);
        const __m512i low = _mm512_permutex2var_epi16(a, even, b);
        const __m512i high = _mm512_permutex2var_epi16(a, _mm512_or_si512(even, one), b);
        const __m512i most = _mm512_sub_epi16(middle, _mm512_and_si512(high, one));
        __m512i rounded = _mm512_mask_adds_epi16(high, _mm512_cmpgt_epu16_mask(low, most), high, one);
        if constexpr (SWAP_TO)
            rounded = _mm512_shuffle_epi8(
                rounded,
                _mm512_broadcast_i32x4(_mm_set_epi8(14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1)));
        _mm512_storeu_si512(d, rounded);
    }
    static Whole Least(Whole x, int32_t high) { return _mm512_min_epi32(x, _mm512_set1_epi32(high)); }
    static Whole Clamped(Whole x, int32_t low, int32_t high) {
        return _mm512_max_epi32(Least(x, high), _mm512_set1_epi32(low));
    }
};

}  // namespace

constexpr CopyTable COPY_AVX512 = MakeTable<Vector>();
