#include "controls/fader.h"

#include "controls/fader_layout.h"
#include "controls/fader_track.h"
#include "controls/game_controller.h"
#include "platform/ui/control_host.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <new>

namespace {
int32_t ThumbLength(const tQMFADER& f, int32_t length) {
    return static_cast<int32_t>(std::floor(static_cast<float>(length) * f.interfaceScale));
}

// State bits that follow from the style.
constexpr struct {
    uint32_t style, state;
} kDerived[] = {
    {FADERS_VERTICAL, FADERST_VERTICAL}, {FADERS_STEREO, FADERST_STEREO},     {FADERS_TAPER, FADERST_TAPER},
    {FADERS_COMMANDS, FADERST_COMMANDS}, {FADERS_DISABLED, FADERST_DISABLED},
};

bool IsOneSided(uint32_t style) { return (style & FADERS_ONE_SIDED) == FADERS_ONE_SIDED; }

void DeriveState(tQMFADER& f) {
    uint32_t& state = f.state;
    if (f.style & FADERS_STEREO) f.style |= FADERS_SELF_KEYS;
    for (const auto& row : kDerived) state = f.style & row.style ? state | row.state : state & ~row.state;
    f.channels = f.style & FADERS_STEREO ? 2 : 1;
    f.scale.taper = f.style & FADERS_TAPER;
}

void SetMask(tQMFADER& f, uint32_t mask) {
    mask &= FaderAllChannels(f);
    f.channelMask = mask ? mask : 1;
    f.activeChannel = static_cast<uint32_t>(std::countr_zero(f.channelMask));
}

bool SetFlag(tQMFADER& f, uint32_t bit, bool on) {
    const bool was = f.state & bit;
    f.state = on ? f.state | bit : f.state & ~bit;
    return was;
}

uint32_t ChangeStyle(tQMFADER& f, uint32_t style) {
    const uint32_t channels = f.channels;
    if (IsOneSided(style) != IsOneSided(f.style)) SetFlag(f, FADERST_ONE_SIDED, IsOneSided(style));
    f.style = style;
    DeriveState(f);
    if (f.channels != channels) SetMask(f, FaderAllChannels(f));
    FaderLayout(f);
    FaderRepaint(f);
    return LowWord(f.style);
}

int32_t Clamped(const tQMFADER& f, int32_t value) {
    return std::clamp(value, f.scale.min, std::max(f.scale.min, f.scale.max));
}

void SetRange(tQMFADER& f, int32_t min, int32_t max, bool redraw) {
    f.scale.min = min;
    f.scale.max = max;
    f.scale.Update();
    const bool bipolar = min < 0 && max >= 0;
    f.def = Clamped(f, !bipolar ? static_cast<int32_t>((int64_t{min} + max) / 2) : max == 0 ? min : 0);
    FaderLayout(f);
    if (redraw) FaderRepaint(f);
}

void Setup(tQMFADER& f, const FADERSETUP& s) {
    ChangeStyle(f, (f.style & ~s.styleMask) | (s.style & s.styleMask));
    SetRange(f, s.min, s.max, false);
    f.def = Clamped(f, s.def);
    f.line = s.line ? s.line : 1;
    f.page = s.page;
    if (s.values) std::copy_n(s.values, f.channels, f.pos);
    FaderPlaceThumbs(f);
    FaderRepaint(f);
}

void SetValues(tQMFADER& f, uintptr_t wparam, intptr_t lparam) {
    const uint32_t which = HighWord(wparam);
    if (which == 0)
        std::copy_n(reinterpret_cast<const int32_t*>(lparam), f.channels, f.pos);
    else if (which <= f.channels)
        f.pos[which - 1] = static_cast<int32_t>(lparam);
    if (LowWord(wparam))
        FaderShowValues(f);
    else
        FaderPlaceThumbs(f);
}

intptr_t GetValues(tQMFADER& f, uintptr_t wparam, intptr_t lparam) {
    const uint32_t which = HighWord(wparam);
    if (which) return which <= f.channels ? f.pos[which - 1] : 0;
    std::copy_n(f.pos, f.channels, reinterpret_cast<int32_t*>(lparam));
    return f.pos[0];
}

intptr_t ReplaceTicks(tQMFADER& f, uint32_t count, const int32_t* list) {
    const int32_t* previous = f.ticks;
    f.ticks = list;
    f.tickCount = list ? std::min(count, kFaderMaxTicks) : 0;
    FaderRepaint(f);
    return reinterpret_cast<intptr_t>(previous);
}

intptr_t GetTicks(const tQMFADER& f, uint32_t* count) {
    const std::span<const int32_t> list = FaderTickList(f);
    if (count) *count = static_cast<uint32_t>(list.size());
    return reinterpret_cast<intptr_t>(list.data());
}

intptr_t SetPosition(tQMFADER& f, int32_t value, bool redraw) {
    SetValues(f, PackWords(redraw, 1), value);
    return f.pos[0];
}

intptr_t SetStereo(tQMFADER& f, bool on) {
    ChangeStyle(f, on ? f.style | FADERS_STEREO : f.style & ~FADERS_STEREO);
    return f.state;
}

intptr_t Control(tQMFADER& f, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    const auto value = static_cast<int32_t>(lparam);
    const auto words = static_cast<uintptr_t>(lparam);
    const auto bits = static_cast<uint32_t>(wparam);
    switch (message) {
    case FADERM_GETPOS: return f.pos[0];
    case FADERM_GETMIN: return f.scale.min;
    case FADERM_GETMAX: return f.scale.max;
    case FADERM_SETRANGE: return SetRange(f, SignedLowWord(words), SignedHighWord(words), wparam), 0;
    case FADERM_SETMIN: return SetRange(f, value, f.scale.max, wparam), 0;
    case FADERM_SETMAX: return SetRange(f, f.scale.min, value, wparam), 0;
    case FADERM_SETPOS: return SetPosition(f, value, wparam);
    case FADERM_SETDEFAULT: return f.def = Clamped(f, value);
    case FADERM_SETFOCUSRECT: return SetFlag(f, FADERST_FOCUS_RECT, lparam);
    case FADERM_SETUSERDATA: return f.userData = words, 0;
    case FADERM_GETUSERDATA: return static_cast<intptr_t>(f.userData);
    case FADERM_SETUP: return Setup(f, *reinterpret_cast<const FADERSETUP*>(lparam)), 0;
    case FADERM_SETCHANNELMASK: return SetMask(f, static_cast<uint32_t>(lparam)), 0;
    case FADERM_SETVALUES: return SetValues(f, wparam, lparam), 0;
    case FADERM_GETVALUES: return GetValues(f, wparam, lparam);
    case FADERM_SETGANG: return SetFlag(f, FADERST_GANG_INVERTED, lparam);
    case FADERM_GETGANG: return (f.state & FADERST_GANG_INVERTED) != 0;
    case FADERM_SETNOHALFGANG: return SetFlag(f, FADERST_NO_HALF_GANG, lparam);
    case FADERM_GETNOHALFGANG: return (f.state & FADERST_NO_HALF_GANG) != 0;
    case FADERM_SETTHUMBIMAGES:
        FaderInst_SetThumbImageList(&f, reinterpret_cast<const ImageList*>(wparam),
                                    reinterpret_cast<const SIZE*>(lparam));
        return 0;
    case FADERM_GETSTYLE: return LowWord(f.style);
    case FADERM_CHANGESTYLE: return ChangeStyle(f, lparam ? f.style | bits : f.style & ~bits);
    case FADERM_SETTICKS: return ReplaceTicks(f, bits, reinterpret_cast<const int32_t*>(lparam));
    case FADERM_GETTICKS: return GetTicks(f, reinterpret_cast<uint32_t*>(lparam));
    case FADERM_REPLACESTYLE: return ChangeStyle(f, (f.style & ~static_cast<uint32_t>(lparam)) | bits);
    case FADERM_SETSTEREO: return SetStereo(f, lparam);
    default: return 0;
    }
}
}  // namespace

uint32_t FaderInst_GetSize() { return sizeof(tQMFADER); }

void FaderInst_Init(tQMFADER* f, uint32_t style, const RECT* rect, ControlHost* window, uint32_t id,
                    FADERSCROLLPROC scrollProc, uintptr_t userData, float scale) {
    new (f) tQMFADER{};
    const bool hasScale = style & FADERS_SCALE;
    f->style = hasScale ? (style & ~FADERS_SCALE) | FADERS_TICKS : style;
    f->state = FADERST_INSTANCE | FADERST_DRAWN_THUMB;
    if (IsOneSided(style) || (hasScale && style & FADERS_LABELS)) f->state |= FADERST_ONE_SIDED;
    f->client = *rect;
    f->window = window;
    f->id = id;
    f->scrollProc = scrollProc;
    f->userData = userData;
    f->interfaceScale = scale;
    f->def = f->pos[0] = f->pos[1] = 50;
    f->line = 1;
    f->dragPart = FADER_NOWHERE;
    f->thumbLength = ThumbLength(*f, 18);
    f->lastMouse = {-1, -1};
    DeriveState(*f);
    f->channelMask = FaderAllChannels(*f);
    f->scale.Update();
    FaderLayout(*f);
}

void FaderInst_Deinit(tQMFADER* f) {
    if (f->dragPart != FADER_NOWHERE) FaderEndDrag(*f);
    if (f->state & FADERST_FOCUSED) FaderInst_Message(f, WM_KILLFOCUS, 0, 0);
}

void FaderInst_GetMinSize(tQMFADER* f, SIZE* size) {
    if (f->state & FADERST_DRAWN_THUMB) f->thumbLength = ThumbLength(*f, 18);
    *size = FaderMinSize(*f);
}

void FaderInst_SetId(tQMFADER* f, uint32_t id) { f->id = id; }
void FaderInst_SetScrollProc(tQMFADER* f, FADERSCROLLPROC scrollProc) { f->scrollProc = scrollProc; }
void FaderInst_SetOwnerHwnd(tQMFADER* f, ControlHost* owner) { f->owner = owner; }
BOOL FaderInst_IsStereo(const tQMFADER* f) { return f->channels == 2; }

void FaderInst_Move(tQMFADER* f, const RECT* rect) {
    if (f->client == *rect) return;
    f->client = *rect;
    FaderLayout(*f);
}

void FaderInst_SetThumbImageList(tQMFADER* f, const ImageList* images, const SIZE* size) {
    FaderSetThumb(*f, images, nullptr, images ? *size : SIZE{});
}

void FaderSetThumb(tQMFADER& f, const ImageList* images, const QPixmap* bitmap, SIZE size) {
    const bool drawn = !images && !bitmap;
    const bool same = f.thumbImageSize.cx == size.cx && f.thumbImageSize.cy == size.cy;
    if (!drawn && same && f.thumbImages == images && f.thumbBitmap == bitmap) return;
    f.thumbImages = images;
    f.thumbBitmap = bitmap;
    f.thumbImageSize = drawn ? SIZE{} : size;
    f.thumbLength = drawn ? ThumbLength(f, 20) : f.state & FADERST_VERTICAL ? size.cy : size.cx;
    SetFlag(f, FADERST_BITMAP, bitmap);
    SetFlag(f, FADERST_DRAWN_THUMB, drawn);
    FaderLayout(f);
    FaderRepaint(f);
}

int32_t FaderInst_DefScrollProc(tQMFADER* f, uint32_t code, int32_t line, int32_t page) {
    FaderScroll(*f, code, line, page);
    return f->pos[f->activeChannel];
}

intptr_t FaderInst_Message(tQMFADER* f, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    if (message < WM_USER) return FaderTrack(*f, message, wparam, lparam);
    if (IsControllerMessage(message)) return FaderControl(*f, message, wparam, lparam);
    return Control(*f, message, wparam, lparam);
}
