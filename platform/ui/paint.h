// Drawing on a QPainter in the console's terms: RECT, COLORREF, 16-bit text.
//
// All coordinates are logical pixels. Filled areas and lines are moved to whole device pixels first, so
// that edges are crisp at every scale of the screen, two areas that share an edge leave no gap, and all
// lines of one width look alike.
#pragma once

#include "platform/types.h"

#include <QColor>
#include <QFont>
#include <QPainter>
#include <QRect>
#include <QString>
#include <QTransform>

#include <string_view>

constexpr QRgb ToRgb(COLORREF c) {
    return qRgb(static_cast<int>(c & 0xFF), static_cast<int>(c >> 8 & 0xFF),
                static_cast<int>(c >> 16 & 0xFF));
}
inline QColor ToColor(COLORREF c) { return QColor(ToRgb(c)); }
inline COLORREF FromColor(const QColor& c) {
    return static_cast<COLORREF>(c.red() | c.green() << 8 | c.blue() << 16);
}
constexpr QRect ToQRect(const RECT& r) { return QRect(r.left, r.top, r.Width(), r.Height()); }
constexpr RECT FromQRect(const QRect& r) {
    return {r.left(), r.top(), r.left() + r.width(), r.top() + r.height()};
}
/// The text without a copy; it must outlive the string.
inline QString ViewText(std::u16string_view text) {
    return QString::fromRawData(reinterpret_cast<const QChar*>(text.data()),
                                static_cast<qsizetype>(text.size()));
}

/// What WM_PAINT hands over: everything in `rect` is to be painted, nothing outside of it can be.
struct PaintInfo {
    QPainter& painter;
    RECT rect;
};

/// The area with its edges on whole device pixels.
QRectF SnapRect(const QPainter& painter, const QRectF& rect);
/// Width in logical pixels of a line that covers whole device pixels, at least one.
qreal LineWidth(const QPainter& painter);

void FillRect(QPainter& painter, const RECT& rect, COLORREF color);
/// Horizontal line from x1 up to x2, right end excluded.
void HLine(QPainter& painter, LONG x1, LONG x2, LONG y, COLORREF color);
/// Vertical line from y1 up to y2, lower end excluded.
void VLine(QPainter& painter, LONG x, LONG y1, LONG y2, COLORREF color);
inline constexpr uint32_t SIDE_LEFT = 1, SIDE_TOP = 2, SIDE_RIGHT = 4, SIDE_BOTTOM = 8, SIDE_ALL = 15;
/// Lines along the inside of the chosen sides.
void DrawSides(QPainter& painter, const RECT& rect, uint32_t sides, COLORREF leftTop, COLORREF rightBottom);
/// Lines along the inside of the rectangle.
void FrameRect(QPainter& painter, const RECT& rect, COLORREF color);

inline constexpr uint32_t TEXT_LEFT = 0, TEXT_CENTER = 1, TEXT_RIGHT = 2, TEXT_SIDES = 3;
/// A text that is too wide ends in an ellipsis, or keeps its beginning and its end, where names differ;
/// without either it is cut at the edge.
inline constexpr uint32_t TEXT_ELIDE = 4, TEXT_ELIDE_MIDDLE = 8;

/// One line of text, centred vertically in the rectangle and clipped to it.
void DrawText(QPainter& painter, const RECT& rect, std::u16string_view text, const QFont& font,
              COLORREF color, uint32_t flags = TEXT_LEFT);

/// While it lives, the painter's coordinates are device pixels.
class DevicePixels {
public:
    explicit DevicePixels(QPainter& painter);
    ~DevicePixels() { m_painter.setWorldTransform(m_before); }
    DevicePixels(const DevicePixels&) = delete;
    DevicePixels& operator=(const DevicePixels&) = delete;

    /// Where a rectangle in the coordinates from before lies, its edges on whole pixels.
    QRect Map(const RECT& rect) const;
    /// The other way, outward to whole coordinates.
    RECT Unmap(const QRect& rect) const;

private:
    QPainter& m_painter;
    QTransform m_before;
    QTransform m_toDevice;
};

/// While it lives, drawing is cut to the rectangle, within what it was cut to before.
class ClipScope {
public:
    ClipScope(QPainter& painter, const RECT& rect);
    ~ClipScope() { m_painter.restore(); }
    ClipScope(const ClipScope&) = delete;
    ClipScope& operator=(const ClipScope&) = delete;

private:
    QPainter& m_painter;
};
