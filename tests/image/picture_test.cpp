// PNG and JPEG, there and back, and damaged.
#include "image/pictures.h"
#include "kernel/codes.h"
#include "platform/memory.h"
#include "tests/image/image_support.h"
#include "tests/support/fail_alloc.h"

#include <cmath>

using namespace tarn;

namespace {

struct Encoded {
    void* bytes = nullptr;
    size_t size = 0;
    Encoded() = default;
    ~Encoded() { MemFree(bytes); }
    Encoded(const Encoded&) = delete;
    Encoded& operator=(const Encoded&) = delete;
};

OwnedDib Read(const Encoded& e, HRESULT expected = S_OK) {
    BITMAPINFOHEADER* dib = nullptr;
    EXPECT_EQ(QmDibFromPicture(&dib, e.bytes, e.size), expected);
    return OwnedDib(dib);
}

TEST(Pictures, PngKeepsWhatItCanHold) {
    std::mt19937 random(9);
    for (const QMPIXELTYPE type :
         {QMPIXEL_PAL1, QMPIXEL_GRAY1, QMPIXEL_GRAY2, QMPIXEL_GRAY4, QMPIXEL_GRAY8, QMPIXEL_GRAY16,
          QMPIXEL_PAL4, QMPIXEL_PAL8, QMPIXEL_RGB24, QMPIXEL_RGBA32, QMPIXEL_RGBA64}) {
        const OwnedDib source = NewDib(QMPIXEL_RGBA64, 24, 7);
        FillRandom(source, random);
        const OwnedDib dib = Converted(source, type);
        Encoded png;
        ASSERT_EQ(QmDibToPng(dib.get(), nullptr, 0, &png.bytes, &png.size), S_OK) << type;
        BITMAPINFOHEADER info;
        ASSERT_EQ(QmDibPictureInfo(&info, png.bytes, png.size), S_OK);
        EXPECT_EQ(info.biWidth, 24);
        const OwnedDib back = Read(png);
        ASSERT_NE(back, nullptr);
        EXPECT_EQ(QmGetPixelType(back.get()), type);
        EXPECT_EQ(QmGetPixelType(&info), type);
        EXPECT_EQ(Bytes(Converted(back, QMPIXEL_RGBA64)), Bytes(Converted(dib, QMPIXEL_RGBA64))) << type;
    }
    // Deeper images take 16 bits.
    const OwnedDib floats = NewDib(QMPIXEL_RGBAFLOAT, 1, 1);
    const float pixel[4] = {0.25f, 0.5f, 0.75f, 1};
    std::copy_n(pixel, 4, reinterpret_cast<float*>(Bits(floats)));
    Encoded png;
    ASSERT_EQ(QmDibToPng(floats.get(), nullptr, 0, &png.bytes, &png.size), S_OK);
    const OwnedDib deep = Read(png);
    EXPECT_EQ(QmGetPixelType(deep.get()), QMPIXEL_RGBA64);
    EXPECT_EQ(reinterpret_cast<uint16_t*>(Bits(deep))[0], 16384);
}

TEST(Pictures, JpegComesBackCloseAndUpright) {
    for (const QMPIXELTYPE type : {QMPIXEL_RGB24, QMPIXEL_GRAY8}) {
        const OwnedDib dib = NewDib(type, 48, 32);
        const uint32_t stride = QmDibStride(dib.get());
        for (uint32_t i = 0; i < dib->biSizeImage; i++)
            Bits(dib)[i] = static_cast<uint8_t>(i / stride * 7 + i % stride / 3);
        Encoded jpeg;
        ASSERT_EQ(QmDibToJpeg(dib.get(), nullptr, 0, 95, &jpeg.bytes, &jpeg.size), S_OK);
        const OwnedDib back = Read(jpeg);
        ASSERT_EQ(QmGetPixelType(back.get()), type);
        for (uint32_t i = 0; i < dib->biSizeImage; i++) ASSERT_NEAR(Bits(back)[i], Bits(dib)[i], 8) << i;
    }
}

TEST(Pictures, DamageIsRefusedAndMemoryMayRunOut) {
    std::mt19937 random(10);
    const OwnedDib dib = NewDib(QMPIXEL_RGB24, 20, 20);
    FillRandom(dib, random);
    Encoded png, jpeg;
    ASSERT_EQ(QmDibToPng(dib.get(), nullptr, 0, &png.bytes, &png.size), S_OK);
    ASSERT_EQ(QmDibToJpeg(dib.get(), nullptr, 0, 90, &jpeg.bytes, &jpeg.size), S_OK);
    for (const Encoded* picture : {&png, &jpeg})
        for (size_t length = 0; length + 20 < picture->size; length += 11) {
            BITMAPINFOHEADER* made = nullptr;
            // Of its exact size, so that a read too far is seen.
            const std::vector<uint8_t> part(static_cast<uint8_t*>(picture->bytes),
                                            static_cast<uint8_t*>(picture->bytes) + length);
            EXPECT_TRUE(Failed(QmDibFromPicture(&made, part.data(), length))) << length;
            EXPECT_EQ(made, nullptr);
        }
    auto* header = static_cast<uint8_t*>(png.bytes);
    BITMAPINFOHEADER* made = nullptr;
    for (int n = 0; n < 2; n++) {
        const FailAlloc fail(n, true);
        EXPECT_EQ(QmDibFromPicture(&made, png.bytes, png.size), n == 0 ? E_OUTOFMEMORY : S_OK);
        QmDibFree(made);
    }
    header[17] = 0x40;  // four million pixels wide, and the check sum wrong
    EXPECT_EQ(QmDibFromPicture(&made, png.bytes, png.size), QM_E_UNKNOWN_FORMAT);
    EXPECT_EQ(QmDibFromPicture(&made, "BM", 2), QM_E_UNKNOWN_FORMAT);
    EXPECT_EQ(QmDibFromPicture(nullptr, "BM", 2), E_POINTER);
}

}  // namespace
