// What a meter makes of the levels that it is given: holds, the sticky peak, the text of its readout.
#pragma once

#include "controls/meter.h"

#include <string>

/// A level as a share of full scale.
double MeterShare(const tQMMETER& meter, int32_t level);
/// The greatest level that the bar shows: range - 1, or the bits of 1.0f.
int32_t MeterMaxLevel(const tQMMETER& meter);

void MeterSetLevel(tQMMETER& meter, METERCHANNEL& channel, int32_t level);
/// Clears level and holds.
void MeterClear(tQMMETER& meter);
/// What a sticky value is when nothing was seen.
int32_t MeterNoClip(const tQMMETER& meter);

/// Advances the holds to `now` and computes the pixels.
void MeterAdvance(tQMMETER& meter, uint32_t now);
/// The bar has another length: pixels of the scale and of the holds are computed again.
void MeterRescale(tQMMETER& meter, int32_t length);

struct MeterReadout {
    std::u16string text;
    bool clipped;  ///< it is shown in the clip colours
};
MeterReadout MeterClipText(const tQMMETER& meter, int32_t value);
/// The sticky value that the one readout of all channels shows.
int32_t MeterCommonClip(const tQMMETER& meter);
