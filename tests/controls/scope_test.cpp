// The scope's plot: points where the formulae put them, and nothing outside the image.
#include "controls/scope.h"
#include "controls/scope_grid.h"
#include "fake_window.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>

#include <cmath>
#include <limits>
#include <set>

namespace {
constexpr RECT kPlot{10, 10, 110, 110};

class Plot : public testing::Test {
protected:
    ScopePlot plot;

    void SetUp() override { plot.Resize(120, 120, kPlot); }
    void Add(float l, float r, uint32_t style) {
        const float pair[] = {l, r};
        plot.Add({pair, 1, 0, 1, 2}, style);
    }
    uint32_t Lit(int32_t x, int32_t y) const { return plot.At(x, y) >> 24; }
    std::set<std::pair<int32_t, int32_t>> Centres() const {
        std::set<std::pair<int32_t, int32_t>> out;
        for (int32_t y = 0; y < 120; y++)
            for (int32_t x = 0; x < 120; x++)
                if (Lit(x, y) >= 110) out.insert({x, y});
        return out;
    }
};
}  // namespace

TEST_F(Plot, APointLightsItselfAndItsNeighboursUpToTheCeiling) {
    plot.Point(50, 60);
    EXPECT_EQ(plot.At(50, 60), 110u << 24 | 110 << 8 | 27);
    EXPECT_EQ(plot.At(49, 60), 55u << 24 | 55 << 8 | 13);
    EXPECT_EQ(plot.At(50, 61), 55u << 24 | 55 << 8 | 13);
    EXPECT_EQ(plot.At(49, 61), 0u);
    plot.Point(50, 60);
    EXPECT_EQ(Lit(50, 60), 165u);
    for (int i = 0; i < 200; i++) plot.Point(50, 60);
    EXPECT_LE(Lit(50, 60), kScopeBrightest);
    EXPECT_GE(Lit(50, 60), kScopeBrightest - 1);
}

TEST_F(Plot, DisplaysPutPairsWhereTheirFormulaeSay) {
    struct Row {
        uint32_t style;
        float l, r;
        std::set<std::pair<int32_t, int32_t>> points;
        const char* what;
    };
    for (const Row& row :
         {Row{SCOPES_XY, 0, 0, {{60, 60}}, "silence"}, Row{SCOPES_XY, 0.5f, 0.5f, {{85, 35}}, "mono"},
          Row{SCOPES_XY, 0.5f, -0.5f, {{85, 85}}, "inverted"},
          Row{SCOPES_XY, 1, 0, {{110, 60}}, "first side"}, Row{SCOPES_XY, 0, 1, {{60, 10}}, "second side"},
          Row{SCOPES_XY, 5, 5, {}, "beyond the image"},
          Row{SCOPES_XY, 1e-30f, 0.5f, {{60, 35}}, "too small to be heard"},
          Row{SCOPES_ROTATED, 0.5f, 0.5f, {{60, 35}}, "mono stands upright"},
          Row{SCOPES_ROTATED, 0.5f, 0, {{72, 47}}, "first side"},
          Row{SCOPES_POLAR_LINEAR, 0, 0, {{60, 110}}, "silence"}}) {
        SetUp();
        Add(row.l, row.r, row.style);
        EXPECT_EQ(Centres(), row.points) << row.style << " " << row.what;
    }
}

TEST_F(Plot, PolarDisplaysDrawLines) {
    constexpr int32_t kMiddle = 10 + 100 * 17 / 32, kLeaning = 45 * 0.7071068;
    struct Row {
        uint32_t style;
        float l, r;
        std::vector<std::pair<int32_t, int32_t>> lit, dark;
        const char* what;
    };
    for (const Row& row :
         {Row{SCOPES_POLAR_LINEAR, 1, 1, {{60, 11}, {60, 110}}, {{62, 60}}, "full mono is the middle column"},
          Row{SCOPES_POLAR_LINEAR, 0.5f, 0, {{85, 110}}, {{85, 70}}, "one side alone is halfway out"},
          Row{SCOPES_POLAR_CIRCULAR,
              0.5f,
              0.5f,
              {{60, kMiddle - 45}, {60, kMiddle - 28}},
              {{60, kMiddle - 20}},
              "mono: from the rim straight down"},
          Row{SCOPES_POLAR_CIRCULAR, 0.5f, 0, {{60 + kLeaning, kMiddle - kLeaning}}, {}, "one side leans"}}) {
        SetUp();
        Add(row.l, row.r, row.style);
        for (const auto& [x, y] : row.lit) EXPECT_GE(Lit(x, y), 110u) << row.what << ' ' << x << ',' << y;
        for (const auto& [x, y] : row.dark) EXPECT_EQ(Lit(x, y), 0u) << row.what << ' ' << x << ',' << y;
    }
    SetUp();
    Add(-0.5f, -0.5f, SCOPES_POLAR_CIRCULAR);
    EXPECT_TRUE(Centres().empty()) << "the lower quarter shows nothing";
}

// Sines a quarter period apart are a circle.
TEST_F(Plot, NinetyDegreesAreACircle) {
    for (int i = 0; i < 360; i++) {
        const double a = i * 3.14159265 / 180;
        Add(static_cast<float>(0.8 * std::cos(a)), static_cast<float>(0.8 * std::sin(a)), SCOPES_XY);
    }
    for (const auto& [x, y] : Centres()) EXPECT_NEAR(std::hypot(x - 60, y - 60), 40, 2) << x << " " << y;
    EXPECT_GT(Centres().size(), 200u);
}

TEST_F(Plot, AnySampleInAnyDisplayStaysInsideTheImage) {
    const float inf = std::numeric_limits<float>::infinity(), nan = std::nanf("");
    uint32_t seed = 1;
    const auto next = [&] { return seed = seed * 1664525 + 1013904223; };
    for (const RECT& rect : {kPlot, RECT{0, 0, 120, 120}, RECT{1, 1, 119, 119}, RECT{0, 0, 1, 1}}) {
        plot.Resize(120, 120, rect);
        for (const uint32_t style : {0u, 1u, 2u, 3u, 4u, 8u, 0x100u, 0x101u, 0x104u, 0x108u}) {
            for (const float v : {0.0f, 1.0f, -1.0f, 1e30f, -1e30f, inf, nan, 1e-38f})
                for (const float w : {0.0f, 1.0f, -1.0f, 1e30f, inf, nan}) Add(v, w, style);
            for (int i = 0; i < 2000; i++)
                Add(std::bit_cast<float>(next()), std::bit_cast<float>(next()), style);
            for (int i = 0; i < 2000; i++)
                Add(static_cast<float>(next() >> 8) / 8388608 - 1,
                    static_cast<float>(next() >> 8) / 8388608 - 1, style);
        }
        for (int32_t y = 0; y < 120; y++)
            for (int32_t x = 0; x < 120; x++) ASSERT_LE(Lit(x, y), kScopeBrightest);
    }
    plot.Resize(0, 0, {});
    Add(0, 0, SCOPES_XY);
}

TEST_F(Plot, FadesToNothingAndKeepsTheGrid) {
    plot.SetGrid({60 * 120 + 60, 60 * 120 + 61}, 0x203040);
    plot.Point(60, 60);
    EXPECT_EQ(plot.At(60, 60), 110u << 24 | 110 << 8 | 27) << "points lie over the grid";
    EXPECT_EQ(plot.At(61, 60) & 0xFFFFFF, 55u << 8 | 13);
    plot.Fade(0.5f);
    EXPECT_EQ(plot.At(60, 60), 55u << 24 | 55 << 8 | 14);
    EXPECT_EQ(plot.At(61, 60) & 0xFFFFFF, 0x203040u) << "the grid shows where it is brighter";
    EXPECT_EQ(plot.At(59, 60), 28u << 24 | 28 << 8 | 7);
    plot.Point(5, 5);
    plot.Fade(0);
    EXPECT_EQ(plot.At(60, 60) & 0xFFFFFF, 0x203040u);
    EXPECT_EQ(plot.At(50, 60), 0u);
    EXPECT_NE(plot.At(5, 5), 0u) << "outside the plot nothing is cleared";
}

TEST(ScopeMaths, TheFastTableIsNearTheExactOne) {
    for (float v = 0.001f; v < 2; v += 0.001f)
        EXPECT_NEAR(kFastScopeMath.sqrt(v) / std::sqrt(v), 1, 0.0018) << v;
    for (float a = -7; a < 7; a += 0.01f) {
        EXPECT_NEAR(kFastScopeMath.sin(a), std::sin(a), 0.0064) << a;
        EXPECT_NEAR(kFastScopeMath.cos(a), std::cos(a), 0.0064) << a;
    }
    for (float a = -3.1f; a < 3.1f; a += 0.01f)
        EXPECT_NEAR(kFastScopeMath.atan2(std::sin(a), std::cos(a)), a, 0.072) << a;
    EXPECT_EQ(kFastScopeMath.sin(0), 0);
    EXPECT_EQ(kFastScopeMath.cos(0), 1);
}

TEST(ScopeGrids, MarksHalveDownToTheLeastSpacing) {
    const float ticks[] = {-1, 0, 1, 2};
    EXPECT_EQ(ScopeMarks(ticks, 4, 160, 20), (std::vector<int32_t>{0, 20, 40, 60, 80, 100, 120, 140, 160}));
    EXPECT_EQ(ScopeMarks(ticks, 4, 160, 21), (std::vector<int32_t>{0, 40, 80, 120, 160}));
    EXPECT_EQ(ScopeMarks(nullptr, 0, 160, 20), std::vector<int32_t>());
}

namespace {
class Scope : public testing::Test {
protected:
    FakeWindow host;
    tQMSCOPE s;

    void Make(const RECT& rect) { ScopeInst_Init(&s, SCOPES_XY, &rect, &host, 1, 0); }
    void TearDown() override { ScopeInst_Deinit(&s); }
    uint32_t Lit(int32_t x, int32_t y) const { return s.plot->At(x, y) >> 24; }
};
}  // namespace

TEST_F(Scope, WithoutMemoryForItsImageItShowsNothing) {
    Make({0, 0, 0x7FFFFFF0, 0x7FFFFFF0});
    const RECT rect{0, 0, 80, 80};
    const float pair[] = {0.5f, 0.5f};
    const SCOPESAMPLES samples{pair, 1, 0, 1, 2};
    QImage image(80, 80, QImage::Format_RGB32);
    image.fill(Qt::blue);
    const QImage before = image;
    QPainter painter(&image);
    ScopeInst_Draw(&s, &painter);
    ScopeInst_SetPos(&s, &samples);
    ScopeInst_Reset(&s);
    EXPECT_EQ(image, before);
    ScopeInst_Move(&s, &rect);
    ScopeInst_SetPos(&s, &samples);
    ASSERT_NE(s.plot, nullptr);
    EXPECT_EQ(Lit(59, 20), 110u) << "there is memory again";
}

TEST_F(Scope, FollowsItsMessages) {
    Make({0, 0, 80, 80});
    const float frames[] = {9, 0.5f, 0.5f, 9, 0.5f, -0.5f};
    const SCOPESAMPLES samples{frames, 2, 1, 2, 3};
    ScopeInst_SetCount(&s, 1);
    ScopeInst_SetPos(&s, &samples);
    EXPECT_EQ(Lit(59, 20), 110u);
    EXPECT_EQ(Lit(59, 59), 0u) << "one point an update";
    EXPECT_EQ(host.invalid.size(), 1u);
    EXPECT_TRUE(ScopeInst_SetEnabled(&s, 0));
    ScopeInst_SetPos(&s, &samples);
    EXPECT_EQ(host.invalid.size(), 1u);
    EXPECT_FALSE(ScopeInst_SetEnabled(&s, 1));
    const float quarter = 0.25f;
    ScopeInst_Message(&s, SCOPEM_SETFADE, 0, reinterpret_cast<intptr_t>(&quarter));
    EXPECT_EQ(s.fade, 0.5f);
    EXPECT_EQ(ScopeInst_SetStyle(&s, SCOPES_POLAR_LINEAR, 1), SCOPES_POLAR_LINEAR);
    EXPECT_EQ(ScopeInst_GetStyle(&s), SCOPES_POLAR_LINEAR);
    QImage image(160, 160, QImage::Format_RGB32);
    image.setDevicePixelRatio(2);
    QPainter painter(&image);
    ScopeInst_Draw(&s, &painter);
    EXPECT_EQ(s.plot->Width(), 160) << "as many points as the screen has";
    ScopeInst_SetPos(&s, &samples);
    ScopeInst_Reset(&s);
    for (int32_t y = 0; y < 160; y++)
        for (int32_t x = 0; x < 160; x++) ASSERT_EQ(Lit(x, y), 0u);
}
