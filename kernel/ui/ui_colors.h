// Colours by index, through one table that a theme changes at once for the whole module.
//
// Indices 0 to 30 shadow the window system's colours, indices 100 to 152 are the kernel's own palette. A
// palette entry or an index may be a recipe instead of a colour, told by its top byte: UICOLOR_BLEND
// mixes two system colours (bits 0-7 colour A, 8-15 colour B, 16-23 weight of A), UICOLOR_SYSTEM names
// one. All on the UI thread.
#pragma once

#include "platform/types.h"

class QBrush;
class QPen;

inline constexpr COLORREF UICOLOR_NONE = 0xFFFFFFFF;
inline constexpr COLORREF UICOLOR_BAD_INDEX = 0x00F000F0;  ///< what indices 31 to 99 give
inline constexpr int32_t UICOLOR_SYSTEM_COUNT = 31, UICOLOR_PALETTE_FIRST = 100, UICOLOR_PALETTE_LAST = 152;
inline constexpr uint32_t UICOLOR_BLEND = 0x04000000, UICOLOR_SYSTEM = 0x05000000;

// System indices by the names of the window system's colours, as far as the console draws with them.
inline constexpr int32_t COLOR_MENU = 4, COLOR_WINDOW = 5, COLOR_WINDOWFRAME = 6, COLOR_MENUTEXT = 7,
                         COLOR_WINDOWTEXT = 8, COLOR_HIGHLIGHT = 13, COLOR_HIGHLIGHTTEXT = 14,
                         COLOR_BTNFACE = 15, COLOR_BTNSHADOW = 16, COLOR_GRAYTEXT = 17, COLOR_BTNTEXT = 18,
                         COLOR_BTNHIGHLIGHT = 20, COLOR_3DDKSHADOW = 21, COLOR_3DLIGHT = 22,
                         COLOR_MENUHILIGHT = 29, COLOR_MENUBAR = 30;

// Palette indices that the controls draw with. Strong ink is for what has to stand out from the face: the
// highlight of edges cannot serve, since it is lighter than the face in every theme.
inline constexpr int32_t UICOLOR_STRONG = 105, UICOLOR_TICK = 112, UICOLOR_METER_LOW = 126,
                         UICOLOR_METER_MID = 120, UICOLOR_METER_HIGH = 151, UICOLOR_METER_GROUND = 124;

extern "C" {
/// The colour as it is drawn. See QmGetUIColorAbsolute.
QM_API COLORREF QmGetUIColor(int32_t index);
/// The colour of an index, or of a blend recipe passed as index. A negative index asks for the default: no
/// theme, no shadow. UICOLOR_BAD_INDEX for 31 to 99, UICOLOR_NONE above 152.
QM_API COLORREF QmGetUIColorAbsolute(int32_t index);
/// Changes an index in 0..30 or 100..152; UICOLOR_NONE gives a system index back to the window system. 0 when
/// refused: other indices, and below 100 a value with bit 26 set.
QM_API BOOL QmSetUIColor(int32_t index, COLORREF color);
/// A system colour, from the shadow if it has one, else from the window system.
QM_API COLORREF QmGetSysColor(int32_t index);
/// Mixes two colours by a recipe: a weight of 255 gives A, and so does a weight of 0.
QM_API COLORREF QmSysColorsAlphaBlend(uint32_t recipe);

/// Solid brush and one-pixel pen of an index, kept until the colour changes.
QM_API const QBrush& QmGetUIBrush(int32_t index);
QM_API const QPen& QmGetUIPen(int32_t index);
/// The same in another style: 0 solid, 1 dashed, 2 dotted, 3 dashes and dots, 4 dashes and two dots.
QM_API const QPen& QmGetUIPenWithStyle(int32_t index, int32_t style);
/// Drops the brush and pens of an index, all of them with -1.
QM_API void QmFreeUIColoredObjects(int32_t index);

/// Whether the screen shows more than 256 colours.
QM_API BOOL QmIsHighColorDisplay();

/// Answers for an index in place of the tables; 0 leaves it to them.
typedef BOOL (*QMSKINCOLORPROC)(int32_t index, COLORREF* color);
/// A skin puts its colours before the tables, for QmGetUIColor and QmGetUIColorAbsolute. Where one of the two
/// is missing both are dropped, and the tables answer alone.
QM_API void QmSkin_SetColorSource(QMSKINCOLORPROC color, QMSKINCOLORPROC colorAbsolute);
}

/// What a table holds for an index, a recipe as it is; for a negative palette index what it holds by default.
/// UICOLOR_NONE for a system colour that is the window system's, and for a wrong index.
COLORREF UIColorEntry(int32_t index);
