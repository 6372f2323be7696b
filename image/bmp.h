// Images of every type in files, as the platform's bitmaps: a file header of 14 bytes, the image's head with
// its table or masks, the pixels. [any-thread]
#pragma once

#include "image/dib.h"

extern "C" {
/// A new image, for QmDibFree. QM_E_UNKNOWN_FORMAT for what is no bitmap of a known type or is damaged,
/// QM_E_TOO_LARGE, E_OUTOFMEMORY; *dib is null then.
QM_API HRESULT QmDibFromBmp(BITMAPINFOHEADER** dib, const void* bytes, size_t size);
/// A block for MemFree. A failure leaves *bytes null.
QM_API HRESULT QmDibToBmp(const BITMAPINFOHEADER* header, const void* bits, int32_t stride, void** bytes,
                          size_t* size);
}
