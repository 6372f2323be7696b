// Edges: the lines around boxes, in the theme's colours.
#pragma once

#include "platform/types.h"

class QPainter;

inline constexpr uint32_t EDGE_RAISED_OUTER = 1, EDGE_SUNKEN_OUTER = 2, EDGE_RAISED_INNER = 4,
                          EDGE_SUNKEN_INNER = 8;
/// In the flags, above the SIDE_ bits. EDGE_DIAGONAL draws one line from corner to corner instead: with left
/// and bottom it rises from left to right, with left and top it falls; which end it starts from decides its
/// light.
inline constexpr uint32_t EDGE_DIAGONAL = 0x800, EDGE_SOFT = 0x1000, EDGE_MIDDLE = 0x2000, EDGE_FLAT = 0x4000,
                          EDGE_MONO = 0x8000;

extern "C" {
/// Draws the outer lines on the chosen sides, then the inner ones, then fills the middle if asked. 0 when
/// both outer bits are set; with no side chosen nothing is drawn. The rectangle is not changed.
QM_API BOOL QmDrawEdge(QPainter& painter, const RECT& rect, uint32_t edge, uint32_t flags);
/// Lines along the inside of the rectangle in a colour of ui_colors.h, `width` pixels wide.
QM_API void QmDrawOutline(QPainter& painter, const RECT& rect, int32_t index, int32_t width);
}
