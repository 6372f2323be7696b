#include "console/gain.h"
#include "console/strip_parameter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

TEST(Gain, EveryPositionSurvivesTheWayThroughAGain) {
    for (int32_t position = -718; position <= POSITION_MAX; position++)
        ASSERT_EQ(GainToPosition(PositionToGain(position)), position);
    for (int32_t position = 0; position <= MIDI_POSITION_MAX; position++)
        ASSERT_EQ(MidiValueToPosition(MidiPositionToValue(position)), position);
}

TEST(Gain, EndsAndOddValues) {
    struct Row {
        float gain;
        int32_t position;
    };
    const float inf = std::numeric_limits<float>::infinity();
    const Row rows[] = {{1.0f, 0},
                        {0.0f, POSITION_MIN},
                        {-1.0f, POSITION_MIN},
                        {std::nanf(""), POSITION_MIN},
                        {1e-30f, POSITION_MIN},
                        {PositionToGain(-719), POSITION_MIN},
                        {0.99999f, 0},
                        {1.00001f, 0},
                        {inf, 1000000}};
    for (const Row& row : rows) EXPECT_EQ(GainToPosition(row.gain), row.position) << row.gain;
    EXPECT_EQ(PositionToGain(0), 1.0f);
    EXPECT_EQ(PositionToGain(-720), 0.0f);
    EXPECT_EQ(PositionToGain(-9999), 0.0f);
    EXPECT_FLOAT_EQ(PositionToGain(-60), 0.501187f);
    EXPECT_EQ(MidiValueToPosition(2.0f), 127);
    EXPECT_EQ(MidiValueToPosition(std::nanf("")), 0);
}

TEST(StripParameter, PositionsComeBackAndWhatIsNoNumberIsTheMiddle) {
    const StripParameter all[] = {VolumeParameter(SPEAKER_FRONT, false, true),
                                  VolumeParameter(SPEAKER_FRONT, true, false),
                                  PanParameter(false),
                                  PanParameter(true),
                                  PlaceParameter(true),
                                  SendLevelParameter(7),
                                  SendPanParameter(7)};
    for (const StripParameter& p : all) {
        EXPECT_TRUE(p.Default() >= p.Least() && p.Default() <= p.Most());
        // The lowest tenth is silence on the way back.
        const int32_t least = p.scale == StripParameter::Scale::Gain ? -718 : p.Least();
        for (int32_t position = least; position <= p.Most(); position++)
            ASSERT_EQ(p.Position(p.Value(position)), position) << static_cast<int>(p.scale);
    }
    EXPECT_EQ(PanParameter(false).Value(-100), -1.0f);
    EXPECT_EQ(PanParameter(true).Value(127), 1.0f);
    EXPECT_EQ(PanParameter(false).Position(5.0f), 100) << "what a host says is cut to the range";
    EXPECT_EQ(PanParameter(false).Position(std::nanf("")), 0);
}

}  // namespace
