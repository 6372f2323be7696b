#include "image/scale.h"

#include "image/rows/resample.h"

#include <algorithm>
#include <cstring>

using namespace tarn;

namespace {

/// Rows as they are, of the pixels that the rectangles cover.
void CopyCovered(const QMSUBPIXELPARAM& p, uint32_t bytesPerPixel) {
    const ResampleAxis x(p.dst.left, p.dst.right, p.src.left, p.src.right),
        y(p.dst.top, p.dst.bottom, p.src.top, p.src.bottom);
    const int32_t columns = std::min(x.count, x.srcLast - x.srcFirst + 1);
    const int32_t rows = std::min(y.count, y.srcLast - y.srcFirst + 1);
    const int64_t bytes = bytesPerPixel;
    for (int32_t i = 0; i < rows; i++)
        std::memcpy(p.dstBits + int64_t{p.dstStride} * (y.first + i) + x.first * bytes,
                    p.srcBits + int64_t{p.srcStride} * (y.srcFirst + i) + x.srcFirst * bytes,
                    static_cast<size_t>(columns * bytes));
}

HRESULT Scale(ResampleFilter filter, void* dstBits, const SIZE* dstSize, int32_t dstStride,
              const RECT* dstRect, const void* srcBits, const SIZE* srcSize, int32_t srcStride,
              const RECT* srcRect, uint32_t bytesPerPixel) {
    if (!dstBits || !dstSize || !srcBits || !srcSize) return E_POINTER;
    if (!ArePixels(dstBits, dstStride, bytesPerPixel) || !ArePixels(srcBits, srcStride, bytesPerPixel))
        return E_INVALIDARG;
    QMSUBPIXELPARAM param;
    if (!QmPrepareSubpixelParam(&param, dstBits, dstSize, dstStride, dstRect, srcBits, srcSize, srcStride,
                                srcRect))
        return S_OK;
    if (param.scaleX == Q14_ONE && param.scaleY == Q14_ONE) {
        CopyCovered(param, bytesPerPixel);
        return S_OK;
    }
    return Resample(param, filter, bytesPerPixel, nullptr);
}

HRESULT ScaleWhole(ResampleFilter filter, void* dstBits, const SIZE* dstSize, int32_t dstStride,
                   const RECT* dstRect, const void* srcBits, const SIZE* srcSize, int32_t srcStride,
                   const RECT* srcRect, uint32_t bytesPerPixel) {
    RECT dst, src;
    if ((dstRect && !ShiftedUp(dstRect, dst)) || (srcRect && !ShiftedUp(srcRect, src))) return E_INVALIDARG;
    return Scale(filter, dstBits, dstSize, dstStride, dstRect ? &dst : nullptr, srcBits, srcSize, srcStride,
                 srcRect ? &src : nullptr, bytesPerPixel);
}

}  // namespace

HRESULT QmDibScale_Bilinear(void* dstBits, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                            const void* srcBits, const SIZE* srcSize, int32_t srcStride, const RECT* srcRect,
                            uint32_t bytesPerPixel) {
    return ScaleWhole(ResampleFilter::Bilinear, dstBits, dstSize, dstStride, dstRect, srcBits, srcSize,
                      srcStride, srcRect, bytesPerPixel);
}

HRESULT QmDibScale_BiCubic(void* dstBits, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                           const void* srcBits, const SIZE* srcSize, int32_t srcStride, const RECT* srcRect,
                           uint32_t bytesPerPixel) {
    return ScaleWhole(ResampleFilter::Bicubic, dstBits, dstSize, dstStride, dstRect, srcBits, srcSize,
                      srcStride, srcRect, bytesPerPixel);
}

HRESULT QmDibScale_BilinearSubPixel(void* dstBits, const SIZE* dstSize, int32_t dstStride,
                                    const RECT* dstRect, const void* srcBits, const SIZE* srcSize,
                                    int32_t srcStride, const RECT* srcRect, uint32_t bytesPerPixel) {
    return Scale(ResampleFilter::Bilinear, dstBits, dstSize, dstStride, dstRect, srcBits, srcSize, srcStride,
                 srcRect, bytesPerPixel);
}

HRESULT QmDibScale_BiCubicSubPixel(void* dstBits, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                                   const void* srcBits, const SIZE* srcSize, int32_t srcStride,
                                   const RECT* srcRect, uint32_t bytesPerPixel) {
    return Scale(ResampleFilter::Bicubic, dstBits, dstSize, dstStride, dstRect, srcBits, srcSize, srcStride,
                 srcRect, bytesPerPixel);
}
