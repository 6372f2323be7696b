#include "console/strip_layout.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr ConsoleFontMeasures FONTS{{7, 15}, {6, 13}, 29, 34, 24, 27, 9};

TEST(Metrics, FollowTheFontsAndKeepWidthsThatAreSet) {
    tConsoleMetrics m;
    ComputeMetrics(m, FONTS, false);
    EXPECT_EQ(m.nRowHeight, 21);
    EXPECT_EQ(m.nSmallRowHeight, 19);
    EXPECT_EQ(m.cxTitleIcon, 17);
    EXPECT_EQ(m.nPeakTextWidth, 31);
    EXPECT_EQ(m.nLabelColumnWidth, (36 + 12) + 27) << "N = 12, P = 36";
    EXPECT_EQ(m.cxChannelDefault, 37 + 28 + 21);
    EXPECT_EQ(m.cxChannelNarrow, 38 + 8 + 29);
    EXPECT_EQ(m.cxChannelWide, 37 + 75 + 21);
    EXPECT_EQ(m.cxChannelCurrent, m.cxChannelDefault);

    m.cxChannelCurrent = 200;
    ConsoleFontMeasures larger = FONTS;
    larger.control.cy = 30;
    ComputeMetrics(m, larger, false);
    EXPECT_EQ(m.cxChannelCurrent, 200);
    EXPECT_EQ(m.nRowHeight, 36);
    ComputeMetrics(m, larger, true);
    EXPECT_NE(m.cxChannelCurrent, 200);

    tConsoleMetrics german;
    ConsoleFontMeasures words = FONTS;
    words.primaryLanguage = 7;
    ComputeMetrics(german, words, false);
    EXPECT_EQ(german.cxChannelDefault, 86 + 27);
}

TEST(StripLayout, PartsLieInsideAndApartAtEverySize) {
    tConsoleMetrics m;
    ComputeMetrics(m, FONTS, false);
    for (LONG width : {m.cxChannelNarrow, m.cxChannelDefault, m.cxChannelDefault + 20, m.cxChannelWide})
        for (LONG height = 0; height < 700; height += 7)
            for (bool phase : {false, true}) {
                const RECT strip{100, 10, 100 + width, 10 + height};
                const StripRects r = LayoutStrip(strip, m, {17, {13, 19}, m.nLabelColumnWidth, true, phase});
                SCOPED_TRACE(testing::Message() << width << " x " << height);
                const std::vector<RECT> parts = {r.title, r.namePlate, r.mute,  r.solo,
                                                 r.phase, r.fader,     r.meter, r.valueLabel};
                for (size_t i = 0; i < parts.size(); i++) {
                    if (parts[i].IsEmpty()) continue;
                    EXPECT_GE(parts[i].left, strip.left);
                    EXPECT_GE(parts[i].top, strip.top);
                    EXPECT_LE(parts[i].right, strip.right);
                    EXPECT_LE(parts[i].bottom, strip.bottom);
                    for (size_t j = i + 1; j < parts.size(); j++)
                        EXPECT_FALSE(!parts[j].IsEmpty() && parts[i].Intersects(parts[j]))
                            << i << " meets " << j;
                }
                EXPECT_TRUE(height < 300 || !(r.fader.IsEmpty() || r.meter.IsEmpty()));
                EXPECT_TRUE(height >= 100 || r.faders.IsEmpty());
            }
}

}  // namespace
