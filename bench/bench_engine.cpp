// The mixer on stereo tracks from disk, each with fader and pan off centre, into two busses and the master;
// with a send each to a reverb's place, with four effects each. The counter `load` is the share of real time
// that mixing takes, `realtime` how many times faster than real time.
#include "host/effects/effect.h"
#include "host/engine/engine.h"
#include "host/engine/offline_mix.h"
#include "host/engine/problem_log.h"
#include "host/engine/render.h"

#include <benchmark/benchmark.h>
#include <sndfile.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <map>

namespace {

using namespace host;

constexpr int RATE = 48000, SECONDS = 20;

/// Four peaks of an equaliser, for what an effect of that kind costs.
class Equaliser final : public Effect {
public:
    const EffectInfo& Info() const override { return m_info; }
    std::span<const EffectParameter> Parameters() const override { return {}; }
    float Value(size_t) const override { return 0; }
    void SetValue(size_t, float) override {}
    size_t Latency() const override { return 0; }
    void Process(const float* const* in, float* const* out, size_t n, std::span<const EffectMidi>,
                 const EffectTime&) override {
        for (size_t s = 0; s < 2; s++) {
            for (size_t i = 0; i < n; i++) {
                float x = in[s][i];
                for (auto& band : m_state[s]) {
                    const float y = 1.002f * x + band[0];
                    band[0] = -1.9f * x + 1.9f * y + band[1];
                    band[1] = 0.92f * x - 0.922f * y;
                    x = y;
                }
                out[s][i] = x;
            }
        }
    }
    void Reset() override { m_state = {}; }
    std::string SaveState() const override { return {}; }
    void LoadState(std::string_view) override {}
    std::vector<std::string> Presets() const override { return {}; }
    void LoadPreset(size_t) override {}

private:
    const EffectInfo m_info{.uri = "urn:eq", .name = "Equaliser", .inputs = 2, .outputs = 2};
    std::array<std::array<std::array<float, 2>, 4>, 2> m_state{};
};

struct Equalisers final : EffectLibrary {
    std::vector<EffectInfo> List() const override { return {}; }
    std::unique_ptr<Effect> Make(std::string_view, int) override { return std::make_unique<Equaliser>(); }
} equalisers;

/// A folder with one file a track, which goes with the process.
class Project {
public:
    /// Every sixth file is of another rate where `mixed`.
    explicit Project(int tracks, bool mixed = false) {
        std::string path = std::filesystem::temp_directory_path() / "tarn-bench-XXXXXX";
        if (!mkdtemp(path.data())) std::abort();
        folder = path;
        session = NewSession();
        session.length = SECONDS;
        ChannelId master = kNoChannel;
        for (const Channel& channel : session.channels)
            if (channel.kind == ChannelKind::Master) master = channel.id;
        for (ChannelId bus : {10001, 10002, 10003}) {
            Channel channel;
            channel.id = bus;
            channel.kind = bus == 10003 ? ChannelKind::Fx : ChannelKind::AudioBus;
            channel.output = master;
            session.channels.push_back(channel);
        }
        for (int i = 0; i < tracks; i++) {
            Channel channel;
            channel.id = 100 + static_cast<ChannelId>(i);
            channel.fader_db = -6.0 - i % 7;
            channel.pan = (i % 9 - 4) / 4.0;
            channel.output = i % 2 ? 10001 : 10002;
            const std::string file = std::to_string(i) + ".wav";
            WriteNoise(folder / file, static_cast<uint32_t>(i), mixed && i % 6 == 0 ? 44100 : RATE);
            channel.clips.push_back({file, 0, 0, SECONDS, 0});
            session.channels.push_back(channel);
        }
    }
    ~Project() { std::filesystem::remove_all(folder); }

    /// The session with so many sends and effects on each track.
    Session With(int sends, int effects) const {
        Session with = session;
        for (Channel& channel : with.channels) {
            if (channel.kind != ChannelKind::AudioTrack) continue;
            for (int i = 0; i < sends; i++) channel.sends.push_back({FreeSub(channel), 10003, -12});
            for (int i = 0; i < effects; i++) channel.inserts.push_back({FreeSub(channel), "urn:eq"});
        }
        return with;
    }

    std::filesystem::path folder;
    Session session;

private:
    static void WriteNoise(const std::filesystem::path& path, uint32_t seed, int rate) {
        SF_INFO info{};
        info.samplerate = rate;
        info.channels = 2;
        info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_24;
        SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
        std::vector<float> samples(static_cast<size_t>(rate) * 2);
        for (float& s : samples) {
            seed = seed * 1664525 + 1013904223;
            s = static_cast<float>(static_cast<int32_t>(seed)) / 4294967296.0f * 0.2f;
        }
        for (int i = 0; i < SECONDS; i++) sf_writef_float(file, samples.data(), rate);
        sf_close(file);
    }
};

const Project& TheProject(int tracks) {
    static std::map<int, Project> projects;
    return projects.try_emplace(tracks, tracks).first->second;
}

// tracks, block, threads, sends, effects
void Mix(benchmark::State& state) {
    const Project& project = TheProject(static_cast<int>(state.range(0)));
    const auto block = static_cast<size_t>(state.range(1));
    const Session session = project.With(static_cast<int>(state.range(3)), static_cast<int>(state.range(4)));
    std::vector<float> left(block), right(block);
    float* const sides[] = {left.data(), right.data()};
    ProblemLog problems;
    int64_t frames = 0;
    std::unique_ptr<OfflineMix> mix;
    int64_t left_to_play = 0;
    for (auto _ : state) {
        if (left_to_play < static_cast<int64_t>(block)) {
            state.PauseTiming();
            mix = std::make_unique<OfflineMix>(
                session, project.folder, 0, problems,
                OfflineOptions{&equalisers, static_cast<size_t>(state.range(2))});
            left_to_play = int64_t{RATE} * SECONDS;
            state.ResumeTiming();
        }
        mix->Process(sides, block);
        benchmark::DoNotOptimize(left.data());
        left_to_play -= static_cast<int64_t>(block);
        frames += static_cast<int64_t>(block);
    }
    const double seconds = static_cast<double>(frames) / RATE;
    state.counters["load"] =
        benchmark::Counter(seconds, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void TellSpeed(benchmark::State& state) {
    state.counters["realtime"] = benchmark::Counter(
        static_cast<double>(SECONDS) * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

// tracks, threads
void Render(benchmark::State& state) {
    const Project& project = TheProject(static_cast<int>(state.range(0)));
    RenderOptions options;
    options.threads = static_cast<size_t>(state.range(1));
    for (auto _ : state) RenderToFile(project.session, project.folder, project.folder / "mix.wav", options);
    TellSpeed(state);
}

const Project& MixedProject() {
    static const Project project(64, true);
    return project;
}

// 64 tracks, 11 of them of another rate, into one file of 24 bits: threads; 0 is one for each core.
void RenderMixed(benchmark::State& state) {
    RenderOptions options;
    options.threads = static_cast<size_t>(state.range(0));
    for (auto _ : state)
        RenderToFile(MixedProject().session, MixedProject().folder, MixedProject().folder / "mix.wav",
                     options);
    TellSpeed(state);
}

// The same files by ffmpeg, without faders and pan: of one rate, or mixed.
void RenderByFfmpeg(benchmark::State& state) {
    if (std::system("ffmpeg -version > /dev/null 2>&1") != 0) return state.SkipWithError("no ffmpeg");
    const Project& project = state.range(0) ? MixedProject() : TheProject(64);
    std::string command = "cd " + project.folder.string() + " && ffmpeg -v error -y";
    for (int i = 0; i < 64; i++) command += " -i " + std::to_string(i) + ".wav";
    command += " -filter_complex amix=inputs=64:normalize=0 -ar 48000 -c:a pcm_s24le peer.wav";
    for (auto _ : state)
        if (std::system(command.c_str()) != 0) return state.SkipWithError("ffmpeg failed");
    TellSpeed(state);
}

// tracks, with a clip or without: from the session to an engine that could play. Clips share 64 files.
void OpenInEngine(benchmark::State& state) {
    const Project& files = TheProject(64);
    Session session = NewSession();
    session.length = SECONDS;
    const auto tracks = static_cast<uint64_t>(state.range(0));
    for (uint64_t i = 0; i < tracks; i++) {
        Channel channel{.id = 100 + i, .output = session.channels[0].id};
        if (state.range(1)) channel.clips.push_back({std::to_string(i % 64) + ".wav", 0, 0, SECONDS, 0});
        session.channels.push_back(std::move(channel));
    }
    EngineOptions options;
    options.systemDevice = false;
    for (auto _ : state) {
        Engine engine(options);
        engine.SetSession(session, files.folder);
    }
}

// What a session of so many tracks costs to read and to write.
void Open(benchmark::State& state) {
    Session session = NewSession();
    for (int64_t i = 0; i < state.range(0); i++)
        session.channels.push_back(
            {.id = 100 + static_cast<ChannelId>(i),
             .name = "Track " + std::to_string(i),
             .output = 1,
             .clips = {{"audio/take.wav", 0, 0, 100, 0}, {"audio/b.wav", 100, 0, 9, 0}}});
    const std::string text = FormatSession(session);
    for (auto _ : state) benchmark::DoNotOptimize(ParseSession(text));
}

void MixRows(benchmark::internal::Benchmark* rows) {
    for (const int64_t block : {64, 4096}) rows->Args({64, block, 1, 0, 0});
    for (const int64_t tracks : {64, 256, 500})
        for (const auto& [sends, effects] : {std::pair<int64_t, int64_t>{0, 0}, {1, 0}, {0, 4}})
            for (const int64_t threads : {1, 2}) rows->Args({tracks, 512, threads, sends, effects});
}

BENCHMARK(Mix)
    ->ArgNames({"tracks", "block", "threads", "sends", "effects"})
    ->Apply(MixRows)
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();
BENCHMARK(Render)
    ->ArgNames({"tracks", "threads"})
    ->Args({64, 1})
    ->Args({64, 2})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(RenderMixed)->ArgName("threads")->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(RenderByFfmpeg)->ArgName("mixed")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(OpenInEngine)
    ->ArgNames({"tracks", "clips"})
    ->Args({2000, 0})
    ->Args({2000, 1})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(Open)->ArgName("tracks")->Arg(2000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
