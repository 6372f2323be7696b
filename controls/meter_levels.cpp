#include "controls/meter_levels.h"

#include "controls/number_text.h"
#include "kernel/lang/kernel_strings.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

using namespace tarn;

namespace {
float AsFloat(int32_t bits) { return std::bit_cast<float>(bits); }
constexpr int32_t kFloatOne = std::bit_cast<int32_t>(1.0f);

// Levels compared as what they are: counts, or floats by their bits.
double Number(const tQMMETER& m, int32_t level) {
    return m.scale.isFloat ? static_cast<double>(AsFloat(level)) : static_cast<double>(level);
}

bool Lowest(const tQMMETER& m) { return m.style & METERS_LOWEST; }
}  // namespace

double MeterShare(const tQMMETER& m, int32_t level) {
    return m.scale.isFloat ? static_cast<double>(AsFloat(level)) : level * m.scale.unit;
}

int32_t MeterMaxLevel(const tQMMETER& m) { return m.scale.isFloat ? kFloatOne : m.scale.range - 1; }
int32_t MeterNoClip(const tQMMETER& m) { return Lowest(m) ? MeterMaxLevel(m) : 0; }

void MeterSetLevel(tQMMETER& m, METERCHANNEL& c, int32_t level) {
    const double v = Number(m, level), clip = Number(m, c.clip);
    c.level = level;
    if (v <= 0) {
        c.highHold = c.lowHold = 0;
        if (v < 0) c.clip = MeterNoClip(m);
    } else if (v > Number(m, MeterMaxLevel(m))) {
        c.level = MeterMaxLevel(m);
        if (v > clip) c.clip = level;
    } else if (Lowest(m) ? v < clip : v > clip) {
        c.clip = level;
    }
}

void MeterClear(tQMMETER& m) {
    const int32_t hold = Lowest(m) ? MeterMaxLevel(m) : 0;
    for (uint32_t i = 0; i < m.channels; i++) {
        m.channel[i].level = 0;
        m.channel[i].highHold = m.channel[i].lowHold = hold;
    }
}

void MeterAdvance(tQMMETER& m, uint32_t now) {
    for (uint32_t i = 0; i < m.channels; i++) {
        METERCHANNEL& c = m.channel[i];
        c.pixel = m.scale.Pixel(MeterShare(m, c.level), m.scalePixels);
        const double level = Number(m, c.level);
        if (now - c.highTime > kMeterHoldMilliseconds || level >= Number(m, c.highHold)) {
            c.highHold = c.level;
            c.highTime = now;
            c.highPixel = -1;
        }
        if (now - c.lowTime > kMeterHoldMilliseconds || level <= Number(m, c.lowHold)) {
            c.lowHold = c.level;
            c.lowTime = now;
            c.lowPixel = m.scalePixels + 1;
        }
        c.highPixel = std::max(c.highPixel, c.pixel);
        c.lowPixel = std::min(c.lowPixel, c.pixel);
    }
}

void MeterRescale(tQMMETER& m, int32_t length) {
    const int32_t scalePixels = m.scalePixels = m.scale.ScalePixels(length);
    for (METERCHANNEL& c : m.channel) {
        c.highPixel = m.scale.Pixel(MeterShare(m, c.highHold), scalePixels);
        c.lowPixel = m.scale.Pixel(MeterShare(m, c.lowHold), scalePixels);
    }
}

MeterReadout MeterClipText(const tQMMETER& m, int32_t value) {
    const double x = MeterShare(m, value), decibels = 20 * std::log10(x);
    if (Lowest(m)) {
        if (!(x >= m.scale.unit) || !std::isfinite(x)) return {KernelText(KS_Value_MinusInfinity), false};
        const double tenths = decibels * 10;
        return {NumberText((tenths < 0 ? std::floor(tenths) : std::ceil(tenths)) / 10), false};
    }
    if (Number(m, value) > Number(m, MeterMaxLevel(m))) {
        if (!m.scale.isFloat || m.state & METERST_PLAIN_CLIP) return {KernelText(KS_Meter_Clip), true};
        return {std::isfinite(decibels) ? NumberText(decibels, m.labelFormat)
                                        : KernelText(KS_Value_PlusInfinity),
                true};
    }
    if (!(x >= m.scale.unit)) return {{}, false};
    return {NumberText(decibels, m.labelFormat), false};
}

int32_t MeterCommonClip(const tQMMETER& m) {
    int32_t value = m.channel[0].clip;
    for (uint32_t i = 1; i < m.channels; i++) {
        const bool more = Number(m, m.channel[i].clip) > Number(m, value);
        if (more != Lowest(m)) value = m.channel[i].clip;
    }
    return value;
}
