#include "kernel/ui/ui_edge.h"

#include "kernel/ui/ui_colors.h"
#include "platform/ui/paint.h"

#include <QBrush>
#include <QPen>
#include <QPolygonF>

namespace {
struct EdgeRow {
    uint32_t edge;
    int32_t leftTop, softLeftTop, rightBottom;  // colour indices
};
// The window system's own rule. Soft edges swap the two lines above and left.
constexpr EdgeRow kEdges[] = {
    {EDGE_RAISED_OUTER, COLOR_3DLIGHT, COLOR_BTNHIGHLIGHT, COLOR_3DDKSHADOW},
    {EDGE_SUNKEN_OUTER, COLOR_BTNSHADOW, COLOR_3DDKSHADOW, COLOR_BTNHIGHLIGHT},
    {EDGE_RAISED_INNER, COLOR_BTNHIGHLIGHT, COLOR_3DLIGHT, COLOR_BTNSHADOW},
    {EDGE_SUNKEN_INNER, COLOR_3DDKSHADOW, COLOR_BTNSHADOW, COLOR_3DLIGHT},
};

struct EdgeLight {
    COLORREF leftTop, rightBottom;
};
EdgeLight LightOf(const EdgeRow& row, uint32_t flags) {
    const bool outer = row.edge & (EDGE_RAISED_OUTER | EDGE_SUNKEN_OUTER);
    int32_t leftTop = flags & EDGE_SOFT ? row.softLeftTop : row.leftTop, rightBottom = row.rightBottom;
    if (flags & EDGE_MONO) leftTop = rightBottom = outer ? COLOR_WINDOWFRAME : COLOR_WINDOW;
    if (flags & EDGE_FLAT) leftTop = rightBottom = outer ? COLOR_BTNSHADOW : COLOR_BTNFACE;
    return {QmGetUIColor(leftTop), QmGetUIColor(rightBottom)};
}

void DrawLines(QPainter& painter, RECT& rect, uint32_t edge, uint32_t flags) {
    for (const EdgeRow& row : kEdges) {
        if (!(edge & row.edge)) continue;
        const EdgeLight light = LightOf(row, flags);
        DrawSides(painter, rect, flags & SIDE_ALL, light.leftTop, light.rightBottom);
        rect.left += flags & SIDE_LEFT ? 1 : 0;
        rect.top += flags & SIDE_TOP ? 1 : 0;
        rect.right -= flags & SIDE_RIGHT ? 1 : 0;
        rect.bottom -= flags & SIDE_BOTTOM ? 1 : 0;
    }
}

// The outer line from corner to corner, the inner one beside it; the side below the line is the filled one.
void DrawDiagonal(QPainter& painter, const RECT& rect, uint32_t edge, uint32_t flags) {
    const bool rises = static_cast<bool>(flags & SIDE_LEFT) == static_cast<bool>(flags & SIDE_BOTTOM);
    const QRectF r = SnapRect(painter, QRectF(ToQRect(rect)));
    const QPointF from = rises ? r.bottomLeft() : r.topLeft(), to = rises ? r.topRight() : r.bottomRight();
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setClipRect(r, Qt::IntersectClip);
    if (flags & EDGE_MIDDLE) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(QmGetUIBrush(flags & EDGE_MONO ? COLOR_WINDOW : COLOR_BTNFACE));
        painter.drawPolygon(QPolygonF({from, to, rises ? r.bottomRight() : r.bottomLeft()}));
    }
    qreal below = 0;
    for (const EdgeRow& row : kEdges) {
        if (!(edge & row.edge)) continue;
        const EdgeLight light = LightOf(row, flags);
        const bool lit = flags & (SIDE_LEFT | SIDE_TOP);
        painter.setPen(QPen(ToColor(lit ? light.leftTop : light.rightBottom), LineWidth(painter)));
        painter.drawLine(from + QPointF(0, below), to + QPointF(0, below));
        below += LineWidth(painter);
    }
    painter.restore();
}
}  // namespace

BOOL QmDrawEdge(QPainter& painter, const RECT& rect, uint32_t edge, uint32_t flags) {
    constexpr uint32_t kOuter = EDGE_RAISED_OUTER | EDGE_SUNKEN_OUTER,
                       kInner = EDGE_RAISED_INNER | EDGE_SUNKEN_INNER;
    if ((edge & kOuter) == kOuter) return 0;
    if ((edge & kInner) == kInner) {
        edge &= ~kInner;
        flags &= ~EDGE_DIAGONAL;
    }
    if (!(flags & SIDE_ALL)) return 1;
    if (flags & EDGE_DIAGONAL) {
        DrawDiagonal(painter, rect, edge, flags);
        return 1;
    }
    RECT rest = rect;
    DrawLines(painter, rest, edge & kOuter, flags);
    DrawLines(painter, rest, edge & kInner, flags);
    if (flags & EDGE_MIDDLE)
        FillRect(painter, rest, QmGetUIColor(flags & EDGE_MONO ? COLOR_WINDOW : COLOR_BTNFACE));
    return 1;
}

void QmDrawOutline(QPainter& painter, const RECT& rect, int32_t index, int32_t width) {
    RECT rest = rect;
    for (int32_t i = 0; i < width && !rest.IsEmpty(); i++) {
        FrameRect(painter, rest, QmGetUIColor(index));
        rest = {rest.left + 1, rest.top + 1, rest.right - 1, rest.bottom - 1};
    }
}
