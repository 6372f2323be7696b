// Mouse and keyboard of the mixer view: what is pressed, selected and focused.
#include "console/console_plugin.h"
#include "console/mixer_view.h"

#include <algorithm>

namespace {

constexpr uint32_t NOT_SELECTABLE = KIND_NO_STRIP | KIND_SPECIAL;

PartAction ActionOf(uint32_t element) {
    const StripPart* part = PartOfElement(element);
    return part ? part->action : PartAction::None;
}

}  // namespace

uint32_t CMixerView::HitTest(POINT at, std::u16string& tip, RECT& area) {
    m_hitWord = 0;
    if (!m_bounds.Contains(at)) return 0;
    Strip* strip = StripAt(at.x);
    m_hitWord = HIT_MIXER_VIEW | (strip ? strip->HitTest(at, tip, area) : ELEMENT_NONE);
    return m_hitWord;
}

uint32_t CMixerView::GetCursorForHit(uint32_t) { return CURSOR_ARROW; }

void CMixerView::OnMouseAway() {
    if (m_held) OnMouse(WM_CANCELMODE, 0, 0);
}

intptr_t CMixerView::OnMouse(uint32_t message, uintptr_t wparam, intptr_t lparam) {
    if (message == WM_MOUSEWHEEL || message == WM_MOUSEHWHEEL) return OnWheel(message, wparam, lparam);
    const POINT at = UnpackPoint(lparam);

    if (HoldsFader()) {
        SendToHeldFader(message, wparam, lparam);
        return 0;
    }
    if (message == WM_CANCELMODE || message == WM_CAPTURECHANGED) {
        if (m_held) m_site.Host().Invalidate(m_held->Rects().strip);
        m_held = nullptr;
        m_pressed = ELEMENT_NONE;
        return 0;
    }
    if (message == WM_MOUSEMOVE && m_held) {
        const StripPart* part = PartOfElement(m_heldElement);
        const uint32_t pressed = part && part->area(*m_held).Contains(at) ? m_heldElement : ELEMENT_NONE;
        if (std::exchange(m_pressed, pressed) != pressed) m_site.Host().Invalidate(m_held->Rects().strip);
        return 0;
    }
    if (message == WM_LBUTTONUP) {
        Release(at);
        return 0;
    }
    Strip* strip = StripAt(at.x);
    if (!strip || !m_bounds.Contains(at)) return 0;
    std::u16string tip;
    RECT area{};
    const uint32_t element = strip->HitTest(at, tip, area);
    const PartAction action = ActionOf(element);
    if (action == PartAction::Fader) {
        OnFaderMouse(*strip, message, wparam, lparam);
    } else if (action == PartAction::Meter) {
        MeterInst_Message(&strip->Meter(), message, wparam, lparam);
    } else if (message == WM_LBUTTONDOWN || message == WM_LBUTTONDBLCLK) {
        EndKeyGesture();
        Press(*strip, element, wparam);
    }
    return 0;
}

void CMixerView::OnFaderMouse(Strip& strip, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    if (message != WM_LBUTTONDOWN && message != WM_LBUTTONDBLCLK) {
        FaderInst_Message(&strip.Fader(), message, wparam, lparam);
        return;
    }
    SetFocus(&strip.Entry());
    m_held = &strip;
    m_heldElement = ELEMENT_FADER;
    SendToHeldFader(message, wparam, lparam);
    if (!m_held) m_gesture.End();  // a double-click is over with its press
}

/// Changes that come back from the host wait for the message loop, so the strip outlives the call; but the
/// fader may let go of the mouse in it, and that comes back here as a message of its own.
void CMixerView::SendToHeldFader(uint32_t message, uintptr_t wparam, intptr_t lparam) {
    FaderInst_Message(&m_held->Fader(), message, wparam, lparam);
    if (m_held && m_held->Fader().dragPart == FADER_NOWHERE) m_held = nullptr;
}

intptr_t CMixerView::OnWheel(uint32_t message, uintptr_t wparam, intptr_t lparam) {
    const POINT at = m_site.ToClient(UnpackPoint(lparam));
    const int32_t turn = SignedHighWord(wparam);
    Strip* strip = m_bounds.Contains(at) ? StripAt(at.x) : nullptr;
    if (message == WM_MOUSEWHEEL && !(LowWord(wparam) & MK_SHIFT) && strip &&
        strip->Rects().fader.Contains(at)) {
        FaderInst_Message(&strip->Fader(), message, wparam, lparam);
        if (!m_held) m_gesture.End();  // each notch is a movement of its own
        return FADER_WHEEL_USED;
    }
    const LONG step = ConsoleMetrics().cxChannelCurrent;
    const int32_t direction = message == WM_MOUSEWHEEL ? -1 : 1;
    SetScroll(m_offset + direction * turn * step / WHEEL_DELTA);
    return 0;
}

void CMixerView::Press(Strip& strip, uint32_t element, uintptr_t keys) {
    const PartAction action = ActionOf(element);
    if (action == PartAction::Toggle) {
        m_held = &strip;
        m_heldElement = m_pressed = element;
        m_site.Host().SetCapture(true);
        m_site.Host().Invalidate(strip.Rects().strip);
        return;
    }
    if (action != PartAction::Select) return;
    Select(strip.Entry(), keys & MK_CONTROL ? SelectMode::Toggle
                          : keys & MK_SHIFT ? SelectMode::Extend
                                            : SelectMode::Alone);
}

void CMixerView::Release(POINT at) {
    Strip* strip = std::exchange(m_held, nullptr);
    m_pressed = ELEMENT_NONE;
    if (!strip) return;
    m_site.Host().SetCapture(false);
    m_site.Host().Invalidate(strip->Rects().strip);
    const StripPart* part = PartOfElement(m_heldElement);
    if (part && part->area(*strip).Contains(at)) {
        strip->Toggle(part->bit);
        InvalidateValues();
    }
}

// Selection and focus
// ----------------------------------------------------------------------------------------------

void CMixerView::Select(ChannelEntry& channel, SelectMode mode) {
    const auto placeOf = [](ChannelEntry* entry) {
        const Strip* strip = entry ? Strip::Of(*entry) : nullptr;
        return strip ? strip->place : -1;
    };
    const int target = placeOf(&channel);
    int from = target, to = target;
    if (mode == SelectMode::Extend && placeOf(m_anchor) >= 0)
        std::tie(from, to) = std::minmax({placeOf(m_anchor), target});
    if (mode != SelectMode::Extend) m_anchor = &channel;
    for (Strip* shown : m_strips) {
        Strip& strip = *shown;
        if (strip.Entry().kind & NOT_SELECTABLE) continue;
        const bool inside = strip.place >= from && strip.place <= to;
        if (mode == SelectMode::Toggle) {
            if (inside) strip.SetSelected(!strip.IsSelected());
        } else if (strip.IsSelected() != inside) {
            strip.SetSelected(inside);
        }
    }
    SetFocus(&channel);
}

void CMixerView::SelectAll() {
    for (Strip* strip : m_strips)
        if (!(strip->Entry().kind & NOT_SELECTABLE) && !strip->IsSelected()) strip->SetSelected(true);
}

void CMixerView::EnsureFocus() {
    if (m_focus && Strip::Of(*m_focus)) return;
    if (m_strips.empty()) return;
    const auto selected = std::ranges::find_if(m_strips, &Strip::IsSelected);
    SetFocus(&(selected != m_strips.end() ? *selected : m_strips.front())->Entry());
}

Strip* CMixerView::FocusedStrip() const {
    Strip* strip = m_focus ? Strip::Of(*m_focus) : nullptr;
    return strip && strip->place >= 0 ? strip : nullptr;
}

void CMixerView::SetFocus(ChannelEntry* channel) {
    if (m_focus == channel) return;
    for (ChannelEntry* entry : {m_focus, channel})
        if (Strip* strip = entry ? Strip::Of(*entry) : nullptr)
            m_site.Host().Invalidate(strip->Rects().namePlate);
    m_focus = channel;
    if (Strip* strip = channel ? Strip::Of(*channel) : nullptr) {
        const RECT& rect = strip->Rects().strip;
        if (rect.left < m_bounds.left) SetScroll(m_offset - (m_bounds.left - rect.left));
        if (rect.right > m_bounds.right) SetScroll(m_offset + rect.right - m_bounds.right);
    }
    m_site.FocusMoved();
}

// Keys
// -------------------------------------------------------------------------------------------------------------

bool CMixerView::OnKeyDown(uint32_t, uintptr_t wparam, intptr_t lparam) {
    const auto key = static_cast<uint32_t>(wparam);
    ControlHost& window = m_site.Host();
    const bool ctrl = window.IsKeyDown(VK_CONTROL);
    if (HoldsFader()) {
        SendToHeldFader(WM_KEYDOWN, wparam, lparam);  // Esc takes the drag back
        return true;
    }
    EnsureFocus();
    switch (key) {
    case VK_TAB:
        if (ctrl) return false;
        return MoveFocus(key);
    case VK_HOME:
    case VK_END:
    case VK_LEFT:
    case VK_RIGHT: return MoveFocus(key);
    case VK_UP:
    case VK_DOWN:
    case VK_PRIOR:
    case VK_NEXT: return MoveFaders(key, wparam, lparam);
    case VK_SPACE: return false;  // the host's transport
    case 'A':
        if (ctrl) SelectAll();
        return ctrl;
    case VK_SHIFT:
    case VK_CONTROL: return true;
    default: break;
    }
    const StripPart* part = PartOfKey(key);
    if (!part || ctrl) return false;
    ToggleByKey(part->bit);
    return true;
}

void CMixerView::OnKeyUp(uintptr_t wparam, intptr_t lparam) {
    if (!m_gesture.IsRunning() || HoldsFader()) return;
    for (Strip* strip : m_strips)
        if (m_gesture.IsRunningOn(strip->Entry())) {
            FaderInst_Message(&strip->Fader(), WM_KEYUP, wparam, lparam);
            break;
        }
    m_gesture.End();
}

void CMixerView::EndKeyGesture() {
    if (!HoldsFader()) m_gesture.End();
}

bool CMixerView::MoveFocus(uint32_t key) {
    const Strip* focused = FocusedStrip();
    if (!focused) return true;
    const ControlHost& window = m_site.Host();
    const bool ctrl = window.IsKeyDown(VK_CONTROL), shift = window.IsKeyDown(VK_SHIFT);
    const int last = static_cast<int>(m_strips.size()) - 1;
    int index = focused->place;
    const bool back = key == VK_LEFT || (key == VK_TAB && shift);
    if (key == VK_HOME)
        index = 0;
    else if (key == VK_END)
        index = last;
    else
        index = std::clamp(index + (back ? -1 : 1), 0, last);
    ChannelEntry& target = m_strips[static_cast<size_t>(index)]->Entry();
    if (key == VK_TAB || (shift && ctrl))
        SetFocus(&target);
    else if (!ctrl)
        Select(target, shift ? SelectMode::Extend : SelectMode::Alone);
    return true;
}

/// Up and down on the focused strip; a selected one takes the other selected strips along by its gesture.
bool CMixerView::MoveFaders(uint32_t, uintptr_t wparam, intptr_t lparam) {
    Strip* strip = m_focus ? Strip::Of(*m_focus) : nullptr;
    if (!strip || strip->Rects().fader.IsEmpty()) return true;
    const ControlHost& keys = m_site.Host();
    const bool ctrl = keys.IsKeyDown(VK_CONTROL), shift = keys.IsKeyDown(VK_SHIFT);
    const uintptr_t side = shift == ctrl ? u'S' : shift ? u'L' : u'R';
    FaderInst_Message(&strip->Fader(), WM_KEYDOWN, side, 1);
    FaderInst_Message(&strip->Fader(), WM_KEYDOWN, wparam, lparam);
    return true;
}

std::vector<Strip*> CMixerView::KeyTargets(bool alone) const {
    Strip* focused = m_focus ? Strip::Of(*m_focus) : nullptr;
    if (!focused) return {};
    if (alone || !focused->IsSelected()) return {focused};
    std::vector<Strip*> targets = m_strips;
    std::erase_if(targets, [](Strip* s) { return !s->IsSelected(); });
    return targets;
}

void CMixerView::ToggleByKey(uint32_t bit) {
    Strip* focused = FocusedStrip();
    if (!focused) return;
    // All follow the focused strip, so that a mixed selection ends alike.
    const bool on = !focused->Has(bit);
    for (Strip* strip : KeyTargets(m_site.Host().IsKeyDown(VK_SHIFT)))
        if (strip->Has(bit) != on) strip->Toggle(bit);
    InvalidateValues();
}
