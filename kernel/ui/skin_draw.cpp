#include "kernel/ui/skin_draw.h"

#include "kernel/color_math.h"
#include "kernel/ui/ui_colors.h"
#include "kernel/ui/ui_glyphs.h"
#include "platform/ui/paint.h"

#include <algorithm>

namespace {
constexpr SKINTOOLBARCOLORS kTheme = {UICOLOR_NONE, UICOLOR_NONE, UICOLOR_NONE, UICOLOR_NONE, UICOLOR_NONE};
constexpr LONG kArrowWidth = 12;

SKINTOOLBARCOLORS& Scheme() {
    static SKINTOOLBARCOLORS scheme = kTheme;
    return scheme;
}

COLORREF Or(COLORREF color, COLORREF theme) { return color == UICOLOR_NONE ? theme : color; }
}  // namespace

void QmSkin_SetCustomToolbarColorScheme(const SKINTOOLBARCOLORS* colors) {
    Scheme() = colors ? *colors : kTheme;
}

void QmSkin_DrawFlatButton(QPainter& painter, const RECT& rect, uint32_t state) {
    const SKINTOOLBARCOLORS& s = Scheme();
    const COLORREF face = Or(s.face, QmGetUIColor(COLOR_BTNFACE)), accent = QmGetUIColor(COLOR_HIGHLIGHT);
    const auto mixed = [&](uint32_t weight) { return QmSkin_BlendColor(face, accent, weight, 0); };
    const bool disabled = state & SKINBUTTON_DISABLED;
    COLORREF ground = UICOLOR_NONE;
    if (state & SKINBUTTON_CHECKED) ground = Or(s.checked, mixed(disabled ? 30 : 72));
    if (state & SKINBUTTON_HOT && !disabled) ground = Or(s.hot, mixed(state & SKINBUTTON_CHECKED ? 96 : 40));
    if (state & SKINBUTTON_PRESSED && !disabled) ground = Or(s.pressed, mixed(120));
    if (ground != UICOLOR_NONE) {
        FillRect(painter, rect, ground);
        FrameRect(painter, rect, Or(s.edge, QmSkin_BlendColor(ground, accent, 110, 0)));
    }
    if (state & SKINBUTTON_FOCUSED) FrameRect(painter, rect, accent);
}

void QmSkin_DrawToolbarDropdownArrow(QPainter& painter, const RECT& rect, uint32_t state) {
    const LONG size = std::min({rect.Width(), rect.Height(), LONG{10}});
    const LONG left = (rect.left + rect.right - size) / 2, top = (rect.top + rect.bottom - size) / 2;
    QmBltStandardUIGlyph(painter, {left, top}, size, UIGLYPH_DOWN,
                         state & SKINBUTTON_DISABLED ? UICOLOR_TICK : COLOR_BTNTEXT);
}

void QmSkin_ToolbarOnCustomDraw(SKINTOOLBARDRAW* draw) {
    QmSkin_DrawFlatButton(*draw->painter, draw->rect, draw->state);
    draw->content = draw->rect;
    if (!draw->hasDropdown) return;
    draw->content.right = std::max(draw->rect.right - kArrowWidth, draw->rect.left);
    RECT arrow = draw->rect;
    arrow.left = draw->content.right;
    QmSkin_DrawToolbarDropdownArrow(*draw->painter, arrow, draw->state);
}
