#include "console/mixer_view.h"

#include "console/console_images.h"
#include "console/console_plugin.h"
#include "console/texts.h"
#include "kernel/color_math.h"
#include "kernel/ui/ui_colors.h"
#include "platform/ui/paint.h"
#include "platform/ui/window.h"

#include <algorithm>

CMixerView::CMixerView(RegionSite& site)
    : CViewRegion(site), m_plugin(site.Console()), m_images(site.Images()), m_gesture(m_plugin) {}

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
    const StripSite site{m_plugin, m_site.Host(), m_images, &CMixerView::OnFader, *this};
    for (ChannelEntry* entry : m_plugin.Entries()) {
        if (entry->view) continue;
        entry->view = std::make_unique<Strip>(*entry, site);
        entry->pending = 0;  // what was posted to a window that is gone
        Strip::Of(*entry)->ReadBack();
    }
    CollectStrips();
    LayoutStrips();
    m_site.InvalidateAll();
}

void CMixerView::OnEntryGoing(const ChannelEntry* channel) {
    std::erase_if(m_strips, [channel](Strip* strip) { return !channel || &strip->Entry() == channel; });
    for (size_t i = 0; i < m_strips.size(); i++) m_strips[i]->place = static_cast<int>(i);
    m_gesture.Forget(channel);
    if (!channel || m_focus == channel) m_focus = nullptr;
    if (!channel || m_anchor == channel) m_anchor = nullptr;
    if (m_held && (!channel || &m_held->Entry() == channel)) {
        m_held = nullptr;
        m_heldElement = m_pressed = ELEMENT_NONE;
        m_site.Host().SetCapture(false);
    }
}

void CMixerView::ReSize(RECT& rect) {
    if (rect.IsEmpty()) return;
    m_bounds = rect;
    rect.left = rect.right;
    SetScroll(m_offset);
    LayoutStrips();
}

void CMixerView::PlaceStrip(Strip& strip, LONG x) {
    strip.Layout({x, m_bounds.top, x + strip.Width(), ScrollLane().top});
}

void CMixerView::LayoutStrips() {
    m_offset = std::clamp<LONG>(m_offset, 0, std::max<LONG>(0, m_totalWidth - m_bounds.Width()));
    LONG x = m_bounds.left - m_offset;
    for (Strip* strip : m_strips) {
        PlaceStrip(*strip, x);
        x += strip->Width();
    }
    if (m_site.HasKeyboardFocus()) m_site.FocusMoved();
}

void CMixerView::SetScroll(LONG offset) {
    offset = std::clamp<LONG>(offset, 0, std::max<LONG>(0, m_totalWidth - m_bounds.Width()));
    if (offset == m_offset) return;
    m_offset = offset;
    LayoutStrips();
    m_site.InvalidateAll();
}

Strip* CMixerView::StripAt(LONG x) const {
    const auto right = [](const Strip* strip) { return strip->Rects().strip.right; };
    const auto at = std::ranges::upper_bound(m_strips, x, {}, right);
    return at != m_strips.end() && (*at)->Rects().strip.left <= x ? *at : nullptr;
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
    const bool focusShown = m_site.HasKeyboardFocus();
    LONG right = m_bounds.left;
    for (Strip* strip : OnView()) {
        right = strip->Rects().strip.right;
        if (!strip->Rects().strip.Intersects(area)) continue;
        const uint32_t pressed = strip == m_held ? m_pressed : ELEMENT_NONE;
        strip->Paint(painter, area, {focusShown && m_focus == &strip->Entry(), pressed, IsOffBySolo(*strip)});
    }
    if (right < m_bounds.right)
        FillRect(painter, {right, m_bounds.top, m_bounds.right, m_bounds.bottom}, m_images.background);
    PaintScrollLane(painter);
}

/// The lane along the bottom that tells where the strips on view lie among all of them; empty when all fit.
RECT CMixerView::ScrollLane() const {
    constexpr LONG HEIGHT = 7;
    const bool fits = m_totalWidth <= m_bounds.Width();
    return {m_bounds.left, m_bounds.bottom - (fits ? 0 : HEIGHT), m_bounds.right, m_bounds.bottom};
}

void CMixerView::PaintScrollLane(QPainter& painter) const {
    const RECT lane = ScrollLane();
    if (lane.IsEmpty()) return;
    constexpr LONG SHORTEST = 24;
    const LONG total = m_totalWidth, width = lane.Width();
    const LONG length =
        std::min(width, std::max<LONG>(SHORTEST, static_cast<LONG>(int64_t{width} * width / total)));
    const LONG left = lane.left + static_cast<LONG>(int64_t{width - length} * m_offset / (total - width));
    FillRect(painter, lane, m_images.background);
    FillRect(painter, {left, lane.top + 2, left + length, lane.bottom - 2}, QmGetUIColor(UICOLOR_TICK));
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
    for (const Strip* strip : OnView()) m_site.Host().Invalidate(strip->Rects().valueLabel);
}

void CMixerView::OnChannelUpdate(ChannelEntry* channel, uint32_t dirty) {
    if (dirty == 0) return;
    const auto update = [&](ChannelEntry& entry) {
        Strip* strip = Strip::Of(entry);
        if (!strip) return;
        strip->ReadBack();
        if (dirty & (DIRTY_ALL | DIRTY_CONTROLS | DIRTY_NAME)) m_site.Host().Invalidate(strip->Rects().strip);
    };
    if (channel)
        update(*channel);
    else
        for (ChannelEntry* entry : m_plugin.Entries()) update(*entry);
    InvalidateValues();
}

void CMixerView::OnImagesChanged() {
    CollectStrips();  // the widths come from the fonts
    LayoutStrips();
}
void CMixerView::OnTimer(uint32_t id) {
    // The repeat timer of a fader whose track is held.
    if (HoldsFader()) SendToHeldFader(WM_TIMER, id, 0);
}

// Faders
// -----------------------------------------------------------------------------------------------------------

void CMixerView::OnFader(tQMFADER*, uint32_t, uintptr_t userData, uint32_t code, const int32_t* values,
                         uint32_t) {
    auto& strip = *reinterpret_cast<Strip*>(userData);
    strip.View().HandleFader(strip, code, values[0]);
}

void CMixerView::HandleFader(Strip& strip, uint32_t code, int32_t position) {
    if (code == FADER_END) {
        m_gesture.End();
        m_site.Host().TrackTip({}, {});
    } else {
        if (code != FADER_TRACK && !m_gesture.IsRunningOn(strip.Entry()))
            m_gesture.Begin(strip.Entry(), strip.IsSelected());
        if (code != FADER_START) m_gesture.Change(position);
        if (code == FADER_TRACK) ShowFaderTip(strip);
    }
    m_site.Host().Invalidate(strip.Rects().valueLabel);
}

/// The value beside the thumb while it is dragged.
void CMixerView::ShowFaderTip(const Strip& strip) {
    const RECT& thumb = strip.Fader().thumbs[0].rect;
    const POINT at = m_site.Host().ToScreen({thumb.right + 6, thumb.top});
    m_site.Host().TrackTip(strip.ValueText(false), at);
}
