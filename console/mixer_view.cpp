#include "console/mixer_view.h"

#include "console/console_images.h"
#include "console/console_plugin.h"
#include "console/mixer_page.h"
#include "console/texts.h"
#include "kernel/ui/color_math.h"
#include "kernel/ui/ui_colors.h"
#include "platform/ui/paint.h"

#include <algorithm>

CMixerView::CMixerView(CConsoleMixerPage& page, CConsoleControlPlugin& plugin, const ConsoleImages& images)
    : CViewRegion(page), m_plugin(plugin), m_images(images), m_gesture(plugin) {}

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

std::vector<Strip*> CMixerView::VisibleStrips() const {
    std::vector<Strip*> strips;
    for (ChannelEntry* entry : m_plugin.Entries())
        if (Strip* strip = Strip::Of(*entry);
            strip && !(entry->kind & KIND_NO_STRIP) && !m_plugin.IsChannelHidden(*entry))
            strips.push_back(strip);
    return strips;
}

LONG CMixerView::TotalWidth() const {
    LONG width = 0;
    for (const Strip* strip : VisibleStrips()) width += strip->Width();
    return width;
}

void CMixerView::OnEntriesChanged() {
    const StripSite site{m_plugin, m_page.ThePageWindow(), m_images, &CMixerView::OnFader, *this};
    for (ChannelEntry* entry : m_plugin.Entries()) {
        if (entry->view) continue;
        entry->view = std::make_unique<Strip>(*entry, site);
        Strip::Of(*entry)->ReadBack();
    }
    LayoutStrips();
    m_page.InvalidateAll();
}

void CMixerView::OnEntryGoing(const ChannelEntry* channel) {
    m_gesture.Forget(channel);
    if (!channel || m_focus == channel) m_focus = nullptr;
    if (!channel || m_anchor == channel) m_anchor = nullptr;
    if (m_held && (!channel || &m_held->Entry() == channel)) {
        m_held = nullptr;
        m_heldElement = m_pressed = ELEMENT_NONE;
        m_page.ThePageWindow().SetCapture(false);
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
    const LONG total = TotalWidth();
    m_offset = std::clamp<LONG>(m_offset, 0, std::max<LONG>(0, total - m_bounds.Width()));
    LONG x = m_bounds.left - m_offset;
    for (Strip* strip : VisibleStrips()) {
        PlaceStrip(*strip, x);
        x += strip->Width();
    }
    m_page.OnStripsMoved();
}

void CMixerView::SetScroll(LONG offset) {
    offset = std::clamp<LONG>(offset, 0, std::max<LONG>(0, TotalWidth() - m_bounds.Width()));
    if (offset == m_offset) return;
    m_offset = offset;
    LayoutStrips();
    m_page.InvalidateAll();
}

Strip* CMixerView::StripAt(LONG x) const {
    for (Strip* strip : VisibleStrips())
        if (x >= strip->Rects().strip.left && x < strip->Rects().strip.right) return strip;
    return nullptr;
}

// Painting
// ---------------------------------------------------------------------------------------------------------

bool CMixerView::IsOffBySolo(const Strip& strip) const {
    auto& entry = const_cast<Strip&>(strip).Entry();
    return m_anySolo && (entry.kind & KIND_AUDIO_TRACK) && !strip.IsOn(StripSwitches()[1]);
}

void CMixerView::Paint(QPainter& painter, const RECT& area) {
    if (m_bounds.IsEmpty()) return;
    const ClipScope clip(painter, m_bounds);
    const bool focusShown = m_page.HasKeyboardFocus();
    LONG right = m_bounds.left;
    for (Strip* strip : VisibleStrips()) {
        const RECT& rect = strip->Rects().strip;
        right = std::max(right, rect.right);
        strip->painted = rect.Intersects(m_bounds);
        if (!strip->painted || !rect.Intersects(area)) continue;
        const uint32_t pressed = strip == m_held ? m_pressed : ELEMENT_NONE;
        strip->Paint(painter, area, focusShown && m_focus == &strip->Entry(), pressed, IsOffBySolo(*strip));
    }
    if (right < m_bounds.right)
        FillRect(painter, {right, m_bounds.top, m_bounds.right, m_bounds.bottom}, m_images.background);
    PaintScrollLane(painter);
}

/// The lane along the bottom that tells where the strips on view lie among all of them; empty when all fit.
RECT CMixerView::ScrollLane() const {
    constexpr LONG HEIGHT = 7;
    const bool fits = TotalWidth() <= m_bounds.Width();
    return {m_bounds.left, m_bounds.bottom - (fits ? 0 : HEIGHT), m_bounds.right, m_bounds.bottom};
}

void CMixerView::PaintScrollLane(QPainter& painter) const {
    const RECT lane = ScrollLane();
    if (lane.IsEmpty()) return;
    constexpr LONG SHORTEST = 24;
    const LONG total = TotalWidth(), width = lane.Width();
    const LONG length =
        std::min(width, std::max<LONG>(SHORTEST, static_cast<LONG>(int64_t{width} * width / total)));
    const LONG left = lane.left + static_cast<LONG>(int64_t{width - length} * m_offset / (total - width));
    FillRect(painter, lane, m_images.background);
    FillRect(painter, {left, lane.top + 2, left + length, lane.bottom - 2}, QmGetUIColor(UICOLOR_TICK));
}

void CMixerView::OnTick(bool meters) {
    if (m_plugin.IsPaintingOff()) return;
    const std::vector<Strip*> strips = VisibleStrips();
    if (m_plugin.TransportFlags() & TRANSPORT_RUNNING_MASK) {
        bool changed = false;
        for (Strip* strip : strips)
            if (strip->painted) changed |= strip->ReadBack();
        if (changed) InvalidateValues();
    }
    if (!meters) return;
    WindowPainter painter(m_page.ThePageWindow());
    if (!painter) return;
    const ClipScope clip(*painter, m_bounds);
    for (Strip* strip : strips)
        if (strip->painted) strip->TickMeters(painter);
}

/// A solo changes what the labels of the other strips say.
void CMixerView::InvalidateValues() {
    const std::vector<Strip*> strips = VisibleStrips();
    const bool any = std::any_of(strips.begin(), strips.end(), [](Strip* strip) {
        return (strip->Entry().kind & KIND_AUDIO_TRACK) && strip->IsOn(StripSwitches()[1]);
    });
    if (any == m_anySolo) return;
    m_anySolo = any;
    for (const Strip* strip : strips) m_page.ThePageWindow().Invalidate(strip->Rects().valueLabel);
}

void CMixerView::OnChannelUpdate(ChannelEntry* channel, uint32_t dirty) {
    if (dirty == 0) return;
    for (ChannelEntry* entry : m_plugin.Entries()) {
        if (channel && entry != channel) continue;
        Strip* strip = Strip::Of(*entry);
        if (!strip) continue;
        strip->ReadBack();
        if (dirty & (DIRTY_ALL | DIRTY_CONTROLS | DIRTY_NAME))
            m_page.ThePageWindow().Invalidate(strip->Rects().strip);
    }
    InvalidateValues();
}

void CMixerView::OnImagesChanged() { LayoutStrips(); }
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
        m_page.ThePageWindow().TipService().HideTracked();
    } else {
        if (code != FADER_TRACK && !m_gesture.IsRunningOn(strip.Entry()))
            m_gesture.Begin(strip.Entry(), strip.IsSelected());
        if (code != FADER_START) m_gesture.Change(position);
        if (code == FADER_TRACK) ShowFaderTip(strip);
    }
    m_page.ThePageWindow().Invalidate(strip.Rects().valueLabel);
}

/// The value beside the thumb while it is dragged.
void CMixerView::ShowFaderTip(const Strip& strip) {
    const RECT& thumb = const_cast<Strip&>(strip).Fader().thumbs[0].rect;
    const POINT at = m_page.ThePageWindow().ToScreen({thumb.right + 6, thumb.top});
    m_page.ThePageWindow().TipService().Track(strip.ValueText(false), at);
}
