#include "platform/ui/back_image.h"

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

QRegion BackImage::TakeInvalid() {
    return Simplified(std::exchange(m_invalid, QRegion()) & QRect(QPoint(), m_size));
}
