// Maps as they are edited: what a control that was moved makes of itself.
#include "controlmap/map_edit.h"

#include "controlmap/mixer_functions.h"
#include "tests/controlmap/map_support.h"

#include <gtest/gtest.h>

namespace {
constexpr LearnTarget VOLUME{ECONTROL_GRP_INSERT, MIXFUNC_VOLUME, 2, 0};
constexpr LearnTarget TOUCH{ECONTROL_GRP_INSERT, 5, 2, 0};
constexpr LearnTarget MUTE{ECONTROL_GRP_INSERT, MIXFUNC_MUTE, 2, 0};
constexpr LearnTarget SHIFT{ECONTROL_GRP_ASSIGN, 1, 0, 0};
constexpr LearnTarget PLAY{1, 1, 0, 0};

size_t Count(const FunctionRows& rows, uint32_t command, uint32_t function) {
    size_t n = 0;
    for (const MPFUNCTIONMAP& row : rows.All()) n += row.commandType == command && row.function == function;
    return n;
}
}  // namespace

TEST(MapEdit, ValuesAreLearntFromMovesAndButtonsFromPresses) {
    const MPEVENTREC bend = Event(MPPITCH_BEND, 1, 2), note = Event(MPNOTE_ON, 104, 127),
                     release = Event(MPNOTE_OFF, 104), controller = Event(MPCNTRL_CHNG, 7, 100),
                     zero = Event(MPCNTRL_CHNG, 7, 0);
    EXPECT_TRUE(CanLearn(VOLUME, bend));
    EXPECT_TRUE(CanLearn(VOLUME, zero));
    EXPECT_FALSE(CanLearn(VOLUME, note)) << "a touch of the fader";
    EXPECT_TRUE(CanLearn(TOUCH, note));
    EXPECT_FALSE(CanLearn(MUTE, release));
    EXPECT_TRUE(CanLearn(MUTE, controller));
    EXPECT_FALSE(CanLearn(MUTE, zero));
    EXPECT_FALSE(CanLearn(MUTE, bend));
}

TEST(MapEdit, AControlMakesTheRowsThatItNeeds) {
    const MPEVENTREC bend = Event(MPPITCH_BEND, 1, 2, 0, 0, 3);
    std::vector<MPFUNCTIONMAP> rows = RowsOfControl(VOLUME, bend, ControlKind::Absolute);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].minValue, -8192);
    EXPECT_EQ(rows[0].maxValue, 8191);
    EXPECT_EQ(rows[0].first.channel, 3u);
    EXPECT_EQ(rows[0].first.byte1 + rows[0].first.byte2, 0) << "where it stood is not of the row";
    EXPECT_EQ(rows[1].commandType, ECMDTYPE_SEND);
    EXPECT_EQ(rows[1].maxValue, 16383);
    rows = RowsOfControl(VOLUME, Event(MPCNTRL_CHNG, 16, 1), ControlKind::StepsOffset);
    ASSERT_EQ(rows.size(), 1u) << "a knob without ends is told nothing";
    EXPECT_EQ(rows[0].flags, EFUNCFLAG_VALUE | EFUNCFLAG_RELATIVE);
    EXPECT_EQ(rows[0].index, 2u);
    rows = RowsOfControl(TOUCH, Event(MPNOTE_ON, 104, 127), ControlKind::Absolute);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[1].function, 6u) << "and its release";
    EXPECT_EQ(rows[1].first.type, MPNOTE_OFF);
    EXPECT_EQ(RowsOfControl(MUTE, Event(MPNOTE_ON, 16, 90), ControlKind::Absolute).size(), 3u)
        << "and a lamp";
    EXPECT_EQ(RowsOfControl(SHIFT, Event(MPNOTE_ON, 70, 127), ControlKind::Absolute).size(), 4u);
    EXPECT_EQ(RowsOfControl(PLAY, Event(MPNOTE_ON, 94, 127), ControlKind::Absolute).size(), 3u);
}

TEST(MapEdit, AControlHasOneFunctionAndAFunctionOneControl) {
    FunctionRows rows;
    Assign(rows, VOLUME, Event(MPCNTRL_CHNG, 16, 1), ControlKind::StepsOffset);
    Assign(rows, VOLUME, Event(MPCNTRL_CHNG, 7, 1), ControlKind::Absolute);
    EXPECT_EQ(Count(rows, ECMDTYPE_RECIEVE, MIXFUNC_VOLUME), 1u);
    Assign(rows, TOUCH, Event(MPNOTE_ON, 104, 127), ControlKind::Absolute);
    LearnTarget other = VOLUME;
    other.channel = 3;
    Assign(rows, other, Event(MPCNTRL_CHNG, 8, 1), ControlKind::Absolute);
    EXPECT_EQ(Count(rows, ECMDTYPE_RECIEVE, MIXFUNC_VOLUME), 2u);
    Assign(rows, MUTE, Event(MPCNTRL_CHNG, 7, 127), ControlKind::Absolute);
    EXPECT_EQ(Count(rows, ECMDTYPE_RECIEVE, MIXFUNC_VOLUME), 1u) << "the fader's controller mutes now";
    EXPECT_EQ(Count(rows, ECMDTYPE_SEND, MIXFUNC_VOLUME), 1u) << "and is told of no volume";
    EXPECT_TRUE(Unassign(rows, TOUCH));
    EXPECT_EQ(Count(rows, ECMDTYPE_RECIEVE, 6), 0u) << "the release goes with the touch";
    EXPECT_FALSE(Unassign(rows, TOUCH));
}

TEST(MapEdit, CopiesOwnTheirLongData) {
    FUNCTIONMAPENTRY entry{};
    {
        FunctionRows rows;
        MPFUNCTIONMAP row{};
        row.commandType = ECMDTYPE_SEND;
        row.first = Event(MPSYS_EX1);
        uint8_t bytes[] = {0xF0, 1, 0xF7};
        row.first.data = bytes;
        row.first.dataSize = sizeof bytes;
        row.second = EmptyEvent();
        rows.Add({&row, 1});
        const FunctionRows copy = rows;
        rows = {};
        entry.tables = copy.NewTables(u"T");
    }
    ASSERT_TRUE(entry.tables);
    const FunctionRows back = FunctionRows::Of(entry);
    FreeFunctionTables(entry);
    ASSERT_EQ(back.All().size(), 1u);
    EXPECT_EQ(static_cast<const uint8_t*>(back.All()[0].first.data)[1], 1);
}
