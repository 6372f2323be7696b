// The print engine for C++ callers that want a string.
#pragma once

#include "kernel/print/print.h"

#include <string>

namespace tarn {

/// Values must be what the format's directives read: int32_t, int64_t, double, const char16_t*. [any-thread]
template <class... Values>
std::u16string PrintText(const char16_t* format, Values... values) {
    char16_t text[256];
    uint32_t length = 0;
    QmCchPrintF(text, 256, &length, format, values...);
    if (length < 255) return {text, length};
    constexpr size_t MOST = 0x10000;
    std::u16string longer;
    for (size_t capacity = 1024; length + 1 >= longer.size() && capacity <= MOST; capacity *= 4) {
        longer.resize(capacity);
        QmCchPrintF(longer.data(), static_cast<uint32_t>(capacity), &length, format, values...);
    }
    longer.resize(length);
    return longer;
}

}  // namespace tarn
