// Rows of any type without planes, as 16-bit pixels and back. Internal to the library.
#pragma once

#include "image/palette.h"
#include "image/rows/dib_view.h"

namespace tarn {

/// As QMPIXEL_RGBA64 lies.
struct Pixel64 {
    uint16_t red, green, blue, alpha;
};

/// What a row needs besides its bytes.
struct RowColors {
    /// Of the channels red to alpha in a word, for types that have masks.
    uint8_t shift[4] = {}, bits[4] = {};
    const RGBQUAD* palette = nullptr;
    uint32_t colors = 0;
    HQMQUANTIZER quantizer = nullptr;  ///< for writing to types with a palette
};
/// The palette and the places of channels that the header tells.
RowColors ColorsOf(const DibView& view);

void ReadRow(const DibView& view, const RowColors& colors, const uint8_t* row, int32_t pixels, Pixel64* out);
void WriteRow(const DibView& view, const RowColors& colors, uint8_t* row, int32_t pixels, const Pixel64* in);

bool HasPalette(QMPIXELTYPE type);

/// Perceived brightness of a colour, by the weights of BT.601.
inline uint16_t GrayOf(const Pixel64& p) {
    return static_cast<uint16_t>((19595u * p.red + 38470u * p.green + 7471u * p.blue + 32768u) >> 16);
}
inline uint8_t Narrowed(uint16_t value) { return static_cast<uint8_t>((value + 128u) / 257u); }

}  // namespace tarn
