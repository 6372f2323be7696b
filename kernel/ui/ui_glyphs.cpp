#include "kernel/ui/ui_glyphs.h"

#include "kernel/ui/ui_colors.h"
#include "platform/ui/paint.h"

#include <QPolygonF>

#include <algorithm>
#include <iterator>

namespace {
// Corners in a square of 16 by 16; a sign is filled, or a line of a width.
struct Glyph {
    double width;  // of the line; 0: filled
    size_t count;
    double points[8];
};
constexpr Glyph kGlyphs[] = {
    {0, 3, {3, 11, 8, 5, 13, 11}},
    {0, 3, {3, 5, 8, 11, 13, 5}},
    {0, 3, {11, 3, 5, 8, 11, 13}},
    {0, 3, {5, 3, 11, 8, 5, 13}},
    {2, 3, {3, 8, 6.5, 11.5, 13, 4.5}},
    {0, 0, {}},
    {1.6, 4, {4, 4, 12, 12, 12, 4, 4, 12}},
    {1.8, 4, {8, 3, 8, 13, 3, 8, 13, 8}},
    {1.8, 2, {3, 8, 13, 8}},
};
// The third and fourth point begin a line of their own.
constexpr bool IsCross(uint32_t glyph) { return glyph == UIGLYPH_CLOSE || glyph == UIGLYPH_PLUS; }
}  // namespace

BOOL QmDrawStandardUIGlyph(QPainter& painter, const RECT& rect, uint32_t glyph, int32_t colorIndex) {
    if (glyph >= std::size(kGlyphs)) return 0;
    const Glyph& g = kGlyphs[glyph];
    const double size = std::min(rect.Width(), rect.Height()), unit = size / 16;
    const QPointF origin(rect.left + (rect.Width() - size) / 2, rect.top + (rect.Height() - size) / 2);
    QPolygonF points;
    for (size_t i = 0; i < g.count; i++)
        points << origin + QPointF(g.points[2 * i], g.points[2 * i + 1]) * unit;
    const QColor color = ToColor(QmGetUIColor(colorIndex));
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(g.width > 0 ? QBrush(Qt::NoBrush) : QBrush(color));
    painter.setPen(g.width > 0 ? QPen(color, g.width * unit, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin)
                               : QPen(Qt::NoPen));
    if (g.count == 0)
        painter.drawEllipse(origin + QPointF(8, 8) * unit, 3 * unit, 3 * unit);
    else if (g.width == 0)
        painter.drawPolygon(points);
    else if (IsCross(glyph))
        painter.drawLines(points.data(), 2);
    else
        painter.drawPolyline(points);
    painter.restore();
    return 1;
}

BOOL QmBltStandardUIGlyph(QPainter& painter, POINT at, LONG size, uint32_t glyph, int32_t colorIndex) {
    return QmDrawStandardUIGlyph(painter, {at.x, at.y, at.x + size, at.y + size}, glyph, colorIndex);
}
