// A project that plays while several hands edit it and take edits back: no edit is lost, and in the end the
// engine plays what the document says. For the sanitizers above all.
#include "host/contract/project.h"
#include "tests/host/engine_fixture.h"
#include "tests/host/test_effects.h"
#include "tests/support/eventually.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>

namespace host {
namespace {

using namespace test;

/// Takes blocks as fast as they come, until it is told to leave that to the test.
class HastyDevice final : public AudioDevice {
public:
    struct Watch {
        std::atomic<bool> hasty{true};
        std::atomic<size_t> blocks{0}, bad{0};
        HastyDevice* device = nullptr;  ///< the one that is open
    };
    HastyDevice(const DeviceWish& wish, Watch& watch) : m_wish(wish), m_watch(watch) {
        m_watch.device = this;
    }
    ~HastyDevice() override { HastyDevice::Stop(); }
    void Start(DeviceClient& client) override {
        m_client = &client;
        m_stop = false;
        m_thread = std::thread([this] {
            std::vector<float> left(m_wish.blockFrames), right = left;
            for (; m_watch.hasty && !m_stop; m_watch.blocks++) {
                Render(left, right);
                for (const float x : left) m_watch.bad += !(std::abs(x) <= 1);
                std::this_thread::yield();
            }
        });
    }
    void Stop() override {
        m_stop = true;
        if (m_thread.joinable()) m_thread.join();
    }
    void Render(std::span<float> left, std::span<float> right) {
        const std::vector<const float*> inputs(m_wish.inputs, m_silence.data());
        float* const outputs[] = {left.data(), right.data()};
        m_client->Render(inputs, outputs, left.size());
    }
    std::string Name() const override { return "hasty"; }
    int SampleRate() const override { return m_wish.sampleRate; }
    size_t BlockFrames() const override { return m_wish.blockFrames; }
    size_t Inputs() const override { return m_wish.inputs; }
    uint64_t LateBlocks() const override { return 0; }

private:
    const DeviceWish m_wish;
    Watch& m_watch;
    const std::vector<float> m_silence = std::vector<float>(m_wish.blockFrames);
    DeviceClient* m_client = nullptr;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

/// Without what an undo leaves as it is.
std::vector<Channel> Bare(std::vector<Channel> channels) {
    for (Channel& channel : channels) {
        channel.selected = false;
        for (Insert& insert : channel.inserts) insert.state.clear();
    }
    return channels;
}

TEST(LiveEdit, ManyHandsAtOnceLeaveOneMixAndOneWayBack) {
    const TempFolder folder;
    constexpr ChannelId FX = 30, BUS = 31;
    Session start = TracksSession({10, 11, 12}, 1);
    start.channels.push_back({.id = FX, .kind = ChannelKind::Fx, .output = kMaster});
    start.channels.push_back({.id = BUS, .kind = ChannelKind::AudioBus, .output = kMaster});
    for (const ChannelId id : {10, 11, 12})
        WriteWave(folder / (std::to_string(id) + ".wav"), 48000, 2, 48000,
                  [&](int64_t i, int) { return 0.1f * static_cast<float>(std::sin(0.001 * i * id)); });
    SaveSession(start, folder / "live.tarn");
    HastyDevice::Watch watch;
    EngineOptions options;
    options.effects = std::make_shared<TestEffects>();
    options.blockFrames = 256;
    options.threads = 2;
    options.openDevice = [&](const DeviceWish& wish) { return std::make_unique<HastyDevice>(wish, watch); };
    Project project(options);
    project.Open(folder / "live.tarn");
    const std::vector<Channel> before = project.Snapshot().channels;
    project.Play();

    const std::function<void(int)> hands[] = {
        [&](int i) {  // channels come and go, and the device is opened anew for one that records
            const ChannelId made =
                project.AddChannel(i % 4 ? ChannelKind::AudioTrack : ChannelKind::InputBus, "New");
            project.EditChannel(made, [](Channel& c) { c.clips = {{"11.wav", 0.1, 0, 0.5, 0}}; });
            project.MoveChannel(made, 0);
            if (i % 3) project.RemoveChannel(made);
        },
        [&](int i) {  // effects and what they are set to
            const SubId made = project.InsertEffect(10, i % 2 ? "urn:gain" : "urn:late:20");
            project.MoveEffect(10, made, 0);
            const EffectEdits edits = project.EditsOf(10, made);
            edits.begin(0);
            edits.change(0, 0.5f);
            edits.end(0);
            if (i % 4) project.RemovePart(10, made);
        },
        [&](int i) {  // sends, routes, clips, curves and modes
            project.EditChannel(11, [&](Channel& c) {
                c.sends.clear();
                if (i % 2) c.sends = {{.id = 7, .target = FX, .level_db = -6, .pre_fader = i % 4 == 1}};
            });
            project.EditChannel(12, [&](Channel& c) {
                c.fader_db = -i;
                c.selected = i % 3 == 0;
                c.output = i % 2 ? BUS : kMaster;
                c.clips[0].start = 0.01 * i;
                c.automation_mode = static_cast<AutomationMode>(i % 3);  // none that writes without a hand
                c.automation = {{{AutomationTarget::Pan}, {{0, -1}, {0.5, 0.1 * (i % 10)}}}};
            });
        },
        [&](int i) {
            project.Undo();
            project.Undo();
            if (i % 2) project.Redo();
            project.Locate(0.1 * (i % 10));
            project.Play();
            project.SetLoop({0.1, 0.6, i % 3 == 0});
            project.SetMonitoring({.dim = i % 2 == 0, .downmix = i % 3 == 0});
        },
        [&](int) {
            project.PasteChannels(project.CopySelected());
            project.Report();
            project.Status();
        }};
    std::vector<std::thread> threads;
    for (const auto& hand : hands)
        threads.emplace_back([&hand] {
            for (int i = 0; i < 15; i++) hand(i);
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(Eventually([&, then = watch.blocks.load()] { return watch.blocks > then + 2; }));
    EXPECT_EQ(watch.bad, 0u);

    watch.hasty = false;
    project.Stop();
    project.SetLoop({});
    project.SetMonitoring({});
    for (const Channel& channel : project.Snapshot().channels)
        project.EditChannel(channel.id, [](Channel& c) { c.automation_mode = AutomationMode::Read; });
    watch.device->Stop();
    const size_t latency = project.Status().engine.latency;
    std::vector<float> left(48128 + latency), right(left.size());
    const auto pull = [&] {
        for (size_t at = 0; at + 256 <= left.size(); at += 256) {
            EXPECT_TRUE(Eventually([&] {
                const EngineStatus status = project.Status().engine;
                return !status.reading && status.readAhead.value_or(1) > 0.02;
            }));
            watch.device->Render(std::span(left).subspan(at, 256), std::span(right).subspan(at, 256));
        }
    };
    pull();  // until nothing glides any more
    project.Locate(0);
    project.Play();
    pull();
    project.Render(folder / "mix.wav", 1);
    const Stereo mix = ReadWave(folder / "mix.wav");
    ASSERT_EQ(mix.size(), 48000u);
    EXPECT_GT(*std::ranges::max_element(mix.left), 0.01f);
    for (size_t i = 0; i < mix.size(); i++) {
        ASSERT_NEAR(left[i + latency], mix.left[i], 2e-7) << i;
        ASSERT_NEAR(right[i + latency], mix.right[i], 2e-7) << i;
    }

    const std::vector<Channel> after = project.Snapshot().channels;
    while (project.Undo()) {
    }
    EXPECT_EQ(Bare(project.Snapshot().channels), Bare(before));
    while (project.Redo()) {
    }
    EXPECT_EQ(Bare(project.Snapshot().channels), Bare(after));
}

}  // namespace
}  // namespace host
