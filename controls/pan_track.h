// What a pan pad does with mouse, wheel, keys and the game controller.
#pragma once

#include "controls/pan.h"

intptr_t PanTrack(tQMPAN& pan, uint32_t message, uintptr_t wparam, intptr_t lparam);
/// Puts the point somewhere, repaints where it was and is, and reports.
void PanSet(tQMPAN& pan, double x, double y, uint32_t code);
void PanEndDrag(tQMPAN& pan);
