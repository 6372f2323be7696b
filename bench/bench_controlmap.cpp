// Events of a control surface: matches a second in a table of a thousand rows, and the time from an event to
// the change of the host's channel.
#include "controlmap/control_map.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

namespace {
using Clock = std::chrono::steady_clock;

struct Site final : ControlMapSite {
    Clock::time_point set;
    float volume = 0.5f;

    HRESULT GetChannel(const MPCHANNELID&, MPCHANNELREC* rec, uint32_t) override {
        return rec->volume = volume, S_OK;
    }
    HRESULT SetChannel(const MPCHANNELID&, MPCHANNELREC* rec, uint32_t) override {
        set = Clock::now();
        volume = rec->volume;
        return S_OK;
    }
    std::vector<BankChannel> Channels() override { return {{1, KIND_AUDIO_TRACK}}; }
    std::u16string ChannelName(const MPCHANNELID&) override { return {}; }
    std::vector<uint64_t> RouteTargets(const MPCHANNELID&, uint32_t) override { return {}; }
    MPCHANNELID Effect(const MPCHANNELID&, uint32_t) override { return {}; }
    float ShareOfGain(float gain) const override { return gain; }
    float GainOfShare(float share) const override { return share; }
    uint32_t AutomationCapabilities() override { return 0; }
    HRESULT CallHost(const MPFUNCTIONMAP&) override { return S_OK; }
    void SendEvent(const MPEVENTREC&) override {}
};

/// A row for each of a thousand controls; all move the first strip.
struct Surface {
    static constexpr uint32_t kRows = 1000;
    Site site;
    CControlMap map{site, 1};

    Surface() {
        FUNCTIONMAPENTRY entry{};
        entry.tables = NewFunctionTables(1);
        entry.tables[0].id = entry.tables[0].ownsRows = 1;
        entry.tables[0].rows = NewFunctionRows(kRows);
        for (uint32_t i = 0; i < kRows; i++) {
            MPFUNCTIONMAP& row = entry.tables[0].rows[i];
            row.commandType = ECMDTYPE_RECIEVE;
            row.flags = EFUNCFLAG_VALUE;
            row.group = ECONTROL_GRP_INSERT;
            row.function = MIXFUNC_VOLUME;
            row.maxValue = 127;
            row.first = Event(i, 0);
            row.second = EmptyEvent();
        }
        map.AddMap(std::move(entry));
        map.SelectMap(0);
        map.EnableMap(true);
        map.ConnectProject(true, false);
    }
    static MPEVENTREC Event(uint32_t control, uint8_t value) {
        MPEVENTREC event{};
        event.type = MPCNTRL_CHNG;
        event.channel = control / 128;
        event.byte1 = control % 128;
        event.byte2 = value;
        return event;
    }
};

void Match(benchmark::State& state) {
    Surface surface;
    uint32_t seed = 1;
    for (auto _ : state) {
        seed = seed * 1664525 + 1013904223;
        benchmark::DoNotOptimize(surface.map.OnEvent(Surface::Event((seed >> 8) % Surface::kRows, 1), true));
    }
    state.SetItemsProcessed(state.iterations());
}

void EventToSet(benchmark::State& state) {
    Surface surface;
    std::vector<double> microseconds;
    uint8_t value = 0;
    for (auto _ : state) {
        value ^= 1;
        const auto begin = Clock::now();
        surface.map.OnEvent(Surface::Event(Surface::kRows - 1, static_cast<uint8_t>(64 + value)), false);
        surface.map.Idle(false);
        microseconds.push_back(std::chrono::duration<double, std::micro>(surface.site.set - begin).count());
    }
    std::ranges::sort(microseconds);
    state.counters["median_us"] = microseconds[microseconds.size() / 2];
    state.counters["p99_us"] = microseconds[microseconds.size() * 99 / 100];
}
}  // namespace

BENCHMARK(Match);
BENCHMARK(EventToSet);
BENCHMARK_MAIN();
