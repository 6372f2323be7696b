#include "controls/number_text.h"

#include <charconv>
#include <cmath>

std::u16string NumberText(double value, std::u16string_view format) {
    const size_t at = format.find(u"$.");
    const bool hasField = at != format.npos && at + 3 < format.size() && format[at + 2] >= u'0' &&
                          format[at + 2] <= u'9' && format[at + 3] == u'f';
    if (!hasField || !std::isfinite(value)) return std::u16string(format);

    char digits[352];  // the largest double has 309 of them
    const auto [end, error] =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, format[at + 2] - u'0');
    if (error != std::errc()) return std::u16string(format);
    std::string_view number(digits, static_cast<size_t>(end - digits));
    if (number.front() == '-' && number.find_first_not_of("-0.") == number.npos) number.remove_prefix(1);

    std::u16string text(format.substr(0, at));
    text.append(number.begin(), number.end());
    return text.append(format.substr(at + 4));
}
