// What the mixer does to samples: gains, pan, mute and solo, routing, clips; and that neither the block size
// nor the run makes a difference.
#include "host/engine/audibility.h"
#include "host/engine/gain.h"
#include "host/engine/pan_law.h"
#include "tests/host/engine_fixture.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace host {
namespace {

using namespace test;

TEST(Gain, DecibelsAndBack) {
    EXPECT_EQ(GainFromDb(0), 1.0f);
    EXPECT_EQ(GainFromDb(kSilenceDb), 0.0f);
    EXPECT_EQ(GainFromDb(-INFINITY), 0.0f);
    EXPECT_EQ(GainFromDb(std::nan("")), 0.0f);
    EXPECT_FLOAT_EQ(GainFromDb(-20), 0.1f);
    EXPECT_EQ(DbFromGain(0.0f), kSilenceDb);
    EXPECT_EQ(DbFromGain(-1.0f), kSilenceDb);
    EXPECT_EQ(DbFromGain(std::nanf("")), kSilenceDb);
    EXPECT_EQ(DbFromGain(1e9f), kMaxGainDb);
    // A fader's gain is kept in decibels and must come back as the float that was set.
    for (int position = -720; position <= 120; position++) {
        const auto gain = static_cast<float>(std::pow(10.0, position / 200.0));
        EXPECT_EQ(GainFromDb(DbFromGain(gain)), gain) << position;
    }
}

// Gains from the left side, then from the right, into left and right, in decibels; -144 is silence.
TEST(PanLaw, FollowsItsTable) {
    constexpr double NO = kSilenceDb;
    struct Row {
        PanModel model;
        double pan, width;
        double fromLeft[2], fromRight[2];
    };
    const Row rows[] = {
        {PanModel::Add, 0, 1, {0, NO}, {NO, 0}},
        {PanModel::Add, -0.5, 1, {0, NO}, {-6.02, -6.02}},
        {PanModel::Add, 1, 1, {NO, 0}, {NO, 0}},
        {PanModel::Balance0, 0, 1, {0, NO}, {NO, 0}},
        {PanModel::Balance0, 0.5, 1, {-6.02, NO}, {NO, 0}},
        {PanModel::Balance0, -1, 1, {0, NO}, {NO, NO}},
        {PanModel::Balance3, 0, 1, {-3.01, NO}, {NO, -3.01}},
        {PanModel::Balance3, 0.5, 1, {-8.34, NO}, {NO, -0.69}},
        {PanModel::Balance3, 1, 1, {NO, NO}, {NO, 0}},
        {PanModel::Balance6, 0, 1, {-6.02, NO}, {NO, -6.02}},
        {PanModel::Balance6, -0.5, 1, {-2.5, NO}, {NO, -12.04}},
        {PanModel::Balance6, -1, 1, {0, NO}, {NO, NO}},
        {PanModel::ConstantPower, 0, 1, {0, NO}, {NO, 0}},
        {PanModel::ConstantPower, 0.5, 1, {-5.33, NO}, {NO, 2.32}},
        {PanModel::ConstantPower, -7, 1, {3.01, NO}, {NO, NO}},
        {PanModel::Film, 0, 1, {0, NO}, {NO, 0}},
        {PanModel::Film, -0.5, 1, {0, NO}, {-3.01, -3.01}},
        {PanModel::Film, 1, 1, {NO, 0}, {NO, 0}},
        {PanModel::ConstantPower, 0, 0, {-6.02, -6.02}, {-6.02, -6.02}},
        {PanModel::ConstantPower, 0, 0.5, {-2.5, -12.04}, {-12.04, -2.5}},
        {PanModel::Balance0, 1, 0, {NO, -6.02}, {NO, -6.02}},
    };
    for (const Row& row : rows) {
        const StereoMatrix m = PanMatrix(row.model, row.pan, row.width);
        const auto what = &row - rows;
        for (Side to : {Left, Right}) {
            EXPECT_NEAR(DbFromLevel(m[Left][to]), row.fromLeft[to], 0.005) << "row " << what;
            EXPECT_NEAR(DbFromLevel(m[Right][to]), row.fromRight[to], 0.005) << "row " << what;
        }
    }
    EXPECT_EQ(PanMatrix(PanModel::ConstantPower, 0, 1), (StereoMatrix{{{1, 0}, {0, 1}}})) << "exactly";
    EXPECT_FLOAT_EQ(PanMatrix(PanModel::Film, 0, 2)[Left][Right], -0.5f);
}

// Left and right input of a stereo channel in L R C LFE Ls Rs.
TEST(PanLaw, PlacesInTheRoom) {
    constexpr float h = 0.70710678f, cos = 0.92387953f, sin = 0.38268343f;
    struct Row {
        PanModel model;
        double x, y, width;
        float lfe;
        RoomMatrix gains;
    };
    const Row rows[] = {
        {PanModel::ConstantPower, 0, 1, 1, 0, {{{1, 0, 0, 0, 0, 0}, {0, 1, 0, 0, 0, 0}}}},
        {PanModel::ConstantPower, 0, -1, 1, 0, {{{0, 0, 0, 0, 1, 0}, {0, 0, 0, 0, 0, 1}}}},
        {PanModel::ConstantPower, -1, 1, 1, 0, {{{1, 0, 0, 0, 0, 0}, {1, 0, 0, 0, 0, 0}}}},
        {PanModel::ConstantPower, 0, 1, 0, 0, {{{h, h, 0, 0, 0, 0}, {h, h, 0, 0, 0, 0}}}},
        {PanModel::Film, 0, 1, 0, 0, {{{0, 0, 1, 0, 0, 0}, {0, 0, 1, 0, 0, 0}}}},
        {PanModel::Film, 0.5, 1, 0, 0, {{{0, h, h, 0, 0, 0}, {0, h, h, 0, 0, 0}}}},
        {PanModel::ConstantPower, 0, 0, 1, 0, {{{h, 0, 0, 0, h, 0}, {0, h, 0, 0, 0, h}}}},
        {PanModel::ConstantPower, 0.5, 1, 0, 0, {{{sin, cos, 0, 0, 0, 0}, {sin, cos, 0, 0, 0, 0}}}},
        {PanModel::ConstantPower, 0, 1, 1, 0.5f, {{{1, 0, 0, .25f, 0, 0}, {0, 1, 0, .25f, 0, 0}}}},
    };
    for (const Row& row : rows) {
        const RoomMatrix m = PlaceInRoom(row.model, row.x, row.y, row.width, row.lfe);
        for (Side from : {Left, Right})
            for (size_t to = 0; to < kMaxSides; to++)
                EXPECT_NEAR(m[from][to], row.gains[from][to], 1e-6)
                    << "row " << &row - rows << ", " << from << " to " << to;
    }
}

// Tracks a, b into bus B; c into master M; B into bus C; C into M. c sends to the FX F, which sends to C and
// goes to M. P is the preview bus. A send is heard as "cF".
TEST(Audibility, SoloIsInPlaceAndMuteBeatsSolo) {
    struct Row {
        const char* solo;
        const char* safe;
        const char* heard;
    };
    const Row rows[] = {
        {"", "", "a b c cF B C M P F FC"}, {"a", "", "a B C M P"},
        {"c", "", "c cF C M P F FC"},      {"B", "", "a b B C M P"},
        {"C", "", "a b cF B C M P FC"},    {"M", "", "a b c cF B C M P F FC"},
        {"ac", "", "a c cF B C M P F FC"}, {"P", "", "a b c cF B C M P F FC"},
        {"aP", "", "a B C M P"},           {"F", "", "cF C M P F FC"},
        {"a", "F", "a B C M P F FC"},      {"a", "c", "a c cF B C M P"},
    };
    const std::string names = "abcBCMPF";
    using K = ChannelKind;
    const K kinds[] = {K::AudioTrack, K::AudioTrack, K::AudioTrack, K::AudioBus,
                       K::AudioBus,   K::Master,     K::PreviewBus, K::Fx};
    const ChannelId outputs[] = {4, 4, 6, 5, 6, kNoChannel, kNoChannel, 6};
    for (const Row& row : rows) {
        std::vector<Channel> channels;
        for (size_t i = 0; i < names.size(); i++) {
            channels.push_back({.id = i + 1, .kind = kinds[i], .output = outputs[i]});
            channels.back().solo = std::string(row.solo).find(names[i]) != std::string::npos;
            channels.back().solo_safe = std::string(row.safe).find(names[i]) != std::string::npos;
        }
        channels[2].sends = {{1, 8}};
        channels[7].sends = {{1, 5}};
        const std::vector<Audibility> audible = AudibleChannels(channels);
        std::string heard;
        for (size_t i = 0; i < names.size(); i++) {
            if (audible[i].output) heard += names.substr(i, 1) + " ";
            for (size_t k = 0; k < channels[i].sends.size(); k++)
                if (audible[i].sends[k])
                    heard += names.substr(i, 1) + names[channels[i].sends[k].target - 1] + " ";
        }
        EXPECT_EQ(heard, std::string(row.heard) + " ") << "solo " << row.solo << ", safe " << row.safe;
    }
}

class EngineMix : public ::testing::Test {
protected:
    // A steady level makes every gain on the way readable from one sample.
    Stereo Levels(const Session& session) { return MixOffline(session, folder.Path(), 64); }
    void SetUp() override {
        for (ChannelId id : {10, 11, 12})
            WriteWave(folder / (std::to_string(id) + ".wav"), 48000, 2, 48000,
                      [&](int64_t, int c) { return static_cast<float>(id) / (c ? -100.0f : 100.0f); });
    }
    TempFolder folder;
};

TEST_F(EngineMix, FaderPanPhaseAndMuteOfATrackAndTheMaster) {
    struct Row {
        void (*edit)(Session&);
        float left, right;
    };
    const auto side = static_cast<float>(std::sqrt(2.0));
    const Row rows[] = {
        {[](Session&) {}, 0.1f, -0.1f},
        {[](Session& s) { s.channels[2].fader_db = -20; }, 0.01f, -0.01f},
        {[](Session& s) { s.channels[2].fader_db = kSilenceDb; }, 0, 0},
        {[](Session& s) { s.channels[2].clips[0].gain_db = 6; }, 0.1f * 1.9952623f, -0.1f * 1.9952623f},
        {[](Session& s) { s.channels[2].pan = -1; }, 0.1f * side, 0},
        {[](Session& s) { s.channels[2].pan = 1; }, 0, -0.1f * side},
        {[](Session& s) { s.channels[2].phase = true; }, -0.1f, 0.1f},
        {[](Session& s) { s.channels[2].mute = true; }, 0, 0},
        {[](Session& s) { s.channels[0].mute = true; }, 0, 0},
        {[](Session& s) { s.channels[0].fader_db = -20, s.channels[0].pan = 1; }, 0, -0.01f * side},
        {[](Session& s) { s.channels[1].mute = true, s.channels[1].fader_db = -99; }, 0.1f, -0.1f},
    };
    for (const Row& row : rows) {
        Session session = TracksSession({10}, 1);
        row.edit(session);
        const Stereo mix = Levels(session);
        const auto index = &row - rows;
        EXPECT_FLOAT_EQ(mix.left[0], row.left) << "row " << index;
        EXPECT_FLOAT_EQ(mix.right[63], row.right) << "row " << index;
    }
}

TEST_F(EngineMix, RoutesThroughBussesInWhateverOrderTheyStand) {
    Session session = TracksSession({10, 11, 12}, 1);
    // 10 and 11 -> bus 20 -> bus 21 -> master; 12 -> master. The second bus stands before the first.
    session.channels.insert(session.channels.begin(),
                            {.id = 21, .kind = ChannelKind::AudioBus, .output = kMaster});
    session.channels.push_back({.id = 20, .kind = ChannelKind::AudioBus, .output = 21});
    FindChannel(session, 10)->output = FindChannel(session, 11)->output = 20;
    FindChannel(session, 20)->fader_db = -20;
    FindChannel(session, 21)->phase = true;
    EXPECT_NEAR(Levels(session).left[0], -(0.10 + 0.11) * 0.1 + 0.12, 1e-7);
    FindChannel(session, 12)->output = 2;  // the preview bus is not in the mix
    EXPECT_NEAR(Levels(session).left[0], -(0.10 + 0.11) * 0.1, 1e-7);
}

TEST_F(EngineMix, ClipsSoundWhereTheyLie) {
    WriteWave(folder / "marks.wav", 48000, 2, 1000, [](int64_t i, int c) { return c ? -Mark(i) : Mark(i); });
    WriteWave(folder / "mono.wav", 48000, 1, 1000, [](int64_t i, int) { return Mark(i); });
    Session session = TracksSession({10}, 1);
    const auto seconds = [](int64_t frames) { return static_cast<double>(frames) / 48000; };
    session.channels[2].clips = {
        {"marks.wav", seconds(100), seconds(50), seconds(200), 0},  // 100..299 hold marks 50..249
        {"mono.wav", seconds(1000), 0, seconds(5000), 0},           // longer than the file
        {"marks.wav", seconds(280), 0, seconds(40), 0},             // overlaps the first from 280 on
        {"marks.wav", seconds(1990), seconds(990), seconds(20),
         0},  // its own file ends, the other clip is over
    };
    const Stereo mix = MixOffline(session, folder.Path(), 3000, 37);
    for (int64_t i = 0; i < 3000; i++) {
        float left = 0, right = 0;
        const auto add = [&](int64_t from, int64_t to, int64_t offset, float other) {
            if (i < from || i >= to) return;
            left += Mark(i - from + offset);
            right += other * Mark(i - from + offset);
        };
        add(100, 300, 50, -1);
        add(1000, 2000, 0, 1);
        add(280, 320, 0, -1);
        add(1990, 2000, 990, -1);
        ASSERT_EQ(mix.left[static_cast<size_t>(i)], left) << i;
        ASSERT_EQ(mix.right[static_cast<size_t>(i)], right) << i;
    }
    EXPECT_EQ(MixOffline(session, folder.Path(), 500, 512, {}, 250).left[0], mix.left[250]);
}

Session BusySession() {
    Session session = TracksSession({10, 11, 12}, 1);
    session.channels.push_back(
        {.id = 20, .kind = ChannelKind::AudioBus, .fader_db = -3, .pan = 0.3, .output = kMaster});
    session.channels[2].output = 20;
    session.channels[3].output = 20;
    session.channels[3].clips.push_back({"44.wav", 0.05, 0.01, 0.2, -2});
    session.channels[4].pan = -0.4;
    return session;
}

const std::vector<Change> kGestures = {
    {1000, [](Session& s) { s.channels[2].fader_db = -12; }},
    {1003, [](Session& s) { s.channels[2].fader_db = -3; }},  // in the midst of the ramp
    {1300, [](Session& s) { s.channels[2].pan = 1; }},
    {2000, [](Session& s) { s.channels[3].mute = true; }},
    {2001, [](Session& s) { s.channels[4].solo = true; }},
    {2500, [](Session& s) { s.channels[4].solo = false, s.channels[0].phase = true; }},
    {4097, [](Session& s) { s.channels[5].fader_db = 6; }},
};

TEST_F(EngineMix, SamplesDoNotDependOnTheBlockSizeOrTheRun) {
    for (ChannelId id : {10, 11, 12})
        WriteWave(folder / (std::to_string(id) + ".wav"), 48000, 2, 48000, [&](int64_t i, int c) {
            return static_cast<float>(0.3 *
                                      std::sin(static_cast<double>(i) * (0.01 + 0.003 * double(id)) + c));
        });
    WriteWave(folder / "44.wav", 44100, 2, 44100, [](int64_t i, int c) {
        return static_cast<float>(0.3 * std::sin(static_cast<double>(i) * 0.07 + c));
    });
    const Stereo reference = MixOffline(BusySession(), folder.Path(), 20000, 512, kGestures);
    for (size_t block : {1, 17, 64, 512, 4096, 20000})
        EXPECT_TRUE(MixOffline(BusySession(), folder.Path(), 20000, block, kGestures) == reference) << block;
    // And nothing of what the gestures do is missing.
    EXPECT_FALSE(MixOffline(BusySession(), folder.Path(), 20000, 512) == reference);
}

TEST_F(EngineMix, GainsGlideInTenMilliseconds) {
    WriteWave(folder / "10.wav", 48000, 2, 48000, [](int64_t, int) { return 1.0f; });
    const Session session = TracksSession({10}, 1);
    const std::vector<Change> edits = {{100, [](Session& s) { s.channels[2].mute = true; }},
                                       {1000, [](Session& s) { s.channels[2].mute = false; }},
                                       {1240, [](Session& s) { s.channels[2].phase = true; }}};
    const Stereo mix = MixOffline(session, folder.Path(), 3000, 512, edits);
    EXPECT_EQ(mix.left[0], 1.0f) << "a new channel starts where it is set";
    EXPECT_EQ(mix.left[99], 1.0f);
    EXPECT_LT(mix.left[100], 1.0f);
    EXPECT_NEAR(mix.left[339], 0.5f, 1e-5);
    EXPECT_EQ(mix.left[579], 0.0f) << "480 frames after the change";
    EXPECT_NEAR(mix.left[1239], 0.5f, 1e-5);
    EXPECT_NEAR(mix.left[1719], -1.0f, 1e-6) << "a change on the way starts from where the gain is";
    EXPECT_EQ(mix.left[2999], -1.0f);
    for (size_t i = 1; i < mix.size(); i++)
        ASSERT_LE(std::fabs(mix.left[i] - mix.left[i - 1]), 1.5f / 480 + 1e-6f) << "a step at " << i;
}

TEST_F(EngineMix, MetersShowWhatLeavesTheChannel) {
    // One sample stands out, shorter than any block.
    WriteWave(folder / "10.wav", 48000, 2, 48000,
              [](int64_t i, int c) { return i == 700 && c == 0 ? 0.75f : 0.25f; });
    Session session = TracksSession({10, 11}, 1);
    session.channels[2].pan = 1;
    session.channels[3].mute = true;
    session.channels[0].fader_db = -20;
    using Peaks = std::array<float, kMaxSides>;
    ProblemLog problems;
    OfflineMix mix(session, folder.Path(), 0, problems);
    std::vector<float> left(24000), right(24000);
    const auto reading = [&](ChannelId id) {
        for (const auto& named : mix.Strips())
            if (named.id == id) return named.strip->TakeMeter();
        return MeterReading{};
    };
    session.channels[2].pan = 0;
    mix.SetLevels(session.channels);
    mix.Process(std::array{left.data(), right.data()}.data(), 500);
    EXPECT_EQ(reading(10).peak, (Peaks{0.25f, 0.25f}));
    mix.Process(std::array{left.data(), right.data()}.data(), 500);
    EXPECT_EQ(reading(10).peak, (Peaks{0.75f, 0.25f})) << "one sample is enough";
    EXPECT_EQ(reading(10).peak, (Peaks{})) << "taken peaks are gone";
    EXPECT_EQ(reading(11).peak, (Peaks{})) << "muted";
    EXPECT_NEAR(reading(kMaster).peak[0], 0.075f, 1e-6);
    mix.Process(std::array{left.data(), right.data()}.data(), 24000);
    // A steady level reads as its RMS, on the scale where a sine's peak is its value.
    EXPECT_NEAR(reading(10).vu[1], 0.25 * std::sqrt(2.0), 0.002);
}

TEST(Meter, NeedleTakesThreeTenthsOfASecond) {
    ChannelStrip strip(48000);
    const MeterInertia inertia(48000);
    strip.output.Shape(2, 2);
    strip.output.course.Aim({1, 1});
    std::vector<float> in(kChunkFrames, 0.5f), out(kChunkFrames);
    const float* const from[] = {in.data(), in.data()};
    float* const into[] = {out.data(), out.data()};
    const auto run = [&](size_t frames, size_t chunk) {
        for (size_t done = 0; done < frames; done += chunk) {
            strip.output.Mix(from, into, chunk, &strip.levels);
            strip.PostLevels(chunk, 2, inertia);
        }
        return strip.TakeMeter().vu[0];
    };
    EXPECT_NEAR(run(14400, 100) / (0.5 * std::sqrt(2.0)), 0.99, 0.001);
}

}  // namespace
}  // namespace host
