// Operations on whole images, beside those of composite.h. The images have pixels of QMPIXEL_RGBA32 and its
// ALT, or all of QMPIXEL_RGBAFLOAT, are of one size unless said otherwise, and do not overlap. E_POINTER;
// E_INVALIDARG for other types, sizes and amounts; E_OUTOFMEMORY. [any-thread]
#pragma once

#include "image/dib.h"

/// An image with its pixels; null bits and stride 0 as everywhere.
struct QMDIBREF {
    const BITMAPINFOHEADER* header;
    void* bits;
    int32_t stride;
};

inline constexpr uint32_t DIB_ROTATE_CLOCKWISE = 0;
inline constexpr uint32_t DIB_ROTATE_COUNTERCLOCKWISE = 1;
/// A blur reaches no farther.
inline constexpr int32_t DIB_MAX_BLUR = 1024;

extern "C" {
/// Premultiplied: src over dst, and dst over src.
QM_API HRESULT QmDibOver(const QMDIBREF* dst, const QMDIBREF* src);
QM_API HRESULT QmDibUnder(const QMDIBREF* dst, const QMDIBREF* src);
/// Takes from dst what src covers: dst * (1 - alpha of src), alpha too.
QM_API HRESULT QmDibCutout(const QMDIBREF* dst, const QMDIBREF* src);
/// a * (256 - weight) / 256 + b * weight / 256, weight 0..256.
QM_API HRESULT QmDibWeightedCrossFade(const QMDIBREF* dst, const QMDIBREF* a, const QMDIBREF* b,
                                      int32_t weight);
/// Each row with the one below, half of each; the lowest with the one above. So two fields become one
/// picture.
QM_API HRESULT QmDibFieldBlend(const QMDIBREF* dst, const QMDIBREF* src);
/// The rows of one field: 0 those of even number from the top, 1 the others.
QM_API HRESULT QmDibCopyInterlace(const QMDIBREF* dst, const QMDIBREF* src, uint32_t field);
/// The mean of all pixels that lie up to so far away, 0..DIB_MAX_BLUR; the outermost pixels go on for ever.
QM_API HRESULT QmDibBlur(const QMDIBREF* dst, const QMDIBREF* src, int32_t across, int32_t down);
/// Towards the brightness of each colour, amount 0..256.
QM_API HRESULT QmDibDesaturate(const QMDIBREF* dib, int32_t amount);

/// Both of one type, any whose pixels take whole bytes; by 90 degrees dst has src's height as its width.
/// direction: DIB_ROTATE_
QM_API HRESULT QmDibRotate90(const QMDIBREF* dst, const QMDIBREF* src, uint32_t direction);
QM_API HRESULT QmDibRotate180(const QMDIBREF* dst, const QMDIBREF* src);
}
