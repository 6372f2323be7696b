#include "kernel/ui/theme.h"

#include "kernel/ui/color_math.h"

namespace {
/// Colours are thought of as red, green, blue; a COLORREF has blue on top.
constexpr COLORREF Rgb(uint32_t rgb) { return (rgb & 0xFF) << 16 | (rgb & 0xFF00) | rgb >> 16; }

constexpr ThemeRow kDark[] = {
    {0, Rgb(0x202328)},  // scroll bar
    {1, Rgb(0x141518)},  // desktop
    {2, Rgb(0x2f333a)},  // active caption
    {3, Rgb(0x24272c)},  // inactive caption
    {4, Rgb(0x2a2d33)},  // menu
    {COLOR_WINDOW, Rgb(0x191b1f)},
    {COLOR_WINDOWFRAME, Rgb(0x1c1e22)},  // ground of the console
    {7, Rgb(0xdcdfe4)},                  // menu text
    {COLOR_WINDOWTEXT, Rgb(0xdcdfe4)},
    {9, Rgb(0xeceef1)},                // caption text
    {10, Rgb(0x3d4149)},               // active border
    {11, Rgb(0x2f333a)},               // inactive border
    {12, Rgb(0x141518)},               // application workspace
    {COLOR_HIGHLIGHT, Rgb(0x57a9cc)},  // the accent
    {COLOR_HIGHLIGHTTEXT, Rgb(0x0c1418)},
    {COLOR_BTNFACE, Rgb(0x282b30)},  // ground of a strip
    {COLOR_BTNSHADOW, Rgb(0x17191c)},
    {COLOR_GRAYTEXT, Rgb(0xabb1ba)},
    {COLOR_BTNTEXT, Rgb(0xdcdfe4)},
    {19, Rgb(0xabb1ba)},                  // inactive caption text
    {COLOR_BTNHIGHLIGHT, Rgb(0xf5f7fa)},  // text that stands out
    {COLOR_3DDKSHADOW, Rgb(0x0d0e10)},
    {COLOR_3DLIGHT, Rgb(0x393d44)},
    {23, Rgb(0xe6e8ec)},  // tip text
    {24, Rgb(0x34383f)},  // tip
    {26, Rgb(0x86c9e6)},  // what the mouse is over
    {27, Rgb(0x2f333a)},
    {28, Rgb(0x24272c)},
    {29, Rgb(0x57a9cc)},  // menu highlight
    {30, Rgb(0x24272c)},  // menu bar
    {UICOLOR_TICK, Rgb(0x666c76)},
    {UICOLOR_METER_LOW, Rgb(0x4fb477)},
    {UICOLOR_METER_MID, Rgb(0xdfb84f)},
    {UICOLOR_METER_HIGH, Rgb(0xe0564b)},
};
}  // namespace

std::span<const ThemeRow> DarkTheme() { return kDark; }

void ApplyTheme(std::span<const ThemeRow> rows) {
    for (const ThemeRow& row : rows) QmSetUIColor(row.index, row.color);
}

ImageTheme IconTones() {
    const COLORREF face = QmGetUIColor(COLOR_BTNFACE), text = QmGetUIColor(COLOR_BTNTEXT);
    const COLORREF accent = QmGetUIColor(COLOR_HIGHLIGHT), bright = QmGetUIColor(COLOR_BTNHIGHLIGHT);
    const auto dimmed = [face](COLORREF c) { return QmSkin_BlendColor(c, face, 160, 0); };
    const COLORREF shade = QmSkin_BlendColor(text, face, 110, 0);
    return {{{text, accent, shade}, {bright, bright, text}, {dimmed(text), dimmed(accent), dimmed(shade)}}};
}

ImageTheme ThumbTones() {
    const COLORREF face = QmGetUIColor(COLOR_BTNFACE), bright = QmGetUIColor(COLOR_BTNHIGHLIGHT);
    const COLORREF accent = QmGetUIColor(COLOR_HIGHLIGHT), dark = QmGetUIColor(COLOR_3DDKSHADOW);
    const COLORREF body = QmSkin_BlendColor(face, bright, 92, 0);
    return {{{bright, accent, body},
             {bright, accent, QmSkin_BlendColor(body, bright, 48, 0)},
             {QmSkin_BlendColor(face, bright, 80, 0), QmSkin_BlendColor(face, dark, 60, 0),
              QmSkin_BlendColor(face, bright, 28, 0)}}};
}

MeterTones DarkMeterTones() {
    return {QmGetUIColor(COLOR_3DDKSHADOW), QmGetUIColor(COLOR_GRAYTEXT), Rgb(0xffffff), Rgb(0xb3352c),
            QmGetUIColor(UICOLOR_METER_HIGH)};
}
