// Four samples at a time (SSE2, which every x86-64 has).
#include "audio/copy/routines.h"

#include <emmintrin.h>

namespace {

struct Vector {
    static constexpr int LANES = 4;
    using Whole = __m128i;
    using Float = __m128;
    struct Double {
        __m128d low, high;
    };

    template <bool UNSIGNED>
    static Whole Load8(const uint8_t* p) {
        __m128i x = _mm_cvtsi32_si128(Loaded<int32_t>(p));
        if constexpr (UNSIGNED) x = _mm_xor_si128(x, _mm_set1_epi8(-128));
        x = _mm_unpacklo_epi8(x, x);
        return _mm_srai_epi32(_mm_unpacklo_epi16(x, x), 24);
    }
    template <bool UNSIGNED>
    static void Store8(uint8_t* p, Whole x) {
        x = _mm_packs_epi32(x, x);
        x = _mm_packs_epi16(x, x);
        if constexpr (UNSIGNED) x = _mm_xor_si128(x, _mm_set1_epi8(-128));
        Stored<int32_t>(p, _mm_cvtsi128_si32(x));
    }
    static __m128i Swapped16(__m128i x) { return _mm_or_si128(_mm_slli_epi16(x, 8), _mm_srli_epi16(x, 8)); }
    template <bool SWAP>
    static Whole Load16(const uint8_t* p) {
        __m128i x = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
        if constexpr (SWAP) x = Swapped16(x);
        return _mm_srai_epi32(_mm_unpacklo_epi16(x, x), 16);
    }
    template <bool SWAP>
    static void Store16(uint8_t* p, Whole x) {
        x = _mm_packs_epi32(x, x);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), SWAP ? Swapped16(x) : x);
    }
    static void Swap16(uint8_t* d, const uint8_t* s) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(d),
                         Swapped16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(s))));
    }
    static void Flip8(uint8_t* d, const uint8_t* s) {
        Stored<uint32_t>(d, Loaded<uint32_t>(s) ^ 0x80808080u);
    }
    static Whole Swapped32(Whole x) {
        x = Swapped16(x);
        return _mm_or_si128(_mm_slli_epi32(x, 16), _mm_srli_epi32(x, 16));
    }
    template <bool SWAP>
    static Whole Load24(const uint8_t* p) {
        constexpr QMSAMPLETYPE TYPE = SWAP ? QMSAMPLE_BE24 : QMSAMPLE_PCM24;
        return _mm_set_epi32(LoadWhole<TYPE>(p + 9), LoadWhole<TYPE>(p + 6), LoadWhole<TYPE>(p + 3),
                             LoadWhole<TYPE>(p));
    }
    template <bool SWAP>
    static Whole LoadTop24(const uint8_t* p) {
        return _mm_slli_epi32(Load24<SWAP>(p), 8);
    }
    // Four times three bytes are three words.
    template <bool SWAP>
    static void Store24(uint8_t* p, Whole x) {
        if constexpr (SWAP) x = _mm_srli_epi32(Swapped32(x), 8);
        alignas(16) uint32_t w[4];
        _mm_store_si128(reinterpret_cast<__m128i*>(w), _mm_and_si128(x, _mm_set1_epi32(0xFFFFFF)));
        Stored<uint32_t>(p, w[0] | w[1] << 24);
        Stored<uint32_t>(p + 4, w[1] >> 8 | w[2] << 16);
        Stored<uint32_t>(p + 8, w[2] >> 16 | w[3] << 8);
    }
    template <bool SWAP>
    static Whole Load32(const uint8_t* p) {
        const Whole x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        return SWAP ? Swapped32(x) : x;
    }
    template <bool SWAP>
    static void Store32(uint8_t* p, Whole x) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), SWAP ? Swapped32(x) : x);
    }

    static Float LoadFloat(const uint8_t* p) { return _mm_loadu_ps(reinterpret_cast<const float*>(p)); }
    static void StoreFloat(uint8_t* p, Float x) { _mm_storeu_ps(reinterpret_cast<float*>(p), x); }
    static Double LoadDouble(const uint8_t* p) {
        const auto* values = reinterpret_cast<const double*>(p);
        return {_mm_loadu_pd(values), _mm_loadu_pd(values + 2)};
    }
    static void StoreDouble(uint8_t* p, Double x) {
        auto* values = reinterpret_cast<double*>(p);
        _mm_storeu_pd(values, x.low);
        _mm_storeu_pd(values + 2, x.high);
    }

    static Float ToFloat(Whole x) { return _mm_cvtepi32_ps(x); }
    static Double ToDouble(Whole x) {
        return {_mm_cvtepi32_pd(x), _mm_cvtepi32_pd(_mm_unpackhi_epi64(x, x))};
    }
    static Double ToDouble(Float x) { return {_mm_cvtps_pd(x), _mm_cvtps_pd(_mm_movehl_ps(x, x))}; }
    static Float ToFloat(Double x) { return _mm_movelh_ps(_mm_cvtpd_ps(x.low), _mm_cvtpd_ps(x.high)); }

    static Float Times(Float x, float factor) { return _mm_mul_ps(x, _mm_set1_ps(factor)); }
    static Double Times(Double x, double factor) {
        const __m128d f = _mm_set1_pd(factor);
        return {_mm_mul_pd(x.low, f), _mm_mul_pd(x.high, f)};
    }

    static Whole Rounded(Float x, float factor) {
        return _mm_cvtps_epi32(_mm_mul_ps(x, _mm_set1_ps(factor)));
    }
    // The product, 0 for NaN.
    static Float Product(Float x, float factor) {
        x = _mm_mul_ps(x, _mm_set1_ps(factor));
        return _mm_and_ps(x, _mm_cmpord_ps(x, x));
    }
    static __m128d Product(__m128d x, double factor) {
        x = _mm_mul_pd(x, _mm_set1_pd(factor));
        return _mm_and_pd(x, _mm_cmpord_pd(x, x));
    }
    static Whole RoundedBelow(Float x, float factor, float high) {
        return _mm_cvtps_epi32(_mm_min_ps(Product(x, factor), _mm_set1_ps(high)));
    }
    static Whole RoundedWithin(Float x, float factor, float low, float high) {
        return _mm_cvtps_epi32(
            _mm_max_ps(_mm_min_ps(Product(x, factor), _mm_set1_ps(high)), _mm_set1_ps(low)));
    }
    // Full scale of 32 bits. What is too low converts to the lowest value by itself.
    static Whole Rounded32(Float x) {
        x = Product(x, 2147483648.0f);
        const __m128 high = _mm_cmpge_ps(x, _mm_set1_ps(2147483648.0f));
        return _mm_xor_si128(_mm_cvtps_epi32(x), _mm_castps_si128(high));
    }
    static Whole Joined(__m128d low, __m128d high) {
        return _mm_unpacklo_epi64(_mm_cvtpd_epi32(low), _mm_cvtpd_epi32(high));
    }
    static Whole RoundedBelow(Double x, double factor, double high) {
        const __m128d most = _mm_set1_pd(high);
        return Joined(_mm_min_pd(Product(x.low, factor), most), _mm_min_pd(Product(x.high, factor), most));
    }
    static Whole RoundedWithin(Double x, double factor, double low, double high) {
        const __m128d most = _mm_set1_pd(high), least = _mm_set1_pd(low);
        return Joined(_mm_max_pd(_mm_min_pd(Product(x.low, factor), most), least),
                      _mm_max_pd(_mm_min_pd(Product(x.high, factor), most), least));
    }

    /// Past the caches; both ends are aligned to lines and the size is of whole lines.
    static void Stream(uint8_t* to, const uint8_t* from, size_t bytes) {
        for (size_t i = 0; i < bytes; i += sizeof(__m128i)) {
            const __m128i x = _mm_load_si128(reinterpret_cast<const __m128i*>(from + i));
            _mm_stream_si128(reinterpret_cast<__m128i*>(to + i), x);
        }
    }
    static void EndStream() { _mm_sfence(); }

    template <int BITS>
    static Whole ShiftLeft(Whole x) {
        return _mm_slli_epi32(x, BITS);
    }
    template <int BITS>
    static Whole RoundedDown(Whole x) {
        const Whole odd = _mm_and_si128(_mm_srli_epi32(x, BITS), _mm_set1_epi32(1));
        const Whole sum = _mm_add_epi32(x, _mm_set1_epi32((1 << (BITS - 1)) - 1));
        return _mm_srai_epi32(_mm_add_epi32(sum, odd), BITS);
    }
    static Whole Chosen(Whole mask, Whole yes, Whole no) {
        return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
    }
    static Whole Least(Whole x, int32_t high) {
        const Whole limit = _mm_set1_epi32(high);
        return Chosen(_mm_cmpgt_epi32(x, limit), limit, x);
    }
    static Whole Clamped(Whole x, int32_t low, int32_t high) {
        const Whole limit = _mm_set1_epi32(low), cut = Least(x, high);
        return Chosen(_mm_cmplt_epi32(cut, limit), limit, cut);
    }
};

}  // namespace

constexpr CopyTable COPY_SSE2 = MakeTable<Vector>();
