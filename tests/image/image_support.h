// Images for the tests, and levels of the processor to hold against each other.
#pragma once

#include "image/dib.h"
#include "image/dib_copy.h"
#include "image/rows/image_rows.h"
#include "platform/cpu_support.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

/// Colours for types with a palette: a cube of 6 x 6 x 6, or those of the corners.
inline std::vector<RGBQUAD> PaletteFor(QMPIXELTYPE type) {
    std::vector<RGBQUAD> palette;
    const int side = type == QMPIXEL_PAL8 ? 6 : 2;
    for (int i = 0; i < side * side * side; i++) {
        const auto level = [&](int n) { return static_cast<uint8_t>(n % side * 255 / (side - 1)); };
        palette.push_back({level(i), level(i / side), level(i / side / side), 0});
    }
    if (type == QMPIXEL_PAL1) palette = {{0, 0, 0, 0}, {255, 255, 255, 0}};
    return palette;
}

inline tarn::OwnedDib NewDib(QMPIXELTYPE type, int32_t width, int32_t height) {
    std::vector<RGBQUAD> palette;
    if (type == QMPIXEL_PAL1 || type == QMPIXEL_PAL4 || type == QMPIXEL_PAL8) palette = PaletteFor(type);
    BITMAPINFOHEADER* dib = nullptr;
    EXPECT_EQ(QmDibAlloc(&dib, type, width, height, palette.empty() ? nullptr : palette.data(),
                         static_cast<int32_t>(palette.size()), 0, 0),
              S_OK);
    return tarn::OwnedDib(dib);
}

inline uint8_t* Bits(const tarn::OwnedDib& dib) { return static_cast<uint8_t*>(QmDibBits(dib.get())); }
inline std::vector<uint8_t> Bytes(const tarn::OwnedDib& dib) {
    return {Bits(dib), Bits(dib) + dib->biSizeImage};
}

inline void FillRandom(const tarn::OwnedDib& dib, std::mt19937& random) {
    for (uint32_t i = 0; i < dib->biSizeImage; i++) Bits(dib)[i] = static_cast<uint8_t>(random());
}

inline tarn::OwnedDib Converted(const tarn::OwnedDib& dib, QMPIXELTYPE type, uint32_t flags = 0) {
    tarn::OwnedDib made = NewDib(type, dib->biWidth, dib->biHeight);
    EXPECT_EQ(QmDibCopy(made.get(), nullptr, 0, dib.get(), nullptr, 0, flags), S_OK);
    return made;
}

inline std::vector<tarn::PixelTypeName> AllTypes() {
    size_t count = 0;
    const tarn::PixelTypeName* names = tarn::PixelTypeNames(&count);
    return {names, names + count};
}

inline const tarn::ImageRows& RowsWith(uint32_t support) {
    QmOnlyAllowCPUSupport(support);
    const tarn::ImageRows& rows = tarn::BestRows();
    QmOnlyAllowCPUSupport(UINT32_MAX);
    return rows;
}
inline const tarn::ImageRows& PlainRows() { return RowsWith(0); }

/// Those that this processor has, without the plain one.
inline std::vector<const tarn::ImageRows*> VectorRows() {
    std::vector<const tarn::ImageRows*> levels;
    for (const uint32_t bits : {uint32_t{CPU_SUPPORT_AVX2}, uint32_t{CPU_SUPPORT_AVX512}})
        if (QmGetCPUSupport() & bits) levels.push_back(&RowsWith(bits));
    return levels;
}
