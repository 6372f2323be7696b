#include "kernel/profile/profile.h"

#include "kernel/codes.h"
#include "platform/file.h"
#include "platform/guarded.h"
#include "platform/text.h"

#include <charconv>
#include <cstdio>

using namespace tarn;

namespace {
constexpr size_t kLimit = 1 << 20;

BOOL WriteValue(const char16_t* section, const char16_t* key, std::string_view value, const char16_t* file) {
    return Succeeded(Guarded([&]() -> HRESULT {
        if (!section || !key || !*key || !file) return E_INVALIDARG;
        const std::filesystem::path path(Utf8FromUtf16(file));
        IniFile ini;
        std::error_code ignored;
        if (std::filesystem::exists(path, ignored) && Failed(ReadIniFile(path, ini))) return E_FAIL;
        ini.Set(Utf8FromUtf16(section), Utf8FromUtf16(key), value);
        std::string error;
        return ReplaceFile(path, ini.Text(), error) ? S_OK : E_FAIL;
    }));
}

template <class Number>
BOOL WriteNumber(const char16_t* section, const char16_t* key, Number value, const char16_t* file) {
    char text[40];
    const auto end = std::to_chars(std::begin(text), std::end(text), value).ptr;
    return WriteValue(section, key, std::string_view(text, static_cast<size_t>(end - text)), file);
}
}  // namespace

HRESULT tarn::ReadIniFile(const std::filesystem::path& path, IniFile& out) {
    std::error_code ignored;
    std::string bytes, error;
    if (!std::filesystem::is_regular_file(path, ignored) || !ReadWholeFile(path, kLimit, bytes, error))
        return QM_E_OPEN;
    out = IniFile(bytes);
    return S_OK;
}

COLORREF tarn::ColorFromText(std::string_view text) {
    const bool redFirst = text.starts_with('#');
    if (redFirst)
        text.remove_prefix(1);
    else if (text.starts_with("0x") || text.starts_with("0X"))
        text.remove_prefix(2);
    uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    if (error != std::errc() || end != text.data() + text.size()) return PROFILE_BAD_COLOR;
    if (!redFirst) return value;
    if (text.size() != 6) return PROFILE_BAD_COLOR;
    return (value & 0xFF) << 16 | (value & 0xFF00) | value >> 16;
}

std::string tarn::TextFromColor(COLORREF color) {
    char text[11];
    std::snprintf(text, sizeof text, "0x%06X", color);
    return text;
}

COLORREF QmGetPrivateProfileColorref(const char16_t* section, const char16_t* key, COLORREF absent,
                                     const char16_t* file) {
    COLORREF color = absent;
    Guarded([&]() -> HRESULT {
        IniFile ini;
        if (!section || !key || !file || Failed(ReadIniFile(Utf8FromUtf16(file), ini))) return E_FAIL;
        const std::string* value = ini.Find(Utf8FromUtf16(section), Utf8FromUtf16(key));
        if (value) color = ColorFromText(*value);
        return S_OK;
    });
    return color;
}

BOOL QmWritePrivateProfileColorref(const char16_t* section, const char16_t* key, COLORREF color,
                                   const char16_t* file) {
    return WriteValue(section, key, TextFromColor(color), file);
}
BOOL QmWritePrivateProfileInt(const char16_t* section, const char16_t* key, int32_t value,
                              const char16_t* file) {
    return WriteNumber(section, key, value, file);
}
BOOL QmWritePrivateProfileDWord(const char16_t* section, const char16_t* key, uint32_t value,
                                const char16_t* file) {
    return WriteNumber(section, key, value, file);
}
BOOL QmWritePrivateProfileDouble(const char16_t* section, const char16_t* key, double value,
                                 const char16_t* file) {
    return WriteNumber(section, key, value, file);
}
