// tQMSCOPE: phase scope, pairs of stereo samples as a fading cloud of points, in four displays. A plain
// record that its owner embeds, feeds and paints; as a window it is "GUICS_Scope_Class", for which the
// QmScope_ functions are.
//
// Rectangles are logical pixels of the window; the plot is made in device pixels. All on the window's thread.
#pragma once

#include "controls/scope_plot.h"
#include "platform/types.h"
#include "platform/ui/messages.h"

class ControlWindow;
class QPainter;
struct ControlHost;

// Style: SCOPES_ of scope_plot.h. State:
inline constexpr uint32_t SCOPEST_ENABLED = 0x1, SCOPEST_INSTANCE = 0x8;

inline constexpr uint32_t SCOPEM_SETPOS = 1547,  ///< -; const SCOPESAMPLES*. Fades, plots, repaints
    SCOPEM_SETRANGE = 1548,                      ///< -; const uint32_t*, kept for the owner
    SCOPEM_SETTICKS = 1549,                      ///< -, count; const float*, places across, -1..1
    SCOPEM_SETTICKSUP = 1550,                    ///< -, count; const float*, places up, -1..1
    SCOPEM_GETSTYLE = 1551,
                          SCOPEM_CHANGESTYLE = 1552,  ///< bits; non-zero sets them, zero clears them
    SCOPEM_GETCOUNT = 1553,
                          SCOPEM_SETCOUNT = 1554,  ///< most points of an update, 0 for all; -
    SCOPEM_SETFADE = 1555,  ///< -; const float*. Its square root is the factor of an update
    SCOPEM_ENABLE = 1561,   ///< flag; -. Returns the flag from before
    SCOPEM_RESET = 1562;

inline constexpr uint32_t kScopeMaxTicks = 64;

struct tQMSCOPE {
    uint32_t style, state;
    ControlHost* window;  ///< never null
    uint32_t id;
    ControlHost* owner;
    uintptr_t userData;
    RECT client;
    uint32_t range;
    uint32_t count;
    float fade;
    const float* ticks[2];  ///< the caller's: across, up
    uint32_t tickCounts[2];
    ScopePlot* plot;  ///< null until the next paint or samples, and while there is no memory for it
};

extern "C" {
QM_API uint32_t ScopeInst_GetSize();
QM_API void ScopeInst_Init(tQMSCOPE* scope, uint32_t style, const RECT* rect, ControlHost* window,
                           uint32_t id, uintptr_t userData);
/// Gives the image back.
QM_API void ScopeInst_Deinit(tQMSCOPE* scope);
QM_API void ScopeInst_SetOwnerHwnd(tQMSCOPE* scope, ControlHost* owner);
/// Who moves a control repaints its place. The cloud starts anew at another size.
QM_API void ScopeInst_Move(tQMSCOPE* scope, const RECT* rect);
QM_API void ScopeInst_Draw(tQMSCOPE* scope, QPainter* painter);
QM_API intptr_t ScopeInst_Message(tQMSCOPE* scope, uint32_t message, uintptr_t wparam, intptr_t lparam);

QM_API void ScopeInst_SetPos(tQMSCOPE* scope, const SCOPESAMPLES* samples);
QM_API void ScopeInst_SetRange(tQMSCOPE* scope, uint32_t range);
QM_API uint32_t ScopeInst_SetStyle(tQMSCOPE* scope, uint32_t bits, BOOL on);
/// Paints with other colours of ui_colors.h: what the grid is drawn in.
QM_API void ScopeInst_SetColors(tQMSCOPE* scope);
QM_API void ScopeInst_SetCount(tQMSCOPE* scope, uint32_t count);
QM_API void ScopeInst_SetFade(tQMSCOPE* scope, float fade);
/// list 0 across, 1 up; null for the default.
QM_API void ScopeInst_SetTicks(tQMSCOPE* scope, uint32_t list, const float* ticks, uint32_t count);
QM_API BOOL ScopeInst_SetEnabled(tQMSCOPE* scope, BOOL on);
QM_API void ScopeInst_Reset(tQMSCOPE* scope);
QM_API uint32_t ScopeInst_GetStyle(tQMSCOPE* scope);
QM_API uint32_t ScopeInst_GetCount(tQMSCOPE* scope);

/// Registers the window class; 0 when that was done before.
QM_API BOOL ScopeInitialize();
QM_API void ScopeTerminate();

// The same on a window of that class; on any other nothing.
QM_API void QmScope_SetPos(ControlWindow* window, const SCOPESAMPLES* samples);
QM_API void QmScope_SetRange(ControlWindow* window, uint32_t range);
QM_API uint32_t QmScope_SetStyle(ControlWindow* window, uint32_t bits, BOOL on);
QM_API void QmScope_SetColors(ControlWindow* window);
QM_API void QmScope_SetCount(ControlWindow* window, uint32_t count);
QM_API void QmScope_SetFade(ControlWindow* window, float fade);
QM_API void QmScope_SetTicks(ControlWindow* window, uint32_t list, const float* ticks, uint32_t count);
QM_API BOOL QmScope_SetEnabled(ControlWindow* window, BOOL on);
QM_API void QmScope_Reset(ControlWindow* window);
QM_API uint32_t QmScope_GetStyle(ControlWindow* window);
QM_API uint32_t QmScope_GetCount(ControlWindow* window);
}
