// Laying one image over another, with a blend, and with rectangles that may lie between pixels.
//
// Sub-pixel coordinates, Q14, are in units of 1/16384 pixel. Images have pixels of 4 bytes with alpha last,
// or of 16, four floats with alpha last; colours are premultiplied where a mode says so. Functions that take
// pixels, a size and a stride count rows from the first, and the stride may be negative. A null rectangle is
// the whole image. What lies outside of an image is left out of both rectangles. Source and destination must
// not overlap. [any-thread]
#pragma once

#include "image/pixel_type.h"

inline constexpr int32_t Q14_ONE = 16384;

enum QMCOMPOSITEMODE : int32_t {
    COMPOSITE_CUSTOM = -1,
    COMPOSITE_REPLACE = 0,
    COMPOSITE_ADD = 1,
    COMPOSITE_SUBTRACT = 2,
    COMPOSITE_MULTIPLY = 3,
    COMPOSITE_OVER = 4,  ///< of a premultiplied source; 5 is the same
    COMPOSITE_LAST = 12,
};

/// Blends so many pixels of `src` into `dst`. weight: of the pixels' coverage, 16384 where it is full.
/// Several threads may call it at once, and it must not throw.
using QMDIBBLENDPROC = void (*)(void* context, void* dst, const void* src, int32_t pixels, int32_t weight,
                                uint32_t bytesPerPixel);

struct QMCOMPOSITEPARAMS {
    uint32_t cbSize;
    int32_t mode;  ///< QMCOMPOSITEMODE
    struct {
        QMDIBBLENDPROC blend;
        void* context;
    } custom;  ///< for COMPOSITE_CUSTOM
};

/// The rectangles of QmDibComposite are Q14.
inline constexpr uint32_t COMPOSITE_SUBPIXEL = 0x1000000;

/// What is left of two rectangles, all Q14.
struct QMSUBPIXELPARAM {
    uint8_t* dstBits;
    const uint8_t* srcBits;
    SIZE dstSize, srcSize;  ///< pixels
    int32_t dstStride, srcStride;
    RECT dst, src;
    int64_t scaleX, scaleY;  ///< source to destination, of the rectangles as they were asked for
    int64_t stepX, stepY;    ///< from one inner column or row to the next, 0 where there is none
};

extern "C" {
/// The images must both be of QMPIXEL_RGBA32 and its ALT, or both QMPIXEL_RGBAFLOAT. Rectangles of different
/// size, or off the pixels' grid, are resampled bilinearly; pixels that a rectangle covers in part are
/// blended by that part. E_POINTER; E_INVALIDARG for other types, a rectangle that Q14 cannot hold, and a
/// custom mode without a routine; E_NOTIMPL for a mode that there is not; E_OUTOFMEMORY.
QM_API HRESULT QmDibComposite(const BITMAPINFOHEADER* dstHeader, void* dstBits, const RECT* dstRect,
                              int32_t dstStride, const BITMAPINFOHEADER* srcHeader, const void* srcBits,
                              const RECT* srcRect, int32_t srcStride, const QMCOMPOSITEPARAMS* params,
                              uint32_t flags);
/// The same on pixels, with Q14 rectangles; bytesPerPixel 4 or 16.
QM_API HRESULT QmDibCompositeSP(void* dstBits, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                                const void* srcBits, const SIZE* srcSize, int32_t srcStride,
                                const RECT* srcRect, uint32_t bytesPerPixel, const QMCOMPOSITEPARAMS* params);
/// Pixel on pixel, with rectangles of whole pixels; of those of different size the common part.
QM_API HRESULT QmDibCompositeUnscaled(void* dstBits, const SIZE* dstSize, int32_t dstStride,
                                      const RECT* dstRect, const void* srcBits, const SIZE* srcSize,
                                      int32_t srcStride, const RECT* srcRect, uint32_t bytesPerPixel,
                                      const QMCOMPOSITEPARAMS* params);

/// Clips the rectangles, each clip carried over to the other. 0 when nothing is to be drawn: less than a
/// pixel of the source, or less than 1/16 pixel of the destination in either direction.
QM_API int32_t QmPrepareSubpixelParam(QMSUBPIXELPARAM* param, void* dstBits, const SIZE* dstSize,
                                      int32_t dstStride, const RECT* dstRect, const void* srcBits,
                                      const SIZE* srcSize, int32_t srcStride, const RECT* srcRect);
/// The same for whole pixels that are not scaled. 0 when nothing is left.
QM_API int32_t QmDibPrepareRects(RECT* dst, RECT* src, SIZE dstSize, SIZE srcSize);

/// Multiplies the colours with alpha, in whole pixels of a rectangle. 8-bit products are cut to whole
/// numbers.
QM_API HRESULT QmDibPremultiply(void* bits, const SIZE* size, int32_t stride, const RECT* rect,
                                uint32_t bytesPerPixel);
}
