#include "console/metrics.h"

#include <algorithm>

namespace {

constexpr uint32_t LANG_GERMAN = 7, LANG_SPANISH = 10, LANG_FRENCH = 12, LANG_JAPANESE = 17;

/// Room that longer words of a language need in a strip.
LONG LanguageExtra(uint32_t primaryLanguage) {
    switch (primaryLanguage) {
    case LANG_GERMAN: return 27;
    case LANG_FRENCH:
    case LANG_SPANISH: return 25;
    case LANG_JAPANESE: return 20;
    default: return 0;
    }
}

void SetIfUnset(LONG& width, LONG value) {
    if (width == 0) width = value;
}

}  // namespace

tConsoleMetrics& ConsoleMetrics() {
    static tConsoleMetrics metrics;
    return metrics;
}

void ComputeMetrics(tConsoleMetrics& m, const ConsoleFontMeasures& fonts, bool reset) {
    if (reset) m = {};
    constexpr LONG SMALLEST_ROW = 14;
    m.cxButton = m.cxIcon + (fonts.primaryLanguage == LANG_JAPANESE ? 2 : 0);
    m.nRowHeight = std::max({m.cxButton + 3, SMALLEST_ROW, fonts.control.cy + 6});
    m.nSmallRowHeight = fonts.small.cy + 6;
    m.nGap = 2;
    m.nSmallGap = 4;
    m.cxTitleIcon = std::max(fonts.control.cy + 2, m.cxButton);
    m.cxTitleIconBox = m.cxTitleIcon + 4;
    m.nPeakTextWidth = fonts.peakText + 2;
    m.nPostWidth = fonts.postText;
    m.nSurroundTextWidth = fonts.surroundText;
    {
        const LONG c = fonts.small.cx;
        const LONG n = 9 * c / 5 + 2;
        const LONG p = std::max(fonts.lowestText, fonts.silenceText) + 2;
        m.nLabelColumnWidth = (n > p ? 2 * n : p + n) + 3 * (c + 3);
    }

    const LONG g = m.nGap, r = m.nRowHeight, s = m.nSmallRowHeight;
    const LONG a = g >= 1 && r >= 1 ? r + 4 * g : 0;
    const LONG b = a + 4 * g;
    const LONG p = m.nPeakTextWidth < 4 ? 0 : m.nPeakTextWidth - 3;
    const LONG c = m.nLabelColumnWidth;
    SetIfUnset(m.cxChannelDefault, b + p + r + LanguageExtra(fonts.primaryLanguage));
    SetIfUnset(m.cxChannelNarrow, 2 * s + 4 * g + a);
    SetIfUnset(m.cxChannelWide, b + c + r);
    SetIfUnset(m.cxChannelCurrent, m.cxChannelDefault);

    const LONG q = fonts.surroundText + 4 * g;
    const LONG m1 = (2 * g + a + s) * 2;
    const LONG labels = s + (3 * q + g) * 2;
    const LONG x1 = a + s < 2 * q ? s + (a + (2 * g + q) * 2 + s) * 2 : labels;
    SetIfUnset(m.cxSurroundNarrow, std::max(s + ((s + (g + m1) * 2 > labels ? m1 : 3 * q) + g) * 2, x1));
    SetIfUnset(m.cxSurroundWide, r + (c + 2 * b + p) * 2);
    SetIfUnset(m.cxSurroundDefault, m.cxSurroundNarrow + (m.cxSurroundWide - m.cxSurroundNarrow) / 3);
    SetIfUnset(m.cxSurroundCurrent, m.cxSurroundDefault);
}
