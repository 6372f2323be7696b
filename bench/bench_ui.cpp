// What the controls cost: one tick of the meters of a console, painted whole and by changes, and the
// paint of a fader. Rows "peer" draw the same bars in the plainest way, two blits and two lines a bar,
// to compare within one run.
#include "bench/null_host.h"
#include "controls/fader.h"
#include "controls/meter.h"
#include "kernel/ui/theme.h"
#include "platform/ui/window.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QImage>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace {
constexpr LONG kStripWidth = 19, kTop = 20, kBottom = 560;

/// Two-bar meters side by side, in rows of a hundred, whose levels wander by a few decibels a tick.
struct Meters {
    NullHost clock;
    std::vector<tQMMETER> all;
    std::vector<std::array<double, 2>> decibels;
    QImage image;
    uint32_t seed = 12345;

    Meters(size_t count, uint32_t style) : all(count), decibels(count, {-20, -20}) {
        const auto rows = static_cast<LONG>((count + 99) / 100);
        image = QImage(100 * kStripWidth, rows * kBottom, QImage::Format_RGB32);
        image.fill(Qt::black);
        ApplyTheme(Theme::Dark);
        for (size_t i = 0; i < count; i++) {
            const LONG x = static_cast<LONG>(i % 100) * kStripWidth + 2,
                       y = static_cast<LONG>(i / 100) * kBottom;
            const RECT rect{x, y + kTop, x + 11, y + kBottom};
            MeterInst_Init(&all[i], METERS_VERTICAL | METERS_UI_COLORS | style, &rect, &clock, 1, 0, 0);
            MeterInst_Message(&all[i], METERM_SETCHANNELS, 0, 2);
        }
        Step();
        QPainter painter(&image);
        for (tQMMETER& m : all) MeterInst_Draw(&m, &painter);
    }
    ~Meters() {
        for (tQMMETER& m : all) MeterInst_Deinit(&m);
    }
    void Step() {
        clock.now += 40;
        for (size_t i = 0; i < all.size(); i++) {
            std::array<int32_t, 2> levels;
            for (size_t c = 0; c < 2; c++) {
                seed = seed * 1664525 + 1013904223;
                decibels[i][c] = std::clamp(
                    decibels[i][c] + (static_cast<double>(seed >> 16) / 32768 - 1) * 6, -80.0, 0.0);
                levels[c] = static_cast<int32_t>(std::pow(10.0, decibels[i][c] / 20) * 32767);
            }
            MeterInst_Message(&all[i], METERM_SETLEVELS, PackWords(0, 2),
                              reinterpret_cast<intptr_t>(levels.data()));
        }
    }
};

void LevelsAlone(benchmark::State& state) {
    Meters meters(static_cast<size_t>(state.range(0)), METERS_HOLD_HIGH);
    for (auto _ : state) meters.Step();
}

void TickWhole(benchmark::State& state) {
    Meters meters(static_cast<size_t>(state.range(0)), METERS_HOLD_HIGH);
    for (auto _ : state) {
        meters.Step();
        QPainter painter(&meters.image);
        for (tQMMETER& m : meters.all) MeterInst_Draw(&m, &painter);
    }
}

void TickChanges(benchmark::State& state) {
    Meters meters(static_cast<size_t>(state.range(0)), METERS_HOLD_HIGH);
    for (auto _ : state) {
        meters.Step();
        QPainter painter(&meters.image);
        RECT area;
        for (tQMMETER& m : meters.all) benchmark::DoNotOptimize(MeterInst_DrawChanges(&m, &painter, &area));
    }
}

void TickChangesHighDensity(benchmark::State& state) {
    Meters meters(static_cast<size_t>(state.range(0)), METERS_HOLD_HIGH);
    meters.image = QImage(meters.image.size() * 2, QImage::Format_RGB32);
    meters.image.setDevicePixelRatio(2);
    for (auto _ : state) {
        meters.Step();
        QPainter painter(&meters.image);
        RECT area;
        for (tQMMETER& m : meters.all) benchmark::DoNotOptimize(MeterInst_DrawChanges(&m, &painter, &area));
    }
}

// The whole way to the screen: the changes into the window's image, and the paint event that shows them.
void TickWindow(benchmark::State& state) {
    struct Page : MessageWindow {
        Meters* meters;
        explicit Page(Meters* m) : meters(m) {
            resize(meters->image.size());
            Create();
        }
        ~Page() override { Destroy(); }
        intptr_t OnMessage(uint32_t message, uintptr_t wparam, intptr_t lparam) override {
            if (message != WM_PAINT) return MessageWindow::OnMessage(message, wparam, lparam);
            for (tQMMETER& m : meters->all)
                MeterInst_Draw(&m, &reinterpret_cast<PaintInfo*>(wparam)->painter);
            return 0;
        }
    };
    Meters meters(static_cast<size_t>(state.range(0)), METERS_HOLD_HIGH);
    Page page(&meters);
    page.show();
    QApplication::processEvents();
    for (auto _ : state) {
        meters.Step();
        {
            WindowPainter painter(page);
            RECT area;
            for (tQMMETER& m : meters.all)
                if (MeterInst_DrawChanges(&m, &*painter, &area)) painter.Drawn(area);
        }
        QApplication::processEvents();
    }
}

void PeerBars(benchmark::State& state) {
    Meters meters(static_cast<size_t>(state.range(0)), 0);
    QPixmap lit(4, 538), unlit(4, 538);
    lit.fill(Qt::green);
    unlit.fill(Qt::black);
    for (auto _ : state) {
        meters.Step();
        QPainter painter(&meters.image);
        for (const tQMMETER& m : meters.all) {
            for (int c = 0; c < 2; c++) {
                const int x = m.client.left + 1 + 5 * c, y = m.client.top + 1;
                const int level = m.scale.Pixel(m.channel[c].level / 32768.0, 538);
                painter.drawPixmap(x, y, unlit, 0, 0, 4, 538 - level);
                painter.drawPixmap(x, y + 538 - level, lit, 0, 538 - level, 4, level);
                painter.fillRect(x, y + 100, 4, 2, Qt::white);
            }
        }
    }
}

void FaderPaint(benchmark::State& state) {
    NullHost clock;
    tQMFADER fader;
    const RECT rect{0, 0, 60, 300};
    const uint32_t labels = state.range(0) ? FADERS_TICKS | FADERS_LABELS : 0;
    FaderInst_Init(&fader, FADERS_VERTICAL | FADERS_TAPER | FADERS_UI_COLORS | labels, &rect, &clock, 1,
                   nullptr, 0, 1.0f);
    FaderInst_Message(&fader, FADERM_SETRANGE, 0,
                      static_cast<intptr_t>(PackWords(static_cast<uint32_t>(-720), 120)));
    constexpr std::string_view thumb = "thumb_fader";
    const ImageList images(std::span(&thumb, 1), {13, 19}, ThumbTones());
    FaderInst_SetThumbImageList(&fader, &images, std::array{images.Size()}.data());
    QImage image(60, 300, QImage::Format_RGB32);
    QPainter painter(&image);
    for (auto _ : state) {
        FillRect(painter, rect, 0x302B28);
        FaderInst_Draw(&fader, &painter);
    }
    FaderInst_Deinit(&fader);
}
}  // namespace

BENCHMARK(LevelsAlone)->Arg(100)->Arg(500)->Unit(benchmark::kMicrosecond);
BENCHMARK(TickChanges)->Arg(100)->Arg(500)->Unit(benchmark::kMicrosecond);
BENCHMARK(TickChangesHighDensity)->Arg(100)->Arg(500)->Unit(benchmark::kMicrosecond);
BENCHMARK(TickWhole)->Arg(100)->Arg(500)->Unit(benchmark::kMicrosecond);
BENCHMARK(PeerBars)->Name("peer/two_blits_a_bar")->Arg(100)->Arg(500)->Unit(benchmark::kMicrosecond);
BENCHMARK(TickWindow)->Arg(100)->Arg(500)->Unit(benchmark::kMicrosecond);
BENCHMARK(FaderPaint)->ArgName("labels")->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
