// The pan pad as a window of its own.
#include "controls/control_window.h"
#include "controls/pan.h"
#include "controls/pan_point.h"
#include "controls/pan_track.h"
#include "kernel/lang/kernel_strings.h"

using namespace tarn;

namespace {
tQMPAN& P(void* record) { return *static_cast<tQMPAN*>(record); }
const tQMPAN& P(const void* record) { return *static_cast<const tQMPAN*>(record); }

void Report(tQMPAN* p, uint32_t, uintptr_t, uint32_t code, const double*, uint32_t, uintptr_t) {
    p->window->Send(WM_HSCROLL, PackWords(code, 0), reinterpret_cast<intptr_t>(p->window));
}

void InitPanWindow(void* record, uint32_t style, const RECT* rect, ControlHost* window, uint32_t id) {
    PanInst_Init(&P(record), style, rect, window, id, Report, 0);
    P(record).state &= ~PANST_INSTANCE;
}

// A slider has one value, which is x; the text tells both.
constexpr ControlFace kPanFace = {ControlFace::Kind::Slider,
                                  [] { return std::u16string(KernelText(KS_Control_Pan)); },
                                  [](const void* r) { return P(r).at.x; },
                                  [](const void*) { return -1.0; },
                                  [](const void*) { return 1.0; },
                                  [](const void*) { return 0.01; },
                                  [](const void* r) {
                                      return PanText({P(r).at.x, P(r).at.y});
                                  },
                                  [](void* r, double x) { PanSet(P(r), x, P(r).at.y, PAN_SET); }};
constexpr ControlClass kPanClass =
    ControlClassOf<tQMPAN, PanInst_Deinit, PanInst_Move, PanInst_Draw, PanInst_Message>(
        u"GUICS_Pan_Class", InitPanWindow, kPanFace, true);
}  // namespace

BOOL PanInitialize() { return RegisterControlClass(kPanClass); }
void PanTerminate() { UnregisterControlClass(kPanClass); }
