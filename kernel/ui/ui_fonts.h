// Fonts by number, made once and kept, and the measures that layouts are built on. All on the UI thread.
//
//   100 control font      104 bold      106 italic      108 bold italic     165 underlined
//   110 one point smaller 112 the same, bold
//   102 fixed pitch, one point smaller    120 two points smaller    147 fixed pitch, 10 points, medium
//   129 16 points, medium                 130 12 points, medium     134 12 points, bold
//   140 message text, 141 bold; 142 and 143 a quarter larger; 144 and 145 half as large again; 146 smaller
//   160, 161 and bold 162, 163: the control font for turned text; the painter does the turning
//   10, 11, 16 stock fonts of fixed pitch; 12, 13, 14, 17 the control font
//
// Any other number is the control font. Sizes are logical pixels at 96 an inch, whatever the screen says: the
// layout is the same everywhere, and scales as a whole.
#pragma once

#include "platform/types.h"

class QFont;

/// What controls and pages are written in.
inline constexpr int32_t UIFONT_TEXT = 100, UIFONT_SMALL = 110, UIFONT_BOLD = 104;

extern "C" {
QM_API const QFont& QmGetUIFont(int32_t id);
/// Width of the average character and height of a line.
QM_API SIZE QmGetFontSize(const QFont& font);
QM_API SIZE QmGetUIFontSize(int32_t id);
/// The character set that fonts are made for: 1, all of Unicode.
QM_API uint32_t QmGetUIFontCharset();
/// Width and height of one line of text of that many characters; -1 for a terminated text.
QM_API SIZE QmGetTextExtent(const QFont& font, const char16_t* text, int32_t length);
}
