#include "controls/pan.h"

#include "controls/pan_draw.h"
#include "controls/pan_point.h"
#include "controls/pan_track.h"
#include "kernel/ui/ui_colors.h"
#include "platform/text.h"
#include "platform/ui/control_host.h"

#include <algorithm>
#include <bit>
#include <new>

using namespace tarn;

namespace {
constexpr uint32_t kAllSpeakers = (1u << kPanSpeakers) - 1;

// Everything has another place, or another look.
void Relayout(tQMPAN& p) {
    PanLayout(p);
    FreePanPicture(p);
    p.window->Invalidate(p.client);
}

void SetBit(tQMPAN& p, uint32_t& word, uint32_t bit, bool on) {
    word = on ? word | bit : word & ~bit;
    Relayout(p);
}

void SetChannels(tQMPAN& p, uint32_t mask) {
    p.at.channelsMask = mask & kAllSpeakers;
    p.channelCount = static_cast<uint32_t>(std::popcount(p.at.channelsMask));
    p.focusSpeaker = 0;
    Relayout(p);
}

void SetMask(tQMPAN& p, uint32_t& mask, intptr_t value) {
    mask = static_cast<uint32_t>(value) & kAllSpeakers;
    FreePanPicture(p);
    p.window->Invalidate(p.client);
}

void KeepInField(tQMPAN& p) {
    const PanPoint point = PanInField(p, {p.at.x, p.at.y});
    p.at.x = point.x;
    p.at.y = point.y;
}

void SetCircular(tQMPAN& p, bool on) {
    SetBit(p, p.style, PANS_CIRCULAR, on);
    KeepInField(p);
}

void SetState(tQMPAN& p, const PANSTATE& state, bool relayout) {
    p.at = state;
    KeepInField(p);
    p.at.channelsMask &= kAllSpeakers;
    p.channelCount = static_cast<uint32_t>(std::popcount(p.at.channelsMask));
    if (relayout) return Relayout(p);
    FreePanPicture(p);
    p.window->Invalidate(p.client);
}

bool ModeMutes(const tQMPAN& p) { return p.state & PANST_SKIN && p.at.panMode; }

PANSTATE Audible(const tQMPAN& p) {
    PANSTATE state = p.at;
    state.channelsMask &= ~(ModeMutes(p) ? p.at.modeMuteMask : p.at.muteMask);
    return state;
}

void SetAudible(tQMPAN& p, PANSTATE state) {
    const uint32_t channels = p.at.channelsMask, muted = channels & ~state.channelsMask;
    state.channelsMask = channels;
    p.at.panMode = state.panMode;
    (ModeMutes(p) ? state.modeMuteMask : state.muteMask) = muted;
    SetState(p, state, false);
}

void SetSkin(tQMPAN& p, const PANSKIN* skin) {
    p.skin = skin ? *skin : PANSKIN{};
    p.state &= ~(PANST_SKIN | PANST_SKIN_STRETCHED | PANST_SKIN_NO_SPEAKERS | PANST_BACKGROUND);
    if (skin) {
        p.state |= PANST_SKIN;
        if (skin->options & PANSKIN_STRETCHED) p.state |= PANST_SKIN_STRETCHED;
        if (skin->options & PANSKIN_NO_SPEAKERS) p.state |= PANST_SKIN_NO_SPEAKERS;
        if (skin->background) p.state |= PANST_BACKGROUND;
    }
    Relayout(p);
}

intptr_t GetValues(const tQMPAN& p, uint32_t which, double* out) {
    const double values[] = {p.at.x, p.at.y};
    if (which == 0) return std::copy_n(values, 2, out), 2;
    if (which > 2) return 0;
    *out = values[which - 1];
    return 1;
}

intptr_t Control(tQMPAN& p, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    switch (message) {
    case PANM_GETVALUES: return GetValues(p, HighWord(wparam), reinterpret_cast<double*>(lparam));
    case PANM_GETSTATE: return *reinterpret_cast<PANSTATE*>(lparam) = p.at, 1;
    case PANM_SETSTATE: return SetState(p, *reinterpret_cast<const PANSTATE*>(lparam), wparam), 1;
    case PANM_GETMUTE: return p.at.muteMask;
    case PANM_SETMUTE: return SetMask(p, p.at.muteMask, lparam), 0;
    case PANM_GETCHANNELS: return p.at.channelsMask;
    case PANM_SETCHANNELS: return SetChannels(p, static_cast<uint32_t>(lparam)), 0;
    case PANM_GETTEXT:
        return static_cast<intptr_t>(
            CopyText(reinterpret_cast<char16_t*>(lparam), wparam, PanText({p.at.x, p.at.y}).c_str()));
    case PANM_GETMODEMUTE: return p.at.modeMuteMask;
    case PANM_SETMODEMUTE: return SetMask(p, p.at.modeMuteMask, lparam), 0;
    case PANM_GETAUDIBLE: return *reinterpret_cast<PANSTATE*>(lparam) = Audible(p), 1;
    case PANM_SETAUDIBLE: return SetAudible(p, *reinterpret_cast<const PANSTATE*>(lparam)), 1;
    case PANM_SETSKIN: return SetSkin(p, reinterpret_cast<const PANSKIN*>(lparam)), 0;
    case PANM_GETLOCK: return p.at.lock;
    case PANM_SETLOCK: return p.at.lock = lparam >= 0 && lparam <= 2 ? static_cast<uint32_t>(lparam) : 0, 0;
    case PANM_SETCIRCULAR: return SetCircular(p, lparam), 0;
    case PANM_SETGRID: return SetBit(p, p.style, PANS_GRID, lparam), 0;
    case PANM_FREEZE: return SetBit(p, p.state, PANST_FROZEN, lparam == 0), 0;
    case PANM_SHOWMARKER:
        p.marker = static_cast<int32_t>(lparam);
        return SetBit(p, p.style, PANS_MARKER, wparam), 0;
    case PANM_SETMARKER:
        p.marker = static_cast<int32_t>(lparam);
        p.window->Invalidate(p.client);
        return 0;
    default: return 0;
    }
}
}  // namespace

uint32_t PanInst_GetSize() { return sizeof(tQMPAN); }

void PanInst_Init(tQMPAN* p, uint32_t style, const RECT* rect, ControlHost* window, uint32_t id,
                  PANPROC callback, uintptr_t userData) {
    new (p) tQMPAN{};
    p->style = style;
    p->state = PANST_INSTANCE | (QmIsHighColorDisplay() ? PANST_HIGH_COLOR : 0);
    p->window = window;
    p->id = id;
    p->callback = callback;
    p->userData = userData;
    p->client = *rect;
    p->focusSpeaker = -1;
    PanLayout(*p);
}

void PanInst_Deinit(tQMPAN* p) {
    PanEndDrag(*p);
    FreePanPicture(*p);
}

void PanInst_GetMinSize(const tQMPAN*, SIZE* size) { *size = {24, 24}; }
void PanInst_SetId(tQMPAN* p, uint32_t id) { p->id = id; }
void PanInst_SetOwnerHwnd(tQMPAN* p, ControlHost* owner) { p->owner = owner; }

void PanInst_Move(tQMPAN* p, const RECT* rect) {
    if (p->client == *rect) return;
    p->client = *rect;
    PanLayout(*p);
    FreePanPicture(*p);
}

intptr_t PanInst_Message(tQMPAN* p, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    const bool own = message >= PANM_GETVALUES && message <= PANM_SETMARKER;
    return own ? Control(*p, message, wparam, lparam) : PanTrack(*p, message, wparam, lparam);
}
