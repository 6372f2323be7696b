// The scope as a window of its own, and its functions on that window.
#include "controls/control_window.h"
#include "controls/scope.h"
#include "kernel/lang/kernel_strings.h"

using namespace tarn;

namespace {
void InitScopeWindow(void* record, uint32_t style, const RECT* rect, ControlHost* window, uint32_t id) {
    auto* scope = static_cast<tQMSCOPE*>(record);
    ScopeInst_Init(scope, style, rect, window, id, 0);
    scope->state &= ~SCOPEST_INSTANCE;
}

constexpr ControlFace kScopeFace = {ControlFace::Kind::Picture,
                                    [] { return std::u16string(KernelText(KS_Control_Scope)); },
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr,
                                    nullptr};
constexpr ControlClass kScopeClass =
    ControlClassOf<tQMSCOPE, ScopeInst_Deinit, ScopeInst_Move, ScopeInst_Draw, ScopeInst_Message>(
        u"GUICS_Scope_Class", InitScopeWindow, kScopeFace, false);

template <class Function, class... Arguments>
auto On(ControlWindow* window, Function function, Arguments... arguments) {
    using Result = decltype(function(nullptr, arguments...));
    tQMSCOPE* scope = RecordOf<tQMSCOPE>(window, kScopeClass);
    return scope ? function(scope, arguments...) : Result();
}
}  // namespace

BOOL ScopeInitialize() { return RegisterControlClass(kScopeClass); }
void ScopeTerminate() { UnregisterControlClass(kScopeClass); }

void QmScope_SetPos(ControlWindow* w, const SCOPESAMPLES* samples) { On(w, ScopeInst_SetPos, samples); }
void QmScope_SetRange(ControlWindow* w, uint32_t range) { On(w, ScopeInst_SetRange, range); }
uint32_t QmScope_SetStyle(ControlWindow* w, uint32_t bits, BOOL on) {
    return On(w, ScopeInst_SetStyle, bits, on);
}
void QmScope_SetColors(ControlWindow* w) { On(w, ScopeInst_SetColors); }
void QmScope_SetCount(ControlWindow* w, uint32_t count) { On(w, ScopeInst_SetCount, count); }
void QmScope_SetFade(ControlWindow* w, float fade) { On(w, ScopeInst_SetFade, fade); }
void QmScope_SetTicks(ControlWindow* w, uint32_t list, const float* ticks, uint32_t count) {
    On(w, ScopeInst_SetTicks, list, ticks, count);
}
BOOL QmScope_SetEnabled(ControlWindow* w, BOOL on) { return On(w, ScopeInst_SetEnabled, on); }
void QmScope_Reset(ControlWindow* w) { On(w, ScopeInst_Reset); }
uint32_t QmScope_GetStyle(ControlWindow* w) { return On(w, ScopeInst_GetStyle); }
uint32_t QmScope_GetCount(ControlWindow* w) { return On(w, ScopeInst_GetCount); }
