// Every conversion and channel operation, in cache (64 Ki samples) and out of it (16 Mi), beside
// libswresample and memcpy with the same traffic. The counter `of_memcpy` is the share of memcpy's speed in
// the same run.
#include "audio/audio_copy.h"
#include "audio/channels.h"
#include "audio/copy/copy_table.h"
#include "platform/cpu_support.h"

#include <benchmark/benchmark.h>

#ifdef TARN_BENCH_SWRESAMPLE
extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}
#endif

#include <algorithm>
#include <chrono>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr size_t IN_CACHE = 64 << 10, OUT_OF_CACHE = 16 << 20;
constexpr float GAIN = 0.7071f;

const char* NameOf(QMSAMPLETYPE type) {
    switch (type) {
    case QMSAMPLE_PCM8: return "u8";
    case QMSAMPLE_PCM16: return "s16";
    case QMSAMPLE_PCM24: return "s24";
    case QMSAMPLE_PCM32: return "s32";
    case QMSAMPLE_FLOAT32: return "f32";
    case QMSAMPLE_FLOAT64: return "f64";
    case QMSAMPLE_PCM24IN32: return "s24in32";
    case QMSAMPLE_SIGNED8: return "s8";
    case QMSAMPLE_BE16: return "s16be";
    case QMSAMPLE_BE24: return "s24be";
    default: return "s32be";
    }
}

/// Page-aligned and touched.
struct Buffers {
    static uint8_t* Make() {
        constexpr size_t BYTES = OUT_OF_CACHE * 8;
        auto* bytes = static_cast<uint8_t*>(std::aligned_alloc(4096, BYTES));
        uint64_t x = 1;
        for (size_t i = 0; i < BYTES; i += 8) {
            x = x * 6364136223846793005u + 1442695040888963407u;
            const float values[2] = {static_cast<float>(static_cast<int32_t>(x >> 32)) / 2147483648.0f,
                                     0.25f};
            std::memcpy(bytes + i, values, 8);
        }
        return bytes;
    }
    uint8_t *source = Make(), *target = Make();
};
Buffers& TheBuffers() {
    static Buffers buffers;
    return buffers;
}

using Work = std::function<void(void* target, const void* source, size_t samples)>;

double SecondsOf(const std::function<void()>& work, size_t repeats) {
    double best = 1e9;
    for (int round = 0; round < 7; round++) {
        const auto start = std::chrono::steady_clock::now();
        for (size_t i = 0; i < repeats; i++) work();
        best =
            std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return best / static_cast<double>(repeats);
}

void Row(const std::string& name, size_t bytesIn, size_t bytesOut, const Work& work) {
    for (const size_t samples : {IN_CACHE, OUT_OF_CACHE}) {
        const auto run = [=](benchmark::State& state) {
            const Buffers& b = TheBuffers();
            const auto once = [&] { work(b.target, b.source, samples); };
            for (auto _ : state) once();
            const size_t traffic = samples * (bytesIn + bytesOut), repeats = samples == IN_CACHE ? 100 : 1;
            const double ours = SecondsOf(once, repeats);
            const double limit = SecondsOf([&] { std::memcpy(b.target, b.source, traffic / 2); }, repeats);
            state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(traffic));
            state.counters["of_memcpy"] = limit / ours;
        };
        benchmark::RegisterBenchmark((name + (samples == IN_CACHE ? "/64Ki" : "/16Mi")).c_str(), run);
    }
}

#ifdef TARN_BENCH_SWRESAMPLE
AVSampleFormat PeerFormat(QMSAMPLETYPE type) {
    switch (type) {
    case QMSAMPLE_PCM8: return AV_SAMPLE_FMT_U8;
    case QMSAMPLE_PCM16: return AV_SAMPLE_FMT_S16;
    case QMSAMPLE_PCM32: return AV_SAMPLE_FMT_S32;
    case QMSAMPLE_FLOAT32: return AV_SAMPLE_FMT_FLT;
    case QMSAMPLE_FLOAT64: return AV_SAMPLE_FMT_DBL;
    default: return AV_SAMPLE_FMT_NONE;
    }
}

void PeerRow(const std::string& pair, QMSAMPLETYPE dst, QMSAMPLETYPE src) {
    const AVSampleFormat to = PeerFormat(dst), from = PeerFormat(src);
    if (to == AV_SAMPLE_FMT_NONE || from == AV_SAMPLE_FMT_NONE || to == from) return;
    SwrContext* context = nullptr;
    AVChannelLayout mono;
    av_channel_layout_default(&mono, 1);
    swr_alloc_set_opts2(&context, &mono, to, 48000, &mono, from, 48000, 0, nullptr);
    if (swr_init(context) < 0) return;
    const std::shared_ptr<SwrContext> owner(context, [](SwrContext* c) { swr_free(&c); });
    Row(pair + "/swresample", QmAudio_BytesFromSampleType(src), QmAudio_BytesFromSampleType(dst),
        [owner](void* target, const void* source, size_t samples) {
            auto* out = static_cast<uint8_t*>(target);
            const auto* in = static_cast<const uint8_t*>(source);
            swr_convert(owner.get(), &out, static_cast<int>(samples), &in, static_cast<int>(samples));
        });
}
#endif

QMAUDIOCOPYFN RoutineOf(uint32_t support, QMSAMPLETYPE dst, QMSAMPLETYPE src) {
    QmOnlyAllowCPUSupport(support);
    const QMAUDIOCOPYFN routine = QmAudio_GetCopyFunction2(dst, src);
    QmOnlyAllowCPUSupport(UINT32_MAX);
    return routine;
}

void CopyRows() {
    const struct {
        const char* name;
        uint32_t support;
    } levels[] = {{"ours", UINT32_MAX},
                  {"avx2", CPU_SUPPORT_AVX2},
                  {"sse2", CPU_SUPPORT_SSE | CPU_SUPPORT_SSE2},
                  {"plain", 0}};
    for (const QMSAMPLETYPE src : COPY_TYPES)
        for (const QMSAMPLETYPE dst : COPY_TYPES) {
            const std::string pair = std::string(NameOf(src)) + "_to_" + NameOf(dst);
            const size_t from = QmAudio_BytesFromSampleType(src), to = QmAudio_BytesFromSampleType(dst);
            for (const auto& level : levels) {
                const QMAUDIOCOPYFN routine = RoutineOf(level.support, dst, src);
                if (!routine) continue;
                const auto with = [routine](float scale) {
                    return [=](void* target, const void* source, size_t samples) {
                        routine(target, source, static_cast<int64_t>(samples), scale);
                    };
                };
                Row(pair + "/" + level.name, from, to, with(1.0f));
                Row(pair + "_gain/" + level.name, from, to, with(GAIN));
            }
#ifdef TARN_BENCH_SWRESAMPLE
            PeerRow(pair, dst, src);
#endif
        }
}

void ChannelRows() {
    for (const QMSAMPLETYPE type : {QMSAMPLE_PCM16, QMSAMPLE_PCM24, QMSAMPLE_FLOAT32, QMSAMPLE_FLOAT64}) {
        const std::string name = NameOf(type);
        const size_t width = QmAudio_BytesFromSampleType(type);
        WAVEFORMATEX mono, stereo;
        QmAudio_InitWfx(&mono, 48000, type, 1);
        QmAudio_InitWfx(&stereo, 48000, type, 2);
        // A sample here is one of the stereo side.
        Row(name + "_stereo_to_mono/ours", width, width / 2,
            [=](void* target, const void* source, size_t samples) {
                QmAudio_ChannelChangeAvg(target, 1, source, &stereo, static_cast<int64_t>(samples / 2));
            });
        Row(name + "_mono_to_stereo/ours", width / 2, width,
            [=](void* target, const void* source, size_t samples) {
                QmAudio_ChannelChange(target, 2, source, &mono, static_cast<int64_t>(samples / 2));
            });
        Row(name + "_extract/ours", width, width / 2, [=](void* target, const void* source, size_t samples) {
            QmAudio_ExtractChannel(target, 1, source, type, 2, static_cast<int64_t>(samples / 2));
        });
        Row(name + "_insert/ours", width, width, [=](void* target, const void* source, size_t samples) {
            QmAudio_InsertChannel(target, type, 2, 1, source, static_cast<int64_t>(samples / 2));
        });
        Row(name + "_swap/ours", width, width, [=](void* target, const void* source, size_t samples) {
            QmAudio_CopySwapStereoChannels(target, source, &stereo, static_cast<int64_t>(samples / 2));
        });
    }
}

}  // namespace

int main(int argc, char** argv) {
    CopyRows();
    ChannelRows();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
