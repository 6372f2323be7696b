// Loops that the compiler makes vectors of at every level.
//
// Everything here has internal linkage and calls nothing that is not inlined: the file is compiled for
// several levels of the processor, and the linker must not take the code of one for that of another.
#pragma once

#include "image/rows/image_rows.h"

namespace tarn {

namespace {

inline void LerpRowsFloat(float* out, const float* a, const float* b, int32_t channels, float weight) {
    for (int32_t i = 0; i < channels; i++) out[i] = a[i] + (b[i] - a[i]) * weight;
}

inline void LerpColumnsFloat(float* out, const float* row, const int32_t* at, const float* weights,
                             int32_t pixels) {
    for (int32_t i = 0; i < pixels; i++) {
        const float* p = row + int64_t{at[i]} * 4;
        for (int c = 0; c < 4; c++) out[4 * i + c] = p[c] + (p[c + 4] - p[c]) * weights[i];
    }
}

inline void CubicRowsFloat(float* out, const float* const rows[4], int32_t channels, const float weights[4]) {
    const float *a = rows[0], *b = rows[1], *c = rows[2], *d = rows[3];
    const float wa = weights[0], wb = weights[1], wc = weights[2], wd = weights[3];
    for (int32_t i = 0; i < channels; i++) out[i] = a[i] * wa + b[i] * wb + (c[i] * wc + d[i] * wd);
}

inline void CubicColumnsFloat(float* out, const float* row, const int32_t* at, const float* weights,
                              int32_t pixels) {
    for (int32_t i = 0; i < pixels; i++) {
        const float *p = row + int64_t{at[i]} * 4, *w = weights + int64_t{i} * 4;
        for (int c = 0; c < 4; c++)
            out[4 * i + c] = p[c] * w[0] + p[c + 4] * w[1] + (p[c + 8] * w[2] + p[c + 12] * w[3]);
    }
}

inline void Premultiply8(uint8_t* pixels, int32_t count) {
    for (int32_t i = 0; i < count; i++) {
        uint8_t* p = pixels + int64_t{i} * 4;
        for (int c = 0; c < 3; c++) p[c] = static_cast<uint8_t>(p[c] * p[3] / 255);
    }
}

inline void PremultiplyFloat(float* pixels, int32_t count) {
    for (int32_t i = 0; i < count; i++)
        for (int c = 0; c < 3; c++) pixels[4 * i + c] *= pixels[4 * i + 3];
}

inline void SwapRedBlue(uint8_t* pixels, int32_t count) {
    for (int32_t i = 0; i < count; i++) {
        uint8_t* p = pixels + int64_t{i} * 4;
        const uint8_t first = p[0];
        p[0] = p[2];
        p[2] = first;
    }
}

inline void Desaturate8(uint8_t* pixels, int32_t count, int32_t amount) {
    for (int32_t i = 0; i < count; i++) {
        uint8_t* p = pixels + int64_t{i} * 4;
        const int32_t gray = (7471 * p[0] + 38470 * p[1] + 19595 * p[2] + 32768) >> 16;
        for (int c = 0; c < 3; c++)
            p[c] = static_cast<uint8_t>((p[c] * (256 - amount) + gray * amount + 128) >> 8);
    }
}

inline void DesaturateFloat(float* pixels, int32_t count, float amount) {
    for (int32_t i = 0; i < count; i++) {
        float* p = pixels + int64_t{i} * 4;
        const float gray = 0.299f * p[0] + 0.587f * p[1] + 0.114f * p[2];
        for (int c = 0; c < 3; c++) p[c] += (gray - p[c]) * amount;
    }
}

inline void CrossFade8(uint8_t* out, const uint8_t* a, const uint8_t* b, int32_t channels, int32_t weight) {
    const auto to = static_cast<uint16_t>(weight), from = static_cast<uint16_t>(256 - weight);
    for (int32_t i = 0; i < channels; i++)
        out[i] = static_cast<uint8_t>((a[i] * from + b[i] * to + 128) >> 8);
}

inline void CrossFadeFloat(float* out, const float* a, const float* b, int32_t channels, float weight) {
    for (int32_t i = 0; i < channels; i++) out[i] = a[i] * (1.0f - weight) + b[i] * weight;
}

/// What the levels have in common.
constexpr void AddSimpleLoops(ImageRows& rows) {
    rows.lerpRowsFloat = LerpRowsFloat;
    rows.lerpColumnsFloat = LerpColumnsFloat;
    rows.cubicRowsFloat = CubicRowsFloat;
    rows.cubicColumnsFloat = CubicColumnsFloat;
    rows.premultiply8 = Premultiply8;
    rows.premultiplyFloat = PremultiplyFloat;
    rows.swapRedBlue = SwapRedBlue;
    rows.desaturate8 = Desaturate8;
    rows.desaturateFloat = DesaturateFloat;
    rows.crossFade8 = CrossFade8;
    rows.crossFadeFloat = CrossFadeFloat;
}

}  // namespace

}  // namespace tarn
