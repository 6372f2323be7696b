// Numbers on the controls: a fixed count of decimals, whatever the locale.
#pragma once

#include <string>
#include <string_view>

/// The value by a format like "$.1f" ($.0f to $.9f, with any text around it). A value that rounds to zero has
/// no sign; one that is not finite, or a format without such a field, gives the format's plain text.
std::u16string NumberText(double value, std::u16string_view format = u"$.1f");
