// Numbers on the controls.
#pragma once

#include <string>

/// The value by a format of the print engine that reads one floating-point number. A value that rounds to
/// zero has no sign.
std::u16string NumberText(double value, const char16_t* format = u"$.1f");
