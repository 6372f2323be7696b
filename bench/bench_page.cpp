// The whole page with 100 to 2,000 strips: one meter tick from the worker's call to the pixels, with peak
// meters beside the faders and with every region shown, one full paint, scrolling by a strip, zooming, laying
// strips out, opening it, and reading all that a screen reader is offered. With the name of a PNG as the
// argument it saves what was painted, to be looked at.
#include "console/console_plugin.h"
#include "console/strip_layout.h"
#include "platform/ui/window.h"
#include "tests/support/fake_host.h"
#include "tests/support/page_harness.h"

#include <QAccessible>
#include <QApplication>
#include <QPixmap>

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <new>

using namespace tarn;

namespace {

std::atomic<uint64_t> g_allocations{0};

}  // namespace

void* operator new(size_t size) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* block = std::malloc(size)) return block;
    throw std::bad_alloc();
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, size_t) noexcept { std::free(block); }

namespace {

/// Levels that wander as those of music do: every strip changes at every tick.
class Scene {
public:
    Scene(int strips, QSize size) {
        for (int i = 0; i < strips; i++)
            host.channels.push_back(
                {static_cast<uint64_t>(i + 1), KIND_AUDIO_TRACK, i, u"Track " + Number(i + 1)});
        host.transport = TRANSPORT_PLAYING;
        QmOPTPlug_CreateOPTObject(object.Out());
        ComPtr<IMPInitialise> init;
        object->QueryInterface(IID_IMPInitialise, init.OutVoid());
        uint32_t capabilities = 0;
        init->Initialise(host.Unknown(), nullptr, INITFLAG_CONTROL, 0, &capabilities);
        host.OpenProject();
        ComPtr<COPTPlugin> plugin;
        object->QueryInterface(IID_COPTPlugin, plugin.OutVoid());
        m_console = static_cast<CConsoleControlPlugin*>(plugin.Get());
        page = std::make_unique<PageHarness>(object.Get(), size);
        window = &page->Page();
    }
    ~Scene() {
        page.reset();
        ComPtr<IMPInitialise> init;
        object->QueryInterface(IID_IMPInitialise, init.OutVoid());
        host.CloseProject();
        init->Terminate();
    }
    void Step() {
        for (FakeChannel& channel : host.channels) {
            m_random = m_random * 1664525 + 1013904223;
            const float change = static_cast<float>(m_random >> 8) / (1 << 24) - 0.5f;
            channel.level = std::clamp(channel.level + change * 0.2f, 0.0f, 1.0f);
        }
    }
    /// Effects, sends, scopes, VU and peak meters too.
    void ShowAll() { page->RunCommand(50059); }
    /// One round as the worker asks for it, and everything that the page does on it, up to the window's
    /// surface. Asking through the worker would measure now and then nothing, when it has not come round yet.
    void Tick() {
        MPCTRLREC rec{};
        rec.id = MPCTRL_METERS;
        m_console->OnMeterTick(&rec, 0);
        QApplication::processEvents();
        QApplication::processEvents();  // what the first turn asked to be shown
    }
    /// Of rounds, each with new levels; the row tells how often they took memory by operator new.
    void Tick(benchmark::State& state) {
        for (int i = 0; i < 4; i++) Step(), Tick();
        const uint64_t before = g_allocations;
        for (auto _ : state) {
            Step();
            Tick();
        }
        state.counters["allocations"] = benchmark::Counter(static_cast<double>(g_allocations - before),
                                                           benchmark::Counter::kAvgIterations);
    }

    FakeHost host;
    ComPtr<IUnknown> object;
    std::unique_ptr<PageHarness> page;
    QWidget* window = nullptr;

private:
    static std::u16string Number(int n) {
        const std::string text = std::to_string(n);
        return {text.begin(), text.end()};
    }
    CConsoleControlPlugin* m_console = nullptr;
    uint32_t m_random = 1;
};

void MeterTick(benchmark::State& state) {
    Scene scene(static_cast<int>(state.range(0)), QSize(static_cast<int>(state.range(1)), 600));
    scene.Tick(state);
}

void AllMetersTick(benchmark::State& state) {
    Scene scene(static_cast<int>(state.range(0)), QSize(static_cast<int>(state.range(1)), 1000));
    scene.ShowAll();
    scene.Tick(state);
}

void ScrollByAStrip(benchmark::State& state) {
    Scene scene(static_cast<int>(state.range(0)), QSize(static_cast<int>(state.range(1)), 1000));
    scene.ShowAll();
    int turn = -120;
    for (auto _ : state) {
        scene.page->Wheel({static_cast<int>(state.range(1)) / 2, 60},
                          turn);  // over a title: no control takes it
        QApplication::processEvents();
        turn = -turn;
    }
}

/// Ctrl and the wheel: all strips become wider or narrower.
void ZoomByANotch(benchmark::State& state) {
    Scene scene(static_cast<int>(state.range(0)), QSize(static_cast<int>(state.range(1)), 1000));
    scene.ShowAll();
    int turn = 120;
    for (auto _ : state) {
        scene.page->Wheel({static_cast<int>(state.range(1)) / 2, 60}, turn, Qt::ControlModifier);
        QApplication::processEvents();
        turn = -turn;
    }
}

void LayoutStrips(benchmark::State& state) {
    const tConsoleMetrics& m = MeasuredConsoleMetrics();
    StripView view;
    view.show.bShowInserts = view.show.bShowSends = view.show.bShowScopes = view.show.bShowVU =
        view.show.bShowPeaks = 1;
    StripTraits traits;
    traits.thumb = {21, 19};
    traits.pan = traits.chain = traits.canSend = traits.input = traits.automation = traits.pair = true;
    traits.effects = 4;
    traits.sends = 2;
    for (auto _ : state)
        for (int i = 0; i < state.range(0); i++)
            benchmark::DoNotOptimize(LayoutStrip({0, 0, m.cxChannelDefault, 1000 + i}, m, traits, view));
}

void FullPaint(benchmark::State& state) {
    Scene scene(static_cast<int>(state.range(0)), QSize(static_cast<int>(state.range(1)), 600));
    auto* window = dynamic_cast<MessageWindow*>(scene.window);
    for (auto _ : state) {
        window->InvalidateAll();  // a repaint alone would only copy what is there
        QApplication::processEvents();
    }
}

void OpenPage(benchmark::State& state) {
    Scene scene(static_cast<int>(state.range(0)), QSize(1920, 600));
    for (auto _ : state) {
        scene.page->Close();
        scene.page->Open(scene.object.Get());
        QApplication::processEvents();
    }
}

/// Names, roles, places and indices of an object and all below it; how many there are.
int64_t Read(QAccessibleInterface* object) {
    int64_t count = 1;
    benchmark::DoNotOptimize(object->text(QAccessible::Name));
    benchmark::DoNotOptimize(object->role());
    benchmark::DoNotOptimize(object->rect());
    for (int i = 0; i < object->childCount(); i++) {
        benchmark::DoNotOptimize(object->indexOfChild(object->child(i)));
        count += Read(object->child(i));
    }
    return count;
}

void ReadAccessible(benchmark::State& state) {
    Scene scene(static_cast<int>(state.range(0)), QSize(1920, 600));
    int64_t objects = 0;
    for (auto _ : state) objects = Read(QAccessible::queryAccessibleInterface(scene.window));
    state.counters["objects"] = static_cast<double>(objects);
}

/// Strips, and pixels of the window: a screen's width, where 22 strips are on view, and one wide enough for a
/// hundred.
void Sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgNames({"strips", "width"})
        ->Args({100, 1920})
        ->Args({500, 1920})
        ->Args({2000, 1920})
        ->Args({100, 8600});
    benchmark->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
}
BENCHMARK(MeterTick)->Apply(Sizes);
BENCHMARK(AllMetersTick)->Apply(Sizes);
BENCHMARK(FullPaint)->Apply(Sizes);
BENCHMARK(ScrollByAStrip)->Apply(Sizes);
BENCHMARK(ZoomByANotch)->Apply(Sizes);
BENCHMARK(LayoutStrips)->ArgName("strips")->Arg(500)->Unit(benchmark::kMicrosecond);
BENCHMARK(OpenPage)->ArgName("strips")->Arg(100)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(ReadAccessible)->ArgName("strips")->Arg(100)->Arg(2000)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (argc > 1) {
        Scene scene(16, QSize(1280, 520));
        for (int i = 0; i < 20; i++) {
            scene.Step();
            scene.Tick();
            PageHarness::Settle();
        }
        return scene.page->top.grab().save(QString::fromLocal8Bit(argv[1])) ? 0 : 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
