#include "console/mixer_view.h"

#include "console/commands.h"
#include "console/console_images.h"
#include "console/console_plugin.h"
#include "console/texts.h"
#include "kernel/color_math.h"
#include "kernel/ui/ui_colors.h"
#include "platform/ui/paint.h"
#include "platform/ui/window.h"

#include <algorithm>

CMixerView::CMixerView(RegionSite& site)
    : CViewRegion(site), m_plugin(site.Console()), m_images(site.Images()), m_gesture(m_plugin),
      m_scroll(site, [this](LONG start, LONG length) { ZoomTo(start, length); }) {}

CMixerView::~CMixerView() {
    m_gesture.End();
    for (ChannelEntry* entry : m_plugin.Entries()) entry->view.reset();
}

HRESULT CMixerView::Create() {
    OnEntriesChanged();
    return S_OK;
}

// Strips and their places
// ------------------------------------------------------------------------------------------

void CMixerView::CollectStrips() {
    m_strips.clear();
    m_prepared.clear();
    m_totalWidth = 0;
    for (ChannelEntry* entry : m_plugin.Entries()) {
        Strip* strip = Strip::Of(*entry);
        if (!strip) continue;
        const bool shown = !(entry->kind & KIND_NO_STRIP) && !m_plugin.IsChannelHidden(*entry);
        strip->place = shown ? static_cast<int>(m_strips.size()) : -1;
        if (!shown) continue;
        m_strips.push_back(strip);
        m_totalWidth += strip->Width();
    }
}

void CMixerView::OnEntriesChanged() {
    const StripSite site{m_plugin, m_site.Host(), m_images, *this, *this};
    for (ChannelEntry* entry : m_plugin.Entries()) {
        if (entry->view) continue;
        entry->view = std::make_unique<Strip>(*entry, site);
        entry->pending = 0;  // what was posted to a window that is gone
    }
    CollectStrips();
    LayoutStrips();
    m_site.InvalidateAll();
}

void CMixerView::OnEntryGoing(const ChannelEntry* channel) {
    const auto goes = [channel](const Strip* strip) { return !channel || &strip->Entry() == channel; };
    m_gesture.Forget(channel);
    if (!channel || m_focus == channel) m_focus = nullptr, m_mark = ELEMENT_NONE;
    if (!channel || m_anchor == channel) m_anchor = nullptr;
    if (m_hotStrip && goes(m_hotStrip)) m_hotStrip = nullptr, m_hot = ELEMENT_NONE;
    if (m_keyControl && goes(&m_keyControl->Owner())) m_keyControl = nullptr;
    if (m_drag.strip && goes(m_drag.strip)) {
        m_drag = {};
        m_site.Host().TrackTip({}, {});
        m_site.Host().SetCapture(false);
    }
    std::erase_if(m_strips, goes);
    std::erase_if(m_prepared, goes);
    for (size_t i = 0; i < m_strips.size(); i++) m_strips[i]->place = static_cast<int>(i);
}

void CMixerView::OnControlsGoing(Strip& strip) {
    if (m_keyControl && &m_keyControl->Owner() == &strip) m_keyControl = nullptr;
    if (m_drag.control && m_drag.strip == &strip) {
        m_gesture.End();
        m_drag = {};
        m_site.Host().TrackTip({}, {});
        m_site.Host().SetCapture(false);
    }
}

void CMixerView::ReSize(RECT& rect) {
    if (rect.IsEmpty()) {
        m_bounds = {};  // the panes have left nothing
        return;
    }
    m_bounds = rect;
    rect.left = rect.right;
    SetScroll(m_offset);
    LayoutStrips();
}

/// Every strip is told its place; what is in it is laid out for those on view alone.
void CMixerView::LayoutStrips() {
    m_offset = std::clamp<LONG>(m_offset, 0, std::max<LONG>(0, m_totalWidth - m_bounds.Width()));
    m_scroll.SetModel({m_offset, ViewWidth(), m_totalWidth, ViewWidth()});
    RECT rest = m_bounds;
    m_scroll.ReSize(rest);
    const LONG bottom = rest.bottom;
    LONG x = m_bounds.left - m_offset;
    for (Strip* strip : m_strips) {
        const LONG width = strip->Width();
        strip->Place({x, m_bounds.top, x + width, bottom});
        x += width;
    }
    std::vector<Strip*> before = std::exchange(m_prepared, {});
    for (Strip* strip : OnView()) {
        strip->Prepare();
        m_prepared.push_back(strip);
    }
    for (Strip* strip : before)
        if (std::ranges::find(m_prepared, strip) == m_prepared.end()) strip->LeaveView();
    if (m_site.HasKeyboardFocus()) m_site.FocusMoved();
}

void CMixerView::ViewChanged(bool rebuild) {
    CancelDrag();
    for (ChannelEntry* entry : m_plugin.Entries())
        if (Strip* strip = Strip::Of(*entry)) strip->ViewChanged(rebuild);
    CollectStrips();
    LayoutStrips();
    m_site.InvalidateAll();
}

void CMixerView::SetScroll(LONG offset) {
    offset = std::clamp<LONG>(offset, 0, std::max<LONG>(0, m_totalWidth - m_bounds.Width()));
    if (offset == m_offset) return;
    const LONG distance = m_offset - offset;
    m_offset = offset;
    LayoutStrips();
    RECT shifted = m_bounds;
    if (!m_scroll.Bounds().IsEmpty()) shifted.bottom = m_scroll.Bounds().top;
    m_site.ThePageWindow().Scroll(shifted, distance);
    m_site.Host().Invalidate(m_scroll.Bounds());
}

void CMixerView::ZoomTo(LONG offset, LONG length) {
    const LONG width = ViewWidth();
    if (length == width || length <= 0 || width <= 0) return SetScroll(offset);
    tConsoleMetrics& m = ConsoleMetrics();
    const auto scaled = [&](LONG value) { return static_cast<LONG>(int64_t{value} * width / length); };
    const LONG before = m.cxChannelCurrent;
    m.cxChannelCurrent = std::clamp(scaled(before), m.cxChannelNarrow, m.cxChannelWide);
    m.cxSurroundCurrent = std::clamp(scaled(m.cxSurroundCurrent), m.cxSurroundNarrow, m.cxSurroundWide);
    for (ChannelEntry* entry : m_plugin.Entries()) entry->width = 0;
    m_offset = static_cast<LONG>(int64_t{offset} * m.cxChannelCurrent / std::max<LONG>(before, 1));
    m_site.RunCommand(CMD_ADJUST_WIDTH);
}

Strip* CMixerView::StripAt(LONG x) const {
    const auto right = [](const Strip* strip) { return strip->Rects().strip.right; };
    const auto at = std::ranges::upper_bound(m_strips, x, {}, right);
    return at != m_strips.end() && (*at)->Rects().strip.left <= x ? *at : nullptr;
}

Strip* CMixerView::StripOf(uint64_t channel) const {
    for (ChannelEntry* entry : m_plugin.Entries())
        if (entry->id.channel == channel) return Strip::Of(*entry);
    return nullptr;
}

std::span<Strip* const> CMixerView::OnView() const {
    const auto left = [](const Strip* strip) { return strip->Rects().strip.left; };
    const auto right = [](const Strip* strip) { return strip->Rects().strip.right; };
    const auto first = std::ranges::upper_bound(m_strips, m_bounds.left, {}, right);
    const auto end = std::ranges::lower_bound(first, m_strips.end(), m_bounds.right, {}, left);
    return {first, end};
}

// Painting
// ---------------------------------------------------------------------------------------------------------

bool CMixerView::IsOffBySolo(const Strip& strip) const {
    return m_anySolo && (strip.Entry().kind & KIND_AUDIO_TRACK) && !strip.Has(SWITCH_SOLO);
}

void CMixerView::Paint(QPainter& painter, const RECT& area) {
    if (m_bounds.IsEmpty()) return;
    const ClipScope clip(painter, m_bounds);
    // What is due need not fill `area`: a scrolled view has its bar and the strip that came in.
    const QRegion due = painter.clipRegion();
    const bool focusShown = m_site.HasKeyboardFocus();
    LONG right = m_bounds.left;
    for (Strip* strip : OnView()) {
        right = strip->Rects().strip.right;
        if (!due.intersects(ToQRect(strip->Rects().strip))) continue;
        strip->Prepare();
        const bool focused = focusShown && m_focus == &strip->Entry();
        StripLook look{};
        look.focused = focused;
        look.pressed = strip == m_drag.strip && m_drag.inside ? m_drag.element : ELEMENT_NONE;
        look.hot = strip == m_hotStrip ? m_hot : ELEMENT_NONE;
        look.marked = focused ? m_mark : ELEMENT_NONE;
        look.offBySolo = IsOffBySolo(*strip);
        strip->Paint(painter, area, look);
        if (m_drag.action == PartAction::Insert && m_drag.strip == strip && m_drag.target >= 0) {
            const RECT row = AreaOfElement(*strip, ELEMENT_INSERT + static_cast<uint32_t>(m_drag.target));
            FillRect(painter, {row.left, row.top - 2, row.right, row.top + 1}, QmGetUIColor(COLOR_HIGHLIGHT));
        }
        if (m_drag.action == PartAction::Name && m_drag.target == strip->place && m_drag.strip != strip)
            FrameRect(painter, strip->Rects().strip, QmGetUIColor(COLOR_HIGHLIGHT));
    }
    if (right < m_bounds.right)
        FillRect(painter, {right, m_bounds.top, m_bounds.right, m_bounds.bottom}, m_images.background);
    m_scroll.Paint(painter, area);
}

void CMixerView::OnTick(uint32_t what) {
    if (m_plugin.IsPaintingOff()) return;
    if (what & TICK_VALUES || m_plugin.TransportFlags() & TRANSPORT_RUNNING_MASK) {
        bool changed = false;
        for (Strip* strip : OnView()) changed |= strip->ReadBack();
        if (changed) InvalidateValues();
    }
    if (!(what & TICK_METERS)) return;
    m_site.DrawNow([this](WindowPainter& painter) {
        const ClipScope clip(*painter, m_bounds);
        for (Strip* strip : OnView()) strip->TickMeters(painter);
    });
}

/// A solo changes what the labels of the other strips say.
void CMixerView::InvalidateValues() {
    const bool any = std::ranges::any_of(m_strips, [](const Strip* strip) {
        return (strip->Entry().kind & KIND_AUDIO_TRACK) && strip->Has(SWITCH_SOLO);
    });
    if (any == m_anySolo) return;
    m_anySolo = any;
    for (const Strip* strip : OnView()) strip->InvalidateNumbers();
}

void CMixerView::OnChannelUpdate(ChannelEntry* channel, uint32_t dirty) {
    if (dirty == 0) return;
    const auto update = [&](ChannelEntry& entry) {
        Strip* strip = Strip::Of(entry);
        if (!strip) return;
        if (strip->IsPrepared()) {
            if (dirty & (DIRTY_ALL | DIRTY_PARTS | DIRTY_SENDS)) strip->ReadParts();
            if (dirty & (DIRTY_ALL | DIRTY_ROUTES)) strip->ReadRoutes();
            strip->Prepare();
        } else if (dirty & (DIRTY_ALL | DIRTY_PARTS | DIRTY_SENDS | DIRTY_ROUTES)) {
            strip->Unread();
        }
        strip->ReadBack();
        if (dirty & (DIRTY_ALL | DIRTY_CONTROLS | DIRTY_NAME)) m_site.Host().Invalidate(strip->Rects().strip);
    };
    if (channel)
        update(*channel);
    else
        for (ChannelEntry* entry : m_plugin.Entries()) update(*entry);
    // The names of busses stand on the strips that lead to them.
    if (channel && (channel->kind & KIND_BUS) && (dirty & (DIRTY_ALL | DIRTY_NAME)))
        for (Strip* strip : m_strips) {
            if (!strip->IsPrepared()) {
                strip->Unread();
                continue;
            }
            strip->ReadParts();
            strip->ReadRoutes();
            strip->Prepare();
        }
    InvalidateValues();
}

void CMixerView::OnImagesChanged() { ViewChanged(true); }

void CMixerView::OnTimer(uint32_t id) {
    // The repeat timer of a control whose track is held.
    if (HoldsControl()) SendToControl(WM_TIMER, id, 0);
    m_scroll.OnTimer(id);
}

// Hands
// -----------------------------------------------------------------------------------------------------------

void CMixerView::OnHand(StripControl& control, HandCode code, const StripPositions& positions) {
    Strip& strip = control.Owner();
    if (code == HandCode::End) {
        m_gesture.End();
        m_site.Host().TrackTip({}, {});
    } else {
        if (code != HandCode::Drag && !m_gesture.IsRunningOn(strip.Entry(), control.Parameter()))
            m_gesture.Begin(strip.Entry(), control.Parameters(), strip.IsSelected());
        if (code != HandCode::Begin) m_gesture.Change(positions);
        if (code == HandCode::Drag) ShowTip(control);
    }
    if (code == HandCode::Change || code == HandCode::Drag) strip.TellChange(control.Element());
    const StripRects& rects = strip.Rects();
    if (control.Parameter().send)
        m_site.Host().Invalidate(rects.Region(StripRegion::Sends));
    else if (control.Element() == ELEMENT_PAN)
        m_site.Host().Invalidate(rects.panValue);
    else
        strip.InvalidateNumbers();
}

/// The value beside the thumb while it is dragged.
void CMixerView::ShowTip(const StripControl& control) {
    const RECT thumb = control.ThumbArea();
    m_site.Host().TrackTip(control.ValueText(), m_site.Host().ToScreen({thumb.right + 6, thumb.top}));
}

/// Changes that come back from the host wait for the message loop, so the strip outlives the call; but the
/// control may let go of the mouse in it, and that comes back here as a message of its own.
void CMixerView::SendToControl(uint32_t message, uintptr_t wparam, intptr_t lparam) {
    m_drag.control->Message(message, wparam, lparam);
    if (m_drag.control && !m_drag.control->IsHeld()) m_drag = {};
}

void CMixerView::MoveParameter(Strip& strip, const StripParameter& parameter, int32_t position) {
    m_gesture.Begin(strip.Entry(), {&parameter, 1}, strip.IsSelected());
    m_gesture.Change({position, position});
    m_gesture.End();
    strip.ReadBack();
}

void CMixerView::MoveControl(Strip& strip, uint32_t element, int32_t position) {
    strip.Prepare();
    StripControl* control = strip.Control(element);
    if (!control || HoldsControl()) return;
    const StripParameter& p = control->Parameter();
    position = std::clamp(position, p.Least(), p.Most());
    StripPositions to = control->Positions();
    to[0] = position;
    if (p.linked) to[1] = position;
    m_gesture.Begin(strip.Entry(), control->Parameters(), strip.IsSelected());
    m_gesture.Change(to);
    m_gesture.End();
    strip.ReadBack();
}
