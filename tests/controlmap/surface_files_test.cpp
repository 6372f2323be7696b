// The function tables that come with the program: every file loads, every row names a function that there is,
// and what is sent to a control is what the control would have sent.
#include "controlmap/function_lists.h"
#include "controlmap/map_value.h"
#include "controlmap/mixer_functions.h"
#include "controlmap/xml_function_map.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

namespace {
const std::filesystem::path FOLDER = TARN_SURFACES;

class SurfaceFiles : public testing::TestWithParam<const char*> {
protected:
    NameTable names;
    FUNCTIONMAPENTRY entry{};
    std::string error;

    void SetUp() override {
        ASSERT_TRUE(names.Load(FOLDER / "names.xml", error)) << error;
        ASSERT_EQ(ReadFunctionTables(FOLDER / GetParam(), names, 8, entry, error), S_OK) << error;
    }
    void TearDown() override { FreeFunctionTables(entry); }
    bool HasKnobWithoutEnds(uint32_t function, int32_t strip) {
        bool has = false;
        ForRows([&](const MPFUNCTIONMAP& row) {
            has |= row.flags & EFUNCFLAG_RELATIVE && row.function == function && row.channel == strip;
        });
        return has;
    }
    template <class F>
    void ForRows(F check) {
        for (const FUNCTIONTABLE* table = entry.tables; table->id != 0; table++)
            for (const MPFUNCTIONMAP* row = table->rows; row->commandType != ECMDTYPE_NULL; row++)
                check(*row);
    }
};
}  // namespace

TEST_P(SurfaceFiles, NameFunctionsAndReachEveryStrip) {
    std::set<int32_t> strips;
    std::set<std::string> events;
    ForRows([&](const MPFUNCTIONMAP& row) {
        EXPECT_NE(row.function, 0u);
        EXPECT_NE(row.group, 0u);
        EXPECT_NE(row.first.type, MPNULL);
        strips.insert(row.channel);
        EXPECT_TRUE(row.channel == STRIP_MASTER || (row.channel >= 0 && row.channel < 8));
        if (row.commandType != ECMDTYPE_RECIEVE) return;
        const std::string key = std::to_string(row.first.type) + "/" + std::to_string(row.first.channel) +
                                "/" + std::to_string(row.first.byte1);
        EXPECT_TRUE(events.insert(key).second) << "two functions of one control: " << key;
    });
    for (int32_t strip = 0; strip < 8; strip++) EXPECT_TRUE(strips.count(strip)) << strip;
}

TEST_P(SurfaceFiles, WhatIsSentIsWhatTheControlWouldSend) {
    FunctionLists lists;
    for (const FUNCTIONTABLE* table = entry.tables; table->id != 0; table++) ASSERT_TRUE(lists.Add(*table));
    int sends = 0;
    ForRows([&](const MPFUNCTIONMAP& row) {
        if (row.commandType != ECMDTYPE_SEND || !(row.flags & EFUNCFLAG_VALUE)) return;
        // A knob without ends sends clicks, and is told how many lights of its ring to light.
        if (HasKnobWithoutEnds(row.function, row.channel)) return;
        for (const float value : {0.0f, 0.25f, 1.0f}) {
            MPFUNCTIONMAP sent = row;
            ASSERT_EQ(EventFromValue(value, sent), S_OK);
            const MPFUNCTIONMAP* received = lists.FindReceive({sent.first, nullptr, 0});
            ASSERT_NE(received, nullptr);
            EXPECT_EQ(received->function, row.function);
            EXPECT_EQ(received->channel, row.channel);
            MPFUNCTIONMAP back = *received;
            back.first = sent.first;
            EXPECT_NEAR(ValueFromEvent(0, back), value, 0.01);
            sends++;
        }
    });
    EXPECT_TRUE(sends > 0 || std::string(GetParam()) == "knob_box.xml") << "knobs have no motors";
}

INSTANTIATE_TEST_SUITE_P(All, SurfaceFiles,
                         testing::Values("eight_faders.xml", "motor_faders.xml", "knob_box.xml"),
                         [](const auto& file) {
                             return std::string(file.param, std::string(file.param).find('.'));
                         });

TEST(SurfaceNames, NameWhatTheMapDoes) {
    NameTable names;
    std::string error;
    ASSERT_TRUE(names.Load(FOLDER / "names.xml", error)) << error;
    for (const MixerParameter& p : MIXER_PARAMETERS)
        for (const uint32_t function : {p.value, p.touchOn, p.touchOff})
            EXPECT_EQ(names.FunctionName(ECONTROL_GRP_INSERT, function) != "", function != 0) << function;
    for (const MixerSwitch& s : MIXER_SWITCHES)
        EXPECT_NE(names.FunctionName(ECONTROL_GRP_INSERT, s.function), "") << s.function;
}
