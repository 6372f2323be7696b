// The work on one row of pixels, in a form for each level of the processor. All forms give the same bits as
// the plain one. Pixels of 4 bytes are blue, green, red, alpha; those of 16 are floats with alpha last.
#pragma once

#include "platform/types.h"

namespace tarn {

struct YuvMatrix;

inline constexpr int32_t FULL_WEIGHT = 16384;
inline constexpr int32_t BLEND_MODES = 13;
inline constexpr int32_t LERP_ONE = 32768;

/// From 8-bit video to 8-bit colours: terms of 6 fractional bits. That of luma is cut, the others are
/// rounded.
struct YuvFixed {
    int16_t lumaOffset;                   ///< with the half that rounds the sum
    uint16_t luma;                        ///< of 257 times the sample, in units of 1/65536
    int16_t redV, greenU, greenV, blueU;  ///< of 256 times the sample, in units of 1/32768
    static YuvFixed From(const YuvMatrix& matrix);
};

struct ImageRows {
    /// d = d blended with s; weight 0..16384.
    using Blend = void (*)(uint8_t* d, const uint8_t* s, int32_t pixels, int32_t weight);
    Blend blend8[BLEND_MODES], blendFloat[BLEND_MODES];

    /// Two rows of channels to values of 7 fractional bits; weight of b below LERP_ONE.
    void (*lerpRows)(int16_t* out, const uint8_t* a, const uint8_t* b, int32_t channels, int16_t weight);
    /// Pixels at[i] and at[i] + 1 of such a row to pixel i; `weights` has four times that of the second.
    void (*lerpColumns)(uint8_t* out, const int16_t* row, const int32_t* at, const int16_t* weights,
                        int32_t pixels);
    /// Four rows, weights in units of 1/16384, to values of 6 fractional bits.
    void (*cubicRows)(int16_t* out, const uint8_t* const rows[4], int32_t channels, const int16_t weights[4]);
    /// Four pixels from at[i] on, with four weights each.
    void (*cubicColumns)(uint8_t* out, const int16_t* row, const int32_t* at, const int16_t* weights,
                         int32_t pixels);

    /// The same for pixels of floats.
    void (*lerpRowsFloat)(float* out, const float* a, const float* b, int32_t channels, float weight);
    void (*lerpColumnsFloat)(float* out, const float* row, const int32_t* at, const float* weights,
                             int32_t pixels);
    void (*cubicRowsFloat)(float* out, const float* const rows[4], int32_t channels, const float weights[4]);
    void (*cubicColumnsFloat)(float* out, const float* row, const int32_t* at, const float* weights,
                              int32_t pixels);

    /// 8-bit video whose chroma two pixels share, with U and V in planes or in turns from `u`.
    using FromVideo = void (*)(uint8_t* out, const uint8_t* y, const uint8_t* u, const uint8_t* v,
                               int32_t pixels, const YuvFixed& fixed);
    FromVideo planarToBgra, semiPlanarToBgra;

    /// c * a / 255, cut; c * a.
    void (*premultiply8)(uint8_t* pixels, int32_t count);
    void (*premultiplyFloat)(float* pixels, int32_t count);
    void (*swapRedBlue)(uint8_t* pixels, int32_t count);
    /// Towards grey, amount 0..256; alpha stays.
    void (*desaturate8)(uint8_t* pixels, int32_t count, int32_t amount);
    void (*desaturateFloat)(float* pixels, int32_t count, float amount);
    /// (a * (256 - weight) + b * weight + 128) / 256 on all channels.
    void (*crossFade8)(uint8_t* out, const uint8_t* a, const uint8_t* b, int32_t channels, int32_t weight);
    void (*crossFadeFloat)(float* out, const float* a, const float* b, int32_t channels, float weight);
};

/// Those of the processor, less what its settings forbid. [any-thread]
QM_API const ImageRows& BestRows();

extern const ImageRows IMAGE_ROWS_PLAIN;
#ifdef __x86_64__
extern const ImageRows IMAGE_ROWS_AVX2, IMAGE_ROWS_AVX512;
#endif

}  // namespace tarn
