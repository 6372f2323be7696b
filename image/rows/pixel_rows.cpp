#include "image/rows/pixel_rows.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace tarn {

namespace {

uint16_t Widened(uint8_t value) { return static_cast<uint16_t>(value * 257u); }

/// A value of so many bits at full scale 65535, rounded to nearest, and back.
uint16_t FromBits(uint32_t value, uint32_t bits) {
    if (bits == 8) return static_cast<uint16_t>(value * 257u);
    const uint32_t most = (1u << bits) - 1;
    return static_cast<uint16_t>((value * 65535u + most / 2) / most);
}
uint32_t ToBits(uint16_t value, uint32_t bits) {
    if (bits == 8) return Narrowed(value);
    const uint32_t most = (1u << bits) - 1;
    return (value * most + 32767u) / 65535u;
}

uint16_t FromFloat(float value) {
    // What is not a number compares as false, and is 0.
    const float cut = value > 0.0f ? std::min(value, 1.0f) : 0.0f;
    return static_cast<uint16_t>(cut * 65535.0f + 0.5f);
}

template <class Word>
Word LoadWord(const uint8_t* p, int32_t i) {
    Word word;
    std::memcpy(&word, p + static_cast<size_t>(i) * sizeof word, sizeof word);
    return word;
}
template <class Word>
void Store(uint8_t* p, int32_t i, Word word) {
    std::memcpy(p + static_cast<size_t>(i) * sizeof word, &word, sizeof word);
}

/// Pixels of less than a byte lie from its high bits.
uint32_t LoadPart(const uint8_t* row, int32_t i, uint32_t bits) {
    const auto at = static_cast<uint64_t>(i) * bits;
    return row[at / 8] >> (8 - bits - at % 8) & ((1u << bits) - 1);
}
void StorePart(uint8_t* row, int32_t i, uint32_t bits, uint32_t value) {
    const auto at = static_cast<uint64_t>(i) * bits;
    const auto shift = static_cast<uint32_t>(8 - bits - at % 8);
    const uint32_t mask = ((1u << bits) - 1) << shift;
    row[at / 8] = static_cast<uint8_t>((row[at / 8] & ~mask) | value << shift);
}

Pixel64 GrayPixel(uint16_t value) { return {value, value, value, 65535}; }

Pixel64 FromWord(uint32_t word, const RowColors& c) {
    const auto channel = [&](int i) {
        return FromBits(word >> c.shift[i] & ((1u << c.bits[i]) - 1), c.bits[i]);
    };
    return {channel(0), channel(1), channel(2), c.bits[3] ? channel(3) : uint16_t{65535}};
}
uint32_t ToWord(const Pixel64& p, const RowColors& c) {
    const uint16_t channels[] = {p.red, p.green, p.blue, p.alpha};
    uint32_t word = 0;
    for (int i = 0; i < 4; i++)
        if (c.bits[i]) word |= ToBits(channels[i], c.bits[i]) << c.shift[i];
    return word;
}

uint8_t TimesAlpha(uint16_t color, uint16_t alpha) {
    constexpr uint64_t UNIT = 65535 * 257;
    return static_cast<uint8_t>((uint64_t{color} * alpha + UNIT / 2) / UNIT);
}
uint16_t Divided(uint8_t color, uint8_t alpha) {
    return alpha == 0
               ? uint16_t{0}
               : static_cast<uint16_t>(std::min<uint32_t>((color * 65535u + alpha / 2u) / alpha, 65535));
}

bool IsGray(QMPIXELTYPE type) { return type >= QMPIXEL_GRAY1 && type <= QMPIXEL_GRAY32; }

}  // namespace

bool HasPalette(QMPIXELTYPE type) {
    return type == QMPIXEL_PAL1 || type == QMPIXEL_PAL4 || type == QMPIXEL_PAL8;
}

RowColors ColorsOf(const DibView& view) {
    RowColors colors;
    uint32_t masks[4] = {};
    QmPixelTypeToBitAttribs(view.type, nullptr, masks, PIXEL_OTHER_FORM, &masks[3]);
    if (view.header->biCompression == BI_BITFIELDS) {
        // What is left is alpha's, if it lies together.
        std::memcpy(masks, view.header + 1, 3 * sizeof masks[0]);
        const uint32_t all = view.header->biBitCount == 16 ? 0xFFFF : 0xFFFFFFFF;
        const uint32_t rest = all & ~(masks[0] | masks[1] | masks[2]);
        uint8_t bits[4];
        QmGetPixelBitsPerChannel(view.type, bits);
        masks[3] = std::popcount(rest) == bits[3] ? rest : 0;
    }
    for (int i = 0; i < 4; i++) {
        // Bits that do not lie together are no channel that can be read.
        const int first = std::countr_zero(masks[i]), count = std::popcount(masks[i]);
        const bool isRun = masks[i] && masks[i] >> first == (count == 32 ? ~0u : (1u << count) - 1);
        colors.shift[i] = isRun ? static_cast<uint8_t>(first) : uint8_t{0};
        colors.bits[i] = static_cast<uint8_t>(isRun || i < 3 ? std::max(count, 1) : 0);
    }
    if (HasPalette(view.type)) {
        const uint32_t most = 1u << view.header->biBitCount;
        colors.palette = reinterpret_cast<const RGBQUAD*>(view.header + 1);
        colors.colors = view.header->biClrUsed ? std::min(view.header->biClrUsed, most) : most;
    }
    return colors;
}

void ReadRow(const DibView& view, const RowColors& colors, const uint8_t* row, int32_t n, Pixel64* out) {
    const uint32_t bits = QmGetPixelBitsPerChannel(view.type, nullptr);
    const auto each = [&](auto read) {
        for (int32_t i = 0; i < n; i++) out[i] = read(i);
    };
    if (HasPalette(view.type))
        return each([&](int32_t i) -> Pixel64 {
            const uint32_t index = LoadPart(row, i, bits);
            if (index >= colors.colors) return GrayPixel(0);
            const RGBQUAD c = colors.palette[index];
            return {Widened(c.rgbRed), Widened(c.rgbGreen), Widened(c.rgbBlue), 65535};
        });
    if (IsGray(view.type) && bits <= 8)
        return each([&](int32_t i) { return GrayPixel(FromBits(LoadPart(row, i, bits), bits)); });
    switch (view.type) {
    case QMPIXEL_GRAY16: return each([&](int32_t i) { return GrayPixel(LoadWord<uint16_t>(row, i)); });
    case QMPIXEL_GRAY32:
        return each(
            [&](int32_t i) { return GrayPixel(static_cast<uint16_t>(LoadWord<uint32_t>(row, i) >> 16)); });
    case QMPIXEL_RGB555:
    case QMPIXEL_RGB565: return each([&](int32_t i) { return FromWord(LoadWord<uint16_t>(row, i), colors); });
    case QMPIXEL_RGB10A2:
    case QMPIXEL_RGB10A2_ALT:
    case QMPIXEL_RGBA32: return each([&](int32_t i) { return FromWord(LoadWord<uint32_t>(row, i), colors); });
    case QMPIXEL_RGB24:
        return each([&](int32_t i) -> Pixel64 {
            const uint8_t* p = row + static_cast<size_t>(i) * 3;
            return {Widened(p[2]), Widened(p[1]), Widened(p[0]), 65535};
        });
    case QMPIXEL_RGBA32_ALT:
        return each([&](int32_t i) -> Pixel64 {
            const uint8_t* p = row + static_cast<size_t>(i) * 4;
            return {Divided(p[2], p[3]), Divided(p[1], p[3]), Divided(p[0], p[3]), Widened(p[3])};
        });
    case QMPIXEL_RGBA64: return each([&](int32_t i) { return LoadWord<Pixel64>(row, i); });
    case QMPIXEL_RGBAFLOAT:
        return each([&](int32_t i) -> Pixel64 {
            float c[4];
            std::memcpy(c, row + static_cast<size_t>(i) * sizeof c, sizeof c);
            return {FromFloat(c[0]), FromFloat(c[1]), FromFloat(c[2]), FromFloat(c[3])};
        });
    default: return;
    }
}

void WriteRow(const DibView& view, const RowColors& colors, uint8_t* row, int32_t n, const Pixel64* in) {
    const uint32_t bits = QmGetPixelBitsPerChannel(view.type, nullptr);
    const auto each = [&](auto write) {
        for (int32_t i = 0; i < n; i++) write(i, in[i]);
    };
    if (HasPalette(view.type))
        return each([&](int32_t i, const Pixel64& p) {
            const RGBQUAD color{Narrowed(p.blue), Narrowed(p.green), Narrowed(p.red), 0};
            StorePart(row, i, bits, QmDibNearestColor(colors.quantizer, color));
        });
    if (IsGray(view.type) && bits <= 8)
        return each([&](int32_t i, const Pixel64& p) { StorePart(row, i, bits, ToBits(GrayOf(p), bits)); });
    switch (view.type) {
    case QMPIXEL_GRAY16: return each([&](int32_t i, const Pixel64& p) { Store(row, i, GrayOf(p)); });
    case QMPIXEL_GRAY32: return each([&](int32_t i, const Pixel64& p) { Store(row, i, GrayOf(p) * 65537u); });
    case QMPIXEL_RGB555:
    case QMPIXEL_RGB565:
        return each(
            [&](int32_t i, const Pixel64& p) { Store(row, i, static_cast<uint16_t>(ToWord(p, colors))); });
    case QMPIXEL_RGB10A2:
    case QMPIXEL_RGB10A2_ALT:
    case QMPIXEL_RGBA32: return each([&](int32_t i, const Pixel64& p) { Store(row, i, ToWord(p, colors)); });
    case QMPIXEL_RGB24:
        return each([&](int32_t i, const Pixel64& p) {
            uint8_t* to = row + static_cast<size_t>(i) * 3;
            to[0] = Narrowed(p.blue), to[1] = Narrowed(p.green), to[2] = Narrowed(p.red);
        });
    case QMPIXEL_RGBA32_ALT:
        return each([&](int32_t i, const Pixel64& p) {
            uint8_t* to = row + static_cast<size_t>(i) * 4;
            to[0] = TimesAlpha(p.blue, p.alpha), to[1] = TimesAlpha(p.green, p.alpha);
            to[2] = TimesAlpha(p.red, p.alpha), to[3] = Narrowed(p.alpha);
        });
    case QMPIXEL_RGBA64: return each([&](int32_t i, const Pixel64& p) { Store(row, i, p); });
    case QMPIXEL_RGBAFLOAT:
        return each([&](int32_t i, const Pixel64& p) {
            constexpr float UNIT = 65535.0f;
            const float c[4] = {p.red / UNIT, p.green / UNIT, p.blue / UNIT, p.alpha / UNIT};
            std::memcpy(row + static_cast<size_t>(i) * sizeof c, c, sizeof c);
        });
    default: return;
    }
}

}  // namespace tarn
