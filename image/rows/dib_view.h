// An image as its operations see it: rows from the picture's top. [any-thread]
#pragma once

#include "image/dib.h"

namespace tarn {

struct DibView {
    QMPIXELTYPE type = QMPIXEL_UNKNOWN;
    int32_t width = 0, height = 0;
    uint8_t* top = nullptr;
    ptrdiff_t stride = 0;  ///< to the row below
    const BITMAPINFOHEADER* header = nullptr;

    uint8_t* Row(int32_t y) const { return top + stride * y; }
    SIZE Size() const { return {width, height}; }
    RECT Whole() const { return {0, 0, width, height}; }
};

/// Bytes of a row without padding. Video has none that hold its width alone: 0.
uint64_t DibRowBytes(QMPIXELTYPE type, int32_t width);

/// E_POINTER for no header, E_INVALIDARG for one that tells no image, or for a stride that is too short for a
/// row. Video takes no stride but its own.
HRESULT ViewDib(const BITMAPINFOHEADER* header, const void* bits, int32_t stride, DibView& view);

}  // namespace tarn
