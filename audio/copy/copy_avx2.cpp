// Eight samples at a time (AVX2). Compiled for that alone.
#include "audio/copy/routines.h"

#include <immintrin.h>

namespace {

struct Vector {
    static constexpr int LANES = 8;
    using Whole = __m256i;
    using Float = __m256;
    struct Double {
        __m256d low, high;
    };

    template <bool UNSIGNED>
    static Whole Load8(const uint8_t* p) {
        __m128i x = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
        if constexpr (UNSIGNED) x = _mm_xor_si128(x, _mm_set1_epi8(-128));
        return _mm256_cvtepi8_epi32(x);
    }
    static __m128i Packed16(Whole x) {
        return _mm_packs_epi32(_mm256_castsi256_si128(x), _mm256_extracti128_si256(x, 1));
    }
    template <bool UNSIGNED>
    static void Store8(uint8_t* p, Whole x) {
        const __m128i words = Packed16(x);
        __m128i packed = _mm_packs_epi16(words, words);
        if constexpr (UNSIGNED) packed = _mm_xor_si128(packed, _mm_set1_epi8(-128));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), packed);
    }
    static __m128i Swapped16(__m128i x) {
        return _mm_shuffle_epi8(x, _mm_set_epi8(14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1));
    }
    template <bool SWAP>
    static Whole Load16(const uint8_t* p) {
        __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        if constexpr (SWAP) x = Swapped16(x);
        return _mm256_cvtepi16_epi32(x);
    }
    template <bool SWAP>
    static void Store16(uint8_t* p, Whole x) {
        __m128i packed = Packed16(x);
        if constexpr (SWAP) packed = Swapped16(packed);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), packed);
    }
    static void Swap16(uint8_t* d, const uint8_t* s) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d),
                         Swapped16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s))));
    }
    static void Flip8(uint8_t* d, const uint8_t* s) {
        Stored<uint64_t>(d, Loaded<uint64_t>(s) ^ 0x8080808080808080u);
    }
    // Four samples, twelve bytes, in each half of the vector, in the upper three bytes of each word. The
    // second half is loaded with the four bytes before its own, so that nothing is read behind the samples.
    template <bool SWAP>
    static Whole LoadTop24(const uint8_t* p) {
        const __m256i order =
            SWAP ? _mm256_set_epi8(13, 14, 15, -1, 10, 11, 12, -1, 7, 8, 9, -1, 4, 5, 6, -1,  //
                                   9, 10, 11, -1, 6, 7, 8, -1, 3, 4, 5, -1, 0, 1, 2, -1)
                 : _mm256_set_epi8(15, 14, 13, -1, 12, 11, 10, -1, 9, 8, 7, -1, 6, 5, 4, -1,  //
                                   11, 10, 9, -1, 8, 7, 6, -1, 5, 4, 3, -1, 2, 1, 0, -1);
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 8));
        return _mm256_shuffle_epi8(_mm256_set_m128i(high, low), order);
    }
    template <bool SWAP>
    static Whole Load24(const uint8_t* p) {
        return _mm256_srai_epi32(LoadTop24<SWAP>(p), 8);
    }
    template <bool SWAP>
    static void Store24(uint8_t* p, Whole x) {
        const __m128i order = SWAP ? _mm_set_epi8(-1, -1, -1, -1, 12, 13, 14, 8, 9, 10, 4, 5, 6, 0, 1, 2)
                                   : _mm_set_epi8(-1, -1, -1, -1, 14, 13, 12, 10, 9, 8, 6, 5, 4, 2, 1, 0);
        x = _mm256_shuffle_epi8(x, _mm256_broadcastsi128_si256(order));
        const __m128i low = _mm256_castsi256_si128(x), high = _mm256_extracti128_si256(x, 1);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm_or_si128(low, _mm_slli_si128(high, 12)));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p + 16), _mm_srli_si128(high, 4));
    }
    static Whole Swapped32(Whole x) {
        return _mm256_shuffle_epi8(x, _mm256_broadcastsi128_si256(_mm_set_epi8(12, 13, 14, 15, 8, 9, 10, 11,
                                                                               4, 5, 6, 7, 0, 1, 2, 3)));
    }
    template <bool SWAP>
    static Whole Load32(const uint8_t* p) {
        const Whole x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
        return SWAP ? Swapped32(x) : x;
    }
    template <bool SWAP>
    static void Store32(uint8_t* p, Whole x) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), SWAP ? Swapped32(x) : x);
    }

    static Float LoadFloat(const uint8_t* p) { return _mm256_loadu_ps(reinterpret_cast<const float*>(p)); }
    static void StoreFloat(uint8_t* p, Float x) { _mm256_storeu_ps(reinterpret_cast<float*>(p), x); }
    static Double LoadDouble(const uint8_t* p) {
        const auto* values = reinterpret_cast<const double*>(p);
        return {_mm256_loadu_pd(values), _mm256_loadu_pd(values + 4)};
    }
    static void StoreDouble(uint8_t* p, Double x) {
        auto* values = reinterpret_cast<double*>(p);
        _mm256_storeu_pd(values, x.low);
        _mm256_storeu_pd(values + 4, x.high);
    }

    static Float ToFloat(Whole x) { return _mm256_cvtepi32_ps(x); }
    static Double ToDouble(Whole x) {
        return {_mm256_cvtepi32_pd(_mm256_castsi256_si128(x)),
                _mm256_cvtepi32_pd(_mm256_extracti128_si256(x, 1))};
    }
    static Double ToDouble(Float x) {
        return {_mm256_cvtps_pd(_mm256_castps256_ps128(x)), _mm256_cvtps_pd(_mm256_extractf128_ps(x, 1))};
    }
    static Float ToFloat(Double x) {
        return _mm256_set_m128(_mm256_cvtpd_ps(x.high), _mm256_cvtpd_ps(x.low));
    }

    static Float Times(Float x, float factor) { return _mm256_mul_ps(x, _mm256_set1_ps(factor)); }
    static Double Times(Double x, double factor) {
        const __m256d f = _mm256_set1_pd(factor);
        return {_mm256_mul_pd(x.low, f), _mm256_mul_pd(x.high, f)};
    }

    static Whole Rounded(Float x, float factor) {
        return _mm256_cvtps_epi32(_mm256_mul_ps(x, _mm256_set1_ps(factor)));
    }
    // The product, 0 for NaN.
    static Float Product(Float x, float factor) {
        x = _mm256_mul_ps(x, _mm256_set1_ps(factor));
        return _mm256_and_ps(x, _mm256_cmp_ps(x, x, _CMP_ORD_Q));
    }
    static __m256d Product(__m256d x, double factor) {
        x = _mm256_mul_pd(x, _mm256_set1_pd(factor));
        return _mm256_and_pd(x, _mm256_cmp_pd(x, x, _CMP_ORD_Q));
    }
    static Whole RoundedBelow(Float x, float factor, float high) {
        return _mm256_cvtps_epi32(_mm256_min_ps(Product(x, factor), _mm256_set1_ps(high)));
    }
    static Whole RoundedWithin(Float x, float factor, float low, float high) {
        return _mm256_cvtps_epi32(
            _mm256_max_ps(_mm256_min_ps(Product(x, factor), _mm256_set1_ps(high)), _mm256_set1_ps(low)));
    }
    // Full scale of 32 bits. What is too low converts to the lowest value by itself.
    static Whole Rounded32(Float x) {
        x = Product(x, 2147483648.0f);
        const __m256 high = _mm256_cmp_ps(x, _mm256_set1_ps(2147483648.0f), _CMP_GE_OQ);
        return _mm256_xor_si256(_mm256_cvtps_epi32(x), _mm256_castps_si256(high));
    }
    static Whole Joined(__m256d low, __m256d high) {
        return _mm256_set_m128i(_mm256_cvtpd_epi32(high), _mm256_cvtpd_epi32(low));
    }
    static Whole RoundedBelow(Double x, double factor, double high) {
        const __m256d most = _mm256_set1_pd(high);
        return Joined(_mm256_min_pd(Product(x.low, factor), most),
                      _mm256_min_pd(Product(x.high, factor), most));
    }
    static Whole RoundedWithin(Double x, double factor, double low, double high) {
        const __m256d most = _mm256_set1_pd(high), least = _mm256_set1_pd(low);
        return Joined(_mm256_max_pd(_mm256_min_pd(Product(x.low, factor), most), least),
                      _mm256_max_pd(_mm256_min_pd(Product(x.high, factor), most), least));
    }

    /// Past the caches; both ends are aligned to lines and the size is of whole lines.
    static void Stream(uint8_t* to, const uint8_t* from, size_t bytes) {
        for (size_t i = 0; i < bytes; i += sizeof(__m256i)) {
            const __m256i x = _mm256_load_si256(reinterpret_cast<const __m256i*>(from + i));
            _mm256_stream_si256(reinterpret_cast<__m256i*>(to + i), x);
        }
    }
    static void EndStream() { _mm_sfence(); }

    template <int BITS>
    static Whole ShiftLeft(Whole x) {
        return _mm256_slli_epi32(x, BITS);
    }
    template <int BITS>
    static Whole RoundedDown(Whole x) {
        const Whole odd = _mm256_and_si256(_mm256_srli_epi32(x, BITS), _mm256_set1_epi32(1));
        const Whole sum = _mm256_add_epi32(x, _mm256_set1_epi32((1 << (BITS - 1)) - 1));
        return _mm256_srai_epi32(_mm256_add_epi32(sum, odd), BITS);
    }
    static Whole Least(Whole x, int32_t high) { return _mm256_min_epi32(x, _mm256_set1_epi32(high)); }
    static Whole Clamped(Whole x, int32_t low, int32_t high) {
        return _mm256_max_epi32(Least(x, high), _mm256_set1_epi32(low));
    }
};

}  // namespace

constexpr CopyTable COPY_AVX2 = MakeTable<Vector>();
