// The looks of the console: a dark and a light theme, which are colour files in resources/themes, and the
// tones of its images. All on the UI thread.
#pragma once

#include "kernel/ui/ui_colors.h"
#include "platform/ui/image_list.h"

/// System: no colours of the module's own, those of the window system's palette.
enum class Theme { Dark, Light, System };

/// Sets all colours to a theme of the module's own. A host's own colours go over it with QmSetUIColor.
void ApplyTheme(Theme theme);

/// Tones of icons and of thumbs in the colours that are set now. An image list keeps
/// the ones it was made with.
ImageTheme IconTones();
ImageTheme ThumbTones();
/// Of thumbs on another face than the buttons': ink is the line, accent the outline, shade the body.
ImageTheme ThumbTones(COLORREF face);

/// Colours of a meter: what its messages 1567 to 1569 set.
struct MeterTones {
    COLORREF background, text, clipText, clipTextBackground, clipBackground;
};
MeterTones ThemeMeterTones();

/// The colour, or black or white where it could not be read as text on the ground (WCAG 2.1, contrast
/// of 4.5).
COLORREF ReadableOn(COLORREF text, COLORREF ground);
/// The colour, moved as far to black or white as a line needs to be seen on the ground (contrast of 3).
COLORREF VisibleOn(COLORREF mark, COLORREF ground);
/// What stands out from the ground in any palette.
COLORREF StrongInk(COLORREF ground);
/// Contrast of two colours by WCAG 2.1, 1 to 21.
double ContrastOf(COLORREF a, COLORREF b);
