// How the peak meter fills in what meters share: the decibel law, the theme's bands, ticks in steps of 3 dB.
#include "controls/meter_model.h"
#include "controls/number_text.h"
#include "kernel/color_math.h"
#include "kernel/ui/ui_colors.h"

#include <algorithm>
#include <cmath>

using namespace tarn;

namespace {
constexpr uint32_t kUnlitWeight = 210;  // towards the background
constexpr uint32_t kFootShade = 77;     // a band is darker at its foot

// Calm up to -12 dB, a warning up to -3 dB.
struct DefaultBand {
    int32_t threshold, color;
};
constexpr DefaultBand kDefaultBands[] = {
    {-1440, UICOLOR_METER_LOW}, {-120, UICOLOR_METER_MID}, {-30, UICOLOR_METER_HIGH}};

void PeakLook(const tQMMETER& m, MeterLook& look) {
    const auto add = [&](int32_t threshold, COLORREF lit, COLORREF unlit) {
        const int32_t pixel = m.scale.Pixel(std::pow(10.0, threshold / 200.0), m.scalePixels);
        const int32_t from = look.bands.empty() ? 0 : MeterBarPixel(m, look.length, pixel);
        look.bands.push_back({from, BlendChannels(lit, 0, kFootShade), unlit, lit, unlit});
    };
    for (uint32_t i = 0; i < m.bandCount; i++) add(m.bands[i].threshold, m.bands[i].lit, m.bands[i].unlit);
    if (m.bandCount) return;
    for (const DefaultBand& band : kDefaultBands) {
        const COLORREF lit = QmGetUIColor(band.color);
        add(band.threshold, lit, QmSkin_BlendColor(lit, m.background, kUnlitWeight, 0));
    }
}

std::vector<MeterMark> PeakMarks(const tQMMETER& m, int32_t length, int32_t units, int32_t labelUnits) {
    const int32_t step = MeterTickStep(m.scale.Decibels(), units);
    const int32_t hidden = m.scale.ScalePixels(units) - units;
    std::vector<MeterMark> marks;
    int32_t last = units + labelUnits;
    for (const MeterTick& tick : MeterTicks(m.scale, units, step, labelUnits)) {
        const int32_t pixel = m.scale.Pixel(std::pow(10.0, tick.decibels / 20.0), m.scalePixels);
        const int32_t at = MeterLabelPlace(tick.pixel - hidden, units, labelUnits);
        const bool labelled = tick.labelled && last - at >= labelUnits;
        if (labelled) last = at;
        marks.push_back({std::max(pixel, m.scalePixels - length),
                         labelled ? NumberText(tick.decibels, m.labelFormat) : std::u16string()});
    }
    return marks;
}
}  // namespace

const MeterModel kPeakMeterModel = {MeterRescale, MeterAdvance, PeakLook, PeakMarks, MeterClipText};

int32_t MeterLabelPlace(int32_t pixel, int32_t units, int32_t labelUnits) {
    const int32_t half = std::min(labelUnits, units) / 2;
    return std::clamp(pixel, half, std::max(units - half, half));
}

int32_t MeterBarPixel(const tQMMETER& m, int32_t length, int32_t scalePixel) {
    return std::clamp(scalePixel - (m.scalePixels - length), 0, length);
}
