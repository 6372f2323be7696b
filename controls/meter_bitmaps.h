// The two ready images of a meter's bar, lit and unlit. Meters of the same size, scale and colours share one
// pair, so that a console of five hundred strips builds a few. UI thread.
#pragma once

#include "controls/meter.h"

#include <QImage>

#include <vector>

/// Everything that the pixels of a bar depend on.
struct MeterLook {
    struct Band {
        int32_t from;               ///< pixel of the bar
        COLORREF lit, unlit;        ///< at the lower end
        COLORREF litTop, unlitTop;  ///< at the upper end
        bool operator==(const Band&) const = default;
    };
    int32_t length, width;
    bool vertical;
    std::vector<Band> bands;  ///< the lowest first; not empty
    const tQMSKINBMP* skin;   ///< in place of the bands
    bool operator==(const MeterLook&) const = default;
};

struct MeterBitmaps {
    MeterLook look;
    QImage lit, unlit;
    int32_t users;
};

/// A pair for one more user; null when there is no memory for it.
MeterBitmaps* AcquireMeterBitmaps(const MeterLook& look);
/// Null is fine.
void ReleaseMeterBitmaps(MeterBitmaps* bitmaps);
/// Pairs that exist now.
size_t CountMeterBitmaps();
