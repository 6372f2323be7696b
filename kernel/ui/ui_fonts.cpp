#include "kernel/ui/ui_fonts.h"

#include "platform/ui/shaped_text.h"

#include <QFontMetrics>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>
#include <string>

namespace {
constexpr int kPoints = 9;  // of the control font

enum Style : uint8_t { kPlain = 0, kItalic = 1, kUnderline = 2, kFixed = 4 };

struct FontRow {
    int32_t id;
    int points;
    QFont::Weight weight;
    uint8_t style;
};
constexpr FontRow kFonts[] = {
    {100, kPoints, QFont::Normal, kPlain},
    {10, kPoints, QFont::Normal, kFixed},
    {11, kPoints, QFont::Normal, kFixed},
    {16, kPoints, QFont::Normal, kFixed},
    {102, kPoints - 1, QFont::Normal, kFixed},
    {104, kPoints, QFont::Bold, kPlain},
    {106, kPoints, QFont::Normal, kItalic},
    {108, kPoints, QFont::Bold, kItalic},
    {110, kPoints - 1, QFont::Normal, kPlain},
    {112, kPoints - 1, QFont::Bold, kPlain},
    {120, kPoints - 2, QFont::Normal, kFixed},
    {129, 16, QFont::Medium, kPlain},
    {130, 12, QFont::Medium, kPlain},
    {134, 12, QFont::Bold, kPlain},
    {140, kPoints, QFont::Normal, kPlain},
    {141, kPoints, QFont::Bold, kPlain},
    {142, kPoints * 5 / 4, QFont::Normal, kPlain},
    {143, kPoints * 5 / 4, QFont::Bold, kPlain},
    {144, kPoints * 3 / 2, QFont::Normal, kPlain},
    {145, kPoints * 3 / 2, QFont::Bold, kPlain},
    {146, kPoints - 1, QFont::Normal, kPlain},
    {147, 10, QFont::Medium, kFixed},
    {162, kPoints, QFont::Bold, kPlain},
    {163, kPoints, QFont::Bold, kPlain},
    {165, kPoints, QFont::Normal, kUnderline},
};

QFont Make(const FontRow& row) {
    QFont font;
    font.setFamilies(row.style & kFixed ? QStringList{"DejaVu Sans Mono"}
                                        : QStringList{"Inter", "DejaVu Sans"});
    font.setStyleHint(row.style & kFixed ? QFont::TypeWriter : QFont::SansSerif, QFont::PreferAntialias);
    // Hinted across, letters of this size would stand at uneven distances.
    font.setHintingPreference(QFont::PreferVerticalHinting);
    font.setPixelSize((row.points * 96 + 36) / 72);
    font.setWeight(row.weight);
    font.setItalic(row.style & kItalic);
    font.setUnderline(row.style & kUnderline);
    return font;
}

struct CachedFont {
    QFont font;
    SIZE size;
};

const CachedFont& Cached(int32_t id) {
    static std::map<int32_t, CachedFont> cache;
    const auto* row =
        std::find_if(std::begin(kFonts), std::end(kFonts), [id](const FontRow& r) { return r.id == id; });
    if (row == std::end(kFonts)) row = kFonts;
    auto [it, isNew] = cache.try_emplace(row->id);
    if (isNew) {
        it->second.font = Make(*row);
        it->second.size = QmGetFontSize(it->second.font);
    }
    return it->second;
}
}  // namespace

const QFont& QmGetUIFont(int32_t id) { return Cached(id).font; }
SIZE QmGetUIFontSize(int32_t id) { return Cached(id).size; }

SIZE QmGetFontSize(const QFont& font) {
    const QFontMetrics metrics(font);
    return {metrics.averageCharWidth(), metrics.height()};
}

SIZE QmGetTextExtent(const QFont& font, const char16_t* text, int32_t length) {
    const std::u16string_view view =
        length < 0 ? std::u16string_view(text) : std::u16string_view(text, static_cast<size_t>(length));
    return {static_cast<LONG>(std::lround(ShapeText(font, view).advance)), QFontMetrics(font).height()};
}

uint32_t QmGetUIFontCharset() { return 1; }
