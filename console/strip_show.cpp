#include "console/strip_show.h"

#include <algorithm>

bool StripShow::Shows(StripRegion region) const {
    switch (region) {
    case StripRegion::Inserts: return bShowInserts;
    case StripRegion::Sends: return bShowSends;
    case StripRegion::Io: return bShowIO;
    case StripRegion::Scopes: return bShowScopes;
    case StripRegion::Vu: return bShowVU;
    case StripRegion::Peaks: return bShowPeaks;
    case StripRegion::Automation: return bShowAutomation;
    case StripRegion::Record: return bShowRecord && !bVerticalLayout;
    case StripRegion::Switches: return bShowSwitches && !bVerticalLayout;
    case StripRegion::Pan: return bShowPan;
    case StripRegion::Faders: return bShowFaders;
    }
    return false;
}

StripSizes DefaultSizes(const tConsoleMetrics& m) {
    const LONG g = m.nGap, r = m.nRowHeight, s = m.nSmallRowHeight;
    return {.peaks = (g + 2 * r) * 2,
            .sends = 3 * r + 4 * g,
            .inserts = g + 2 * (r + g),
            .faders = s + 4 * (r + g),
            .scopes = m.cxChannelDefault,
            .vu = 5 * r + 2 * g};
}

StripSizes UsableSizes(const StripSizes& sizes, const tConsoleMetrics& m) {
    const LONG g = m.nGap, r = m.nRowHeight;
    const StripSizes defaults = DefaultSizes(m);
    const auto use = [](LONG size, LONG standard, LONG least) {
        return std::max(size > 0 ? size : standard, least);
    };
    return {.peaks = use(sizes.peaks, defaults.peaks, (g + 2 * r) * 2),
            .sends = use(sizes.sends, defaults.sends, defaults.sends),
            .inserts = use(sizes.inserts, defaults.inserts, defaults.inserts),
            .faders = use(sizes.faders, defaults.faders, defaults.faders),
            .scopes = use(sizes.scopes, defaults.scopes, m.cxChannelNarrow),
            .vu = use(sizes.vu, defaults.vu, (g + 2 * r) * 2)};
}
