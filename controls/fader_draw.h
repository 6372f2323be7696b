// Parts of a fader's picture that other sliders draw too.
#pragma once

#include "controls/fader.h"

/// A tick at both sides of the slot at a value, in a colour of ui_colors.h.
void FaderDrawMark(const tQMFADER& fader, QPainter& painter, int32_t value, int32_t colorIndex);
