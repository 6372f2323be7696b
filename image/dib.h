// Images in one block: a BITMAPINFOHEADER, its colour table or masks, and the pixels behind them.
//
// Wherever an operation of the image library takes a header, the pixels and a stride, null pixels stand for
// those behind the header, and a stride of 0 for the image's own. A stride that is given is the distance of
// rows in memory. Points and rectangles count from the picture's top left corner, however its rows lie.
#pragma once

#include "image/pixel_type.h"

#include <memory>

/// Sides beyond this are refused everywhere.
inline constexpr int32_t DIB_MAX_SIDE = 1 << 28;

extern "C" {
/// Fills a header; all outputs may be null but not all of them. `headerBytes` gets what stands before the
/// pixels: the head, and the colour table or the masks; `imageBytes` those of the pixels. colorCount below 0
/// is 0; if none are given and there is no palette, types of 8 bits and less get a table of (1 << bits) - 1
/// colours. E_INVALIDARG for an unknown type, no width or height, and where the size does not fit 32 bits.
/// [any-thread]
QM_API HRESULT QmDibInfo(uint32_t* headerBytes, uint32_t* imageBytes, BITMAPINFOHEADER* header,
                         QMPIXELTYPE type, int32_t width, int32_t height, const RGBQUAD* palette,
                         int32_t colorCount);

/// Blocks are zero-filled whether or not this is asked.
inline constexpr int32_t DIB_ALLOC_CLEAR = 1;
/// Head, table and pixels in one block, for QmDibFree; the table is copied in when given. A negative `flags`
/// leaves the block without its tag for reports of leaks, which is made of `tag`, or of the caller's address
/// when that is 0. E_INVALIDARG as above, E_OUTOFMEMORY. [any-thread]
QM_API HRESULT QmDibAlloc(BITMAPINFOHEADER** dib, QMPIXELTYPE type, int32_t width, int32_t height,
                          const RGBQUAD* palette, int32_t colorCount, int32_t flags, uintptr_t tag);
/// Null is fine. [any-thread]
QM_API void QmDibFree(BITMAPINFOHEADER* dib);

/// The first byte behind head and table or masks. [any-thread]
QM_API void* QmDibBits(const BITMAPINFOHEADER* header);
/// Bytes from row to row: a multiple of 4, and for video the row of the first plane. 0 for an unknown type or
/// where it does not fit. [any-thread]
QM_API uint32_t QmDibStride(const BITMAPINFOHEADER* header);

/// Blocks of QmDibAlloc that live, and the bytes of their pixels. [any-thread]
QM_API void QmDibGetUsage(uint32_t* blocks, uint64_t* bytes);
/// "QmDA:" and the tag of a living block; empty for one without. [any-thread]
QM_API const char* QmDibGetTag(const BITMAPINFOHEADER* dib);
}

namespace tarn {

struct FreeDib {
    void operator()(BITMAPINFOHEADER* dib) const { QmDibFree(dib); }
};
using OwnedDib = std::unique_ptr<BITMAPINFOHEADER, FreeDib>;

}  // namespace tarn
