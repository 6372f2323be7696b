// How wide the strips of all channels are, as positions of one slider. [page-thread]
#pragma once

#include "console/metrics.h"

class CConsoleControlPlugin;

inline constexpr int32_t WIDTH_NARROWEST = 0, WIDTH_USUAL = 33, WIDTH_WIDEST = 100;

/// Widths of one kind of strip.
struct WidthRange {
    LONG narrow, usual, wide;
};

/// The usual width is at a third of the way; each part is linear.
int32_t WidthPosition(LONG width, const WidthRange& range);
LONG WidthAt(int32_t position, const WidthRange& range);

/// The position that the current width has.
int32_t CurrentWidthPosition();
/// All strips, those with widths of their own too.
void SetAllWidths(CConsoleControlPlugin& plugin, int32_t position);
