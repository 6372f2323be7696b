#include "console/strip_layout.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr ConsoleFontMeasures FONTS{{7, 15}, {6, 13}, 29, 34, 24, 27, 25, 9};

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

/// Every rectangle of a strip that a part can be hit in.
std::vector<RECT> Parts(const StripRects& r) {
    std::vector<RECT> parts = {r.title,
                               r.namePlate,
                               r.insertRows.column,
                               r.sendRows.column,
                               r.addSend,
                               r.input,
                               r.midiChannel,
                               r.scope,
                               r.vu,
                               r.peak,
                               r.automation,
                               r.arm,
                               r.monitor,
                               r.mute,
                               r.solo,
                               r.chain,
                               r.phase,
                               r.soloSafe,
                               r.pan,
                               r.panPad,
                               r.panValue,
                               r.lock,
                               r.value[0],
                               r.value[1]};
    parts.insert(parts.end(), r.inserts, r.inserts + r.insertRows.count);
    parts.insert(parts.end(), std::begin(r.outputs), std::end(r.outputs));
    parts.insert(parts.end(), std::begin(r.label), std::end(r.label));
    for (const SendRects& send : r.sends) {
        const RECT rows[] = {send.target, send.pan, send.level, send.prePost, send.value};
        parts.insert(parts.end(), std::begin(rows), std::end(rows));
    }
    for (int i = 0; i < SPEAKER_GROUPS; i++)
        for (const RECT& rect : {r.fader[i], r.meter[i], r.groupName[i]}) parts.push_back(rect);
    std::erase_if(parts, [](const RECT& part) { return part.IsEmpty(); });
    return parts;
}

/// All that a channel can have, and one that has four faders.
StripTraits FullTraits(bool four) {
    StripTraits t;
    t.kindIconWidth = 17;
    t.thumb = {19, 19};
    t.sendThumb = 15;
    t.meterPreferred = 75;
    t.valueHeight = 13;
    t.postWidth = 25;
    t.pan = t.chain = t.canSend = t.sendPan = t.input = t.automation = t.arm = t.monitor = t.phase =
        t.soloSafe = true;
    t.effects = 9;
    t.sends = 2;
    t.pair = !four;
    t.fourFaders = four;
    t.outputs = four ? 3 : 1;
    return t;
}

// Every set of regions, at every height and the widths that matter. A region that is there stays there at
// any larger height, so that nothing flickers while the window grows.
TEST(StripLayout, PartsLieInsideAndApartAndComeOneByOne) {
    tConsoleMetrics m;
    ComputeMetrics(m, FONTS, false);
    const LONG narrow = m.cxChannelNarrow, standard = m.cxChannelDefault, wide = m.cxChannelWide;
    const std::pair<LONG, bool> shapes[] = {
        {narrow, false}, {standard, false}, {wide, false}, {m.cxSurroundDefault, true}};
    for (const auto& [width, four] : shapes)
        for (uint32_t set = 0; set < 1u << 12; set += 5) {
            const auto bit = [set](int n) { return static_cast<int32_t>(set >> n & 1); };
            StripView view;
            view.show = {bit(0), bit(1), bit(2), bit(3), bit(4),  bit(5), bit(6),
                         bit(7), bit(8), bit(9), 1,      bit(10), bit(11)};
            uint32_t before = 0;
            for (LONG height = 0; height < 2000; height += height < 700 ? 13 : 97) {
                const RECT strip{100, 10, 100 + width, 10 + height};
                const StripRects r = LayoutStrip(strip, m, FullTraits(four), view);
                uint32_t present = 0;
                LONG y = r.title.bottom;
                for (size_t i = 0; i < STRIP_REGIONS; i++) {
                    if (r.region[i].IsEmpty()) continue;
                    present |= 1u << i;
                    ASSERT_GE(r.region[i].top, y) << "in their order";
                    y = r.region[i].bottom;
                }
                ASSERT_EQ(before & ~present, 0u) << width << " x " << height << " set " << set;
                before = present;
                const std::vector<RECT> parts = Parts(r);
                for (size_t i = 0; i < parts.size(); i++) {
                    ASSERT_TRUE(parts[i].left >= strip.left && parts[i].right <= strip.right &&
                                parts[i].top >= strip.top && parts[i].bottom <= strip.bottom)
                        << width << " x " << height << " set " << set << " part " << i;
                    for (size_t j = i + 1; j < parts.size(); j++)
                        ASSERT_FALSE(parts[i].Intersects(parts[j]))
                            << width << " x " << height << " set " << set << ": " << i << " meets " << j;
                }
            }
            // All that is wished for has its place in the end.
            uint32_t wished = 0;
            for (size_t i = 0; i < STRIP_REGIONS; i++)
                if (view.show.Shows(static_cast<StripRegion>(i))) wished |= 1u << i;
            EXPECT_EQ(before, wished);
        }
}

TEST(StripLayout, MetersGoBeforeFadersAndLabelsBeforeRegions) {
    tConsoleMetrics m;
    ComputeMetrics(m, FONTS, false);
    StripView view;
    view.show.bShowScopes = view.show.bShowVU = view.show.bShowPeaks = 1;
    LONG lost[STRIP_REGIONS] = {}, unlabelled = 0;
    for (LONG height = 1500; height > 0; height--) {
        const StripRects r = LayoutStrip({0, 0, m.cxChannelDefault, height}, m, FullTraits(false), view);
        for (size_t i = 0; i < STRIP_REGIONS; i++)
            if (!lost[i] && r.region[i].IsEmpty()) lost[i] = height;
        if (!unlabelled && r.label[IndexOf(StripRegion::Vu)].IsEmpty()) unlabelled = height;
    }
    const auto gone = [&](StripRegion region) { return lost[IndexOf(region)]; };
    EXPECT_GE(gone(StripRegion::Io), gone(StripRegion::Scopes));
    EXPECT_GE(gone(StripRegion::Scopes), gone(StripRegion::Vu));
    EXPECT_GE(gone(StripRegion::Vu), gone(StripRegion::Peaks));
    EXPECT_GT(gone(StripRegion::Peaks), gone(StripRegion::Faders));
    EXPECT_GT(unlabelled, gone(StripRegion::Vu));
}

}  // namespace
