// The small signs of a user interface, drawn in a colour of ui_colors.h: arrows, check mark, bullet, cross.
// All on the UI thread.
#pragma once

#include "platform/types.h"

class QPainter;

enum UIGLYPH : uint32_t {
    UIGLYPH_UP,
    UIGLYPH_DOWN,
    UIGLYPH_LEFT,
    UIGLYPH_RIGHT,
    UIGLYPH_CHECK,
    UIGLYPH_BULLET,
    UIGLYPH_CLOSE,
    UIGLYPH_PLUS,
    UIGLYPH_MINUS,
};

extern "C" {
/// Draws the sign centred in the rectangle, as large as fits; 0 for a number that there is no sign of.
QM_API BOOL QmDrawStandardUIGlyph(QPainter& painter, const RECT& rect, uint32_t glyph, int32_t colorIndex);
/// The same at a size of its own, its left top corner at a point.
QM_API BOOL QmBltStandardUIGlyph(QPainter& painter, POINT at, LONG size, uint32_t glyph, int32_t colorIndex);
}
