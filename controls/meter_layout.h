// Geometry of a meter: readouts, labels, names and bars in logical pixels, the bars of the
// channels in device pixels.
#pragma once

#include "controls/meter.h"

#include <QRect>

/// Between labels and bars.
inline constexpr int32_t kTickRoom = 5;

struct MeterLayout {
    RECT strip;   ///< all readouts; empty without
    RECT labels;  ///< empty when they are off or do not fit
    RECT names;   ///< empty without
    RECT bars;    ///< the well that the bars stand in
};
/// Keeps the state bit that says whether the labels fit.
MeterLayout MeterLayoutOf(tQMMETER& meter);

RECT MeterStripRect(const tQMMETER& meter, const RECT& strip, uint32_t channel);
RECT MeterBarRect(const tQMMETER& meter, const RECT& bars, uint32_t channel);
int32_t MeterMinLength(const tQMMETER& meter);

/// The bars of the channels in the well, all of one width.
struct MeterBars {
    int32_t length = 0;           ///< along the scale
    int32_t width = 0;            ///< of one bar
    int32_t first = 0, step = 0;  ///< across: of the first bar, and from one to the next
    QRect well;
    bool vertical = false;

    /// From the well's edge to the end of a bar.
    int32_t Margin() const { return ((vertical ? well.height() : well.width()) - length) / 2; }
    /// `count` pixels of a bar from `from` on, both from the low end.
    QRect Part(uint32_t channel, int32_t from, int32_t count) const;
};
/// `line` is the width of the finest line in device pixels.
MeterBars MeterBarsIn(const tQMMETER& meter, const QRect& well, int32_t line);

/// Room of the widest label and of a readout. [needs fonts]
SIZE MeterLabelSize(const tQMMETER& meter);
SIZE MeterStripSize();
