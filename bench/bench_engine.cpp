// 64 stereo tracks from disk, each with fader and pan off centre, into two busses and the master. The counter
// `load` is the share of real time on one core; `realtime` how many times faster than real time.
#include "host/engine/offline_mix.h"
#include "host/engine/problem_log.h"
#include "host/engine/render.h"

#include <benchmark/benchmark.h>
#include <sndfile.h>

#include <cmath>
#include <cstdlib>

namespace {

using namespace host;

constexpr int RATE = 48000, TRACKS = 64, SECONDS = 20;

/// A folder with one file a track, which goes with the process.
class Project {
public:
    Project() {
        char path[] = "/tmp/tarn-bench-XXXXXX";
        if (!mkdtemp(path)) std::abort();
        folder = path;
        session = NewSession();
        session.length = SECONDS;
        ChannelId master = kNoChannel;
        for (const Channel& channel : session.channels)
            if (channel.kind == ChannelKind::Master) master = channel.id;
        for (ChannelId bus : {1001, 1002}) {
            Channel channel;
            channel.id = bus;
            channel.kind = ChannelKind::AudioBus;
            channel.output = master;
            session.channels.push_back(channel);
        }
        for (int i = 0; i < TRACKS; i++) {
            Channel channel;
            channel.id = 100 + static_cast<ChannelId>(i);
            channel.fader_db = -6.0 - i % 7;
            channel.pan = (i % 9 - 4) / 4.0;
            channel.output = i % 2 ? 1001 : 1002;
            const std::string file = std::to_string(i) + ".wav";
            WriteNoise(folder / file, static_cast<uint32_t>(i));
            channel.clips.push_back({file, 0, 0, SECONDS, 0});
            session.channels.push_back(channel);
        }
    }
    ~Project() { std::filesystem::remove_all(folder); }

    std::filesystem::path folder;
    Session session;

private:
    static void WriteNoise(const std::filesystem::path& path, uint32_t seed) {
        SF_INFO info{};
        info.samplerate = RATE;
        info.channels = 2;
        info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_24;
        SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
        std::vector<float> samples(RATE * 2);
        for (float& s : samples) {
            seed = seed * 1664525 + 1013904223;
            s = static_cast<float>(static_cast<int32_t>(seed)) / 4294967296.0f * 0.2f;
        }
        for (int i = 0; i < SECONDS; i++) sf_writef_float(file, samples.data(), RATE);
        sf_close(file);
    }
};

Project& TheProject() {
    static Project project;
    return project;
}

void Mix(benchmark::State& state) {
    const auto block = static_cast<size_t>(state.range(0));
    std::vector<float> left(block), right(block);
    ProblemLog problems;
    int64_t frames = 0;
    std::unique_ptr<OfflineMix> mix;
    int64_t left_to_play = 0;
    for (auto _ : state) {
        if (left_to_play < static_cast<int64_t>(block)) {
            state.PauseTiming();
            mix = std::make_unique<OfflineMix>(TheProject().session, TheProject().folder, 0, problems);
            left_to_play = int64_t{RATE} * SECONDS;
            state.ResumeTiming();
        }
        mix->Process(left.data(), right.data(), block);
        benchmark::DoNotOptimize(left.data());
        left_to_play -= static_cast<int64_t>(block);
        frames += static_cast<int64_t>(block);
    }
    const double seconds = static_cast<double>(frames) / RATE;
    state.counters["load"] =
        benchmark::Counter(seconds, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void Render(benchmark::State& state) {
    for (auto _ : state)
        RenderToFile(TheProject().session, TheProject().folder, TheProject().folder / "mix.wav");
    state.counters["realtime"] = benchmark::Counter(
        static_cast<double>(SECONDS) * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

BENCHMARK(Mix)->Arg(64)->Arg(512)->Arg(4096)->Unit(benchmark::kMicrosecond)->MeasureProcessCPUTime();
BENCHMARK(Render)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();

}  // namespace

BENCHMARK_MAIN();
