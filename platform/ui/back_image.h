// The window's content as an image that outlives the paints: a part that only has to be shown again is copied
// from it, and a meter draws the few rows that changed without a paint of the window.
#pragma once

#include <QImage>
#include <QRect>
#include <QRegion>
#include <QSize>

/// Beyond this many rectangles, painting and copying them one by one costs more than their bounds.
inline constexpr int kMaxRects = 30;

/// The region, or its bounds when it has so many rectangles that one large one is cheaper.
QRegion Simplified(const QRegion& region);

class BackImage {
public:
    /// Fits the image to the window; true when its content is lost and all of it has to be painted.
    bool Fit(QSize size, qreal scale);
    bool IsFit(QSize size, qreal scale) const;

    void Invalidate(const QRect& area) { m_invalid += area; }
    /// Shifts the pixels of an area to the right, and what of it is out of date; what comes in is out of
    /// date. False, and nothing is done, where the shift is no whole number of device pixels.
    bool Scroll(const QRect& area, int distance);
    /// What is out of date; afterwards nothing is.
    QRegion TakeInvalid();

    QImage& Image() { return m_image; }
    const QImage& Image() const { return m_image; }

private:
    QImage m_image;
    QSize m_size;
    QRegion m_invalid;
};
