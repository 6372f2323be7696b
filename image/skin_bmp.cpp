#include "image/skin_bmp.h"

#include "image/dib_copy.h"
#include "image/pictures.h"
#include "kernel/codes.h"
#include "kernel/color_math.h"
#include "platform/file.h"
#include "platform/guarded.h"
#include "platform/memory.h"
#include "platform/text.h"

#include <algorithm>
#include <cstring>
#include <memory>

using namespace tarn;

namespace {
constexpr size_t kFileLimit = size_t{1} << 28;

HRESULT Allocate(tQMSKINBMP& bmp, int64_t width, int64_t height) {
    if (width <= 0 || height <= 0) return QM_E_UNKNOWN_FORMAT;
    if (width > kSkinBmpMaxSide || height > kSkinBmpMaxSide || width * height > kSkinBmpMaxPixels)
        return QM_E_TOO_LARGE;
    bmp.pixels = static_cast<uint32_t*>(MemAlloc(static_cast<size_t>(width * height) * sizeof(uint32_t)));
    if (!bmp.pixels) return E_OUTOFMEMORY;
    bmp.width = static_cast<int32_t>(width);
    bmp.height = static_cast<int32_t>(height);
    bmp.stride = static_cast<uint32_t>(width);
    return S_OK;
}

template <class Change>
void ForPixels(tQMSKINBMP& bmp, Change change) {
    for (int32_t y = 0; y < bmp.height; y++)
        for (int32_t x = 0; x < bmp.width; x++) {
            uint32_t& pixel =
                bmp.pixels[size_t{bmp.stride} * static_cast<size_t>(y) + static_cast<size_t>(x)];
            pixel = change(pixel);
        }
}

uint32_t Multiplied(uint32_t pixel) {
    const uint32_t alpha = pixel >> 24;
    uint32_t out = alpha << 24;
    for (uint32_t shift = 0; shift < 24; shift += 8)
        out |= ((pixel >> shift & 0xFF) * alpha + 127) / 255 << shift;
    return out;
}

// Works on the colour before it was multiplied with alpha.
template <class Change>
uint32_t WithColor(uint32_t pixel, Change change) {
    const uint32_t alpha = pixel >> 24;
    if (alpha == 0) return pixel;
    const auto whole = [&](uint32_t shift) {
        return std::min(((pixel >> shift & 0xFF) * 255 + alpha / 2) / alpha, 255u);
    };
    const COLORREF color = change(whole(16) | whole(8) << 8 | whole(0) << 16);
    return Multiplied(alpha << 24 | (color & 0xFF) << 16 | (color & 0xFF00) | (color >> 16 & 0xFF));
}

/// The picture's pixels, its colours multiplied with alpha, from the top.
HRESULT Fill(tQMSKINBMP& bmp, const BITMAPINFOHEADER* picture) {
    BITMAPINFOHEADER target;
    HRESULT hr = QmDibInfo(nullptr, nullptr, &target, QMPIXEL_RGBA32_ALT, bmp.width, -bmp.height, nullptr, 0);
    if (Succeeded(hr)) hr = QmDibCopy(&target, bmp.pixels, 0, picture, nullptr, 0, 0);
    if (Failed(hr)) return hr;
    ForPixels(bmp, [&](uint32_t pixel) {
        if (pixel >> 24 != 0xFF) bmp.flags |= SKINBMP_ALPHA;
        return pixel;
    });
    return S_OK;
}
}  // namespace

HRESULT QmSkin_Bmp_Load(tQMSKINBMP* bmp, const void* bytes, size_t size) {
    *bmp = {};
    BITMAPINFOHEADER info;
    HRESULT hr = bytes ? QmDibPictureInfo(&info, bytes, size) : QM_E_UNKNOWN_FORMAT;
    // Before the picture takes memory.
    if (Succeeded(hr)) hr = Allocate(*bmp, info.biWidth, info.biHeight);
    if (Failed(hr)) return hr;
    BITMAPINFOHEADER* picture = nullptr;
    hr = QmDibFromPicture(&picture, bytes, size);
    const std::unique_ptr<BITMAPINFOHEADER, FreeDib> owned(picture);
    if (Succeeded(hr)) hr = Fill(*bmp, picture);
    if (Failed(hr)) QmSkin_Bmp_Free(bmp);
    return hr;
}

HRESULT QmSkin_Bmp_GetFromFile(tQMSKINBMP* bmp, const char16_t* file) {
    *bmp = {};
    return Guarded([&]() -> HRESULT {
        std::string bytes, error;
        if (!file || !ReadWholeFile(Utf8FromUtf16(file), kFileLimit, bytes, error)) return QM_E_OPEN;
        return QmSkin_Bmp_Load(bmp, bytes.data(), bytes.size());
    });
}

HRESULT QmSkin_Bmp_Copy(tQMSKINBMP* bmp, const tQMSKINBMP* source) {
    *bmp = {};
    if (!source->pixels) return S_OK;
    if (const HRESULT hr = Allocate(*bmp, source->width, source->height); Failed(hr)) return hr;
    bmp->flags = source->flags;
    for (int32_t y = 0; y < bmp->height; y++) {
        const auto row = static_cast<size_t>(y);
        std::memcpy(bmp->pixels + bmp->stride * row, source->pixels + source->stride * row,
                    bmp->stride * sizeof(uint32_t));
    }
    return S_OK;
}

void QmSkin_Bmp_Free(tQMSKINBMP* bmp) {
    if (!bmp) return;
    MemFree(bmp->pixels);
    *bmp = {};
}

void QmSkin_TintDib(tQMSKINBMP* bmp, COLORREF color, uint32_t weight) {
    weight = std::min(weight, 255u);
    ForPixels(*bmp, [&](uint32_t pixel) {
        return WithColor(pixel, [&](COLORREF own) { return BlendChannels(own, color, weight); });
    });
}

void QmSkin_Colorize(tQMSKINBMP* bmp, COLORREF color) {
    const uint32_t tone = QmRGBtoHSL(color) & 0xFFFF;
    ForPixels(*bmp, [&](uint32_t pixel) {
        return WithColor(pixel,
                         [&](COLORREF own) { return QmHSLtoRGB(tone | (QmRGBtoHSL(own) & 0xFF0000)); });
    });
}
