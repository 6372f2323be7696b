// Chains, sends, latency, automation, MIDI, surround: ways that sound takes, measured sample by sample.
#include "host/engine/render.h"
#include "tests/host/engine_fixture.h"
#include "tests/host/test_effects.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <fstream>
#include <thread>

namespace host {
namespace {

using namespace test;

constexpr ChannelId kTrack = 10, kOther = 11, kBus = 20, kFx = 30;

class EngineRoute : public ::testing::Test {
protected:
    void SetUp() override {
        for (ChannelId id : {kTrack, kOther})
            WriteWave(folder / (std::to_string(id) + ".wav"), 48000, 2, 48000, [&](int64_t i, int c) {
                return id == kTrack ? (c ? -Mark(i) : Mark(i)) : c ? 0.0f : 0.25f;
            });
    }
    /// Two tracks, a bus and an FX, all into the master; the second track is muted.
    Session Base() {
        Session s = TracksSession({kTrack, kOther}, 1);
        FindChannel(s, kOther)->mute = true;
        s.channels.push_back({.id = kBus, .kind = ChannelKind::AudioBus, .name = "Bus", .output = kMaster});
        s.channels.push_back({.id = kFx, .kind = ChannelKind::Fx, .name = "Room", .output = kMaster});
        return s;
    }
    Stereo Mix(const Session& s, int64_t frames, size_t block = 512, size_t threads = 1,
               const std::vector<Change>& changes = {}) {
        return MixOffline(s, folder.Path(), frames, block, changes, 0, {&effects, threads});
    }
    std::vector<std::vector<float>> MixRoom(const Session& s, size_t frames) {
        ProblemLog problems;
        OfflineMix mix(s, folder.Path(), 0, problems, {&effects, 1});
        std::vector<std::vector<float>> out(mix.Sides(), std::vector<float>(frames));
        std::vector<float*> sides;
        for (auto& side : out) sides.push_back(side.data());
        mix.Process(sides.data(), frames);
        return out;
    }

    TempFolder folder;
    TestEffects effects;
};

// Every row is the source itself times a factor, sample by sample, whatever is held back on the way.
TEST_F(EngineRoute, WaysNullAgainstTheirSource) {
    struct Row {
        const char* what;
        void (*edit)(Session&, Channel& track, Channel& bus, Channel& fx);
        float factor;
    };
    const Row rows[] = {
        {"unity", [](Session&, Channel&, Channel&, Channel&) {}, 1},
        {"pre-fader send, fader down",
         [](Session&, Channel& t, Channel&, Channel&) {
             t.fader_db = kSilenceDb;
             t.sends = {{.id = 1, .target = kFx, .pre_fader = true}};
         },
         1},
        {"post-fader send",
         [](Session&, Channel& t, Channel&, Channel&) {
             t.sends = {{1, kFx}};
         },
         2},
        {"post-fader send, fader down",
         [](Session&, Channel& t, Channel&, Channel&) {
             t.fader_db = kSilenceDb;
             t.sends = {{1, kFx}};
         },
         0},
        {"muted send",
         [](Session&, Channel& t, Channel&, Channel&) { t.sends = {{.id = 1, .target = kFx, .mute = true}}; },
         1},
        {"muted channel with a pre-fader send",
         [](Session&, Channel& t, Channel&, Channel&) {
             t.mute = true;
             t.sends = {{.id = 1, .target = kFx, .pre_fader = true}};
         },
         0},
        {"phase against a send",
         [](Session&, Channel& t, Channel&, Channel& fx) {
             t.sends = {{1, kFx}};
             fx.phase = true;
         },
         0},
        {"input fader of the FX",
         [](Session&, Channel& t, Channel&, Channel& fx) {
             t.sends = {{1, kFx}};
             fx.input_db = kSilenceDb;
         },
         1},
        {"solo of the FX hears the send alone",
         [](Session&, Channel& t, Channel&, Channel& fx) {
             t.sends = {{1, kFx}};
             fx.solo = true;
         },
         1},
        {"late track against a send that is not",
         [](Session&, Channel& t, Channel&, Channel& fx) {
             t.inserts = {{.id = 2, .uri = "urn:late:300", .post_fader = true}};
             t.sends = {{.id = 1, .target = kFx, .pre_fader = true}};
             fx.phase = true;
         },
         0},
        {"late FX, late bus, late master",
         [](Session& s, Channel& t, Channel& bus, Channel& fx) {
             t.output = kBus;
             t.sends = {{1, kFx}};
             bus.inserts = {{1, "urn:late:77"}, {2, "urn:late:1000"}};
             fx.inserts = {{1, "urn:late:5"}};
             fx.phase = true;
             s.channels[0].inserts = {{1, "urn:late:256"}};
         },
         0},
        {"effects in a row, before and behind the fader",
         [](Session&, Channel& t, Channel&, Channel&) {
             t.inserts = {{1, "urn:half"}, {.id = 2, .uri = "urn:half", .post_fader = true}, {3, "urn:mono"}};
         },
         -0.25f},
        {"bypass",
         [](Session&, Channel& t, Channel&, Channel&) {
             t.inserts = {{.id = 1, .uri = "urn:half", .bypass = true},
                          {.id = 2, .uri = "urn:late:9", .bypass = true}};
         },
         1},
        {"bypass of the chain",
         [](Session&, Channel& t, Channel&, Channel&) {
             t.inserts = {{1, "urn:half"}};
             t.chain_bypass = true;
         },
         1},
        {"what can't be had passes",
         [](Session&, Channel& t, Channel&, Channel&) {
             t.inserts = {{1, "gone"}};
         },
         1},
        {"a state",
         [](Session&, Channel& t, Channel&, Channel&) {
             t.inserts = {{.id = 1, .uri = "urn:gain", .state = "0.5"}};
         },
         0.5f},
        {"absurd latency is not made up for",
         [](Session&, Channel& t, Channel&, Channel&) {
             t.inserts = {{1, "urn:absurd"}};
         },
         1},
        {"a track that listens to a bus",
         [](Session& s, Channel& t, Channel& bus, Channel&) {
             t.output = kBus;
             bus.solo_safe = true;
             Channel& listener = *FindChannel(s, kOther);
             listener.mute = false;
             listener.monitor = true;
             listener.input = {.source = InputSource::Channel, .channel = kBus};
         },
         2},
    };
    for (const Row& row : rows) {
        Session s = Base();
        row.edit(s, *FindChannel(s, kTrack), *FindChannel(s, kBus), *FindChannel(s, kFx));
        const Stereo mix = Mix(s, 3000);
        for (int64_t i = 0; i < 3000; i++) {
            ASSERT_EQ(mix.left[static_cast<size_t>(i)], Mark(i) * row.factor) << row.what << " at " << i;
            ASSERT_EQ(mix.right[static_cast<size_t>(i)], -Mark(i) * row.factor) << row.what << " at " << i;
        }
    }
}

// Much of everything at once.
Session CrowdedSession(const TempFolder& folder) {
    std::vector<ChannelId> ids;
    for (ChannelId id = 100; id < 150; id++) {
        ids.push_back(id);
        WriteWave(
            folder / (std::to_string(id) + ".wav"), id % 10 ? 48000 : 44100, 2, 48000, [&](int64_t i, int c) {
                return static_cast<float>(0.05 * std::sin(static_cast<double>(i) * (0.001 * double(id)) + c));
            });
    }
    Session s = TracksSession(ids, 1);
    s.channels[0].fader_db = -12;
    for (ChannelId id = 200; id < 204; id++)
        s.channels.push_back({.id = id,
                              .kind = id < 202 ? ChannelKind::AudioBus : ChannelKind::Fx,
                              .output = kMaster,
                              .inserts = {{1, "urn:late:" + std::to_string(id)}, {2, "urn:half"}}});
    for (ChannelId id : ids) {
        Channel& c = *FindChannel(s, id);
        c.output = id % 3 ? 200 + id % 2 : kMaster;
        c.pan = double(id % 7) / 3 - 1;
        c.fader_db = -double(id % 11);
        c.sends = {{1, 202, -6}, {.id = 2, .target = 203, .level_db = -3, .pre_fader = id % 2 == 0}};
        if (id % 8 == 0) c.inserts = {{5, "urn:gain"}};
        c.automation_mode = AutomationMode::Read;
        if (id % 4 == 0) c.automation = {{{AutomationTarget::Volume}, {{0.01, 0}, {0.05, -20}, {0.2, 3}}}};
        if (id % 8 == 0)
            c.automation.push_back({{AutomationTarget::Parameter, 5, "gain"}, {{0, 0}, {0.3, 2}}});
        if (id % 6 == 0) c.automation.push_back({{AutomationTarget::SendLevel, 1}, {{0.02, -40}, {0.1, 0}}});
    }
    return s;
}

TEST_F(EngineRoute, SamplesDoNotDependOnBlocksThreadsOrTheClock) {
    const Session s = CrowdedSession(folder);
    const Stereo reference = Mix(s, 12000, 512, 1);
    EXPECT_TRUE(reference == Mix(s, 12000, 512, 1)) << "another run";
    for (size_t block : {1, 100, 4096})
        EXPECT_TRUE(reference == Mix(s, 12000, block, 1)) << "block " << block;
    for (size_t threads : {2, 3, 8}) EXPECT_TRUE(reference == Mix(s, 12000, 512, threads)) << threads;
    for (size_t block : {512, 441}) {
        EngineOptions options;
        options.effects = std::make_shared<TestEffects>();
        options.threads = 2;
        HandEngine engine(options);
        engine->SetSession(s, folder.Path());
        engine->Play();
        engine.WaitForDisk();
        const size_t late = engine->Status().latency;
        ASSERT_EQ(late, 203u);
        const Stereo played = engine.Pull(late + 10000, block);
        for (size_t i = 0; i < 10000; i++) {
            ASSERT_EQ(played.left[late + i], reference.left[i]) << "block " << block << " at " << i;
            ASSERT_EQ(played.right[late + i], reference.right[i]) << "block " << block << " at " << i;
        }
    }
}

TEST_F(EngineRoute, AutomationRunsStraightBetweenItsPoints) {
    WriteWave(folder / "10.wav", 48000, 2, 48000, [](int64_t, int) { return 1.0f; });
    Session s = TracksSession({kTrack}, 1);
    Channel& track = s.channels[2];
    track.automation_mode = AutomationMode::Read;
    track.automation = {{{AutomationTarget::Volume}, {{0.1, 0}, {0.2, -12}, {0.3, -12}}},
                        {{AutomationTarget::Mute}, {{0, 0}, {0.4, 1}, {0.5, 0}}}};
    const Stereo mix = Mix(s, 30000, 100);
    const auto db = [&](double seconds) {
        return 20 * std::log10(mix.left[static_cast<size_t>(seconds * 48000)]);
    };
    EXPECT_EQ(mix.left[0], 1.0f);
    for (double t = 0.1; t < 0.2; t += 0.0013) EXPECT_NEAR(db(t), -120 * (t - 0.1), 0.01) << t;
    EXPECT_NEAR(db(0.35), -12, 0.001);
    EXPECT_EQ(mix.left[static_cast<size_t>(0.41 * 48000)], 0.0f);
    EXPECT_NEAR(db(0.51), -12, 0.001);
    for (size_t i = 1; i < mix.size(); i++)
        ASSERT_LE(std::fabs(mix.left[i] - mix.left[i - 1]), 0.26 / kGridFrames) << "a step at " << i;
    s.channels[2].automation_mode = AutomationMode::Off;
    EXPECT_EQ(Mix(s, 20000).left[19999], 1.0f);
}

TEST_F(EngineRoute, AControlThatIsHeldOverridesItsCurveAndLetsGoWithoutAClick) {
    WriteWave(folder / "10.wav", 48000, 2, 96000, [](int64_t, int) { return 1.0f; });
    Session s = TracksSession({kTrack}, 2);
    s.channels[2].automation_mode = AutomationMode::Touch;
    s.channels[2].automation = {{{AutomationTarget::Volume}, {{0, -20}}}};
    HandEngine engine;
    engine->SetSession(s, folder.Path());
    engine->Play();
    engine.WaitForDisk();
    const auto pulled = [&](const char* what, float level) {
        const Stereo block = engine.Pull(4096);
        for (size_t i = 1; i < block.size(); i++)
            ASSERT_LE(std::fabs(block.left[i] - block.left[i - 1]), 1.0f / 400) << what << " at " << i;
        EXPECT_FLOAT_EQ(block.left.back(), level) << what;
    };
    pulled("the curve", 0.1f);
    engine->TakeByHand(kTrack, {}, true);
    pulled("held", 1);
    s.channels[2].fader_db = -6.0206;
    engine->SetLevels(s.channels);
    pulled("moved", 0.5f);
    engine->TakeByHand(kTrack, {}, false);
    pulled("let go", 0.1f);
}

TEST_F(EngineRoute, BypassGlides) {
    WriteWave(folder / "10.wav", 48000, 2, 48000, [](int64_t, int) { return 1.0f; });
    for (const char* uri : {"urn:half", "urn:late:300"}) {
        Session s = TracksSession({kTrack}, 1);
        s.channels[2].inserts = {{1, uri}};
        const std::vector<Change> changes = {
            {5000, [](Session& x) { x.channels[2].inserts[0].bypass = true; }},
            {9000, [](Session& x) { x.channels[2].inserts[0].bypass = false; }}};
        const Stereo mix = Mix(s, 20000, 512, 1, changes);
        const float wet = mix.left[4000];
        EXPECT_EQ(mix.left[8000], 1.0f) << uri;
        EXPECT_EQ(mix.left[19999], wet) << uri;
        for (size_t i = 1; i < mix.size(); i++)
            ASSERT_LE(std::fabs(mix.left[i] - mix.left[i - 1]), 0.5f / 480 + 1e-6f) << uri << " at " << i;
    }
}

TEST_F(EngineRoute, WhatIsNoSoundStaysInItsChannelUntilItIsReset) {
    for (const char* uri : {"urn:nan", "urn:huge"}) {
        EngineOptions options;
        options.effects = std::make_shared<TestEffects>();
        HandEngine engine(options);
        Session s = Base();
        s.channels[2].name = "Drums";
        s.channels[2].inserts = {{.id = 1, .uri = uri, .name = "Broken"}};
        FindChannel(s, kOther)->mute = false;
        engine->SetSession(s, folder.Path());
        engine->Play();
        engine.WaitForDisk();
        const Stereo before = engine.Pull(900, 100);
        EXPECT_EQ(before.left[800], Mark(800) + 0.25f) << uri;
        EXPECT_TRUE(engine->Problems().empty());
        const Stereo after = engine.Pull(2000, 100);
        EXPECT_EQ(after.left[1500], 0.25f) << "the other track goes on, " << uri;
        ASSERT_EQ(engine->Problems().size(), 1u);
        EXPECT_EQ(engine->Problems()[0].find("Drums: Broken "), 0u) << engine->Problems()[0];
        engine->ResetEffect(kTrack, 1);
        EXPECT_EQ(engine.Pull(500, 100).left[400], Mark(2900 + 400) + 0.25f) << uri;
        EXPECT_TRUE(engine->Problems().empty());
    }
}

TEST_F(EngineRoute, EffectsKeepTheirStateAcrossEditsAndIntoTheSession) {
    EngineOptions options;
    options.effects = std::make_shared<TestEffects>();
    HandEngine engine(options);
    Session s = Base();
    s.channels[2].inserts = {{.id = 1, .uri = "urn:gain", .state = "2"},
                             {.id = 2, .uri = "urn:gain", .state = "?"}};
    engine->SetSession(s, folder.Path());
    EXPECT_EQ(engine->Problems(), std::vector<std::string>{"channel 10: gain: no such state"});
    engine->FindEffect(kTrack, 1)->SetValue(0, 3);
    std::swap(s.channels[2].inserts[0], s.channels[2].inserts[1]);
    engine->SetSession(s, folder.Path());
    EXPECT_EQ(engine->FindEffect(kTrack, 1)->Value(0), 3) << "moved in its chain";
    engine->SaveStates(s);
    EXPECT_EQ(std::stof(s.channels[2].inserts[1].state), 3);
    s.channels[2].inserts[1].state = "2";
    engine->SetSession(s, folder.Path());
    EXPECT_EQ(engine->FindEffect(kTrack, 1)->Value(0), 2) << "taken back";
    EXPECT_EQ(engine->FindEffect(kTrack, 9), nullptr);
}

TEST_F(EngineRoute, InputsAreHeardWhereTheyAreMonitored) {
    HandEngine engine;
    Session s = Base();
    s.channels.push_back({.id = 40,
                          .kind = ChannelKind::InputBus,
                          .output = kMaster,
                          .input = {.source = InputSource::Device, .first = 1}});
    s.channels[2].input = {.source = InputSource::Device, .first = 0, .mono = true};
    engine->SetSession(s, folder.Path());
    EXPECT_EQ(engine->Status().inputs, 8u);
    EXPECT_EQ(engine.Pull(100, 10).right[50], Mark(50)) << "the bus, always";
    s.channels[2].monitor = true;
    engine->SetSession(s, folder.Path());
    EXPECT_EQ(engine.Pull(100, 10).right[50], 2 * Mark(150)) << "and the track";
}

// What each speaker gets of the track's two sides, and of a bus and an FX beside it.
TEST_F(EngineRoute, SurroundGoesWhereItIsPlaced) {
    Session s = Base();
    s.mode = ChannelMode::Surround51;
    Channel& track = s.channels[2];
    const auto at100 = [&](const Session& x) {
        std::vector<float> got;
        for (const auto& side : MixRoom(x, 600)) got.push_back(side[100] / Mark(100));
        return got;
    };
    const auto expect = [&](const char* what, std::vector<float> expected) {
        const std::vector<float> got = at100(s);
        ASSERT_EQ(got.size(), 6u);
        for (size_t i = 0; i < 6; i++) EXPECT_NEAR(got[i], expected[i], 1e-5) << what << ", side " << i;
    };
    expect("front", {1, -1, 0, 0, 0, 0});
    track.place = {0, -1, -6.0206};
    expect("rear and low, which the opposite sides cancel", {0, 0, 0, 0, 1, -1});
    track.place = {-1, -1, kSilenceDb};
    track.output = kBus;
    Channel& bus = *FindChannel(s, kBus);
    bus.faders.rear_db = -6.0206;
    track.place = {0, -1};
    expect("a bus's rear fader", {0, 0, 0, 0, 0.5f, -0.5f});
    bus.inserts = {{1, "urn:six"}};
    expect("an effect of six channels", {0, 0, 0, 0, 0.25f, -0.25f});
    bus.inserts = {{1, "urn:half"}};
    expect("a stereo effect leaves the rear alone", {0, 0, 0, 0, 0.5f, -0.5f});
    bus.inserts = {{1, "urn:late:3"}};
    expect("and in step", {0, 0, 0, 0, 0.5f, -0.5f});
    bus.inserts.clear();
    bus.sends = {{1, kFx}};
    expect("an FX hears the bus's downmix, and stands in front", {0.35355f, -0.35355f, 0, 0, 0.5f, -0.5f});

    const auto path = folder / "room.wav";
    RenderToFile(s, folder.Path(), path);
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    ASSERT_TRUE(file);
    int map[6]{};
    EXPECT_EQ(sf_command(file, SFC_GET_CHANNEL_MAP_INFO, map, sizeof map), SF_TRUE);
    sf_close(file);
    EXPECT_EQ(info.channels, 6);
    EXPECT_EQ(map[5], SF_CHANNEL_MAP_REAR_RIGHT);
    std::ifstream bytes(path, std::ios::binary);
    const std::string head(std::istreambuf_iterator<char>(bytes), {});
    EXPECT_EQ(head[40], 0x3F) << "the mask: front left and right, centre, low frequency, back left and right";
}

TEST_F(EngineRoute, TheMonitorDimsAndFolds) {
    WriteWave(folder / "10.wav", 48000, 2, 96000, [](int64_t, int c) { return c ? 0.25f : 0.5f; });
    HandEngine engine;
    Session s = TracksSession({kTrack}, 2);
    const auto play = [&] {
        engine->SetSession(s, folder.Path());
        engine->Locate(0);
        engine->Play();
        engine.WaitForDisk();
    };
    const auto expect = [&](const char* what, Monitoring monitoring, float left, float right) {
        engine->SetMonitoring(monitoring);
        const Stereo block = engine.Pull(2048);
        EXPECT_FLOAT_EQ(block.left.back(), left) << what;
        EXPECT_FLOAT_EQ(block.right.back(), right) << what;
    };
    play();
    expect("plain", {}, 0.5f, 0.25f);
    expect("dim", {.dim = true}, 0.05f, 0.025f);
    expect("mono", {.downmix = true}, 0.375f, 0.375f);
    s.mode = ChannelMode::Surround51;
    s.channels[2].place = {0, -1};
    play();
    expect("in the room, rear", {}, 0, 0);
    expect("folded", {.downmix = true}, 0.5f * 0.70710678f, 0.25f * 0.70710678f);
}

// For the thread sanitizer above all: what plays must be what is asked for at the end.
TEST_F(EngineRoute, EverythingIsEditedWhileItPlays) {
    EngineOptions options;
    options.effects = std::make_shared<TestEffects>();
    options.threads = 3;
    options.blockFrames = 256;
    options.systemDevice = false;
    Engine engine(options);
    Session crowded = CrowdedSession(folder);
    crowded.channels.push_back(
        {.id = 300, .kind = ChannelKind::Synth, .output = kMaster, .instrument = Insert{1, "urn:keys"}});
    crowded.channels.push_back({.id = 301,
                                .kind = ChannelKind::MidiTrack,
                                .output = 300,
                                .arm = true,
                                .input = {.source = InputSource::Device}});
    engine.SetSession(crowded, folder.Path());
    engine.Play();
    const AutomationKey volume{};
    const auto edit = [&](ChannelId first) {
        for (int i = 0; i < 40; i++) {
            Session s = crowded;
            Channel& c = *FindChannel(s, first + static_cast<ChannelId>(i) % 20);
            c.inserts.push_back({9, i % 2 ? "urn:half" : "urn:late:20"});
            c.sends.pop_back();
            c.fader_db = -i;
            s.mode = i % 16 == 15 ? ChannelMode::Surround51 : ChannelMode::Stereo;
            c.pan_model = static_cast<PanModel>(i % kPanModels);
            if (i % 4 == 0)
                s.channels.push_back({.id = 900, .kind = ChannelKind::AudioBus, .output = kMaster});
            if (i % 8 == 0) std::erase_if(s.channels, [&](const Channel& x) { return x.id == first + 7; });
            if (i % 4 == 0) engine.SetSession(s, folder.Path());
            engine.SetLevels(s.channels);
            engine.SetMonitoring({.dim = i % 2 == 0, .downmix = i % 3 == 0});
            engine.TakeByHand(104, volume, i % 2 == 0);
            if (const auto effect = engine.FindEffect(104, 5)) effect->SetValue(0, 0.5f);
            engine.ResetEffect(200, 1);
            engine.SaveStates(s);
            if (i % 8 == 3) engine.Locate(0.1 * i / 8);
            engine.PlayLive("Keyboard", std::array<uint8_t, 3>{0x90, 60, 64});
            engine.SetLoop({0.1, 0.4, i % 5 == 0});
            engine.TakeMeters();
            engine.Problems();
        }
    };
    std::thread other([&] { edit(100); });
    edit(120);
    other.join();
    engine.SetSession(crowded, folder.Path());
    EXPECT_TRUE(engine.Problems().empty());
    EXPECT_EQ(engine.Status().latency, 203u);
}

}  // namespace
}  // namespace host
