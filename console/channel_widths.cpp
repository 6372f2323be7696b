#include "console/channel_widths.h"

#include "console/console_plugin.h"

#include <algorithm>
#include <cmath>

namespace {

WidthRange ChannelRange(const tConsoleMetrics& m) {
    return {m.cxChannelNarrow, m.cxChannelDefault, m.cxChannelWide};
}
WidthRange SurroundRange(const tConsoleMetrics& m) {
    return {m.cxSurroundNarrow, m.cxSurroundDefault, m.cxSurroundWide};
}

double Share(LONG part, LONG whole) { return whole == 0 ? 0 : static_cast<double>(part) / whole; }

}  // namespace

int32_t WidthPosition(LONG width, const WidthRange& range) {
    if (range.wide == range.narrow) return WIDTH_USUAL;
    if (width > range.usual) {
        const double share = Share(width - range.usual, range.wide - range.usual);
        const auto at = static_cast<int32_t>(std::lround(share * (WIDTH_WIDEST - WIDTH_USUAL)));
        return std::clamp(WIDTH_USUAL + at, WIDTH_USUAL, WIDTH_WIDEST);
    }
    const double share = Share(width - range.narrow, range.usual - range.narrow);
    return std::clamp(static_cast<int32_t>(std::lround(share * WIDTH_USUAL)), WIDTH_NARROWEST, WIDTH_USUAL);
}

LONG WidthAt(int32_t position, const WidthRange& range) {
    position = std::clamp(position, WIDTH_NARROWEST, WIDTH_WIDEST);
    const bool above = position > WIDTH_USUAL;
    const LONG from = above ? range.usual : range.narrow, to = above ? range.wide : range.usual;
    const double share = above ? (position - WIDTH_USUAL) / static_cast<double>(WIDTH_WIDEST - WIDTH_USUAL)
                               : position / static_cast<double>(WIDTH_USUAL);
    return from + static_cast<LONG>(std::lround(share * (to - from)));
}

int32_t CurrentWidthPosition() {
    const tConsoleMetrics& m = ConsoleMetrics();
    return WidthPosition(m.cxChannelCurrent, ChannelRange(m));
}

void SetAllWidths(CConsoleControlPlugin& plugin, int32_t position) {
    tConsoleMetrics& m = ConsoleMetrics();
    m.cxChannelCurrent = WidthAt(position, ChannelRange(m));
    m.cxSurroundCurrent = WidthAt(position, SurroundRange(m));
    for (ChannelEntry* entry : plugin.Entries()) entry->width = 0;
}
