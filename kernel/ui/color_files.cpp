#include "kernel/ui/color_files.h"

#include "kernel/profile/profile.h"
#include "kernel/ui/ui_colors.h"
#include "platform/file.h"
#include "platform/guarded.h"
#include "platform/text.h"

using namespace tarn;

namespace {
constexpr const char* kDefaultSection = "colors";

// By index; 25 is unused.
constexpr const char* kSystemNames[] = {
    "COLOR_SCROLLBAR",
    "COLOR_BACKGROUND",
    "COLOR_ACTIVECAPTION",
    "COLOR_INACTIVECAPTION",
    "COLOR_MENU",
    "COLOR_WINDOW",
    "COLOR_WINDOWFRAME",
    "COLOR_MENUTEXT",
    "COLOR_WINDOWTEXT",
    "COLOR_CAPTIONTEXT",
    "COLOR_ACTIVEBORDER",
    "COLOR_INACTIVEBORDER",
    "COLOR_APPWORKSPACE",
    "COLOR_HIGHLIGHT",
    "COLOR_HIGHLIGHTTEXT",
    "COLOR_BTNFACE",
    "COLOR_BTNSHADOW",
    "COLOR_GRAYTEXT",
    "COLOR_BTNTEXT",
    "COLOR_INACTIVECAPTIONTEXT",
    "COLOR_BTNHIGHLIGHT",
    "COLOR_3DDKSHADOW",
    "COLOR_3DLIGHT",
    "COLOR_INFOTEXT",
    "COLOR_INFOBK",
    nullptr,
    "COLOR_HOTLIGHT",
    "COLOR_GRADIENTACTIVECAPTION",
    "COLOR_GRADIENTINACTIVECAPTION",
    "COLOR_MENUHILIGHT",
    "COLOR_MENUBAR",
};
static_assert(std::size(kSystemNames) == UICOLOR_SYSTEM_COUNT);

template <class Row>
void ForNames(Row row) {
    for (int32_t i = 0; i < static_cast<int32_t>(std::size(kSystemNames)); i++)
        if (kSystemNames[i]) row(i, std::string(kSystemNames[i]));
    for (int32_t i = UICOLOR_PALETTE_FIRST; i <= UICOLOR_PALETTE_LAST; i++)
        row(i, "UICOLOR_" + std::to_string(i));
}

std::string SectionName(const char16_t* section) {
    return section && *section ? Utf8FromUtf16(section) : kDefaultSection;
}
}  // namespace

void ApplyUIColors(const IniFile& file, const char* section) {
    ForNames([&](int32_t index, const std::string& name) {
        const std::string* value = file.Find(section, name);
        const COLORREF absent = index < UICOLOR_PALETTE_FIRST ? UICOLOR_NONE : UIColorEntry(-index);
        QmSetUIColor(index, value ? ColorFromText(*value) : absent);
    });
}

HRESULT QmLoadUIColors(const char16_t* file, const char16_t* section) {
    return Guarded([&]() -> HRESULT {
        IniFile ini;
        if (!file) return E_INVALIDARG;
        if (const HRESULT hr = ReadIniFile(Utf8FromUtf16(file), ini); Failed(hr)) return hr;
        ApplyUIColors(ini, SectionName(section).c_str());
        return S_OK;
    });
}

HRESULT QmSaveUIColors(const char16_t* file, const char16_t* section, uint32_t flags) {
    return Guarded([&]() -> HRESULT {
        if (!file) return E_INVALIDARG;
        const std::filesystem::path path(Utf8FromUtf16(file));
        IniFile ini;
        std::error_code ignored;
        if (std::filesystem::exists(path, ignored))
            if (const HRESULT hr = ReadIniFile(path, ini); Failed(hr)) return hr;
        ForNames([&](int32_t index, const std::string& name) {
            const COLORREF entry = UIColorEntry(index);
            const bool wanted = index < UICOLOR_PALETTE_FIRST
                                    ? entry != UICOLOR_NONE
                                    : flags & UICOLORS_PALETTE && entry != UIColorEntry(-index);
            if (wanted) ini.Set(SectionName(section), name, TextFromColor(entry));
        });
        std::string error;
        return ReplaceFile(path, ini.Text(), error) ? S_OK : E_FAIL;
    });
}
