#include "controls/pan_track.h"

#include "controls/fader.h"
#include "controls/game_controller.h"
#include "controls/pan_draw.h"
#include "controls/pan_point.h"
#include "platform/ui/control_host.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {
void Report(tQMPAN& p, uint32_t code) {
    const double values[] = {p.at.x, p.at.y};
    if (p.callback) p.callback(&p, p.id, p.userData, code, values, 3, 0);
}

intptr_t Notify(tQMPAN& p, NMHDR& head) {
    ControlHost* target = p.owner ? p.owner : p.window;
    return target->Send(WM_NOTIFY, p.id, reinterpret_cast<intptr_t>(&head));
}

bool TakesInput(const tQMPAN& p) { return !(p.state & (PANST_DISABLED | PANST_FROZEN)); }
bool Held(const tQMPAN& p, uint32_t key) { return p.window->IsKeyDown(key); }

// The puck has an edge beyond its rectangle.
void InvalidatePuck(const tQMPAN& p) {
    const RECT r = PanPuckRect(p);
    p.window->Invalidate({r.left - 2, r.top - 2, r.right + 2, r.bottom + 2});
}

void PullStick(const tQMPAN& p, uint32_t saturation) {
    PullController(0, static_cast<int32_t>((p.at.x + 1) / 2 * kControllerTravel), saturation);
    PullController(1, static_cast<int32_t>((p.at.y + 1) / 2 * kControllerTravel), saturation);
}

void Place(tQMPAN& p, PanPoint point) {
    point = PanInField(p, point);
    InvalidatePuck(p);
    p.at.x = point.x;
    p.at.y = point.y;
    InvalidatePuck(p);
    if (p.state & PANST_CONTROLLER) PullStick(p, kSpringMoving);
}

void Nudge(tQMPAN& p, uint32_t code, double size, uint32_t reported) {
    const bool hadMode = p.at.panMode;
    InvalidatePuck(p);
    PanNudge(p, code, size);
    if (hadMode) {
        FreePanPicture(p);
        p.window->Invalidate(p.client);
    }
    InvalidatePuck(p);
    if (p.state & PANST_CONTROLLER) PullStick(p, kSpringMoving);
    Report(p, reported);
}

void ToggleSpeaker(tQMPAN& p, uint32_t speaker) {
    (p.at.panMode ? p.at.modeMuteMask : p.at.muteMask) ^= 1u << speaker;
    FreePanPicture(p);
    p.window->Invalidate(p.client);
    Report(p, PAN_SET);
}

void ShowTip(tQMPAN& p) {
    const POINT puck = PanPixel(p, {p.at.x, p.at.y});
    p.window->TrackTip(PanText({p.at.x, p.at.y}), p.window->ToScreen(puck));
}

void Press(tQMPAN& p, POINT at, uint32_t keys) {
    if (!(p.style & PANS_NO_FOCUS)) p.window->TakeFocus();
    if (keys & MK_RBUTTON || p.state & PANST_DRAGGING) return;
    const PanHit hit = PanHitTest(p, at);
    if (hit.part == PAN_SPEAKER) return ToggleSpeaker(p, hit.speaker);
    if (hit.part != PAN_PUCK && p.style & PANS_NO_JUMP) return;
    p.startX = p.at.x;
    p.startY = p.at.y;
    p.state |= PANST_DRAGGING;
    p.lastMouse = at;
    p.window->SetCapture(true);
    Report(p, PAN_START);
    // The puck keeps its distance to the mouse; pressed beside it, it comes there.
    const POINT puck = PanPixel(p, {p.at.x, p.at.y});
    p.mouseX = hit.part == PAN_PUCK ? puck.x : at.x;
    p.mouseY = hit.part == PAN_PUCK ? puck.y : at.y;
    if (hit.part != PAN_PUCK) {
        Place(p, PanConstrained(p, PanPointAt(p, at.x, at.y), keys & MK_SHIFT, Held(p, VK_MENU)));
        Report(p, PAN_TRACK);
    }
    ShowTip(p);
}

void DoubleClick(tQMPAN& p, POINT at, uint32_t keys) {
    if (PanHitTest(p, at).part != PAN_PUCK) {
        if (p.style & PANS_NO_JUMP) return Press(p, at, keys);
        Place(p, PanPointAt(p, at.x, at.y));
        return Report(p, PAN_SET);
    }
    const uint32_t mode = p.at.panMode;
    const bool x = mode == 0 || mode == 3 || mode == 4 || mode == 7 || mode == 8;
    const bool y = mode == 0 || mode == 1 || mode == 2 || mode == 5 || mode == 6;
    Place(p, {x ? 0 : p.at.x, y ? 0 : p.at.y});
    Report(p, PAN_SET);
}

void Drag(tQMPAN& p, POINT at, uint32_t keys) {
    const POINT last = std::exchange(p.lastMouse, at);
    if (!(p.state & PANST_DRAGGING) || (at.x == last.x && at.y == last.y)) return;
    const bool fine = keys & (MK_CONTROL | MK_RBUTTON);
    p.state = fine ? p.state | PANST_FINE : p.state & ~PANST_FINE;
    p.mouseX += (at.x - last.x) * (fine ? 0.5 : 1);
    p.mouseY += (at.y - last.y) * (fine ? 0.5 : 1);
    Place(p, PanConstrained(p, PanPointAt(p, p.mouseX, p.mouseY), keys & MK_SHIFT, Held(p, VK_MENU)));
    ShowTip(p);
    Report(p, PAN_TRACK);
}

void Wheel(tQMPAN& p, int32_t counts, uint32_t keys) {
    if (counts == 0 || p.state & PANST_DRAGGING) return;
    const double notches = counts / static_cast<double>(WHEEL_DELTA);
    const bool control = keys & MK_CONTROL, shift = keys & MK_SHIFT;
    if (!Held(p, VK_MENU)) {
        const uint32_t code =
            shift ? (control ? PAN_FINE_RIGHT : PAN_RIGHT) : (control ? PAN_FINE_FRONT : PAN_FRONT);
        return Nudge(p, code, notches, PAN_TRACK);
    }
    const double angle = std::atan2(p.at.y, p.at.x) + notches * (control ? 0.025 : 0.125);
    const double radius = shift ? 1 : std::hypot(p.at.x, p.at.y);
    Place(p, {radius * std::cos(angle), radius * std::sin(angle)});
    Report(p, PAN_TRACK);
}

struct NudgeKey {
    uint32_t key, modifier;
    uint32_t plain, modified;
};
constexpr NudgeKey kNudgeKeys[] = {
    {VK_PRIOR, VK_SHIFT, PAN_FRONT, PAN_LEFT},         {VK_NEXT, VK_SHIFT, PAN_REAR, PAN_RIGHT},
    {VK_LEFT, VK_CONTROL, PAN_LEFT, PAN_FINE_LEFT},    {VK_UP, VK_CONTROL, PAN_FRONT, PAN_FINE_FRONT},
    {VK_RIGHT, VK_CONTROL, PAN_RIGHT, PAN_FINE_RIGHT}, {VK_DOWN, VK_CONTROL, PAN_REAR, PAN_FINE_REAR},
};
const NudgeKey* FindNudge(uint32_t key) {
    const auto* row = std::ranges::find(kNudgeKeys, key, &NudgeKey::key);
    return row == std::end(kNudgeKeys) ? nullptr : row;
}
bool IsPlaceKey(uint32_t key) { return key > VK_NUMPAD0 && key <= VK_NUMPAD9; }

void JumpTo(tQMPAN& p, uint32_t digit, bool onCircle) {
    const uint32_t column = digit % 3, row = digit / 3;
    PanPoint point{static_cast<double>(column) - 1, static_cast<double>(row) - 1};
    const double length = std::hypot(point.x, point.y);
    if (onCircle && length > 0) point = {point.x / length, point.y / length};
    PanSet(p, point.x, point.y, PAN_TRACK);
}

// True while there is a speaker further on.
bool MoveFocus(tQMPAN& p, bool back) {
    const int32_t step = back ? -1 : 1;
    int32_t i = p.focusSpeaker < 0 && back ? static_cast<int32_t>(kPanSpeakers) : p.focusSpeaker;
    for (i += step; i >= 0 && i < static_cast<int32_t>(kPanSpeakers); i += step)
        if (p.at.channelsMask & 1u << i) break;
    p.focusSpeaker = i >= 0 && i < static_cast<int32_t>(kPanSpeakers) ? i : -1;
    FreePanPicture(p);
    p.window->Invalidate(p.client);
    return p.focusSpeaker >= 0;
}

// Non-zero when the key was used.
intptr_t KeyDown(tQMPAN& p, uint32_t key) {
    if (p.state & PANST_DRAGGING) {
        if (key != VK_ESCAPE) return 1;
        Place(p, {p.startX, p.startY});
        PanEndDrag(p);
        return 1;
    }
    if (const NudgeKey* row = FindNudge(key)) {
        const uint32_t code = Held(p, row->modifier) ? row->modified : row->plain;
        return Nudge(p, code, 1, code), 1;
    }
    if (IsPlaceKey(key)) return JumpTo(p, key - VK_NUMPAD0 - 1, Held(p, VK_CONTROL)), 1;
    const bool speakers = p.style & PANS_SPEAKER_KEYS;
    if (key == VK_SPACE && speakers && p.focusSpeaker >= 0 && p.at.channelsMask & 1u << p.focusSpeaker)
        return ToggleSpeaker(p, static_cast<uint32_t>(p.focusSpeaker)), 1;
    if (key == VK_TAB && speakers) return MoveFocus(p, Held(p, VK_SHIFT));
    return 0;
}

void KeyUp(tQMPAN& p, uint32_t key) {
    if (FindNudge(key) || IsPlaceKey(key)) return Report(p, PAN_END);
    if (key != 'X' && key != 'Y') return;
    const uint32_t lock = key == 'X' ? 1 : 2;
    p.at.lock = p.at.lock == lock ? 0 : lock;
    NMHDR notification{p.window, p.id, PANN_LOCK};
    Notify(p, notification);
}

void FollowStick(tQMPAN& p) {
    const auto x = ControllerPosition(0), y = ControllerPosition(1);
    if (!x || !y) return;
    Place(p, {*x / (kControllerTravel / 2.0) - 1, *y / (kControllerTravel / 2.0) - 1});
    Report(p, PAN_TRACK);
}

intptr_t Controller(tQMPAN& p, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    const bool mayStart = TakesInput(p) && ControllerPosition(0);
    switch (TrackStick(p.state, {PANST_CONTROLLER, PANST_CONTROLLED}, mayStart, message, wparam, lparam)) {
    case StickEvent::Taken: return 0;
    case StickEvent::Focus: return PullStick(p, kSpringResting), 0;
    case StickEvent::Start: return Report(p, PAN_START), 0;
    case StickEvent::Track: return FollowStick(p), 0;
    case StickEvent::End: return Report(p, PAN_END), 0;
    case StickEvent::Unused: break;
    }
    CONTROLUNUSED unused{{p.window, p.id, CONTROLN_UNUSED}, message, wparam, lparam};
    return Notify(p, unused.head);
}

void Focus(tQMPAN& p, bool gained) {
    p.state = gained ? p.state | PANST_FOCUSED : p.state & ~PANST_FOCUSED;
    if (!gained) p.focusSpeaker = -1;
    FreePanPicture(p);
    p.window->Invalidate(p.client);
}
}  // namespace

void PanSet(tQMPAN& p, double x, double y, uint32_t code) {
    Place(p, {x, y});
    Report(p, code);
}

void PanEndDrag(tQMPAN& p) {
    if (!(p.state & PANST_DRAGGING)) return;
    p.state &= ~(PANST_DRAGGING | PANST_FINE | PANST_OTHER_BUTTON);
    p.window->SetCapture(false);
    p.window->TrackTip({}, {});
    Report(p, PAN_END);
}

intptr_t PanTrack(tQMPAN& p, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    const POINT at = UnpackPoint(lparam);
    const uint32_t keys = LowWord(wparam), key = static_cast<uint32_t>(wparam);
    const bool mouse = TakesInput(p) && !(p.state & PANST_NO_MOUSE);
    switch (message) {
    case WM_LBUTTONDOWN:
        if (mouse) Press(p, at, keys);
        return 0;
    case WM_LBUTTONDBLCLK:
        if (mouse) DoubleClick(p, at, keys);
        return 0;
    case WM_MOUSEMOVE: Drag(p, at, keys); return 0;
    case WM_LBUTTONUP:
    case WM_CANCELMODE:
    case WM_CAPTURECHANGED: PanEndDrag(p); return 0;
    case WM_RBUTTONDOWN:
    case WM_RBUTTONUP:
        if (p.state & PANST_DRAGGING)
            p.state =
                message == WM_RBUTTONDOWN ? p.state | PANST_OTHER_BUTTON : p.state & ~PANST_OTHER_BUTTON;
        return 0;
    case WM_MOUSEWHEEL:
        if (mouse) Wheel(p, SignedHighWord(wparam), keys);
        return 0;
    case WM_KEYDOWN: return TakesInput(p) ? KeyDown(p, key) : 0;
    case WM_KEYUP:
        if (TakesInput(p) && !(p.state & PANST_DRAGGING)) KeyUp(p, key);
        return 0;
    case WM_SETFOCUS:
    case WM_KILLFOCUS: Focus(p, message == WM_SETFOCUS); return 0;
    case WM_ENABLE:
        p.state = wparam ? p.state & ~PANST_DISABLED : p.state | PANST_DISABLED;
        FreePanPicture(p);
        p.window->Invalidate(p.client);
        return 0;
    default: return IsControllerMessage(message) ? Controller(p, message, wparam, lparam) : 0;
    }
}
