#include "kernel/ui/theme.h"

#include "kernel/color_math.h"
#include "kernel/profile/ini_file.h"
#include "kernel/ui/color_files.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <cmath>

using namespace tarn;

namespace {
constexpr COLORREF kClipGround = 0x2C35B3;  // dark red

double Luminance(COLORREF color) {
    static const auto linear = [] {
        std::array<double, 256> values{};
        for (size_t i = 0; i < values.size(); i++) {
            const double c = static_cast<double>(i) / 255.0;
            values[i] = c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
        }
        return values;
    }();
    return 0.2126 * linear[color & 0xFF] + 0.7152 * linear[color >> 8 & 0xFF] +
           0.0722 * linear[color >> 16 & 0xFF];
}

COLORREF FarFrom(COLORREF ground) {
    constexpr COLORREF kBlack = 0, kWhite = 0xFFFFFF;
    return ContrastOf(kWhite, ground) >= ContrastOf(kBlack, ground) ? kWhite : kBlack;
}
}  // namespace

void ApplyTheme(Theme theme) {
    QByteArray bytes;
    QFile file(theme == Theme::Dark ? ":/themes/dark.ini" : ":/themes/light.ini");
    if (theme != Theme::System && file.open(QIODevice::ReadOnly)) bytes = file.readAll();
    ApplyUIColors(IniFile(std::string_view(bytes.data(), static_cast<size_t>(bytes.size()))), "colors");
}

double ContrastOf(COLORREF a, COLORREF b) {
    const auto [low, high] = std::minmax({Luminance(a), Luminance(b)});
    return (high + 0.05) / (low + 0.05);
}

COLORREF ReadableOn(COLORREF text, COLORREF ground) {
    return ContrastOf(text, ground) >= 4.5 ? text : FarFrom(ground);
}

COLORREF VisibleOn(COLORREF mark, COLORREF ground) {
    constexpr uint32_t kStep = 15;
    const COLORREF far = FarFrom(ground);
    COLORREF seen = mark;
    for (uint32_t weight = kStep; ContrastOf(seen, ground) < 3 && weight <= 255; weight += kStep)
        seen = BlendChannels(mark, far, weight);
    return seen;
}

COLORREF StrongInk(COLORREF ground) { return ReadableOn(QmGetUIColor(UICOLOR_STRONG), ground); }

ImageTheme IconTones() {
    const COLORREF face = QmGetUIColor(COLOR_BTNFACE), text = QmGetUIColor(COLOR_BTNTEXT);
    const COLORREF accent = QmGetUIColor(COLOR_HIGHLIGHT), strong = StrongInk(face);
    const auto dimmed = [face](COLORREF c) { return QmSkin_BlendColor(c, face, 160, 0); };
    const COLORREF shade = QmSkin_BlendColor(text, face, 110, 0);
    return {{{text, accent, shade}, {strong, strong, text}, {dimmed(text), dimmed(accent), dimmed(shade)}}};
}

ImageTheme ThumbTones() { return ThumbTones(QmGetUIColor(COLOR_BTNFACE)); }

// A disabled thumb lies flat: its body, its line and its outline all come close to the face.
ImageTheme ThumbTones(COLORREF face) {
    const COLORREF strong = StrongInk(face);
    const auto raised = [&](uint32_t weight) { return BlendChannels(face, strong, weight); };
    const auto tones = [](COLORREF ink, COLORREF body, uint32_t outline) {
        return ImageColors{ink, BlendChannels(body, 0, outline), body};
    };
    return {
        {tones(strong, raised(92), 190), tones(strong, raised(122), 190), tones(raised(80), raised(40), 70)}};
}

MeterTones ThemeMeterTones() {
    const COLORREF text = ReadableOn(QmGetUIColor(COLOR_GRAYTEXT), QmGetUIColor(COLOR_BTNFACE));
    return {QmGetUIColor(UICOLOR_METER_GROUND), text, 0xFFFFFF, kClipGround,
            QmGetUIColor(UICOLOR_METER_HIGH)};
}
