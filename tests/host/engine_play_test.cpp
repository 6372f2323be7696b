// The engine with its disk thread and an audio thread driven by hand: the same samples as offline, loops,
// jumps, changes of the session while it plays.
#include "tests/host/engine_fixture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>

namespace host {
namespace {

using namespace test;

class EnginePlay : public ::testing::Test {
protected:
    void SetUp() override {
        for (ChannelId id : {10, 11})
            WriteWave(folder / (std::to_string(id) + ".wav"), 48000, 2, 480000,
                      [](int64_t i, int c) { return c ? -Mark(i) : Mark(i); });
    }
    // Pulls and checks that one stretch of marked frames after the other comes, without a gap; the device's
    // silence before the first is skipped.
    void ExpectFrames(std::initializer_list<std::pair<int64_t, int64_t>> stretches) {
        size_t total = 0;
        for (auto [from, to] : stretches) total += static_cast<size_t>(to - from);
        const Stereo out = engine.Pull(total);
        size_t i = 0;
        for (auto [from, to] : stretches)
            for (int64_t frame = from; frame < to; frame++, i++) {
                ASSERT_EQ(MarkedFrame(out.left[i]), frame) << "output frame " << i;
                ASSERT_EQ(out.right[i], -out.left[i]);
            }
    }
    void Play() {
        engine->Play();
        engine.WaitForDisk();
    }

    TempFolder folder;
    HandEngine engine;
};

TEST_F(EnginePlay, GivesTheSamplesOfTheOfflineMix) {
    WriteWave(folder / "11.wav", 44100, 1, 441000,
              [](int64_t i, int) { return float(0.3 * std::sin(0.05 * double(i))); });
    Session session = TracksSession({10, 11}, 2);
    session.channels[3].pan = -0.3;
    session.channels[3].fader_db = -4;
    engine->SetSession(session, folder.Path());
    Play();
    const Stereo live = engine.Pull(97000, 441);
    const Stereo offline = MixOffline(session, folder.Path(), 96000);
    EXPECT_TRUE(std::equal(offline.left.begin(), offline.left.end(), live.left.begin()));
    EXPECT_TRUE(std::equal(offline.right.begin(), offline.right.end(), live.right.begin()));
    EXPECT_EQ(live.left.back(), 0.0f) << "the session is over";
    EXPECT_FALSE(engine->Transport().playing);
    EXPECT_EQ(engine->Transport().frame, 96000);
    EXPECT_EQ(engine->Status().diskUnderruns, 0u);
    Play();
    ExpectFrames({});
    EXPECT_EQ(engine->Transport().frame, 0) << "play at the end begins at the start";
}

TEST_F(EnginePlay, LoopsSampleAccurately) {
    Session session = TracksSession({10}, 10);
    session.loop = {0.25, 0.5, true};
    engine->SetSession(session, folder.Path());
    engine->Locate(0.125);
    EXPECT_EQ(engine->Transport().frame, 6000);
    Play();
    ExpectFrames({{6000, 24000}, {12000, 24000}, {12000, 24000}, {12000, 13000}});
    EXPECT_EQ(engine->Transport().frame, 13000);
    // Loops that change while they play change without a seam.
    engine->SetLoop({0.25, 0.5, false});
    engine.WaitForDisk();
    ExpectFrames({{13000, 60000}});
    engine->SetLoop({1, 3, true});
    engine->SetLoop({1, 2, true});
    engine.WaitForDisk();
    ExpectFrames({{60000, 96000}, {48000, 96000}, {48000, 50000}});
    EXPECT_EQ(engine->Status().diskUnderruns, 0u);
}

TEST_F(EnginePlay, StopsAndJumps) {
    engine->SetSession(TracksSession({10}, 10), folder.Path());
    Play();
    ExpectFrames({{0, 5000}});
    engine->Locate(2);
    EXPECT_EQ(engine->Transport().frame, 96000) << "before it is heard";
    engine.WaitForDisk();
    engine.Pull(480);  // the fade
    ExpectFrames({{96000, 97000}});
    engine->Stop();
    EXPECT_FALSE(engine->Transport().playing);
    const Stereo fade = engine.Pull(1000);
    for (size_t i = 0; i < 1000; i++) {
        const float share = i < 480 ? 1 - static_cast<float>(i + 1) / 480 : 0;
        ASSERT_NEAR(fade.left[i], Mark(97000 + static_cast<int64_t>(i)) * share, 1e-7) << i;
    }
    EXPECT_EQ(engine->Transport().frame, 97480);
    Play();
    ExpectFrames({{97480, 98000}});
    // A jump that was not heard yet is taken back by Stop, and leaves the position where it went.
    engine->Locate(4);
    engine->Stop();
    engine.Pull(2000);
    EXPECT_EQ(engine->Transport().frame, 192000);
    Play();
    ExpectFrames({{192000, 193000}});
    engine->Locate(-1);
    EXPECT_EQ(engine->Transport().frame, 0);
}

TEST_F(EnginePlay, ChangesOfTheSessionDoNotDisturbWhatPlays) {
    Session session = TracksSession({10}, 10);
    engine->SetSession(session, folder.Path());
    Play();
    ExpectFrames({{0, 3000}});
    // A bus, a new name and a new order: the same sound.
    session.channels.push_back({.id = 30, .kind = ChannelKind::AudioBus, .output = kMaster});
    session.channels[2].output = 30;
    std::swap(session.channels[0], session.channels[2]);
    engine->SetSession(session, folder.Path());
    ExpectFrames({{3000, 9000}});
    // A second track joins a moment later, in step.
    session.channels.push_back(TracksSession({11}, 10).channels[2]);
    engine->SetSession(session, folder.Path());
    engine.WaitForDisk();
    const Stereo out = engine.Pull(24000);
    size_t joined = 0;
    while (joined < out.size() && MarkedFrame(out.left[joined]) == 9000 + static_cast<int64_t>(joined))
        joined++;
    EXPECT_GT(joined, 0u);
    ASSERT_LT(joined, 20000u) << "it never came";
    for (size_t i = joined; i < out.size(); i++)
        ASSERT_EQ(out.left[i], 2 * Mark(9000 + static_cast<int64_t>(i)));
    // And leaves at once.
    session.channels.pop_back();
    engine->SetSession(session, folder.Path());
    ExpectFrames({{33000, 34000}});
    EXPECT_EQ(engine->Status().diskUnderruns, 0u);
    // What the rules refuse changes nothing.
    session.channels[0].output = 99;
    EXPECT_THROW(engine->SetSession(session, folder.Path()), SessionError);
    ExpectFrames({{34000, 35000}});
}

TEST_F(EnginePlay, AnotherSampleRateKeepsThePlaceInTime) {
    Session session = TracksSession({10}, 10);
    engine->SetSession(session, folder.Path());
    Play();
    ExpectFrames({{0, 24000}});
    session.sample_rate = 44100;
    engine->SetSession(session, folder.Path());
    EXPECT_FALSE(engine->Transport().playing);
    EXPECT_EQ(engine->Transport().frame, 22050);
    EXPECT_EQ(engine->Status().sampleRate, 44100);
}

TEST_F(EnginePlay, ALateDiskIsHeardAsSilenceAndCountedAndThenInStepAgain) {
    engine->SetSession(TracksSession({10}, 10), folder.Path());
    Play();
    ExpectFrames({{0, 512}});
    // Blocks are taken faster than anyone can read.
    HandDevice* device = engine.Device();
    std::vector<float> left(4096), right(4096);
    for (int i = 0; i < 60; i++) device->Render(left.data(), right.data(), 4096);
    EXPECT_EQ(engine->Transport().frame, 512 + 60 * 4096);
    engine.WaitForData(4096);
    const uint64_t late = engine->Status().diskUnderruns;
    const int64_t at = 512 + 60 * 4096;
    ExpectFrames({{at, at + 30000}});
    EXPECT_EQ(engine->Status().diskUnderruns, late);
}

// What several threads do to a playing engine; the thread sanitizer watches.
TEST(EngineThreads, EveryoneAtOnce) {
    const TempFolder folder;
    for (ChannelId id : {10, 11, 12})
        WriteWave(folder / (std::to_string(id) + ".wav"), 48000, 2, 96000,
                  [](int64_t i, int) { return Mark(i); });
    Engine engine({.systemDevice = false, .blockFrames = 64});
    engine.SetSession(TracksSession({10, 11}, 2), folder.Path());
    std::atomic<bool> done{false};
    std::vector<std::thread> threads;
    const auto loop = [&](auto action) {
        threads.emplace_back([&, action] {
            for (int i = 0; !done; i++) action(i);
        });
    };
    loop([&](int i) {
        Session session =
            TracksSession(i % 2 ? std::vector<ChannelId>{10, 11, 12} : std::vector<ChannelId>{12, 10}, 2);
        if (i % 3 == 0) session.channels[2].clips[0].offset = 0.25;
        engine.SetSession(session, folder.Path());
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
    });
    loop([&](int i) {
        Session session = TracksSession({10, 11, 12}, 2);
        session.channels[2].fader_db = -(i % 60);
        session.channels[3].solo = i % 7 == 0;
        engine.SetLevels(session.channels);
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    });
    loop([&](int i) {
        if (i % 5 == 0) engine.Play();
        if (i % 5 == 2) engine.Locate(i % 3 * 0.5);
        if (i % 5 == 3) engine.SetLoop({0.1, 0.2 + i % 2, i % 4 < 2});
        if (i % 11 == 4) engine.Stop();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    });
    float peak = 0;
    int64_t position = 0;
    loop([&](int) {
        for (const ChannelMeter& meter : engine.TakeMeters()) peak = std::max(peak, meter.reading.peak[0]);
        position = std::max(position, engine.Transport().frame);
        engine.Status();
        engine.Problems();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    });
    std::this_thread::sleep_for(std::chrono::seconds(2));
    done = true;
    for (std::thread& t : threads) t.join();
    EXPECT_GT(peak, 0.0f);
    EXPECT_GT(position, 0);
}

TEST(NullDevice, KeepsPaceCountsWhatIsLateAndStops) {
    struct Counter final : DeviceClient {
        void Render(std::span<const float* const>, std::span<float* const>, size_t n) override {
            if (frames == 0)
                std::this_thread::sleep_for(std::chrono::milliseconds(21));  // two blocks and more
            frames += n;
        }
        std::atomic<size_t> frames{0};
    } counter;
    const auto device = OpenNullDevice(48000, 480);
    const auto start = std::chrono::steady_clock::now();
    device->Start(counter);
    while (counter.frames < 9600) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_GT(seconds, 0.185) << "faster than the clock";  // how much slower is the machine's affair
    EXPECT_GT(device->LateBlocks(), 0u);
    device->Stop();
    const size_t stopped = counter.frames;
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_EQ(counter.frames, stopped);
    device->Start(counter);
    while (counter.frames < stopped + 960) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

}  // namespace
}  // namespace host
