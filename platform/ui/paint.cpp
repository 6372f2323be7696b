#include "platform/ui/paint.h"

#include "platform/ui/shaped_text.h"

#include <cmath>
#include <optional>

QRectF SnapRect(const QPainter& painter, const QRectF& rect) {
    const QTransform t = painter.deviceTransform();
    if (t.type() > QTransform::TxScale) return rect;
    const auto snap = [](qreal v, qreal scale, qreal offset) {
        return (std::floor(v * scale + offset + 0.5) - offset) / scale;
    };
    const qreal left = snap(rect.left(), t.m11(), t.dx()), right = snap(rect.right(), t.m11(), t.dx());
    const qreal top = snap(rect.top(), t.m22(), t.dy()), bottom = snap(rect.bottom(), t.m22(), t.dy());
    return QRectF(left, top, right - left, bottom - top);
}

qreal LineWidth(const QPainter& painter) {
    const qreal scale = painter.deviceTransform().m22();
    return std::max(1.0, std::floor(scale + 0.25)) / scale;
}

void FillRect(QPainter& painter, const RECT& rect, COLORREF color) {
    if (!rect.IsEmpty()) painter.fillRect(SnapRect(painter, QRectF(ToQRect(rect))), ToColor(color));
}

void HLine(QPainter& painter, LONG x1, LONG x2, LONG y, COLORREF color) {
    if (x2 <= x1) return;
    QRectF area = SnapRect(painter, QRectF(x1, y, x2 - x1, 1));
    area.setHeight(LineWidth(painter));
    painter.fillRect(area, ToColor(color));
}

void VLine(QPainter& painter, LONG x, LONG y1, LONG y2, COLORREF color) {
    if (y2 <= y1) return;
    QRectF area = SnapRect(painter, QRectF(x, y1, 1, y2 - y1));
    area.setWidth(LineWidth(painter));
    painter.fillRect(area, ToColor(color));
}

void DrawSides(QPainter& painter, const RECT& rect, uint32_t sides, COLORREF leftTop, COLORREF rightBottom) {
    if (rect.IsEmpty()) return;
    const QRectF r = SnapRect(painter, QRectF(ToQRect(rect)));
    const qreal w = LineWidth(painter);
    const QColor lit = ToColor(leftTop), dark = ToColor(rightBottom);
    if (sides & SIDE_TOP) painter.fillRect(QRectF(r.left(), r.top(), r.width(), w), lit);
    if (sides & SIDE_LEFT) painter.fillRect(QRectF(r.left(), r.top(), w, r.height()), lit);
    if (sides & SIDE_BOTTOM) painter.fillRect(QRectF(r.left(), r.bottom() - w, r.width(), w), dark);
    if (sides & SIDE_RIGHT) painter.fillRect(QRectF(r.right() - w, r.top(), w, r.height()), dark);
}

void FrameRect(QPainter& painter, const RECT& rect, COLORREF color) {
    DrawSides(painter, rect, SIDE_ALL, color, color);
}

void DrawText(QPainter& painter, const RECT& rect, std::u16string_view text, const QFont& font,
              COLORREF color, uint32_t flags) {
    if (rect.IsEmpty() || text.empty()) return;
    const Qt::TextElideMode where = flags & TEXT_ELIDE          ? Qt::ElideRight
                                    : flags & TEXT_ELIDE_MIDDLE ? Qt::ElideMiddle
                                                                : Qt::ElideNone;
    const ShapedText line =
        where == Qt::ElideNone ? ShapeText(font, text) : ShapeText(font, text, {where, rect.Width()});
    const QRectF box = ToQRect(rect);
    const qreal spare = box.width() - line.advance;
    const uint32_t side = flags & TEXT_SIDES;
    const qreal left = side == TEXT_RIGHT ? spare : side == TEXT_CENTER ? spare / 2 : 0;
    const QPointF at = box.topLeft() + QPointF(left, (box.height() - line.height) / 2);
    const bool cut = !box.contains(QRectF(at, QSizeF(line.width, line.height)));
    std::optional<ClipScope> clip;
    if (cut) clip.emplace(painter, rect);
    painter.setPen(ToColor(color));
    for (const QGlyphRun& run : line.runs) painter.drawGlyphRun(at, run);
}

DevicePixels::DevicePixels(QPainter& painter)
    : m_painter(painter), m_before(painter.worldTransform()), m_toDevice(painter.deviceTransform()) {
    painter.setWorldTransform(m_toDevice.inverted(), true);
}

QRect DevicePixels::Map(const RECT& rect) const {
    const QRectF r = m_toDevice.mapRect(QRectF(ToQRect(rect)));
    const QPoint low(qFloor(r.left() + 0.5), qFloor(r.top() + 0.5));
    return QRect(low, QSize(qFloor(r.right() + 0.5) - low.x(), qFloor(r.bottom() + 0.5) - low.y()));
}

RECT DevicePixels::Unmap(const QRect& rect) const {
    return FromQRect(m_toDevice.inverted().mapRect(QRectF(rect)).toAlignedRect());
}

ClipScope::ClipScope(QPainter& painter, const RECT& rect) : m_painter(painter) {
    painter.save();
    painter.setClipRect(SnapRect(painter, QRectF(ToQRect(rect))), Qt::IntersectClip);
}
