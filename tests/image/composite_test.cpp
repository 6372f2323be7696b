// Blends against their formulas written again, all levels of the processor, placement between pixels.
#include "image/composite.h"
#include "tests/image/image_support.h"

#ifdef _OPENMP
#include <omp.h>
#endif

#include <array>
#include <cmath>
#include <cstring>

using namespace tarn;

namespace {

constexpr int32_t WEIGHTS[] = {16384, 0, 1, 64, 5461, 8192, 16383};

/// The table, in doubles, with each step's own cut to whole numbers where bytes have one. scale 255 or 1.
std::array<double, 4> Expected(int mode, std::array<double, 4> d, std::array<double, 4> s, int32_t weight,
                               double scale) {
    const bool isByte = scale > 1, isFull = weight == 16384;
    const auto cut = [&](double x) { return isByte ? std::trunc(x) : x; };
    const auto mul = [&](double a, double b) { return isByte ? std::floor(a * b / 255 + 0.5) : a * b; };
    const double sa = s[3], da = d[3], part = isByte ? (weight >> 6) / 256.0 : weight / 16384.0;
    if (mode >= 6) {
        const double weights[] = {
            scale - sa, da, scale - da, mul(sa, da), scale - mul(sa, da), std::max(sa, da), std::min(sa, da)};
        const double w = isFull ? weights[mode - 6] : cut(weights[mode - 6] * weight / 16384.0);
        for (int c = 0; c < 3; c++) {
            const double color = w != 0 ? std::min(scale, cut(s[c] * scale / w)) : d[c];
            d[c] += cut((color - d[c]) * w / (isByte ? 256 : 1));
        }
        d[3] = std::min(scale, da + w);
        return d;
    }
    if (mode == 0 && !isFull) {
        const double w = isByte ? std::trunc(weight * 255 / 16384.0) / 256 : weight / 16384.0;
        for (int c = 0; c < 4; c++) d[c] += cut((s[c] - d[c]) * w);
        return d;
    }
    std::array<double, 4> v = s;
    if (!isFull && mode != 3)
        for (double& x : v) x = cut(x * part);
    for (int c = 0; c < 4; c++) switch (mode) {
        case 0: d[c] = s[c]; break;
        case 1: d[c] = std::min(scale, d[c] + v[c]); break;
        case 2: d[c] = c == 3 ? d[c] : std::max(0.0, d[c] - v[c]); break;
        case 3: d[c] = isFull ? mul(d[c], v[c]) : d[c] - cut((d[c] - mul(d[c], v[c])) * part); break;
        default: d[c] = std::min(scale, mul(d[c], scale - v[3]) + v[c]); break;
        }
    return d;
}

TEST(Blends, FollowTheTable) {
    std::mt19937 random(1);
    const uint8_t edges[] = {0, 1, 127, 128, 254, 255};
    for (int mode = 0; mode < BLEND_MODES; mode++)
        for (const int32_t weight : WEIGHTS)
            for (int n = 0; n < 4000; n++) {
                uint8_t s[4], d[4];
                std::array<double, 4> sx, dx;
                float sf[4], df[4];
                for (int c = 0; c < 4; c++) {
                    s[c] = n % 2 ? static_cast<uint8_t>(random()) : edges[random() % 6];
                    d[c] = n % 3 ? static_cast<uint8_t>(random()) : edges[random() % 6];
                    sx[static_cast<size_t>(c)] = s[c], dx[static_cast<size_t>(c)] = d[c];
                    sf[c] = static_cast<float>(s[c]) / 255, df[c] = static_cast<float>(d[c]) / 255;
                }
                const auto bytes = Expected(mode, dx, sx, weight, 255);
                for (auto* x : {&sx, &dx})
                    for (double& value : *x) value = static_cast<double>(static_cast<float>(value) / 255);
                const auto floats = Expected(mode, dx, sx, weight, 1);
                PlainRows().blend8[mode](d, s, 1, weight);
                PlainRows().blendFloat[mode](reinterpret_cast<uint8_t*>(df),
                                             reinterpret_cast<const uint8_t*>(sf), 1, weight);
                for (size_t c = 0; c < 4; c++) {
                    ASSERT_EQ(d[c], bytes[c]) << "mode " << mode << " weight " << weight << " channel " << c;
                    ASSERT_NEAR(static_cast<double>(df[c]), floats[c], 1e-6)
                        << "mode " << mode << " weight " << weight;
                }
            }
}

TEST(Blends, EveryLevelIsThePlainOne) {
    std::mt19937 random(2);
    constexpr int32_t MOST = 67;
    for (const ImageRows* rows : VectorRows())
        for (int mode = 0; mode < BLEND_MODES; mode++)
            for (int32_t n = 0; n <= MOST; n++)
                for (const size_t bytes : {size_t{4}, size_t{16}}) {
                    const size_t size = static_cast<size_t>(n) * bytes;
                    std::vector<uint8_t> s(size), d(size);  // of their exact size, for the sanitizer
                    for (auto* row : {&s, &d})
                        for (size_t i = 0; i < size; i += 4) {
                            const float value = static_cast<float>(random() % 513) / 512.0f;
                            const auto word = static_cast<uint32_t>(random());
                            std::memcpy(row->data() + i,
                                        bytes == 4 ? static_cast<const void*>(&word) : &value, 4);
                        }
                    std::vector<uint8_t> expected = d;
                    const int32_t weight = WEIGHTS[random() % std::size(WEIGHTS)];
                    const auto blend = [&](const ImageRows& r) {
                        return (bytes == 4 ? r.blend8 : r.blendFloat)[mode];
                    };
                    blend(PlainRows())(expected.data(), s.data(), n, weight);
                    blend (*rows)(d.data(), s.data(), n, weight);
                    ASSERT_EQ(d, expected) << "mode " << mode << " pixels " << n << " weight " << weight;
                }
}

QMCOMPOSITEPARAMS Mode(int32_t mode) { return {sizeof(QMCOMPOSITEPARAMS), mode, {}}; }
constexpr RECT Q14(double left, double top, double right, double bottom) {
    return {static_cast<LONG>(left * Q14_ONE), static_cast<LONG>(top * Q14_ONE),
            static_cast<LONG>(right * Q14_ONE), static_cast<LONG>(bottom * Q14_ONE)};
}

TEST(Composite, WhatIsRefused) {
    const OwnedDib bytes = NewDib(QMPIXEL_RGBA32, 4, 4), alt = NewDib(QMPIXEL_RGBA32_ALT, 4, 4),
                   floats = NewDib(QMPIXEL_RGBAFLOAT, 4, 4), rgb = NewDib(QMPIXEL_RGB24, 4, 4);
    const auto run = [&](const OwnedDib& d, const OwnedDib& s, int32_t mode, const RECT* to = nullptr,
                         uint32_t flags = 0) {
        const QMCOMPOSITEPARAMS params = Mode(mode);
        return QmDibComposite(d.get(), nullptr, to, 0, s.get(), nullptr, nullptr, 0, &params, flags);
    };
    EXPECT_EQ(run(bytes, alt, 4), S_OK);
    EXPECT_EQ(run(bytes, floats, 4), E_INVALIDARG);
    EXPECT_EQ(run(rgb, rgb, 4), E_INVALIDARG);
    EXPECT_EQ(run(bytes, bytes, COMPOSITE_CUSTOM), E_INVALIDARG) << "without a routine";
    const RECT half = Q14(0, 0, 2.5, 4), vast{0, 0, INT32_MAX, 4};
    EXPECT_EQ(run(bytes, bytes, 14, &half, COMPOSITE_SUBPIXEL), E_NOTIMPL);
    EXPECT_EQ(run(bytes, bytes, -2), E_NOTIMPL);
    EXPECT_EQ(run(bytes, bytes, 4, &vast), E_INVALIDARG);
    EXPECT_EQ(QmDibComposite(bytes.get(), nullptr, nullptr, 0, alt.get(), nullptr, nullptr, 0, nullptr, 0),
              E_POINTER);
    const SIZE size{4, 4};
    EXPECT_EQ(QmDibPremultiply(Bits(bytes), nullptr, 16, nullptr, 4), E_POINTER);
    EXPECT_EQ(QmDibPremultiply(Bits(bytes), &size, 16, nullptr, 8), E_INVALIDARG);

    QMSUBPIXELPARAM p;
    const auto prepare = [&](const RECT& d, const RECT& s) {
        return QmPrepareSubpixelParam(&p, Bits(bytes), &size, 16, &d, Bits(alt), &size, 16, &s);
    };
    EXPECT_EQ(prepare(Q14(0, 0, 4, 4), Q14(1, 0, 1.5, 4)), 0) << "half a pixel of the source";
    EXPECT_EQ(prepare(Q14(0, 0, 0.06, 4), Q14(0, 0, 4, 4)), 0) << "less than 1/16 pixel";
    EXPECT_EQ(prepare(Q14(4, 0, 8, 4), Q14(0, 0, 4, 4)), 0);
    EXPECT_EQ(prepare({INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX}, Q14(0, 0, 4, 4)), 1);
    ASSERT_EQ(prepare(Q14(-2, 0, 6, 3), Q14(0, 0, 4, 3)), 1);
    EXPECT_EQ(p.dst, Q14(0, 0, 4, 3));
    EXPECT_EQ(p.src, Q14(1, 0, 3, 3)) << "what the destination lost, in the source's measure";
    EXPECT_EQ(p.scaleX, Q14_ONE / 2);
    EXPECT_EQ(p.stepX, Q14_ONE / 3);
    ASSERT_EQ(prepare(Q14(0, 0, 4, 4), Q14(-4, 0, 4, 4)), 1);
    EXPECT_EQ(p.dst, Q14(2, 0, 4, 4)) << "what the source has not";
}

TEST(Composite, PlacesFractionsOfPixels) {
    // A white square of 2 x 2 laid a quarter of a pixel to the right and half a pixel down.
    const OwnedDib dst = NewDib(QMPIXEL_RGBA32, 5, 5), src = NewDib(QMPIXEL_RGBA32_ALT, 2, 2);
    std::memset(Bits(src), 255, src->biSizeImage);
    const RECT to = Q14(1.25, 1.5, 3.25, 3.5);
    const QMCOMPOSITEPARAMS params = Mode(COMPOSITE_OVER);
    ASSERT_EQ(QmDibComposite(dst.get(), nullptr, &to, 0, src.get(), nullptr, nullptr, 0, &params,
                             COMPOSITE_SUBPIXEL),
              S_OK);
    constexpr double ACROSS[5] = {0, 0.75, 1, 0.25, 0}, DOWN[5] = {0, 0.5, 1, 0.5, 0};
    for (int y = 0; y < 5; y++)
        for (int x = 0; x < 5; x++) {
            const uint8_t found = Bits(dst)[((4 - y) * 5 + x) * 4];  // rows lie from the lowest
            EXPECT_NEAR(found, 255 * ACROSS[x] * DOWN[y], 1) << x << ',' << y;
        }

    // On the grid, and of one size: as if the rectangles were of whole pixels, and all levels and threads
    // alike.
    std::mt19937 random(4);
    for (const QMPIXELTYPE type : {QMPIXEL_RGBA32, QMPIXEL_RGBAFLOAT}) {
        const OwnedDib base = NewDib(type, 700, 300), over = NewDib(type, 650, 310);
        FillRandom(base, random);
        FillRandom(over, random);
        for (auto* dib : {&base, &over})
            if (type == QMPIXEL_RGBAFLOAT)
                for (uint32_t i = 0; i < (*dib)->biSizeImage / 4; i++)
                    reinterpret_cast<float*>(Bits(*dib))[i] = static_cast<float>(random() % 1000) / 999;
        const std::vector<uint8_t> before = Bytes(base);
        const auto run = [&](const RECT& d, const RECT& s, uint32_t flags) {
            std::memcpy(Bits(base), before.data(), before.size());
            EXPECT_EQ(QmDibComposite(base.get(), nullptr, &d, 0, over.get(), nullptr, &s, 0, &params, flags),
                      S_OK);
            return Bytes(base);
        };
        const RECT d{-5, 3, 645, 293}, s{0, -3, 650, 287}, dq = Q14(-5, 3, 645, 293),
                                                           sq = Q14(0, -3, 650, 287);
        EXPECT_EQ(run(d, s, 0), run(dq, sq, COMPOSITE_SUBPIXEL));
        const RECT dSoft = Q14(10.3, 7.75, 500.5, 290.125);
        const std::vector<uint8_t> expected = run(dSoft, sq, COMPOSITE_SUBPIXEL);
        for (const uint32_t bits : {0u, uint32_t{CPU_SUPPORT_AVX2}}) {
            QmOnlyAllowCPUSupport(bits);
            EXPECT_EQ(run(dSoft, sq, COMPOSITE_SUBPIXEL), expected) << bits;
            QmOnlyAllowCPUSupport(UINT32_MAX);
        }
#ifdef _OPENMP
        for (const int threads : {1, 2, 5}) {
            omp_set_num_threads(threads);
            EXPECT_EQ(run(dSoft, sq, COMPOSITE_SUBPIXEL), expected) << threads << " threads";
        }
        omp_set_num_threads(omp_get_num_procs());
#endif
    }
}

TEST(Composite, CustomBlendsSeeCoverageAndPremultiplyCuts) {
    struct Seen {
        int64_t weight = 0;
        int32_t pixels = 0;
    } seen;
    QMCOMPOSITEPARAMS params = Mode(COMPOSITE_CUSTOM);
    params.custom = {
        [](void* context, void* dst, const void* src, int32_t pixels, int32_t weight, uint32_t bytes) {
            auto* s = static_cast<Seen*>(context);
            s->weight += int64_t{weight} * pixels;
            s->pixels += pixels;
            std::memcpy(dst, src, static_cast<size_t>(pixels) * bytes);
        },
        &seen};
    const OwnedDib dst = NewDib(QMPIXEL_RGBA32, 8, 8), src = NewDib(QMPIXEL_RGBA32, 3, 3);
    const RECT to = Q14(0.5, 0.5, 6, 7.25);
    ASSERT_EQ(QmDibComposite(dst.get(), nullptr, &to, 0, src.get(), nullptr, nullptr, 0, &params,
                             COMPOSITE_SUBPIXEL),
              S_OK);
    EXPECT_EQ(seen.pixels, 6 * 8);
    EXPECT_EQ(seen.weight, static_cast<int64_t>(5.5 * 6.75 * 16384)) << "the rectangle's area";

    uint8_t pixels[8] = {255, 254, 3, 128, 9, 9, 9, 77};
    const SIZE size{2, 1};
    const RECT first{-3, 0, 1, 1};
    ASSERT_EQ(QmDibPremultiply(pixels, &size, 8, &first, 4), S_OK);
    const uint8_t expected[8] = {128, 127, 1, 128, 9, 9, 9, 77};
    EXPECT_EQ(std::memcmp(pixels, expected, 8), 0);
}

}  // namespace
