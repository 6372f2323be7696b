#include "platform/text.h"

#include <algorithm>
#include <memory>
#include <new>
#include <stdexcept>

#include <unicode/ucnv.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

namespace tarn {

namespace {
/// ICU counts in 32 bits. `growth` is the largest number of output units for one input unit.
int32_t CheckedLength(size_t length, int32_t growth) {
    if (length > static_cast<size_t>(INT32_MAX / growth)) throw std::length_error("text too long to convert");
    return static_cast<int32_t>(length);
}

void Check(UErrorCode status) {
    if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
    if (U_FAILURE(status)) throw std::runtime_error(u_errorName(status));
}

using Converter = std::unique_ptr<UConverter, decltype(&ucnv_close)>;

Converter OpenWindows1252() {
    UErrorCode status = U_ZERO_ERROR;
    Converter converter(ucnv_open("windows-1252", &status), &ucnv_close);
    ucnv_setSubstChars(converter.get(), "?", 1, &status);
    Check(status);
    return converter;
}
}  // namespace

std::u16string Utf16FromUtf8(std::string_view text) {
    std::u16string out(text.size(), 0);
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = 0;
    const int32_t n = CheckedLength(text.size(), 1);
    u_strFromUTF8WithSub(out.data(), n, &length, text.data(), n, 0xFFFD, nullptr, &status);
    Check(status);
    out.resize(static_cast<size_t>(length));
    return out;
}

std::string Utf8FromUtf16(std::u16string_view text) {
    const int32_t n = CheckedLength(text.size(), 3);
    std::string out(text.size() * 3, 0);
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = 0;
    u_strToUTF8WithSub(out.data(), n * 3, &length, text.data(), n, 0xFFFD, nullptr, &status);
    Check(status);
    out.resize(static_cast<size_t>(length));
    return out;
}

std::u16string Utf16FromWindows1252(std::string_view text) {
    std::u16string out(text.size(), 0);
    const int32_t n = CheckedLength(text.size(), 1);
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length = ucnv_toUChars(OpenWindows1252().get(), out.data(), n, text.data(), n, &status);
    Check(status);
    out.resize(static_cast<size_t>(length));
    return out;
}

std::string Windows1252FromUtf16(std::u16string_view text) {
    std::string out(text.size(), 0);
    const int32_t n = CheckedLength(text.size(), 1);
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length = ucnv_fromUChars(OpenWindows1252().get(), out.data(), n, text.data(), n, &status);
    Check(status);
    out.resize(static_cast<size_t>(length));
    return out;
}

size_t TextLength(const char16_t* text) { return text ? std::char_traits<char16_t>::length(text) : 0; }

size_t CopyText(char16_t* dst, size_t capacity, const char16_t* src) {
    if (capacity == 0) return 0;
    size_t n = 0;
    while (src && n < capacity - 1 && src[n]) n++;
    if (n > 0 && src[n] && U16_IS_LEAD(src[n - 1]) && U16_IS_TRAIL(src[n])) n--;
    std::copy_n(src, n, dst);
    dst[n] = 0;
    return n;
}

std::string JoinText(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (const std::string_view part : parts) text += part;
    return text;
}

}  // namespace tarn
