// Mouse and keyboard of the mixer view: what is pressed, dragged, selected and focused.
#include "console/commands.h"
#include "console/console_plugin.h"
#include "console/mixer_view.h"
#include "controls/fader.h"

#include <algorithm>
#include <cstdlib>

namespace {

constexpr uint32_t NOT_SELECTABLE = KIND_NO_STRIP | KIND_SPECIAL;
constexpr LONG TREMBLE = 3;  // pixels that a press may move and still be a click

PartAction ActionOf(uint32_t element) {
    const StripPart* part = PartOfElement(element);
    return part ? part->action : PartAction::None;
}

/// Whether the mouse over it is shown.
bool GetsHot(PartAction action) {
    return action == PartAction::Toggle || action == PartAction::Push || action == PartAction::Menu ||
           action == PartAction::Insert;
}

uint32_t PrePostOf(int row) {
    return row == 0 ? ELEMENT_SEND_PREPOST : ELEMENT_SEND_PREPOST_BELOW + static_cast<uint32_t>(row) - 1;
}

/// The place within an effect's row that turns the effect on and off.
bool IsOnLamp(const RECT& row, POINT at) { return at.x < row.left + row.Height() * 2 / 3; }

}  // namespace

// Mouse
// -------------------------------------------------------------------------------------------------------------

uint32_t CMixerView::HitTest(POINT at, std::u16string& tip, RECT& area) {
    m_hitWord = 0;
    if (!m_bounds.Contains(at)) return 0;
    if (m_scroll.Bounds().Contains(at)) return m_hitWord = m_scroll.HitTest(at, tip, area);
    // The edge of a strip reaches into its neighbour.
    Strip* strip = StripAt(at.x - 2);
    if (!strip || !EdgeContains(*strip, at)) strip = StripAt(at.x);
    m_hitWord = HIT_MIXER_VIEW | (strip ? strip->HitTest(at, tip, area) : ELEMENT_NONE);
    return m_hitWord;
}

uint32_t CMixerView::GetCursorForHit(uint32_t element) {
    switch (element) {
    case ELEMENT_EDGE: return CURSOR_SPLIT_COLUMNS;
    case 0x10E:
    case ELEMENT_INSERTS_EDGE:
    case ELEMENT_SENDS_EDGE:
    case ELEMENT_VU_EDGE:
    case ELEMENT_PEAKS_EDGE:
    case ELEMENT_REST: return CURSOR_SPLIT_ROWS;
    default: return CURSOR_ARROW;
    }
}

void CMixerView::OnMouseAway() {
    SetHot(nullptr, ELEMENT_NONE);
    m_scroll.OnMouseAway();
    if (m_drag.strip) OnMouse(WM_CANCELMODE, 0, 0);
}

void CMixerView::SetHot(Strip* strip, uint32_t element) {
    if (!GetsHot(ActionOf(element))) strip = nullptr, element = ELEMENT_NONE;
    if (strip == m_hotStrip && element == m_hot) return;
    const auto refresh = [this] {
        if (!m_hotStrip) return;
        const RECT at = AreaOfElement(*m_hotStrip, m_hot);
        m_site.Host().Invalidate(at);
    };
    refresh();
    m_hotStrip = strip;
    m_hot = element;
    refresh();
}

bool CMixerView::EdgeContains(const Strip& strip, POINT at) const {
    return AreaOfElement(strip, ELEMENT_EDGE).Contains(at);
}

intptr_t CMixerView::OnMouse(uint32_t message, uintptr_t wparam, intptr_t lparam) {
    if (message == WM_MOUSEWHEEL || message == WM_MOUSEHWHEEL) return OnWheel(message, wparam, lparam);
    const POINT at = UnpackPoint(lparam);

    if (HoldsControl()) {
        SendToControl(message, wparam, lparam);
        return 0;
    }
    if (message == WM_CANCELMODE || message == WM_CAPTURECHANGED) {
        m_scroll.OnMouse(message, wparam, lparam);
        CancelDrag();
        SetHot(nullptr, ELEMENT_NONE);
        return 0;
    }
    if (m_drag.strip) {
        if (message == WM_MOUSEMOVE) DragTo(at);
        if (message == WM_LBUTTONUP) Drop(at);
        return 0;
    }
    if (m_scroll.IsHeld() || m_scroll.Bounds().Contains(at)) {
        SetHot(nullptr, ELEMENT_NONE);
        return m_scroll.OnMouse(message, wparam, lparam);
    }
    m_scroll.OnMouseAway();
    std::u16string tip;
    RECT area{};
    const uint32_t hit = HitTest(at, tip, area);
    Strip* strip = StripAt(at.x - 2);
    if (!strip || !EdgeContains(*strip, at)) strip = StripAt(at.x);
    if (!hit) return 0;
    const uint32_t element = hit & HIT_ELEMENT_MASK;
    switch (message) {
    case WM_MOUSEMOVE: SetHot(strip, element); return 0;
    case WM_RBUTTONUP: ShowContextMenu(strip, element, at); return 0;
    case WM_LBUTTONDOWN:
        EndKeyGesture();
        if (strip) Press(*strip, element, at, wparam);
        return 0;
    case WM_LBUTTONDBLCLK:
        EndKeyGesture();
        if (strip)
            DoublePress(*strip, element, at);
        else
            m_site.RunCommand(CMD_CHANNEL_LIST);
        return 0;
    default: return 0;
    }
}

intptr_t CMixerView::OnWheel(uint32_t message, uintptr_t wparam, intptr_t lparam) {
    const POINT at = m_site.ToClient(UnpackPoint(lparam));
    const int32_t turn = SignedHighWord(wparam);
    Strip* strip = m_bounds.Contains(at) ? StripAt(at.x) : nullptr;
    std::u16string tip;
    RECT area{};
    const uint32_t element = strip ? strip->HitTest(at, tip, area) : ELEMENT_NONE;
    const PartAction action = ActionOf(element);
    if (message == WM_MOUSEWHEEL && !(LowWord(wparam) & MK_SHIFT)) {
        if (StripControl* control = strip ? strip->Control(element) : nullptr) {
            control->Message(message, wparam, lparam);
            if (!HoldsControl()) m_gesture.End();  // each notch is a movement of its own
            return FADER_WHEEL_USED;
        }
        if (action == PartAction::Meter && StepMeterRange(turn > 0 ? 1 : -1)) return FADER_WHEEL_USED;
        if ((action == PartAction::Insert || action == PartAction::Scroll || IsOfSend(element)) &&
            strip->ScrollRows(element, turn > 0 ? -1 : 1))
            return FADER_WHEEL_USED;
    }
    if (message == WM_MOUSEWHEEL && LowWord(wparam) & MK_CONTROL) {
        constexpr LONG PERCENT = 100, NOTCH_PERCENT = 15;
        const LONG notch = turn > 0 ? -NOTCH_PERCENT : NOTCH_PERCENT;
        ZoomTo(m_offset, ViewWidth() + ViewWidth() * notch / PERCENT);
        return FADER_WHEEL_USED;
    }
    const LONG step = ConsoleMetrics().cxChannelCurrent;
    const int32_t direction = message == WM_MOUSEWHEEL ? -1 : 1;
    SetScroll(m_offset + direction * turn * step / WHEEL_DELTA);
    return 0;
}

void CMixerView::Press(Strip& strip, uint32_t element, POINT at, uintptr_t keys) {
    const PartAction action = ActionOf(element);
    SetHot(nullptr, ELEMENT_NONE);
    if (action == PartAction::Control) {
        StripControl* control = strip.Control(element);
        if (!control) return;
        SetFocus(&strip.Entry());
        m_drag = {.action = action, .strip = &strip, .element = element, .control = control};
        SendToControl(WM_LBUTTONDOWN, keys, PackPoint(at));
        return;
    }
    if (action == PartAction::Meter) {
        strip.Meters().Message(element, WM_LBUTTONDOWN, keys, PackPoint(at));
        return;
    }
    if (action == PartAction::None) return;
    if (action == PartAction::Select || action == PartAction::Name)
        Select(strip.Entry(), keys & MK_CONTROL ? SelectMode::Toggle
                              : keys & MK_SHIFT ? SelectMode::Extend
                                                : SelectMode::Alone);
    if (action == PartAction::Select) return;
    m_drag = {.action = action, .strip = &strip, .element = element, .from = at};
    if (action == PartAction::Width) m_drag.start = strip.Width();
    if (action == PartAction::Resize) m_drag.start = *SizeOf(element);
    if (action == PartAction::Scroll) m_drag.start = strip.RowsOf(element).first;
    m_site.Host().SetCapture(true);
    m_site.Host().Invalidate(strip.Rects().strip);
}

void CMixerView::DoublePress(Strip& strip, uint32_t element, POINT at) {
    const PartAction action = ActionOf(element);
    if (action == PartAction::Control) {
        StripControl* control = strip.Control(element);
        if (!control) return;
        m_drag = {.action = action, .strip = &strip, .element = element, .control = control};
        SendToControl(WM_LBUTTONDBLCLK, 0, PackPoint(at));
        if (!HoldsControl()) m_gesture.End();  // a double-click is over with its press
    } else if (action == PartAction::Insert && !IsOnLamp(AreaOfElement(strip, element), at)) {
        PressElement(strip, element);
    } else if (element == ELEMENT_NAME) {
        StartRename(strip);
    } else {
        Press(strip, element, at, 0);
    }
}

/// The stored height that the bottom edge of a region changes, as all strips share it.
LONG* CMixerView::SizeOf(uint32_t edge) {
    StripSizes& sizes = m_plugin.View().sizes;
    sizes = UsableSizes(sizes, ConsoleMetrics());
    switch (edge) {
    case ELEMENT_INSERTS_EDGE: return &sizes.inserts;
    case ELEMENT_SENDS_EDGE: return &sizes.sends;
    case ELEMENT_VU_EDGE: return &sizes.vu;
    default: return &sizes.peaks;
    }
}

/// The place in the chain that an effect dropped here would have; -1 outside the rows.
int CMixerView::InsertPlaceAt(const Strip& strip, POINT at) const {
    const int last = static_cast<int>(strip.Inserts().size()) - 1;
    for (int row = 0; row < strip.Rects().insertRows.count; row++) {
        const RECT& rect = strip.Rects().inserts[row];
        if (at.x >= rect.left && at.x < rect.right && at.y >= rect.top && at.y < rect.bottom + 2)
            return std::min(strip.Rects().insertRows.first + row, last);
    }
    return -1;
}

void CMixerView::DragTo(POINT at) {
    Strip& strip = *m_drag.strip;
    const LONG dx = at.x - m_drag.from.x, dy = at.y - m_drag.from.y;
    m_drag.moved |= std::abs(dx) >= TREMBLE || std::abs(dy) >= TREMBLE;
    switch (m_drag.action) {
    case PartAction::Width: {
        strip.SetWidth(m_drag.start + dx);
        const LONG offset = m_offset;
        CollectStrips();
        m_offset = offset;
        LayoutStrips();
        m_site.InvalidateAll();
        return;
    }
    case PartAction::Resize: {
        *SizeOf(m_drag.element) = std::max<LONG>(m_drag.start + dy, 1);
        StripSizes& sizes = m_plugin.View().sizes;
        sizes = UsableSizes(sizes, ConsoleMetrics());
        for (Strip* shown : m_strips) shown->ViewChanged(false);
        LayoutStrips();
        m_site.InvalidateAll();
        return;
    }
    case PartAction::Scroll: {
        const ShownRows& rows = strip.RowsOf(m_drag.element);
        const LONG height = std::max<LONG>(rows.column.Height(), 1);
        strip.ScrollRows(m_drag.element, m_drag.start + dy * rows.all / height - rows.first);
        return;
    }
    case PartAction::Insert: {
        const auto insert = static_cast<size_t>(m_drag.element - ELEMENT_INSERT);
        const int target = m_drag.moved && insert < strip.Inserts().size() ? InsertPlaceAt(strip, at) : -1;
        if (std::exchange(m_drag.target, target) != target)
            m_site.Host().Invalidate(strip.Rects().Region(StripRegion::Inserts));
        break;
    }
    case PartAction::Name: {
        const Strip* over = m_drag.moved ? StripAt(at.x) : nullptr;
        const int target = over && m_plugin.CanMoveBefore(strip.Entry(), over->Entry()) ? over->place : -1;
        if (std::exchange(m_drag.target, target) != target) m_site.InvalidateAll();
        break;
    }
    default: break;
    }
    const bool inside = AreaOfElement(strip, m_drag.element).Contains(at);
    if (std::exchange(m_drag.inside, inside) != inside) m_site.Host().Invalidate(strip.Rects().strip);
}

void CMixerView::Drop(POINT at) {
    const Drag drag = std::exchange(m_drag, {});
    Strip& strip = *drag.strip;
    m_site.Host().SetCapture(false);
    m_site.Host().Invalidate(strip.Rects().strip);
    if (drag.action == PartAction::Width) return m_plugin.KeepState();
    if (drag.action == PartAction::Resize) return m_plugin.KeepState();
    if (drag.action == PartAction::Insert && drag.target >= 0) {
        strip.MoveEffect(drag.element - ELEMENT_INSERT, static_cast<size_t>(drag.target));
        strip.Prepare();
        return;
    }
    if (drag.action == PartAction::Name && drag.target >= 0 && drag.moved) {
        if (static_cast<size_t>(drag.target) < m_strips.size())
            m_plugin.MoveAtHost(strip.Entry(), m_strips[static_cast<size_t>(drag.target)]->Entry());
        m_site.InvalidateAll();
        return;
    }
    if (drag.moved && drag.action != PartAction::Toggle && drag.action != PartAction::Push) return;
    const RECT area = AreaOfElement(strip, drag.element);
    if (!area.Contains(at)) return;
    const size_t insert = drag.element - ELEMENT_INSERT;
    if (drag.action == PartAction::Insert && insert < strip.Inserts().size()) {
        // A click on the lamp; one on the name waits for the second.
        if (IsOnLamp(area, at)) strip.SetEffectState(insert, ~strip.Inserts()[insert].state, EFFECT_BYPASSED);
        strip.Prepare();
        return;
    }
    if (drag.action != PartAction::Name && drag.action != PartAction::Scroll)
        PressElement(strip, drag.element);
}

void CMixerView::CancelDrag() {
    if (!m_drag.strip) return;
    const Drag drag = std::exchange(m_drag, {});
    if (drag.action == PartAction::Resize) {
        *SizeOf(drag.element) = drag.start;
        for (Strip* strip : m_strips) strip->ViewChanged(false);
        LayoutStrips();
    }
    if (drag.action == PartAction::Width) {
        drag.strip->SetWidth(drag.start);
        CollectStrips();
        LayoutStrips();
    }
    m_site.Host().SetCapture(false);
    m_site.InvalidateAll();
}

void CMixerView::PressElement(Strip& strip, uint32_t element) {
    const StripPart* part = PartOfElement(element);
    if (!part) return;
    const uint32_t index = element - part->element;
    switch (part->action) {
    case PartAction::Toggle:
        strip.Toggle(part->bit);
        InvalidateValues();
        return;
    case PartAction::Push:
        if (element == ELEMENT_LOCK) strip.ToggleLock();
        if (part->element == ELEMENT_SEND_PREPOST || part->element == ELEMENT_SEND_PREPOST_BELOW) {
            const size_t send = strip.SendOf(part->element == ELEMENT_SEND_PREPOST ? 0 : index + 1);
            if (send < strip.Sends().size())
                strip.SetSendSwitches(send, strip.Sends()[send].switches ^ SENDSWITCH_PRE);
        }
        break;
    case PartAction::Insert:
        if (index < strip.Inserts().size())
            strip.SetEffectState(index, EFFECT_EDITOR, EFFECT_EDITOR);
        else
            ShowMenu(strip, element);
        return;
    case PartAction::Menu: ShowMenu(strip, element); return;
    case PartAction::Select:
    case PartAction::Name: Select(strip.Entry(), SelectMode::Alone); return;
    default: return;
    }
    strip.Prepare();
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

AccessibleNode* CMixerView::FocusedPart() const {
    Strip* strip = FocusedStrip();
    AccessibleNode* marked = strip && m_mark ? strip->NodeOf(m_mark) : nullptr;
    return marked ? marked : strip;
}

void CMixerView::SetFocus(ChannelEntry* channel) {
    if (m_focus == channel) return;
    m_mark = ELEMENT_NONE;
    for (ChannelEntry* entry : {m_focus, channel})
        if (Strip* strip = entry ? Strip::Of(*entry) : nullptr)
            m_site.Host().Invalidate(strip->Rects().strip);
    m_focus = channel;
    if (Strip* strip = channel ? Strip::Of(*channel) : nullptr) {
        const RECT rect = strip->Rects().strip;
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
    const bool ctrl = window.IsKeyDown(VK_CONTROL), alt = window.IsKeyDown(VK_MENU);
    if (HoldsControl()) {
        SendToControl(WM_KEYDOWN, wparam, lparam);  // Esc takes the drag back
        return true;
    }
    if (m_scroll.IsHeld() && key == VK_ESCAPE) {
        m_scroll.OnMouse(WM_CANCELMODE, 0, 0);
        return true;
    }
    if (m_drag.strip && key == VK_ESCAPE) {
        CancelDrag();
        return true;
    }
    EnsureFocus();
    if (alt && (key == VK_UP || key == VK_DOWN)) return MoveMark(key == VK_UP);
    if (m_mark && KeyToMark(key, wparam, lparam)) return true;
    Strip* strip = FocusedStrip();
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
    case VK_NEXT: return MoveFaders(wparam, lparam);
    case VK_SPACE: return false;  // the host's transport
    case VK_APPS:
        if (strip) ShowContextMenu(strip, m_mark, {strip->Rects().strip.left, strip->Rects().strip.top});
        return true;
    case VK_F2: return m_site.RunCommand(CMD_RENAME);
    case VK_DELETE: return m_site.RunCommand(CMD_DELETE);
    case 'A': return ctrl && m_site.RunCommand(CMD_SELECT_ALL);
    case VK_SHIFT:
    case VK_CONTROL: return true;
    default: break;
    }
    const StripPart* part = PartOfKey(key);
    if (!part || ctrl || alt) return false;
    ToggleByKey(part->bit);
    return true;
}

void CMixerView::OnKeyUp(uintptr_t wparam, intptr_t lparam) {
    if (!m_gesture.IsRunning() || HoldsControl()) return;
    if (m_keyControl) m_keyControl->Message(WM_KEYUP, wparam, lparam);
    m_keyControl = nullptr;
    m_gesture.End();
}

void CMixerView::EndKeyGesture() {
    m_keyControl = nullptr;
    if (!HoldsControl()) m_gesture.End();
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

void CMixerView::SetMark(uint32_t element) {
    Strip* strip = FocusedStrip();
    if (!strip || element == m_mark) return;
    m_mark = element;
    m_site.Host().Invalidate(strip->Rects().strip);
    m_site.FocusMoved();
}

/// From the first or last row of a list that goes on, to the row behind it.
bool CMixerView::ScrollMark(Strip& strip, bool back) {
    const uint32_t mark = m_mark;
    const ShownRows& rows = strip.RowsOf(mark);
    const int edge = back ? 0 : rows.count - 1;
    uint32_t next = ELEMENT_NONE;
    if (mark >= ELEMENT_INSERT && mark < ELEMENT_INSERT + INSERT_ROWS) {
        if (static_cast<int>(mark - ELEMENT_INSERT) == rows.first + edge) next = back ? mark - 1 : mark + 1;
    } else if (back ? mark == ELEMENT_SEND : mark == PrePostOf(edge)) {
        next = back ? PrePostOf(0) : ELEMENT_SEND + static_cast<uint32_t>(edge);
    }
    if (!next || !strip.ScrollRows(mark, back ? -1 : 1)) return false;
    SetMark(next);
    return true;
}

/// To the next part of the focused strip, and from the last one out of it.
bool CMixerView::MoveMark(bool back) {
    Strip* strip = FocusedStrip();
    if (!strip) return true;
    const std::vector<uint32_t> elements = strip->KeyElements();
    if (elements.empty()) return true;
    const auto at = std::ranges::find(elements, m_mark);
    if (at != elements.end() && ScrollMark(*strip, back)) return true;
    if (at == elements.end())
        SetMark(back ? elements.back() : elements.front());
    else if (back)
        SetMark(at == elements.begin() ? ELEMENT_NONE : *(at - 1));
    else
        SetMark(at + 1 == elements.end() ? ELEMENT_NONE : *(at + 1));
    return true;
}

/// Keys of the part that the keyboard is on: arrows move a slider, Enter presses a button.
bool CMixerView::KeyToMark(uint32_t key, uintptr_t wparam, intptr_t lparam) {
    Strip* strip = FocusedStrip();
    if (!strip) return false;
    if (key == VK_ESCAPE) {
        SetMark(ELEMENT_NONE);
        return true;
    }
    StripControl* control = strip->Control(m_mark);
    if (key == VK_RETURN && !control) {
        PressElement(*strip, m_mark);
        return true;
    }
    constexpr uint32_t MOVES[] = {VK_UP, VK_DOWN, VK_LEFT, VK_RIGHT, VK_PRIOR, VK_NEXT, VK_HOME, VK_END};
    if (!control || std::ranges::find(MOVES, key) == std::end(MOVES)) return false;
    m_keyControl = control;
    control->Message(WM_KEYDOWN, wparam, lparam);
    return true;
}

/// Up and down on the focused strip; a selected one takes the other selected strips along by its gesture.
bool CMixerView::MoveFaders(uintptr_t wparam, intptr_t lparam) {
    Strip* strip = FocusedStrip();
    StripControl* fader = strip ? strip->Control(ELEMENT_FADER) : nullptr;
    if (!fader) return true;
    const ControlHost& keys = m_site.Host();
    const bool ctrl = keys.IsKeyDown(VK_CONTROL), shift = keys.IsKeyDown(VK_SHIFT);
    const uintptr_t side = shift == ctrl ? u'S' : shift ? u'L' : u'R';
    m_keyControl = fader;
    fader->Message(WM_KEYDOWN, side, 1);
    fader->Message(WM_KEYDOWN, wparam, lparam);
    return true;
}

std::vector<Strip*> CMixerView::KeyTargets(bool alone) const {
    Strip* focused = FocusedStrip();
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
