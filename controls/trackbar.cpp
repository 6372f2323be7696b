#include "controls/trackbar.h"

#include "controls/control_window.h"
#include "controls/fader_draw.h"
#include "controls/fader_track.h"
#include "controls/number_text.h"
#include "kernel/lang/kernel_strings.h"
#include "kernel/ui/ui_colors.h"
#include "kernel/ui/ui_edge.h"
#include "platform/ui/control_host.h"
#include "platform/ui/keys.h"
#include "platform/ui/paint.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <new>

using namespace tarn;

namespace {
constexpr LONG kBorder = 2;

bool IsVertical(const tQMTRACKBAR& t) { return t.slider.state & FADERST_VERTICAL; }

// The slider speaks of larger and smaller, a trackbar of up and down or left and right.
uint32_t Swapped(const tQMTRACKBAR& t, uint32_t code) {
    return IsVertical(t) || code > FADER_PAGE_DOWN ? code : code ^ 1;
}

void Report(tQMTRACKBAR& t, uint32_t code) {
    if (t.scrollProc) t.scrollProc(&t, t.slider.id, t.slider.userData, code, t.slider.pos[0]);
}

void OnSlider(tQMFADER* slider, uint32_t, uintptr_t, uint32_t code, const int32_t*, uint32_t) {
    static_assert(offsetof(tQMTRACKBAR, slider) == 0);
    auto& t = *reinterpret_cast<tQMTRACKBAR*>(slider);
    Report(t, Swapped(t, code));
}

void SetValue(tQMTRACKBAR& t, int32_t value, bool clamp) {
    const FaderScale& scale = t.slider.scale;
    t.slider.pos[0] = clamp ? std::clamp(value, scale.min, std::max(scale.min, scale.max)) : value;
    FaderShowValues(t.slider);
}

int32_t Stepped(uint32_t code, int32_t value, int32_t min, int32_t max, int32_t line, int32_t page,
                bool vertical, bool control) {
    const int64_t range = int64_t{max} - min, highest = std::max(min, max);
    const int64_t pages = (page ? page : std::max<int64_t>((range + 5) / 10, 1)) * (control ? 10 : 1);
    const int64_t sign = vertical ? 1 : -1;
    int64_t result = value;
    switch (code) {
    case FADER_LINE_UP: result += sign * line; break;
    case FADER_LINE_DOWN: result -= sign * line; break;
    case FADER_PAGE_UP: result += sign * pages; break;
    case FADER_PAGE_DOWN: result -= sign * pages; break;
    case FADER_TOP: result = vertical ? max : min; break;
    case FADER_BOTTOM: result = vertical ? min : max; break;
    default: break;
    }
    return static_cast<int32_t>(std::clamp<int64_t>(result, min, highest));
}

int32_t Scrolled(const tQMTRACKBAR& t, uint32_t code, int32_t line, int32_t page, bool control) {
    const FaderScale& scale = t.slider.scale;
    return Stepped(code, t.slider.pos[0], scale.min, scale.max, line, page, IsVertical(t), control);
}

void Scroll(tQMTRACKBAR& t, uint32_t code) {
    if (t.slider.style & FADERS_SELF_KEYS)
        SetValue(t, Scrolled(t, code, t.slider.line, t.slider.page, t.slider.window->IsKeyDown(VK_CONTROL)),
                 true);
    Report(t, code);
}

bool IsIdle(const tQMTRACKBAR& t) {
    return t.slider.dragPart == FADER_NOWHERE && !(t.slider.state & (FADERST_DISABLED | FADERST_TOO_SMALL));
}

struct ScrollKeyRow {
    uint32_t key, vertical, horizontal;
};
constexpr ScrollKeyRow kScrollKeys[] = {
    {VK_PRIOR, FADER_PAGE_UP, FADER_PAGE_DOWN},   {VK_NEXT, FADER_PAGE_DOWN, FADER_PAGE_UP},
    {VK_END, FADER_BOTTOM, FADER_BOTTOM},         {VK_HOME, FADER_TOP, FADER_TOP},
    {VK_LEFT, FADER_LINE_UP, FADER_LINE_UP},      {VK_F3, FADER_LINE_UP, FADER_LINE_UP},
    {VK_RIGHT, FADER_LINE_DOWN, FADER_LINE_DOWN}, {VK_F9, FADER_LINE_DOWN, FADER_LINE_DOWN},
    {VK_UP, FADER_LINE_UP, FADER_LINE_DOWN},      {VK_DOWN, FADER_LINE_DOWN, FADER_LINE_UP},
};

// True when the key is one of the trackbar's own.
bool KeyDown(tQMTRACKBAR& t, uint32_t key) {
    const auto* row = std::ranges::find(kScrollKeys, key, &ScrollKeyRow::key);
    if (row == std::end(kScrollKeys)) return false;
    if (IsIdle(t)) Scroll(t, IsVertical(t) ? row->vertical : row->horizontal);
    return true;
}

intptr_t Wheel(tQMTRACKBAR& t, int32_t counts, bool control) {
    if (counts == 0 || !IsIdle(t)) return 0;
    // Away from the user is up, or to the right.
    const bool up = (counts > 0) == IsVertical(t);
    const uint32_t code =
        control ? (up ? FADER_LINE_UP : FADER_LINE_DOWN) : (up ? FADER_PAGE_UP : FADER_PAGE_DOWN);
    const int32_t notches = std::max(std::abs(counts) / WHEEL_DELTA, 1);
    for (int32_t i = 0; i < notches; i++) {
        // Ctrl has chosen lines here; it does not make pages of them larger.
        if (t.slider.style & FADERS_SELF_KEYS)
            SetValue(t, Scrolled(t, code, t.slider.line, t.slider.page, false), true);
        Report(t, code);
    }
    Report(t, FADER_END);
    return FADER_WHEEL_USED;
}

void SetMark(tQMTRACKBAR& t, uint32_t bit, bool on) {
    t.state = on ? t.state | bit : t.state & ~bit;
    t.slider.window->Invalidate(t.client);
}

RECT Inside(const tQMTRACKBAR& t) {
    if (t.slider.style & TRACKBARS_NO_BORDER) return t.client;
    return {t.client.left + kBorder, t.client.top + kBorder, t.client.right - kBorder,
            t.client.bottom - kBorder};
}
}  // namespace

uint32_t TrackbarInst_GetSize() { return sizeof(tQMTRACKBAR); }

void TrackbarInst_Init(tQMTRACKBAR* t, uint32_t style, const RECT* rect, ControlHost* window, uint32_t id,
                       TRACKBARSCROLLPROC scrollProc, uintptr_t userData, float scale) {
    new (t) tQMTRACKBAR{};
    t->client = *rect;
    t->scrollProc = scrollProc;
    // A pair of thumbs, a taper and labels are the fader's alone.
    constexpr uint32_t kTaken = FADERS_VERTICAL | FADERS_NO_FOCUS | FADERS_TICKS | FADERS_UI_COLORS |
                                FADERS_SELF_KEYS | FADERS_COMMANDS | FADERS_DISABLED;
    FaderInst_Init(&t->slider, style & kTaken, rect, window, id, OnSlider, userData, scale);
    TrackbarInst_Move(t, rect);
}

void TrackbarInst_Deinit(tQMTRACKBAR* t) { FaderInst_Deinit(&t->slider); }

void TrackbarInst_GetMinSize(tQMTRACKBAR* t, SIZE* size) {
    FaderInst_GetMinSize(&t->slider, size);
    const LONG border = t->slider.style & TRACKBARS_NO_BORDER ? 0 : 2 * kBorder;
    *size = {size->cx + border, size->cy + border};
}

void TrackbarInst_GetThumbRect(const tQMTRACKBAR* t, RECT* rect) { *rect = t->slider.thumbs[0].rect; }
void TrackbarInst_SetId(tQMTRACKBAR* t, uint32_t id) { t->slider.id = id; }
void TrackbarInst_SetOwnerHwnd(tQMTRACKBAR* t, ControlHost* owner) { t->slider.owner = owner; }

void TrackbarInst_Move(tQMTRACKBAR* t, const RECT* rect) {
    t->client = *rect;
    const RECT inside = Inside(*t);
    FaderInst_Move(&t->slider, &inside);
}

void TrackbarInst_Draw(const tQMTRACKBAR* t, QPainter* painter) {
    if (t->client.IsEmpty()) return;
    if (!(t->slider.style & TRACKBARS_NO_BORDER))
        QmDrawEdge(*painter, t->client, EDGE_SUNKEN_OUTER, SIDE_ALL | EDGE_SOFT);
    if (!(t->state & TRACKBARST_NO_CENTRE)) FaderDrawMark(t->slider, *painter, t->slider.def, COLOR_GRAYTEXT);
    FaderInst_Draw(&t->slider, painter);
    if (t->state & TRACKBARST_MARKED) QmDrawOutline(*painter, t->slider.thumbs[0].rect, COLOR_HIGHLIGHT, 1);
}

void TrackbarInst_DrawThumb(const tQMTRACKBAR* t, QPainter* painter) {
    FaderInst_DrawThumb(&t->slider, painter, 0);
}

const QPixmap* TrackbarInst_SetThumbBitmap(tQMTRACKBAR* t, const QPixmap* bitmap) {
    return FaderInst_SetThumbBitmap(&t->slider, bitmap);
}

void TrackbarInst_SetThumbImageList(tQMTRACKBAR* t, const ImageList* images, const SIZE* size) {
    FaderInst_SetThumbImageList(&t->slider, images, size);
}

int32_t TrackbarInst_DefScrollProc(uint32_t code, int32_t value, int32_t min, int32_t max, int32_t line,
                                   int32_t page, BOOL vertical) {
    return Stepped(code, value, min, max, line, page, vertical, IsVirtualKeyDown(VK_CONTROL));
}

intptr_t TrackbarInst_Message(tQMTRACKBAR* trackbar, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    tQMTRACKBAR& t = *trackbar;
    switch (message) {
    case WM_KEYDOWN:
        if (KeyDown(t, static_cast<uint32_t>(wparam))) return 0;
        break;
    case WM_MOUSEWHEEL: return Wheel(t, SignedHighWord(wparam), LowWord(wparam) & MK_CONTROL);
    case TRACKBARM_SETPOS: SetValue(t, static_cast<int32_t>(lparam), wparam); return t.slider.pos[0];
    case TRACKBARM_SETWORD: t.word = lparam; return 0;
    case TRACKBARM_GETSIZES: {
        const RECT& thumb = t.slider.thumbs[0].rect;
        const POINT size{thumb.Width(), thumb.Height()};
        return PackPoint(IsVertical(t) ? POINT{size.y, size.x} : size);
    }
    case TRACKBARM_SETMARKED: SetMark(t, TRACKBARST_MARKED, lparam); return 0;
    case TRACKBARM_SETCENTRE: SetMark(t, TRACKBARST_NO_CENTRE, lparam == 0); return 0;
    case TRACKBARM_SETTHUMBIMAGES: message = FADERM_SETTHUMBIMAGES; break;
    default:
        // What makes a fader of two channels or of decibels is not there.
        if (message > FADERM_SETUP && message <= FADERM_SETSTEREO) return 0;
        break;
    }
    return FaderInst_Message(&t.slider, message, wparam, lparam);
}

namespace {
tQMTRACKBAR& TrackbarOf(void* record) { return *static_cast<tQMTRACKBAR*>(record); }
const tQMTRACKBAR& TrackbarOf(const void* record) { return *static_cast<const tQMTRACKBAR*>(record); }

void ReportToParent(tQMTRACKBAR* t, uint32_t, uintptr_t, uint32_t code, int32_t) {
    t->slider.window->Send(IsVertical(*t) ? WM_VSCROLL : WM_HSCROLL, PackWords(code, 0),
                           reinterpret_cast<intptr_t>(t->slider.window));
}

void InitTrackbarWindow(void* record, uint32_t style, const RECT* rect, ControlHost* window, uint32_t id) {
    TrackbarInst_Init(&TrackbarOf(record), style, rect, window, id, ReportToParent, 0, 1.0f);
    TrackbarOf(record).slider.state &= ~FADERST_INSTANCE;
}

constexpr ControlFace kTrackbarFace = {
    ControlFace::Kind::Slider,
    [] { return std::u16string(KernelText(KS_Control_Slider)); },
    [](const void* r) { return static_cast<double>(TrackbarOf(r).slider.pos[0]); },
    [](const void* r) { return static_cast<double>(TrackbarOf(r).slider.scale.min); },
    [](const void* r) { return static_cast<double>(TrackbarOf(r).slider.scale.max); },
    [](const void*) { return 1.0; },
    [](const void* r) { return NumberText(TrackbarOf(r).slider.pos[0], u"$.0f"); },
    [](void* r, double value) {
        FaderSetByUser(TrackbarOf(r).slider, static_cast<int32_t>(std::lround(value)));
    }};
constexpr ControlClass kTrackbarClass =
    ControlClassOf<tQMTRACKBAR, TrackbarInst_Deinit, TrackbarInst_Move, TrackbarInst_Draw,
                   TrackbarInst_Message>(u"GUICS_Trackbar_Class", InitTrackbarWindow, kTrackbarFace, true);
}  // namespace

BOOL TrackbarInitialize() { return RegisterControlClass(kTrackbarClass); }
void TrackbarTerminate() { UnregisterControlClass(kTrackbarClass); }

int32_t Trackbar_DefScrollProc(uintptr_t, uint32_t code, ControlWindow* window, int32_t line, int32_t page) {
    tQMTRACKBAR* t = RecordOf<tQMTRACKBAR>(window, kTrackbarClass);
    if (!t) return 0;
    SetValue(*t, Scrolled(*t, code, line, page, window->IsKeyDown(VK_CONTROL)), true);
    return t->slider.pos[0];
}
