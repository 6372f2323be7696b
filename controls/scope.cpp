#include "controls/scope.h"

#include "controls/scope_grid.h"
#include "kernel/color_math.h"
#include "kernel/ui/ui_colors.h"
#include "platform/guarded.h"
#include "platform/ui/control_host.h"
#include "platform/ui/paint.h"

#include <QImage>

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

using namespace tarn;

namespace {
// The plot is black in every theme, so its lines are a dark tone of their own.
constexpr uint32_t kGrid = 0x3C4440;

void Repaint(const tQMSCOPE& s) { s.window->Invalidate(s.client); }

// Made again in the size of the next paint.
void DropPlot(tQMSCOPE& s) {
    delete s.plot;
    s.plot = nullptr;
}

// False when there was no memory for it.
bool Fit(tQMSCOPE& s, int32_t width, int32_t height, double scale) {
    DropPlot(s);
    return Guarded([&] {
               auto plot = std::make_unique<ScopePlot>();
               // A frame of one pixel around the plot.
               plot->Resize(width, height, {1, 1, std::max(width - 1, 1), std::max(height - 1, 1)});
               plot->SetGrid(ScopeGrid(s, *plot, scale), kGrid);
               s.plot = plot.release();
               return S_OK;
           }) == S_OK;
}

void Regrid(tQMSCOPE& s) {
    DropPlot(s);
    Repaint(s);
}

HRESULT Draw(tQMSCOPE& s, QPainter& painter) {
    const DevicePixels device(painter);
    const QRect area = device.Map(s.client);
    const double scale = area.width() / static_cast<double>(s.client.Width());
    const bool fits = s.plot && s.plot->IsSize(area.width(), area.height());
    if (!fits && !Fit(s, area.width(), area.height(), scale)) return E_OUTOFMEMORY;
    const QImage image(reinterpret_cast<const uchar*>(s.plot->Pixels()), area.width(), area.height(),
                       static_cast<qsizetype>(area.width()) * 4, QImage::Format_RGB32);
    painter.drawImage(area.topLeft(), image);
    return S_OK;
}

uint32_t ChangeStyle(tQMSCOPE& s, uint32_t bits, bool on) {
    const uint32_t old = s.style;
    s.style = on ? s.style | bits : s.style & ~bits;
    if ((old ^ s.style) & ~SCOPES_FAST) Regrid(s);
    return LowWord(s.style);
}

void SetPos(tQMSCOPE& s, SCOPESAMPLES samples) {
    if (!(s.state & SCOPEST_ENABLED)) return;
    if (!s.plot && !Fit(s, s.client.Width(), s.client.Height(), 1)) return;
    if (s.count)
        samples.pairs = std::min(samples.pairs, static_cast<int32_t>(std::min(s.count, 0x7FFFFFFFu)));
    s.plot->Fade(s.fade);
    if (samples.samples) s.plot->Add(samples, s.style);
    Repaint(s);
}

void SetTicks(tQMSCOPE& s, size_t list, const float* ticks, uint32_t count) {
    s.ticks[list] = ticks;
    s.tickCounts[list] = ticks ? std::min(count, kScopeMaxTicks) : 0;
    Regrid(s);
}

BOOL Enable(tQMSCOPE& s, bool on) {
    const BOOL was = (s.state & SCOPEST_ENABLED) != 0;
    s.state = on ? s.state | SCOPEST_ENABLED : s.state & ~SCOPEST_ENABLED;
    return was;
}
}  // namespace

uint32_t ScopeInst_GetSize() { return sizeof(tQMSCOPE); }

void ScopeInst_Init(tQMSCOPE* s, uint32_t style, const RECT* rect, ControlHost* window, uint32_t id,
                    uintptr_t userData) {
    new (s) tQMSCOPE{};
    s->style = style;
    s->state = SCOPEST_ENABLED | SCOPEST_INSTANCE;
    s->window = window;
    s->id = id;
    s->userData = userData;
    s->client = *rect;
    s->fade = std::sqrt(0.5f);
}

void ScopeInst_Deinit(tQMSCOPE* s) { DropPlot(*s); }

void ScopeInst_SetOwnerHwnd(tQMSCOPE* s, ControlHost* owner) { s->owner = owner; }

void ScopeInst_Move(tQMSCOPE* s, const RECT* rect) {
    const bool sized = rect->Width() != s->client.Width() || rect->Height() != s->client.Height();
    s->client = *rect;
    if (sized) DropPlot(*s);
}

void ScopeInst_Draw(tQMSCOPE* s, QPainter* painter) {
    if (!s->client.IsEmpty()) Guarded([&] { return Draw(*s, *painter); });
}

intptr_t ScopeInst_Message(tQMSCOPE* scope, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    tQMSCOPE& s = *scope;
    const auto bits = static_cast<uint32_t>(wparam);
    switch (message) {
    case SCOPEM_SETPOS: return SetPos(s, *reinterpret_cast<const SCOPESAMPLES*>(lparam)), 0;
    case SCOPEM_SETRANGE: return s.range = *reinterpret_cast<const uint32_t*>(lparam), 0;
    case SCOPEM_SETTICKS:
    case SCOPEM_SETTICKSUP:
        return SetTicks(s, message - SCOPEM_SETTICKS, reinterpret_cast<const float*>(lparam),
                        HighWord(wparam)),
               0;
    case SCOPEM_GETSTYLE: return LowWord(s.style);
    case SCOPEM_CHANGESTYLE: return ChangeStyle(s, bits, lparam);
    case SCOPEM_GETCOUNT: return s.count;
    case SCOPEM_SETCOUNT: return s.count = bits, 0;
    case SCOPEM_SETFADE:
        return s.fade = std::sqrt(std::max(*reinterpret_cast<const float*>(lparam), 0.0f)), 0;
    case SCOPEM_ENABLE: return Enable(s, wparam);
    case WM_ENABLE: return Enable(s, wparam), 0;
    case SCOPEM_RESET:
        if (s.plot) s.plot->Clear();
        Repaint(s);
        return 0;
    default: return 0;
    }
}

void ScopeInst_SetPos(tQMSCOPE* s, const SCOPESAMPLES* samples) { SetPos(*s, *samples); }
void ScopeInst_SetRange(tQMSCOPE* s, uint32_t range) { s->range = range; }
uint32_t ScopeInst_SetStyle(tQMSCOPE* s, uint32_t bits, BOOL on) { return ChangeStyle(*s, bits, on); }
void ScopeInst_SetColors(tQMSCOPE* s) { Regrid(*s); }
void ScopeInst_SetCount(tQMSCOPE* s, uint32_t count) { s->count = count; }
void ScopeInst_SetFade(tQMSCOPE* s, float fade) {
    ScopeInst_Message(s, SCOPEM_SETFADE, 0, reinterpret_cast<intptr_t>(&fade));
}
void ScopeInst_SetTicks(tQMSCOPE* s, uint32_t list, const float* ticks, uint32_t count) {
    if (list < 2) SetTicks(*s, list, ticks, count);
}
BOOL ScopeInst_SetEnabled(tQMSCOPE* s, BOOL on) { return Enable(*s, on); }
void ScopeInst_Reset(tQMSCOPE* s) { ScopeInst_Message(s, SCOPEM_RESET, 0, 0); }
uint32_t ScopeInst_GetStyle(tQMSCOPE* s) { return LowWord(s->style); }
uint32_t ScopeInst_GetCount(tQMSCOPE* s) { return s->count; }
