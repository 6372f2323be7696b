#include "console/gain.h"

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

}  // namespace
