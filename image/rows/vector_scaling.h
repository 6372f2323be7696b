// Scaling and video on vectors of 32 bytes, for the levels that have AVX2. Internal linkage, for the reason
// told in simple_loops.h.
#pragma once

#include "image/rows/image_rows.h"

#include <immintrin.h>

#include <algorithm>
#include <cstring>

namespace tarn {

namespace {

inline __m256i Load(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }
inline __m128i LoadHalf(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
inline void Store(void* p, __m256i v) { _mm256_storeu_si256(static_cast<__m256i*>(p), v); }
inline __m256i InBothHalves(const uint8_t* p) { return _mm256_broadcastsi128_si256(LoadHalf(p)); }
inline __m256i WideBytes(const uint8_t* p) { return _mm256_cvtepu8_epi16(LoadHalf(p)); }
inline __m256i Joined(__m128i low, __m128i high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}

/// `step` on whole runs of STEP elements, at the end on one that overlaps what is done: writing the same
/// again is cheaper than anything else. Shorter rows are left to the plain form.
template <int STEP, class Step>
inline bool ForRuns(int32_t count, Step step) {
    if (count < STEP) return false;
    for (int32_t i = 0; i + STEP <= count; i += STEP) step(i);
    if (count % STEP) step(count - STEP);
    return true;
}

/// 16 bytes in the high halves of words.
inline __m256i HighBytes(const uint8_t* p) {
    const __m256i high = _mm256_setr_epi8(-1, 0, -1, 1, -1, 2, -1, 3, -1, 4, -1, 5, -1, 6, -1, 7, -1, 8, -1,
                                          9, -1, 10, -1, 11, -1, 12, -1, 13, -1, 14, -1, 15);
    return _mm256_shuffle_epi8(InBothHalves(p), high);
}

void LerpRows(int16_t* out, const uint8_t* a, const uint8_t* b, int32_t channels, int16_t weight) {
    const __m256i wb = _mm256_set1_epi16(weight),
                  wa = _mm256_set1_epi16(static_cast<int16_t>(LERP_ONE - weight));
    const bool isDone = ForRuns<16>(channels, [&](int32_t i) {
        Store(out + i, _mm256_add_epi16(_mm256_mulhi_epu16(HighBytes(a + i), wa),
                                        _mm256_mulhi_epu16(HighBytes(b + i), wb)));
    });
    if (!isDone) IMAGE_ROWS_PLAIN.lerpRows(out, a, b, channels, weight);
}

void LerpColumns(uint8_t* out, const int16_t* row, const int32_t* at, const int16_t* weights,
                 int32_t pixels) {
    const __m256i half = _mm256_set1_epi16(64);
    const auto four = [&](int32_t i) {
        const auto pair = [&](int32_t k) { return LoadHalf(row + int64_t{at[i + k]} * 4); };
        const __m256i even = Joined(pair(0), pair(2)), odd = Joined(pair(1), pair(3));
        const __m256i first = _mm256_unpacklo_epi64(even, odd), second = _mm256_unpackhi_epi64(even, odd);
        const __m256i step =
            _mm256_mulhrs_epi16(_mm256_sub_epi16(second, first), Load(weights + int64_t{i} * 4));
        return _mm256_srai_epi16(_mm256_add_epi16(_mm256_add_epi16(first, step), half), 7);
    };
    const bool isDone = ForRuns<8>(pixels, [&](int32_t i) {
        const __m256i both = _mm256_packus_epi16(four(i), four(i + 4));
        Store(out + int64_t{i} * 4, _mm256_permute4x64_epi64(both, 0xD8));
    });
    if (!isDone) IMAGE_ROWS_PLAIN.lerpColumns(out, row, at, weights, pixels);
}

/// Two weights, for the sums of pairs.
inline int32_t Pair(int16_t a, int16_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint16_t>(b)) << 16 |
                                static_cast<uint16_t>(a));
}

void CubicRows(int16_t* out, const uint8_t* const rows[4], int32_t channels, const int16_t w[4]) {
    const __m256i before = _mm256_set1_epi32(Pair(w[0], w[1])), after = _mm256_set1_epi32(Pair(w[2], w[3]));
    const __m256i half = _mm256_set1_epi32(128);
    const bool isDone = ForRuns<16>(channels, [&](int32_t i) {
        const __m256i a = WideBytes(rows[0] + i), b = WideBytes(rows[1] + i), c = WideBytes(rows[2] + i),
                      d = WideBytes(rows[3] + i);
        const auto sum = [&](__m256i ab, __m256i cd) {
            const __m256i all = _mm256_add_epi32(_mm256_madd_epi16(ab, before), _mm256_madd_epi16(cd, after));
            return _mm256_srai_epi32(_mm256_add_epi32(all, half), 8);
        };
        Store(out + i, _mm256_packs_epi32(sum(_mm256_unpacklo_epi16(a, b), _mm256_unpacklo_epi16(c, d)),
                                          sum(_mm256_unpackhi_epi16(a, b), _mm256_unpackhi_epi16(c, d))));
    });
    if (!isDone) IMAGE_ROWS_PLAIN.cubicRows(out, rows, channels, w);
}

void CubicColumns(uint8_t* out, const int16_t* row, const int32_t* at, const int16_t* weights,
                  int32_t pixels) {
    const __m256i inTurns = _mm256_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15, 0, 1, 8, 9,
                                             2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15);
    const __m256i spread = _mm256_setr_epi32(0, 0, 0, 0, 1, 1, 1, 1), half = _mm256_set1_epi32(1 << 19);
    const auto products = [&](int32_t i) {
        const __m128i w = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(weights + int64_t{i} * 4));
        return _mm256_madd_epi16(_mm256_shuffle_epi8(Load(row + int64_t{at[i]} * 4), inTurns),
                                 _mm256_permutevar8x32_epi32(_mm256_castsi128_si256(w), spread));
    };
    const auto two = [&](int32_t i) {  // pixels i and i + 4
        const __m256i a = products(i), b = products(i + 4);
        const __m256i sum =
            _mm256_add_epi32(_mm256_permute2x128_si256(a, b, 0x20), _mm256_permute2x128_si256(a, b, 0x31));
        return _mm256_srai_epi32(_mm256_add_epi32(sum, half), 20);
    };
    const bool isDone = ForRuns<8>(pixels, [&](int32_t i) {
        Store(out + int64_t{i} * 4, _mm256_packus_epi16(_mm256_packs_epi32(two(i), two(i + 1)),
                                                        _mm256_packs_epi32(two(i + 2), two(i + 3))));
    });
    if (!isDone) IMAGE_ROWS_PLAIN.cubicColumns(out, row, at, weights, pixels);
}

// Of 32 pixels every second four lie in the low half of a vector and the others in the high one, so that
// eight neighbours are together when the channels are in turns.

/// What 16 samples of chroma, as signed numbers in the high bytes of words, add to two pixels each.
struct Chroma {
    __m256i red, green, blue;
};
inline Chroma ChromaOf(__m256i u, __m256i v, const YuvFixed& f) {
    const auto scaled = [](__m256i x, int16_t by) { return _mm256_mulhrs_epi16(x, _mm256_set1_epi16(by)); };
    return {scaled(v, f.redV), _mm256_add_epi16(scaled(u, f.greenU), scaled(v, f.greenV)),
            scaled(u, f.blueU)};
}

/// 32 pixels.
inline void PutBgra(uint8_t* out, const uint8_t* y, const Chroma& chroma, const YuvFixed& f) {
    const __m256i twice = _mm256_setr_epi8(0, 0, 1, 1, 2, 2, 3, 3, 8, 8, 9, 9, 10, 10, 11, 11, 4, 4, 5, 5, 6,
                                           6, 7, 7, 12, 12, 13, 13, 14, 14, 15, 15);
    const auto luma = [&](const uint8_t* p) {
        const __m256i scaled = _mm256_mulhi_epu16(_mm256_shuffle_epi8(InBothHalves(p), twice),
                                                  _mm256_set1_epi16(static_cast<int16_t>(f.luma)));
        return _mm256_add_epi16(scaled, _mm256_set1_epi16(f.lumaOffset));
    };
    const __m256i low = luma(y), high = luma(y + 16), alpha = _mm256_set1_epi8(-1);
    const auto bytes = [](__m256i first, __m256i second) {
        return _mm256_packus_epi16(_mm256_srai_epi16(first, 6), _mm256_srai_epi16(second, 6));
    };
    const auto added = [&](__m256i c) {
        return bytes(_mm256_adds_epi16(low, _mm256_unpacklo_epi16(c, c)),
                     _mm256_adds_epi16(high, _mm256_unpackhi_epi16(c, c)));
    };
    const __m256i blue = added(chroma.blue), red = added(chroma.red);
    const __m256i green = bytes(_mm256_sub_epi16(low, _mm256_unpacklo_epi16(chroma.green, chroma.green)),
                                _mm256_sub_epi16(high, _mm256_unpackhi_epi16(chroma.green, chroma.green)));
    const auto put = [](uint8_t* to, __m256i bg, __m256i ra) {
        Store(to, _mm256_unpacklo_epi16(bg, ra));
        Store(to + 32, _mm256_unpackhi_epi16(bg, ra));
    };
    put(out, _mm256_unpacklo_epi8(blue, green), _mm256_unpacklo_epi8(red, alpha));
    put(out + 64, _mm256_unpackhi_epi8(blue, green), _mm256_unpackhi_epi8(red, alpha));
}

/// The rest begins at an even pixel, as chroma does.
template <class Step, class Rest>
inline void ForVideo(int32_t pixels, Step step, Rest rest) {
    int32_t i = 0;
    for (; i + 32 <= pixels; i += 32) step(i);
    if (i < pixels) rest(i, pixels - i);
}

/// 16 samples of chroma.
inline __m256i Signed(const uint8_t* p) {
    const __m256i high = _mm256_setr_epi8(-1, 0, -1, 1, -1, 4, -1, 5, -1, 8, -1, 9, -1, 12, -1, 13, -1, 2, -1,
                                          3, -1, 6, -1, 7, -1, 10, -1, 11, -1, 14, -1, 15);
    return _mm256_xor_si256(_mm256_shuffle_epi8(InBothHalves(p), high), _mm256_set1_epi16(-32768));
}

void PlanarToBgra(uint8_t* out, const uint8_t* y, const uint8_t* u, const uint8_t* v, int32_t pixels,
                  const YuvFixed& f) {
    ForVideo(
        pixels,
        [&](int32_t i) {
            PutBgra(out + int64_t{i} * 4, y + i, ChromaOf(Signed(u + i / 2), Signed(v + i / 2), f), f);
        },
        [&](int32_t i, int32_t n) {
            IMAGE_ROWS_PLAIN.planarToBgra(out + int64_t{i} * 4, y + i, u + i / 2, v + i / 2, n, f);
        });
}

void SemiPlanarToBgra(uint8_t* out, const uint8_t* y, const uint8_t* u, const uint8_t* v, int32_t pixels,
                      const YuvFixed& f) {
    const __m256i order = _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7);
    ForVideo(
        pixels,
        [&](int32_t i) {
            const __m256i pairs = _mm256_permutevar8x32_epi32(Load(u + i), order);
            const __m256i both = _mm256_xor_si256(pairs, _mm256_set1_epi8(-128));
            PutBgra(out + int64_t{i} * 4, y + i,
                    ChromaOf(_mm256_slli_epi16(both, 8), _mm256_and_si256(both, _mm256_set1_epi16(-256)), f),
                    f);
        },
        [&](int32_t i, int32_t n) {
            IMAGE_ROWS_PLAIN.semiPlanarToBgra(out + int64_t{i} * 4, y + i, u + i, v + i, n, f);
        });
}

constexpr void AddScaling(ImageRows& rows) {
    rows.lerpRows = LerpRows;
    rows.lerpColumns = LerpColumns;
    rows.cubicRows = CubicRows;
    rows.cubicColumns = CubicColumns;
    rows.planarToBgra = PlanarToBgra;
    rows.semiPlanarToBgra = SemiPlanarToBgra;
}

}  // namespace

}  // namespace tarn
