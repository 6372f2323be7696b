// The lines under a scope's cloud.
#pragma once

#include "controls/scope.h"

#include <vector>

/// Offsets of the grid's pixels in the image of a plot: frame, axes of the display, ticks. `scale` is device
/// pixels a logical one. [needs fonts]
std::vector<uint32_t> ScopeGrid(const tQMSCOPE& scope, const ScopePlot& plot, double scale);

/// Ticks of an axis and, between each two of them, marks whose spacing halves down to `least`. All from 0 to
/// `length`.
std::vector<int32_t> ScopeMarks(const float* ticks, uint32_t count, int32_t length, int32_t least);
