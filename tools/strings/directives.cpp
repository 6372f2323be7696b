#include "tools/strings/directives.h"

#include <algorithm>
#include <cctype>

namespace {

constexpr std::string_view CONVERSIONS = "!&*,:EGXcdefgiosuxz";

/// Empty for the conversions that write a separator of the user's and read nothing.
std::string ArgumentOf(char conversion, std::string_view flags) {
    if (std::string_view("diuxXo").find(conversion) != std::string_view::npos)
        return flags.find("I64") != std::string_view::npos ? "64-bit whole number" : "32-bit whole number";
    if (std::string_view("fgeEG").find(conversion) != std::string_view::npos) return "floating-point number";
    if (conversion == 's') return "text";
    if (conversion == 'c') return "character";
    if (conversion == 'z') return "fixed-point number";
    return {};
}

}  // namespace

std::vector<std::string> DirectivesOf(std::string_view format) {
    std::vector<std::string> arguments, tokens;
    for (size_t at = 0; at < format.size(); at++) {
        const char prefix = format[at];
        if (prefix != '$' && prefix != '%') continue;
        if (++at < format.size() && format[at] == prefix) continue;
        if (prefix == '$' && at < format.size() && format[at] == '(') {
            const size_t end = format.find(')', at);
            if (end == format.npos) continue;
            const std::string name(format.substr(at + 1, end - at - 1));
            const bool isNumber = !name.empty() && (std::isdigit(static_cast<unsigned char>(name[0])) ||
                                                    name[0] == '-' || name[0] == '.');
            if (!isNumber) tokens.push_back("$(" + name + ")");
            at = end;
            continue;
        }
        const size_t end = format.find_first_of(CONVERSIONS, at);
        if (end == format.npos) break;
        const std::string argument = ArgumentOf(format[end], format.substr(at, end - at));
        if (!argument.empty()) arguments.push_back(argument);
        at = end;
    }
    std::ranges::sort(tokens);
    arguments.insert(arguments.end(), tokens.begin(), tokens.end());
    return arguments;
}
