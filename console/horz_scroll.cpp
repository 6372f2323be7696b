#include "console/horz_scroll.h"

#include "console/texts.h"
#include "kernel/color_math.h"
#include "kernel/ui/ui_colors.h"
#include "kernel/ui/ui_glyphs.h"
#include "platform/ui/messages.h"
#include "platform/ui/paint.h"

#include <algorithm>
#include <cstdlib>
#include <initializer_list>

namespace {

constexpr LONG LEAST_BAR = 14, LEAST_UPRIGHT = 16, LEAST_ARROW = 16, LEAST_THUMB = 12;
constexpr LONG ZOOM_DRAG_WIDTH = 6, GRIP_WIDTH = 5, THUMB_ROOM = 12, NARROWEST = 10, REACH = 10;
constexpr uint32_t REPEAT_TIMER = 7, FIRST_REPEAT_MS = 300, REPEAT_MS = 50;

LONG Scale(LONG value, LONG by, LONG whole) {
    return whole > 0 ? static_cast<LONG>(int64_t{value} * by / whole) : 0;
}

RECT Take(RECT& row, LONG width) {
    const RECT taken{row.left, row.top, row.left + width, row.bottom};
    row.left = taken.right;
    return taken;
}
RECT TakeRight(RECT& row, LONG width) {
    const RECT taken{row.right - width, row.top, row.right, row.bottom};
    row.right = taken.left;
    return taken;
}

}  // namespace

ScrollLayout LayoutScroll(const RECT& rect, const ScrollSizes& sizes, uint32_t style,
                          const ScrollModel& model) {
    const LONG bar = std::max(sizes.bar, LEAST_BAR), upright = std::max(sizes.upright, LEAST_UPRIGHT);
    const LONG arrow = std::max(sizes.arrow, LEAST_ARROW), thumb = std::max(sizes.thumb, LEAST_THUMB);
    const LONG zoomed = thumb + 2 * (arrow + 3 + arrow);
    ScrollLayout out{};
    out.bar = {rect.left, rect.bottom - bar, rect.right, rect.bottom};
    if (rect.Height() < bar || rect.Width() <= 0 || ((style & SCROLLS_HIDES) && model.ShowsAll())) {
        out.bar.top = out.bar.bottom;
        return out;
    }
    RECT row = out.bar;
    const LONG width = row.Width();
    if ((style & SCROLLS_CORNER) && width >= zoomed + upright) out.corner = TakeRight(row, upright);
    if (!(style & SCROLLS_NO_ZOOM) && width >= zoomed) {
        out.zoomIn = TakeRight(row, arrow);
        out.zoomDrag = TakeRight(row, ZOOM_DRAG_WIDTH);
        out.zoomOut = TakeRight(row, arrow);
    }
    if (row.Width() >= thumb + 2 * arrow) {
        out.leftArrow = Take(row, arrow);
        out.rightArrow = TakeRight(row, arrow);
    }
    out.track = row;
    out.trackLength = std::max<LONG>(row.Width() - THUMB_ROOM, 1);
    const LONG total = std::max<LONG>(model.total, 1);
    const LONG length = std::clamp<LONG>(model.length, 0, total);
    const LONG start = std::clamp<LONG>(model.start, 0, total - length);
    out.thumb = {row.left + Scale(start, out.trackLength, total), row.top,
                 row.left + Scale(start + length, out.trackLength, total) + THUMB_ROOM, row.bottom};
    out.thumb.right = std::min(out.thumb.right, row.right);
    if (!(style & SCROLLS_NO_GRIPS)) out.grip = std::clamp<LONG>((out.thumb.Width() - 2) / 2, 0, GRIP_WIDTH);
    return out;
}

uint32_t ScrollLayout::ElementAt(POINT at) const {
    if (!bar.Contains(at)) return SCROLL_NONE;
    for (const uint32_t element :
         {SCROLL_LEFT, SCROLL_RIGHT, SCROLL_ZOOM_OUT, SCROLL_ZOOM_DRAG, SCROLL_ZOOM_IN, SCROLL_CORNER,
          SCROLL_LEFT_GRIP, SCROLL_RIGHT_GRIP, SCROLL_THUMB, SCROLL_BEFORE, SCROLL_AFTER})
        if (AreaOf(element).Contains(at)) return element;
    return SCROLL_NONE;
}

RECT ScrollLayout::AreaOf(uint32_t element) const {
    switch (element) {
    case SCROLL_LEFT: return leftArrow;
    case SCROLL_BEFORE: return {track.left, track.top, thumb.left, track.bottom};
    case SCROLL_AFTER: return {thumb.right, track.top, track.right, track.bottom};
    case SCROLL_RIGHT: return rightArrow;
    case SCROLL_ZOOM_OUT: return zoomOut;
    case SCROLL_ZOOM_DRAG: return zoomDrag;
    case SCROLL_ZOOM_IN: return zoomIn;
    case SCROLL_CORNER: return corner;
    case SCROLL_LEFT_GRIP: return {thumb.left, thumb.top, thumb.left + grip, thumb.bottom};
    case SCROLL_THUMB: return {thumb.left + grip, thumb.top, thumb.right - grip, thumb.bottom};
    case SCROLL_RIGHT_GRIP: return {thumb.right - grip, thumb.top, thumb.right, thumb.bottom};
    default: return {};
    }
}

ScrollModel DragScroll(const ScrollModel& from, uint32_t element, LONG pixels, LONG trackLength) {
    ScrollModel to = from;
    const LONG least = std::min(std::max<LONG>(from.minimum, 1), from.total), end = from.start + from.length;
    const int64_t half = pixels < 0 ? -trackLength / 2 : trackLength / 2;
    const auto moved =
        static_cast<LONG>((int64_t{pixels} * from.total + half) / std::max<LONG>(trackLength, 1));
    switch (element) {
    case SCROLL_THUMB:
        to.start = std::clamp<LONG>(from.start + moved, 0, std::max<LONG>(from.total - from.length, 0));
        break;
    case SCROLL_LEFT_GRIP:
        to.start = std::clamp<LONG>(from.start + moved, 0, std::max<LONG>(end - least, 0));
        to.length = end - to.start;
        break;
    case SCROLL_RIGHT_GRIP:
        to.length = std::clamp<LONG>(from.length + moved, least, std::max(from.total - from.start, least));
        break;
    case SCROLL_ZOOM_DRAG: {
        constexpr LONG PERCENT = 100;
        const LONG length = from.length + Scale(from.length, pixels, PERCENT);
        to.length = std::clamp(length, least, std::max(from.total, least));
        to.start = std::clamp<LONG>(from.start + (from.length - to.length) / 2, 0,
                                    std::max<LONG>(from.total - to.length, 0));
        break;
    }
    default: break;
    }
    return to;
}

void CHorzScroll::ReSize(RECT& rect) {
    m_layout = LayoutScroll(rect, {}, m_style, m_model);
    m_bounds = m_layout.bar;
    rect.bottom = m_bounds.top;
}

uint32_t CHorzScroll::HitTest(POINT at, std::u16string&, RECT& area) {
    const uint32_t element = m_layout.ElementAt(at);
    area = m_layout.AreaOf(element);
    m_hitWord = element ? HIT_HORZ_SCROLL | element : 0;
    return m_hitWord;
}

void CHorzScroll::SetHot(uint32_t element) {
    if (std::exchange(m_hot, element) != element) m_site.Host().Invalidate(m_bounds);
}

void CHorzScroll::OnMouseAway() {
    if (IsHeld()) Cancel();
    SetHot(SCROLL_NONE);
}

intptr_t CHorzScroll::OnMouse(uint32_t message, uintptr_t, intptr_t lparam) {
    if (message == WM_CANCELMODE || message == WM_CAPTURECHANGED) {
        if (IsHeld()) Cancel();
        return 0;
    }
    if (m_model.total < 0 || m_bounds.Width() < NARROWEST) return 0;
    const POINT at = UnpackPoint(lparam);
    switch (message) {
    case WM_LBUTTONDOWN: BeginPress(m_layout.ElementAt(at), at); return 0;
    case WM_LBUTTONDBLCLK:
        if (m_layout.ElementAt(at) == SCROLL_CORNER)
            m_scrolled(0, m_model.minimum);
        else
            BeginPress(m_layout.ElementAt(at), at);
        return 0;
    case WM_LBUTTONUP:
        if (IsHeld()) EndPress(at);
        return 0;
    case WM_MOUSEMOVE:
        m_at = at;
        SetHot(IsHeld() ? m_pressed : m_layout.ElementAt(at));
        if (m_pressed == SCROLL_THUMB || m_pressed == SCROLL_LEFT_GRIP || m_pressed == SCROLL_RIGHT_GRIP ||
            m_pressed == SCROLL_ZOOM_DRAG)
            Show(DragScroll(m_before, m_pressed, at.x - m_from.x, m_layout.trackLength));
        return 0;
    default: return 0;
    }
}

void CHorzScroll::BeginPress(uint32_t element, POINT at) {
    if (element == SCROLL_NONE || element == SCROLL_CORNER) return;
    m_pressed = element;
    m_from = m_at = at;
    m_before = m_model;
    m_site.Host().SetCapture(true);
    m_site.Host().Invalidate(m_bounds);
    if (element >= SCROLL_LEFT && element <= SCROLL_RIGHT) {
        m_site.Host().SetTimer(REPEAT_TIMER, FIRST_REPEAT_MS);
        Step();
    }
}

void CHorzScroll::EndPress(POINT at) {
    const uint32_t element = std::exchange(m_pressed, SCROLL_NONE);
    m_site.Host().KillTimer(REPEAT_TIMER);
    m_site.Host().SetCapture(false);
    m_site.Host().Invalidate(m_bounds);
    if ((element == SCROLL_ZOOM_OUT || element == SCROLL_ZOOM_IN) && m_layout.ElementAt(at) == element) {
        constexpr LONG ZOOM_PERCENT = 25;
        const LONG by = element == SCROLL_ZOOM_OUT ? ZOOM_PERCENT : -ZOOM_PERCENT;
        const ScrollModel to = DragScroll(m_model, SCROLL_ZOOM_DRAG, by, 1);
        m_scrolled(to.start, to.length);
    }
}

void CHorzScroll::Cancel() {
    m_pressed = SCROLL_NONE;
    m_site.Host().KillTimer(REPEAT_TIMER);
    Show(m_before);
    m_site.Host().SetCapture(false);
    m_site.Host().Invalidate(m_bounds);
}

void CHorzScroll::Step() {
    constexpr LONG ARROW_PART = 20, TRACK_PART = 2;
    const bool arrow = m_pressed == SCROLL_LEFT || m_pressed == SCROLL_RIGHT;
    const bool back = m_pressed == SCROLL_LEFT || m_pressed == SCROLL_BEFORE;
    const LONG step = m_model.length / (arrow ? ARROW_PART : TRACK_PART);
    ScrollModel to = m_model;
    to.start = std::clamp<LONG>(to.start + (back ? -step : step), 0, std::max<LONG>(to.total - to.length, 0));
    Show(to);
}

void CHorzScroll::OnTimer(uint32_t id) {
    if (id != REPEAT_TIMER || m_pressed < SCROLL_LEFT || m_pressed > SCROLL_RIGHT) return;
    m_site.Host().SetTimer(REPEAT_TIMER, REPEAT_MS);
    const RECT area = m_layout.AreaOf(m_pressed);
    const bool over = m_at.x >= area.left && m_at.x < area.right && m_at.y >= m_bounds.top - REACH &&
                      m_at.y < m_bounds.bottom + REACH;
    if (over) Step();
}

/// The owner lays the bar out with what it makes of it.
void CHorzScroll::Show(const ScrollModel& model) {
    if (model.start != m_model.start || model.length != m_model.length) m_scrolled(model.start, model.length);
}

void CHorzScroll::Paint(QPainter& painter, const RECT& area) {
    if (m_bounds.IsEmpty() || !m_bounds.Intersects(area)) return;
    const COLORREF face = QmGetUIColor(COLOR_BTNFACE);
    const COLORREF well = QmSkin_BlendColor(face, QmGetUIColor(COLOR_3DDKSHADOW), 90, 0);
    FillRect(painter, m_bounds, face);
    FillRect(painter, m_layout.track, well);
    HLine(painter, m_bounds.left, m_bounds.right, m_bounds.top, QmGetUIColor(COLOR_3DDKSHADOW));

    const auto lit = [&](std::initializer_list<uint32_t> elements) {
        const auto is = [&](uint32_t element) {
            return std::ranges::find(elements, element) != elements.end();
        };
        return is(m_pressed) ? 110 : is(m_hot) && !IsHeld() ? 70 : 36;
    };
    const COLORREF strong = QmGetUIColor(UICOLOR_STRONG);
    const RECT& thumb = m_layout.thumb;
    const RECT shown{thumb.left + 1, thumb.top + 3, thumb.right - 1, thumb.bottom - 2};
    FillRect(painter, shown,
             QmSkin_BlendColor(face, strong, lit({SCROLL_THUMB, SCROLL_LEFT_GRIP, SCROLL_RIGHT_GRIP}), 0));
    FrameRect(painter, shown, QmGetUIColor(COLOR_3DDKSHADOW));
    for (const LONG x : {thumb.left + m_layout.grip, thumb.right - m_layout.grip})
        if (m_layout.grip > 0) VLine(painter, x, shown.top + 2, shown.bottom - 2, QmGetUIColor(UICOLOR_TICK));

    constexpr struct {
        uint32_t element;
        UIGLYPH glyph;
    } BUTTONS[] = {{SCROLL_LEFT, UIGLYPH_LEFT},
                   {SCROLL_RIGHT, UIGLYPH_RIGHT},
                   {SCROLL_ZOOM_OUT, UIGLYPH_MINUS},
                   {SCROLL_ZOOM_IN, UIGLYPH_PLUS}};
    for (const auto& button : BUTTONS) {
        const RECT at = m_layout.AreaOf(button.element);
        if (at.IsEmpty()) continue;
        if (m_hot == button.element || m_pressed == button.element)
            FillRect(painter, at, QmSkin_BlendColor(face, strong, lit({button.element}), 0));
        QmDrawStandardUIGlyph(painter, {at.left, at.top + 4, at.right, at.bottom - 3}, button.glyph,
                              COLOR_BTNTEXT);
    }
}

std::u16string CHorzScroll::Name() const { return ConsoleText(IDS_SCROLL_BAR); }

AccessibleNode::Range CHorzScroll::Value() const {
    return {static_cast<double>(m_model.start), 0,
            static_cast<double>(std::max<LONG>(m_model.total - m_model.length, 0))};
}

void CHorzScroll::SetValue(double value) {
    const Range range = Value();
    m_scrolled(static_cast<LONG>(std::clamp(value, range.min, range.max)), m_model.length);
}
