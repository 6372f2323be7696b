#include "controls/fader_track.h"

#include "controls/fader_layout.h"
#include "controls/game_controller.h"
#include "platform/ui/control_host.h"

#include <algorithm>
#include <cstdlib>

namespace {
constexpr uint32_t kRepeatTimer = 42, kRepeatMilliseconds = 250;
constexpr int32_t kWheelStep = 10, kWheelStepFine = 1;

void Scrolled(tQMFADER& f, uint32_t code) {
    if (f.scrollProc) f.scrollProc(&f, f.id, f.userData, code, f.pos, f.channelMask);
}

intptr_t Notify(tQMFADER& f, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    ControlHost* target = f.owner ? f.owner : f.window;
    return target->Send(message, wparam, lparam);
}

void Command(tQMFADER& f, uint32_t code) {
    if (f.state & FADERST_COMMANDS)
        Notify(f, WM_COMMAND, PackWords(f.id, code), reinterpret_cast<intptr_t>(f.window));
}

bool IsIdle(const tQMFADER& f) {
    return f.dragPart == FADER_NOWHERE && !(f.state & (FADERST_DISABLED | FADERST_TOO_SMALL));
}

template <class Function>
void ForMeant(tQMFADER& f, Function change) {
    for (uint32_t c = 0; c < f.channels; c++)
        if (f.channelMask & 1u << c)
            f.pos[c] = std::clamp(change(c), f.scale.min, std::max(f.scale.min, f.scale.max));
}

RECT CaretArea(const tQMFADER& f) {
    const POINT centre = FaderThumbCentre(f, f.activeChannel);
    const RECT& thumb = f.thumbs[f.activeChannel].rect;
    return f.state & FADERST_VERTICAL ? RECT{thumb.left + 2, centre.y - 1, thumb.right - 2, centre.y + 1}
                                      : RECT{centre.x - 1, thumb.top + 2, centre.x + 1, thumb.bottom - 2};
}

bool HasCaret(const tQMFADER& f) { return f.state & FADERST_FOCUSED && !(f.state & FADERST_FOCUS_RECT); }

void MoveCaret(tQMFADER& f) {
    const RECT area = CaretArea(f);
    if (HasCaret(f)) f.window->MoveCaret({area.left, area.top});
}

void GainFocus(tQMFADER& f) {
    f.state |= FADERST_FOCUSED;
    Command(f, FADERN_SETFOCUS);
    if (!HasCaret(f)) return FaderRepaint(f);
    const RECT area = CaretArea(f);
    f.window->CreateCaret({area.Width(), area.Height()});
    MoveCaret(f);
    f.window->ShowCaret(true);
}

void LoseFocus(tQMFADER& f) {
    const bool hadCaret = HasCaret(f);
    f.state &= ~FADERST_FOCUSED;
    Command(f, FADERN_KILLFOCUS);
    if (hadCaret)
        f.window->DestroyCaret();
    else
        FaderRepaint(f);
    if (f.state & FADERST_INSTANCE) return;
    NMHDR notification{f.window, f.id, FADERN_LOSTFOCUS};
    Notify(f, WM_NOTIFY, f.id, reinterpret_cast<intptr_t>(&notification));
}

void Enable(tQMFADER& f, bool on) {
    f.style = on ? f.style & ~FADERS_DISABLED : f.style | FADERS_DISABLED;
    f.state = on ? f.state & ~FADERST_DISABLED : f.state | FADERST_DISABLED;
    FaderRepaint(f);
}

// The part under the mouse acts now and on every tick of the timer.
void Repeat(tQMFADER& f) {
    const auto code = static_cast<uint32_t>(f.dragPart);
    if (f.style & FADERS_SELF_KEYS) FaderScroll(f, code, f.line, f.page);
    Scrolled(f, code);
}

void StartDrag(tQMFADER& f, POINT at, bool shift) {
    const FaderHit hit = FaderHitTest(f, at, shift);
    if (hit.part == FADER_NOWHERE) return;
    std::copy(std::begin(f.pos), std::end(f.pos), f.saved);
    f.channelMask = hit.channelMask;
    f.activeChannel = hit.activeChannel;
    f.dragPart = hit.part;
    f.lastMouse = at;
    f.window->SetCapture(true);
    if (hit.part != FADER_THUMB) {
        f.window->SetTimer(kRepeatTimer, kRepeatMilliseconds);
        return Repeat(f);
    }
    const POINT centre = FaderThumbCentre(f, hit.activeChannel);
    f.grab = {at.x - centre.x, at.y - centre.y};
    if (HasCaret(f)) f.window->ShowCaret(false);
    Scrolled(f, FADER_START);
}

void Press(tQMFADER& f, POINT at, uint32_t keys) {
    if (!(f.style & FADERS_NO_FOCUS)) f.window->TakeFocus();
    if (keys & MK_RBUTTON || !IsIdle(f)) return;
    Command(f, FADERN_PRESSED);
    f.state |= FADERST_PRESSED;
    StartDrag(f, at, keys & MK_SHIFT);
}

void DoubleClick(tQMFADER& f, POINT at, uint32_t keys) {
    const FaderHit hit = FaderHitTest(f, at, keys & MK_SHIFT);
    if (hit.part != FADER_THUMB) return Press(f, at, keys);
    if (!IsIdle(f)) return;
    f.state |= FADERST_PRESSED;
    f.activeChannel = hit.activeChannel;
    f.channelMask = hit.channelMask;
    if (f.channels == 1 || hit.channelMask == 3) {
        ForMeant(f, [&](uint32_t) { return f.def; });
    } else {
        f.channelMask = 3;
        f.pos[1 - hit.activeChannel] = f.pos[hit.activeChannel];
    }
    FaderShowValues(f);
    Scrolled(f, FADER_SET);
}

// Half the mouse's way, in units of the value. The mouse follows the thumb, which lags behind it.
void DragFine(tQMFADER& f, POINT at) {
    const int32_t way = FaderAlong(f, at) - FaderAlong(f, f.lastMouse);
    const int32_t rising = f.state & FADERST_VERTICAL ? -way : way;
    const int32_t delta = (rising + (rising > 0) - (rising < 0)) / 2;
    ForMeant(f, [&](uint32_t c) { return f.pos[c] + delta; });
    FaderShowValues(f);

    const POINT centre = FaderThumbCentre(f, f.activeChannel);
    const POINT target{centre.x + f.grab.x, centre.y + f.grab.y};
    f.lastMouse = target;
    if (target.x == at.x && target.y == at.y) return;
    f.state |= FADERST_WARPED;
    f.window->WarpCursor(target);
}

// Every channel keeps its distance to the active one, each clamped by itself.
void DragTo(tQMFADER& f, int32_t pixel) {
    const int32_t from = f.saved[f.activeChannel];
    // A pixel stands for several values: coming back to the first one brings the first value back.
    const int32_t value = pixel == FaderPixel(f, from) ? from : FaderValue(f, pixel);
    ForMeant(f, [&](uint32_t c) { return f.saved[c] + (value - from); });
    FaderShowValues(f);
}

void Drag(tQMFADER& f, POINT at, uint32_t keys) {
    const int32_t way = FaderAlong(f, at) - FaderAlong(f, f.lastMouse);
    // The warp's own mouse move comes back up to a pixel off where the screen's scale is a fraction.
    const bool own = f.state & FADERST_WARPED && std::abs(way) <= 1;
    f.state &= ~FADERST_WARPED;
    if (way == 0 || own) {
        f.lastMouse = at;
        return;
    }
    const bool fine = keys & (MK_CONTROL | MK_RBUTTON);
    f.state = (fine ? f.state | FADERST_FINE_DRAG : f.state & ~FADERST_FINE_DRAG) | FADERST_MOVED;
    if (fine) {
        DragFine(f, at);
    } else {
        f.lastMouse = at;
        DragTo(f, FaderAlong(f, at) - FaderAlong(f, f.grab));
    }
    Scrolled(f, FADER_TRACK);
}

void Move(tQMFADER& f, POINT at, uint32_t keys) {
    if (f.dragPart == FADER_THUMB)
        Drag(f, at, keys);
    else
        f.lastMouse = at;
}

void Tick(tQMFADER& f) {
    const bool repeats = f.dragPart != FADER_NOWHERE && f.dragPart != FADER_THUMB;
    if (repeats && FaderHitTest(f, f.lastMouse, false).part == f.dragPart) Repeat(f);
}

intptr_t SetPointer(tQMFADER& f) {
    const FaderHit hit = FaderHitTest(f, f.lastMouse, f.window->IsKeyDown(VK_SHIFT));
    const bool one = f.channels == 2 && hit.part == FADER_THUMB && hit.channelMask != 3;
    f.window->SetPointer(!one ? CURSOR_ARROW : hit.channelMask == 1 ? CURSOR_THUMB_LEFT : CURSOR_THUMB_RIGHT);
    return 1;
}

intptr_t Wheel(tQMFADER& f, int32_t counts, bool control) {
    if (f.state & (FADERST_DISABLED | FADERST_TOO_SMALL)) return 0;
    if (counts == 0 || f.dragPart != FADER_NOWHERE) return FADER_WHEEL_USED;
    const int32_t step = control ? kWheelStepFine : kWheelStep;
    // A finer wheel than one of notches moves unit by unit.
    const int32_t delta =
        std::abs(counts) < WHEEL_DELTA ? (counts > 0 ? 1 : -1) : step * counts / WHEEL_DELTA;
    ForMeant(f, [&](uint32_t c) { return f.pos[c] + delta; });
    FaderShowValues(f);
    Scrolled(f, FADER_SET);
    return FADER_WHEEL_USED;
}

struct StepKeyRow {
    uint32_t key, code;
};
constexpr StepKeyRow kStepKeys[] = {
    {VK_PRIOR, FADER_PAGE_UP},  {VK_NEXT, FADER_PAGE_DOWN}, {VK_END, FADER_BOTTOM},   {VK_HOME, FADER_TOP},
    {VK_LEFT, FADER_LINE_DOWN}, {VK_DOWN, FADER_LINE_DOWN}, {VK_F3, FADER_LINE_DOWN}, {VK_UP, FADER_LINE_UP},
    {VK_RIGHT, FADER_LINE_UP},  {VK_F9, FADER_LINE_UP},
};
struct ChannelKeyRow {
    uint32_t key, mask;
};
constexpr ChannelKeyRow kChannelKeys[] = {{'B', 3}, {'C', 3}, {'G', 3}, {'S', 3}, {'L', 1}, {'R', 2}};

template <class Row, size_t N>
const Row* FindKey(const Row (&rows)[N], uint32_t key) {
    const Row* row =
        std::find_if(std::begin(rows), std::end(rows), [key](const Row& r) { return r.key == key; });
    return row == std::end(rows) ? nullptr : row;
}

uint32_t StickAxis(const tQMFADER& f) { return f.state & FADERST_VERTICAL ? 1 : 0; }

// The stick's way is the whole travel of the fader, whatever its size on the screen.
void PullStick(const tQMFADER& f, uint32_t saturation) {
    const int32_t at =
        std::clamp(f.scale.Distance(f.pos[f.activeChannel], kControllerTravel), 0, kControllerTravel);
    PullController(StickAxis(f), at, saturation);
}

bool FollowStick(tQMFADER& f) {
    const auto position = ControllerPosition(StickAxis(f));
    f.state = position ? f.state & ~FADERST_NO_AXIS : f.state | FADERST_NO_AXIS;
    if (!position) return false;
    const int32_t value = f.scale.Value(*position, kControllerTravel);
    ForMeant(f, [&](uint32_t) { return value; });
    FaderShowValues(f);
    return true;
}

bool IsDigit(uint32_t key) { return key >= '0' && key <= '9'; }

void SetDigit(tQMFADER& f, int32_t digit) {
    FaderSetByUser(f, static_cast<int32_t>(f.scale.min + (int64_t{f.scale.max} - f.scale.min) * digit / 10));
}

void KeyDown(tQMFADER& f, uint32_t key, uint32_t data) {
    if (f.dragPart != FADER_NOWHERE && key == VK_ESCAPE) {
        std::copy(std::begin(f.saved), std::end(f.saved), f.pos);
        FaderShowValues(f);
        return FaderEndDrag(f);
    }
    if (!IsIdle(f)) return;
    if (const StepKeyRow* row = FindKey(kStepKeys, key)) {
        if (f.style & FADERS_SELF_KEYS) FaderScroll(f, row->code, f.line, f.page);
        return Scrolled(f, row->code);
    }
    if (IsDigit(key)) return SetDigit(f, static_cast<int32_t>(key - '0'));
    const bool pair = f.channels == 2 && f.style & FADERS_SELF_KEYS;
    if (const ChannelKeyRow* row = pair ? FindKey(kChannelKeys, key) : nullptr) {
        FaderInst_Message(&f, FADERM_SETCHANNELMASK, 0, static_cast<intptr_t>(row->mask));
        return FaderRepaint(f);
    }
    if (key == VK_CLEAR || (key >= VK_NUMPAD0 && key <= VK_NUMPAD9)) return;
    FADERKEY notification{{f.window, f.id, FADERN_KEY}, key, data};
    Notify(f, WM_NOTIFY, f.id, reinterpret_cast<intptr_t>(&notification));
}

void KeyUp(tQMFADER& f, uint32_t key) {
    if (IsIdle(f) && (FindKey(kStepKeys, key) || IsDigit(key))) Scrolled(f, FADER_END);
}
}  // namespace

void FaderSetByUser(tQMFADER& f, int32_t value) {
    ForMeant(f, [&](uint32_t) { return value; });
    FaderShowValues(f);
    Scrolled(f, FADER_SET);
}

void FaderRepaint(const tQMFADER& f) { f.window->Invalidate(f.client); }

void FaderShowValues(tQMFADER& f) {
    const FADERTHUMB old[2] = {f.thumbs[0], f.thumbs[1]};
    FaderPlaceThumbs(f);
    for (uint32_t c = 0; c < f.channels; c++) {
        if (f.thumbs[c].rect == old[c].rect) continue;
        f.window->Invalidate(old[c].rect);
        f.window->Invalidate(f.thumbs[c].rect);
        if (c == f.activeChannel) MoveCaret(f);
    }
    if (f.state & FADERST_CONTROLLER) PullStick(f, kSpringMoving);
}

int32_t FaderScrolled(const tQMFADER& f, int32_t value, uint32_t code, int32_t line, int32_t page,
                      bool control) {
    const int64_t range = int64_t{f.scale.max} - f.scale.min;
    const int64_t lines = line ? line : 1;
    const int64_t pages = (page ? page : std::max<int64_t>((range + 5) / 10, 1)) * (control ? 10 : 1);
    int64_t result = value;
    switch (code) {
    case FADER_LINE_UP: result += lines; break;
    case FADER_LINE_DOWN: result -= lines; break;
    case FADER_PAGE_UP: result += pages; break;
    case FADER_PAGE_DOWN: result -= pages; break;
    case FADER_TOP:
        result = !control && f.scale.max >= 1 && f.scale.min < 0 ? 0 : f.scale.max;
        break;  // 0 is unity
    case FADER_BOTTOM: result = f.scale.min; break;
    default: break;
    }
    return static_cast<int32_t>(std::clamp<int64_t>(result, f.scale.min, std::max(f.scale.min, f.scale.max)));
}

void FaderScroll(tQMFADER& f, uint32_t code, int32_t line, int32_t page) {
    const bool control = f.window->IsKeyDown(VK_CONTROL);
    ForMeant(f, [&](uint32_t c) { return FaderScrolled(f, f.pos[c], code, line, page, control); });
    FaderShowValues(f);
}

void FaderEndDrag(tQMFADER& f) {
    if (!(f.state & FADERST_PRESSED)) return;
    const bool setValue = f.dragPart == FADER_THUMB && f.state & FADERST_MOVED;
    const bool wasDragging = f.dragPart != FADER_NOWHERE;
    f.dragPart = FADER_NOWHERE;
    f.state &= ~(FADERST_PRESSED | FADERST_MOVED | FADERST_FINE_DRAG | FADERST_WARPED | FADERST_OTHER_BUTTON);
    if (wasDragging) f.window->SetCapture(false);
    if (setValue) Scrolled(f, FADER_SET);
    f.window->KillTimer(kRepeatTimer);
    Scrolled(f, FADER_END);
    if (HasCaret(f)) f.window->ShowCaret(true);
    Command(f, FADERN_RELEASED);
}

intptr_t FaderControl(tQMFADER& f, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    const bool mayStart = IsIdle(f) && ControllerPosition(StickAxis(f));
    switch (
        TrackStick(f.state, {FADERST_CONTROLLER, FADERST_CONTROLLED}, mayStart, message, wparam, lparam)) {
    case StickEvent::Taken: return 0;
    case StickEvent::Focus: return PullStick(f, kSpringResting), 0;
    case StickEvent::Start: return Scrolled(f, FADER_START), 0;
    case StickEvent::Track:
        if (FollowStick(f)) Scrolled(f, FADER_TRACK);
        return 0;
    case StickEvent::End: return Scrolled(f, FADER_END), 0;
    case StickEvent::Unused: break;
    }
    CONTROLUNUSED unused{{f.window, f.id, CONTROLN_UNUSED}, message, wparam, lparam};
    return Notify(f, WM_NOTIFY, f.id, reinterpret_cast<intptr_t>(&unused));
}

intptr_t FaderTrack(tQMFADER& f, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    const POINT at = UnpackPoint(lparam);
    const uint32_t keys = LowWord(wparam);
    switch (message) {
    case WM_LBUTTONDOWN: Press(f, at, keys); return 0;
    case WM_LBUTTONDBLCLK: DoubleClick(f, at, keys); return 0;
    case WM_MOUSEMOVE: Move(f, at, keys); return 0;
    case WM_LBUTTONUP:
    case WM_CANCELMODE:
    case WM_CAPTURECHANGED: FaderEndDrag(f); return 0;
    case WM_RBUTTONDOWN:
        if (f.dragPart != FADER_NOWHERE) f.state |= FADERST_OTHER_BUTTON;
        return 0;
    case WM_RBUTTONUP: f.state &= ~FADERST_OTHER_BUTTON; return 0;
    case WM_MOUSEWHEEL: return Wheel(f, SignedHighWord(wparam), keys & MK_CONTROL);
    case WM_KEYDOWN: KeyDown(f, static_cast<uint32_t>(wparam), static_cast<uint32_t>(lparam)); return 0;
    case WM_KEYUP: KeyUp(f, static_cast<uint32_t>(wparam)); return 0;
    case WM_SETFOCUS: GainFocus(f); return 0;
    case WM_KILLFOCUS: LoseFocus(f); return 0;
    case WM_ENABLE: Enable(f, wparam); return 0;
    case WM_SETCURSOR: return SetPointer(f);
    case WM_TIMER:
        if (wparam == kRepeatTimer) Tick(f);
        return 0;
    default: return 0;
    }
}
