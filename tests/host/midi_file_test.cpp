#include "host/demo/midi_file.h"

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>

namespace {
using host::MidiNote;

/// Reads back what a file of notes may hold; fails the test on anything else.
class Reader {
public:
    explicit Reader(const std::string& bytes) : m_bytes(bytes) {}

    struct Track {
        std::string name;
        uint32_t tempo = 0;  ///< microseconds a quarter
        int channel = -1, program = -1;
        uint32_t end = 0;
        std::vector<MidiNote> notes;
    };
    int format = -1, ticks = 0;
    std::vector<Track> tracks;

    void Read() {
        ASSERT_EQ("MThd", m_bytes.substr(0, 4));
        m_at = 4;
        ASSERT_EQ(6u, Number(4));
        format = static_cast<int>(Number(2));
        const uint32_t count = Number(2);
        ticks = static_cast<int>(Number(2));
        for (uint32_t i = 0; i < count; i++) {
            tracks.emplace_back();
            ASSERT_NO_FATAL_FAILURE(ReadTrack(tracks.back()));
        }
        ASSERT_EQ(m_bytes.size(), m_at) << "bytes after the last track";
    }

    uint32_t VariableLength() {
        uint32_t value = 0;
        for (;;) {
            const uint32_t byte = Number(1);
            value = value << 7 | (byte & 0x7F);
            if (byte < 0x80) return value;
        }
    }

private:
    uint32_t Number(int bytes) {
        uint32_t value = 0;
        for (int i = 0; i < bytes; i++) value = value << 8 | static_cast<uint8_t>(m_bytes.at(m_at++));
        return value;
    }

    void ReadTrack(Track& track) {
        ASSERT_EQ("MTrk", m_bytes.substr(m_at, 4));
        m_at += 4;
        const uint32_t length = Number(4);
        const size_t end = m_at + length;
        std::map<uint8_t, std::pair<uint32_t, uint8_t>> sounding;
        uint32_t tick = 0;
        bool ended = false;
        while (m_at < end) {
            ASSERT_FALSE(ended) << "events after the end of the track";
            tick += VariableLength();
            const uint32_t status = Number(1);
            if (status == 0xFF) {
                const uint32_t type = Number(1), size = VariableLength();
                const std::string content = m_bytes.substr(m_at, size);
                if (type == 0x51) track.tempo = Number(3), m_at -= 3;
                m_at += size;
                if (type == 0x03) track.name = content;
                ended = type == 0x2F;
                continue;
            }
            if (const int channel = status & 0xF; track.channel < 0) track.channel = channel;
            ASSERT_EQ(track.channel, static_cast<int>(status & 0xF));
            const auto key = static_cast<uint8_t>(Number(1));
            if (status >> 4 == 0xC) {
                track.program = key;
                continue;
            }
            const auto velocity = static_cast<uint8_t>(Number(1));
            ASSERT_TRUE(status >> 4 == 8 || status >> 4 == 9) << status;
            if (status >> 4 == 9) {
                ASSERT_TRUE(sounding.emplace(key, std::pair(tick, velocity)).second) << "a key twice at once";
                continue;
            }
            const auto note = sounding.extract(key);
            ASSERT_FALSE(note.empty()) << "a note ends that never began";
            track.notes.push_back(
                {note.mapped().first, tick - note.mapped().first, key, note.mapped().second});
        }
        ASSERT_EQ(end, m_at) << "the track's length is wrong";
        ASSERT_TRUE(ended && sounding.empty());
        track.end = tick;
    }

    const std::string& m_bytes;
    size_t m_at = 0;
};

host::MidiSong OneNote(uint32_t start, uint32_t length) {
    host::MidiSong song;
    song.end = start + length;
    song.tracks = {{"x", 3, 7, {{start, length, 60, 100}}}};
    return song;
}

TEST(MidiFile, ComesBackAsItWasWritten) {
    host::MidiSong song;
    song.ticksPerQuarter = 96;
    song.tempo = 97.5;
    song.end = 100000;
    // The same key again at the tick where it ends, a chord, and notes given out of order.
    song.tracks = {{"Gr\u00FC\u00DFe", 9, 0, {{10, 5, 40, 1}, {15, 5, 40, 127}, {20, 99980, 40, 64}}},
                   {"", 0, 127, {{0, 1, 0, 9}, {0, 1, 127, 8}, {0, 50000, 64, 7}}},
                   {"empty", 15, 1, {}}};
    const std::string bytes = FormatMidi(song);
    Reader reader(bytes);
    ASSERT_NO_FATAL_FAILURE(reader.Read());
    EXPECT_EQ(1, reader.format);
    EXPECT_EQ(96, reader.ticks);
    ASSERT_EQ(4u, reader.tracks.size());
    EXPECT_EQ(615385u, reader.tracks[0].tempo);
    for (size_t i = 0; i < song.tracks.size(); i++) {
        const Reader::Track& got = reader.tracks[i + 1];
        EXPECT_EQ(song.tracks[i].name, got.name);
        EXPECT_EQ(song.tracks[i].channel, got.channel);
        EXPECT_EQ(song.tracks[i].program, got.program);
        EXPECT_EQ(song.tracks[i].notes, got.notes);
        EXPECT_EQ(song.end, got.end);
    }
}

TEST(MidiFile, TimesTakeAsFewBytesAsTheyCan) {
    struct Row {
        uint32_t delta;
        std::string bytes;
    };
    const size_t none = FormatMidi(OneNote(0, 1)).size();
    for (const Row& r : {Row{0, {'\0'}}, Row{0x7F, "\x7F"}, Row{0x80, {'\x81', 0}}, Row{0x3FFF, "\xFF\x7F"},
                         Row{0x4000, {'\x81', '\x80', 0}}, Row{0x1FFFFF, "\xFF\xFF\x7F"},
                         Row{0x200000, {'\x81', '\x80', '\x80', 0}}, Row{0x0FFFFFFE, "\xFF\xFF\xFF\x7E"}}) {
        const std::string file = FormatMidi(OneNote(r.delta, 1));
        EXPECT_NE(std::string::npos, file.find(r.bytes + "\x93\x3C\x64")) << r.delta;
        // The end of the conductor's track is as far away, plus the note.
        const size_t last = r.delta + 1 < 0x80       ? 1
                            : r.delta + 1 < 0x4000   ? 2
                            : r.delta + 1 < 0x200000 ? 3
                                                     : 4;
        EXPECT_EQ(none + r.bytes.size() - 1 + last - 1, file.size()) << r.delta;
    }
}

TEST(MidiFile, RefusesWhatTheFormatCannotHold) {
    const auto changed = [](auto change) {
        host::MidiSong song = OneNote(0, 10);
        change(song);
        EXPECT_THROW(FormatMidi(song), std::invalid_argument);
    };
    changed([](auto& s) { s.tracks[0].notes[0].key = 128; });
    changed([](auto& s) { s.tracks[0].notes[0].velocity = 0; });
    changed([](auto& s) { s.tracks[0].notes[0].velocity = 128; });
    changed([](auto& s) { s.tracks[0].notes[0].length = 0; });
    changed([](auto& s) { s.tracks[0].notes[0].length = UINT32_MAX; });
    changed([](auto& s) { s.tracks[0].notes[0].start = 1; });
    changed([](auto& s) { s.tracks[0].channel = 16; });
    changed([](auto& s) { s.tracks[0].program = 128; });
    changed([](auto& s) { s.ticksPerQuarter = 0; });
    changed([](auto& s) { s.ticksPerQuarter = 0x8000; });
    changed([](auto& s) { s.tempo = 0; });
    changed([](auto& s) { s.end = 0x10000000; });
}
}  // namespace
