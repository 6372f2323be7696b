// The rows of a destination, made from a source one by one. Internal to the library.
#pragma once

#include "image/composite.h"

namespace tarn {

/// Takes the pixels of a row of the destination that are covered alike.
struct RowSink {
    virtual void Put(uint8_t* dst, const uint8_t* pixels, int32_t count, int32_t weight) const noexcept = 0;

protected:
    ~RowSink() = default;
};

enum class ResampleFilter : uint8_t { Bilinear, Bicubic };

/// Source position of a destination pixel, counted from the first pixel's centre, in Q14, and what of it is
/// covered.
struct ResampleAxis {
    ResampleAxis(int32_t dstLow, int32_t dstHigh, int32_t srcLow, int32_t srcHigh);

    int32_t At(int32_t i) const;        ///< of pixel first + i
    int32_t Coverage(int32_t i) const;  ///< 0..16384
    int32_t first, count;               ///< destination pixels
    int32_t srcFirst, srcLast;          ///< source pixels that may be looked at

private:
    int64_t m_dstLow, m_dstHigh, m_srcLow, m_srcHigh;
};

/// The cubic's weights of four pixels for a fraction of Q14; they make 16384.
void CubicWeights(int32_t fraction, int16_t weights[4]);
void CubicWeights(int32_t fraction, float weights[4]);

/// Without a sink the pixels take the place of those that the rectangle covers, also in part.
HRESULT Resample(const QMSUBPIXELPARAM& param, ResampleFilter filter, uint32_t bytesPerPixel,
                 const RowSink* sink);

/// Whether these may be pixels of 4 bytes, or of floats that lie as the processor wants them.
bool ArePixels(const void* bits, int32_t stride, uint32_t bytesPerPixel);

/// Rectangles of whole pixels in Q14; null stays null. False where they do not fit.
bool ShiftedUp(const RECT* rect, RECT& up);

}  // namespace tarn
