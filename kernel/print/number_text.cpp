#include "kernel/print/number_text.h"

#include "kernel/print/digits.h"
#include "kernel/print/group.h"

#include <charconv>
#include <cmath>
#include <type_traits>

using namespace tarn;

namespace {

template <class Number>
int32_t WholeToText(Number value, char16_t* out, BOOL group, size_t capacity) {
    using Unsigned = std::make_unsigned_t<Number>;
    const bool negative = value < 0;
    char16_t text[digits::MOST];
    char16_t* const end = text + digits::MOST;
    const char16_t* const begin = digits::WriteBackward(
        end, negative ? Unsigned{0} - static_cast<Unsigned>(value) : static_cast<Unsigned>(value));
    TextWriter writer(out, capacity);
    if (negative) writer.Put(u'-');
    const std::u16string_view whole(begin, static_cast<size_t>(end - begin));
    if (group)
        PutGrouped(writer, whole, CurrentInat());
    else
        writer.Put(whole);
    return writer.Finish();
}

constexpr double HALF_UNITS[digits::FIXED_DECIMALS + 1] = {0.5,  0.05, 0.005, 0.0005, 0.00005,
                                                           5e-6, 5e-7, 5e-8,  5e-9,   5e-10};

/// The text with '.', not terminated; returns its length. 350 characters hold it.
size_t DoubleDigits(double value, int32_t decimals, char16_t* out) {
    const double magnitude = std::fabs(value) + HALF_UNITS[decimals];
    if (!(magnitude < 9e18)) {  // beyond integers of 64 bits, or none at all
        char text[350];
        const auto [end, error] =
            std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, decimals);
        const size_t length = error == std::errc() ? static_cast<size_t>(end - text) : 0;
        std::copy(text, text + length, out);
        return length;
    }
    const auto whole = static_cast<uint64_t>(magnitude);
    const auto scaled = static_cast<uint64_t>((magnitude - static_cast<double>(whole)) *
                                              static_cast<double>(digits::POWERS_OF_TEN[decimals]));
    const uint64_t fraction = std::min(scaled, digits::POWERS_OF_TEN[decimals] - 1);
    char16_t text[2 * digits::MOST];
    char16_t* const end = text + std::size(text);
    char16_t* at = end;
    if (decimals > 0) {
        at = digits::WriteBackward(end, digits::POWERS_OF_TEN[decimals] + fraction);
        *at = u'.';  // in the place of the leading 1, which keeps the zeros behind it
    }
    at = digits::WriteBackward(at, whole);
    if (value < 0 && (whole | fraction) != 0) *--at = u'-';
    std::copy(at, end, out);
    return static_cast<size_t>(end - at);
}

int32_t DoubleToText(char16_t* out, double value, int32_t decimals, BOOL group, size_t capacity) {
    decimals = std::clamp(decimals, 0, digits::FIXED_DECIMALS);
    char16_t text[350];
    const std::u16string_view number(text, DoubleDigits(value, decimals, text));
    TextWriter writer(out, capacity);
    if (group)
        PutNumber(writer, number, true, -1, CurrentInat());
    else
        writer.Put(number);
    return writer.Finish();
}

}  // namespace

extern "C" {

int32_t QmLongToText(int32_t value, char16_t* out, BOOL group) {
    return WholeToText(value, out, group, TextWriter::UNBOUNDED);
}
int32_t QmLongToTextN(int32_t value, char16_t* out, BOOL group, uint32_t capacity) {
    return WholeToText(value, out, group, capacity);
}
int32_t QmLongLongToText(int64_t value, char16_t* out, BOOL group) {
    return WholeToText(value, out, group, TextWriter::UNBOUNDED);
}
int32_t QmLongLongToTextN(int64_t value, char16_t* out, BOOL group, uint32_t capacity) {
    return WholeToText(value, out, group, capacity);
}
int32_t QmDWordToText(uint32_t value, char16_t* out, BOOL group) {
    return WholeToText(value, out, group, TextWriter::UNBOUNDED);
}
int32_t QmDWordToTextN(uint32_t value, char16_t* out, BOOL group, uint32_t capacity) {
    return WholeToText(value, out, group, capacity);
}
int32_t QmDWordLongToText(uint64_t value, char16_t* out, BOOL group) {
    return WholeToText(value, out, group, TextWriter::UNBOUNDED);
}
int32_t QmDWordLongToTextN(uint64_t value, char16_t* out, BOOL group, uint32_t capacity) {
    return WholeToText(value, out, group, capacity);
}
int32_t QmDoubleToText(char16_t* out, double value, int32_t decimals, BOOL group) {
    return DoubleToText(out, value, decimals, group, TextWriter::UNBOUNDED);
}
int32_t QmDoubleToTextN(char16_t* out, double value, int32_t decimals, BOOL group, uint32_t capacity) {
    return DoubleToText(out, value, decimals, group, capacity);
}

}  // extern "C"
