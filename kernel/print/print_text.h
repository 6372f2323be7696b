// The print engine for C++ callers that want a string.
#pragma once

#include "kernel/print/print.h"

#include <string>

/// Values must be what the format's directives read: int32_t, int64_t, double, const char16_t*. [any-thread]
template <class... Values>
std::u16string PrintText(const char16_t* format, Values... values) {
    char16_t text[256];
    uint32_t length = 0;
    QmCchPrintF(text, 256, &length, format, values...);
    if (length < 255) return {text, length};
    std::u16string longer(0x10000, u'\0');
    QmCchPrintF(longer.data(), static_cast<uint32_t>(longer.size()), &length, format, values...);
    longer.resize(length);
    return longer;
}
