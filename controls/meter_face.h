// What the windows of both kinds of meters say of themselves.
#pragma once

#include "controls/meter.h"

#include <string>

std::u16string MeterName();
std::u16string DecibelText(double decibels);
/// The theme's colours of a meter, in place of the plain ones.
void TakeThemeColors(tQMMETER& meter);
