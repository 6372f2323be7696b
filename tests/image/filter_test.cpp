// Operations on whole images, each against what it says, pixel by pixel.
#include "image/dib_filters.h"
#include "tests/image/image_support.h"

#include <cmath>
#include <functional>

using namespace tarn;

namespace {

constexpr int32_t WIDTH = 37, HEIGHT = 19;

QMDIBREF Ref(const OwnedDib& dib) { return {dib.get(), nullptr, 0}; }

/// A channel, from the picture's top, at full scale 1 for floats and 255 for bytes.
double At(const OwnedDib& dib, int x, int y, int c) {
    const size_t i = (static_cast<size_t>(dib->biHeight - 1 - y) * static_cast<size_t>(dib->biWidth) +
                      static_cast<size_t>(x)) *
                         4 +
                     static_cast<size_t>(c);
    return dib->biBitCount == 32 ? Bits(dib)[i] : static_cast<double>(reinterpret_cast<float*>(Bits(dib))[i]);
}

OwnedDib Noise(QMPIXELTYPE type, std::mt19937& random) {
    OwnedDib dib = NewDib(type, WIDTH, HEIGHT);
    FillRandom(dib, random);
    if (type == QMPIXEL_RGBAFLOAT)
        for (uint32_t i = 0; i < dib->biSizeImage / 4; i++)
            reinterpret_cast<float*>(Bits(dib))[i] = static_cast<float>(random() % 256) / 255;
    return dib;
}

TEST(Filters, DoWhatTheySay) {
    std::mt19937 random(12);
    for (const QMPIXELTYPE type : {QMPIXEL_RGBA32_ALT, QMPIXEL_RGBAFLOAT}) {
        const bool isByte = type != QMPIXEL_RGBAFLOAT;
        const double full = isByte ? 255 : 1;
        const OwnedDib a = Noise(type, random), b = Noise(type, random), d = Noise(type, random),
                       before = NewDib(type, WIDTH, HEIGHT);
        const std::vector<uint8_t> content = Bytes(d);
        std::copy(content.begin(), content.end(), Bits(before));
        const QMDIBREF to = Ref(d), from = Ref(a), other = Ref(b);
        const auto mean = [&](int x, int y, int c) {
            double sum = 0;
            for (int j = -2; j <= 2; j++)
                for (int i = -3; i <= 3; i++)
                    sum += At(a, std::clamp(x + i, 0, WIDTH - 1), std::clamp(y + j, 0, HEIGHT - 1), c);
            return sum / 35;
        };
        struct Row {
            const char* name;
            std::function<HRESULT()> run;
            std::function<double(int, int, int)> expected;
        };
        for (const Row& row :
             {Row{"over", [&] { return QmDibOver(&to, &from); },
                  [&](int x, int y, int c) {
                      return At(before, x, y, c) * (1 - At(a, x, y, 3) / full) + At(a, x, y, c);
                  }},
              Row{"under", [&] { return QmDibUnder(&to, &from); },
                  [&](int x, int y, int c) {
                      return At(a, x, y, c) * (1 - At(before, x, y, 3) / full) + At(before, x, y, c);
                  }},
              Row{"cutout", [&] { return QmDibCutout(&to, &from); },
                  [&](int x, int y, int c) { return At(before, x, y, c) * (1 - At(a, x, y, 3) / full); }},
              Row{"fade", [&] { return QmDibWeightedCrossFade(&to, &from, &other, 64); },
                  [&](int x, int y, int c) { return At(a, x, y, c) * 0.75 + At(b, x, y, c) * 0.25; }},
              Row{"fields", [&] { return QmDibFieldBlend(&to, &from); },
                  [&](int x, int y, int c) {
                      return (At(a, x, y, c) + At(a, x, y == HEIGHT - 1 ? y - 1 : y + 1, c)) / 2;
                  }},
              Row{"interlace", [&] { return QmDibCopyInterlace(&to, &from, 1); },
                  [&](int x, int y, int c) { return At(y % 2 ? a : before, x, y, c); }},
              Row{"blur", [&] { return QmDibBlur(&to, &from, 3, 2); }, mean},
              Row{"desaturate", [&] { return QmDibDesaturate(&to, 192); },
                  [&](int x, int y, int c) {
                      const double first = At(before, x, y, 0), last = At(before, x, y, 2);
                      const double gray =
                          0.587 * At(before, x, y, 1) +
                          (isByte ? 0.114 * first + 0.299 * last : 0.299 * first + 0.114 * last);
                      return c == 3 ? At(before, x, y, 3) : At(before, x, y, c) * 0.25 + gray * 0.75;
                  }},
              Row{"half round", [&] { return QmDibRotate180(&to, &from); },
                  [&](int x, int y, int c) { return At(a, WIDTH - 1 - x, HEIGHT - 1 - y, c); }}}) {
            std::copy(content.begin(), content.end(), Bits(d));
            ASSERT_EQ(row.run(), S_OK) << row.name;
            for (int y = 0; y < HEIGHT; y++)
                for (int x = 0; x < WIDTH; x++)
                    for (int c = 0; c < 4; c++)
                        ASSERT_NEAR(At(d, x, y, c), std::min(full, row.expected(x, y, c)),
                                    isByte ? 0.9 : 1e-6)
                            << row.name << ' ' << x << ',' << y << ',' << c;
        }
        const OwnedDib small = NewDib(type, WIDTH - 1, HEIGHT);
        const QMDIBREF wrong = Ref(small);
        EXPECT_EQ(QmDibOver(&to, &wrong), E_INVALIDARG);
        EXPECT_EQ(QmDibBlur(&to, &from, -1, 0), E_INVALIDARG);
        EXPECT_EQ(QmDibUnder(&to, nullptr), E_POINTER);
    }
}

TEST(Filters, RotationsByTheirCorners) {
    std::mt19937 random(13);
    for (const QMPIXELTYPE type :
         {QMPIXEL_GRAY8, QMPIXEL_RGB565, QMPIXEL_RGB24, QMPIXEL_RGBA32, QMPIXEL_RGBA64, QMPIXEL_RGBAFLOAT}) {
        const OwnedDib src = NewDib(type, WIDTH, HEIGHT), dst = NewDib(type, HEIGHT, WIDTH),
                       back = NewDib(type, WIDTH, HEIGHT);
        FillRandom(src, random);
        const OwnedDib seen = Converted(src, QMPIXEL_RGBA32);
        const QMDIBREF to = Ref(dst), from = Ref(src), again = Ref(back);
        ASSERT_EQ(QmDibRotate90(&to, &from, DIB_ROTATE_CLOCKWISE), S_OK);
        uint32_t row[WIDTH], turned[HEIGHT];
        for (int32_t y = 0; y < HEIGHT; y++) {
            QmDibReadRow(src.get(), nullptr, 0, y, row);
            for (int32_t x = 0; x < WIDTH; x++) {
                QmDibReadRow(dst.get(), nullptr, 0, x, turned);
                ASSERT_EQ(turned[HEIGHT - 1 - y], row[x]) << type;
            }
        }
        ASSERT_EQ(QmDibRotate90(&again, &to, DIB_ROTATE_COUNTERCLOCKWISE), S_OK);
        EXPECT_EQ(Bytes(Converted(back, QMPIXEL_RGBA32)), Bytes(seen));
        EXPECT_EQ(QmDibRotate90(&again, &from, 0), E_INVALIDARG) << "of the wrong size";
    }
}

}  // namespace
