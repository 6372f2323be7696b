#include "kernel/ui/ui_edge.h"

#include "kernel/ui/ui_colors.h"
#include "platform/ui/paint.h"

namespace {
struct EdgeRow {
    uint32_t edge;
    int32_t leftTop, rightBottom;  // colour indices
    int32_t softLeftTop, softRightBottom;
};
// The lit side is the light colour rather than the highlight, which is a colour of text in a dark theme.
constexpr EdgeRow kEdges[] = {
    {EDGE_RAISED_OUTER, COLOR_BTNFACE, COLOR_3DDKSHADOW, COLOR_3DLIGHT, COLOR_3DDKSHADOW},
    {EDGE_SUNKEN_OUTER, COLOR_BTNSHADOW, COLOR_3DLIGHT, COLOR_3DDKSHADOW, COLOR_3DLIGHT},
    {EDGE_RAISED_INNER, COLOR_3DLIGHT, COLOR_BTNSHADOW, COLOR_BTNFACE, COLOR_BTNSHADOW},
    {EDGE_SUNKEN_INNER, COLOR_3DDKSHADOW, COLOR_BTNFACE, COLOR_BTNSHADOW, COLOR_BTNFACE},
};

void DrawLines(QPainter& painter, RECT& rect, uint32_t edge, uint32_t flags) {
    for (const EdgeRow& row : kEdges) {
        if (!(edge & row.edge)) continue;
        const bool outer = row.edge & (EDGE_RAISED_OUTER | EDGE_SUNKEN_OUTER), soft = flags & EDGE_SOFT;
        int32_t leftTop = soft ? row.softLeftTop : row.leftTop,
                rightBottom = soft ? row.softRightBottom : row.rightBottom;
        if (flags & EDGE_MONO) leftTop = rightBottom = outer ? COLOR_WINDOWFRAME : COLOR_WINDOW;
        if (flags & EDGE_FLAT) leftTop = rightBottom = outer ? COLOR_BTNSHADOW : COLOR_BTNFACE;
        DrawSides(painter, rect, flags & SIDE_ALL, QmGetUIColor(leftTop), QmGetUIColor(rightBottom));
        rect.left += flags & SIDE_LEFT ? 1 : 0;
        rect.top += flags & SIDE_TOP ? 1 : 0;
        rect.right -= flags & SIDE_RIGHT ? 1 : 0;
        rect.bottom -= flags & SIDE_BOTTOM ? 1 : 0;
    }
}
}  // namespace

BOOL QmDrawEdge(QPainter& painter, const RECT& rect, uint32_t edge, uint32_t flags) {
    constexpr uint32_t kOuter = EDGE_RAISED_OUTER | EDGE_SUNKEN_OUTER,
                       kInner = EDGE_RAISED_INNER | EDGE_SUNKEN_INNER;
    if ((edge & kOuter) == kOuter) return 0;
    if ((edge & kInner) == kInner) edge &= ~kInner;
    if (!(flags & SIDE_ALL)) return 1;
    RECT rest = rect;
    DrawLines(painter, rest, edge & kOuter, flags);
    DrawLines(painter, rest, edge & kInner, flags);
    if (flags & EDGE_MIDDLE)
        FillRect(painter, rest, QmGetUIColor(flags & EDGE_MONO ? COLOR_WINDOW : COLOR_BTNFACE));
    return 1;
}
