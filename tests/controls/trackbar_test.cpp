// The trackbar: what differs from a fader.
#include "controls/fader_layout.h"
#include "controls/trackbar.h"
#include "fake_window.h"

#include <gtest/gtest.h>

#include <string>

namespace {
class Trackbar : public testing::Test {
protected:
    FakeWindow host;
    tQMTRACKBAR t{};
    std::string codes;

    void Make(uint32_t style, RECT rect = {0, 0, 200, 24}) {
        TrackbarInst_Init(
            &t, style | FADERS_SELF_KEYS, &rect, &host, 7,
            [](tQMTRACKBAR*, uint32_t, uintptr_t self, uint32_t code, int32_t) {
                reinterpret_cast<Trackbar*>(self)->codes += static_cast<char>('0' + code);
            },
            reinterpret_cast<uintptr_t>(this), 1.0f);
        Send(FADERM_SETRANGE, 0, Limits(-100, 100));
        Send(TRACKBARM_SETPOS, 1, 0);
    }
    void TearDown() override { TrackbarInst_Deinit(&t); }
    intptr_t Send(uint32_t message, uintptr_t w = 0, intptr_t l = 0) {
        return TrackbarInst_Message(&t, message, w, l);
    }
    int32_t Value() { return static_cast<int32_t>(Send(FADERM_GETPOS)); }
    std::string TakeCodes() { return std::exchange(codes, {}); }
};
}  // namespace

TEST_F(Trackbar, ScrollCodes) {
    struct Row {
        uint32_t code;
        int32_t value;
        BOOL vertical;
        int32_t result;
    };
    for (const Row& row :
         {Row{0, 0, 1, 3}, Row{0, 0, 0, -3}, Row{1, 0, 1, -3}, Row{1, 0, 0, 3}, Row{2, 0, 1, 20},
          Row{2, 0, 0, -20}, Row{3, 0, 1, -20}, Row{3, 0, 0, 20}, Row{6, 0, 1, 100}, Row{6, 0, 0, -100},
          Row{7, 0, 1, -100}, Row{7, 0, 0, 100}, Row{2, 100, 1, 100}, Row{4, 40, 0, 40}, Row{5, 400, 0, 100}})
        EXPECT_EQ(TrackbarInst_DefScrollProc(row.code, row.value, -100, 100, 3, 0, row.vertical), row.result)
            << "code " << row.code << " vertical " << row.vertical;
    EXPECT_EQ(TrackbarInst_DefScrollProc(2, 0, 0, 3, 1, 0, 1), 1) << "a page is at least one";
    EXPECT_EQ(TrackbarInst_DefScrollProc(2, 5, 5, 5, 1, 0, 1), 5);
}

TEST_F(Trackbar, KeysDependOnTheDirection) {
    struct Row {
        uint32_t key;
        const char *across, *up;
        int32_t acrossTo, upTo;
    };
    for (const Row& row :
         {Row{VK_LEFT, "0", "0", -1, 1}, Row{VK_RIGHT, "1", "1", 1, -1}, Row{VK_UP, "1", "0", 1, 1},
          Row{VK_DOWN, "0", "1", -1, -1}, Row{VK_PRIOR, "3", "2", 20, 20}, Row{VK_NEXT, "2", "3", -20, -20},
          Row{VK_HOME, "6", "6", -100, 100}, Row{VK_END, "7", "7", 100, -100}, Row{'3', "4", "4", -40, -40}})
        for (const bool up : {false, true}) {
            Make(up ? FADERS_VERTICAL : 0, up ? RECT{0, 0, 24, 200} : RECT{0, 0, 200, 24});
            Send(WM_KEYDOWN, row.key, 1);
            EXPECT_EQ(TakeCodes(), up ? row.up : row.across) << "key " << row.key << " up " << up;
            EXPECT_EQ(Value(), up ? row.upTo : row.acrossTo) << "key " << row.key << " up " << up;
        }
    Send(WM_KEYDOWN, 'L', 1);
    EXPECT_EQ(host.sent.back().notifyCode, FADERN_KEY) << "no channels to choose";
}

TEST_F(Trackbar, OneCodeANotchOfTheWheelAndItsEnd) {
    Make(0);
    const auto wheel = [&](int32_t counts, uint32_t keys = 0) {
        Send(WM_MOUSEWHEEL, PackWords(keys, static_cast<uint32_t>(counts)), 0);
    };
    wheel(240);
    EXPECT_EQ(TakeCodes(), "338");
    EXPECT_EQ(Value(), 40);
    wheel(-30);
    EXPECT_EQ(TakeCodes(), "28") << "at least one";
    wheel(120, MK_CONTROL);
    EXPECT_EQ(TakeCodes(), "18");
    EXPECT_EQ(Value(), 21);
}

TEST_F(Trackbar, TheMouseDragsAndStepsInTheTrackbarsOwnSense) {
    Make(0);
    RECT thumb;
    TrackbarInst_GetThumbRect(&t, &thumb);
    Send(WM_LBUTTONDOWN, MK_LBUTTON, PackPoint({thumb.left - 20, 12}));
    Send(WM_LBUTTONUP, 0, PackPoint({thumb.left - 20, 12}));
    EXPECT_EQ(TakeCodes(), "28") << "to the left is code 2";
    EXPECT_EQ(Value(), -20);
    TrackbarInst_GetThumbRect(&t, &thumb);
    const POINT centre{(thumb.left + thumb.right) / 2, 12};
    Send(WM_LBUTTONDBLCLK, MK_LBUTTON, PackPoint(centre));
    EXPECT_EQ(Value(), 0) << "the default is the middle";
}

TEST_F(Trackbar, SetsItsValueAsGivenOrWithinTheRange) {
    Make(TRACKBARS_NO_BORDER);
    EXPECT_EQ(Send(TRACKBARM_SETPOS, 0, 500), 500);
    EXPECT_EQ(Send(TRACKBARM_SETPOS, 1, 500), 100);
    host.invalid.clear();
    Send(TRACKBARM_SETPOS, 1, 100);
    EXPECT_TRUE(host.invalid.empty()) << "the thumb stays on its pixel";
    EXPECT_EQ(UnpackPoint(Send(TRACKBARM_GETSIZES)).x, 18);
    Send(FADERM_SETSTEREO, 0, 1);
    EXPECT_EQ(t.slider.channels, 1u) << "it has one thumb";
    RECT thumb;
    Send(FADERM_SETRANGE, 0, Limits(5, 5));
    TrackbarInst_GetThumbRect(&t, &thumb);
    EXPECT_EQ(thumb.left, 0) << "an empty range: the low end";
}
