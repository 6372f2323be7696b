// tConsoleMetrics: the pixel metrics of the console, one record for the process, computed from the console's
// two fonts.
#pragma once

#include "platform/types.h"

/// What the metrics need to know of fonts 100 (control) and 110 (small control), in pixels.
struct ConsoleFontMeasures {
    SIZE control;              ///< average character of font 100
    SIZE small;                ///< average character of font 110
    LONG peakText;             ///< "138.0" in font 110
    LONG lowestText;           ///< "-138.0" in font 110
    LONG silenceText;          ///< "-Inf." in font 110
    LONG surroundText;         ///< "-72.0" in font 110
    LONG postText;             ///< "POST" in font 110
    uint32_t primaryLanguage;  ///< of the user interface
};

struct tConsoleMetrics {
    LONG cxIcon = 16, cyIcon = 16;
    LONG cxSmallIcon = 12, cySmallIcon = 12;
    LONG cxThumb = 9, cyThumb = 19, cxThumbAcross = 9, cyThumbAcross = 19;

    LONG cxButton = 0;
    LONG nRowHeight = 0;
    LONG nSmallRowHeight = 0;
    LONG nGap = 0;
    LONG nSmallGap = 0;
    LONG cxTitleIcon = 0;
    LONG cxTitleIconBox = 0;
    LONG nPeakTextWidth = 0;
    LONG nLabelColumnWidth = 0;
    LONG nTitleExtraRows = 0;
    LONG nPostWidth = 0, nSurroundTextWidth = 0;

    LONG cxChannelDefault = 0, cxChannelNarrow = 0, cxChannelWide = 0, cxChannelCurrent = 0;
    LONG cxSurroundDefault = 0, cxSurroundNarrow = 0, cxSurroundWide = 0, cxSurroundCurrent = 0;
};

/// The process's metrics. [page-thread]
tConsoleMetrics& ConsoleMetrics();

/// The console's fonts, in the language of the module. [page-thread]
ConsoleFontMeasures MeasureConsoleFonts();
/// The process's metrics, computed where they have not been yet. [page-thread]
tConsoleMetrics& MeasuredConsoleMetrics();

/// Computes the metrics; channel widths that are already set stay. With `reset` all starts from the defaults.
void ComputeMetrics(tConsoleMetrics& metrics, const ConsoleFontMeasures& fonts, bool reset);
