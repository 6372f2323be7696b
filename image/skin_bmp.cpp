#include "image/skin_bmp.h"

#include "kernel/codes.h"
#include "kernel/color_math.h"
#include "platform/file.h"
#include "platform/guarded.h"
#include "platform/memory.h"
#include "platform/text.h"

#include <png.h>
#include <turbojpeg.h>

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

HRESULT LoadPng(tQMSKINBMP& bmp, const void* bytes, size_t size) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    const std::unique_ptr<png_image, void (*)(png_image*)> freed(&image, png_image_free);
    if (!png_image_begin_read_from_memory(&image, bytes, size)) return QM_E_UNKNOWN_FORMAT;
    if (const HRESULT hr = Allocate(bmp, image.width, image.height); Failed(hr)) return hr;
    image.format = PNG_FORMAT_BGRA;  // in memory; 0xAARRGGBB as a word
    if (!png_image_finish_read(&image, nullptr, bmp.pixels, 0, nullptr)) return QM_E_UNKNOWN_FORMAT;
    ForPixels(bmp, [&](uint32_t pixel) {
        if (pixel >> 24 != 0xFF) bmp.flags |= SKINBMP_ALPHA;
        return Multiplied(pixel);
    });
    return S_OK;
}

HRESULT LoadJpeg(tQMSKINBMP& bmp, const void* bytes, size_t size) {
    const std::unique_ptr<void, int (*)(tjhandle)> jpeg(tjInitDecompress(), tjDestroy);
    if (!jpeg) return E_OUTOFMEMORY;
    const auto* data = static_cast<const unsigned char*>(bytes);
    int width = 0, height = 0, subsampling = 0, colorspace = 0;
    if (tjDecompressHeader3(jpeg.get(), data, size, &width, &height, &subsampling, &colorspace) != 0)
        return QM_E_UNKNOWN_FORMAT;
    if (const HRESULT hr = Allocate(bmp, width, height); Failed(hr)) return hr;
    const int result = tjDecompress2(jpeg.get(), data, size, reinterpret_cast<unsigned char*>(bmp.pixels),
                                     width, 0, height, TJPF_BGRA, TJFLAG_LIMITSCANS);
    return result == 0 ? S_OK : QM_E_UNKNOWN_FORMAT;
}

bool StartsWith(const void* bytes, size_t size, std::string_view magic) {
    return size >= magic.size() && std::memcmp(bytes, magic.data(), magic.size()) == 0;
}
}  // namespace

HRESULT QmSkin_Bmp_Load(tQMSKINBMP* bmp, const void* bytes, size_t size) {
    *bmp = {};
    HRESULT hr = QM_E_UNKNOWN_FORMAT;
    if (StartsWith(bytes, size, "\x89PNG"))
        hr = LoadPng(*bmp, bytes, size);
    else if (StartsWith(bytes, size, "\xFF\xD8\xFF"))
        hr = LoadJpeg(*bmp, bytes, size);
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
