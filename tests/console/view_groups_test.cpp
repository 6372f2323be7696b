// View groups as the host keeps them.
#include "console/metrics.h"
#include "console/view_groups.h"
#include "platform/text.h"

#include <gtest/gtest.h>

#include <map>

using namespace tarn;

namespace {
struct Store {
    std::map<uint32_t, uint32_t> numbers;
    std::map<uint32_t, std::u16string> texts;

    GroupStore Functions() {
        return {[this](uint32_t key, uint32_t value) {
                    const auto at = numbers.find(key);
                    return at == numbers.end() ? value : at->second;
                },
                [this](uint32_t key) { return texts[key]; },
                [this](uint32_t key, uint32_t value) { numbers[key] = value; },
                [this](uint32_t key, const std::u16string& text) { texts[key] = text; }};
    }
};
}  // namespace

TEST(ViewGroups, NoneAreKeptAsNone) {
    Store store;
    ViewGroups groups;
    SaveGroups(groups, store.Functions());
    EXPECT_EQ(store.numbers, (std::map<uint32_t, uint32_t>{{1000, 0}, {2000, 0xFFFFFFFE}}));
    store.numbers[1000] = 3;
    EXPECT_EQ(LoadGroups(groups, store.Functions()), S_OK);
    EXPECT_TRUE(groups.empty()) << "the mark counts, not the number";
}

TEST(ViewGroups, ComeBackWithDefaultsAndLimits) {
    const tConsoleMetrics& m = MeasuredConsoleMetrics();
    Store store;
    store.numbers = {{1000, 2},          {2000, 1},    {2001, GROUP_CURRENT_STATE},
                     {2101, GROUP_VIEW}, {2102, 0x11}, {2113, 9999},
                     {2117, 1},          {2124, 77}};
    store.texts[2109] = u"Drums only";
    ViewGroups groups;
    ASSERT_EQ(LoadGroups(groups, store.Functions()), S_OK);
    ASSERT_EQ(groups.size(), 2u);
    const tConsoleGroup& g = *groups[1];
    EXPECT_EQ(std::u16string_view(g.name), u"Drums only");
    EXPECT_EQ(g.regions, 0x11 | GROUP_REGION_VERTICAL) << "comes back upright";
    EXPECT_EQ(g.meterRange, 32768u);
    EXPECT_EQ(g.vuFlags, 1602u);
    EXPECT_EQ(g.widths[3], m.cxChannelWide) << "no wider than wide";
    EXPECT_EQ(g.widths[7], m.cxSurroundNarrow);
    EXPECT_EQ(g.sizes[2], (m.nRowHeight + 2 * m.nGap) * 2);
    EXPECT_EQ(g.paneWidth, 77);
    EXPECT_EQ(g.buttonSizes[0], 77) << "the same key";
    EXPECT_EQ(g.listHeight, (m.nGap + 2 * m.nRowHeight) * 2);
    EXPECT_EQ(g.buttonSizes[1], 0) << "with a default of its own";

    Store saved;
    SaveGroups(groups, saved.Functions());
    ViewGroups again;
    ASSERT_EQ(LoadGroups(again, saved.Functions()), S_OK);
    ASSERT_EQ(again.size(), 2u);
    EXPECT_EQ(std::u16string_view(again[1]->name), u"Drums only");
    EXPECT_EQ(again[1]->widths[3], g.widths[3]);
    EXPECT_EQ(again[1]->flags, GROUP_VIEW);

    again[1]->flags = GROUP_MIX;
    CopyText(again[1]->name, GROUP_NAME_SIZE, u"Mine");
    ASSERT_EQ(LoadGroups(again, saved.Functions()), S_OK);
    EXPECT_EQ(std::u16string_view(again[1]->name), u"Mine") << "what is no view group stays";
    again.pop_back();
    SaveGroups(again, saved.Functions());
    EXPECT_EQ(saved.texts[2109], u"") << "of a group that is no more";
    EXPECT_EQ(saved.numbers[2101], 0u);
}

TEST(ViewGroups, ChannelsThatAreWrittenWronglyAreLeftOut) {
    const struct {
        const char16_t* text;
        std::vector<uint64_t> channels;
    } rows[] = {{u"1:0:1 18446744073709551615:90:3", {1, 0xFFFFFFFFFFFFFFFF}},
                {u"1:0:0", {1}},
                {u"", {}},
                {u" 1:0:0", {}},
                {u"1:0", {}},
                {u"1:0:0  2:0:0", {1}},
                {u"1:0:0 2:x:0 3:0:0", {1}},
                {u"1:0:0 -2:0:0", {1}},
                {u"1:0:0 99999999999999999999:0:0", {1}},
                {u"1:0:0,2:0:0", {}}};
    for (const auto& row : rows) {
        Store store;
        store.numbers = {{1000, 2}, {2000, 1}, {2101, GROUP_MIX}};
        store.texts[2130] = row.text;
        ViewGroups groups;
        ASSERT_EQ(LoadGroups(groups, store.Functions()), S_OK);
        std::vector<uint64_t> channels;
        for (const tConsoleGroupChannel& channel : groups[1]->channels.All())
            channels.push_back(channel.id[0]);
        EXPECT_EQ(channels, row.channels) << tarn::Utf8FromUtf16(row.text);
    }
}
