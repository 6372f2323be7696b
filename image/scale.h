// Scaling of images with pixels of 4 bytes or of four floats.
//
// The centres of the outermost pixels of both rectangles lie on each other, and those between are spread
// evenly; over two pixels and less the rectangles' edges do. Bilinear weighs the nearest two pixels each way,
// bicubic the nearest four with the cubic of a = -1/2; neither averages more of the source when it makes
// smaller. Pixels that the destination rectangle covers in part are written whole. All else is as in
// composite.h.
#pragma once

#include "image/composite.h"

extern "C" {
/// Rectangles of whole pixels.
QM_API HRESULT QmDibScale_Bilinear(void* dstBits, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                                   const void* srcBits, const SIZE* srcSize, int32_t srcStride,
                                   const RECT* srcRect, uint32_t bytesPerPixel);
QM_API HRESULT QmDibScale_BiCubic(void* dstBits, const SIZE* dstSize, int32_t dstStride, const RECT* dstRect,
                                  const void* srcBits, const SIZE* srcSize, int32_t srcStride,
                                  const RECT* srcRect, uint32_t bytesPerPixel);
/// Q14 rectangles.
QM_API HRESULT QmDibScale_BilinearSubPixel(void* dstBits, const SIZE* dstSize, int32_t dstStride,
                                           const RECT* dstRect, const void* srcBits, const SIZE* srcSize,
                                           int32_t srcStride, const RECT* srcRect, uint32_t bytesPerPixel);
QM_API HRESULT QmDibScale_BiCubicSubPixel(void* dstBits, const SIZE* dstSize, int32_t dstStride,
                                          const RECT* dstRect, const void* srcBits, const SIZE* srcSize,
                                          int32_t srcStride, const RECT* srcRect, uint32_t bytesPerPixel);
}
