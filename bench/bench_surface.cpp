// A control surface on the real host, threads and all: from the bytes that a driver brings to the host's
// being told of the channel's change, and on to the bytes that another fader's motor is sent.
#include "host/contract/plugin.h"
#include "host/contract/project.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>

using namespace tarn;

namespace {

using namespace host;
using Clock = std::chrono::steady_clock;

constexpr int TRACKS = 16;

/// One port each way; tells when something was sent.
struct Driver final : MidiDriver {
    struct Shared {
        OnBytes toHost;
        std::atomic<uint64_t> sent{0};
        std::atomic<bool> open{false};
    };
    std::shared_ptr<Shared> shared = std::make_shared<Shared>();

    std::vector<std::string> InputNames() override { return {"Surface"}; }
    std::vector<std::string> OutputNames() override { return {"Surface"}; }
    std::unique_ptr<MidiInput> OpenInput(size_t, OnBytes onBytes, std::string&) override {
        shared->toHost = std::move(onBytes);
        shared->open = true;
        return std::make_unique<MidiInput>();
    }
    std::unique_ptr<MidiOutput> OpenOutput(size_t, std::string&) override {
        struct Output final : MidiOutput {
            std::shared_ptr<Shared> shared;
            void Send(std::span<const uint8_t>) override { shared->sent++; }
        };
        auto output = std::make_unique<Output>();
        output->shared = shared;
        return output;
    }
};

struct VolumeSink final : IMPCtrlChannelSink {
    std::atomic<uint64_t> changes{0};
    HRESULT QueryInterface(const GUID& iid, void** out) override {
        *out = iid == IID_IMPCtrlChannelSink ? this : nullptr;
        return *out ? S_OK : E_NOINTERFACE;
    }
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 1; }
    HRESULT OnControl(const MPCTRLREC* rec) override {
        if (rec->id == MPCTRL_CHANNEL) changes++;
        return S_OK;
    }
};

struct Road {
    VolumeSink sink;
    std::shared_ptr<Driver::Shared> cable;
    std::unique_ptr<Project> project;
    std::unique_ptr<Plugin> plugin;

    Road() {
        auto driver = std::make_unique<Driver>();
        cable = driver->shared;
        const EngineOptions silent{
            .systemDevice = false, .deviceName = {}, .blockFrames = 512, .openDevice = {}};
        project = std::make_unique<Project>(silent, std::move(driver));
        for (int i = 0; i < TRACKS; i++)
            project->AddChannel(ChannelKind::AudioTrack, "Track " + std::to_string(i));
        project->SetUserPreferences({{{"Control Surface", 103u}, std::string("Motor faders, pitch bend")}});
        plugin = std::make_unique<Plugin>(TARN_SURFACE_MODULE, *project, Project::Keeps::ForUser);
        plugin->ProjectOpened();
        ComPtr<IConnectionPointContainer> points;
        ComPtr<IConnectionPoint> point;
        project->PluginHost()->QueryInterface(IID_IConnectionPointContainer, points.OutVoid());
        points->FindConnectionPoint(IID_IMPCtrlChannelSink, point.Out());
        uint32_t cookie = 0;
        point->Advise(&sink, &cookie);
        while (!cable->open || cable->sent == 0) {
        }
        const uint8_t touch[] = {0x90, 104, 127};  // the hand is on the fader: every move passes
        cable->toHost(touch);
    }
    ~Road() {
        plugin->ProjectClosing();
        plugin.reset();
        project.reset();
    }
};

void Report(benchmark::State& state, std::vector<double>& microseconds) {
    std::ranges::sort(microseconds);
    state.counters["median_us"] = microseconds[microseconds.size() / 2];
    state.counters["p99_us"] = microseconds[microseconds.size() * 99 / 100];
}

void BytesToChange(benchmark::State& state) {
    Road road;
    std::vector<double> microseconds;
    uint8_t value = 0;
    for (auto _ : state) {
        const uint64_t before = road.sink.changes;
        value = value % 100 + 1;
        const uint8_t bytes[] = {0xE0, value, 70};
        const auto begin = Clock::now();
        road.cable->toHost(bytes);
        while (road.sink.changes == before) {
        }
        microseconds.push_back(std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
    }
    Report(state, microseconds);
}

void ChangeToBytes(benchmark::State& state) {
    Road road;
    const ChannelId id = road.project->Snapshot().channels[1].id;
    std::vector<double> microseconds;
    double db = 0;
    for (auto _ : state) {
        const uint64_t before = road.cable->sent;
        db = db < -40 ? 0 : db - 1;
        const auto begin = Clock::now();
        road.project->EditChannel(id, [db](Channel& c) { c.fader_db = db; });
        while (road.cable->sent == before) {
        }
        microseconds.push_back(std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
    }
    Report(state, microseconds);
}

}  // namespace

BENCHMARK(BytesToChange)->UseRealTime()->Iterations(3000);
BENCHMARK(ChangeToBytes)->UseRealTime()->Iterations(1000);
BENCHMARK_MAIN();
