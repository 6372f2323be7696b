#include "plugin/channel_order.h"

#include <gtest/gtest.h>

#include <iterator>

namespace {

constexpr ChannelKey Key(uint32_t kind, int32_t order, uint32_t countClass = 1,
                         uint32_t pair = SPEAKER_FRONT) {
    return {kind, order, countClass, pair};
}

TEST(ChannelOrder, RulesForPairs) {
    constexpr uint32_t RESTRICTED_4 = KIND_RESTRICTED | KIND_FAMILY_4;
    struct Row {
        const char* what;
        ChannelKey a, b;
        int32_t references, surround, entries;
    };
    const Row rows[] = {
        {"tracks by index", Key(1, 0), Key(1, 1), -1, -1, -1},
        {"equal kind and index", Key(1, 3), Key(1, 3), 1, 1, 1},
        {"MIDI among audio by index", Key(8, 0), Key(1, 1), -1, -1, -1},
        {"track before bus", Key(1, 9), Key(KIND_AUDIO_BUS, 0), -1, -1, -1},
        {"bus after track", Key(KIND_AUDIO_BUS, 0), Key(1, 9), 1, 1, 1},
        {"main output first", Key(KIND_OUTPUT_ENTRY, -1), Key(1, 0), -1, -1, -1},
        {"master behind busses", Key(KIND_MASTER, 0), Key(KIND_AUDIO_BUS, 5), 1, -1, -1},
        {"master before family 80", Key(KIND_MASTER, 0), Key(KIND_FAMILY_80, 0), -1, -1, 1},
        {"families: synth, FX, bus", Key(KIND_SYNTH, 9), Key(KIND_FX, 1), -1, 1, 1},
        {"families: FX, bus", Key(KIND_AUDIO_BUS, 1), Key(KIND_FX, 9), 1, -1, -1},
        {"preview by its index in the entries", Key(KIND_BUS | KIND_SPECIAL, -2), Key(KIND_AUDIO_BUS, 0), 0,
         -1, -1},
        {"head before companion", Key(KIND_SURROUND_MASTER, 5), Key(KIND_MASTER | KIND_NO_STRIP, 0), 1, -1,
         -1},
        {"restricted: larger class first", Key(RESTRICTED_4, 9, 6), Key(RESTRICTED_4, 0, 2), -1, -1, -1},
        {"restricted pairs: left before right", Key(RESTRICTED_4, 9, 1, 1), Key(RESTRICTED_4, 0, 1, 2), 1, 1,
         -1},
        {"restricted pairs: right after left", Key(RESTRICTED_4, 0, 1, 2), Key(RESTRICTED_4, 9, 1, 1), -1, -1,
         1},
        {"restricted behind", Key(KIND_RESTRICTED, 0), Key(KIND_AUDIO_BUS, 5), 1, 1, 1},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(CompareChannels(row.a, row.b, ChannelOrder::References), row.references) << row.what;
        EXPECT_EQ(CompareChannels(row.a, row.b, ChannelOrder::ReferencesSurround), row.surround) << row.what;
        EXPECT_EQ(CompareChannels(row.a, row.b, ChannelOrder::Entries), row.entries) << row.what;
    }
}

// Where every pair stands right, any way of sorting comes to this.
TEST(ChannelOrder, EntriesOfAStereoProjectStandAsOneExpects) {
    const ChannelKey expected[] = {Key(1, 0),
                                   Key(8, 1),
                                   Key(1, 2),
                                   Key(KIND_BUS | KIND_SPECIAL, -2),
                                   Key(KIND_AUDIO_BUS, 0),
                                   Key(KIND_AUDIO_BUS, 1),
                                   Key(KIND_MASTER, 2)};
    for (size_t i = 0; i < std::size(expected); i++)
        for (size_t j = 0; j < i; j++) {
            EXPECT_LT(CompareChannels(expected[j], expected[i], ChannelOrder::Entries), 0) << j << ' ' << i;
            EXPECT_GT(CompareChannels(expected[i], expected[j], ChannelOrder::Entries), 0) << i << ' ' << j;
        }
}

}  // namespace
