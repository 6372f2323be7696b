// The seven scales of VU and PPM meters: traditional, extended and logarithmic VU, and the peak programme
// meters of IEC 60268-10 types IIa (UK), IIb (EBU), I (DIN) and the Nordic form of type I. [any-thread]
#pragma once

#include "controls/meter_ex.h"
#include "kernel/lang/lang.h"

#include <span>

inline constexpr uint32_t kMeterScaleCount = 7;

struct METERSCALE {
    const QMLANGSTRINGID* name;  ///< for menus
    float offset, factor, zero;  ///< level = (decibels below full scale + offset) * factor + zero
    std::span<const METERSEGMENT> segments;
    std::span<const METERZONE> zones;
    std::span<const METERLABEL> labels;
    uint32_t hold;  ///< milliseconds
    float decay;    ///< units a millisecond
};

/// In the order of the menu, from 0; beyond the last one the last.
const METERSCALE& MeterScaleOf(uint32_t index);
/// The level of a linear amplitude, 1 at full scale.
float MeterScaleLevel(const METERSCALE& scale, float amplitude);
/// Gives a meter the scale, and clears it.
void MeterExInst_SetScale(tQMMETEREX* meter, const METERSCALE* scale);
