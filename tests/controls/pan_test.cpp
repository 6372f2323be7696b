// The pan pad: its point under keys, wheel and mouse, and its masks.
#include "controls/game_controller.h"
#include "controls/pan.h"
#include "controls/pan_draw.h"
#include "controls/pan_point.h"
#include "fake_window.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPainter>

#include <cmath>
#include <functional>
#include <string>

namespace {
class Pan : public testing::Test {
protected:
    FakeWindow host;
    tQMPAN p{};
    std::vector<uint32_t> codes;

    void Make(uint32_t style = 0, RECT rect = {0, 0, 206, 206}) {
        PanInst_Init(
            &p, style, &rect, &host, 3,
            [](tQMPAN*, uint32_t, uintptr_t self, uint32_t code, const double*, uint32_t mask, uintptr_t) {
                EXPECT_EQ(mask, 3u);
                reinterpret_cast<Pan*>(self)->codes.push_back(code);
            },
            reinterpret_cast<uintptr_t>(this));
    }
    void SetUp() override { Make(); }
    void TearDown() override { PanInst_Deinit(&p); }
    intptr_t Send(uint32_t message, uintptr_t w = 0, intptr_t l = 0) {
        return PanInst_Message(&p, message, w, l);
    }
    void At(double x, double y, uint32_t mode = 0) {
        p.at.x = x;
        p.at.y = y;
        p.at.panMode = mode;
    }
    void Key(uint32_t key) { Send(WM_KEYDOWN, key, 1); }
    void Mouse(uint32_t message, double x, double y, uint32_t keys = MK_LBUTTON) {
        Send(message, keys, PackPoint(PanPixel(p, {x, y})));
    }
    void Drag(double x, double y, uint32_t keys = 0) {
        Mouse(WM_LBUTTONDOWN, p.at.x, p.at.y, MK_LBUTTON | keys);
        Mouse(WM_MOUSEMOVE, x, y, MK_LBUTTON | keys);
        Mouse(WM_LBUTTONUP, x, y, 0);
    }
    /// Within a pixel, where the mouse was there.
    void ExpectAt(double x, double y, const std::string& why = "", double tolerance = 0.006) {
        EXPECT_NEAR(p.at.x, x, tolerance) << why;
        EXPECT_NEAR(p.at.y, y, tolerance) << why;
    }
    using Codes = std::vector<uint32_t>;
    Codes Take() { return std::exchange(codes, {}); }
};
}  // namespace

TEST(PanText, NamesTheSides) {
    EXPECT_EQ(PanText({-0.5, 0.25}), u"Left: 50 %, Front: 25 %");
    EXPECT_EQ(PanText({0.004, -1}), u"Center, Rear: 100 %");
    EXPECT_EQ(PanText({0.999, -0.009}), u"Right: 99 %, Center");
    EXPECT_EQ(PanText({0, 0}), u"Center, Center");
}

TEST_F(Pan, NudgesByKey) {
    struct Row {
        uint32_t key, held, code;
        double x, y;
    };
    for (const Row& row : {Row{VK_LEFT, 0, 16, -0.1, 0}, Row{VK_LEFT, VK_CONTROL, 10, -0.01, 0},
                           Row{VK_UP, 0, 14, 0, 0.1}, Row{VK_UP, VK_CONTROL, 11, 0, 0.01},
                           Row{VK_RIGHT, 0, 17, 0.1, 0}, Row{VK_RIGHT, VK_CONTROL, 12, 0.01, 0},
                           Row{VK_DOWN, 0, 15, 0, -0.1}, Row{VK_DOWN, VK_CONTROL, 13, 0, -0.01},
                           Row{VK_PRIOR, 0, 14, 0, 0.1}, Row{VK_PRIOR, VK_SHIFT, 16, -0.1, 0},
                           Row{VK_NEXT, 0, 15, 0, -0.1}, Row{VK_NEXT, VK_SHIFT, 17, 0.1, 0}}) {
        At(0, 0);
        host.keys = {row.held};
        Key(row.key);
        Send(WM_KEYUP, row.key, 1);
        ExpectAt(row.x, row.y, std::to_string(row.key), 1e-9);
        EXPECT_EQ(Take(), (Codes{row.code, PAN_END})) << row.key;
    }
    host.keys.clear();
    At(0.95, 0);
    Key(VK_RIGHT);
    EXPECT_EQ(p.at.x, 1);
    At(0.2, 0.2, 1);
    p.at.modeMuteMask = 5;
    Key(VK_RIGHT);
    EXPECT_EQ(p.at.x, 0.2) << "in a pan mode the first nudge only leaves it";
    EXPECT_EQ(p.at.panMode, 0u);
    EXPECT_EQ(p.at.modeMuteMask, 0u);
}

TEST_F(Pan, NumbersJump) {
    for (uint32_t digit = 1; digit <= 9; digit++) {
        At(0.3, 0.3, 1);
        Key(VK_NUMPAD0 + digit);
        ExpectAt((digit - 1) % 3 - 1.0, (digit - 1) / 3 - 1.0, std::to_string(digit), 0);
    }
    host.keys = {VK_CONTROL};
    Key(VK_NUMPAD9);
    ExpectAt(0.7071, 0.7071);
    Key(VK_NUMPAD0 + 5);
    ExpectAt(0, 0);
}

TEST_F(Pan, TheWheelMovesOrTurns) {
    const auto wheel = [&](int32_t counts, uint32_t keys = 0) {
        Send(WM_MOUSEWHEEL, PackWords(keys, static_cast<uint32_t>(counts)), 0);
    };
    wheel(240);
    ExpectAt(0, 0.2);
    wheel(-120, MK_SHIFT);
    ExpectAt(-0.1, 0.2);
    wheel(60, MK_CONTROL);
    ExpectAt(-0.1, 0.205);
    host.keys = {VK_MENU};
    At(0.5, 0);
    wheel(120);
    ExpectAt(0.5 * std::cos(0.125), 0.5 * std::sin(0.125));
    At(0.5, 0);
    wheel(120, MK_SHIFT | MK_CONTROL);
    ExpectAt(std::cos(0.025), std::sin(0.025), "with Shift on the circle");
    EXPECT_EQ(codes.back(), PAN_TRACK);
}

TEST_F(Pan, DragsUnderItsConstraints) {
    struct Row {
        uint32_t style, lock, held, mode;
        double fromX, fromY, toX, toY, x, y;
        const char* why;
    };
    constexpr uint32_t kShift = 1, kAlt = 2;
    for (const Row& row :
         {Row{0, 0, 0, 0, 0, 0, 0.5, -0.5, 0.5, -0.5, "free"},
          Row{0, 1, 0, 0, 0, 0.2, 0.5, -0.5, 0.5, 0.2, "y locked"},
          Row{0, 2, 0, 0, 0.2, 0, 0.5, -0.5, 0.2, -0.5, "x locked"},
          Row{0, 0, 0, 1, 0, 0.2, 0.5, -0.5, 0.5, 0.2, "along x"},
          Row{0, 0, 0, 4, 0, 0.2, 0.5, -0.5, 0, -0.5, "along y"},
          Row{0, 0, kAlt, 0, 0.5, 0, 0, 0.8, 0, 0.5, "the distance stays"},
          Row{0, 0, kAlt | kShift, 0, 0.5, 0, 0, 0.3, 0, 1, "the distance is 1"},
          Row{0, 0, kShift, 0, 0.5, 0.5, 0, 0.5, 0.25, 0.25, "on the line through the centre"},
          Row{PANS_CIRCULAR, 0, 0, 0, 0, 0, 1, 1, 0.7071, 0.7071, "kept in the circle"}}) {
        Make(row.style);
        host.keys.clear();
        if (row.held & kAlt) host.keys.insert(VK_MENU);
        At(row.fromX, row.fromY, row.mode);
        p.at.lock = row.lock;
        Drag(row.toX, row.toY, row.held & kShift ? MK_SHIFT : 0);
        ExpectAt(row.x, row.y, row.why, 0.02);
        EXPECT_EQ(Take(), (Codes{PAN_START, PAN_TRACK, PAN_END})) << row.why;
    }
    EXPECT_FALSE(host.captured);
    EXPECT_TRUE(host.tip.empty()) << "the tip is gone with the drag";
}

TEST_F(Pan, NothingLeavesTheCircle) {
    GAMECONTROLLER device{65535, 0, 10000, 0, nullptr, nullptr};
    const PANSTATE corner{1, 1, 0, 0, 0, 0, 0};
    const auto wheel = [&] { Send(WM_MOUSEWHEEL, PackWords(0, 240), 0); };
    const auto set = [&] { Send(PANM_SETSTATE, 0, reinterpret_cast<intptr_t>(&corner)); };
    const auto stick = [&] {
        for (const uint32_t message : {GAMEM_FOCUS, GAMEM_BUTTONDOWN, GAMEM_AXIS, GAMEM_BUTTONUP})
            Send(message, 1);
    };
    struct Row {
        const char* how;
        std::function<void()> act;
        double x, y;
    };
    for (const Row& row :
         {Row{"double click", [&] { Mouse(WM_LBUTTONDBLCLK, -1, 1); }, -0.7071, 0.7071},
          Row{"key", [&] { Key(VK_UP); }, 0.995, 0.0995}, Row{"wheel", wheel, 0.9806, 0.1961},
          Row{"keypad", [&] { Key(VK_NUMPAD9 - 6); }, 0.7071, -0.7071},
          Row{"game controller", stick, 0.7071, -0.7071}, Row{"the host", set, 0.7071, 0.7071}}) {
        Make(PANS_CIRCULAR);
        Send(GAMEM_DEVICE, 0, reinterpret_cast<intptr_t>(&device));
        At(1, 0);
        row.act();
        ExpectAt(row.x, row.y, row.how);
        PanInst_Deinit(&p);
    }
    Send(GAMEM_DEVICE);
}

TEST_F(Pan, SnapsToSpeakersInTheCircle) {
    Make(PANS_CIRCULAR);
    Send(PANM_SETCHANNELS, 0, 1 << 1);
    At(0, 0);
    Drag(0.03, 0.95);
    ExpectAt(0, 1, "", 1e-9);
}

TEST_F(Pan, FineDragEscapeAndDoubleClick) {
    Drag(0.5, 0, MK_CONTROL);
    ExpectAt(0.25, 0, "half the way");
    Take();
    Mouse(WM_LBUTTONDOWN, p.at.x, p.at.y);
    Mouse(WM_MOUSEMOVE, 0.9, 0.9);
    EXPECT_EQ(host.tip, PanText({p.at.x, p.at.y}));
    Key(VK_ESCAPE);
    ExpectAt(0.25, 0);
    EXPECT_FALSE(host.captured);
    Take();
    At(0.3, 0.4);
    Mouse(WM_LBUTTONDBLCLK, 0.3, 0.4);
    ExpectAt(0, 0);
    At(0.3, 0.4, 3);
    Mouse(WM_LBUTTONDBLCLK, 0.3, 0.4);
    ExpectAt(0, 0.4, "x alone");
    At(0, 0);
    Mouse(WM_LBUTTONDBLCLK, -0.6, 0.6);
    ExpectAt(-0.6, 0.6, "it jumps there");
    EXPECT_EQ(Take(), (Codes{PAN_SET, PAN_SET, PAN_SET}));
    Make(PANS_NO_JUMP);
    Mouse(WM_LBUTTONDOWN, 0.6, 0.6);
    ExpectAt(0, 0);
}

TEST_F(Pan, SpeakersAreMutedByClickAndKey) {
    Make(PANS_SPEAKER_KEYS);
    Send(PANM_SETCHANNELS, 0, 0x100 | 2 | 8 | 32);
    EXPECT_EQ(Send(PANM_GETCHANNELS), 2 | 8 | 32) << "there are eight places";
    EXPECT_EQ(p.channelCount, 3u);
    const RECT top = PanSpeakerRect(p, 1);
    Send(WM_LBUTTONDOWN, MK_LBUTTON, PackPoint({(top.left + top.right) / 2, (top.top + top.bottom) / 2}));
    EXPECT_EQ(Send(PANM_GETMUTE), 2);
    Send(WM_KILLFOCUS);
    EXPECT_TRUE(Send(WM_KEYDOWN, VK_TAB, 1));
    EXPECT_EQ(p.focusSpeaker, 1);
    Key(VK_SPACE);
    EXPECT_EQ(Send(PANM_GETMUTE), 0);
    EXPECT_TRUE(Send(WM_KEYDOWN, VK_TAB, 1));
    EXPECT_TRUE(Send(WM_KEYDOWN, VK_TAB, 1));
    EXPECT_EQ(p.focusSpeaker, 5);
    EXPECT_FALSE(Send(WM_KEYDOWN, VK_TAB, 1)) << "past the last one the focus goes on";
    PANSTATE state{};
    Send(PANM_SETMUTE, 0, 8);
    Send(PANM_GETAUDIBLE, 0, reinterpret_cast<intptr_t>(&state));
    EXPECT_EQ(state.channelsMask, 2u | 32);
    state.channelsMask = 8;
    Send(PANM_SETAUDIBLE, 0, reinterpret_cast<intptr_t>(&state));
    EXPECT_EQ(Send(PANM_GETMUTE), 2 | 32);
    Send(PANM_FREEZE, 0, 0);
    Key(VK_LEFT);
    ExpectAt(0, 0, "frozen");
    Send(PANM_FREEZE, 0, 1);
    Send(WM_KEYUP, 'X', 1);
    EXPECT_EQ(p.at.lock, 1u);
    EXPECT_EQ(host.sent.back().notifyCode, PANN_LOCK);
}

TEST_F(Pan, BothAxesOfAGameControllerMoveIt) {
    int32_t centers[2] = {};
    GAMECONTROLLER device{
        32768, 32768, 10000, 0, centers, [](void* c, uint32_t axis, const GAMEEFFECT* effect) {
            static_cast<int32_t*>(c)[axis] = effect->center;
        }};
    Send(GAMEM_DEVICE, 0, reinterpret_cast<intptr_t>(&device));
    Send(GAMEM_AXIS);
    EXPECT_EQ(host.sent.back().notifyCode, CONTROLN_UNUSED);
    Send(GAMEM_FOCUS, 1);
    Send(GAMEM_BUTTONDOWN);
    device.axisX = 0;
    device.axisY = 65535;
    Send(GAMEM_AXIS);
    Send(GAMEM_BUTTONUP);
    ExpectAt(-1, 1);
    EXPECT_EQ(Take(), (Codes{PAN_START, PAN_TRACK, PAN_END}));
    EXPECT_EQ(centers[0], -10000);
    EXPECT_EQ(centers[1], 10000);
    Send(GAMEM_DEVICE);
}

TEST_F(Pan, ThePictureIsKeptWhileOnlyThePuckMoves) {
    QImage image(206, 206, QImage::Format_RGB32);
    QPainter painter(&image);
    PanInst_Draw(&p, &painter);
    const PanPicture* picture = p.picture;
    Key(VK_LEFT);
    PanInst_Draw(&p, &painter);
    EXPECT_EQ(p.picture, picture);
    Send(PANM_SETMUTE, 0, 1);
    EXPECT_EQ(p.picture, nullptr);
}
