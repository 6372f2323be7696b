#include "image/dib_edit.h"

#include "image/composite.h"
#include "image/dib_copy.h"
#include "image/rows/image_rows.h"
#include "image/rows/row_access.h"
#include "platform/guarded.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

using namespace tarn;

namespace {

Pixel64 ColorPixel(uint32_t color) {
    const auto channel = [=](int shift) { return static_cast<uint16_t>((color >> shift & 0xFF) * 257); };
    return {channel(16), channel(8), channel(0), channel(24)};
}

/// Applies change(Pixel64&) to the pixels of a rectangle; what lies outside keeps its bits.
template <class Change>
HRESULT ForPixels(const BITMAPINFOHEADER* header, void* bits, int32_t stride, const RECT* rect,
                  Change change) {
    return Guarded([&]() -> HRESULT {
        DibView view;
        if (const HRESULT hr = ViewDib(header, bits, stride, view); Failed(hr)) return hr;
        RECT area = rect ? *rect : view.Whole(), same = area;
        if (!QmDibPrepareRects(&area, &same, view.Size(), view.Size())) return S_OK;
        RowAccess access(view, 0);
        std::unique_ptr<tQMQUANTIZER, FreeQuantizer> quantizer;
        if (HasPalette(view.type)) {
            HQMQUANTIZER made = nullptr;
            const HRESULT hr = QmDibCreateColorQuantizer(&made, access.Colors().palette,
                                                         static_cast<int32_t>(access.Colors().colors));
            if (Failed(hr)) return hr;
            quantizer.reset(made);
            access.UseQuantizer(made);
        }
        const auto width = static_cast<size_t>(view.width);
        const VideoRows* video = access.Video();
        const int32_t step = video ? video->RowsAtOnce() : 1;
        std::vector<Pixel64> colors(width);
        std::vector<PixelYuv> yuv(video ? width * static_cast<size_t>(step) : 0);
        for (int32_t y = area.top / step * step; y < area.bottom; y += step) {
            if (!video) {
                access.ReadColors(y, colors.data(), nullptr);
                std::for_each(colors.begin() + area.left, colors.begin() + area.right, change);
                access.WriteColors(y, colors.data());
                continue;
            }
            const int32_t rows = std::min(step, view.height - y);
            for (int32_t r = 0; r < rows; r++) {
                PixelYuv* row = yuv.data() + width * static_cast<size_t>(r);
                video->Read(y + r, row);
                if (y + r < area.top || y + r >= area.bottom) continue;
                access.Matrix().ToColors(row + area.left, area.Width(), colors.data());
                std::for_each(colors.begin(), colors.begin() + area.Width(), change);
                access.Matrix().FromColors(colors.data(), area.Width(), row + area.left);
            }
            video->Write(y, rows, yuv.data());
        }
        return S_OK;
    });
}

/// Of 16-bit rows too much would be lost.
HRESULT FadeFloats(const DibView& view, const RECT* rect, uint32_t color, float amount) {
    RECT area = rect ? *rect : view.Whole(), same = area;
    if (!QmDibPrepareRects(&area, &same, view.Size(), view.Size())) return S_OK;
    const auto channel = [=](int shift) { return static_cast<float>(color >> shift & 0xFF) / 255.0f; };
    const float to[4] = {channel(16), channel(8), channel(0), channel(24)};
    for (int32_t y = area.top; y < area.bottom; y++)
        for (int32_t x = area.left; x < area.right; x++) {
            float p[4];
            uint8_t* at = view.Row(y) + static_cast<size_t>(x) * sizeof p;
            std::memcpy(p, at, sizeof p);
            for (int c = 0; c < 4; c++) p[c] += (to[c] - p[c]) * amount;
            std::memcpy(at, p, sizeof p);
        }
    return S_OK;
}

void SwapRows(uint8_t* first, ptrdiff_t stride, int64_t rows, uint64_t bytes) {
    for (int64_t y = 0; y < rows / 2; y++)
        std::swap_ranges(first + stride * y, first + stride * y + bytes, first + stride * (rows - 1 - y));
}

void FlipVideoRows(const DibView& view, const VideoLayout& layout) {
    const VideoPlanes planes = PlacePlanes(layout, view.width, view.height);
    const bool isPlanar = layout.kind == VideoKind::Planar,
               hasChroma = isPlanar || layout.kind == VideoKind::SemiPlanar;
    const int64_t chromaRows = (view.height + (1 << layout.chromaY) - 1) >> layout.chromaY;
    const auto flip = [&](int plane, int64_t rows) {
        SwapRows(view.top + planes.offset[plane], static_cast<ptrdiff_t>(planes.stride[plane]), rows,
                 planes.stride[plane]);
    };
    if (hasChroma) {
        flip(1, chromaRows);
        if (isPlanar) flip(2, chromaRows);
        SwapRows(view.top, static_cast<ptrdiff_t>(planes.stride[0]), view.height, planes.stride[0]);
    } else {
        SwapRows(view.top, static_cast<ptrdiff_t>(planes.stride[0]), view.height, planes.stride[0]);
    }
}

template <size_t BYTES>
void Reverse(uint8_t* row, int32_t pixels) {
    struct Unit {
        uint8_t bytes[BYTES];
    };
    auto* units = reinterpret_cast<Unit*>(row);
    std::reverse(units, units + pixels);
}

void ReverseParts(uint8_t* row, int32_t pixels, uint32_t bits) {
    const auto place = [=](int32_t i) {
        const uint64_t at = static_cast<uint64_t>(i) * bits;
        return std::pair{row + at / 8, static_cast<uint32_t>(8 - bits - at % 8)};
    };
    const uint32_t most = (1u << bits) - 1;
    for (int32_t i = 0, j = pixels - 1; i < j; i++, j--) {
        const auto [a, aShift] = place(i);
        const auto [b, bShift] = place(j);
        const uint32_t difference = (*a >> aShift ^ *b >> bShift) & most;
        *a = static_cast<uint8_t>(*a ^ difference << aShift);
        *b = static_cast<uint8_t>(*b ^ difference << bShift);
    }
}

void ReverseRow(uint8_t* row, int32_t pixels, uint32_t bits) {
    switch (bits) {
    case 8: return Reverse<1>(row, pixels);
    case 16: return Reverse<2>(row, pixels);
    case 24: return Reverse<3>(row, pixels);
    case 32: return Reverse<4>(row, pixels);
    case 64: return Reverse<8>(row, pixels);
    case 128: return Reverse<16>(row, pixels);
    default: return ReverseParts(row, pixels, bits);
    }
}

void ReverseVideo(const DibView& view, const VideoRows& video) {
    const auto width = static_cast<size_t>(view.width);
    std::vector<PixelYuv> rows(width * 2);
    for (int32_t y = 0; y < view.height; y += video.RowsAtOnce()) {
        const int32_t count = std::min(video.RowsAtOnce(), view.height - y);
        for (int32_t r = 0; r < count; r++) {
            PixelYuv* row = rows.data() + width * static_cast<size_t>(r);
            video.Read(y + r, row);
            std::reverse(row, row + width);
        }
        video.Write(y, count, rows.data());
    }
}

template <class Channel, int COUNT>
void SwapChannels(uint8_t* row, int32_t pixels) {
    for (int32_t i = 0; i < pixels; i++) {
        Channel c[COUNT];
        uint8_t* at = row + static_cast<size_t>(i) * sizeof c;
        std::memcpy(c, at, sizeof c);
        std::swap(c[0], c[2]);
        std::memcpy(at, c, sizeof c);
    }
}

}  // namespace

HRESULT QmDib_Initialize() {
    BestRows();
    return S_OK;
}

HRESULT QmDibSet(const BITMAPINFOHEADER* header, void* bits, int32_t stride, uint32_t color) {
    return QmDibFillRect(header, bits, stride, nullptr, color);
}

HRESULT QmDibFillRect(const BITMAPINFOHEADER* header, void* bits, int32_t stride, const RECT* rect,
                      uint32_t color) {
    return ForPixels(header, bits, stride, rect, [value = ColorPixel(color)](Pixel64& p) { p = value; });
}

HRESULT QmDibFadeToColor(const BITMAPINFOHEADER* header, void* bits, int32_t stride, const RECT* rect,
                         uint32_t color, int32_t amount) {
    const auto part = static_cast<uint32_t>(std::clamp(amount, 0, 256));
    DibView view;
    if (const HRESULT hr = ViewDib(header, bits, stride, view); Failed(hr)) return hr;
    if (view.type == QMPIXEL_RGBAFLOAT)
        return FadeFloats(view, rect, color, static_cast<float>(part) / 256.0f);
    return ForPixels(header, bits, stride, rect, [part, to = ColorPixel(color)](Pixel64& p) {
        const auto moved = [part](uint16_t from, uint16_t target) {
            return static_cast<uint16_t>((from * (256 - part) + target * part + 128) >> 8);
        };
        p = {moved(p.red, to.red), moved(p.green, to.green), moved(p.blue, to.blue),
             moved(p.alpha, to.alpha)};
    });
}

HRESULT QmDibFlip(const BITMAPINFOHEADER* header, void* bits, int32_t stride, uint32_t flags) {
    return Guarded([&]() -> HRESULT {
        DibView view;
        if (const HRESULT hr = ViewDib(header, bits, stride, view); Failed(hr)) return hr;
        const VideoLayout* layout = FindVideoLayout(view.type);
        if (flags & DIB_FLIP_VERTICAL) {
            if (layout)
                FlipVideoRows(view, *layout);
            else
                SwapRows(view.top, view.stride, view.height, DibRowBytes(view.type, view.width));
        }
        if (flags & DIB_FLIP_HORIZONTAL) {
            if (layout)
                ReverseVideo(view, VideoRows(view, *layout));
            else
                for (int32_t y = 0; y < view.height; y++)
                    ReverseRow(view.Row(y), view.width, QmGetPixelBitsPerChannel(view.type, nullptr));
        }
        return S_OK;
    });
}

HRESULT QmDibSwapRB(const BITMAPINFOHEADER* header, void* bits, int32_t stride) {
    DibView view;
    if (const HRESULT hr = ViewDib(header, bits, stride, view); Failed(hr)) return hr;
    void (*swap)(uint8_t*, int32_t) = nullptr;
    switch (view.type) {
    case QMPIXEL_RGB24: swap = SwapChannels<uint8_t, 3>; break;
    case QMPIXEL_RGBA32:
    case QMPIXEL_RGBA32_ALT: swap = BestRows().swapRedBlue; break;
    case QMPIXEL_RGBA64: swap = SwapChannels<uint16_t, 4>; break;
    case QMPIXEL_RGBAFLOAT: swap = SwapChannels<float, 4>; break;
    default: return E_NOTIMPL;
    }
    for (int32_t y = 0; y < view.height; y++) swap(view.Row(y), view.width);
    return S_OK;
}

HRESULT QmDibGetPixel(const BITMAPINFOHEADER* header, const void* bits, int32_t stride, int32_t x, int32_t y,
                      uint32_t* color) {
    return Guarded([&]() -> HRESULT {
        if (!header || !color) return E_POINTER;
        if (x < 0 || x >= header->biWidth) return E_INVALIDARG;
        std::vector<uint32_t> row(static_cast<size_t>(header->biWidth));
        const HRESULT hr = QmDibReadRow(header, bits, stride, y, row.data());
        if (Succeeded(hr)) *color = row[static_cast<size_t>(x)];
        return hr;
    });
}

HRESULT QmDibSetPixel(const BITMAPINFOHEADER* header, void* bits, int32_t stride, int32_t x, int32_t y,
                      uint32_t color) {
    if (!header) return E_POINTER;
    if (x < 0 || x >= header->biWidth || y < 0 || int64_t{y} >= std::abs(int64_t{header->biHeight}))
        return E_INVALIDARG;
    const RECT one{x, y, x + 1, y + 1};
    return QmDibFillRect(header, bits, stride, &one, color);
}
