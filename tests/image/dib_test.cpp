// Headers, sizes, blocks, copies and edits of images.
#include "image/dib_edit.h"
#include "image/palette.h"
#include "image/video_layout.h"
#include "tests/image/image_support.h"
#include "tests/support/fail_alloc.h"

#include <climits>
#include <cmath>
#include <cstring>

using namespace tarn;

namespace {

struct MaskedHeader {
    BITMAPINFOHEADER head{};
    uint32_t masks[3]{};
};

TEST(PixelTypes, BothHeaderFormsLeadBack) {
    for (const auto& [type, name] : AllTypes())
        for (const uint32_t flags : {0u, PIXEL_OTHER_FORM}) {
            MaskedHeader h;
            uint32_t alpha = 0;
            const uint32_t bits =
                QmPixelTypeToBitAttribs(type, &h.head.biCompression, h.masks, flags, &alpha);
            h.head.biBitCount = static_cast<uint16_t>(bits);
            EXPECT_EQ(QmGetPixelBitsPerChannel(type, nullptr), bits) << name;
            // Masks tell how wide channels are, and not which is which.
            EXPECT_EQ(QmGetPixelType(&h.head), type == QMPIXEL_RGB10A2_ALT ? QMPIXEL_RGB10A2 : type) << name;
            EXPECT_EQ((h.masks[0] | h.masks[1] | h.masks[2]) & alpha, 0u) << name;
        }
    struct Row {
        uint32_t compression;
        uint16_t bits;
        uint32_t masks[3];
        QMPIXELTYPE type;
    };
    for (const Row& row :
         {Row{BI_BITFIELDS, 16, {0xFC00, 0x3E0, 0x1F}, QMPIXEL_UNKNOWN},
          Row{BI_BITFIELDS, 32, {0xFF, 0xFF00, 0xFF0000}, QMPIXEL_RGBA32},
          Row{BI_BITFIELDS, 32, {0xFFF, 0xFF000, 0xFF00000}, QMPIXEL_UNKNOWN},
          Row{BI_BITFIELDS, 24, {0xFF, 0xFF00, 0xFF0000}, QMPIXEL_UNKNOWN},
          Row{BI_QMGS, 3, {}, QMPIXEL_UNKNOWN}, Row{BI_QMDB, 32, {}, QMPIXEL_RGBA32_ALT},
          Row{BI_RGB, 2, {}, QMPIXEL_UNKNOWN}, Row{FourCC("nv12"), 12, {}, QMPIXEL_UNKNOWN}}) {
        MaskedHeader h;
        h.head.biCompression = row.compression;
        h.head.biBitCount = row.bits;
        std::memcpy(h.masks, row.masks, sizeof h.masks);
        EXPECT_EQ(QmGetPixelType(&h.head), row.type) << row.compression << ' ' << row.bits;
    }
    uint8_t bits[4];
    EXPECT_EQ(QmGetPixelBitsPerChannel(QMPIXEL_RGB10A2, bits), 32u);
    EXPECT_EQ(bits[0] + bits[3] * 100, 210);
    EXPECT_EQ(QmGetPixelBitsPerChannel(QMPIXEL_GRAY16, bits), 16u);
    EXPECT_EQ(bits[0] + bits[3] * 100, 1600);
    EXPECT_EQ(QmGetPixelBitsPerChannel(static_cast<QMPIXELTYPE>(33), bits), 0u);
}

TEST(Dib, SizesAreCheckedAndBlocksCounted) {
    uint32_t head = 0, image = 0;
    EXPECT_EQ(QmDibInfo(&head, &image, nullptr, QMPIXEL_RGB24, 1, 3, nullptr, 0), S_OK);
    EXPECT_EQ(image, 12u);
    EXPECT_EQ(QmDibInfo(&head, &image, nullptr, QMPIXEL_PAL4, 9, -2, nullptr, -5), S_OK);
    EXPECT_EQ(head, 40u + 15 * 4);
    EXPECT_EQ(image, 16u);
    EXPECT_EQ(QmDibInfo(&head, nullptr, nullptr, QMPIXEL_RGB565, 9, 2, nullptr, 7), S_OK);
    EXPECT_EQ(head, 52u) << "masks stand in the table's place";
    struct Row {
        QMPIXELTYPE type;
        int32_t width, height;
    };
    for (const Row& row :
         {Row{QMPIXEL_RGBAFLOAT, 1 << 28, 1}, Row{QMPIXEL_RGBA32, INT_MAX, INT_MAX},
          Row{QMPIXEL_RGBA32, 65536, 65536}, Row{QMPIXEL_RGBA32, 1, INT_MIN}, Row{QMPIXEL_RGBA32, 0, 1},
          Row{QMPIXEL_RGBA32, -1, 1}, Row{QMPIXEL_P412, 1 << 20, 1 << 20}, Row{QMPIXEL_UNKNOWN, 1, 1}}) {
        BITMAPINFOHEADER* dib = nullptr;
        EXPECT_EQ(QmDibAlloc(&dib, row.type, row.width, row.height, nullptr, 0, 0, 0), E_INVALIDARG)
            << row.width;
        EXPECT_EQ(dib, nullptr);
    }
    EXPECT_EQ(QmDibAlloc(nullptr, QMPIXEL_RGB24, 1, 1, nullptr, 0, 0, 0), E_INVALIDARG);
    EXPECT_EQ(QmDibInfo(nullptr, nullptr, nullptr, QMPIXEL_RGB24, 1, 1, nullptr, 0), E_INVALIDARG);

    uint32_t before = 0, blocks = 0;
    uint64_t bytesBefore = 0, bytes = 0;
    QmDibGetUsage(&before, &bytesBefore);
    const RGBQUAD colors[3] = {{1, 2, 3, 0}, {4, 5, 6, 0}, {7, 8, 9, 0}};
    BITMAPINFOHEADER* dib = nullptr;
    ASSERT_EQ(QmDibAlloc(&dib, QMPIXEL_PAL8, 5, 2, colors, 3, DIB_ALLOC_CLEAR, 0xBEEF), S_OK);
    QmDibGetUsage(&blocks, &bytes);
    EXPECT_EQ(blocks - before, 1u);
    EXPECT_EQ(bytes - bytesBefore, 16u);
    EXPECT_STREQ(QmDibGetTag(dib), "QmDA:beef");
    EXPECT_EQ(static_cast<uint8_t*>(QmDibBits(dib)) - reinterpret_cast<uint8_t*>(dib), 52);
    EXPECT_EQ(std::memcmp(dib + 1, colors, sizeof colors), 0);
    QmDibFree(dib);
    {
        const FailAlloc fail(0);
        EXPECT_EQ(QmDibAlloc(&dib, QMPIXEL_RGBA32, 5, 2, nullptr, 0, 0, 0), E_OUTOFMEMORY);
    }
    QmDibGetUsage(&blocks, &bytes);
    EXPECT_EQ(blocks, before);
    EXPECT_EQ(bytes, bytesBefore);
}

/// A picture with a few soft colours, for which every type has close ones.
OwnedDib Soft(int32_t width, int32_t height) {
    OwnedDib dib = NewDib(QMPIXEL_RGBA64, width, height);
    auto* p = reinterpret_cast<uint16_t*>(Bits(dib));
    for (int32_t i = 0; i < width * height; i++, p += 4) {
        // Blocks of 4 x 2, so that pixels which share chroma are alike.
        const int32_t block = i % width / 4 + i / width / 2 * 7;
        p[0] = static_cast<uint16_t>(8000 + block * 4001 % 50000);
        p[1] = static_cast<uint16_t>(60000 - block * 3001 % 50000);
        p[2] = static_cast<uint16_t>(20000 + block * 2003 % 30000);
        p[3] = 65535;
    }
    return dib;
}

TEST(DibCopy, EveryTypeToEveryOther) {
    constexpr int32_t WIDTH = 40, HEIGHT = 6;
    const OwnedDib soft = Soft(WIDTH, HEIGHT);
    const auto values = [](const OwnedDib& dib) {
        const OwnedDib wide = Converted(dib, QMPIXEL_RGBA64);
        const auto* p = reinterpret_cast<const uint16_t*>(Bits(wide));
        return std::vector<uint16_t>(p, p + wide->biSizeImage / 2);
    };
    const auto bitsOf = [](QMPIXELTYPE type) {
        uint8_t bits[4];
        QmGetPixelBitsPerChannel(type, bits);
        return bits[0] ? std::min({bits[0], bits[1], bits[2]}) : bits[3];
    };
    const auto hasColors = [](QMPIXELTYPE type) { return type < QMPIXEL_GRAY1 || type > QMPIXEL_GRAY32; };
    for (const auto& [from, fromName] : AllTypes()) {
        const OwnedDib source = Converted(soft, from);
        const std::vector<uint16_t> expected = values(source);
        for (const auto& [to, toName] : AllTypes()) {
            const OwnedDib target = Converted(source, to);
            if (from == to) {
                EXPECT_EQ(Bytes(target), Bytes(source)) << fromName;
            }
            const bool isTable = to == QMPIXEL_PAL1 || to == QMPIXEL_PAL4 || to == QMPIXEL_PAL8;
            if (isTable || (hasColors(from) && !hasColors(to))) continue;
            // Half a step of the coarser type, and where video's narrower range takes part twice that and one
            // of 8 bits.
            const double step = 65535.0 / ((1 << std::min<int>(bitsOf(to), 16)) - 1);
            const bool isVideo = IsVideo(from) || IsVideo(to);
            const double allowed = from == to ? 0 : isVideo ? step * 1.6 + 400 : step / 2 + 1;
            const std::vector<uint16_t> found = values(target);
            for (size_t i = 0; i < found.size(); i++)
                if (i % 4 != 3) {
                    ASSERT_NEAR(found[i], expected[i], allowed)
                        << fromName << " to " << toName << " at " << i;
                }
        }
    }
}

TEST(DibCopy, AlphaNumbersAndFailures) {
    // Straight to premultiplied is rounded to nearest, and comes back wherever alpha leaves enough.
    const OwnedDib straight = NewDib(QMPIXEL_RGBA32, 256, 256);
    for (int i = 0; i < 65536; i++) {
        const uint8_t pixel[4] = {static_cast<uint8_t>(i), 255, static_cast<uint8_t>(255 - i),
                                  static_cast<uint8_t>(i >> 8)};
        std::memcpy(Bits(straight) + i * 4, pixel, 4);
    }
    const OwnedDib alt = Converted(straight, QMPIXEL_RGBA32_ALT), back = Converted(alt, QMPIXEL_RGBA32);
    for (int i = 0; i < 65536; i++) {
        const int c = i & 255, a = i >> 8;
        ASSERT_EQ(Bits(alt)[i * 4], (c * a + 127) / 255);
        ASSERT_EQ(Bits(alt)[i * 4 + 3], a);
        if (a == 255) {
            ASSERT_EQ(std::memcmp(Bits(back) + i * 4, Bits(straight) + i * 4, 4), 0);
        }
    }
    const OwnedDib floats = NewDib(QMPIXEL_RGBAFLOAT, 1, 1);
    const float values[4] = {NAN, -1, INFINITY, 0.5f};
    std::memcpy(Bits(floats), values, sizeof values);
    uint32_t color = 0;
    EXPECT_EQ(QmDibGetPixel(floats.get(), nullptr, 0, 0, 0, &color), S_OK);
    EXPECT_EQ(color, 0x800000FFu);

    // Channels in other places are found by their masks.
    MaskedHeader swapped;
    swapped.head.biWidth = swapped.head.biHeight = 1;
    swapped.head.biBitCount = 32;
    swapped.head.biCompression = BI_BITFIELDS;
    swapped.masks[0] = 0xFF, swapped.masks[1] = 0xFF00, swapped.masks[2] = 0xFF0000;
    const uint32_t pixel = 0x80030201;
    EXPECT_EQ(QmDibReadRow(&swapped.head, &pixel, 0, 0, &color), S_OK);
    EXPECT_EQ(color, 0x80010203u);

    BITMAPINFOHEADER other = *straight;
    other.biWidth = 255;
    EXPECT_EQ(QmDibCopy(&other, Bits(alt), 1024, straight.get(), nullptr, 0, 0), E_INVALIDARG);
    EXPECT_EQ(QmDibCopy(straight.get(), nullptr, 1020, straight.get(), nullptr, 0, 0), E_INVALIDARG);
    EXPECT_EQ(QmDibCopy(nullptr, nullptr, 0, straight.get(), nullptr, 0, 0), E_POINTER);
    EXPECT_EQ(QmDibReadRow(straight.get(), nullptr, 0, 256, &color), E_INVALIDARG);
    for (int n = 0; n < 3; n++) {
        const OwnedDib pal = NewDib(QMPIXEL_PAL8, 256, 256);
        const FailAlloc fail(n);
        const HRESULT hr = QmDibCopy(pal.get(), nullptr, 0, straight.get(), nullptr, 0, 0);
        EXPECT_EQ(hr, fail.Struck() ? E_OUTOFMEMORY : S_OK);
    }
}

TEST(Palettes, ExactWhereTheyCanBeAndNearWhereNot) {
    std::mt19937 random(5);
    const OwnedDib few = NewDib(QMPIXEL_RGB24, 60, 40), many = NewDib(QMPIXEL_RGB24, 60, 40);
    for (int32_t i = 0; i < 60 * 40 * 3; i += 3) {
        const auto n = static_cast<uint8_t>(random() % 17 * 15);
        const uint8_t color[3] = {n, static_cast<uint8_t>(n / 2), static_cast<uint8_t>(255 - n)};
        std::memcpy(Bits(few) + i, color, 3);
        for (int c = 0; c < 3; c++) Bits(many)[i + c] = static_cast<uint8_t>(random() % 64 + (i / 720) * 12);
    }
    RGBQUAD palette[256];
    int32_t count = 256;
    ASSERT_EQ(QmDibQuantizePalette(few.get(), nullptr, 0, palette, &count), S_OK);
    EXPECT_EQ(count, 17);
    BITMAPINFOHEADER* made = nullptr;
    ASSERT_EQ(QmDibAlloc(&made, QMPIXEL_PAL8, 60, 40, palette, count, 0, 0), S_OK);
    const OwnedDib indexed(made);
    ASSERT_EQ(QmDibCopy(made, nullptr, 0, few.get(), nullptr, 0, 0), S_OK);
    EXPECT_EQ(Bytes(Converted(indexed, QMPIXEL_RGB24)), Bytes(few));

    count = 64;
    ASSERT_EQ(QmDibQuantizePalette(many.get(), nullptr, 0, palette, &count), S_OK);
    EXPECT_EQ(count, 64);
    HQMQUANTIZER quantizer = nullptr;
    ASSERT_EQ(QmDibCreateColorQuantizer(&quantizer, palette, count), S_OK);
    double error = 0;
    for (int32_t i = 0; i < 60 * 40; i++) {
        const uint8_t* p = Bits(many) + i * 3;
        const auto distance = [&](const RGBQUAD& c) {
            return std::pow(c.rgbBlue - p[0], 2) + std::pow(c.rgbGreen - p[1], 2) +
                   std::pow(c.rgbRed - p[2], 2);
        };
        const uint32_t found = QmDibNearestColor(quantizer, {p[0], p[1], p[2], 0});
        for (int k = 0; k < count; k++) ASSERT_LE(distance(palette[found]), distance(palette[k]));
        error += distance(palette[found]);
    }
    QmDibFreeColorQuantizer(quantizer);
    EXPECT_LT(std::sqrt(error / (60 * 40)), 17) << "a mean step of four bits a channel";
    count = 257;
    EXPECT_EQ(QmDibQuantizePalette(few.get(), nullptr, 0, palette, &count), E_INVALIDARG);
    EXPECT_EQ(QmDibCreateColorQuantizer(&quantizer, palette, 0), E_INVALIDARG);
}

TEST(DibEdit, FillsFlipsAndFadesEveryType) {
    std::mt19937 random(7);
    for (const auto& [type, name] : AllTypes()) {
        const OwnedDib dib = NewDib(type, 12, 6);
        ASSERT_EQ(QmDibSet(dib.get(), nullptr, 0, 0xFF000000), S_OK);
        const RECT part{4, 2, 100, 4};
        ASSERT_EQ(QmDibFillRect(dib.get(), nullptr, 0, &part, 0xFFFFFFFF), S_OK);
        for (int y = 0; y < 6; y++)
            for (int x = 0; x < 12; x++) {
                uint32_t color = 0;
                ASSERT_EQ(QmDibGetPixel(dib.get(), nullptr, 0, x, y, &color), S_OK);
                ASSERT_EQ(color, x >= 4 && y >= 2 && y < 4 ? 0xFFFFFFFF : 0xFF000000)
                    << name << ' ' << x << ',' << y;
            }
        ASSERT_EQ(QmDibFlip(dib.get(), nullptr, 0, DIB_FLIP_HORIZONTAL), S_OK);
        uint32_t color = 0;
        QmDibGetPixel(dib.get(), nullptr, 0, 0, 2, &color);
        EXPECT_EQ(color, 0xFFFFFFFF) << name;
        EXPECT_EQ(QmDibSetPixel(dib.get(), nullptr, 0, 12, 0, 0), E_INVALIDARG);
        EXPECT_EQ(QmDibSetPixel(dib.get(), nullptr, 0, 0, 6, 0), E_INVALIDARG);
        ASSERT_EQ(QmDibSetPixel(dib.get(), nullptr, 0, 11, 0, 0xFFFFFFFF), S_OK);
        ASSERT_EQ(QmDibFlip(dib.get(), nullptr, 0, DIB_FLIP_VERTICAL), S_OK);
        QmDibGetPixel(dib.get(), nullptr, 0, 11, 5, &color);
        if (!IsVideo(type)) {
            EXPECT_EQ(color, 0xFFFFFFFF) << name;
        }
        const std::vector<uint8_t> before = Bytes(dib);
        ASSERT_EQ(QmDibFadeToColor(dib.get(), nullptr, 0, nullptr, 0xFF808080, 0), S_OK);
        if (!IsVideo(type)) {
            EXPECT_EQ(Bytes(dib), before) << name;
        }
        ASSERT_EQ(QmDibFadeToColor(dib.get(), nullptr, 0, nullptr, 0xFFFFFFFF, 256), S_OK);
        QmDibGetPixel(dib.get(), nullptr, 0, 0, 0, &color);
        EXPECT_EQ(color, 0xFFFFFFFF) << name;

        const OwnedDib noise = NewDib(type, 13, 5);
        FillRandom(noise, random);
        if (type == QMPIXEL_V210) continue;  // has bits of no sample
        const std::vector<uint8_t> all = Bytes(noise);
        for (const uint32_t flags : {DIB_FLIP_VERTICAL, DIB_FLIP_HORIZONTAL}) {
            const bool isShared =
                IsVideo(type) && FindVideoLayout(type)->chromaX + FindVideoLayout(type)->shift != 0;
            if (flags == DIB_FLIP_HORIZONTAL && isShared) continue;
            for (int i = 0; i < 2; i++) ASSERT_EQ(QmDibFlip(noise.get(), nullptr, 0, flags), S_OK);
            ASSERT_EQ(Bytes(noise), all) << name << " twice " << flags;
        }
        const HRESULT hr = QmDibSwapRB(noise.get(), nullptr, 0);
        if (Succeeded(hr)) QmDibSwapRB(noise.get(), nullptr, 0);
        EXPECT_EQ(Bytes(noise), all) << name;
    }
}

}  // namespace
