#include "image/dib_copy.h"

#include "image/rows/bands.h"
#include "image/rows/dib_view.h"
#include "image/rows/image_rows.h"
#include "image/rows/row_access.h"
#include "platform/guarded.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

using namespace tarn;

namespace {

/// A band's rows: two of luma and chroma, one of colours.
struct Scratch {
    std::vector<PixelYuv> yuv;
    std::vector<Pixel64> colors;
};

bool AreAlike(const DibView& a, const RowColors& ac, const DibView& b, const RowColors& bc) {
    if (a.type != b.type) return false;
    if (std::memcmp(ac.shift, bc.shift, sizeof ac.shift) != 0) return false;
    return ac.colors == bc.colors &&
           (ac.colors == 0 || std::memcmp(ac.palette, bc.palette, ac.colors * sizeof(RGBQUAD)) == 0);
}

void CopyBytes(const DibView& dst, const DibView& src) {
    if (IsVideo(dst.type)) {
        std::memcpy(dst.top, src.top, PlacePlanes(*FindVideoLayout(dst.type), dst.width, dst.height).total);
        return;
    }
    const size_t bytes = DibRowBytes(dst.type, dst.width);
    const int32_t bands = BandCount(dst.height, bytes * static_cast<uint64_t>(dst.height));
    ForBands(bands, dst.height, 1, [&](int32_t, int32_t from, int32_t to) {
        for (int32_t y = from; y < to; y++) std::memcpy(dst.Row(y), src.Row(y), bytes);
    });
}

/// 8-bit video that shares chroma between two pixels goes straight to 8-bit colours. False for other pairs.
bool CopyVideoFast(const DibView& dst, const DibView& src, const RowAccess& srcEnd,
                   const RowColors& dstColors, uint32_t flags) {
    const VideoLayout* layout = FindVideoLayout(src.type);
    const bool isByteColor =
        dst.type == QMPIXEL_RGBA32_ALT ||
        (dst.type == QMPIXEL_RGBA32 && dstColors.shift[0] == 16 && dstColors.shift[2] == 0);
    if (!layout || !isByteColor || layout->depth != 8 || layout->chromaX != 1 ||
        (layout->kind != VideoKind::Planar && layout->kind != VideoKind::SemiPlanar))
        return false;
    const YuvFixed fixed = YuvFixed::From(YuvMatrix::For(flags, 8));
    const ImageRows& rows = BestRows();
    const auto convert = layout->kind == VideoKind::Planar ? rows.planarToBgra : rows.semiPlanarToBgra;
    const uint64_t bytes = static_cast<uint64_t>(dst.width) * static_cast<uint64_t>(dst.height) * 4;
    ForBands(BandCount(dst.height, bytes), dst.height, 1, [&](int32_t, int32_t from, int32_t to) {
        for (int32_t y = from; y < to; y++)
            convert(dst.Row(y), srcEnd.Video()->Samples(0, y), srcEnd.Video()->Samples(1, y),
                    srcEnd.Video()->Samples(2, y), dst.width, fixed);
    });
    return true;
}

/// The two types that have more in them than 16-bit rows.
bool CopyDeep(const DibView& dst, const DibView& src) {
    const bool toFloat = src.type == QMPIXEL_GRAY32 && dst.type == QMPIXEL_RGBAFLOAT;
    if (!toFloat && !(src.type == QMPIXEL_RGBAFLOAT && dst.type == QMPIXEL_GRAY32)) return false;
    constexpr double MOST = 4294967295.0;
    for (int32_t y = 0; y < dst.height; y++)
        for (int32_t x = 0; x < dst.width; x++) {
            const auto at = static_cast<size_t>(x);
            uint32_t gray = 0;
            float c[4];
            if (toFloat) {
                std::memcpy(&gray, src.Row(y) + at * sizeof gray, sizeof gray);
                c[0] = c[1] = c[2] = static_cast<float>(gray / MOST);
                c[3] = 1.0f;
                std::memcpy(dst.Row(y) + at * sizeof c, c, sizeof c);
            } else {
                std::memcpy(c, src.Row(y) + at * sizeof c, sizeof c);
                const double luma = 0.299 * static_cast<double>(c[0]) + 0.587 * static_cast<double>(c[1]) +
                                    0.114 * static_cast<double>(c[2]);
                gray = static_cast<uint32_t>((luma > 0 ? std::min(luma, 1.0) : 0.0) * MOST + 0.5);
                std::memcpy(dst.Row(y) + at * sizeof gray, &gray, sizeof gray);
            }
        }
    return true;
}

void CopyRows(const DibView& dst, const RowAccess& to, const RowAccess& from, int32_t first, int32_t last,
              Scratch& scratch) {
    const auto width = static_cast<size_t>(dst.width);
    const int32_t step = to.Video() ? to.Video()->RowsAtOnce() : 1;
    for (int32_t y = first; y < last; y += step) {
        const int32_t rows = std::min(step, last - y);
        if (!to.Video()) {
            from.ReadColors(y, scratch.colors.data(), scratch.yuv.data());
            to.WriteColors(y, scratch.colors.data());
            continue;
        }
        for (int32_t r = 0; r < rows; r++) {
            PixelYuv* row = scratch.yuv.data() + width * static_cast<size_t>(r);
            if (from.Video()) {
                from.Video()->Read(y + r, row);
            } else {
                from.ReadColors(y + r, scratch.colors.data(), nullptr);
                to.Matrix().FromColors(scratch.colors.data(), dst.width, row);
            }
        }
        to.Video()->Write(y, rows, scratch.yuv.data());
    }
}

HRESULT Copy(const DibView& dst, const DibView& src, uint32_t flags) {
    if (dst.width != src.width || dst.height != src.height) return E_INVALIDARG;
    const RowAccess from(src, flags);
    RowAccess to(dst, flags);
    if (AreAlike(dst, to.Colors(), src, from.Colors())) {
        CopyBytes(dst, src);
        return S_OK;
    }
    if (CopyVideoFast(dst, src, from, to.Colors(), flags) || CopyDeep(dst, src)) return S_OK;

    std::unique_ptr<tQMQUANTIZER, FreeQuantizer> quantizer;
    const uint64_t bytes =
        static_cast<uint64_t>(dst.width) * static_cast<uint64_t>(dst.height) * sizeof(Pixel64);
    int32_t bands = BandCount(dst.height, bytes);
    if (HasPalette(dst.type)) {
        HQMQUANTIZER made = nullptr;
        const HRESULT hr =
            QmDibCreateColorQuantizer(&made, to.Colors().palette, static_cast<int32_t>(to.Colors().colors));
        if (Failed(hr)) return hr;
        quantizer.reset(made);
        to.UseQuantizer(made);
        bands = 1;  // it keeps what it found
    }
    const auto width = static_cast<size_t>(dst.width);
    std::vector<Scratch> scratch(static_cast<size_t>(bands));
    for (Scratch& s : scratch) {
        s.yuv.resize(width * 2);
        s.colors.resize(width);
    }
    ForBands(bands, dst.height, to.Video() ? to.Video()->RowsAtOnce() : 1,
             [&](int32_t band, int32_t first, int32_t last) {
                 CopyRows(dst, to, from, first, last, scratch[static_cast<size_t>(band)]);
             });
    return S_OK;
}

}  // namespace

HRESULT QmDibCopy(const BITMAPINFOHEADER* dstHeader, void* dstBits, int32_t dstStride,
                  const BITMAPINFOHEADER* srcHeader, const void* srcBits, int32_t srcStride, uint32_t flags) {
    return Guarded([&]() -> HRESULT {
        DibView dst, src;
        if (const HRESULT hr = ViewDib(dstHeader, dstBits, dstStride, dst); Failed(hr)) return hr;
        if (const HRESULT hr = ViewDib(srcHeader, srcBits, srcStride, src); Failed(hr)) return hr;
        return Copy(dst, src, flags);
    });
}

HRESULT QmDibReadRow(const BITMAPINFOHEADER* header, const void* bits, int32_t stride, int32_t y,
                     uint32_t* pixels) {
    return Guarded([&]() -> HRESULT {
        DibView view;
        if (const HRESULT hr = ViewDib(header, bits, stride, view); Failed(hr)) return hr;
        if (y < 0 || y >= view.height || !pixels) return E_INVALIDARG;
        const auto width = static_cast<size_t>(view.width);
        std::vector<Pixel64> row(width);
        std::vector<PixelYuv> yuv(width);
        RowAccess(view, 0).ReadColors(y, row.data(), yuv.data());
        for (size_t x = 0; x < width; x++)
            pixels[x] = uint32_t{Narrowed(row[x].alpha)} << 24 | uint32_t{Narrowed(row[x].red)} << 16 |
                        uint32_t{Narrowed(row[x].green)} << 8 | Narrowed(row[x].blue);
        return S_OK;
    });
}
