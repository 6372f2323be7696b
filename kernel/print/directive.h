// The grammar of one directive, for the engine and for the check of translations.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

enum class ArgumentSize : uint8_t { Int, Byte, Short, Int64 };

struct Directive {
    bool minus = false, plus = false, space = false, alternate = false, zero = false;
    uint32_t width = 0;
    int32_t precision = -1;  ///< -1 when there is none
    ArgumentSize size = ArgumentSize::Int;
    char conversion = 0;

    bool IsPlain() const {
        return !(minus | plus | space | alternate | zero) && width == 0 && precision < 0 &&
               size == ArgumentSize::Int;
    }
};

/// Conversions: integers, floating point, text, fixed point, and the separators of the user.
inline constexpr std::string_view DIRECTIVE_CONVERSIONS = "!&*,:EGXcdefgiosuxz";

/// A directive that is longer is none.
inline constexpr size_t DIRECTIVE_LIMIT = 260;

/// Wider fields and more decimals than this are cut to it, whatever a translation asks for.
inline constexpr uint32_t DIRECTIVE_WIDTH_LIMIT = 512;

/// Reads what follows the prefix, up to and with the conversion. Returns its length, or 0 when it is no
/// directive and the prefix is to be copied.
template <class Char>
size_t ParseDirective(std::basic_string_view<Char> text, Directive& directive) {
    size_t at = 0;
    const size_t end = std::min(text.size(), DIRECTIVE_LIMIT);
    const auto peek = [&](size_t ahead = 0) { return at + ahead < end ? text[at + ahead] : Char{}; };
    const auto number = [&] {
        uint32_t value = 0;
        for (; peek() >= '0' && peek() <= '9'; at++)
            value = std::min(value * 10 + static_cast<uint32_t>(peek() - '0'), DIRECTIVE_WIDTH_LIMIT);
        return value;
    };
    for (bool flag = true; flag; at += flag) {
        switch (peek()) {
        case '-': directive.minus = true; break;
        case '+': directive.plus = true; break;
        case ' ': directive.space = true; break;
        case '#': directive.alternate = true; break;
        case '0': directive.zero = true; break;
        default: flag = false;
        }
    }
    directive.width = number();
    if (peek() == '.') {
        at++;
        directive.precision = static_cast<int32_t>(number());
    }
    if (peek() == 'I' && peek(1) == '6' && peek(2) == '4') {
        directive.size = ArgumentSize::Int64;
        at += 3;
    } else if (peek() == 'I' && peek(1) == '3' && peek(2) == '2') {
        at += 3;
    } else if (peek() == 'l') {
        at += peek(1) == 'l' ? (directive.size = ArgumentSize::Int64, 2) : 1;
    } else if (peek() == 'h') {
        const bool byte = peek(1) == 'h';
        directive.size = byte ? ArgumentSize::Byte : ArgumentSize::Short;
        at += byte ? 2 : 1;
    }
    const Char c = peek();
    if (c == 0 || c > 'z' || DIRECTIVE_CONVERSIONS.find(static_cast<char>(c)) == std::string_view::npos)
        return 0;
    directive.conversion = static_cast<char>(c);
    return at + 1;
}
