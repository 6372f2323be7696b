// tQMSKINBMP: an image of a skin as 32-bit pixels, read from PNG (ISO/IEC 15948) or JPEG (ITU-T T.81).
// The record owns its pixels; QmSkin_Bmp_Free gives them back. [any-thread]
#pragma once

#include "platform/types.h"

struct tQMSKINBMP {
    int32_t width, height;
    uint32_t stride;   ///< pixels a row
    uint32_t flags;    ///< SKINBMP_
    uint32_t* pixels;  ///< 0xAARRGGBB from the top, colours multiplied with alpha; null when empty
};
inline constexpr uint32_t SKINBMP_ALPHA = 1;  ///< some pixel is not opaque

/// Images beyond this are refused before they take memory.
inline constexpr int32_t kSkinBmpMaxSide = 16384;
inline constexpr int64_t kSkinBmpMaxPixels = int64_t{1} << 26;

extern "C" {
/// Reads an image from memory. On failure the record is empty: QM_E_UNKNOWN_FORMAT for bytes that are neither
/// or are damaged, QM_E_TOO_LARGE, E_OUTOFMEMORY.
QM_API HRESULT QmSkin_Bmp_Load(tQMSKINBMP* bmp, const void* bytes, size_t size);
/// From a file: QM_E_OPEN when there is none.
QM_API HRESULT QmSkin_Bmp_GetFromFile(tQMSKINBMP* bmp, const char16_t* file);
/// A record of its own with the same pixels. `bmp` must not hold any.
QM_API HRESULT QmSkin_Bmp_Copy(tQMSKINBMP* bmp, const tQMSKINBMP* source);
/// Empties the record; one that is empty or null is fine.
QM_API void QmSkin_Bmp_Free(tQMSKINBMP* bmp);

/// Moves every pixel towards a colour by weight / 255; alpha stays.
QM_API void QmSkin_TintDib(tQMSKINBMP* bmp, COLORREF color, uint32_t weight);
/// Gives every pixel hue and saturation of a colour; its own lightness and alpha stay.
QM_API void QmSkin_Colorize(tQMSKINBMP* bmp, COLORREF color);
}
