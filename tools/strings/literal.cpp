#include "tools/strings/literal.h"

#include <unicode/unistr.h>

#include <cstdio>

std::string Utf16Literal(std::string_view utf8) {
    const icu::UnicodeString text =
        icu::UnicodeString::fromUTF8(icu::StringPiece(utf8.data(), static_cast<int32_t>(utf8.size())));
    std::string literal = "u\"";
    for (int32_t at = 0; at < text.length(); at = text.moveIndex32(at, 1)) {
        const auto c = static_cast<unsigned>(text.char32At(at));
        char escaped[16];
        if (c == '"' || c == '\\')
            std::snprintf(escaped, sizeof escaped, "\\%c", static_cast<char>(c));
        else if (c >= 0x20 && c < 0x7F)
            std::snprintf(escaped, sizeof escaped, "%c", static_cast<char>(c));
        else if (c < 0xA0)  // a universal name may not stand for these
            std::snprintf(escaped, sizeof escaped, "\\%03o", c);
        else
            std::snprintf(escaped, sizeof escaped, c > 0xFFFF ? "\\U%08X" : "\\u%04X", c);
        literal += escaped;
    }
    return literal + "\"";
}
