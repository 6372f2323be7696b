// SMPTE arithmetic's rows for the program that measures the peers' time code; its harness and data stand
// beside it there.
#include "peers.h"

#include "kernel/print/print.h"
#include "kernel/time/time_parse.h"

namespace {
constexpr size_t N = 4096;
constexpr int DAY = 2589408;
int frames[N];
_smpteval labels[N];
char16_t texts[N][16], buf[64];
volatile int64_t sink;

template <class F>
void add(const char* work, const char* peer, F f) {
    peers::row(work, peer, "1", static_cast<double>(N), 0, [=]() -> std::function<void()> {
        return [=] {
            for (size_t i = 0; i < N; i++) {
                f(i);
                benchmark::ClobberMemory();
            }
        };
    });
}

void Print(char16_t* out, const _smpteval& v) {
    QmCchPrintF(out, 16, nullptr, u"%02u:%02u:%02u;%02u", v.hours, v.minutes, v.seconds, v.frames);
}

peers::AddRows rows([] {
    peers::Rng r(3);  // the same frames as the peers'
    for (size_t i = 0; i < N; i++) {
        frames[i] = static_cast<int>(r() % DAY);
        labels[i] = {SMPTE_DROP, 0, 0, 0, 0, 0};
        QMSMPTE_FrameCountToSMPTE(&labels[i], frames[i]);
        Print(texts[i], labels[i]);
    }
    add("df_frames_to_text", "ours", [](size_t i) {
        _smpteval v{SMPTE_DROP, 0, 0, 0, 0, 0};
        QMSMPTE_FrameCountToSMPTE(&v, frames[i]);
        Print(buf, v);
    });
    add("df_frames_to_text", "ours_label_only", [](size_t i) {
        _smpteval v{SMPTE_DROP, 0, 0, 0, 0, 0};
        QMSMPTE_FrameCountToSMPTE(&v, frames[i]);
        benchmark::DoNotOptimize(v);
    });
    add("df_text_to_frames", "ours", [](size_t i) {
        _smpteval v{SMPTE_DROP, 0, 0, 0, 0, 0};
        QMSMPTE_TextToSMPTE(texts[i], &v);
        sink = QMSMPTE_SMPTEToFrameCount(&v);
    });
    add("df_text_to_frames", "ours_count_only",
        [](size_t i) { sink = QMSMPTE_SMPTEToFrameCount(&labels[i]); });
});
}  // namespace
