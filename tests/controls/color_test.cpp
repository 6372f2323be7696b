// Colours by index, colour arithmetic, edges, fonts, and whether what is drawn can be seen in any theme.
#include "controls/fader.h"
#include "controls/fader_layout.h"
#include "fake_window.h"
#include "kernel/color_math.h"
#include "kernel/ui/theme.h"
#include "kernel/ui/ui_colors.h"
#include "kernel/ui/ui_edge.h"
#include "kernel/ui/ui_fonts.h"
#include "platform/ui/paint.h"

#include <gtest/gtest.h>

#include <QBrush>
#include <QDir>
#include <QImage>

#include <array>
#include <cmath>

namespace {
/// Colours as the system sets them before a theme, back again at the end.
class Colors : public testing::Test {
protected:
    void SetUp() override { ApplyTheme(Theme::System); }
    void TearDown() override { ApplyTheme(Theme::System); }
};

// Colours as many a user's desktop has them.
void ApplyOrdinaryScheme() {
    ApplyTheme(Theme::System);
    constexpr std::pair<int32_t, COLORREF> kColors[] = {
        {COLOR_BTNFACE, 0xC8D0D4},    {COLOR_BTNSHADOW, 0x808080},    {COLOR_GRAYTEXT, 0x808080},
        {COLOR_BTNTEXT, 0x000000},    {COLOR_BTNHIGHLIGHT, 0xFFFFFF}, {COLOR_3DLIGHT, 0xC8D0D4},
        {COLOR_3DDKSHADOW, 0x404040}, {COLOR_HIGHLIGHT, 0x6A240A},    {COLOR_HIGHLIGHTTEXT, 0xFFFFFF},
    };
    for (const auto& [index, color] : kColors) QmSetUIColor(index, color);
}

struct Scheme {
    const char* name;
    void (*apply)();
};
const Scheme kSchemes[] = {{"dark", [] { ApplyTheme(Theme::Dark); }},
                           {"light", [] { ApplyTheme(Theme::Light); }},
                           {"system", [] { ApplyTheme(Theme::System); }},
                           {"ordinary", ApplyOrdinaryScheme}};

double Luminance(COLORREF color) {
    const auto part = [color](int shift) {
        const double c = (color >> shift & 0xFF) / 255.0;
        return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * part(0) + 0.7152 * part(8) + 0.0722 * part(16);
}
double Contrast(COLORREF a, COLORREF b) {
    const double la = Luminance(a), lb = Luminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}
}  // namespace

TEST_F(Colors, IndicesOutsideTheTablesAreToldApart) {
    for (const int32_t index : {31, 50, 99, -31, -99})
        EXPECT_EQ(QmGetUIColorAbsolute(index), 0x00F000F0u) << index;
    for (const int32_t index : {153, 1000, -153, 0x05000001})
        EXPECT_EQ(QmGetUIColorAbsolute(index), UICOLOR_NONE) << index;
    EXPECT_EQ(QmGetUIColor(101), 0x640000u);
    EXPECT_EQ(QmGetUIColor(120), 0x00F4F9u);
    EXPECT_EQ(QmGetUIColor(152), 0xA2008Fu);
}

TEST_F(Colors, OnlyTheTablesIndicesTakeColours) {
    for (const int32_t index : {-1, 31, 99, 153}) EXPECT_FALSE(QmSetUIColor(index, 0)) << index;
    EXPECT_FALSE(QmSetUIColor(5, 0x04000000));
    EXPECT_TRUE(QmSetUIColor(105, 0x04000000 | 13 | 15 << 8));
    EXPECT_TRUE(QmSetUIColor(15, 0x123456));
    EXPECT_EQ(QmGetUIColor(15), 0x123456u);
    EXPECT_EQ(QmGetSysColor(15), 0x123456u);
    EXPECT_NE(QmGetUIColorAbsolute(-15), 0x123456u) << "the default of an index knows no theme";
    EXPECT_TRUE(QmSetUIColor(15, UICOLOR_NONE));
    EXPECT_EQ(QmGetUIColor(15), QmGetUIColorAbsolute(-15));
}

TEST_F(Colors, ABlendOfWeightZeroIsItsFirstColour) {
    QmSetUIColor(1, 0x0000FF);
    QmSetUIColor(2, 0xFF8000);
    const auto recipe = [](uint32_t weight) { return UICOLOR_BLEND | weight << 16 | 2 << 8 | 1; };
    EXPECT_EQ(QmSysColorsAlphaBlend(recipe(0)), 0x0000FFu);
    EXPECT_EQ(QmSysColorsAlphaBlend(recipe(255)), 0x0000FFu);
    EXPECT_EQ(QmSysColorsAlphaBlend(recipe(1)), 0xFE8001u);
    EXPECT_EQ(QmSysColorsAlphaBlend(recipe(128)), 0x7F4080u);
    EXPECT_EQ(QmGetUIColorAbsolute(static_cast<int32_t>(recipe(128))), 0x7F4080u)
        << "a recipe may stand for an index";
    QmSetUIColor(110, recipe(128));
    EXPECT_EQ(QmGetUIColor(110), 0x0000FFu) << "in the palette, a themed first colour wins";
    QmSetUIColor(1, UICOLOR_NONE);
    EXPECT_EQ(QmGetUIColor(110), QmSysColorsAlphaBlend(recipe(128)));
}

TEST_F(Colors, ASystemColourInThePaletteStandsClearOfTheFace) {
    const auto shown = [](COLORREF color) {
        QmSetUIColor(16, color);
        QmSetUIColor(111, UICOLOR_SYSTEM | 16);
        return QmGetUIColor(111);
    };
    EXPECT_EQ(shown(0x404040), 0x404040u);
    EXPECT_EQ(shown(0x2040C0), 0x2040C0u);
    EXPECT_EQ(QmRGBtoHSL(shown(0x707070)) >> 16, 90u);
    EXPECT_EQ(QmRGBtoHSL(shown(0x909090)) >> 16, 150u);
}

TEST_F(Colors, BrushesAndPensFollowTheirColour) {
    QmSetUIColor(107, 0x112233);
    EXPECT_EQ(FromColor(QmGetUIBrush(107).color()), 0x112233u);
    const QBrush* cached = &QmGetUIBrush(107);
    EXPECT_EQ(cached, &QmGetUIBrush(107));
    QmSetUIColor(107, 0x445566);
    EXPECT_EQ(FromColor(QmGetUIBrush(107).color()), 0x445566u);
    QmSetUIColor(108, UICOLOR_BLEND | 128 << 16 | 14 << 8 | 13);
    const COLORREF before = FromColor(QmGetUIBrush(108).color());
    QmSetUIColor(13, before ^ 0x00FF00);
    EXPECT_NE(FromColor(QmGetUIBrush(108).color()), before)
        << "a recipe's brush follows the colours it is made of";
    EXPECT_EQ(FromColor(QmGetUIBrush(40).color()), 0xFFFFFFu) << "no index: the stock brush";
}

TEST(ColorMath, HueSaturationLightness) {
    struct Row {
        COLORREF color;
        uint32_t hue, saturation, lightness;
    };
    for (const Row& row :
         {Row{0x000000, 160, 0, 0}, Row{0x808080, 160, 0, 120}, Row{0xFFFFFF, 160, 0, 239},
          Row{0x0000FF, 0, 240, 120}, Row{0x00FF00, 80, 240, 120}, Row{0xFF0000, 160, 240, 120},
          Row{0x00FFFF, 40, 240, 120}, Row{0xFF00FF, 200, 240, 120}}) {
        EXPECT_EQ(QmRGBtoHSL(row.color), row.hue | row.saturation << 8 | row.lightness << 16)
            << std::hex << row.color;
    }
    // Within the coarseness of 240 steps, the way back leads to the colour.
    for (uint32_t r = 0; r < 256; r += 15)
        for (uint32_t g = 0; g < 256; g += 15)
            for (uint32_t b = 0; b < 256; b += 15) {
                const COLORREF color = r | g << 8 | b << 16, back = QmHSLtoRGB(QmRGBtoHSL(color));
                for (int shift = 0; shift < 24; shift += 8)
                    ASSERT_NEAR(static_cast<int>(color >> shift & 0xFF),
                                static_cast<int>(back >> shift & 0xFF), 6)
                        << std::hex << color << " " << back;
            }
}

TEST(ColorMath, BlendsThatHaveToBeSeen) {
    EXPECT_EQ(QmSkin_BlendColor(0x000000, 0xFFFFFF, 0, 0), 0x000000u);
    EXPECT_EQ(QmSkin_BlendColor(0x000000, 0xFFFFFF, 64, 0), 0x404040u);
    EXPECT_EQ(QmSkin_BlendColor(0x000000, 0xFFFFFF, 255, 0), 0xFFFFFFu);
    EXPECT_EQ(QmSkin_BlendColor(0x000000, 0xFFFFFF, 10, 1), 0x1A1A1Au) << "80/765 of the way at least";
    EXPECT_EQ(QmSkin_BlendColor(0x202020, 0x303030, 10, 1), 0x303030u) << "close colours: all of the way";
    EXPECT_EQ(QmSkin_BlendColor(0x202020, 0x202020, 10, 1), 0x202020u);
}

TEST(ColorMath, Companions) {
    const auto similar = [](COLORREF c, int32_t d, BOOL proportional, uint32_t mode,
                            COLORREF hint = UICOLOR_NONE) {
        return QmSkin_CreateSimilarColor(c, d, d, d, proportional, mode, hint, 0);
    };
    EXPECT_EQ(similar(0x406080, 16, 0, 1), 0x507090u);
    EXPECT_EQ(similar(0x406080, 16, 0, 0), 0x305070u);
    EXPECT_EQ(similar(0x00F8FF, 16, 0, 1), 0x10FFFFu);
    EXPECT_EQ(similar(0x08F8FF, 16, 0, 0), 0x00E8EFu);
    EXPECT_EQ(similar(0x204080, 32, 1, 1), 0x2850A0u) << "the hue is kept";
    EXPECT_EQ(similar(0x204080, 32, 1, 0), 0x1A356Au);
    EXPECT_EQ(similar(0xF8F8F8, 16, 0, 2), 0xE8E8E8u) << "there is no room upwards";
    EXPECT_EQ(similar(0x808080, 16, 0, 2, 0xFFFFFF), 0x707070u) << "away from the hint";
}

TEST_F(Colors, TheThemesCanBeRead) {
    for (const Theme theme : {Theme::Dark, Theme::Light}) {
        ApplyTheme(theme);
        const COLORREF selection =
            QmSkin_BlendColor(QmGetUIColor(COLOR_WINDOWFRAME), QmGetUIColor(COLOR_HIGHLIGHT), 64, 1);
        struct Row {
            const char* what;
            COLORREF text, ground;
        };
        const auto c = [](int32_t index) { return QmGetUIColor(index); };
        const MeterTones meter = ThemeMeterTones();
        for (const Row& row :
             {Row{"button text", c(COLOR_BTNTEXT), c(COLOR_BTNFACE)},
              Row{"on the ground", c(COLOR_BTNTEXT), c(COLOR_WINDOWFRAME)},
              Row{"grey text", c(COLOR_GRAYTEXT), c(COLOR_BTNFACE)},
              Row{"strong ink", c(UICOLOR_STRONG), c(COLOR_BTNFACE)},
              Row{"list", c(COLOR_WINDOWTEXT), c(COLOR_WINDOW)},
              Row{"highlight", c(COLOR_HIGHLIGHTTEXT), c(COLOR_HIGHLIGHT)}, Row{"menu", c(7), c(4)},
              Row{"menu bar", c(7), c(30)}, Row{"tip", c(23), c(24)}, Row{"caption", c(9), c(2)},
              Row{"idle caption", c(19), c(3)}, Row{"selected strip", c(COLOR_BTNTEXT), selection},
              Row{"selected strip, grey", c(COLOR_GRAYTEXT), selection},
              Row{"selected strip, strong", c(UICOLOR_STRONG), selection},
              Row{"meter", ReadableOn(meter.text, meter.background), meter.background},
              Row{"meter on a strip", meter.text, c(COLOR_BTNFACE)},
              Row{"clip", meter.clipText, meter.clipTextBackground}})
            EXPECT_GE(Contrast(row.text, row.ground), 4.5) << row.what << (theme == Theme::Light);
        for (const int32_t index : {UICOLOR_METER_LOW, UICOLOR_METER_MID, UICOLOR_METER_HIGH})
            EXPECT_GE(Contrast(c(index), meter.background), 3.0) << index;
    }
}

TEST_F(Colors, WhatMattersIsSeenInAnyScheme) {
    for (const Scheme& scheme : kSchemes) {
        SCOPED_TRACE(scheme.name);
        scheme.apply();
        const COLORREF face = QmGetUIColor(COLOR_BTNFACE);
        const ImageTheme icons = IconTones(), thumbs = ThumbTones();
        EXPECT_GE(Contrast(icons[0].ink, face), 4.5);
        EXPECT_GE(Contrast(icons[1].ink, face), 4.5) << "under the mouse";
        EXPECT_GE(Contrast(ThemeMeterTones().text, face), 4.5);
        EXPECT_GE(Contrast(thumbs[0].shade, face), 1.8);
        EXPECT_GE(Contrast(thumbs[0].shade, thumbs[0].accent), 3) << "the outline";
        EXPECT_GE(Contrast(thumbs[0].shade, thumbs[2].shade), 1.4) << "disabled ones do not look enabled";
        EXPECT_LT(Contrast(thumbs[2].accent, face), 3) << "nor do they stand out";

        for (const uint32_t style : {FADERS_VERTICAL | FADERS_TAPER, FADERS_VERTICAL,
                                     FADERS_VERTICAL | FADERS_TAPER | FADERS_UI_COLORS}) {
            FakeWindow host;
            tQMFADER fader;
            constexpr RECT kRect{0, 0, 80, 200};
            FaderInst_Init(&fader, style | FADERS_TICKS | FADERS_LABELS, &kRect, &host, 1, nullptr, 0, 1);
            FaderInst_Message(&fader, FADERM_SETRANGE, 0, Limits(-720, 120));
            QImage image(80, 200, QImage::Format_RGB32);
            image.fill(ToColor(face));
            QPainter painter(&image);
            FaderInst_Draw(&fader, &painter);
            painter.end();
            const auto strongest = [&](int x1, int x2, int y1, int y2) {
                double most = 1;
                for (int x = x1; x < x2; x++)
                    for (int y = y1; y < y2; y++)
                        most = std::max(most, Contrast(FromColor(image.pixelColor(x, y)), face));
                return most;
            };
            const int centre = (fader.track.left + fader.track.right) / 2, right = fader.track.right + 1;
            for (const int32_t end : {-720, 120}) {
                const int y = FaderPixel(fader, end);
                EXPECT_GE(strongest(centre + 3, centre + 5, y, y + 1), 3) << "the end at " << end;
            }
            for (const FaderTick& tick : FaderTicks(fader)) {
                EXPECT_GE(strongest(right, right + 2, tick.pixel, tick.pixel + 1), 3) << tick.value;
                if (!tick.labelled) continue;
                EXPECT_GE(strongest(0, fader.track.left - 6, tick.pixel - 6, tick.pixel + 6), 4)
                    << "the label " << tick.value;
            }
            EXPECT_GE(strongest(right, right + 2, 60, 85), 3) << "one of the ticks of a linear one";
        }
    }
}

// From the outside in: the outer line above and left, the inner one, the inner one below and right, the
// outer.
TEST_F(Colors, EdgesAreLitByTheWindowSystemsRule) {
    constexpr int32_t kLight = COLOR_3DLIGHT, kHighlight = COLOR_BTNHIGHLIGHT, kShadow = COLOR_BTNSHADOW,
                      kDark = COLOR_3DDKSHADOW, kFace = COLOR_BTNFACE, kFrame = COLOR_WINDOWFRAME,
                      kWindow = COLOR_WINDOW;
    for (const int32_t index : {kLight, kHighlight, kShadow, kDark, kFace, kFrame, kWindow})
        QmSetUIColor(index, static_cast<COLORREF>(index));
    constexpr uint32_t kRaised = EDGE_RAISED_OUTER | EDGE_RAISED_INNER,
                       kSunken = EDGE_SUNKEN_OUTER | EDGE_SUNKEN_INNER;
    struct Row {
        uint32_t edge, flags;
        std::array<int32_t, 4> colors;
    };
    for (const Row& row : {Row{kRaised, 0, {kLight, kHighlight, kShadow, kDark}},
                           Row{kRaised, EDGE_SOFT, {kHighlight, kLight, kShadow, kDark}},
                           Row{kSunken, 0, {kShadow, kDark, kLight, kHighlight}},
                           Row{kSunken, EDGE_SOFT, {kDark, kShadow, kLight, kHighlight}},
                           Row{kSunken, EDGE_FLAT, {kShadow, kFace, kFace, kShadow}},
                           Row{kRaised, EDGE_MONO, {kFrame, kWindow, kWindow, kFrame}}}) {
        QImage image(10, 10, QImage::Format_RGB32);
        QPainter painter(&image);
        QmDrawEdge(painter, {0, 0, 10, 10}, row.edge, row.flags | SIDE_ALL);
        constexpr int kAt[] = {0, 1, 8, 9};
        for (size_t i = 0; i < std::size(kAt); i++) {
            EXPECT_EQ(FromColor(image.pixelColor(kAt[i], 5)), static_cast<COLORREF>(row.colors[i]))
                << row.edge << " " << row.flags << " " << i;
            EXPECT_EQ(image.pixel(5, kAt[i]), image.pixel(kAt[i], 5));
        }
    }
}

TEST_F(Colors, EdgesTakeTheirSidesFromTheFlags) {
    QmSetUIColor(COLOR_BTNSHADOW, 0x0000FF);
    QmSetUIColor(COLOR_BTNFACE, 0xFF0000);
    constexpr RECT rect{2, 2, 8, 8};
    const auto draw = [&](uint32_t edge, uint32_t flags) {
        QImage image(10, 10, QImage::Format_RGB32);
        image.fill(Qt::black);
        QPainter painter(&image);
        QmDrawEdge(painter, rect, edge, flags);
        return image;
    };
    const auto at = [](const QImage& image, int x, int y) { return FromColor(image.pixelColor(x, y)); };
    const QImage sunken = draw(EDGE_SUNKEN_OUTER, SIDE_ALL | EDGE_MIDDLE);
    EXPECT_EQ(at(sunken, 3, 3), 0xFF0000u);
    EXPECT_EQ(at(sunken, 1, 4), 0u);
    const QImage top = draw(EDGE_SUNKEN_OUTER, SIDE_TOP);
    EXPECT_EQ(at(top, 4, 2), 0x0000FFu);
    EXPECT_EQ(at(top, 2, 4), 0u);
    EXPECT_EQ(draw(EDGE_SUNKEN_OUTER, EDGE_MIDDLE), draw(0, 0)) << "no side, nothing";
    EXPECT_EQ(draw(EDGE_SUNKEN_OUTER | EDGE_RAISED_INNER | EDGE_SUNKEN_INNER, SIDE_ALL),
              draw(EDGE_SUNKEN_OUTER, SIDE_ALL));

    QImage none(10, 10, QImage::Format_RGB32);
    QPainter painter(&none);
    EXPECT_FALSE(QmDrawEdge(painter, rect, EDGE_RAISED_OUTER | EDGE_SUNKEN_OUTER, SIDE_ALL));
}

TEST(Icons, AllCanBeDrawn) {
    std::vector<std::string> files;
    for (const QString& file : QDir(":/icons").entryList()) files.push_back(file.chopped(4).toStdString());
    EXPECT_GE(files.size(), 20u);
    const std::vector<std::string_view> names(files.begin(), files.end());
    EXPECT_TRUE(ImageList(names, {16, 16}, IconTones()).IsComplete());
}

TEST(Fonts, NumbersNameOneFontEach) {
    EXPECT_EQ(&QmGetUIFont(99), &QmGetUIFont(100)) << "an unknown number is the control font";
    EXPECT_LT(QmGetUIFont(110).pixelSize(), QmGetUIFont(100).pixelSize());
    EXPECT_GT(QmGetUIFont(104).weight(), QmGetUIFont(100).weight());
    EXPECT_TRUE(QmGetUIFont(108).italic());
    const SIZE text = QmGetTextExtent(QmGetUIFont(100), u"-72.0 dB", 5);
    EXPECT_EQ(text.cx, QmGetTextExtent(QmGetUIFont(100), u"-72.0", -1).cx);
    EXPECT_EQ(text.cy, QmGetUIFontSize(100).cy);
}

TEST(Paint, LinesAreWholePixelsAtEveryScale) {
    for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
        QImage image((QSizeF(40, 40) * scale).toSize(), QImage::Format_RGB32);
        image.setDevicePixelRatio(scale);
        image.fill(Qt::black);
        {
            QPainter painter(&image);
            for (LONG y = 0; y < 40; y += 5) HLine(painter, 0, 40, y, 0xFFFFFF);
        }
        const int thick = scale < 1.75 ? 1 : 2;
        int white = 0;
        for (int y = 0; y < image.height(); y++) {
            const QRgb pixel = image.pixel(3, y) & 0xFFFFFF;
            ASSERT_TRUE(pixel == 0 || pixel == 0xFFFFFF) << "no blended line";
            white += pixel != 0;
        }
        EXPECT_EQ(white, 8 * thick) << scale;
    }
}
