#include "controls/fader_draw.h"

#include "controls/fader_layout.h"
#include "controls/fader_track.h"
#include "controls/number_text.h"
#include "kernel/color_math.h"
#include "kernel/ui/theme.h"
#include "kernel/ui/ui_colors.h"
#include "kernel/ui/ui_fonts.h"
#include "platform/ui/image_list.h"
#include "platform/ui/paint.h"

#include <QLinearGradient>

#include <utility>

namespace {
constexpr int32_t kTickReach = 3;  // beyond the thumb's edge
constexpr int32_t kEndReach = 4;   // of the marks at the slot's ends
constexpr int32_t kLinearTickDistance = 10;

COLORREF Color(const tQMFADER& f, int32_t index) {
    return f.style & FADERS_UI_COLORS ? QmGetUIColor(index) : QmGetSysColor(index);
}

COLORREF Face(const tQMFADER& f) { return Color(f, COLOR_BTNFACE); }
COLORREF TickColor(const tQMFADER& f) {
    return VisibleOn(Color(f, f.style & FADERS_UI_COLORS ? UICOLOR_TICK : COLOR_BTNSHADOW), Face(f));
}

// Coordinates along and across the axis, so that one drawing serves both directions.
RECT AxisRect(const tQMFADER& f, int32_t along1, int32_t along2, int32_t across1, int32_t across2) {
    return IsVertical(f) ? RECT{across1, along1, across2, along2} : RECT{along1, across1, along2, across2};
}

void LineAcross(const tQMFADER& f, QPainter& p, int32_t along, int32_t across1, int32_t across2,
                COLORREF color) {
    if (IsVertical(f))
        HLine(p, across1, across2, along, color);
    else
        VLine(p, along, across1, across2, color);
}

struct TrackLine {
    int32_t low, high, centre;
};
TrackLine Track(const tQMFADER& f) {
    const int32_t low = IsVertical(f) ? f.track.left : f.track.top,
                  high = IsVertical(f) ? f.track.right : f.track.bottom;
    return {low, high, (low + high) / 2};
}

void DrawSlot(const tQMFADER& f, QPainter& p) {
    const TrackLine track = Track(f);
    const int32_t margin = f.thumbLength / 2 - 1;
    const int32_t first = IsVertical(f) ? f.client.top : f.client.left;
    const int32_t last = IsVertical(f) ? f.client.bottom : f.client.right;
    const RECT slot = AxisRect(f, first + margin, last - margin, track.centre - 1, track.centre + 2);
    FillRect(p, slot, Color(f, COLOR_3DDKSHADOW));
    DrawSides(p, slot, SIDE_RIGHT | SIDE_BOTTOM, 0, Color(f, COLOR_3DLIGHT));
    // Where the thumb's line can go no further.
    for (const int32_t end : {f.scale.min, f.scale.max})
        LineAcross(f, p, FaderPixel(f, end), track.centre - kEndReach, track.centre + kEndReach + 1,
                   TickColor(f));
}

// A tick at both sides of the slot, reaching out from under the thumb; with a one-sided
// scale at the labels' side only.
void DrawTick(const tQMFADER& f, QPainter& p, int32_t pixel, int32_t reach, COLORREF color) {
    const TrackLine track = Track(f);
    const int32_t outer = (track.high - track.low) / 2 + reach;
    const int32_t lowest = IsVertical(f) ? f.client.left : f.client.top;
    const int32_t highest = IsVertical(f) ? f.client.right : f.client.bottom;
    LineAcross(f, p, pixel, std::max(track.centre - outer, lowest), track.centre - 3, color);
    if (!(f.state & FADERST_ONE_SIDED))
        LineAcross(f, p, pixel, track.centre + 4, std::min(track.centre + outer + 1, highest), color);
}

void DrawLabel(const tQMFADER& f, QPainter& p, int32_t value, int32_t pixel, COLORREF color) {
    const SIZE size = FaderLabelSize();
    const int32_t side = Track(f).low - kTickReach - 3;
    const RECT box = IsVertical(f)
                         ? RECT{side - size.cx, pixel - size.cy / 2, side, pixel - size.cy / 2 + size.cy}
                         : RECT{pixel - size.cx / 2, side - size.cy, pixel - size.cx / 2 + size.cx, side};
    DrawText(p, box, NumberText(value / 10.0), QmGetUIFont(UIFONT_SMALL), color,
             IsVertical(f) ? TEXT_RIGHT : TEXT_CENTER);
}

void DrawDecibelScale(const tQMFADER& f, QPainter& p) {
    const COLORREF tickColor = TickColor(f), labelColor = ReadableOn(Color(f, COLOR_GRAYTEXT), Face(f));
    const bool labels = FaderHasLabels(f);
    for (const FaderTick& tick : FaderTicks(f)) {
        DrawTick(f, p, tick.pixel, kTickReach, tickColor);
        if (labels && tick.labelled) DrawLabel(f, p, tick.value, tick.pixel, labelColor);
    }
    // Unity is where an engineer's eye goes first.
    if (!FaderShowsUnity(f)) return;
    DrawTick(f, p, FaderPixel(f, 0), kTickReach + 1, VisibleOn(Color(f, COLOR_HIGHLIGHT), Face(f)));
    if (labels) DrawLabel(f, p, 0, FaderPixel(f, 0), Color(f, COLOR_BTNTEXT));
}

void DrawLinearScale(const tQMFADER& f, QPainter& p) {
    const auto step = std::max(static_cast<int32_t>(std::floor(kLinearTickDistance * f.interfaceScale)), 2);
    const int32_t low = FaderPixel(f, f.scale.min), high = FaderPixel(f, f.scale.max);
    const int32_t first = std::min(low, high), last = std::max(low, high);
    // A dark line and a light one, of which that on the other side of the face is the one that is seen.
    const COLORREF tick = TickColor(f);
    const bool isLight = ContrastOf(tick, 0) > ContrastOf(Face(f), 0);
    const auto groove = [&](int32_t pixel) {
        DrawTick(f, p, pixel, kTickReach, isLight ? Color(f, COLOR_BTNSHADOW) : tick);
        DrawTick(f, p, pixel + 1, kTickReach, isLight ? tick : Color(f, COLOR_BTNHIGHLIGHT));
    };
    // The ticks stand centred between the two at the ends.
    const int32_t rest = (last - first) % step / 2;
    for (int32_t pixel = first + rest; pixel < last; pixel += step) groove(pixel);
    const COLORREF end = ReadableOn(Color(f, COLOR_GRAYTEXT), Face(f));
    for (const int32_t pixel : {first, last}) DrawTick(f, p, pixel, kTickReach, end);
}

// The image of a pair covers both thumbs; each shows its half, at its own place along the axis.
POINT ImageOrigin(const tQMFADER& f, uint32_t channel) {
    const RECT& thumb = f.thumbs[channel].rect;
    return IsVertical(f) ? POINT{f.track.left, thumb.top} : POINT{thumb.left, f.track.top};
}

// Light from above on a body with a dip at its middle, where the line is; the thumb
// images are lit the same way.
QLinearGradient ThumbLight(const tQMFADER& f, const QRectF& r) {
    constexpr struct {
        double at;
        int white, black;
    } stops[] = {{0, 96, 0}, {0.18, 40, 0}, {0.46, 0, 40}, {0.54, 36, 0}, {0.86, 0, 16}, {1, 0, 86}};
    QLinearGradient light(r.topLeft(), IsVertical(f) ? r.bottomLeft() : r.topRight());
    for (const auto& s : stops)
        light.setColorAt(s.at, s.black ? QColor(0, 0, 0, s.black) : QColor(255, 255, 255, s.white));
    return light;
}

void DrawThumbShape(const tQMFADER& f, QPainter& p, const RECT& r) {
    const ImageState state = f.state & FADERST_DISABLED ? ImageState::Disabled : ImageState::Normal;
    const auto [line, outline, body] = ThumbTones(Face(f))[static_cast<size_t>(state)];
    const QRectF outer = SnapRect(p, QRectF(ToQRect(r))), inner = outer.adjusted(1, 1, -1, -1);
    p.save();
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    for (const auto& [shape, brush] :
         {std::pair(outer, QBrush(ToColor(outline))), std::pair(inner, QBrush(ToColor(body))),
          std::pair(inner, QBrush(ThumbLight(f, inner)))}) {
        p.setBrush(brush);
        p.drawRoundedRect(shape, shape == outer ? 2 : 1.4, shape == outer ? 2 : 1.4);
    }
    p.restore();

    const int32_t middle = IsVertical(f) ? (r.top + r.bottom) / 2 : (r.left + r.right) / 2;
    const int32_t low = (IsVertical(f) ? r.left : r.top) + 1, high = (IsVertical(f) ? r.right : r.bottom) - 1;
    FillRect(p, AxisRect(f, middle - 1, middle + 2, low, high), QmSkin_BlendColor(body, outline, 178, 0));
    LineAcross(f, p, middle, low, high, line);
}
}  // namespace

void FaderDrawMark(const tQMFADER& f, QPainter& painter, int32_t value, int32_t colorIndex) {
    if (f.client.IsEmpty() || f.state & FADERST_TOO_SMALL) return;
    DrawTick(f, painter, FaderPixel(f, value), kTickReach + 1, Color(f, colorIndex));
}

SIZE FaderLabelSize() {
    static const SIZE size = QmGetTextExtent(QmGetUIFont(UIFONT_SMALL), u"-72.0", -1);
    return size;
}

void FaderInst_DrawThumb(const tQMFADER* f, QPainter* painter, uint32_t channel) {
    if (channel >= f->channels) return;
    const RECT& rect = f->thumbs[channel].rect;
    if (!f->thumbImages && !f->thumbBitmap) return DrawThumbShape(*f, *painter, rect);
    const ClipScope clip(*painter, rect);
    const POINT at = ImageOrigin(*f, channel);
    if (f->thumbImages)
        f->thumbImages->Draw(*painter, 0, at,
                             f->state & FADERST_DISABLED ? ImageState::Disabled : ImageState::Normal);
    else
        painter->drawPixmap(at.x, at.y, *f->thumbBitmap);
}

void FaderInst_Draw(const tQMFADER* f, QPainter* painter) {
    if (f->client.IsEmpty()) return;
    const ClipScope clip(*painter, f->client);
    DrawSlot(*f, *painter);
    if (!(f->state & FADERST_NO_TICKS)) {
        if (f->state & FADERST_TAPER)
            DrawDecibelScale(*f, *painter);
        else
            DrawLinearScale(*f, *painter);
    }
    for (uint32_t c = 0; c < f->channels; c++) FaderInst_DrawThumb(f, painter, c);
    if (f->state & FADERST_FOCUSED && f->state & FADERST_FOCUS_RECT)
        FrameRect(*painter, f->focus, Color(*f, COLOR_HIGHLIGHT));
}

const QPixmap* FaderInst_SetThumbBitmap(tQMFADER* f, const QPixmap* bitmap) {
    const QPixmap* previous = f->thumbBitmap;
    const QSize size = bitmap ? bitmap->deviceIndependentSize().toSize() : QSize();
    FaderSetThumb(*f, nullptr, bitmap, {size.width(), size.height()});
    return previous;
}
