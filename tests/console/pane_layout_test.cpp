// The left pane's arithmetic, from tables of numbers worked out by hand: gap 2, row 20.
#include "console/pane_layout.h"

#include <gtest/gtest.h>

#include <array>
#include <tuple>

namespace {

constexpr PaneMetrics METRICS{2, 20, 60, 28, 200};
constexpr PaneShow LIST{true, false, false}, GROUPS{false, true, false}, BUTTONS{false, false, true},
    LIST_GROUPS{true, true, false}, LIST_BUTTONS{true, false, true}, GROUPS_BUTTONS{false, true, true},
    ALL{true, true, true};

struct Pane {
    PaneSizes sizes;
    PaneRects rects;
    RECT rest{};

    bool Lay(const PaneShow& show, LONG height, LONG width = 800) {
        rest = {0, 10, width, 10 + height};
        return LayoutPane(rest, show, METRICS, sizes, rects);
    }
    std::array<LONG, 3> Heights() const { return {sizes.list, sizes.groups, sizes.buttons}; }
};
using Heights = std::array<LONG, 3>;

std::array<LONG, 4> Sides(const RECT& r) { return {r.left, r.top, r.right, r.bottom}; }
using Box = std::array<LONG, 4>;

TEST(PaneLayout, WidthsGoByWhatIsShownAndStoredOnesAreCut) {
    const struct {
        PaneShow show;
        LONG least, standard, most;
    } rows[] = {{LIST, 88, 168, 328},
                {GROUPS, 88, 168, 328},
                {BUTTONS, 74, 74, 74},
                {LIST_GROUPS, 88, 168, 328},
                {ALL, 88, 168, 328}};
    for (const auto& row : rows) {
        const PaneWidths widths = WidthsOfPane(row.show, METRICS);
        EXPECT_EQ(std::tie(widths.least, widths.standard, widths.most),
                  std::tie(row.least, row.standard, row.most));
        for (const auto& [stored, laid] :
             {std::pair(LONG{0}, row.standard), {LONG{1}, row.least}, {LONG{9999}, row.most}}) {
            Pane pane;
            pane.sizes.width = stored;
            EXPECT_TRUE(pane.Lay(row.show, 400));
            EXPECT_EQ(pane.sizes.width, laid);
            EXPECT_EQ(pane.rest.left, laid);
        }
    }
    EXPECT_EQ(FirstPaneWidth(METRICS), 164);
    Pane pane;
    pane.sizes.width = 120;
    EXPECT_TRUE(pane.Lay(LIST, 400, 50));
    EXPECT_EQ(pane.rest.left, 120) << "a narrow window leaves the strips nothing";
    EXPECT_TRUE(pane.Lay({}, 400));
    EXPECT_EQ(pane.rest.left, 0);
    EXPECT_EQ(pane.sizes.width, 120) << "kept for the next show";
}

TEST(PaneLayout, ANewStackIsSplitByItsSections) {
    const struct {
        PaneShow show;
        LONG height;
        Heights heights;
    } rows[] = {
        {LIST, 400, {396, 0, 0}},
        {LIST, 3, {0, 0, 0}},
        {GROUPS, 400, {0, 396, 0}},
        {LIST_GROUPS, 401, {182, 181, 0}},  // 401 - 4 - 14 - 20 = 363
        {BUTTONS, 400, {0, 0, 400}},
        {BUTTONS, 28, {0, 0, 0}},              // no more than its least
        {LIST_BUTTONS, 400, {192, 0, 196}},    // 396 - 4 = 392
        {LIST_BUTTONS, 600, {388, 0, 200}},    // the bar's most
        {GROUPS_BUTTONS, 400, {0, 181, 185}},  // 396 - 26 = 370
        {ALL, 400, {121, 121, 120}},           // 392 - 30 = 362, a third 120
        {ALL, 100, {84, 106, 28}},             // none below its least
    };
    for (const auto& row : rows) {
        Pane pane;
        EXPECT_TRUE(pane.Lay(row.show, row.height));
        EXPECT_EQ(pane.Heights(), row.heights) << row.height;
    }
}

TEST(PaneLayout, GrowingAndShrinkingIsSharedByWhatWasThere) {
    const struct {
        PaneShow show;
        LONG before, after;
        Heights heights;
    } rows[] = {
        {LIST, 400, 450, {446, 0, 0}},
        {LIST, 400, 60, {84, 0, 0}},             // its least, though there is less
        {LIST_GROUPS, 401, 404, {183, 183, 0}},  // halves, the odd pixel to the groups
        {LIST_GROUPS, 401, 398, {181, 179, 0}},  // and from them
        {ALL, 400, 430, {121, 121, 150}},        // the buttons grow first
        {ALL, 400, 500, {121, 141, 200}},        // to their most, then the groups
        {ALL, 400, 360, {121, 121, 80}},         // and shrink first
        {ALL, 400, 280, {121, 93, 28}},          // to their least: 272 - 242 - 28 = 2 were over
        {LIST_BUTTONS, 400, 300, {192, 0, 96}},
        {LIST_BUTTONS, 400, 200, {160, 0, 28}},
    };
    for (const auto& row : rows) {
        Pane pane;
        ASSERT_TRUE(pane.Lay(row.show, row.before));
        ASSERT_TRUE(pane.Lay(row.show, row.after));
        EXPECT_EQ(pane.Heights(), row.heights) << row.before << " to " << row.after;
        const Heights heights = pane.Heights();
        ASSERT_TRUE(pane.Lay(row.show, row.after));
        EXPECT_EQ(pane.Heights(), heights) << "laid out once more it stands";
    }
}

TEST(PaneLayout, TheButtonsAloneKeepAnOddExcess) {
    Pane pane;
    ASSERT_TRUE(pane.Lay(BUTTONS, 400));
    pane.sizes.buttons = 420;
    ASSERT_TRUE(pane.Lay(BUTTONS, 390));
    EXPECT_EQ(pane.sizes.buttons, 430) << "410 is 20 too many, and 20 go on top";
}

TEST(PaneLayout, WithoutRoomEverythingStays) {
    Pane pane;
    ASSERT_TRUE(pane.Lay(ALL, 400));
    const Heights before = pane.Heights();
    const Box list = Sides(pane.rects.list);
    EXPECT_FALSE(pane.Lay(ALL, 8)) << "the splitters alone need as much";
    EXPECT_EQ(pane.Heights(), before);
    EXPECT_EQ(Sides(pane.rects.list), list);
    EXPECT_TRUE(pane.Lay({}, 400));
    EXPECT_EQ(pane.Heights(), Heights{});
    EXPECT_TRUE(pane.rects.list.IsEmpty() && pane.rects.pane.IsEmpty());
}

TEST(PaneLayout, RectanglesAreStackedBetweenTheSplitters) {
    Pane pane;
    pane.sizes.width = 168;
    ASSERT_TRUE(pane.Lay(ALL, 400));
    EXPECT_EQ(Sides(pane.rects.columnSplitter), (Box{160, 10, 168, 410}));
    EXPECT_EQ(Sides(pane.rects.list), (Box{4, 10, 160, 131}));
    EXPECT_EQ(Sides(pane.rects.upperSplitter), (Box{0, 135, 160, 139}));
    EXPECT_EQ(Sides(pane.rects.toolBar), (Box{4, 142, 160, 164}));
    EXPECT_EQ(Sides(pane.rects.groups), (Box{4, 164, 160, 281}));
    EXPECT_EQ(Sides(pane.rects.lowerSplitter), (Box{0, 285, 160, 289}));
    EXPECT_EQ(Sides(pane.rects.buttons), (Box{0, 289, 168, 409}));
    EXPECT_TRUE(pane.rects.separator.IsEmpty());
    EXPECT_GE(pane.rects.showButton.left, pane.rects.columnSplitter.left);

    ASSERT_TRUE(Pane().Lay(BUTTONS, 400));
    Pane alone;
    ASSERT_TRUE(alone.Lay(BUTTONS, 400));
    EXPECT_EQ(Sides(alone.rects.buttons), (Box{0, 10, 74, 410}));
    EXPECT_EQ(Sides(alone.rects.separator), (Box{73, 10, 74, 410}));
    EXPECT_TRUE(alone.rects.columnSplitter.IsEmpty() && alone.rects.lowerSplitter.IsEmpty());
}

TEST(PaneLayout, SplittersStopAtTheLeastOfTheirSections) {
    Pane pane;
    ASSERT_TRUE(pane.Lay(ALL, 400));
    PaneSizes sizes = pane.sizes;
    EXPECT_TRUE(DragColumnSplitter(100, ALL, METRICS, pane.rects, sizes));
    EXPECT_EQ(sizes.width, 100);
    EXPECT_TRUE(DragColumnSplitter(-5, ALL, METRICS, pane.rects, sizes));
    EXPECT_EQ(sizes.width, 88);
    EXPECT_FALSE(DragColumnSplitter(10, ALL, METRICS, pane.rects, sizes)) << "still the least";

    EXPECT_FALSE(DragUpperSplitter(10 + 83, METRICS, pane.rects, sizes)) << "the list's least is 84";
    EXPECT_FALSE(DragUpperSplitter(10 + 121, METRICS, pane.rects, sizes)) << "no change";
    EXPECT_FALSE(DragUpperSplitter(10 + 160, METRICS, pane.rects, sizes)) << "too little for the groups";
    EXPECT_TRUE(DragUpperSplitter(10 + 130, METRICS, pane.rects, sizes));
    EXPECT_EQ((Heights{sizes.list, sizes.groups, sizes.buttons}), (Heights{130, 112, 120}));

    const struct {
        LONG to;
        Heights heights;
    } rows[] = {{289 + 10, {121, 131, 110}},
                {289 - 10, {121, 111, 130}},
                {289 - 100, {121, 106, 135}},  // the groups' least
                {289 + 300, {121, 213, 28}}};  // the buttons'
    for (const auto& row : rows) {
        sizes = pane.sizes;
        EXPECT_TRUE(DragLowerSplitter(row.to, ALL, METRICS, pane.rects, sizes));
        EXPECT_EQ((Heights{sizes.list, sizes.groups, sizes.buttons}), row.heights) << row.to;
    }
}

TEST(PaneLayout, ShowingASectionSharesTheHeightAnew) {
    PaneShow show = LIST_BUTTONS;
    PaneSizes sizes{150, 100, 0, 90};
    EXPECT_TRUE(ShowSection(show, sizes, PaneSection::List, true)) << "shown once more";
    EXPECT_EQ(sizes.buttons, 0);
    EXPECT_EQ(sizes.list, 100);
    EXPECT_TRUE(ShowSection(show, sizes, PaneSection::Buttons, false));
    EXPECT_EQ(sizes.list, 0);
    EXPECT_EQ(sizes.width, 150) << "the list is still there";
    EXPECT_TRUE(ShowSection(show, sizes, PaneSection::List, false));
    EXPECT_EQ(sizes.width, 0) << "the next one takes the default";
    EXPECT_FALSE(ShowSection(show, sizes, PaneSection::List, false));
    EXPECT_FALSE(ShowSection(show, sizes, PaneSection::Groups, false));
}

}  // namespace
