#include "kernel/ui/theme.h"

#include "kernel/color_math.h"
#include "kernel/profile/ini_file.h"
#include "kernel/ui/color_files.h"

#include <QFile>

#include <algorithm>
#include <cmath>

namespace {
constexpr COLORREF kClipGround = 0x2C35B3;  // dark red

double Luminance(COLORREF color) {
    const auto linear = [&](int shift) {
        const double c = (color >> shift & 0xFF) / 255.0;
        return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(0) + 0.7152 * linear(8) + 0.0722 * linear(16);
}
}  // namespace

void ApplyTheme(Theme theme) {
    QFile file(theme == Theme::Dark ? ":/themes/dark.ini" : ":/themes/light.ini");
    const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    ApplyUIColors(IniFile(std::string_view(bytes.data(), static_cast<size_t>(bytes.size()))), "colors");
}

double ContrastOf(COLORREF a, COLORREF b) {
    const auto [low, high] = std::minmax({Luminance(a), Luminance(b)});
    return (high + 0.05) / (low + 0.05);
}

COLORREF ReadableOn(COLORREF text, COLORREF ground) {
    constexpr COLORREF kBlack = 0, kWhite = 0xFFFFFF;
    if (ContrastOf(text, ground) >= 4.5) return text;
    return ContrastOf(kWhite, ground) >= ContrastOf(kBlack, ground) ? kWhite : kBlack;
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

MeterTones ThemeMeterTones() {
    return {QmGetUIColor(UICOLOR_METER_GROUND), QmGetUIColor(COLOR_GRAYTEXT), 0xFFFFFF, kClipGround,
            QmGetUIColor(UICOLOR_METER_HIGH)};
}
