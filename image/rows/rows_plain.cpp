// Pixel by pixel: the forms that all others are held against.
#include "image/rows/simple_loops.h"

#include <algorithm>
#include <cstring>

namespace tarn {

namespace {

int32_t Product(int32_t a, int32_t b) {
    const int32_t t = a * b + 128;
    return (t + (t >> 8)) >> 8;
}

/// The weight of a mode's colour step, by the two alphas at full scale `one`.
template <int MODE, class T>
T StepWeight(T sa, T da, T one, T product) {
    switch (MODE) {
    case 6: return one - sa;
    case 7: return da;
    case 8: return one - da;
    case 9: return product;
    case 10: return one - product;
    case 11: return std::max(sa, da);
    default: return std::min(sa, da);
    }
}

template <int MODE, bool WEIGHTED>
void BlendPixel8(uint8_t* d, const uint8_t* s, int32_t weight) {
    const auto byte = [](int32_t v) { return static_cast<uint8_t>(v); };
    if constexpr (MODE == 0 && WEIGHTED) {
        const int32_t w = static_cast<int16_t>(weight * 255 / FULL_WEIGHT);
        for (int c = 0; c < 4; c++) d[c] = byte(d[c] + (s[c] - d[c]) * w / 256);
    } else if constexpr (MODE <= 5) {
        const int32_t w = weight >> 6;
        int32_t v[4];
        for (int c = 0; c < 4; c++) v[c] = WEIGHTED && MODE != 3 ? (s[c] * w) >> 8 : s[c];
        for (int c = 0; c < 4; c++) {
            if constexpr (MODE == 0) d[c] = s[c];
            if constexpr (MODE == 1) d[c] = byte(std::min(255, d[c] + v[c]));
            if constexpr (MODE == 2) d[c] = byte(c == 3 ? d[c] : std::max(0, d[c] - v[c]));
            if constexpr (MODE == 3)
                d[c] =
                    byte(WEIGHTED ? d[c] - (((d[c] - Product(d[c], v[c])) * w) >> 8) : Product(d[c], v[c]));
            if constexpr (MODE >= 4) d[c] = byte(std::min(255, Product(d[c], 255 - v[3]) + v[c]));
        }
    } else {
        const int32_t sa = s[3], da = d[3];
        int32_t w = StepWeight<MODE>(sa, da, 255, Product(sa, da));
        if (WEIGHTED) w = w * weight / FULL_WEIGHT;
        for (int c = 0; c < 3; c++) {
            const int32_t color = w != 0 ? std::min(255, s[c] * 255 / w) : d[c];
            d[c] = byte(d[c] + (color - d[c]) * w / 256);
        }
        d[3] = byte(std::min(255, da + w));
    }
}

template <int MODE, bool WEIGHTED>
void BlendPixelFloat(float* d, const float* s, float w) {
    if constexpr (MODE <= 5) {
        float v[4];
        for (int c = 0; c < 4; c++) v[c] = WEIGHTED && MODE != 0 && MODE != 3 ? s[c] * w : s[c];
        for (int c = 0; c < 4; c++) {
            if constexpr (MODE == 0) d[c] = WEIGHTED ? d[c] + (s[c] - d[c]) * w : s[c];
            if constexpr (MODE == 1) d[c] = std::min(1.0f, d[c] + v[c]);
            if constexpr (MODE == 2) d[c] = c == 3 ? d[c] : std::max(0.0f, d[c] - v[c]);
            if constexpr (MODE == 3) d[c] = WEIGHTED ? d[c] + (d[c] * v[c] - d[c]) * w : d[c] * v[c];
            if constexpr (MODE >= 4) d[c] = std::min(1.0f, d[c] * (1.0f - v[3]) + v[c]);
        }
    } else {
        const float sa = s[3], da = d[3];
        float step = StepWeight<MODE>(sa, da, 1.0f, sa * da);
        if (WEIGHTED) step = step * w;
        for (int c = 0; c < 3; c++) {
            const float color = step != 0.0f ? std::min(1.0f, s[c] / step) : d[c];
            d[c] = d[c] + (color - d[c]) * step;
        }
        d[3] = std::min(1.0f, da + step);
    }
}

template <int MODE>
void Blend8(uint8_t* d, const uint8_t* s, int32_t pixels, int32_t weight) {
    for (int32_t i = 0; i < pixels; i++, d += 4, s += 4)
        weight == FULL_WEIGHT ? BlendPixel8<MODE, false>(d, s, weight)
                              : BlendPixel8<MODE, true>(d, s, weight);
}

template <int MODE>
void BlendFloat(uint8_t* d, const uint8_t* s, int32_t pixels, int32_t weight) {
    const float w = static_cast<float>(weight) / FULL_WEIGHT;
    for (int32_t i = 0; i < pixels; i++, d += 16, s += 16) {
        float to[4], from[4];
        std::memcpy(to, d, sizeof to);
        std::memcpy(from, s, sizeof from);
        weight == FULL_WEIGHT ? BlendPixelFloat<MODE, false>(to, from, w)
                              : BlendPixelFloat<MODE, true>(to, from, w);
        std::memcpy(d, to, sizeof to);
    }
}

/// The product of two fractions of 15 bits, rounded.
int32_t Scaled(int32_t a, int32_t b) { return (a * b + 0x4000) >> 15; }

void LerpRows(int16_t* out, const uint8_t* a, const uint8_t* b, int32_t channels, int16_t weight) {
    for (int32_t i = 0; i < channels; i++)
        out[i] = static_cast<int16_t>((a[i] * (LERP_ONE - weight) >> 8) + (b[i] * weight >> 8));
}

void LerpColumns(uint8_t* out, const int16_t* row, const int32_t* at, const int16_t* weights,
                 int32_t pixels) {
    for (int32_t i = 0; i < pixels * 4; i++) {
        const int16_t* p = row + int64_t{at[i / 4]} * 4 + i % 4;
        out[i] =
            static_cast<uint8_t>((p[0] + Scaled(static_cast<int16_t>(p[4] - p[0]), weights[i]) + 64) >> 7);
    }
}

void CubicRows(int16_t* out, const uint8_t* const rows[4], int32_t channels, const int16_t w[4]) {
    for (int32_t i = 0; i < channels; i++) {
        const int32_t sum = rows[0][i] * w[0] + rows[1][i] * w[1] + rows[2][i] * w[2] + rows[3][i] * w[3];
        out[i] = static_cast<int16_t>((sum + 128) >> 8);
    }
}

void CubicColumns(uint8_t* out, const int16_t* row, const int32_t* at, const int16_t* weights,
                  int32_t pixels) {
    for (int32_t i = 0; i < pixels; i++) {
        const int16_t *p = row + int64_t{at[i]} * 4, *w = weights + int64_t{i} * 4;
        for (int c = 0; c < 4; c++) {
            const int32_t sum = p[c] * w[0] + p[c + 4] * w[1] + p[c + 8] * w[2] + p[c + 12] * w[3];
            out[4 * i + c] = static_cast<uint8_t>(std::clamp((sum + (1 << 19)) >> 20, 0, 255));
        }
    }
}

void PutBgra(uint8_t* out, uint8_t y, uint8_t u, uint8_t v, const YuvFixed& f) {
    const int32_t luma = (y * 257 * f.luma >> 16) + f.lumaOffset, cu = (u - 128) * 256, cv = (v - 128) * 256;
    const auto channel = [&](int32_t value) { return static_cast<uint8_t>(std::clamp(value >> 6, 0, 255)); };
    out[0] = channel(luma + Scaled(cu, f.blueU));
    out[1] = channel(luma - Scaled(cu, f.greenU) - Scaled(cv, f.greenV));
    out[2] = channel(luma + Scaled(cv, f.redV));
    out[3] = 255;
}

void PlanarToBgra(uint8_t* out, const uint8_t* y, const uint8_t* u, const uint8_t* v, int32_t pixels,
                  const YuvFixed& fixed) {
    for (int32_t i = 0; i < pixels; i++) PutBgra(out + int64_t{i} * 4, y[i], u[i / 2], v[i / 2], fixed);
}

void SemiPlanarToBgra(uint8_t* out, const uint8_t* y, const uint8_t* u, const uint8_t*, int32_t pixels,
                      const YuvFixed& fixed) {
    for (int32_t i = 0; i < pixels; i++)
        PutBgra(out + int64_t{i} * 4, y[i], u[i / 2 * 2], u[i / 2 * 2 + 1], fixed);
}

template <int MODE = 0>
constexpr void AddBlends(ImageRows& rows) {
    rows.blend8[MODE] = Blend8<MODE>;
    rows.blendFloat[MODE] = BlendFloat<MODE>;
    if constexpr (MODE + 1 < BLEND_MODES) AddBlends<MODE + 1>(rows);
}

constexpr ImageRows Made() {
    ImageRows rows{};
    AddSimpleLoops(rows);
    AddBlends(rows);
    rows.lerpRows = LerpRows;
    rows.lerpColumns = LerpColumns;
    rows.cubicRows = CubicRows;
    rows.cubicColumns = CubicColumns;
    rows.planarToBgra = PlanarToBgra;
    rows.semiPlanarToBgra = SemiPlanarToBgra;
    return rows;
}

}  // namespace

constexpr ImageRows IMAGE_ROWS_PLAIN = Made();

}  // namespace tarn
