// Scaling against the filter evaluated directly.
#include "image/scale.h"
#include "tests/image/image_support.h"

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace tarn;

namespace {

struct Span {
    double low, high;
    double Width() const { return high - low; }
};

/// Where the centre of destination pixel `at` lies among the centres of the source's pixels.
double Place(int at, Span dst, Span src) {
    const double from = at + 0.5 - dst.low;
    const double x = dst.Width() > 2 ? (from - 0.5) * (src.Width() - 1) / (dst.Width() - 1)
                                     : from * src.Width() / dst.Width() - 0.5;
    return src.low + std::clamp(x, 0.0, src.Width() - 1);
}

double Kernel(bool isCubic, double x) {
    x = std::abs(x);
    if (!isCubic) return x < 1 ? 1 - x : 0;
    return x < 1 ? 1.5 * x * x * x - 2.5 * x * x + 1 : x < 2 ? -0.5 * x * x * x + 2.5 * x * x - 4 * x + 2 : 0;
}

struct Picture {
    SIZE size;
    size_t bytes;
    std::vector<uint8_t> pixels;
    Picture(LONG width, LONG height, size_t bytesPerPixel)
        : size{width, height}, bytes(bytesPerPixel),
          pixels(static_cast<size_t>(width) * static_cast<size_t>(height) * bytesPerPixel) {}
    int32_t Stride() const { return static_cast<int32_t>(size.cx) * static_cast<int32_t>(bytes); }
    double At(int x, int y, int c) const {
        const size_t i =
            (static_cast<size_t>(y) * static_cast<size_t>(size.cx) + static_cast<size_t>(x)) * 4 +
            static_cast<size_t>(c);
        return bytes == 4 ? pixels[i] : static_cast<double>(reinterpret_cast<const float*>(pixels.data())[i]);
    }
    void Randomize(std::mt19937& random) {
        if (bytes == 4)
            for (uint8_t& p : pixels) p = static_cast<uint8_t>(random());
        else
            for (size_t i = 0; i < pixels.size() / 4; i++)
                reinterpret_cast<float*>(pixels.data())[i] = static_cast<float>(random() % 4096) / 4095;
    }
};

RECT ToQ14(Span x, Span y) {
    const auto q = [](double v) { return static_cast<LONG>(v * Q14_ONE); };
    return {q(x.low), q(y.low), q(x.high), q(y.high)};
}

TEST(Scale, IsTheFilterEvaluatedDirectly) {
    std::mt19937 random(6);
    struct Row {
        LONG width, height, toWidth, toHeight;
        Span dstX, dstY, srcX, srcY;
    };
    for (const Row& row : {Row{40, 30, 27, 20, {0, 27}, {0, 20}, {0, 40}, {0, 30}},
                           Row{9, 7, 50, 61, {0, 50}, {0, 61}, {0, 9}, {0, 7}},
                           Row{40, 30, 40, 30, {2.25, 37.5}, {3, 29.75}, {1.5, 30.25}, {0.5, 29}},
                           Row{1, 1, 9, 5, {0, 9}, {0, 5}, {0, 1}, {0, 1}},
                           Row{30, 30, 2, 1, {0, 2}, {0, 1}, {0, 30}, {4, 29}}})
        for (const size_t bytes : {size_t{4}, size_t{16}})
            for (const bool isCubic : {false, true}) {
                Picture src(row.width, row.height, bytes), dst(row.toWidth, row.toHeight, bytes);
                src.Randomize(random);
                const RECT to = ToQ14(row.dstX, row.dstY), from = ToQ14(row.srcX, row.srcY);
                const auto scale = isCubic ? QmDibScale_BiCubicSubPixel : QmDibScale_BilinearSubPixel;
                ASSERT_EQ(scale(dst.pixels.data(), &dst.size, dst.Stride(), &to, src.pixels.data(), &src.size,
                                src.Stride(), &from, static_cast<uint32_t>(bytes)),
                          S_OK);
                const auto pixel = [](Span s, int at) {
                    return std::clamp(at, static_cast<int>(std::floor(s.low)),
                                      static_cast<int>(std::ceil(s.high)) - 1);
                };
                double worst = 0;
                for (int y = static_cast<int>(row.dstY.low); y < row.dstY.high; y++)
                    for (int x = static_cast<int>(row.dstX.low); x < row.dstX.high; x++)
                        for (int c = 0; c < 4; c++) {
                            const double sx = Place(x, row.dstX, row.srcX), sy = Place(y, row.dstY, row.srcY);
                            double value = 0;
                            for (int j = -1; j <= 2; j++)
                                for (int i = -1; i <= 2; i++) {
                                    const int px = static_cast<int>(std::floor(sx)) + i,
                                              py = static_cast<int>(std::floor(sy)) + j;
                                    value += Kernel(isCubic, sx - px) * Kernel(isCubic, sy - py) *
                                             src.At(pixel(row.srcX, px), pixel(row.srcY, py), c);
                                }
                            if (bytes == 4) value = std::clamp(value, 0.0, 255.0);
                            worst = std::max(worst, std::abs(value - dst.At(x, y, c)));
                        }
                // Positions are cut to 1/16384 pixel.
                EXPECT_LT(worst, bytes == 4 ? 0.6 : 5e-4)
                    << row.width << " to " << row.toWidth << " cubic " << isCubic;
            }
}

TEST(Scale, OneToOneIsACopyAndLevelsAgree) {
    std::mt19937 random(8);
    Picture src(33, 21, 4), dst(33, 21, 4);
    src.Randomize(random);
    for (const auto scale : {QmDibScale_Bilinear, QmDibScale_BiCubic}) {
        std::fill(dst.pixels.begin(), dst.pixels.end(), uint8_t{0});
        ASSERT_EQ(scale(dst.pixels.data(), &dst.size, dst.Stride(), nullptr, src.pixels.data(), &src.size,
                        src.Stride(), nullptr, 4),
                  S_OK);
        EXPECT_EQ(dst.pixels, src.pixels);
        EXPECT_EQ(scale(dst.pixels.data(), &dst.size, dst.Stride(), nullptr, src.pixels.data(), &src.size,
                        src.Stride(), nullptr, 3),
                  E_INVALIDARG);
        EXPECT_EQ(scale(nullptr, &dst.size, dst.Stride(), nullptr, src.pixels.data(), &src.size, src.Stride(),
                        nullptr, 4),
                  E_POINTER);
    }
    for (const ImageRows* rows : VectorRows())
        for (int32_t n = 1; n < 40; n++) {
            const auto channels = static_cast<size_t>(n) * 4;
            std::vector<uint8_t> a(channels), b(channels), c(channels), d(channels), out(channels),
                expected(channels);
            for (auto* row : {&a, &b, &c, &d})
                for (uint8_t& p : *row)
                    p = random() % 3 ? static_cast<uint8_t>(random()) : uint8_t(random() % 2 * 255);
            // Pads as the resampler has them: one before, two behind.
            std::vector<int16_t> between(channels + 12), same(channels + 12), lerp(channels), cubic(channels);
            std::vector<int32_t> at(static_cast<size_t>(n));
            for (size_t i = 0; i < at.size(); i++) {
                at[i] = static_cast<int32_t>(random() % static_cast<uint32_t>(n));
                const auto weight = static_cast<int16_t>(random() & 0x7FFF);
                const int16_t cubics[4] = {-900, 12000, 6084, -800};
                for (size_t k = 0; k < 4; k++)
                    lerp[4 * i + k] = weight, cubic[4 * i + k] = cubics[(i + k) % 4];
            }
            const uint8_t* four[4] = {a.data(), b.data(), c.data(), d.data()};
            const auto w = static_cast<int16_t>(random() & 0x7FFF);
            const auto check = [&](const ImageRows& r, std::vector<int16_t>& rowOut,
                                   std::vector<uint8_t>& pixels, bool isCubic) {
                if (isCubic) {
                    r.cubicRows(rowOut.data() + 4, four, n * 4, &cubic[0]);
                    r.cubicColumns(pixels.data(), rowOut.data(), at.data(), cubic.data(), n);
                } else {
                    r.lerpRows(rowOut.data(), a.data(), b.data(), n * 4, w);
                    r.lerpColumns(pixels.data(), rowOut.data(), at.data(), lerp.data(), n);
                }
            };
            for (const bool isCubic : {false, true}) {
                check(PlainRows(), same, expected, isCubic);
                check(*rows, between, out, isCubic);
                ASSERT_EQ(between, same) << n;
                ASSERT_EQ(out, expected) << n;
            }
            // The loops that the compiler makes vectors of.
            std::vector<uint8_t> p = a, q = a;
            for (const auto change : {&ImageRows::premultiply8, &ImageRows::swapRedBlue}) {
                (PlainRows().*change)(p.data(), n);
                (rows->*change)(q.data(), n);
            }
            PlainRows().desaturate8(p.data(), n, 77);
            rows->desaturate8(q.data(), n, 77);
            PlainRows().crossFade8(p.data(), p.data(), b.data(), n * 4, 99);
            rows->crossFade8(q.data(), q.data(), b.data(), n * 4, 99);
            ASSERT_EQ(p, q) << n;
        }
}

TEST(Scale, FloatRowsOfEveryLevelAreThePlainOnes) {
    std::mt19937 random(9);
    const auto noise = [&](size_t count) {
        std::vector<float> values(count);
        for (float& v : values) v = static_cast<float>(random() % 4096) / 1000 - 1;
        return values;
    };
    for (const ImageRows* rows : VectorRows())
        for (int32_t n = 1; n < 40; n++) {
            const auto channels = static_cast<size_t>(n) * 4;
            const std::vector<float> a = noise(channels), b = noise(channels), c = noise(channels),
                                     d = noise(channels), row = noise(channels + 12),
                                     weights = noise(channels);
            const float* const four[4] = {a.data(), b.data(), c.data(), d.data()};
            std::vector<int32_t> at(static_cast<size_t>(n));
            for (int32_t& x : at) x = static_cast<int32_t>(random() % static_cast<uint32_t>(n));
            const auto made = [&](const ImageRows& r) {
                std::vector<std::vector<float>> out(7, a);
                r.lerpRowsFloat(out[0].data(), a.data(), b.data(), n * 4, 0.3f);
                r.lerpColumnsFloat(out[1].data(), row.data(), at.data(), weights.data(), n);
                r.cubicRowsFloat(out[2].data(), four, n * 4, weights.data());
                r.cubicColumnsFloat(out[3].data(), row.data(), at.data(), weights.data(), n);
                r.crossFadeFloat(out[4].data(), a.data(), b.data(), n * 4, 0.7f);
                r.premultiplyFloat(out[5].data(), n);
                r.desaturateFloat(out[6].data(), n, 0.6f);
                return out;
            };
            ASSERT_EQ(made(*rows), made(PlainRows())) << n;
        }
}

}  // namespace
