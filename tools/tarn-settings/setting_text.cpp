#include "tools/tarn-settings/setting_text.h"

#include "platform/text.h"

#include <charconv>
#include <cstring>
#include <limits>

using namespace tarn;

namespace {

struct Type {
    uint32_t type;
    const char* name;
    char16_t prefix;
};
constexpr Type TYPES[] = {
    {STORE_NUMBER, "number", 0},
    {STORE_TEXT, "text", u'S'},
    {STORE_BINARY, "binary", u'B'},
    {STORE_MULTI_TEXT, "texts", u'Z'},
};

std::u16string Characters(const std::string& bytes) {
    std::u16string text(bytes.size() / 2, u'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * 2);
    return text;
}

std::string Bytes(const std::u16string& text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)};
}

std::string Number(const std::string& bytes) {
    int32_t value = 0;
    if (bytes.size() == sizeof value) std::memcpy(&value, bytes.data(), sizeof value);
    return std::to_string(value);
}

std::string Hexadecimal(const std::string& bytes) {
    constexpr char DIGITS[] = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        text += DIGITS[static_cast<unsigned char>(c) >> 4];
        text += DIGITS[c & 15];
    }
    return text;
}

std::string Lines(std::u16string text) {
    while (!text.empty() && text.back() == 0) text.pop_back();
    for (char16_t& c : text)
        if (c == 0) c = u'\n';
    return Utf8FromUtf16(text);
}

std::optional<std::string> ParsedNumber(const std::string& text) {
    int64_t value = 0;
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (code != std::errc() || end != text.data() + text.size() ||
        value < std::numeric_limits<int32_t>::min() || value > std::numeric_limits<uint32_t>::max())
        return {};
    const auto word = static_cast<uint32_t>(value);
    return std::string(reinterpret_cast<const char*>(&word), sizeof word);
}

std::optional<std::string> ParsedHexadecimal(const std::string& text) {
    std::string bytes;
    for (size_t at = 0; at < text.size(); at += 2) {
        unsigned value = 0;
        const char* const from = text.data() + at;
        if (at + 2 > text.size() || std::from_chars(from, from + 2, value, 16).ptr != from + 2) return {};
        bytes += static_cast<char>(value);
    }
    return bytes;
}

std::string ParsedTexts(const std::string& text) {
    std::u16string texts = Utf16FromUtf8(text);
    for (char16_t& c : texts)
        if (c == u'\n') c = 0;
    return Bytes(texts + std::u16string(texts.empty() ? 1 : 2, u'\0'));
}

}  // namespace

std::string TypeName(uint32_t type) {
    for (const Type& row : TYPES)
        if (row.type == type) return row.name;
    return "type " + std::to_string(type);
}

std::optional<uint32_t> TypeNamed(std::string_view name) {
    for (const Type& row : TYPES)
        if (row.name == name) return row.type;
    return {};
}

uint32_t TypeByName(std::u16string_view name) {
    const bool hasNumber = name.size() > 1 && name.find_first_not_of(u"0123456789", 1) == name.npos;
    for (const Type& row : TYPES)
        if (row.prefix && hasNumber && name[0] == row.prefix) return row.type;
    return STORE_NUMBER;
}

std::string ShownValue(const StoreEntry& entry) {
    switch (entry.type) {
    case STORE_NUMBER: return Number(entry.bytes);
    case STORE_TEXT:
    case STORE_MULTI_TEXT: return Lines(Characters(entry.bytes));
    default: return Hexadecimal(entry.bytes);
    }
}

std::optional<std::string> ParsedValue(uint32_t type, const std::string& text, std::string& error) {
    std::optional<std::string> bytes;
    switch (type) {
    case STORE_NUMBER:
        bytes = ParsedNumber(text);
        if (!bytes) error = "'" + text + "' is not an integer of 32 bits";
        return bytes;
    case STORE_TEXT: return Bytes(Utf16FromUtf8(text) + u'\0');
    case STORE_MULTI_TEXT: return ParsedTexts(text);
    default:
        bytes = ParsedHexadecimal(text);
        if (!bytes) error = "'" + text + "' is not made of pairs of hexadecimal digits";
        return bytes;
    }
}
