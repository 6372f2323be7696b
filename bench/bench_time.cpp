// SMPTE labels and position texts, of frames spread over a day; beside libltc and a plain loop.
#include "kernel/formats/inat.h"
#include "kernel/lang/lang.h"
#include "kernel/time/time_parse.h"
#include "kernel/time/time_text.h"
#include "platform/locale.h"

#include <benchmark/benchmark.h>

#include <random>
#ifdef TARN_BENCH_LTC
#include <ltc.h>
#endif

using namespace tarn;

namespace {

constexpr size_t COUNT = 4096;
constexpr uint32_t DAY = 2589408;

struct Frames {
    uint32_t frame[COUNT];
    int64_t nanos[COUNT];
    _smpteval label[COUNT];

    Frames() {
        std::mt19937 random(3);
        for (size_t i = 0; i < COUNT; i++) {
            frame[i] = random() % DAY;
            label[i] = {SMPTE_DROP, 0, 0, 0, 0, 0};
            QMSMPTE_FrameCountToSMPTE(&label[i], frame[i]);
            nanos[i] = QMSMPTE_SMPTEToNanos(&label[i]);
        }
        SetUserLocale("en_US");
        QmLang_GetInternationals(KernelLang());
    }
};
const Frames& Data() {
    static const Frames frames;
    return frames;
}

template <class Call>
void Run(benchmark::State& state, Call call) {
    const Frames& frames = Data();
    size_t i = 0;
    for (auto _ : state) {
        call(frames, i++ % COUNT);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
}

void Ours_DropCountToLabel(benchmark::State& state) {
    _smpteval v{SMPTE_DROP, 0, 0, 0, 0, 0};
    benchmark::DoNotOptimize(&v);
    Run(state, [&](const Frames& f, size_t i) { QMSMPTE_FrameCountToSMPTE(&v, f.frame[i]); });
}
BENCHMARK(Ours_DropCountToLabel);

void Ours_DropLabelToCount(benchmark::State& state) {
    Run(state,
        [](const Frames& f, size_t i) { benchmark::DoNotOptimize(QMSMPTE_SMPTEToFrameCount(&f.label[i])); });
}
BENCHMARK(Ours_DropLabelToCount);

/// What anyone would write: the closed rule and the divisions, inlined.
void Plain_DropCountToLabel(benchmark::State& state) {
    uint32_t label[4];
    benchmark::DoNotOptimize(&label);
    Run(state, [&](const Frames& f, size_t i) {
        const uint32_t d = f.frame[i] / 17982, m = f.frame[i] % 17982;
        const uint32_t n = f.frame[i] + 18 * d + (m >= 2 ? 2 * ((m - 2) / 1798) : 0);
        label[3] = n % 30;
        label[2] = n / 30 % 60;
        label[1] = n / 1800 % 60;
        label[0] = n / 108000;
    });
}
BENCHMARK(Plain_DropCountToLabel);

template <uint32_t number>
void Ours_NanosToText(benchmark::State& state) {
    const _qmposfmt format{number, 48000, 25, 120, 0, 4, 960};
    char16_t text[64];
    benchmark::DoNotOptimize(&text);
    Run(state, [&](const Frames& f, size_t i) { QmNanoTimeToText(text, &format, f.nanos[i], 0); });
}
BENCHMARK(Ours_NanosToText<POSITION_SMPTE_DROP>);
BENCHMARK(Ours_NanosToText<POSITION_TIME>);
BENCHMARK(Ours_NanosToText<POSITION_SAMPLES>);
BENCHMARK(Ours_NanosToText<POSITION_MEASURES>);

#ifdef TARN_BENCH_LTC
void Ltc_FrameToFields(benchmark::State& state) {
    LTCFrame frame;
    ltc_frame_reset(&frame);
    frame.dfbit = 1;
    SMPTETimecode fields{};
    benchmark::DoNotOptimize(&fields);
    Run(state, [&](const Frames&, size_t) { ltc_frame_to_time(&fields, &frame, 0); });
}
BENCHMARK(Ltc_FrameToFields);
void Ltc_Increment(benchmark::State& state) {
    LTCFrame frame;
    ltc_frame_reset(&frame);
    frame.dfbit = 1;
    Run(state, [&](const Frames&, size_t) { ltc_frame_increment(&frame, 30, LTC_TV_525_60, 0); });
}
BENCHMARK(Ltc_Increment);
void Ours_Increment(benchmark::State& state) {
    _smpteval v{SMPTE_DROP, 0, 0, 0, 0, 0};
    benchmark::DoNotOptimize(&v);
    Run(state, [&](const Frames&, size_t) { QMSMPTE_IncrementByFrame(&v); });
}
BENCHMARK(Ours_Increment);
#endif

}  // namespace
