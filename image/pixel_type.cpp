#include "image/pixel_type.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>

using namespace tarn;

namespace {

struct Row {
    PixelTypeName id;
    uint32_t compression, otherCompression;
    uint8_t bits;
    uint8_t channels[4];
    uint32_t masks[4];
};

constexpr Row Plain(QMPIXELTYPE type, const char* name, uint32_t compression, uint8_t bits, uint8_t r,
                    uint8_t g, uint8_t b, uint8_t a) {
    return {{type, name}, compression, compression, bits, {r, g, b, a}, {}};
}
constexpr Row Gray(QMPIXELTYPE type, const char* name, uint8_t bits) {
    return Plain(type, name, BI_QMGS, bits, 0, 0, 0, bits);
}
constexpr Row Video(QMPIXELTYPE type, const char* name, const char (&code)[5], uint8_t bits, uint8_t depth,
                    uint8_t alpha = 0) {
    return Plain(type, name, FourCC(code), bits, depth, depth, depth, alpha);
}

constexpr Row ROWS[] = {
    Plain(QMPIXEL_PAL1, "pal1", BI_RGB, 1, 0, 0, 0, 1),
    Gray(QMPIXEL_GRAY1, "gray1", 1),
    Gray(QMPIXEL_GRAY2, "gray2", 2),
    Gray(QMPIXEL_GRAY4, "gray4", 4),
    Gray(QMPIXEL_GRAY8, "gray8", 8),
    Gray(QMPIXEL_GRAY16, "gray16", 16),
    Gray(QMPIXEL_GRAY32, "gray32", 32),
    Plain(QMPIXEL_PAL4, "pal4", BI_RGB, 4, 8, 8, 8, 0),
    Plain(QMPIXEL_PAL8, "pal8", BI_RGB, 8, 8, 8, 8, 0),
    {{QMPIXEL_RGB555, "rgb555"}, BI_RGB, BI_BITFIELDS, 16, {5, 5, 5, 1}, {0x7C00, 0x3E0, 0x1F, 0x8000}},
    {{QMPIXEL_RGB565, "rgb565"}, BI_BITFIELDS, BI_BITFIELDS, 16, {5, 6, 5, 0}, {0xF800, 0x7E0, 0x1F, 0}},
    {{QMPIXEL_RGB24, "rgb24"}, BI_RGB, BI_QMDB, 24, {8, 8, 8, 0}, {}},
    {{QMPIXEL_RGBA32, "rgba32"},
     BI_RGB,
     BI_BITFIELDS,
     32,
     {8, 8, 8, 8},
     {0xFF0000, 0xFF00, 0xFF, 0xFF000000}},
    Plain(QMPIXEL_RGBA32_ALT, "rgba32-premultiplied", BI_QMDB, 32, 8, 8, 8, 8),
    {{QMPIXEL_RGB10A2, "rgb10a2"},
     BI_BITFIELDS,
     BI_BITFIELDS,
     32,
     {10, 10, 10, 2},
     {0x3FF00000, 0xFFC00, 0x3FF, 0xC0000000}},
    Plain(QMPIXEL_RGBA64, "rgba64", BI_QMDB, 64, 16, 16, 16, 16),
    Plain(QMPIXEL_RGBAFLOAT, "rgbafloat", BI_QMDB, 128, 32, 32, 32, 32),
    {{QMPIXEL_RGB10A2_ALT, "rgb10a2-low"},
     BI_BITFIELDS,
     BI_BITFIELDS,
     32,
     {10, 10, 10, 2},
     {0x3FF, 0xFFC00, 0x3FF00000, 0xC0000000}},
    Video(QMPIXEL_UYVY, "uyvy", "UYVY", 16, 8),
    Video(QMPIXEL_YUYV, "yuyv", "YUYV", 16, 8),
    Video(QMPIXEL_Y41B, "y41b", "Y41B", 12, 8),
    Video(QMPIXEL_I420, "i420", "I420", 12, 8),
    Video(QMPIXEL_V210, "v210", "v210", 20, 10),
    Video(QMPIXEL_P010, "p010", "P010", 24, 10),
    Video(QMPIXEL_PL10, "pl10", "PL10", 24, 10),
    Video(QMPIXEL_P210, "p210", "P210", 32, 10),
    Video(QMPIXEL_P216, "p216", "P216", 32, 16),
    Video(QMPIXEL_Y210, "y210", "Y210", 32, 10),
    Video(QMPIXEL_P410, "p410", "P410", 48, 10),
    Video(QMPIXEL_NV12, "nv12", "NV12", 12, 8),
    Video(QMPIXEL_YV12, "yv12", "YV12", 12, 8),
    Video(QMPIXEL_YV16, "yv16", "YV16", 16, 8),
    Video(QMPIXEL_A410, "a410", "A410", 32, 10, 2),
    Video(QMPIXEL_P012, "p012", "P012", 24, 12),
    Video(QMPIXEL_P212, "p212", "P212", 32, 12),
    Video(QMPIXEL_P412, "p412", "P412", 48, 12),
    Video(QMPIXEL_YV24, "yv24", "YV24", 24, 8),
};

const Row* Find(QMPIXELTYPE type) {
    const auto* at = std::ranges::find(ROWS, type, [](const Row& row) { return row.id.type; });
    return at == std::end(ROWS) ? nullptr : at;
}

bool HasMasks(const Row& row, const BITMAPINFOHEADER* header) {
    uint32_t masks[3];
    std::memcpy(masks, header + 1, sizeof masks);
    for (int i = 0; i < 3; i++)
        if (std::popcount(masks[i]) != row.channels[i]) return false;
    return true;
}

}  // namespace

const PixelTypeName* tarn::PixelTypeNames(size_t* count) {
    static constexpr auto NAMES = [] {
        struct {
            PixelTypeName name[std::size(ROWS)];
        } names{};
        for (size_t i = 0; i < std::size(ROWS); i++) names.name[i] = ROWS[i].id;
        return names;
    }();
    *count = std::size(ROWS);
    return NAMES.name;
}

QMPIXELTYPE QmGetPixelType(const BITMAPINFOHEADER* header) {
    if (!header) return QMPIXEL_UNKNOWN;
    for (const Row& row : ROWS) {
        if (header->biCompression != row.compression && header->biCompression != row.otherCompression)
            continue;
        if (!IsVideo(row.id.type) && header->biBitCount != row.bits) continue;
        if (header->biCompression == BI_BITFIELDS && !HasMasks(row, header)) continue;
        return row.id.type;
    }
    return QMPIXEL_UNKNOWN;
}

uint32_t QmGetPixelBitsPerChannel(QMPIXELTYPE type, uint8_t bits[4]) {
    const Row* row = Find(type);
    if (bits)
        for (int i = 0; i < 4; i++) bits[i] = row ? row->channels[i] : 0;
    return row ? row->bits : 0;
}

uint32_t QmPixelTypeToBitAttribs(QMPIXELTYPE type, uint32_t* compression, uint32_t masks[3], uint32_t flags,
                                 uint32_t* alphaMask) {
    const Row* row = Find(type);
    const uint32_t form = !row ? BI_RGB : flags & PIXEL_OTHER_FORM ? row->otherCompression : row->compression;
    const bool hasMasks = form == BI_BITFIELDS;
    if (compression) *compression = form;
    if (masks)
        for (int i = 0; i < 3; i++) masks[i] = hasMasks ? row->masks[i] : 0;
    if (alphaMask) *alphaMask = hasMasks ? row->masks[3] : 0;
    return row ? row->bits : 0;
}
