// The look of the console: a dark, calm theme, as a table of colours that goes through QmSetUIColor, and the
// tones of its images. All on the UI thread.
#pragma once

#include "kernel/ui/ui_colors.h"
#include "platform/ui/image_list.h"

#include <span>

struct ThemeRow {
    int32_t index;
    COLORREF color;
};

/// The theme's colours. A host's own colours go over them with QmSetUIColor.
std::span<const ThemeRow> DarkTheme();
void ApplyTheme(std::span<const ThemeRow> rows);

/// Tones of icons and of thumbs in the colours that are set now. An image list keeps the ones it was made
/// with.
ImageTheme IconTones();
ImageTheme ThumbTones();

/// Colours of a meter: what its messages 1567 to 1569 set.
struct MeterTones {
    COLORREF background, text, clipText, clipTextBackground, clipBackground;
};
MeterTones DarkMeterTones();
