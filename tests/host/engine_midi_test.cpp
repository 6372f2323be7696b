// MIDI files as clips, and what is played live, on an instrument whose sound is known.
#include "host/demo/midi_file.h"
#include "host/engine/midi_file_events.h"
#include "host/engine/midi_sequence.h"
#include "tests/host/engine_fixture.h"
#include "tests/host/test_effects.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iomanip>
#include <sstream>

namespace host {
namespace {

using namespace test;

class EngineMidi : public ::testing::Test {
protected:
    /// One note of half a second a second, velocity 64, on a piano; the clip plays seconds 0.25 to 2.25.
    Session Keys() {
        MidiSong song{.ticksPerQuarter = 480, .tempo = 120, .end = 960 * 4, .tracks = {{"Keys", 0, 0, {}}}};
        for (uint32_t i = 0; i < 4; i++) song.tracks[0].notes.push_back({i * 960, 480, 60, 64});
        std::ofstream(folder / "keys.mid") << FormatMidi(song);
        Session s = TracksSession({}, 4);
        s.channels.push_back(
            {.id = 50, .kind = ChannelKind::Synth, .output = kMaster, .instrument = Insert{1, "urn:keys"}});
        s.channels.push_back(
            {.id = 51, .kind = ChannelKind::MidiTrack, .output = 50, .clips = {{"keys.mid", 1, 0.25, 2, 0}}});
        return s;
    }

    TempFolder folder;
};

TEST_F(EngineMidi, NotesSoundAtTheirSamplesAndEndWithTheirClip) {
    TestEffects effects;
    const Stereo mix = MixOffline(Keys(), folder.Path(), 4 * 48000, 100, {}, 0, {&effects, 1});
    // The clip begins in the midst of a note, which is not begun late, and ends in the midst of another.
    std::vector<float> expected(4 * 48000, 0.0f);
    for (double on : {1.75, 2.75})
        for (auto i = static_cast<size_t>(on * 48000);
             i < std::min<size_t>(static_cast<size_t>((on + 0.5) * 48000), 3 * 48000); i++)
            expected[i] = 0.5f;
    for (size_t i = 0; i < expected.size(); i++) ASSERT_EQ(mix.left[i], expected[i]) << i;
}

TEST_F(EngineMidi, NoNoteHangs) {
    EngineOptions options;
    options.effects = std::make_shared<TestEffects>();
    HandEngine engine(options);
    Session s = Keys();
    engine->SetSession(s, folder.Path());
    const auto play = [&](double seconds) {
        engine->Locate(seconds);
        engine->Play();
        engine.WaitForDisk();
    };
    const auto last = [&] { return engine.Pull(1024).left.back(); };
    play(1.75);
    EXPECT_EQ(last(), 0.5f);
    engine->Stop();
    EXPECT_EQ(last(), 0.0f) << "stopped";
    play(1.76);
    EXPECT_EQ(last(), 0.0f) << "a note that began before is not begun late";
    play(1.75);
    EXPECT_EQ(last(), 0.5f);
    engine->Locate(0.5);
    engine.WaitForDisk();
    engine.Pull(1024);
    EXPECT_EQ(last(), 0.0f) << "jumped";
    engine->SetLoop({1.7, 1.8, true});
    play(1.75);
    EXPECT_EQ(last(), 0.5f);
    EXPECT_EQ(engine.Pull(2000).left.back(), 0.0f) << "the loop began anew before the note";
    s.channels[3].mute = true;
    engine->SetLevels(s.channels);
    EXPECT_EQ(engine.Pull(4800).left.back(), 0.0f) << "muted";
    s.channels[3].mute = false;
    s.channels.push_back(
        {.id = 52, .kind = ChannelKind::Synth, .output = kMaster, .instrument = Insert{1, "urn:keys"}});
    engine->SetLoop({});
    engine->SetSession(s, folder.Path());
    play(1.75);
    EXPECT_EQ(last(), 0.5f);
    s.channels[3].output = 52;
    engine->SetSession(s, folder.Path());
    EXPECT_EQ(last(), 0.0f) << "led elsewhere";
}

TEST_F(EngineMidi, WhatIsPlayedIsHeardWhereATrackListens) {
    EngineOptions options;
    options.effects = std::make_shared<TestEffects>();
    HandEngine engine(options);
    Session s = Keys();
    Channel& track = s.channels[3];
    track.input = {.source = InputSource::Device, .midi_port = "Keyboard", .midi_channel = 3};
    const std::vector<uint8_t> down = {0x92, 60, 32}, up = {0x82, 60, 0};
    const auto play = [&](const char* port, const std::vector<uint8_t>& bytes) {
        engine->PlayLive(port, bytes);
    };
    const auto last = [&] {
        engine.Pull(512);  // what came while it ran is heard with the next
        return engine.Pull(1024).left.back();
    };
    engine->SetSession(s, folder.Path());
    play("Keyboard", down);
    EXPECT_EQ(last(), 0.0f) << "neither armed nor monitored";
    track.arm = true;
    engine->SetSession(s, folder.Path());
    play("Other", down);
    play("Keyboard", {0x91, 60, 32});
    play("Keyboard", {0xF8, 0x92, 60});
    play("Keyboard", {0x92, 60});
    EXPECT_EQ(last(), 0.0f) << "another port, another channel, no whole message";
    play("Keyboard", down);
    EXPECT_EQ(last(), 0.25f);
    engine->Locate(0.5);
    engine->Play();
    engine.WaitForDisk();
    EXPECT_EQ(last(), 0.25f) << "while it plays, and across its start";
    engine->Stop();
    EXPECT_EQ(last(), 0.25f);
    play("Keyboard", up);
    EXPECT_EQ(last(), 0.0f);
    for (bool Channel::*gone : {&Channel::mute, &Channel::arm}) {
        play("Keyboard", down);
        EXPECT_EQ(last(), 0.25f);
        track.*gone = !(track.*gone);
        engine->SetSession(s, folder.Path());
        EXPECT_EQ(last(), 0.0f) << "muted, or no longer listening";
        track.*gone = !(track.*gone);
        engine->SetSession(s, folder.Path());
    }
    for (int i = 0; i < 5000; i++) play("Keyboard", i % 2 ? up : down);  // more than anybody takes
    play("Keyboard", up);
    last();
    play("Keyboard", up);
    EXPECT_EQ(last(), 0.0f);
}

/// Chunks "NAME:bytes in hex", with a / between them.
std::string Chunks(const std::string& text) {
    std::string file;
    std::istringstream chunks(text);
    for (std::string chunk; std::getline(chunks, chunk, '/');) {
        std::istringstream numbers(chunk.substr(5));
        std::string content;
        for (int byte = 0; numbers >> std::hex >> byte;) content += static_cast<char>(byte);
        file += chunk.substr(0, 4) + std::string(3, '\0') + static_cast<char>(content.size()) + content;
    }
    return file;
}

TEST(MidiFileEvents, AreReadFromEveryLegalFileAndFaultsAreNamed) {
    const std::pair<const char*, const char*> rows[] = {
        // system-exclusive and escaped bytes, and the status that holds across them
        {"MThd:00 00 00 01 00 60/MTrk:00 90 3C 40 60 F0 05 7E 7F 09 01 F7 00 F7 03 F8 90 40 00 F7 00 "
         "60 3C 00 00 FF 2F 00",
         "0:903c40 1:903c00 "},
        // a tempo in a later track; what comes at one time
        {"MThd:00 01 00 02 00 60/MTrk:00 90 3C 40 60 80 3C 40 60 C0 05/"
         "MTrk:00 D1 01 60 FF 51 03 0F 42 40 00 FF 2F 00",
         "0:903c40 0:d101 0.5:803c40 1.5:c005 "},
        {"MThd:00 00 00 01 E7 28/MTrk:00 FF 51 03 00 00 01 81 48 E0 00 40", "0.2:e00040 "},
        {"MThd:00 00 00 01 E3 01/MTrk:1E C0 05", "1.001:c005 "},
        // a longer header, other chunks, tempos that are none, bytes behind the end
        {"MThd:00 00 00 01 00 60 AA/XFIH:01 02/MTrk:00 FF 51 03 00 00 00 00 FF 51 01 07 60 B0 07 64 "
         "00 FF 2F 00 90 90/tail:00",
         "0.5:b00764 "},
        {"RIFF:00 00 00 01 00 60", "it is no MIDI file (byte 0)"},
        {"MThd:00 02 00 01 00 60", "it holds several songs, not one (byte 10)"},
        {"MThd:00 00 00 01 E7 00", "it has no unit of time (byte 14)"},
        {"MThd:00 01 00 02 00 60/MTrk:00 FF 2F 00", "it has fewer tracks than it says (byte 26)"},
        {"MThd:00 00 00 01 00 60/MTrk:00 90 3C", "it ends too early (byte 25)"},
        {"MThd:00 00 00 01 00 60/MTrk:00 90 3C 80", "an event is cut off (byte 25)"},
        {"MThd:00 00 00 01 00 60/MTrk:00 F0 05 7E",
         "a chunk or an event is longer than what holds it (byte 25)"},
        {"MThd:00 00 00 01 00 60/MTrk:00 3C 40", "this is no event (byte 23)"},
        {"MThd:00 00 00 01 00 60/MTrk:00 F4", "this is no event (byte 24)"},
        {"MThd:00 00 00 01 00 60/MTrk:80 80 80 80 00 90 3C 40",
         "a time or length has more than four bytes (byte 26)"},
    };
    for (const auto& [file, expected] : rows) {
        std::string why;
        const auto events = ReadMidiFile(Chunks(file), why);
        std::ostringstream text;
        text << std::hex << std::setfill('0') << why;
        for (const MidiFileEvent& event : events.value_or(std::vector<MidiFileEvent>())) {
            text << event.seconds << ':';
            for (int i = 0; i < event.size; i++) text << std::setw(2) << int{event.bytes[i]};
            text << ' ';
        }
        EXPECT_EQ(text.str(), expected) << file;
    }
}

TEST_F(EngineMidi, SettingsFromBeforeTheClipHoldUntilItSetsThem) {
    // Two programs and a volume before the clip, a program where it begins.
    std::ofstream(folder / "set.mid", std::ios::binary)
        << Chunks("MThd:00 00 00 01 00 60/MTrk:00 C0 01 10 C0 02 00 B0 07 50 50 C0 03 00 FF 2F 00");
    ProblemLog problems;
    const std::vector<MidiMoment> moments =
        ReadMidiClips({{"set.mid", 2, 0.5, 1, 0}}, folder.Path(), 48000, problems);
    ASSERT_EQ(moments.size(), 3u);
    EXPECT_EQ(moments[0].bytes[1], 7);
    EXPECT_EQ(moments[1].bytes[1], 2);
    EXPECT_EQ(moments[2].bytes[1], 3) << "what the clip sets itself comes last";
    for (const MidiMoment& moment : moments) EXPECT_EQ(moment.frame, 96000);
}

TEST_F(EngineMidi, NotesWithoutLengthSoundAndEnd) {
    // Two of one key at one time, and one in the last half frame of the clip.
    std::ofstream(folder / "tick.mid", std::ios::binary) << Chunks(
        "MThd:00 00 00 01 7F FF/MTrk:00 99 24 40 00 24 00 00 24 40 00 24 00 83 FF 7D 26 40 01 26 00");
    ProblemLog problems;
    std::vector<std::pair<int64_t, int>> got;
    for (const MidiMoment& m :
         ReadMidiClips({{"tick.mid", 0, 0, 0.999985, 0}}, folder.Path(), 48000, problems))
        got.emplace_back(m.frame, m.bytes[2]);
    EXPECT_EQ(got, (std::vector<std::pair<int64_t, int>>{{0, 64}, {1, 0}, {1, 64}, {2, 0}}));
}

TEST_F(EngineMidi, DamagedFilesAreRefusedOrPlayedButNeverMore) {
    const Session s = Keys();
    std::ifstream file(folder / "keys.mid");
    const std::string good(std::istreambuf_iterator<char>(file), {});
    size_t refused = 0;
    for (size_t i = 0; i < good.size() * 2; i++) {
        std::string bad = i < good.size() ? good.substr(0, i) : good;
        if (i >= good.size()) bad[i - good.size()] ^= static_cast<char>(0xFF);
        std::ofstream(folder / "keys.mid") << bad;
        ProblemLog problems;
        ReadMidiClips(s.channels[3].clips, folder.Path(), 48000, problems);
        refused += !problems.Lines().empty();
    }
    EXPECT_GT(refused, good.size() / 2);
}

}  // namespace
}  // namespace host
