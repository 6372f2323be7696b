#include "host/app/icons.h"

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>

namespace host {
namespace {

/// Drawn anew for each size and scale, on a grid of 16 by 16.
class ShapeEngine final : public QIconEngine {
public:
    ShapeEngine(TransportShape shape, const QColor& ink) : m_shape(shape), m_ink(ink) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override {
        QColor ink = m_ink;
        if (state == QIcon::On) ink = QColor(0x86, 0xc9, 0xe6);
        if (mode == QIcon::Disabled) ink.setAlphaF(0.4f);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(rect.topLeft());
        painter->scale(rect.width() / 16.0, rect.height() / 16.0);
        painter->setPen(Qt::NoPen);
        painter->setBrush(ink);
        Draw(*painter, ink);
        painter->restore();
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(0, 0), size), mode, state);
        return pixmap;
    }
    QIconEngine* clone() const override { return new ShapeEngine(m_shape, m_ink); }

private:
    void Draw(QPainter& painter, const QColor& ink) const {
        switch (m_shape) {
        case TransportShape::ToStart:
            painter.drawRect(QRectF(3, 3, 2, 10));
            painter.drawPolygon(QPolygonF({{13, 3}, {13, 13}, {6, 8}}));
            return;
        case TransportShape::Play: painter.drawPolygon(QPolygonF({{4, 2.5}, {4, 13.5}, {13.5, 8}})); return;
        case TransportShape::Stop: painter.drawRect(QRectF(3.5, 3.5, 9, 9)); return;
        case TransportShape::Loop: break;
        }
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(ink, 1.8, Qt::SolidLine, Qt::FlatCap));
        QPainterPath path;
        path.moveTo(10.5, 4);
        path.lineTo(5.5, 4);
        path.arcTo(QRectF(1.5, 4, 8, 8), 90, 180);
        path.moveTo(5.5, 12);
        path.lineTo(10.5, 12);
        path.arcTo(QRectF(6.5, 4, 8, 8), 270, 130);
        painter.drawPath(path);
        painter.setPen(Qt::NoPen);
        painter.setBrush(ink);
        painter.drawPolygon(QPolygonF({{9.5, 1}, {9.5, 7}, {13.5, 4}}));
    }

    TransportShape m_shape;
    QColor m_ink;
};

}  // namespace

QIcon TransportIcon(TransportShape shape, const QColor& ink) { return QIcon(new ShapeEngine(shape, ink)); }

}  // namespace host
