// Colour tables: finding the nearest colour of one, and making one for an image.
#pragma once

#include "image/pixel_type.h"

/// Keeps the colours that were asked for last: one thread at a time.
using HQMQUANTIZER = struct tQMQUANTIZER*;

extern "C" {
/// Copies 1 to 256 colours. E_INVALIDARG for another count or null, E_OUTOFMEMORY.
QM_API HRESULT QmDibCreateColorQuantizer(HQMQUANTIZER* quantizer, const RGBQUAD* palette, int32_t colorCount);
/// Null is fine.
QM_API void QmDibFreeColorQuantizer(HQMQUANTIZER quantizer);
/// Index of the colour with the least sum of squared differences; of equals the first.
QM_API uint32_t QmDibNearestColor(HQMQUANTIZER quantizer, RGBQUAD color);

/// Makes a table of at most *colorCount colours, 1 to 256, that stand for those of the image; *colorCount
/// gets how many it has. An image with no more colours than that has exactly them. E_INVALIDARG,
/// E_OUTOFMEMORY. [any-thread]
QM_API HRESULT QmDibQuantizePalette(const BITMAPINFOHEADER* header, const void* bits, int32_t stride,
                                    RGBQUAD* palette, int32_t* colorCount);
}

namespace tarn {

struct FreeQuantizer {
    void operator()(HQMQUANTIZER quantizer) const { QmDibFreeColorQuantizer(quantizer); }
};

}  // namespace tarn
