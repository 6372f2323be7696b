// Flat buttons of tool bars in the theme's colours. All on the UI thread.
#pragma once

#include "platform/types.h"

class QPainter;

inline constexpr uint32_t SKINBUTTON_HOT = 1, SKINBUTTON_PRESSED = 2, SKINBUTTON_CHECKED = 4,
                          SKINBUTTON_DISABLED = 8, SKINBUTTON_FOCUSED = 16;

/// Colours of tool bars; UICOLOR_NONE takes the theme's.
struct SKINTOOLBARCOLORS {
    COLORREF face, hot, pressed, checked, edge;
};

/// What a tool bar asks while it paints an item.
struct SKINTOOLBARDRAW {
    QPainter* painter;
    RECT rect;
    uint32_t state;    ///< SKINBUTTON_
    bool hasDropdown;  ///< an arrow at the right
    RECT content;      ///< receives what is left for icon and text
};

extern "C" {
/// Ground and edge of a flat button; an idle one shows the tool bar through.
QM_API void QmSkin_DrawFlatButton(QPainter& painter, const RECT& rect, uint32_t state);
/// The arrow that opens a button's menu.
QM_API void QmSkin_DrawToolbarDropdownArrow(QPainter& painter, const RECT& rect, uint32_t state);
/// Draws an item's ground and arrow.
QM_API void QmSkin_ToolbarOnCustomDraw(SKINTOOLBARDRAW* draw);
/// For all tool bars; null goes back to the theme's colours.
QM_API void QmSkin_SetCustomToolbarColorScheme(const SKINTOOLBARCOLORS* colors);
}
