// The demo's music holds together: a wrong digit in its tables shows here.
#include "host/demo/piece.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>

namespace {
constexpr uint32_t kBarTicks = 4 * 480;

/// The keys that sound in each bar, as pitch classes.
std::map<uint32_t, std::set<int>> PitchClasses(const host::MidiTrack& part) {
    std::map<uint32_t, std::set<int>> bars;
    for (const host::MidiNote& n : part.notes) bars[n.start / kBarTicks].insert(n.key % 12);
    return bars;
}

TEST(DemoPiece, EveryPartPlaysCleanlyAndInItsRange) {
    struct Row {
        const char* name;
        int lowest, highest;
        uint32_t firstBar;
    };
    const Row rows[] = {{"Drums", 36, 51, 0}, {"Percussion", 54, 70, 0}, {"Bass", 28, 45, 0},
                        {"Keys", 52, 72, 0},  {"Strings", 40, 77, 2},    {"Lead", 67, 81, 3}};
    const host::MidiSong song = host::MakePiece();
    ASSERT_EQ(std::size(rows), song.tracks.size());
    for (size_t i = 0; i < std::size(rows); i++) {
        SCOPED_TRACE(rows[i].name);
        auto notes = song.tracks[i].notes;
        EXPECT_EQ(rows[i].name, song.tracks[i].name);
        std::sort(notes.begin(), notes.end(), [](const auto& a, const auto& b) {
            return std::tie(a.key, a.start) < std::tie(b.key, b.start);
        });
        std::set<uint32_t> bars;
        for (size_t k = 0; k < notes.size(); k++) {
            EXPECT_TRUE(notes[k].key >= rows[i].lowest && notes[k].key <= rows[i].highest)
                << int{notes[k].key};
            EXPECT_LE(notes[k].start + notes[k].length, song.end - kBarTicks)
                << "runs into the last bar's silence";
            if (k > 0 && notes[k].key == notes[k - 1].key) {
                EXPECT_LE(notes[k - 1].start + notes[k - 1].length, notes[k].start) << "a key strikes itself";
            }
            bars.insert(notes[k].start / kBarTicks);
        }
        EXPECT_EQ(rows[i].firstBar, *bars.begin());
        EXPECT_EQ(host::kPieceBars - rows[i].firstBar, bars.size()) << "once in, a part plays in every bar";
    }
}

TEST(DemoPiece, StaysInItsKey) {
    const std::set<int> naturals{0, 2, 4, 5, 7, 9, 11};
    const host::MidiSong song = host::MakePiece();
    for (size_t i = 2; i < song.tracks.size(); i++)
        for (const auto& [bar, classes] : PitchClasses(song.tracks[i])) {
            // G sharp leads home to A: under the dominant, or in the bass before an A.
            const bool dominant = bar == 7 || bar == 15, leading = i == 2 && (bar == 3 || bar == 10);
            for (int c : classes)
                EXPECT_TRUE(naturals.contains(c) || (c == 8 && (dominant || leading)))
                    << song.tracks[i].name << ", bar " << bar + 1 << ", pitch class " << c;
        }
}

TEST(DemoPiece, BassStandsUnderItsChord) {
    const host::MidiSong song = host::MakePiece();
    const auto strings = PitchClasses(song.tracks[4]);
    for (const host::MidiNote& n : song.tracks[2].notes)
        if (n.start % kBarTicks == 0 && strings.contains(n.start / kBarTicks)) {
            EXPECT_TRUE(strings.at(n.start / kBarTicks).contains(n.key % 12))
                << "bar " << n.start / kBarTicks + 1;
        }
}
}  // namespace
