// Copies of images, from every type to every type.
#pragma once

#include "image/dib.h"

/// Between colours and video: BT.709 instead of BT.601, and samples that use their whole range instead of
/// video's.
inline constexpr uint32_t DIB_COPY_BT709 = 1;
inline constexpr uint32_t DIB_COPY_FULL_RANGE = 2;

extern "C" {
/// All of an image into another of the same width and height. Between types with and without a palette the
/// nearest colour of the destination's table is taken; values are rounded to nearest; where a type has no
/// alpha, it is opaque and alpha is dropped. Float values are cut to 0..1 on their way to others, and what is
/// not a number is 0. Chroma that pixels share is averaged on the way in and repeated on the way out.
/// E_POINTER, E_INVALIDARG for what is no image, images of different size or an empty palette, E_OUTOFMEMORY.
/// The images must not overlap. [any-thread]
QM_API HRESULT QmDibCopy(const BITMAPINFOHEADER* dstHeader, void* dstBits, int32_t dstStride,
                         const BITMAPINFOHEADER* srcHeader, const void* srcBits, int32_t srcStride,
                         uint32_t flags);

/// One row as 0xAARRGGBB, straight; y counts from the top. Fails as above, and E_INVALIDARG outside.
/// [any-thread]
QM_API HRESULT QmDibReadRow(const BITMAPINFOHEADER* header, const void* bits, int32_t stride, int32_t y,
                            uint32_t* pixels);
}
