// The colours that the host gives its channels and meters. What it has none for is the theme's.
#pragma once

#include "contract/host_contract.h"
#include "controls/meter.h"

#include <vector>

class CConsoleControlPlugin;

struct HostLook {
    std::vector<COLORREF> channels;  ///< by MPCHANNELREC::lookColour; empty for a host without
    COLORREF meterText = COLOR_UNCHANGED, meterGround = COLOR_UNCHANGED;
    COLORREF clip[2] = {COLOR_UNCHANGED, COLOR_UNCHANGED};
    std::vector<METERBAND> peakBands;

    COLORREF ChannelColour(uint32_t number) const;
    /// Over the theme's colours that the meter has.
    void GiveTo(tQMMETER& meter) const;
};

/// [page-thread]
HostLook ReadHostLook(CConsoleControlPlugin& plugin);
