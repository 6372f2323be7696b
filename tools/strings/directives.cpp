#include "tools/strings/directives.h"

#include "kernel/print/directive.h"

#include <algorithm>
#include <cctype>

namespace {

/// Empty for the conversions that write a separator of the user's and read nothing.
std::string ArgumentOf(const Directive& d) {
    switch (d.conversion) {
    case 'd':
    case 'i':
    case 'u':
    case 'x':
    case 'X':
    case 'o': return d.size == ArgumentSize::Int64 ? "64-bit integer" : "32-bit integer";
    case 'f':
    case 'e':
    case 'E':
    case 'g':
    case 'G': return "floating-point number";
    case 's': return "text";
    case 'c': return "character";
    case 'z': return "fixed-point number";
    default: return {};
    }
}

}  // namespace

std::vector<std::string> DirectivesOf(std::string_view format) {
    std::vector<std::string> arguments, tokens;
    for (size_t at = 0; at < format.size();) {
        const char prefix = format[at++];
        if (prefix != '$' && prefix != '%') continue;
        if (at < format.size() && format[at] == prefix) {
            at++;
            continue;
        }
        if (prefix == '$' && at < format.size() && format[at] == '(') {
            const size_t end = format.find(')', at);
            if (end == format.npos) continue;
            const std::string name(format.substr(at + 1, end - at - 1));
            const bool isNumber = !name.empty() && (std::isdigit(static_cast<unsigned char>(name[0])) ||
                                                    name[0] == '-' || name[0] == '.');
            if (!isNumber) tokens.push_back("$(" + name + ")");
            at = end + 1;
            continue;
        }
        Directive directive;
        const size_t length = ParseDirective(format.substr(at), directive);
        at += length;
        if (length == 0) continue;
        if (std::string argument = ArgumentOf(directive); !argument.empty())
            arguments.push_back(std::move(argument));
    }
    std::ranges::sort(tokens);
    arguments.insert(arguments.end(), tokens.begin(), tokens.end());
    return arguments;
}
