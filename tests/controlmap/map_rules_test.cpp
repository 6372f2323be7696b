// The rules of the control map: matching, values in events, takeover, banks.
#include "controlmap/bank_layout.h"
#include "controlmap/map_match.h"
#include "controlmap/map_value.h"
#include "tests/controlmap/map_support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

namespace {
MPFUNCTIONMAP Row(uint32_t flags, const MPEVENTREC& first, int32_t min = 0, int32_t max = 0,
                  const MPEVENTREC& second = EmptyEvent()) {
    MPFUNCTIONMAP row = FunctionRow(ECMDTYPE_RECIEVE, flags, 7, 0, first, max);
    row.minValue = min;
    row.second = second;
    return row;
}

bool Matches(const MPFUNCTIONMAP& row, const MPEVENTREC& event, uint32_t state = 0,
             const MPEVENTREC* held = nullptr) {
    return RowMatches(row, {event, held, FlagsOfState(state)});
}
constexpr uint32_t V = EFUNCFLAG_VALUE;
}  // namespace

TEST(MapMatch, TheControlMattersAndNotItsValue) {
    struct Case {
        uint32_t flags;
        MPEVENTREC row, event;
        bool matches;
        const char* why;
    };
    for (const Case& c :
         {Case{V, Event(MPCNTRL_CHNG, 7, 1), Event(MPCNTRL_CHNG, 7, 99), true, "the value of a controller"},
          Case{V, Event(MPCNTRL_CHNG, 7), Event(MPCNTRL_CHNG, 8), false, "another controller"},
          Case{0, Event(MPCNTRL_CHNG, 7, 1), Event(MPCNTRL_CHNG, 7, 99), false, "a button's value counts"},
          Case{0, Event(MPNOTE_ON, 7, 1), Event(MPNOTE_ON, 7, 99), true, "but not a note's velocity"},
          Case{V, Event(MPNOTE_ON, 7), Event(MPNOTE_OFF, 7), false, "another type"},
          Case{V, Event(MPNRPN, 1, 2, 3, 4), Event(MPNRPN, 1, 2, 5, 6), true, "the parameter's number"},
          Case{V, Event(MPNRPN, 1, 2), Event(MPNRPN, 1, 3), false, "both its bytes"},
          Case{V, Event(MPPITCH_BEND, 1), Event(MPPITCH_BEND, 2), true, "a bend has no number"},
          Case{V, Event(MPCNTRL_CHNG, 7, 0, 0, 0, 3), Event(MPCNTRL_CHNG, 7, 0, 0, 0, 4), false,
               "another channel"},
          Case{V, Event(MPCNTRL_CHNG, 7, 0, 0, 0, MIDI_CHANNEL_ANY), Event(MPCNTRL_CHNG, 7, 0, 0, 0, 4), true,
               "any channel"},
          Case{0, Event(0x40000, 1), Event(0x40000, 2), true, "long types without data"}})
        EXPECT_EQ(Matches(Row(c.flags, c.row), c.event), c.matches) << c.why;
    MPEVENTREC a = Event(MPSYS_EX1), b = a;
    char one[] = "abc", two[] = "abd";
    a.data = one;
    b.data = two;
    a.dataSize = b.dataSize = 3;
    EXPECT_FALSE(Matches(Row(0, a), b));
    a.dataSize = b.dataSize = 2;
    EXPECT_TRUE(Matches(Row(0, a), b));
    b.data = nullptr;
    EXPECT_FALSE(Matches(Row(0, a), b));
}

TEST(MapMatch, ModifiersAlwaysCountAndModesWhereTheRowNamesThem) {
    const MPEVENTREC e = Event(MPNOTE_ON, 1);
    EXPECT_EQ(FlagsOfState(MAPSTATE_SHIFT | MAPSTATE_OPT | MAPSTATE_SURFMOD1 | MAPSTATE_SURFACE_MODE | 7),
              EFUNCFLAG_SHIFT | EFUNCFLAG_OPT | EFUNCFLAG_SURFMOD1 | EFUNCFLAG_SURFACE_MODE);
    EXPECT_FALSE(Matches(Row(0, e), e, MAPSTATE_SHIFT));
    EXPECT_TRUE(Matches(Row(EFUNCFLAG_SHIFT, e), e, MAPSTATE_SHIFT));
    EXPECT_FALSE(Matches(Row(EFUNCFLAG_SHIFT, e), e));
    EXPECT_TRUE(Matches(Row(0, e), e, MAPSTATE_SURFMOD1 | MAPSTATE_AUDIO_MODE)) << "not named";
    EXPECT_FALSE(Matches(Row(EFUNCFLAG_USE_SURFACE_MOD1, e), e, MAPSTATE_SURFMOD1));
    EXPECT_TRUE(Matches(Row(EFUNCFLAG_USE_SURFACE_MOD1 | EFUNCFLAG_SURFMOD1, e), e, MAPSTATE_SURFMOD1));
    EXPECT_TRUE(Matches(Row(EFUNCFLAG_USE_SURFACE_MOD1 | EFUNCFLAG_SURFMOD1 | EFUNCFLAG_SURFMOD2, e), e,
                        MAPSTATE_SURFMOD1));
    EXPECT_FALSE(Matches(Row(EFUNCFLAG_USE_AUDIO_MODE | EFUNCFLAG_AUDIO_MODE, e), e));
    MPFUNCTIONMAP button = Row(0, e);
    button.group = ECONTROL_GRP_ASSIGN;
    EXPECT_TRUE(Matches(button, e, MAPSTATE_SHIFT | MAPSTATE_CTRL)) << "a modifier's own button";
}

TEST(MapMatch, APairNeedsItsEarlierHalf) {
    const MPFUNCTIONMAP pair = Row(V, Event(MPCNTRL_CHNG, 33), 0, 16383, Event(MPCNTRL_CHNG, 1));
    const MPEVENTREC high = Event(MPCNTRL_CHNG, 1, 64), low = Event(MPCNTRL_CHNG, 33, 5),
                     other = Event(MPCNTRL_CHNG, 2, 64);
    EXPECT_TRUE(IsEarlierHalf(pair, high, 0));
    EXPECT_FALSE(IsEarlierHalf(pair, low, 0));
    EXPECT_FALSE(IsEarlierHalf(pair, high, FlagsOfState(MAPSTATE_SHIFT)));
    EXPECT_FALSE(Matches(pair, low)) << "the second half alone";
    EXPECT_TRUE(Matches(pair, low, 0, &high));
    EXPECT_FALSE(Matches(pair, low, 0, &other));
    MPFUNCTIONMAP first = pair, second = pair;
    second.first.byte2 = 99;
    EXPECT_TRUE(SameControl(first, second)) << "moves of one control";
    second.channel = 3;
    EXPECT_FALSE(SameControl(first, second));
}

TEST(MapValue, EventsAsValues) {
    struct Case {
        MPFUNCTIONMAP row;
        double value;
        const char* why;
    };
    const MPEVENTREC high = Event(MPCNTRL_CHNG, 1, 127);
    constexpr uint32_t H = V | EFUNCFLAG_HOSTFUNCTION;
    for (const Case& c :
         {Case{Row(V, Event(MPCNTRL_CHNG, 7, 127)), 1, "a controller"},
          Case{Row(V, Event(MPCNTRL_CHNG, 7, 0)), 0, "its end"},
          Case{Row(V, Event(MPCNTRL_CHNG, 7, 64), 0, 127), 64 / 127.0, "its middle"},
          Case{Row(V, Event(MPCNTRL_CHNG, 7, 100), 20, 60), 1, "beyond the row's limits"},
          Case{Row(V, Event(MPCNTRL_CHNG, 33, 127), 0, 16383, high), 1, "a pair"},
          Case{Row(V, Event(MPCNTRL_CHNG, 33, 1), 0, 16383, Event(MPCNTRL_CHNG, 1, 64)),
               (64 * 128 + 1) / 16383.0, "a pair's middle"},
          Case{Row(V, Event(MPNRPN, 1, 2, 127, 127)), 1, "fourteen bits"},
          Case{Row(V, Event(MPNRPN, 1, 2, 64, 0)), 8192 / 16383.0, "their middle"},
          Case{Row(V, Event(MPPITCH_BEND, 0, 64), -8192, 8191), 8192 / 16383.0, "a bend at rest"},
          Case{Row(V, Event(MPPITCH_BEND, 127, 127), -8192, 8191), 1, "a bend up"},
          Case{Row(V, Event(MPPITCH_BEND, 0, 0), -8192, 8191), 0, "a bend down"},
          Case{Row(V, Event(MPPITCH_BEND, 0, 100)), 1, "without limits the upper half is full"},
          Case{Row(H, Event(MPPITCH_BEND, 0, 64), 3, 9), 0.5, "a host function's limits are no limits"},
          Case{Row(V, Event(MPCNTRL_CHNG, 7, 64), 9, 9), 0, "equal limits"},
          Case{Row(V, Event(MPNOTE_ON, 7, 64)), 0, "a note has no value"}})
        EXPECT_NEAR(ValueFromEvent(0.25f, c.row), c.value, 1e-4) << c.why;
    EXPECT_EQ(ValueFromEvent(0.25f, Row(0, Event(MPCNTRL_CHNG, 7, 1))), 0.25f) << "a button passes its own";
}

TEST(MapValue, WhatIsEncodedIsDecoded) {
    for (const MPFUNCTIONMAP& made :
         {Row(V, Event(MPCNTRL_CHNG, 7), 0, 127), Row(V, Event(MPNRPN, 1, 2), 0, 16383),
          Row(V, Event(MPAFTER_TOUCH), 0, 127), Row(V, Event(MPPITCH_BEND), 0, 16383),
          Row(V, Event(MPPITCH_BEND), -8192, 8191),
          Row(V, Event(MPCNTRL_CHNG, 33), 0, 16383, Event(MPCNTRL_CHNG, 1))}) {
        const bool bend = made.first.type == MPPITCH_BEND && made.minValue == 0;
        for (int i = 0; i <= 100; i++) {
            MPFUNCTIONMAP row = made;
            const float value = static_cast<float>(i) / 100;
            EXPECT_EQ(EventFromValue(value, row), S_OK);
            EXPECT_LT(row.first.byte1 | row.first.byte2, 128);
            // A bend is written from 0 and read from its middle.
            if (bend)
                EXPECT_EQ(row.first.byte2 * 128 + row.first.byte1, std::lround(value * 16383));
            else
                EXPECT_NEAR(ValueFromEvent(0, row), value, made.maxValue > 127 ? 0.0001 : 0.004);
        }
    }
    MPFUNCTIONMAP note = Row(V, Event(MPNOTE_ON, 1));
    EXPECT_EQ(EventFromValue(1, note), S_FALSE);
    MPFUNCTIONMAP plain = Row(0, Event(MPCNTRL_CHNG, 1));
    EXPECT_EQ(EventFromValue(1, plain), S_FALSE);
    MPFUNCTIONMAP row = Row(V, Event(MPCNTRL_CHNG, 1));
    EventFromRaw(10, 110, 0.5f, row);
    EXPECT_EQ(row.first.byte2, 60);
    EventFromRaw(10, 10, 5, row);
    EXPECT_EQ(row.first.byte2, 15);
}

TEST(MapValue, KnobsWithoutEndsCountInTheirOwnWay) {
    for (const auto& [how, byte, steps] : {std::tuple{STEPS_SIGN_BIT, 1, 1},
                                           {STEPS_SIGN_BIT, 66, -2},
                                           {STEPS_TWOS_COMPLEMENT, 2, 2},
                                           {STEPS_TWOS_COMPLEMENT, 127, -1},
                                           {STEPS_OFFSET, 66, 2},
                                           {STEPS_OFFSET, 63, -1}}) {
        MPFUNCTIONMAP row = Row(V | EFUNCFLAG_RELATIVE, Event(MPCNTRL_CHNG, 7, static_cast<uint8_t>(byte)));
        row.index = how;
        EXPECT_EQ(StepsFromEvent(row), steps) << how << ' ' << byte;
    }
}

TEST(MapValue, NamesAreCutSoThatTheyStayApart) {
    EXPECT_EQ(FitText(u"Drums", 6), u"Drums");
    EXPECT_EQ(FitText(u"Track 10", 6), u"Trck10");
    EXPECT_EQ(FitText(u"Audio 7", 6), u"Audio7");
    EXPECT_EQ(FitText(u"XXXXXXXX", 6), u"XXXXXX");
    EXPECT_EQ(FitText(u"aaaaaaaa", 2), u"aa");
    EXPECT_EQ(FitText(u"", 6), u"");
}

TEST(Takeovers, WaitUntilTheControlHasPassedTheValue) {
    TakeoverState state{0.5f, RAW_UNKNOWN};
    const auto move = [&](uint8_t to, bool touched = false) {
        const MPFUNCTIONMAP row = Row(V, Event(MPCNTRL_CHNG, 7, to), 0, 127);
        const HRESULT hr = Takeover(state, ValueFromEvent(0, row), touched, row);
        if (hr == S_OK) state.cached = ValueFromEvent(0, row);
        return hr == S_OK;
    };
    EXPECT_FALSE(move(10)) << "far below";
    EXPECT_FALSE(move(30));
    EXPECT_TRUE(move(70)) << "passed it between two events";
    EXPECT_TRUE(move(90)) << "and has it";
    state = {0.5f, RAW_UNKNOWN};
    EXPECT_FALSE(move(100));
    EXPECT_TRUE(move(64)) << "reached it exactly";
    state = {0.5f, RAW_UNKNOWN};
    EXPECT_TRUE(move(3, true)) << "a hand that holds the touch";
    state = {-1, RAW_UNKNOWN};
    EXPECT_TRUE(move(99)) << "nothing is known";
}

TEST(Banks, ShowTheChannelsThatPassTheFilter) {
    EXPECT_TRUE(PassesBank(KIND_AUDIO_TRACK, 63));
    EXPECT_FALSE(PassesBank(KIND_FAMILY_40, 63));
    EXPECT_TRUE(PassesBank(KIND_FX, KIND_BUS | KIND_FX_BIT));
    EXPECT_FALSE(PassesBank(KIND_AUDIO_BUS, KIND_BUS | KIND_FX_BIT));
    const BankChannel channels[] = {{11, KIND_AUDIO_TRACK}, {12, KIND_BUS},       {13, KIND_AUDIO_TRACK},
                                    {14, KIND_AUDIO_TRACK}, {15, KIND_FAMILY_40}, {16, KIND_AUDIO_TRACK}};
    using Strips = std::vector<uint64_t>;
    struct Case {
        int32_t index;
        size_t strips;
        Strips shown;
        int32_t first, offset;
    };
    for (const Case& c :
         {Case{0, 2, {11, 13}, 0, 0}, Case{1, 2, {13, 14}, 2, 1}, Case{3, 2, {16, 0}, 5, 3},
          Case{-5, 3, {11, 13, 14}, 0, 0}, Case{99, 2, {16, 0}, 5, 3}, Case{0, 0, {}, -1, 0}}) {
        const BankLayout layout = LayoutBank(channels, KIND_AUDIO_TRACK, c.index, c.strips);
        EXPECT_EQ(layout.strips, c.shown) << c.index;
        EXPECT_EQ(layout.firstIndex, c.first) << c.index;
        EXPECT_EQ(layout.offset, c.offset) << c.index;
        EXPECT_EQ(layout.channels, 4);
    }
    const BankLayout none = LayoutBank(channels, KIND_MIDI_TRACK, 0, 2);
    EXPECT_EQ(none.strips, Strips(2));
    EXPECT_EQ(none.firstIndex, -1);
}
