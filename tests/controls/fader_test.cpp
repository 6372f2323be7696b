// The fader through its messages: what a hand on mouse, wheel and keys does, and what its owner hears of it.
#include "controls/fader.h"
#include "controls/fader_layout.h"
#include "controls/game_controller.h"
#include "fake_window.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>

namespace {
constexpr uint32_t kMono = FADERS_VERTICAL | FADERS_TAPER | FADERS_SELF_KEYS;
constexpr uint32_t kPair = kMono | FADERS_STEREO;

class Fader : public testing::Test {
protected:
    FakeWindow host;
    tQMFADER f{};
    std::string codes;  // one digit a call of the scroll proc

    void Make(uint32_t style, RECT rect = {0, 0, 30, 320}) {
        FaderInst_Init(
            &f, style, &rect, &host, 77,
            [](tQMFADER*, uint32_t, uintptr_t self, uint32_t code, const int32_t*, uint32_t) {
                reinterpret_cast<Fader*>(self)->codes += static_cast<char>('0' + code);
            },
            reinterpret_cast<uintptr_t>(this), 1.0f);
        Send(FADERM_SETRANGE, 0, Limits(-720, 120));
        Set(0, 0);
        host.invalid.clear();
    }
    intptr_t Send(uint32_t message, uintptr_t w = 0, intptr_t l = 0) {
        return FaderInst_Message(&f, message, w, l);
    }
    void Set(int32_t first, int32_t second) {
        const int32_t values[] = {first, second};
        Send(FADERM_SETVALUES, 0, reinterpret_cast<intptr_t>(values));
    }
    void Mouse(uint32_t message, POINT at, uint32_t keys = 0) { Send(message, keys, PackPoint(at)); }
    POINT Thumb(uint32_t channel = 0) { return FaderThumbCentre(f, channel); }
    using Pair = std::pair<int32_t, int32_t>;
    Pair Values() const { return {f.pos[0], f.pos[1]}; }
    int32_t Value() const { return f.pos[0]; }
    void Key(uint32_t vk) { Send(WM_KEYDOWN, vk, 1); }
    void Wheel(int32_t counts, uint32_t keys = 0) {
        Send(WM_MOUSEWHEEL, PackWords(keys, static_cast<uint32_t>(counts)), 0);
    }
    std::string TakeCodes() { return std::exchange(codes, {}); }
};
}  // namespace

TEST_F(Fader, StartsAsToldAndTheRangeSetsTheDefault) {
    RECT rect{0, 0, 30, 200};
    FaderInst_Init(&f, FADERS_VERTICAL, &rect, &host, 1, nullptr, 9, 1.0f);
    EXPECT_EQ(Send(FADERM_GETMIN), 0);
    EXPECT_EQ(Send(FADERM_GETMAX), 100);
    EXPECT_EQ(Send(FADERM_GETPOS), 50);
    EXPECT_EQ(Send(FADERM_GETUSERDATA), 9);
    EXPECT_EQ(f.thumbLength, 18);
    using Row = std::array<int32_t, 3>;
    for (const auto& [min, max, def] :
         {Row{-720, 120, 0}, Row{-720, 0, -720}, Row{0, 127, 63}, Row{10, 20, 15}, Row{-20, -10, -15}}) {
        Send(FADERM_SETRANGE, 0, Limits(min, max));
        EXPECT_EQ(f.def, def) << min << ".." << max;
    }
    Send(FADERM_SETRANGE, 0, Limits(5, 5));
    Send(FADERM_SETPOS, 1, 5);
    EXPECT_EQ(FaderPixel(f, 5), f.client.bottom - f.marginY) << "an empty range: the low end";
}

TEST_F(Fader, DragsWithTheMouseAndKeepsAGangsOffset) {
    Make(kPair);
    Set(-101, -201);
    ASSERT_NE(FaderValue(f, FaderPixel(f, -101)), -101) << "a pixel stands for several values";
    const POINT from = Thumb(0);
    Mouse(WM_LBUTTONDOWN, {from.x, from.y + 3}, MK_LBUTTON | MK_SHIFT);
    EXPECT_TRUE(host.captured);
    Mouse(WM_MOUSEMOVE, {from.x, FaderPixel(f, 30) + 3}, MK_LBUTTON | MK_SHIFT);
    EXPECT_NEAR(Value(), 30, 2);
    EXPECT_EQ(Value() - f.pos[1], 100) << "both move by the same";
    Mouse(WM_MOUSEMOVE, {from.x, -50}, MK_LBUTTON);
    EXPECT_EQ(Values(), Pair(120, 20)) << "each is clamped by itself";
    Mouse(WM_MOUSEMOVE, {from.x, 1000}, MK_LBUTTON);
    EXPECT_EQ(Values(), Pair(-720, -720));
    Mouse(WM_MOUSEMOVE, {from.x, from.y + 3}, MK_LBUTTON);
    EXPECT_EQ(Values(), Pair(-101, -201)) << "the first pixel brings the first values back";
    Mouse(WM_LBUTTONUP, from);
    EXPECT_FALSE(host.captured);
    EXPECT_EQ(TakeCodes(), "9555548");
}

TEST_F(Fader, FineDragHalvesTheWayAndKeepsTheMouseOnTheThumb) {
    Make(kMono);
    Send(FADERM_SETPOS, 0, -100);
    const POINT grab{Thumb().x + 2, Thumb().y - 4};
    Mouse(WM_LBUTTONDOWN, grab, MK_LBUTTON);
    int32_t expected = -100;
    POINT mouse = grab;
    for (const auto& [up, units] :
         {Pair{1, 1}, Pair{2, 1}, Pair{3, 2}, Pair{10, 5}, Pair{-1, -1}, Pair{-4, -2}, Pair{-7, -4}}) {
        mouse.y -= up;
        host.warps.clear();
        Mouse(WM_MOUSEMOVE, mouse, MK_LBUTTON | (up & 1 ? MK_CONTROL : MK_RBUTTON));
        expected += units;
        ASSERT_EQ(Value(), expected) << up;
        if (host.warps.empty()) {
            EXPECT_EQ(mouse.y, Thumb().y - 4) << "the thumb came along";
            continue;
        }
        EXPECT_EQ(host.warps.back().y, Thumb().y - 4) << "at the place where it was grabbed";
        mouse = host.warps.back();
        mouse.y += units & 1;  // a fraction of a pixel may be lost on the way
        Mouse(WM_MOUSEMOVE, mouse, MK_LBUTTON | MK_CONTROL);
        ASSERT_EQ(Value(), expected) << "the warp's own mouse move is none";
    }
    EXPECT_NE(expected, -100);
    Mouse(WM_MOUSEMOVE, {mouse.x, mouse.y - 5}, MK_LBUTTON);
    EXPECT_EQ(Value(), FaderValue(f, mouse.y - 5 + 4)) << "without Ctrl it follows the pixel again";
    Mouse(WM_LBUTTONUP, mouse);
}

TEST_F(Fader, ADragEndsWithEscapeOrTheLossOfTheMouse) {
    for (const uint32_t message : {WM_KEYDOWN, WM_CANCELMODE, WM_CAPTURECHANGED}) {
        Make(kPair);
        Set(-30, 60);
        Mouse(WM_LBUTTONDOWN, Thumb(1), MK_LBUTTON | MK_SHIFT);
        Mouse(WM_MOUSEMOVE, {Thumb(1).x, 300}, MK_LBUTTON);
        const Pair left = message == WM_KEYDOWN ? Pair(-30, 60) : Values();
        Send(message, VK_ESCAPE);
        EXPECT_EQ(Values(), left) << message;
        EXPECT_FALSE(host.captured);
        EXPECT_EQ(TakeCodes(), "9548") << message;
        Mouse(WM_LBUTTONUP, Thumb(1));
        Mouse(WM_MOUSEMOVE, {Thumb(1).x, 100});
        EXPECT_EQ(Values(), left) << message;
        EXPECT_EQ(TakeCodes(), "");
    }
}

TEST_F(Fader, DoubleClickRestoresTheDefaultOrAlignsAPair) {
    Make(kMono);
    Send(FADERM_SETPOS, 0, -100);
    Mouse(WM_LBUTTONDBLCLK, Thumb(), MK_LBUTTON);
    EXPECT_EQ(Value(), 0);
    EXPECT_FALSE(host.captured);
    Mouse(WM_LBUTTONUP, Thumb());
    EXPECT_EQ(TakeCodes(), "48");

    Make(kPair);
    Set(-100, 50);
    Mouse(WM_LBUTTONDBLCLK, {f.thumbs[1].rect.right - 1, Thumb(1).y}, MK_LBUTTON);
    EXPECT_EQ(Value(), 50) << "the other thumb takes this one's value";
    EXPECT_EQ(f.channelMask, 3u);
    Set(-100, 50);
    Mouse(WM_LBUTTONDBLCLK, {f.thumbs[1].rect.left, Thumb(1).y}, MK_LBUTTON);
    EXPECT_EQ(Values(), Pair(0, 0)) << "the inner half means both";
}

TEST_F(Fader, GangRules) {
    Make(kPair);
    Set(0, -300);
    const auto hit = [&](uint32_t channel, bool inner, bool shift) {
        const RECT& r = f.thumbs[channel].rect;
        const LONG x = (channel == 0) == inner ? r.right - 1 : r.left;
        const FaderHit h = FaderHitTest(f, {x, (r.top + r.bottom) / 2}, shift);
        EXPECT_EQ(h.part, FADER_THUMB);
        EXPECT_EQ(h.activeChannel, channel);
        return h.channelMask;
    };
    for (const uint32_t channel : {0u, 1u}) {
        EXPECT_EQ(hit(channel, false, false), 1u << channel);
        EXPECT_EQ(hit(channel, true, false), 3u);
        EXPECT_EQ(hit(channel, false, true), 3u);
        Send(FADERM_SETNOHALFGANG, 0, 1);
        EXPECT_EQ(hit(channel, true, false), 1u << channel);
        Send(FADERM_SETGANG, 0, 1);
        EXPECT_EQ(hit(channel, false, false), 3u);
        EXPECT_EQ(hit(channel, false, true), 1u << channel);
        Send(FADERM_SETNOHALFGANG, 0, 0);
        Send(FADERM_SETGANG, 0, 0);
    }
    // The split itself belongs to the inner half of the right thumb, and to the outer half of the left one.
    EXPECT_EQ(FaderHitTest(f, {f.thumbs[0].split, Thumb(0).y}, false).channelMask, 1u);
    EXPECT_EQ(FaderHitTest(f, {f.thumbs[1].split, Thumb(1).y}, false).channelMask, 3u);
    EXPECT_EQ(f.thumbs[1].rect.left - f.thumbs[0].rect.right, 1) << "a line of their own between the two";
}

TEST_F(Fader, PartsBesideTheThumbRepeatWhileTheMouseStays) {
    Make(kMono);
    const FADERSETUP setup{-720, 120, 0, 5, 100, 0, 0, nullptr};
    Send(FADERM_SETUP, 0, reinterpret_cast<intptr_t>(&setup));
    Set(0, 0);
    const POINT below{f.track.left + 1, FaderPixel(f, -400)};
    Mouse(WM_LBUTTONDOWN, below, MK_LBUTTON);
    EXPECT_EQ(Value(), -100) << "once at the press";
    EXPECT_TRUE(host.timers.count(42));
    Send(WM_TIMER, 42);
    EXPECT_EQ(Value(), -200);
    Mouse(WM_MOUSEMOVE, {below.x, 5}, MK_LBUTTON);
    Send(WM_TIMER, 42);
    EXPECT_EQ(Value(), -200) << "the mouse is over another part";
    Mouse(WM_MOUSEMOVE, below, MK_LBUTTON);
    for (int i = 0; i < 5; i++) Send(WM_TIMER, 42);
    EXPECT_EQ(Value(), -400) << "the thumb has come under the mouse";
    Mouse(WM_LBUTTONUP, below);
    EXPECT_FALSE(host.timers.count(42));
    EXPECT_EQ(TakeCodes(), "33338");

    Mouse(WM_LBUTTONDOWN, {0, 5}, MK_LBUTTON);
    EXPECT_EQ(Value(), -395) << "outside the track: by lines";
    Mouse(WM_LBUTTONUP, {0, 5});
    EXPECT_EQ(TakeCodes(), "08");
}

TEST_F(Fader, Wheel) {
    Make(kPair);
    struct Row {
        int32_t counts;
        uint32_t keys;
        int32_t delta;
    };
    for (const Row& row :
         {Row{120, 0, 10}, Row{-120, 0, -10}, Row{240, MK_CONTROL, 2}, Row{60, MK_CONTROL, 1}, Row{60, 0, 1},
          Row{-8, 0, -1}, Row{360, 0, 30}, Row{180, 0, 15}}) {
        Set(0, -50);
        EXPECT_EQ(Send(WM_MOUSEWHEEL, PackWords(row.keys, static_cast<uint32_t>(row.counts))),
                  FADER_WHEEL_USED);
        EXPECT_EQ(Values(), Pair(row.delta, row.delta - 50)) << row.counts;
        EXPECT_EQ(TakeCodes(), "4");
    }
    Set(115, -720);
    Wheel(1200);
    EXPECT_EQ(Value(), 120);
    Send(FADERM_SETCHANNELMASK, 0, 2);
    Wheel(-120);
    EXPECT_EQ(Value(), 120) << "only the meant channel";
}

TEST_F(Fader, Keys) {
    struct Row {
        uint32_t key;
        bool control;
        int32_t from, to;
        const char* codes;
    };
    Make(kMono);
    for (const Row& row :
         {Row{VK_UP, false, 0, 1, "0"}, Row{VK_RIGHT, false, 0, 1, "0"}, Row{VK_F9, false, 0, 1, "0"},
          Row{VK_DOWN, false, 0, -1, "1"}, Row{VK_LEFT, false, 0, -1, "1"}, Row{VK_F3, false, 0, -1, "1"},
          Row{VK_PRIOR, false, -300, -216, "2"}, Row{VK_NEXT, false, 0, -84, "3"},
          Row{VK_NEXT, true, 0, -720, "3"}, Row{VK_HOME, false, -300, 0, "6"},
          Row{VK_HOME, true, -300, 120, "6"}, Row{VK_END, false, 100, -720, "7"},
          Row{'0', false, 0, -720, "4"}, Row{'9', false, 0, 36, "4"}, Row{'5', false, 0, -300, "4"},
          Row{VK_UP, false, 120, 120, "0"}, Row{VK_NUMPAD0 + 5, false, 7, 7, ""},
          Row{VK_CLEAR, false, 7, 7, ""}}) {
        Send(FADERM_SETPOS, 0, row.from);
        host.keys = row.control ? std::set<uint32_t>{VK_CONTROL} : std::set<uint32_t>{};
        Key(row.key);
        EXPECT_EQ(Value(), row.to) << row.key;
        Send(WM_KEYUP, row.key);
        EXPECT_EQ(TakeCodes(), std::string(row.codes) + (*row.codes ? "8" : "")) << row.key;
    }
    EXPECT_TRUE(host.sent.empty());
    Send(FADERM_SETRANGE, 0, Limits(0, 100));
    host.keys.clear();
    Key(VK_HOME);
    EXPECT_EQ(Value(), 100) << "a range without unity";
}

TEST_F(Fader, KeysThatItDoesNotUseGoToTheOwner) {
    FakeWindow owner;
    Make(kMono | FADERS_COMMANDS);
    FaderInst_SetOwnerHwnd(&f, &owner);
    Key(VK_DELETE);
    Key('L');
    ASSERT_EQ(owner.sent.size(), 2u);
    EXPECT_EQ(owner.sent[0].message, WM_NOTIFY);
    EXPECT_EQ(owner.sent[0].notifyCode, FADERN_KEY);
    EXPECT_EQ(owner.sent[0].wparam, 77u);
    owner.sent.clear();
    Send(WM_SETFOCUS);
    Mouse(WM_LBUTTONDOWN, Thumb(), MK_LBUTTON);
    Mouse(WM_LBUTTONUP, Thumb());
    Send(WM_KILLFOCUS);
    std::vector<uint32_t> commands;
    for (const auto& sent : owner.sent) commands.push_back(HighWord(sent.wparam));
    EXPECT_EQ(commands,
              (std::vector<uint32_t>{FADERN_SETFOCUS, FADERN_PRESSED, FADERN_RELEASED, FADERN_KILLFOCUS}));
}

TEST_F(Fader, ChannelKeysOfAPair) {
    Make(kPair);
    for (const auto& [key, mask] :
         {std::pair{'L', 1u}, std::pair{'R', 2u}, std::pair{'B', 3u}, std::pair{'S', 3u}}) {
        Set(0, 0);
        Key(static_cast<uint32_t>(key));
        EXPECT_EQ(f.channelMask, mask);
        EXPECT_EQ(f.activeChannel, mask == 2 ? 1u : 0u);
        Key(VK_UP);
        EXPECT_EQ(Values(), Pair(mask & 1, mask >> 1));
    }
    Send(FADERM_SETCHANNELMASK, 0, 0);
    EXPECT_EQ(f.channelMask, 1u);
    Send(FADERM_SETSTEREO, 0, 0);
    EXPECT_FALSE(FaderInst_IsStereo(&f));
    Send(FADERM_SETCHANNELMASK, 0, 2);
    EXPECT_EQ(f.channelMask, 1u) << "cut to the channels that exist";
}

TEST_F(Fader, RepaintsOnlyWhenAPixelMoves) {
    Make(kMono);
    int32_t moved = 0;
    RECT last = f.thumbs[0].rect;
    for (int32_t value = 0; value >= -720; value--) {
        host.invalid.clear();
        Send(FADERM_SETPOS, 1, value);
        const bool moves = !(f.thumbs[0].rect == last);
        ASSERT_EQ(host.invalid.size(), moves ? 2u : 0u) << value;
        if (moves) {
            EXPECT_EQ(host.invalid[0], last);
            EXPECT_EQ(host.invalid[1], f.thumbs[0].rect);
        }
        moved += moves;
        last = f.thumbs[0].rect;
    }
    EXPECT_LT(moved, 721);
    EXPECT_GT(moved, 100);
    Send(FADERM_SETPOS, 1, 5000);
    EXPECT_EQ(Send(FADERM_GETPOS), 5000) << "kept as given";
    EXPECT_EQ(f.thumbs[0].rect.top, f.client.top) << "but shown on the track";
}

TEST_F(Fader, IgnoresTheHandWhenDisabledOrTooSmall) {
    for (const bool small : {false, true}) {
        small ? Make(kPair, {0, 0, 10, 300}) : Make(kPair | FADERS_DISABLED);
        EXPECT_EQ(FaderHitTest(f, Thumb(), false).part, FADER_NOWHERE);
        Mouse(WM_LBUTTONDOWN, Thumb(), MK_LBUTTON);
        Key(VK_UP);
        Wheel(120);
        Mouse(WM_LBUTTONUP, Thumb());
        EXPECT_EQ(Value(), 0);
        EXPECT_FALSE(host.captured);
        EXPECT_EQ(TakeCodes(), "");
    }
    Make(kMono);
    Mouse(WM_LBUTTONDOWN, Thumb(), MK_LBUTTON | MK_RBUTTON);
    EXPECT_FALSE(host.captured) << "the right button is down";
}

TEST_F(Fader, TicksKeepTheirDistance) {
    Make(FADERS_VERTICAL | FADERS_TICKS | FADERS_TAPER, {0, 0, 30, 520});
    const auto pixelsOf = [&](std::vector<int32_t> list) {
        Send(FADERM_SETTICKS, list.size(), reinterpret_cast<intptr_t>(list.data()));
        std::vector<int32_t> values;
        for (const FaderTick& tick : FaderTicks(f)) values.push_back(tick.value);
        return values;
    };
    // Where the taper is flat there is a value for each pixel.
    const auto valueAt = [&](int32_t distance) {
        int32_t value = -500;
        while (FaderPixel(f, -500) - FaderPixel(f, value) < distance) value++;
        EXPECT_EQ(FaderPixel(f, -500) - FaderPixel(f, value), distance);
        return value;
    };
    EXPECT_EQ(pixelsOf({-500, valueAt(6)}), (std::vector<int32_t>{-500}));
    EXPECT_EQ(pixelsOf({-500, valueAt(7)}), (std::vector<int32_t>{-500, valueAt(7)}));
    EXPECT_EQ(pixelsOf({120, 60, -720, -721, 130}), (std::vector<int32_t>{60}))
        << "none at or beyond the ends";

    std::vector<int32_t> hundred(100, 1000);
    hundred[63] = -100;
    hundred[64] = -300;
    EXPECT_EQ(pixelsOf(hundred), (std::vector<int32_t>{-100})) << "the first 64 of a list";
    uint32_t count = 0;
    EXPECT_EQ(Send(FADERM_GETTICKS, 0, reinterpret_cast<intptr_t>(&count)),
              reinterpret_cast<intptr_t>(f.ticks));
    EXPECT_EQ(count, 64u);
    EXPECT_NE(Send(FADERM_SETTICKS, 0, 0), 0) << "the previous list";
    const auto* list =
        reinterpret_cast<const int32_t*>(Send(FADERM_GETTICKS, 0, reinterpret_cast<intptr_t>(&count)));
    ASSERT_EQ(count, 13u) << "the default list is told too";
    EXPECT_EQ(list[0], 120);
    EXPECT_EQ(list[12], -720);
    EXPECT_EQ(FaderTicks(f).size(), 11u) << "the default list without its two ends";
}

TEST_F(Fader, AScaleAtInitBecomesTicksAndMayBeOneSided) {
    struct Row {
        uint32_t style, kept;
        bool oneSided;
    };
    for (const Row& row : {Row{FADERS_SCALE, FADERS_TICKS, false},
                           Row{FADERS_SCALE | FADERS_LABELS, FADERS_TICKS | FADERS_LABELS, true},
                           Row{FADERS_TICKS | FADERS_LABELS, FADERS_TICKS | FADERS_LABELS, false},
                           Row{FADERS_ONE_SIDED, FADERS_ONE_SIDED, true}}) {
        Make(row.style);
        EXPECT_EQ(Send(FADERM_GETSTYLE), static_cast<intptr_t>(row.kept));
        EXPECT_EQ((f.state & FADERST_ONE_SIDED) != 0, row.oneSided) << row.style;
        Send(FADERM_CHANGESTYLE, FADERS_VERTICAL, 1);
        EXPECT_EQ((f.state & FADERST_ONE_SIDED) != 0, row.oneSided) << "whatever else changes";
    }
    Send(FADERM_CHANGESTYLE, 0x0010, 0);
    EXPECT_FALSE(f.state & FADERST_ONE_SIDED) << "half of the pair";
}

TEST_F(Fader, LabelsSideBySideDoNotTouch) {
    const LONG room = FaderLabelSize().cx;
    for (LONG width = 120; width < 500; width += 20) {
        Make(FADERS_TAPER | FADERS_TICKS | FADERS_LABELS, {0, 0, width, 50});
        std::vector<int32_t> places{FaderPixel(f, 0)};
        for (const FaderTick& tick : FaderTicks(f))
            if (tick.labelled) places.push_back(tick.pixel);
        std::ranges::sort(places);
        for (size_t i = 1; i < places.size(); i++) EXPECT_GE(places[i] - places[i - 1], room + 4) << width;
    }
}

TEST_F(Fader, MinimumSizes) {
    struct Row {
        uint32_t style;
        bool image;
        SIZE size;
    };
    for (const Row& row :
         {Row{FADERS_VERTICAL, false, {3, -2}}, Row{0, false, {-2, 3}}, Row{FADERS_VERTICAL, true, {8, 36}},
          Row{0, true, {36, 8}}, Row{FADERS_VERTICAL | FADERS_STEREO, true, {13, 36}}}) {
        Make(row.style);
        if (row.image) f.state &= ~FADERST_DRAWN_THUMB;
        SIZE size;
        FaderInst_GetMinSize(&f, &size);
        EXPECT_EQ(size, row.size) << row.style << row.image;
    }
}

TEST_F(Fader, TheCaretSitsInTheThumb) {
    Make(kMono);
    Send(WM_SETFOCUS);
    EXPECT_TRUE(host.caretShown);
    EXPECT_TRUE(f.thumbs[0].rect.Contains(host.caretAt));
    Mouse(WM_LBUTTONDOWN, Thumb(), MK_LBUTTON);
    EXPECT_FALSE(host.caretShown) << "not while it is dragged";
    Mouse(WM_MOUSEMOVE, {Thumb().x, 40}, MK_LBUTTON);
    Mouse(WM_LBUTTONUP, {Thumb().x, 40});
    EXPECT_TRUE(host.caretShown);
    EXPECT_TRUE(f.thumbs[0].rect.Contains(host.caretAt)) << "it has moved along";
    Send(WM_KILLFOCUS);
    EXPECT_FALSE(host.caret);
    EXPECT_EQ(Send(FADERM_SETFOCUSRECT, 0, 1), 0);
    EXPECT_EQ(Send(FADERM_SETFOCUSRECT, 0, 1), 1) << "the old state";
    Send(WM_SETFOCUS);
    EXPECT_FALSE(host.caret);
}

TEST_F(Fader, CursorTellsTheThumbsOfAPairApart) {
    Make(kPair);
    Set(0, -300);
    const auto over = [&](POINT at) {
        Mouse(WM_MOUSEMOVE, at);
        Send(WM_SETCURSOR);
        return host.pointer;
    };
    EXPECT_EQ(over({f.thumbs[0].rect.left, Thumb(0).y}), CURSOR_THUMB_LEFT);
    EXPECT_EQ(over({f.thumbs[1].rect.right - 1, Thumb(1).y}), CURSOR_THUMB_RIGHT);
    EXPECT_EQ(over({f.thumbs[1].rect.left, Thumb(1).y}), CURSOR_ARROW) << "both of them";
    EXPECT_EQ(over({1, 1}), CURSOR_ARROW);
}

TEST_F(Fader, HorizontalFadersRiseToTheRight) {
    Make(FADERS_TAPER | FADERS_SELF_KEYS, {10, 0, 310, 26});
    Mouse(WM_LBUTTONDOWN, Thumb(), MK_LBUTTON);
    Mouse(WM_MOUSEMOVE, {1000, 10}, MK_LBUTTON);
    EXPECT_EQ(Value(), 120);
    EXPECT_EQ(f.thumbs[0].rect.right, 310);
    Mouse(WM_MOUSEMOVE, {-1000, 10}, MK_LBUTTON);
    EXPECT_EQ(f.thumbs[0].rect.left, 10);
    Mouse(WM_LBUTTONUP, {0, 0});
}

TEST_F(Fader, TheDefaultScrollProcMovesForOwnersThatAskForIt) {
    Make(FADERS_VERTICAL | FADERS_TAPER);
    Key(VK_PRIOR);
    EXPECT_EQ(Value(), 0) << "without its own key steps it only tells";
    EXPECT_EQ(TakeCodes(), "2");
    EXPECT_EQ(FaderInst_DefScrollProc(&f, FADER_PAGE_UP, 0, 0), 84);
    EXPECT_EQ(FaderInst_DefScrollProc(&f, FADER_LINE_DOWN, 3, 0), 81);
    host.keys = {VK_CONTROL};
    EXPECT_EQ(FaderInst_DefScrollProc(&f, FADER_PAGE_DOWN, 0, 5), 31);
}

// A pixel may stand for several values, and its value for another pixel; a hand that comes back finds its
// value.
TEST_F(Fader, AtEveryTravelTheThumbsOwnPixelKeepsTheValue) {
    for (const uint32_t style : {kMono, kMono & ~FADERS_TAPER})
        for (int32_t travel = 1; travel <= 600; travel += travel < 40 ? 1 : 7) {
            Make(style, {0, 0, 30, 18 + travel});
            for (int32_t pixel = 0; pixel <= travel; pixel++) {
                const int32_t value = FaderValue(f, f.client.bottom - f.marginY - pixel);
                Set(value, value);
                const POINT thumb = Thumb();
                Mouse(WM_LBUTTONDOWN, thumb, MK_LBUTTON);
                Mouse(WM_MOUSEMOVE, {thumb.x + 4, thumb.y}, MK_LBUTTON);
                Mouse(WM_LBUTTONUP, thumb);
                ASSERT_EQ(TakeCodes(), "98") << "a move across is none";
                Mouse(WM_LBUTTONDOWN, thumb, MK_LBUTTON);
                Mouse(WM_MOUSEMOVE, {thumb.x, thumb.y + 3}, MK_LBUTTON);
                Mouse(WM_MOUSEMOVE, thumb, MK_LBUTTON);
                Mouse(WM_LBUTTONUP, thumb);
                ASSERT_EQ(Value(), value) << "travel " << travel << " pixel " << pixel;
                ASSERT_EQ(TakeCodes(), "95548");
            }
            FaderInst_Deinit(&f);
        }
}

TEST_F(Fader, AGameControllerMovesTheFaderThatHasIt) {
    struct Springs {
        GAMEEFFECT last{};
        int count = 0;
    } springs;
    GAMECONTROLLER device{32768, 32768, 10000, 0, &springs, [](void* c, uint32_t, const GAMEEFFECT* e) {
                              static_cast<Springs*>(c)->last = *e;
                              static_cast<Springs*>(c)->count++;
                          }};
    Make(kMono);
    Send(GAMEM_DEVICE, 0, reinterpret_cast<intptr_t>(&device));
    Send(GAMEM_BUTTONDOWN);
    EXPECT_EQ(host.sent.back().notifyCode, CONTROLN_UNUSED)
        << "without the controller's focus it is the owner's";
    Send(GAMEM_FOCUS, 1);
    EXPECT_EQ(springs.last.saturation, 5000u);
    Send(GAMEM_BUTTONDOWN);
    device.axisY = 65535;
    Send(GAMEM_AXIS);
    EXPECT_EQ(Value(), 120);
    EXPECT_EQ(springs.last.center, 10000);
    EXPECT_EQ(springs.last.saturation, 10000u);
    EXPECT_EQ(springs.last.positiveCoefficient, 10000);
    device.axisY = 32768 - 20000;
    device.gain = 20000;
    Send(GAMEM_AXIS);
    EXPECT_EQ(Value(), -720) << "the gain takes it beyond the end";
    Send(GAMEM_BUTTONUP);
    EXPECT_EQ(TakeCodes(), "9558");
    const int before = springs.count;
    Set(10, 10);
    Send(FADERM_SETPOS, 1, 60);
    EXPECT_GT(springs.count, before) << "the stick follows what the host sets";
    device.unusable = 1;
    Send(GAMEM_BUTTONDOWN);
    EXPECT_EQ(TakeCodes(), "");
    Send(GAMEM_DEVICE);
}
