// What each control costs to paint, and one tick of a hundred strips with peak meter, VU meter and scope.
// Rows "plain" draw the same with QPainter's own lines, rectangles, gradients and points, to compare within
// one run.
#include "bench/null_host.h"
#include "controls/fader.h"
#include "controls/meter_scales.h"
#include "controls/pan.h"
#include "controls/scope.h"
#include "controls/trackbar.h"
#include "kernel/ui/theme.h"
#include "platform/ui/paint.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QImage>
#include <QLinearGradient>

#include <array>
#include <cmath>
#include <memory>
#include <numbers>
#include <vector>

namespace {
constexpr int kPairs = 1470;  // of 44.1 kHz at 30 ticks a second

/// Stereo noise whose sides agree in part, as music does.
std::vector<float> Music() {
    std::vector<float> frames(2 * kPairs);
    uint32_t seed = 1;
    const auto next = [&] {
        return static_cast<float>((seed = seed * 1664525 + 1013904223) >> 8) / 8388608 - 1;
    };
    for (int i = 0; i < kPairs; i++) {
        const float mid = 0.6f * static_cast<float>(std::sin(i * 0.05)), side = 0.3f * next();
        frames[static_cast<size_t>(2 * i)] = mid + side;
        frames[static_cast<size_t>(2 * i + 1)] = mid - side;
    }
    return frames;
}

template <class Draw>
void Paint(benchmark::State& state, QSize size, Draw draw) {
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    for (auto _ : state) draw(painter);
}

void TrackbarPaint(benchmark::State& state) {
    NullHost host;
    tQMTRACKBAR t;
    const RECT rect{0, 0, 120, 24};
    TrackbarInst_Init(&t, TRACKBARS_USUAL, &rect, &host, 1, nullptr, 0, 1.0f);
    Paint(state, {120, 24}, [&](QPainter& p) { TrackbarInst_Draw(&t, &p); });
    TrackbarInst_Deinit(&t);
}

void PanPaint(benchmark::State& state) {
    NullHost host;
    tQMPAN pan;
    const RECT rect{0, 0, 120, 120};
    PanInst_Init(&pan, PANS_CIRCULAR, &rect, &host, 1, nullptr, 0);
    PanInst_Message(&pan, PANM_SETCHANNELS, 0, 0x57);
    Paint(state, {120, 120}, [&](QPainter& p) { PanInst_Draw(&pan, &p); });
    PanInst_Deinit(&pan);
}

struct Vu {
    tQMMETEREX meter;
    Vu(NullHost& host, const RECT& rect, uint32_t scale) {
        MeterExInst_Init(&meter, METERS_VERTICAL | METERS_HOLD_HIGH | METERS_UI_COLORS, &rect, &host, 1, 0,
                         0);
        MeterExInst_Message(&meter, METEREXM_SETCHANNELS, 0, 2);
        MeterExInst_SetScale(&meter, &MeterScaleOf(scale));
    }
    ~Vu() { MeterExInst_Deinit(&meter); }
    void Set(float amplitude) {
        const float levels[] = {MeterScaleLevel(MeterScaleOf(4), amplitude),
                                MeterScaleLevel(MeterScaleOf(4), amplitude)};
        MeterExInst_Message(&meter, METEREXM_SETLEVELS, PackWords(0, 2), reinterpret_cast<intptr_t>(levels));
    }
};

void MeterPaint(benchmark::State& state) {
    NullHost host;
    tQMMETER meter;
    const RECT rect{0, 0, 40, 200};
    MeterInst_Init(&meter, METERS_VERTICAL | METERS_LABELS | METERS_UI_COLORS, &rect, &host, 1, 0, 0);
    Paint(state, {40, 200}, [&](QPainter& p) { MeterInst_Draw(&meter, &p); });
    MeterInst_Deinit(&meter);
}

void MeterExPaint(benchmark::State& state) {
    NullHost host;
    Vu vu(host, {0, 0, 40, 200}, 4);
    Paint(state, {40, 200}, [&](QPainter& p) { MeterExInst_Draw(&vu.meter, &p); });
}

struct Scope {
    tQMSCOPE scope;
    Scope(NullHost& host, const RECT& rect, uint32_t style) {
        ScopeInst_Init(&scope, style, &rect, &host, 1, 0);
    }
    ~Scope() { ScopeInst_Deinit(&scope); }
};

void ScopeUpdate(benchmark::State& state) {
    NullHost host;
    Scope s(host, {0, 0, 100, 100}, static_cast<uint32_t>(state.range(0)));
    const std::vector<float> music = Music();
    const SCOPESAMPLES samples{music.data(), kPairs, 0, 1, 2};
    Paint(state, {100, 100}, [&](QPainter& p) {
        ScopeInst_SetPos(&s.scope, &samples);
        ScopeInst_Draw(&s.scope, &p);
    });
}

/// The cloud as points that the painter draws, over a picture that it darkens.
void PlainScope(QPainter& p, const QRect& rect, const std::vector<float>& music) {
    p.fillRect(rect, QColor(0, 0, 0, 70));
    p.setPen(QColor(0, 165, 41));
    std::array<QPoint, kPairs> points;
    for (size_t i = 0; i < points.size(); i++)
        points[i] = rect.topLeft() +
                    QPoint(static_cast<int>((music[2 * i] + 1) / 2 * static_cast<float>(rect.width())),
                           static_cast<int>((1 - music[2 * i + 1]) / 2 * static_cast<float>(rect.height())));
    p.drawPoints(points.data(), kPairs);
}

void PlainScopeUpdate(benchmark::State& state) {
    const std::vector<float> music = Music();
    Paint(state, {100, 100}, [&](QPainter& p) { PlainScope(p, QRect(0, 0, 100, 100), music); });
}

/// A host that sets a value which is on the thumb's pixel already.
void ValueOnTheSamePixel(benchmark::State& state) {
    NullHost host;
    tQMFADER fader;
    const RECT rect{0, 0, 30, 200};
    FaderInst_Init(&fader, FADERS_VERTICAL | FADERS_TAPER, &rect, &host, 1, nullptr, 0, 1.0f);
    FaderInst_Message(&fader, FADERM_SETRANGE, 0,
                      static_cast<intptr_t>(PackWords(static_cast<uint32_t>(-720), 120)));
    FaderInst_Message(&fader, FADERM_SETPOS, 1, -500);
    host.invalidated = 0;
    int32_t value = -500;
    for (auto _ : state) FaderInst_Message(&fader, FADERM_SETPOS, 1, value ^= 1);
    state.counters["repaints"] = static_cast<double>(host.invalidated);
    FaderInst_Deinit(&fader);
}

constexpr LONG kStrip = 60;
constexpr int kStrips = 100;

float Level(int tick, int strip) { return 0.5f + 0.45f * static_cast<float>(std::sin(tick * 0.7 + strip)); }

void TickStrips(benchmark::State& state) {
    NullHost host;
    struct Strip {
        tQMMETER peak;
        Vu vu;
        Scope scope;
        Strip(NullHost& h, LONG x)
            : vu(h, {x + 20, 70, x + 40, 270}, 4),
              scope(h, {x, 0, x + kStrip - 2, 60}, SCOPES_XY | SCOPES_FAST) {
            const RECT rect{x, 70, x + 18, 270};
            MeterInst_Init(&peak, METERS_VERTICAL | METERS_HOLD_HIGH | METERS_UI_COLORS, &rect, &h, 1, 0, 0);
            MeterInst_Message(&peak, METERM_SETCHANNELS, 0, 2);
        }
        ~Strip() { MeterInst_Deinit(&peak); }
    };
    std::vector<std::unique_ptr<Strip>> strips;
    for (int i = 0; i < kStrips; i++) strips.push_back(std::make_unique<Strip>(host, i * kStrip));
    const std::vector<float> music = Music();
    const SCOPESAMPLES samples{music.data(), kPairs, 0, 1, 2};
    QImage image(kStrips * kStrip, 280, QImage::Format_RGB32);
    QPainter painter(&image);
    for (auto& s : strips) {
        MeterInst_Draw(&s->peak, &painter);
        MeterExInst_Draw(&s->vu.meter, &painter);
        ScopeInst_Draw(&s->scope.scope, &painter);
    }
    int tick = 0;
    for (auto _ : state) {
        host.now += 33;
        tick++;
        for (int i = 0; i < kStrips; i++) {
            Strip& s = *strips[static_cast<size_t>(i)];
            const float level = Level(tick, i);
            const int32_t levels[] = {static_cast<int32_t>(level * 32767),
                                      static_cast<int32_t>(level * 30000)};
            RECT changed;
            MeterInst_Message(&s.peak, METERM_SETLEVELS, PackWords(0, 2), reinterpret_cast<intptr_t>(levels));
            MeterInst_DrawChanges(&s.peak, &painter, &changed);
            s.vu.Set(level);
            MeterExInst_DrawChanges(&s.vu.meter, &painter, &changed);
            ScopeInst_SetPos(&s.scope.scope, &samples);
            ScopeInst_Draw(&s.scope.scope, &painter);
        }
    }
}

void PlainBar(QPainter& p, int x, float level) {
    QLinearGradient color(0, 270, 0, 70);
    color.setColorAt(0, Qt::darkGreen);
    color.setColorAt(0.8, Qt::yellow);
    color.setColorAt(1, Qt::red);
    const int top = 270 - static_cast<int>(level * 200);
    p.fillRect(QRect(x, 70, 8, top - 70), Qt::black);
    p.fillRect(QRect(x, top, 8, 270 - top), color);
    p.fillRect(QRect(x, std::max(top - 20, 70), 8, 2), Qt::white);
}

void PlainStrips(benchmark::State& state) {
    const std::vector<float> music = Music();
    QImage image(kStrips * kStrip, 280, QImage::Format_RGB32);
    QPainter painter(&image);
    int tick = 0;
    for (auto _ : state) {
        tick++;
        for (int i = 0; i < kStrips; i++) {
            const float level = Level(tick, i);
            for (const int x : {0, 9, 20, 30}) PlainBar(painter, i * kStrip + x, level);
            PlainScope(painter, QRect(i * kStrip, 0, kStrip - 2, 60), music);
        }
    }
}
}  // namespace

BENCHMARK(TrackbarPaint)->Unit(benchmark::kMicrosecond);
BENCHMARK(PanPaint)->Unit(benchmark::kMicrosecond);
BENCHMARK(MeterPaint)->Unit(benchmark::kMicrosecond);
BENCHMARK(MeterExPaint)->Unit(benchmark::kMicrosecond);
BENCHMARK(ScopeUpdate)
    ->ArgName("style")
    ->Arg(0)
    ->Arg(1)
    ->Arg(0x101)
    ->Arg(4)
    ->Arg(0x104)
    ->Arg(8)
    ->Arg(0x108)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(PlainScopeUpdate)->Name("plain/ScopeUpdate")->Unit(benchmark::kMicrosecond);
BENCHMARK(ValueOnTheSamePixel);
BENCHMARK(TickStrips)->Unit(benchmark::kMillisecond);
BENCHMARK(PlainStrips)->Name("plain/TickStrips")->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ApplyTheme(Theme::Dark);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
