// The scope as a window of its own, and its functions on that window.
#include "controls/control_window.h"
#include "controls/scope.h"
#include "kernel/lang/kernel_strings.h"

namespace {
tQMSCOPE& S(void* record) { return *static_cast<tQMSCOPE*>(record); }

constexpr ControlClass kClass = {
    u"GUICS_Scope_Class",
    ScopeInst_GetSize,
    [](void* r, uint32_t style, const RECT* rect, ControlHost* window, uint32_t id) {
        ScopeInst_Init(&S(r), style, rect, window, id, 0);
        S(r).state &= ~SCOPEST_INSTANCE;
    },
    [](void* r) { ScopeInst_Deinit(&S(r)); },
    [](void* r, const RECT* rect) { ScopeInst_Move(&S(r), rect); },
    [](void* r, QPainter* painter) { ScopeInst_Draw(&S(r), painter); },
    nullptr,
    [](void* r, uint32_t message, uintptr_t wparam, intptr_t lparam) {
        return ScopeInst_Message(&S(r), message, wparam, lparam);
    },
    false,
    {ControlFace::Kind::Picture, [] { return std::u16string(KernelText(KS_Control_Scope)); }, nullptr,
     nullptr, nullptr, nullptr, nullptr, nullptr},
};

template <class Function, class... Arguments>
auto On(ControlWindow* window, Function function, Arguments... arguments) {
    using Result = decltype(function(nullptr, arguments...));
    tQMSCOPE* scope = RecordOf<tQMSCOPE>(window, kClass);
    return scope ? function(scope, arguments...) : Result();
}
}  // namespace

BOOL ScopeInitialize() { return RegisterControlClass(kClass); }
void ScopeTerminate() { UnregisterControlClass(kClass); }

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
