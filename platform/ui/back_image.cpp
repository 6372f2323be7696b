#include "platform/ui/back_image.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

QRegion Simplified(const QRegion& region) {
    return region.rectCount() > kMaxRects ? QRegion(region.boundingRect()) : region;
}

bool BackImage::Fit(QSize size, qreal scale) {
    if (IsFit(size, scale)) return false;
    m_size = size;
    m_image = QImage((QSizeF(size) * scale).toSize(), QImage::Format_RGB32);
    m_image.setDevicePixelRatio(scale);
    m_image.fill(Qt::black);
    m_invalid = QRect(QPoint(), size);
    return true;
}

bool BackImage::IsFit(QSize size, qreal scale) const {
    return size == m_size && !m_image.isNull() && m_image.devicePixelRatio() == scale;
}

bool BackImage::Scroll(const QRect& area, int distance) {
    const QRect inside = area & QRect(QPoint(), m_size);
    const qreal scale = m_image.devicePixelRatio();
    const QRectF exact(inside.x() * scale, inside.y() * scale, inside.width() * scale,
                       inside.height() * scale);
    const QRect pixels = exact.toRect();
    const int shift = qRound(distance * scale);
    if (m_image.isNull() || exact != QRectF(pixels) || shift != distance * scale) return false;
    if (std::abs(shift) >= pixels.width()) {
        m_invalid += inside;
        return true;
    }
    constexpr size_t PIXEL = sizeof(QRgb);
    const auto kept = static_cast<size_t>(pixels.width() - std::abs(shift));
    const auto from = static_cast<size_t>(pixels.x() + std::max(-shift, 0)),
               to = static_cast<size_t>(pixels.x() + std::max(shift, 0));
    for (int y = pixels.top(); y <= pixels.bottom(); y++) {
        uchar* line = m_image.scanLine(y);
        std::memmove(line + to * PIXEL, line + from * PIXEL, kept * PIXEL);
    }
    const QRegion stale = (m_invalid & inside).translated(distance, 0) & inside;
    m_invalid = (m_invalid - inside) | stale | (QRegion(inside) - inside.translated(distance, 0));
    return true;
}

QRegion BackImage::TakeInvalid() {
    return Simplified(std::exchange(m_invalid, QRegion()) & QRect(QPoint(), m_size));
}
