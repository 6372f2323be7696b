#include "kernel/print/print.h"

#include "kernel/formats/tokens.h"
#include "kernel/lang/lang.h"
#include "kernel/print/digits.h"
#include "kernel/print/directive.h"
#include "kernel/print/group.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <utility>

using namespace tarn;

namespace {

constexpr char16_t NO_TEXT[] = u"(null)";
constexpr size_t BRACKET_LIMIT = 260;

/// A va_list is an array on some platforms; in a record it can be handed on by reference.
struct Values {
    va_list list;
};

uint64_t TakeUnsigned(Values& values, ArgumentSize size) {
    if (size == ArgumentSize::Int64) return va_arg(values.list, uint64_t);
    const auto value = va_arg(values.list, uint32_t);
    if (size == ArgumentSize::Byte) return static_cast<uint8_t>(value);
    return size == ArgumentSize::Short ? static_cast<uint16_t>(value) : value;
}

int64_t TakeSigned(Values& values, ArgumentSize size) {
    if (size == ArgumentSize::Int64) return va_arg(values.list, int64_t);
    const auto value = va_arg(values.list, int32_t);
    if (size == ArgumentSize::Byte) return static_cast<int8_t>(value);
    return size == ArgumentSize::Short ? static_cast<int16_t>(value) : value;
}

/// Writes sign or prefix, zeros and digits into the field. `zeros` are those of the precision.
void PutField(TextWriter& out, const Directive& d, std::string_view lead, size_t zeros,
              std::u16string_view body, bool zeroPad) {
    const size_t length = lead.size() + zeros + body.size();
    size_t pad = d.width > length ? d.width - length : 0;
    if (!d.minus && zeroPad) zeros += std::exchange(pad, 0);
    if (!d.minus) out.Fill(u' ', pad);
    out.Put(lead);
    out.Fill(u'0', zeros);
    out.Put(body);
    if (d.minus) out.Fill(u' ', pad);
}

char16_t* WriteHex(char16_t* end, uint64_t value, bool upper) {
    const char16_t* const shapes = upper ? u"0123456789ABCDEF" : u"0123456789abcdef";
    do *--end = shapes[value & 15];
    while (value >>= 4);
    return end;
}

char16_t* WriteOctal(char16_t* end, uint64_t value) {
    do *--end = static_cast<char16_t>(u'0' + (value & 7));
    while (value >>= 3);
    return end;
}

void PutWhole(TextWriter& out, const Directive& d, Values& values) {
    uint64_t magnitude = 0;
    std::string_view lead;
    if (d.conversion == 'd' || d.conversion == 'i') {
        const int64_t value = TakeSigned(values, d.size);
        magnitude = value < 0 ? uint64_t{0} - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
        lead = value < 0 ? "-" : d.plus ? "+" : d.space ? " " : "";
    } else {
        magnitude = TakeUnsigned(values, d.size);
    }
    char16_t text[24];
    char16_t* const end = text + std::size(text);
    char16_t* at = end;
    const bool upper = d.conversion == 'X';
    if (d.conversion == 'x' || upper) {
        at = WriteHex(end, magnitude, upper);
        if (d.alternate && magnitude) lead = upper ? "0X" : "0x";
    } else if (d.conversion == 'o') {
        at = WriteOctal(end, magnitude);
    } else {
        at = digits::WriteBackward(end, magnitude);
    }
    if (magnitude == 0 && d.precision == 0) at = end;
    std::u16string_view body(at, static_cast<size_t>(end - at));
    size_t zeros = d.precision > 0 && static_cast<size_t>(d.precision) > body.size()
                       ? static_cast<size_t>(d.precision) - body.size()
                       : 0;
    if (d.conversion == 'o' && d.alternate && zeros == 0 && (body.empty() || body[0] != u'0')) zeros = 1;
    PutField(out, d, lead, zeros, body, d.zero && d.precision < 0);
}

/// What the C library would print between sign and padding; 900 characters hold it.
size_t FloatDigits(const Directive& d, double magnitude, char* text, char* end) {
    const int precision = d.precision < 0 ? 6 : d.precision;
    const char lower = static_cast<char>(d.conversion | 0x20);
    if (d.alternate) {  // keeps the point and the zeros that the plain forms drop
        const char format[] = {'%', '#', '.', '*', d.conversion, 0};
        return static_cast<size_t>(
            std::max(0, std::snprintf(text, static_cast<size_t>(end - text), format, precision, magnitude)));
    }
    const std::chars_format form = lower == 'f'   ? std::chars_format::fixed
                                   : lower == 'e' ? std::chars_format::scientific
                                                  : std::chars_format::general;
    const auto [last, error] = std::to_chars(text, end, magnitude, form, precision);
    if (error != std::errc()) return 0;
    if (d.conversion != lower)
        for (char* c = text; c != last; c++)
            if (*c >= 'a' && *c <= 'z') *c = static_cast<char>(*c - 32);
    return static_cast<size_t>(last - text);
}

void PutFloat(TextWriter& out, const Directive& d, double value) {
    const std::string_view lead = std::signbit(value) ? "-" : d.plus ? "+" : d.space ? " " : "";
    uint64_t scaled = 0;
    const int precision = d.precision < 0 ? 6 : d.precision;
    if (d.conversion == 'f' && !d.alternate && digits::FixedPoint(std::fabs(value), precision, scaled)) {
        char16_t number[digits::MOST + 2];
        char16_t* const end = number + std::size(number);
        const char16_t* const begin = digits::WriteFixedBackward(end, scaled, precision);
        return PutField(out, d, lead, 0, {begin, static_cast<size_t>(end - begin)}, d.zero);
    }
    char text[900];
    const bool finite = std::isfinite(value);
    Directive plain = d;
    plain.alternate &= finite;
    const size_t length = FloatDigits(plain, std::fabs(value), text, text + sizeof text);
    char16_t wide[sizeof text];
    std::copy(text, text + length, wide);
    PutField(out, d, lead, 0, {wide, length}, d.zero && finite);
}

/// The `$` forms: printed as by `%`, then written in the user's separators.
template <class Print>
void PutLocal(TextWriter& out, bool group, int32_t decimals, Print print) {
    char16_t text[900 + DIRECTIVE_WIDTH_LIMIT];
    TextWriter plain(text, std::size(text));
    print(plain);
    PutNumber(out, {text, plain.Length()}, group, decimals, CurrentInat());
}

void PutFloatDirective(TextWriter& out, const Directive& d, Values& values, bool local) {
    const double value = va_arg(values.list, double);
    const bool isGeneral = d.conversion == 'g' || d.conversion == 'G';
    if (!local || d.conversion == 'e' || d.conversion == 'E') return PutFloat(out, d, value);
    if (!isGeneral) return PutLocal(out, true, -1, [&](TextWriter& plain) { PutFloat(plain, d, value); });
    char16_t text[900 + DIRECTIVE_WIDTH_LIMIT];
    TextWriter plain(text, std::size(text));
    PutFloat(plain, d, value);
    const std::u16string_view number(text, plain.Length());
    if (number.find_first_of(u"eE") != number.npos) return out.Put(number);
    PutNumber(out, number, false, -1, CurrentInat());
}

/// An integer with a decimal separator so many digits before its end.
void PutFixedPoint(TextWriter& out, const Directive& d, Values& values, bool group) {
    const int32_t value = va_arg(values.list, int32_t);
    const auto decimals = static_cast<size_t>(std::max(d.precision, 0));
    const Inat& inat = CurrentInat();
    char16_t text[digits::MOST];
    char16_t* const end = text + digits::MOST;
    const char16_t* const at =
        digits::WriteBackward(end, static_cast<uint32_t>(value < 0 ? -int64_t{value} : value));
    const auto count = static_cast<size_t>(end - at);
    const std::u16string_view all(at, count);
    const std::u16string_view whole =
        count > decimals ? all.substr(0, count - decimals) : std::u16string_view(u"0");

    char16_t body[900 + DIRECTIVE_WIDTH_LIMIT];
    TextWriter writer(body, std::size(body));
    if (group)
        PutGrouped(writer, whole, inat);
    else
        writer.Put(whole);
    if (decimals) {
        writer.Put({inat.decimal.text, inat.decimal.length});
        writer.Fill(u'0', decimals > count ? decimals - count : 0);
        writer.Put(all.substr(count > decimals ? count - decimals : 0));
    }
    const std::string_view lead = value < 0 ? "-" : d.plus ? "+" : d.space ? " " : "";
    PutField(out, d, lead, 0, {body, writer.Length()}, d.zero);
}

void PutText(TextWriter& out, const Directive& d, Values& values) {
    const auto* text = va_arg(values.list, const char16_t*);
    if (!text)
        text = NO_TEXT;
    else if (reinterpret_cast<uintptr_t>(text) < 0x10000 || IsQMLANGSTRINGID(nullptr, text))
        text = QmGetString(KernelLang(), text);
    const size_t limit = d.precision < 0 ? SIZE_MAX : static_cast<size_t>(d.precision);
    size_t length = 0;
    while (length < limit && text[length]) length++;
    PutField(out, d, {}, 0, {text, length}, false);
}

void PutCharacter(TextWriter& out, const Directive& d, Values& values) {
    const auto c = static_cast<char16_t>(va_arg(values.list, int));
    PutField(out, d, {}, 0, {&c, 1}, false);
}

void Put(TextWriter& out, const Separator& separator) { out.Put({separator.text, separator.length}); }

/// Returns how many characters of `rest`, what follows the conversion, belong to it.
size_t PutSeparator(TextWriter& out, char conversion, char16_t next) {
    const Inat& inat = CurrentInat();
    const Separator* chosen = nullptr;
    switch (conversion) {
    case '*': return Put(out, inat.decimal), 0;
    case ',': return Put(out, inat.list), 0;
    case ':': return Put(out, inat.time), 0;
    case '!':
        chosen = next == u','   ? &inat.smpteDrop
                 : next == u'.' ? &inat.smpteNonDrop
                 : next == u':' ? &inat.smpteWhole
                                : nullptr;
        break;
    case '&': chosen = next == u'.' ? &inat.beatTick : next == u':' ? &inat.measureBeat : nullptr; break;
    }
    if (chosen) Put(out, *chosen);
    return chosen ? 1 : 0;
}

/// Writes one directive; returns what it took of the text behind its conversion.
size_t PutDirective(TextWriter& out, const Directive& d, Values& values, bool local, char16_t next) {
    switch (d.conversion) {
    case 'd':
    case 'i':
    case 'u':
        if (local)
            PutLocal(out, true, 0, [&](TextWriter& plain) { PutWhole(plain, d, values); });
        else
            PutWhole(out, d, values);
        return 0;
    case 'x':
    case 'X':
    case 'o': PutWhole(out, d, values); return 0;
    case 'e':
    case 'E':
    case 'f':
    case 'g':
    case 'G': PutFloatDirective(out, d, values, local); return 0;
    case 's': PutText(out, d, values); return 0;
    case 'c': PutCharacter(out, d, values); return 0;
    case 'z': PutFixedPoint(out, d, values, local); return 0;
    default: return PutSeparator(out, d.conversion, next);
    }
}

/// The numbers that sit under every redraw, without flags and without the machinery.
void PutPlainWhole(TextWriter& out, bool isNegative, uint64_t magnitude, bool group) {
    char16_t text[digits::MOST + 1];
    char16_t* const end = text + std::size(text);
    char16_t* at = magnitude <= UINT32_MAX ? digits::WriteBackward(end, static_cast<uint32_t>(magnitude))
                                           : digits::WriteBackward(end, magnitude);
    if (group) {
        if (isNegative) out.Put(u'-');
        return PutGrouped(out, {at, static_cast<size_t>(end - at)}, CurrentInat());
    }
    if (isNegative) *--at = u'-';
    out.Put(std::u16string_view(at, static_cast<size_t>(end - at)));
}

/// The fields of clocks and labels: at least so many digits.
void PutPaddedWhole(TextWriter& out, uint32_t value, size_t width) {
    char16_t text[digits::MOST];
    char16_t* const end = text + std::size(text);
    char16_t* at = digits::WriteBackward(end, value);
    while (static_cast<size_t>(end - at) < width) *--at = u'0';
    out.Put(std::u16string_view(at, static_cast<size_t>(end - at)));
}

/// Returns the directive's length when it was a bare d, u, s or I64d, or 01u to 09u; else 0, and nothing was
/// read.
size_t PutFast(TextWriter& out, const char16_t* text, Values& values, bool local) {
    switch (text[0]) {
    case u'd': {
        const int32_t value = va_arg(values.list, int32_t);
        PutPlainWhole(out, value < 0, static_cast<uint64_t>(std::abs(int64_t{value})), local);
        return 1;
    }
    case u'u': PutPlainWhole(out, false, va_arg(values.list, uint32_t), local); return 1;
    case u's': {
        const Directive plain;
        PutText(out, plain, values);
        return 1;
    }
    case u'0':
        if (local || text[1] < u'1' || text[1] > u'9' || text[2] != u'u') return 0;
        PutPaddedWhole(out, va_arg(values.list, uint32_t), static_cast<size_t>(text[1] - u'0'));
        return 3;
    case u'I':
        if (text[1] == u'6' && text[2] == u'4' && text[3] == u'd') {
            const int64_t value = va_arg(values.list, int64_t);
            const auto bits = static_cast<uint64_t>(value);
            PutPlainWhole(out, value < 0, value < 0 ? uint64_t{0} - bits : bits, local);
            return 4;
        }
        return 0;
    default: return 0;
    }
}

/// What stands between "$(" and ")": a number or a token. `text` begins behind the dollar; returns the length
/// of the bracket.
size_t PutBracket(TextWriter& out, const char16_t* text) {
    size_t length = 1;
    while (text[length] && text[length] != u')' && length <= BRACKET_LIMIT) length++;
    const std::u16string_view content(text + 1, length - 1);
    if (text[length] != u')') {
        out.Put(u'$');
        out.Put({text, length});
        return length;
    }
    const char16_t c = content.empty() ? u' ' : content[0];
    if ((c >= u'0' && c <= u'9') || c == u'-' || c == u'.') {
        char16_t number[BRACKET_LIMIT];
        size_t count = 0;
        for (const char16_t digit : content)
            if (digit != u',') number[count++] = digit;  // grouped as programmers write them
        PutNumber(out, {number, count}, true, -1, CurrentInat());
        return length + 1;
    }
    const auto write = [](void* to, std::u16string_view value) { static_cast<TextWriter*>(to)->Put(value); };
    if (content.empty() || !WithPrintToken(content, write, &out)) {
        out.Put(u'$');
        out.Put({text, length + 1});
    }
    return length + 1;
}

/// Directives are short, so only as much of the format is looked at as one can have.
size_t BoundedLength(const char16_t* text) {
    size_t length = 0;
    while (length < DIRECTIVE_LIMIT && text[length]) length++;
    return length;
}

/// A format may be named as any text may: by a record or a number of the kernel's own.
const char16_t* FormatText(const char16_t* format) {
    if (!format) return u"";
    const bool isPlain = reinterpret_cast<uintptr_t>(format) > UINT16_MAX && *format != QMLANGSTRINGID_MARKER;
    return isPlain ? format : QmGetStringSmart(KernelLang(), format);
}

int32_t Print(char16_t* target, size_t capacity, const char16_t* format, Values& values) {
    TextWriter out(target, capacity);
    for (const char16_t* at = FormatText(format); *at && !out.IsFull();) {
        if (*at != u'$' && *at != u'%') {
            out.Put(*at++);
            continue;
        }
        const char16_t prefix = *at++;
        const bool local = prefix == u'$';
        if (*at == prefix) {
            out.Put(prefix);
            at++;
        } else if (local && *at == u'(') {
            at += PutBracket(out, at);
        } else if (const size_t taken = PutFast(out, at, values, local)) {
            at += taken;
        } else {
            Directive directive;
            const size_t length = ParseDirective(std::u16string_view(at, BoundedLength(at)), directive);
            if (length == 0) {
                out.Put(prefix);
                continue;
            }
            at += length;
            at += PutDirective(out, directive, values, local, *at);
        }
    }
    return out.Finish();
}

}  // namespace

extern "C" {

int32_t QmVPrintF(char16_t* out, const char16_t* format, va_list values) {
    Values copy{};
    va_copy(copy.list, values);
    const int32_t length = Print(out, TextWriter::UNBOUNDED, format, copy);
    va_end(copy.list);
    return length;
}

int32_t QmPrintF(char16_t* out, const char16_t* format, ...) {
    Values values{};
    va_start(values.list, format);
    const int32_t length = Print(out, TextWriter::UNBOUNDED, format, values);
    va_end(values.list);
    return length;
}

int32_t QmNVPrintF(char16_t* out, uint32_t capacity, uint32_t* outLength, const char16_t* format,
                   va_list values) {
    Values copy{};
    va_copy(copy.list, values);
    const int32_t length = Print(out, capacity, format, copy);
    va_end(copy.list);
    if (outLength) *outLength = static_cast<uint32_t>(length);
    return length;
}

int32_t QmCchPrintF(char16_t* out, uint32_t capacity, uint32_t* outLength, const char16_t* format, ...) {
    Values values{};
    va_start(values.list, format);
    const int32_t length = Print(out, capacity, format, values);
    va_end(values.list);
    if (outLength) *outLength = static_cast<uint32_t>(length);
    return length;
}

}  // extern "C"
