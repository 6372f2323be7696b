#include "kernel/print/parse_text.h"

#include "kernel/formats/inat.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>

using namespace tarn;

namespace {

using TokenText = std::u16string_view;

bool IsSpace(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r') || c == u'\u00A0'; }

const char16_t* SkipSpace(const char16_t* text) {
    while (IsSpace(*text)) text++;
    return text;
}

TokenText TakeToken(const char16_t* text, const char16_t** end, const char16_t* delimiters) {
    const TokenText stops(delimiters ? delimiters : u"");
    const char16_t* const begin = SkipSpace(text ? text : u"");
    const char16_t* at = begin;
    while (*at && !IsSpace(*at) && stops.find(*at) == TokenText::npos) at++;
    if (end) *end = text ? at : nullptr;
    return {begin, static_cast<size_t>(at - begin)};
}

bool TakePrefix(TokenText& token, char16_t c) {
    if (token.empty() || token[0] != c) return false;
    token.remove_prefix(1);
    return true;
}

/// The digits that the token begins with, held at `limit`.
uint64_t Digits(TokenText& token, uint32_t base, uint64_t limit) {
    uint64_t value = 0;
    for (; !token.empty(); token.remove_prefix(1)) {
        const char16_t c = token[0], letter = c | 0x20;
        const uint32_t digit = c >= u'0' && c <= u'9'             ? c - u'0'
                               : letter >= u'a' && letter <= u'f' ? letter - u'a' + 10u
                                                                  : 99;
        if (digit >= base) break;
        value = value > (limit - digit) / base ? limit : value * base + digit;
    }
    return value;
}

template <class Number>
Number Whole(TokenText token) {
    using Limits = std::numeric_limits<Number>;
    constexpr auto most = static_cast<uint64_t>(Limits::max());
    if constexpr (Limits::is_signed) {
        if (TakePrefix(token, u'-')) {
            const uint64_t magnitude = Digits(token, 10, most + 1);
            return magnitude > most ? Limits::min() : static_cast<Number>(-static_cast<Number>(magnitude));
        }
        TakePrefix(token, u'+');
    }
    return static_cast<Number>(Digits(token, 10, most));
}

template <class Number>
Number Hexadecimal(TokenText token) {
    if (token.starts_with(u"0x") || token.starts_with(u"0X")) token.remove_prefix(2);
    return static_cast<Number>(Digits(token, 16, std::numeric_limits<Number>::max()));
}

double ParseDecimal(TokenText token) {
    const Inat& inat = CurrentInat();
    const TokenText separator(inat.decimal.text, inat.decimal.length);
    TakePrefix(token, u'+');
    char ascii[512];
    size_t length = 0;
    while (!token.empty() && length < sizeof ascii) {
        const bool isPoint = !separator.empty() && token.starts_with(separator);
        const char16_t c = isPoint ? u'.' : token[0];
        if (c > 0x7E) break;
        ascii[length++] = static_cast<char>(c);
        token.remove_prefix(isPoint ? separator.size() : 1);
    }
    // Words are no numbers, though the library reads some.
    const char* const first = std::find_if(ascii, ascii + length, [](char c) { return c != '-'; });
    if (first == ascii + length || !((*first >= '0' && *first <= '9') || *first == '.')) return 0;
    double value = 0;
    const auto [end, error] = std::from_chars(ascii, ascii + length, value);
    if (error != std::errc::result_out_of_range) return error == std::errc() ? value : 0;
    // Too large or too small: the exponent's sign tells which.
    const std::string_view number(ascii, static_cast<size_t>(end - ascii));
    const size_t exponent = number.find_first_of("eE");
    const bool tiny = exponent != number.npos ? number.find('-', exponent) != number.npos
                                              : number.find_first_of("123456789") > number.find('.');
    const double bound = tiny ? 0 : std::numeric_limits<double>::max();
    return ascii[0] == '-' ? -bound : bound;
}

constexpr COLORREF Rgb(uint32_t red, uint32_t green, uint32_t blue) { return red | green << 8 | blue << 16; }

COLORREF Color(const char16_t* text, const char16_t** end, const char16_t* delimiters) {
    if (end) *end = text;
    if (!text) return 0;
    const char16_t* at = SkipSpace(text);
    if (*at == u'#') {
        const auto word = Hexadecimal<uint32_t>(TakeToken(at + 1, end, delimiters));
        return Rgb(word >> 16 & 0xFF, word >> 8 & 0xFF, word & 0xFF);
    }
    uint32_t parts[3];
    for (size_t i = 0; i < 3; i++) {
        TokenText rest(at);
        const size_t before = rest.size();
        parts[i] = static_cast<uint32_t>(std::min<uint64_t>(Digits(rest, 10, UINT32_MAX), 255));
        const bool hasDigits = rest.size() < before;
        at += before - rest.size();
        if (!hasDigits || (i < 2 && *at != u',' && *at != u';' && !IsSpace(*at)))
            return Hexadecimal<uint32_t>(TakeToken(text, end, delimiters)) & 0xFFFFFF;
        if (i < 2) {
            at = SkipSpace(at);
            if (*at == u',' || *at == u';') at = SkipSpace(at + 1);
        }
    }
    if (end) *end = at;
    return Rgb(parts[0], parts[1], parts[2]);
}

template <class Number>
Number Clamped(Number value, Number defaultValue, const char16_t* text, Number minimum, Number maximum) {
    if (value == 0 && text && *SkipSpace(text)) return defaultValue;
    return value < minimum ? minimum : value > maximum ? maximum : value;
}

}  // namespace

extern "C" {

uint32_t QmTextToDWordToken(const char16_t* text, const char16_t** end, const char16_t* delimiters) {
    return Whole<uint32_t>(TakeToken(text, end, delimiters));
}
uint64_t QmTextToDWordLongToken(const char16_t* text, const char16_t** end, const char16_t* delimiters) {
    return Whole<uint64_t>(TakeToken(text, end, delimiters));
}
int32_t QmTextToLongToken(const char16_t* text, const char16_t** end, const char16_t* delimiters) {
    return Whole<int32_t>(TakeToken(text, end, delimiters));
}
int64_t QmTextToLongLongToken(const char16_t* text, const char16_t** end, const char16_t* delimiters) {
    return Whole<int64_t>(TakeToken(text, end, delimiters));
}
uint32_t QmHexToDWordToken(const char16_t* text, const char16_t** end, const char16_t* delimiters) {
    return Hexadecimal<uint32_t>(TakeToken(text, end, delimiters));
}
uint64_t QmHexToDWordLongToken(const char16_t* text, const char16_t** end, const char16_t* delimiters) {
    return Hexadecimal<uint64_t>(TakeToken(text, end, delimiters));
}
double QmTextToDoubleToken(const char16_t* text, const char16_t** end, const char16_t* delimiters) {
    return ParseDecimal(TakeToken(text, end, delimiters));
}
COLORREF QmTextToColorrefToken(const char16_t* text, const char16_t** end, const char16_t* delimiters) {
    return Color(text, end, delimiters);
}

uint32_t QmTextToDWordTokenEx(uint32_t defaultValue, const char16_t* text, uint32_t minimum, uint32_t maximum,
                              const char16_t** end) {
    return Clamped(QmTextToDWordToken(text, end, nullptr), defaultValue, text, minimum, maximum);
}
uint64_t QmTextToDWordLongTokenEx(uint64_t defaultValue, const char16_t* text, uint64_t minimum,
                                  uint64_t maximum, const char16_t** end) {
    return Clamped(QmTextToDWordLongToken(text, end, nullptr), defaultValue, text, minimum, maximum);
}
int32_t QmTextToLongTokenEx(int32_t defaultValue, const char16_t* text, int32_t minimum, int32_t maximum,
                            const char16_t** end) {
    return Clamped(QmTextToLongToken(text, end, nullptr), defaultValue, text, minimum, maximum);
}
int64_t QmTextToLongLongTokenEx(int64_t defaultValue, const char16_t* text, int64_t minimum, int64_t maximum,
                                const char16_t** end) {
    return Clamped(QmTextToLongLongToken(text, end, nullptr), defaultValue, text, minimum, maximum);
}
uint32_t QmHexToDWordTokenEx(uint32_t defaultValue, const char16_t* text, uint32_t minimum, uint32_t maximum,
                             const char16_t** end) {
    return Clamped(QmHexToDWordToken(text, end, nullptr), defaultValue, text, minimum, maximum);
}
uint64_t QmHexToDWordLongTokenEx(uint64_t defaultValue, const char16_t* text, uint64_t minimum,
                                 uint64_t maximum, const char16_t** end) {
    return Clamped(QmHexToDWordLongToken(text, end, nullptr), defaultValue, text, minimum, maximum);
}
double QmTextToDoubleTokenEx(double defaultValue, const char16_t* text, double minimum, double maximum,
                             const char16_t** end) {
    return Clamped(QmTextToDoubleToken(text, end, nullptr), defaultValue, text, minimum, maximum);
}
COLORREF QmTextToColorrefTokenEx(COLORREF defaultValue, const char16_t* text, const char16_t** end) {
    return Clamped<COLORREF>(Color(text, end, nullptr), defaultValue, text, 0, UINT32_MAX);
}

}  // extern "C"
