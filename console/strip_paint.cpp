// How a strip looks.
#include "console/console_images.h"
#include "console/strip.h"
#include "kernel/color_math.h"
#include "kernel/ui/ui_colors.h"
#include "kernel/ui/ui_fonts.h"
#include "platform/ui/paint.h"

namespace {

constexpr int32_t FONT_TEXT = 100, FONT_SMALL = 110, FONT_BOLD = 104;

void FillRounded(QPainter& painter, const RECT& rect, qreal radius, COLORREF fill, COLORREF frame) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ToColor(frame));
    const QRectF outer = SnapRect(painter, ToQRect(rect));
    painter.drawRoundedRect(outer, radius, radius);
    const qreal line = LineWidth(painter);
    painter.setBrush(ToColor(fill));
    painter.drawRoundedRect(outer.adjusted(line, line, -line, -line), radius - line / 2, radius - line / 2);
    painter.restore();
}

}  // namespace

void Strip::Paint(QPainter& painter, const RECT& area, const StripLook& look) {
    const RECT& strip = m_rects.strip;
    const COLORREF face = QmGetUIColor(COLOR_BTNFACE);
    const RECT body{strip.left, strip.top, strip.right - 1, strip.bottom};
    FillRect(painter, body,
             IsSelected() ? QmSkin_BlendColor(face, QmGetUIColor(COLOR_HIGHLIGHT), 30, 0) : face);
    VLine(painter, strip.left, strip.top, strip.bottom, QmGetUIColor(COLOR_3DLIGHT));
    VLine(painter, strip.right - 1, strip.top, strip.bottom, QmGetUIColor(COLOR_3DDKSHADOW));

    for (const StripPart& part : StripParts())
        if (part.paint && part.area(*this).Intersects(area)) part.paint(*this, painter, part, look);
}

void Strip::PaintValue(QPainter& painter, bool offBySolo) const {
    const bool silent = Has(SWITCH_MUTE) || offBySolo;
    FillRounded(painter, m_rects.valueLabel, 2, QmGetUIColor(COLOR_3DDKSHADOW),
                QmGetUIColor(COLOR_BTNSHADOW));
    DrawText(painter, m_rects.valueLabel, ValueText(offBySolo), QmGetUIFont(FONT_SMALL),
             QmGetUIColor(silent ? COLOR_GRAYTEXT : COLOR_BTNTEXT), TEXT_CENTER | TEXT_ELIDE);
}

void Strip::PaintTitle(QPainter& painter) const {
    const RECT& icon = m_rects.kindIcon;
    if (icon.IsEmpty()) return;
    const ImageList& images = *m_site.images.kinds;
    const SIZE size = images.Size();
    images.Draw(painter, ConsoleImages::KindIcon(m_entry.kind),
                {icon.left + (icon.Width() - size.cx) / 2, icon.top + (icon.Height() - size.cy) / 2});
    DrawText(painter, m_rects.kindWord, KindWord(), QmGetUIFont(FONT_SMALL), QmGetUIColor(COLOR_GRAYTEXT),
             TEXT_ELIDE);
}

void Strip::PaintNamePlate(QPainter& painter, bool focused) const {
    const RECT& plate = m_rects.namePlate;
    const COLORREF accent = QmGetUIColor(COLOR_HIGHLIGHT);
    FillRect(painter, {plate.left + 1, plate.top, plate.right - 1, plate.bottom},
             IsSelected() ? QmSkin_BlendColor(QmGetUIColor(COLOR_WINDOW), accent, 96, 0)
                          : QmGetUIColor(COLOR_WINDOW));
    constexpr LONG BAND = 3;
    FillRect(painter, {plate.left + 1, plate.top, plate.right - 1, plate.top + BAND},
             ChannelColour(m_entry.lookColour));
    if (focused)
        FrameRect(painter, {plate.left + 1, plate.top + BAND, plate.right - 1, plate.bottom}, accent);
    const RECT text{m_rects.name.left + 3, m_rects.name.top + 1, m_rects.name.right - 3,
                    m_rects.name.bottom + 1};
    DrawText(painter, text, m_entry.Name(), QmGetUIFont(FONT_TEXT),
             QmGetUIColor(IsSelected() ? UICOLOR_STRONG : COLOR_BTNTEXT), TEXT_CENTER | TEXT_ELIDE);
}

void Strip::PaintSwitch(QPainter& painter, const StripPart& part, bool pressed) const {
    const bool on = Has(part.bit);
    const COLORREF face = QmGetUIColor(COLOR_BTNFACE);
    const COLORREF lit = QmGetUIColor(part.litColour);
    const COLORREF off = QmSkin_BlendColor(face, QmGetUIColor(UICOLOR_STRONG), 22, 0);
    COLORREF fill = on ? lit : off;
    if (pressed) fill = QmSkin_BlendColor(fill, QmGetUIColor(COLOR_3DDKSHADOW), 70, 0);
    FillRounded(painter, part.area(*this), 3, fill, QmGetUIColor(COLOR_3DDKSHADOW));
    DrawText(painter, part.area(*this), part.letter, QmGetUIFont(FONT_BOLD),
             QmGetUIColor(on ? COLOR_3DDKSHADOW : COLOR_GRAYTEXT), TEXT_CENTER);
}
