// The fader as a window of its own.
#include "controls/control_window.h"
#include "controls/fader.h"
#include "controls/fader_track.h"
#include "controls/number_text.h"
#include "kernel/lang/kernel_strings.h"

#include <cmath>

using namespace tarn;

namespace {
tQMFADER& F(void* record) { return *static_cast<tQMFADER*>(record); }
const tQMFADER& F(const void* record) { return *static_cast<const tQMFADER*>(record); }

void Report(tQMFADER* f, uint32_t, uintptr_t, uint32_t code, const int32_t*, uint32_t) {
    f->window->Send(f->state & FADERST_VERTICAL ? WM_VSCROLL : WM_HSCROLL, PackWords(code, 0),
                    reinterpret_cast<intptr_t>(f->window));
}

void InitFaderWindow(void* record, uint32_t style, const RECT* rect, ControlHost* window, uint32_t id) {
    FaderInst_Init(static_cast<tQMFADER*>(record), style, rect, window, id, Report, 0, 1.0f);
    F(record).state &= ~FADERST_INSTANCE;
}

// The values of a tapered fader are tenths of a decibel.
double Unit(const tQMFADER& f) { return f.scale.taper ? 0.1 : 1; }
double Active(const void* record) { return F(record).pos[F(record).activeChannel] * Unit(F(record)); }

constexpr ControlFace kFaderFace = {
    ControlFace::Kind::Slider,
    [] { return std::u16string(KernelText(KS_Control_Fader)); },
    Active,
    [](const void* r) { return F(r).scale.min * Unit(F(r)); },
    [](const void* r) { return F(r).scale.max * Unit(F(r)); },
    [](const void* r) { return Unit(F(r)); },
    [](const void* r) {
        return F(r).scale.taper ? NumberText(Active(r)) + u" dB" : NumberText(Active(r), u"$.0f");
    },
    [](void* r, double value) {
        FaderSetByUser(F(r), static_cast<int32_t>(std::lround(value / Unit(F(r)))));
    }};
constexpr ControlClass kFaderClass =
    ControlClassOf<tQMFADER, FaderInst_Deinit, FaderInst_Move, FaderInst_Draw, FaderInst_Message>(
        u"GUICS_Fader_Class", InitFaderWindow, kFaderFace, true);
}  // namespace

BOOL FaderInitialize() { return RegisterControlClass(kFaderClass); }
void FaderTerminate() { UnregisterControlClass(kFaderClass); }

int32_t Fader_DefScrollProc(uintptr_t, uint32_t code, ControlWindow* window, int32_t line, int32_t page) {
    tQMFADER* fader = RecordOf<tQMFADER>(window, kFaderClass);
    return fader ? FaderInst_DefScrollProc(fader, code, line, page) : 0;
}
