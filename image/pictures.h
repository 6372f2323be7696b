// PNG (ISO/IEC 15948) and JPEG (ITU-T T.81) to images and back. [any-thread]
#pragma once

#include "image/dib.h"

/// Pictures with more pixels are refused before they take memory.
inline constexpr uint64_t PICTURE_MAX_PIXELS = uint64_t{1} << 28;

extern "C" {
/// Size and type of a picture in memory, as a header; nothing of its pixels is read. QM_E_UNKNOWN_FORMAT for
/// what is neither format, QM_E_TOO_LARGE.
QM_API HRESULT QmDibPictureInfo(BITMAPINFOHEADER* header, const void* bytes, size_t size);
/// A new image, for QmDibFree, with all that the picture holds: 16-bit channels, grey and palettes stay what
/// they are; a palette with transparent entries becomes QMPIXEL_RGBA32. Fails as above, for damaged pictures
/// too, and with E_OUTOFMEMORY; *dib is null then.
QM_API HRESULT QmDibFromPng(BITMAPINFOHEADER** dib, const void* bytes, size_t size);
QM_API HRESULT QmDibFromJpeg(BITMAPINFOHEADER** dib, const void* bytes, size_t size);
/// By the first bytes.
QM_API HRESULT QmDibFromPicture(BITMAPINFOHEADER** dib, const void* bytes, size_t size);

/// A picture in a block for MemFree. PNG keeps grey and palettes, and takes 16 bits a channel where the image
/// has more than 8; alpha is straight. JPEG is grey or colour, quality 1..100. A failure leaves *bytes null.
QM_API HRESULT QmDibToPng(const BITMAPINFOHEADER* header, const void* bits, int32_t stride, void** bytes,
                          size_t* size);
QM_API HRESULT QmDibToJpeg(const BITMAPINFOHEADER* header, const void* bits, int32_t stride, int32_t quality,
                           void** bytes, size_t* size);
}
