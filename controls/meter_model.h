// What differs between the kinds of meters that share layout and drawing: how levels become pixels, and what
// stands along the bar.
#pragma once

#include "controls/meter_bitmaps.h"
#include "controls/meter_layout.h"
#include "controls/meter_levels.h"

#include <string>
#include <vector>

struct MeterMark {
    int32_t pixel;        ///< of the scale
    std::u16string text;  ///< empty: a tick without a label
};

struct MeterModel {
    /// The bar has another length: pixels of the scale and of the holds are computed again.
    void (*rescale)(tQMMETER& meter, int32_t length);
    /// At the top of each paint: holds and pixels as of `now`, in milliseconds.
    void (*advance)(tQMMETER& meter, uint32_t now);
    /// Fills in the bands.
    void (*look)(const tQMMETER& meter, MeterLook& look);
    /// From the top down. Which ones there are is decided in logical pixels, so that every screen shows the
    /// same: `units` of the bar, no two labels closer than `labelUnits`. Their places are pixels of the bar
    /// of `length` device pixels.
    std::vector<MeterMark> (*marks)(const tQMMETER& meter, int32_t length, int32_t units, int32_t labelUnits);
    /// Text of a sticky value.
    MeterReadout (*readout)(const tQMMETER& meter, int32_t value);
};

/// Of tQMMETER itself.
extern const MeterModel kPeakMeterModel;

/// The middle of a label that belongs at a pixel: at the ends of the bar it moves in until it is whole.
int32_t MeterLabelPlace(int32_t pixel, int32_t units, int32_t labelUnits);

/// A pixel of the scale as one of the bar.
int32_t MeterBarPixel(const tQMMETER& meter, int32_t length, int32_t scalePixel);
