// What lies on the bars, from tables of numbers: the scroll bar's elements, its drags, the width slider, the
// keys of commands.
#include "console/channel_widths.h"
#include "console/commands.h"
#include "console/horz_scroll.h"
#include "platform/ui/messages.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

TEST(ScrollBar, HasTheElementsOfItsStyleAndWidth) {
    constexpr ScrollModel HALF{100, 200, 400, 50};
    struct Row {
        LONG width;
        uint32_t style;
        ScrollModel model;
        std::vector<uint32_t> elements;  ///< from the left, each once
        LONG height;
    };
    const Row rows[] = {
        {500, 0x1, HALF, {1, 2, 9, 10, 11, 3, 4, 5, 6, 7, 8}, 14},
        {500, 0x0, HALF, {1, 2, 9, 10, 11, 3, 4, 5, 6, 7}, 14},
        {500, SCROLLS_NO_ZOOM, HALF, {1, 2, 9, 10, 11, 3, 4}, 14},
        {500, SCROLLS_CONSOLE, HALF, {1, 2, 10, 3, 4}, 14},
        {500, SCROLLS_CONSOLE, {0, 400, 400, 50}, {}, 0},
        {43, SCROLLS_CONSOLE, HALF, {2, 10, 3}, 14},      // no room for arrows
        {44, SCROLLS_CONSOLE, HALF, {1, 10, 4}, 14},      // the thumb alone between them
        {81, 0x0, HALF, {1, 2, 9, 10, 11, 3, 4}, 14},     // 12 + 2 * 35 is the least for zoom
        {82, 0x0, HALF, {1, 9, 10, 11, 4, 5, 6, 7}, 14},  // which leaves a thumb
        {500,
         0x0,
         {0, 600, 400, 50},
         {1, 9, 10, 11, 4, 5, 6, 7},
         14},  // all of it: the thumb fills the track
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.width << " " << row.style << " " << row.model.length);
        const ScrollLayout layout = LayoutScroll({10, 100, 10 + row.width, 150}, {}, row.style, row.model);
        EXPECT_EQ(layout.bar.Height(), row.height);
        EXPECT_EQ(layout.bar.bottom, 150);
        std::vector<uint32_t> met;
        for (LONG x = 10; x < 10 + row.width; x++) {
            const uint32_t element = layout.ElementAt({x, 140});
            if (element && (met.empty() || met.back() != element)) met.push_back(element);
        }
        EXPECT_EQ(met, row.elements);
    }
    EXPECT_TRUE(LayoutScroll({0, 0, 500, 13}, {}, 0, HALF).bar.IsEmpty()) << "too low a place";
}

TEST(ScrollBar, ADragMovesOrZoomsWithinTheWhole) {
    constexpr ScrollModel FROM{100, 200, 1000, 150};
    constexpr struct {
        uint32_t element;
        LONG pixels, start, length;
    } ROWS[] = {
        {SCROLL_THUMB, 10, 200, 200},       {SCROLL_THUMB, -3, 70, 200},
        {SCROLL_THUMB, 5000, 800, 200},     {SCROLL_THUMB, -5000, 0, 200},
        {SCROLL_LEFT_GRIP, 4, 140, 160},    {SCROLL_LEFT_GRIP, 50, 150, 150},
        {SCROLL_LEFT_GRIP, -500, 0, 300},   {SCROLL_RIGHT_GRIP, 5, 100, 250},
        {SCROLL_RIGHT_GRIP, -50, 100, 150}, {SCROLL_RIGHT_GRIP, 500, 100, 900},
        {SCROLL_ZOOM_DRAG, 50, 50, 300},    {SCROLL_ZOOM_DRAG, -90, 125, 150},
        {SCROLL_ZOOM_DRAG, 9000, 0, 1000},
    };
    for (const auto& row : ROWS) {
        const ScrollModel to = DragScroll(FROM, row.element, row.pixels, 100);
        EXPECT_EQ(to.start, row.start) << row.element << " by " << row.pixels;
        EXPECT_EQ(to.length, row.length) << row.element << " by " << row.pixels;
    }
    const ScrollModel all{0, 600, 400, 50};
    EXPECT_EQ(DragScroll(all, SCROLL_THUMB, 30, 100).start, 0) << "nothing to scroll";
}

TEST(ChannelWidths, TheUsualOneIsAtAThirdAndBothPartsAreLinear) {
    constexpr WidthRange RANGE{48, 81, 215};
    constexpr struct {
        LONG width;
        int32_t position;
    } ROWS[] = {{48, 0}, {59, 11}, {81, 33}, {83, 34}, {149, 67}, {215, 100}};
    for (const auto& row : ROWS) {
        EXPECT_EQ(WidthPosition(row.width, RANGE), row.position) << row.width;
        EXPECT_EQ(WidthAt(row.position, RANGE), row.width) << row.position;
    }
    EXPECT_EQ(WidthPosition(20, RANGE), 0);
    EXPECT_EQ(WidthPosition(900, RANGE), 100);
    EXPECT_EQ(WidthPosition(60, {60, 60, 60}), 33) << "one width alone";
    EXPECT_EQ(WidthAt(-4, RANGE), 48);
    EXPECT_EQ(WidthAt(400, RANGE), 215);
}

TEST(CommandKeys, TheFirstOfEqualKeysCountsAndTheHostsComeBeforeTheProposed) {
    const CommandKeys full(CommandKeys::Proposed(true)), other(CommandKeys::Proposed(false));
    constexpr struct {
        uint32_t key, modifiers, ofFull, ofOther;
    } ROWS[] = {
        {'Q', 0, CMD_ALL_REGIONS, CMD_SHOW_ALL_CHANNELS},
        {'Q', ACCEL_ALT, CMD_SHOW_ALL_CHANNELS, 0},
        {'Q', ACCEL_CTRL | ACCEL_ALT, CMD_ADD_MIDI, 0},
        {'Q', ACCEL_CTRL | ACCEL_SHIFT, 0, 0},
        {VK_DELETE, 0, CMD_DELETE, 0},
        {VK_OEM_3, ACCEL_SHIFT, CMD_WIDE, CMD_WIDE},
        {'I', ACCEL_CTRL | ACCEL_SHIFT, CMD_ADD_INPUT, CMD_ADD_INPUT},
    };
    for (const auto& row : ROWS) {
        EXPECT_EQ(full.CommandOf(row.key, row.modifiers), row.ofFull) << row.key << " " << row.modifiers;
        EXPECT_EQ(other.CommandOf(row.key, row.modifiers), row.ofOther) << row.key << " " << row.modifiers;
    }
    EXPECT_EQ(full.KeyOf(CMD_NARROW)->key, 'N') << "menus show the first";
    EXPECT_EQ(full.KeyOf(CMD_METERS_SHOW_VU), nullptr);
    for (const MPCOMMANDKEY& row : CommandKeys::Proposed(true))
        EXPECT_NE(std::ranges::find(ConsoleCommands(), row.command, &ConsoleCommand::command),
                  ConsoleCommands().end())
            << "a key of a command that no host can name: " << row.command;
}

}  // namespace
