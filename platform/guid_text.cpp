#include "platform/guid_text.h"

#include <cstdio>

namespace tarn {

std::string GuidText(const GUID& guid) {
    char text[39];
    std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", guid.Data1,
                  guid.Data2, guid.Data3, guid.Data4[0], guid.Data4[1], guid.Data4[2], guid.Data4[3],
                  guid.Data4[4], guid.Data4[5], guid.Data4[6], guid.Data4[7]);
    return text;
}

std::optional<GUID> GuidFromText(std::string_view text) {
    constexpr std::string_view FORM = "{########-####-####-####-############}";
    if (text.size() != FORM.size()) return {};
    uint8_t digits[32] = {};
    size_t count = 0;
    for (size_t i = 0; i < text.size(); i++) {
        const char c = text[i];
        if (FORM[i] != '#') {
            if (c != FORM[i]) return {};
            continue;
        }
        if (c >= '0' && c <= '9')
            digits[count++] = static_cast<uint8_t>(c - '0');
        else if ((c | 0x20) >= 'a' && (c | 0x20) <= 'f')
            digits[count++] = static_cast<uint8_t>((c | 0x20) - 'a' + 10);
        else
            return {};
    }
    const auto field = [&](size_t from, size_t n) {
        uint32_t value = 0;
        for (size_t i = 0; i < n; i++) value = value << 4 | digits[from + i];
        return value;
    };
    GUID guid{field(0, 8), static_cast<uint16_t>(field(8, 4)), static_cast<uint16_t>(field(12, 4)), {}};
    for (size_t i = 0; i < 8; i++) guid.Data4[i] = static_cast<uint8_t>(field(16 + 2 * i, 2));
    return guid;
}

}  // namespace tarn
