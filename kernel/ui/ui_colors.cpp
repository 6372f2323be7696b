#include "kernel/ui/ui_colors.h"

#include "kernel/color_math.h"
#include "platform/ui/paint.h"

#include <QBrush>
#include <QGuiApplication>
#include <QPalette>
#include <QPen>
#include <QScreen>

#include <array>
#include <cstdlib>
#include <map>
#include <optional>

using namespace tarn;

namespace {
constexpr int32_t kSystemCount = UICOLOR_SYSTEM_COUNT, kPaletteFirst = UICOLOR_PALETTE_FIRST,
                  kPaletteLast = UICOLOR_PALETTE_LAST;
constexpr int32_t kPaletteCount = kPaletteLast - kPaletteFirst + 1;

using Palette = std::array<COLORREF, kPaletteCount>;
constexpr Palette kDefaultPalette = {
    0x640000, 0x640000, 0xFFFFFF, 0xF00000, 0xC0C0C0, 0x000000, 0x008000, 0x808000, 0x0000FF,  // 100
    0xFF0000, 0x808000, 0xFFFF00, 0x5C5C5C, 0x0000FF, 0xFF0000, 0xFF8000, 0xFFFFFF, 0xC0C0C0,  // 109
    0x0000FF, 0xFFFFFF, 0x00F4F9, 0xFFFFFF, 0xC0C0C0, 0xFFFFFF, 0x000000, 0xFFAE00, 0x74D826,  // 118
    0x1896FF, 0xFF00BB, 0x808000, 0x578EDB, 0x659E54, 0x808000, 0x008000, 0x7D5F38, 0x7D5F38,  // 127
    0xDB57BD, 0x5757DB, 0x800000, 0x00F4F9, 0xFF6121, 0xB5D2FD, 0x720092, 0xFFFFFF, 0xE6E6E6,  // 136
    0xFF6121, 0x0000FF, 0xC00000, 0xE6E6E6, 0x000064, 0x74AC26, 0x2450FF, 0xA2008F,            // 145
};

constexpr QPalette::ColorRole kSystemRoles[kSystemCount] = {
    QPalette::Mid,              // scroll bar
    QPalette::Dark,             // desktop
    QPalette::Highlight,        // active caption
    QPalette::Mid,              // inactive caption
    QPalette::Window,           // menu
    QPalette::Base,             // window
    QPalette::Shadow,           // window frame
    QPalette::WindowText,       // menu text
    QPalette::Text,             // window text
    QPalette::HighlightedText,  // caption text
    QPalette::Mid,              // active border
    QPalette::Mid,              // inactive border
    QPalette::Dark,             // application workspace
    QPalette::Highlight,        // highlight
    QPalette::HighlightedText,  // highlight text
    QPalette::Button,           // button face
    QPalette::Dark,             // button shadow
    QPalette::PlaceholderText,  // grey text
    QPalette::ButtonText,       // button text
    QPalette::WindowText,       // inactive caption text
    QPalette::Light,            // button highlight
    QPalette::Shadow,           // dark shadow
    QPalette::Midlight,         // light
    QPalette::ToolTipText,      // tip text
    QPalette::ToolTipBase,      // tip
    QPalette::Window,           // unused
    QPalette::Link,             // hot light
    QPalette::Highlight,        // gradient active caption
    QPalette::Mid,              // gradient inactive caption
    QPalette::Highlight,        // menu highlight
    QPalette::Window,           // menu bar
};

struct Tables {
    std::array<COLORREF, kSystemCount> shadow;
    Palette palette = kDefaultPalette;
    std::array<std::optional<QBrush>, kPaletteLast + 1> brushes;
    std::map<std::pair<int32_t, int32_t>, QPen> pens;  // by index and style
    QMSKINCOLORPROC skin = nullptr, skinAbsolute = nullptr;
    Tables() { shadow.fill(UICOLOR_NONE); }
};

Tables& T() {
    static Tables tables;
    return tables;
}

COLORREF PlatformColor(int32_t index) {
    const QPalette palette = QGuiApplication::palette();
    const auto of = [&](QPalette::ColorRole role) { return palette.color(QPalette::Active, role); };
    const QColor color = of(kSystemRoles[index]);
    // The grey of texts may be an ink that lets the ground through.
    return BlendChannels(FromColor(of(QPalette::Window)), FromColor(color),
                         static_cast<uint32_t>(color.alpha()));
}

COLORREF SystemColor(int32_t index, bool shadowed) {
    if (index >= kSystemCount) return UICOLOR_BAD_INDEX;
    if (shadowed && T().shadow[static_cast<size_t>(index)] != UICOLOR_NONE)
        return T().shadow[static_cast<size_t>(index)];
    return PlatformColor(index);
}

// A grey of middle lightness would vanish on the button face.
COLORREF ClearOfFace(COLORREF color) {
    const uint32_t hsl = QmRGBtoHSL(color);
    const uint32_t hue = hsl & 0xFF, saturation = hsl >> 8 & 0xFF, lightness = hsl >> 16 & 0xFF;
    if (saturation >= 20 || lightness < 91 || lightness > 149) return color;
    return QmHSLtoRGB(hue | hue << 8 | (lightness < 121 ? 90u : 150u) << 16);
}

COLORREF PaletteColor(COLORREF entry, bool shadowed) {
    switch (entry & 0xFF000000) {
    case UICOLOR_BLEND: {
        const size_t a = entry & 0xFF;
        if (shadowed && a < kSystemCount && T().shadow[a] != UICOLOR_NONE) return T().shadow[a];
        return QmSysColorsAlphaBlend(entry);
    }
    case UICOLOR_SYSTEM: {
        const COLORREF color = SystemColor(static_cast<int32_t>(entry & 0xFF), shadowed);
        return QmIsHighColorDisplay() ? ClearOfFace(color) : color;
    }
    default: return entry;
    }
}

bool IsIndex(int32_t index) {
    return (index >= 0 && index < kSystemCount) || (index >= kPaletteFirst && index <= kPaletteLast);
}

COLORREF TableColor(int32_t index) {
    const bool live = index >= 0;
    const int64_t i = std::abs(static_cast<int64_t>(index));
    if (i < kPaletteFirst) return SystemColor(static_cast<int32_t>(i), live);
    if ((i & 0xFF000000) == UICOLOR_BLEND && (i & 0xFF) < 100 && (i >> 8 & 0xFF) < 100)
        return QmSysColorsAlphaBlend(static_cast<uint32_t>(i));
    if (i > kPaletteLast) return UICOLOR_NONE;
    const Palette& table = live ? T().palette : kDefaultPalette;
    return PaletteColor(table[static_cast<size_t>(i - kPaletteFirst)], live);
}
}  // namespace

COLORREF QmGetUIColorAbsolute(int32_t index) {
    if (COLORREF color = 0; T().skinAbsolute && T().skinAbsolute(index, &color)) return color;
    return TableColor(index);
}

// Every screen of today shows the colour itself, so there is no nearest one to look for.
COLORREF QmGetUIColor(int32_t index) {
    if (COLORREF color = 0; T().skin && T().skin(index, &color)) return color;
    return TableColor(index);
}

COLORREF QmGetSysColor(int32_t index) { return index < 0 ? UICOLOR_BAD_INDEX : SystemColor(index, true); }

BOOL QmSetUIColor(int32_t index, COLORREF color) {
    if (!IsIndex(index)) return 0;
    const bool system = index < kSystemCount;
    if (system && color != UICOLOR_NONE && color & 0x04000000) return 0;
    COLORREF& slot = system ? T().shadow[static_cast<size_t>(index)]
                            : T().palette[static_cast<size_t>(index - kPaletteFirst)];
    if (slot == color) return 1;
    slot = color;
    QmFreeUIColoredObjects(index);
    return 1;
}

COLORREF QmSysColorsAlphaBlend(uint32_t recipe) {
    const COLORREF a = QmGetUIColor(static_cast<int32_t>(recipe & 0xFF));
    const uint32_t weight = recipe >> 16 & 0xFF;
    return weight == 0 ? a : BlendChannels(QmGetUIColor(static_cast<int32_t>(recipe >> 8 & 0xFF)), a, weight);
}

const QBrush& QmGetUIBrush(int32_t index) {
    static const QBrush stock(Qt::white);
    if (!IsIndex(index)) return stock;
    auto& brush = T().brushes[static_cast<size_t>(index)];
    if (!brush) brush.emplace(ToColor(QmGetUIColor(index)));
    return *brush;
}

const QPen& QmGetUIPen(int32_t index) { return QmGetUIPenWithStyle(index, 0); }

const QPen& QmGetUIPenWithStyle(int32_t index, int32_t style) {
    static const QPen stock(Qt::black);
    if (!IsIndex(index) || style < 0 || style > 4) return stock;
    const auto [it, isNew] = T().pens.try_emplace({index, style});
    if (isNew)
        it->second = QPen(ToColor(QmGetUIColor(index)), 1, static_cast<Qt::PenStyle>(Qt::SolidLine + style));
    return it->second;
}

void QmFreeUIColoredObjects(int32_t index) {
    // A recipe in the palette may draw on any system colour.
    const bool all = index < kPaletteFirst;
    for (int32_t i = 0; i <= kPaletteLast; i++) {
        if (!all && i != index) continue;
        T().brushes[static_cast<size_t>(i)].reset();
    }
    std::erase_if(T().pens, [&](const auto& row) { return all || row.first.first == index; });
}

BOOL QmIsHighColorDisplay() {
    const QScreen* screen = QGuiApplication::primaryScreen();
    return !screen || screen->depth() > 8;
}

void QmSkin_SetColorSource(QMSKINCOLORPROC color, QMSKINCOLORPROC colorAbsolute) {
    const bool both = color && colorAbsolute;
    T().skin = both ? color : nullptr;
    T().skinAbsolute = both ? colorAbsolute : nullptr;
    QmFreeUIColoredObjects(-1);
}

COLORREF UIColorEntry(int32_t index) {
    const int32_t i = std::abs(index);
    if (!IsIndex(i)) return UICOLOR_NONE;
    if (i < kPaletteFirst) return T().shadow[static_cast<size_t>(i)];
    return (index < 0 ? kDefaultPalette : T().palette)[static_cast<size_t>(i - kPaletteFirst)];
}
