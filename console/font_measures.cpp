// The fonts as the metrics need them.
#include "console/metrics.h"
#include "console/texts.h"
#include "kernel/ui/ui_fonts.h"
#include "plugin/module_state.h"

namespace {
LONG TextWidth(int32_t font, const char16_t* text) { return QmGetTextExtent(QmGetUIFont(font), text, -1).cx; }
}  // namespace

ConsoleFontMeasures MeasureConsoleFonts() {
    constexpr int32_t CONTROL = 100, SMALL = 110;
    return {QmGetUIFontSize(CONTROL),
            QmGetUIFontSize(SMALL),
            TextWidth(SMALL, u"138.0"),
            TextWidth(SMALL, u"-138.0"),
            TextWidth(SMALL, ConsoleText(IDS_SILENCE)),
            TextWidth(SMALL, u"-72.0"),
            TextWidth(SMALL, ConsoleText(IDS_POST)),
            QmLang_GetLCID(ThisModule().texts) & LANG_PRIMARY_MASK};
}

tConsoleMetrics& MeasuredConsoleMetrics() {
    tConsoleMetrics& metrics = ConsoleMetrics();
    if (metrics.nRowHeight == 0) ComputeMetrics(metrics, MeasureConsoleFonts(), false);
    return metrics;
}
