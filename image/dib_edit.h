// Changes of an image in its place, for every type of pixels. Colours are 0xAARRGGBB, straight. [any-thread]
#pragma once

#include "image/dib.h"

inline constexpr uint32_t DIB_FLIP_VERTICAL = 1;
inline constexpr uint32_t DIB_FLIP_HORIZONTAL = 2;

extern "C" {
/// Chooses the forms of the row routines for this processor, which the first use does otherwise. S_OK.
QM_API HRESULT QmDib_Initialize();

/// All pixels, or those of a rectangle, which is clipped; null is all. With a palette the nearest colour is
/// taken. In video, pixels that share chroma with some outside change a little.
QM_API HRESULT QmDibSet(const BITMAPINFOHEADER* header, void* bits, int32_t stride, uint32_t color);
QM_API HRESULT QmDibFillRect(const BITMAPINFOHEADER* header, void* bits, int32_t stride, const RECT* rect,
                             uint32_t color);
/// Moves all channels towards a colour by amount / 256, 0..256.
QM_API HRESULT QmDibFadeToColor(const BITMAPINFOHEADER* header, void* bits, int32_t stride, const RECT* rect,
                                uint32_t color, int32_t amount);
/// DIB_FLIP_
QM_API HRESULT QmDibFlip(const BITMAPINFOHEADER* header, void* bits, int32_t stride, uint32_t flags);
/// Exchanges red and blue of QMPIXEL_RGB24, of the 8-bit RGBA types, RGBA64 and RGBAFLOAT; E_NOTIMPL for
/// others.
QM_API HRESULT QmDibSwapRB(const BITMAPINFOHEADER* header, void* bits, int32_t stride);

/// E_INVALIDARG outside.
QM_API HRESULT QmDibGetPixel(const BITMAPINFOHEADER* header, const void* bits, int32_t stride, int32_t x,
                             int32_t y, uint32_t* color);
QM_API HRESULT QmDibSetPixel(const BITMAPINFOHEADER* header, void* bits, int32_t stride, int32_t x, int32_t y,
                             uint32_t color);
}
