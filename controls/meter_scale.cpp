#include "controls/meter_scale.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr double kRounding = 0.45;
constexpr int32_t kDecibelGrid = 3;
constexpr int32_t kLeastTickPixels = 3;

int32_t MulDiv(int64_t a, int64_t b, int64_t c) { return static_cast<int32_t>((a * b + c / 2) / c); }
}  // namespace

void MeterScale::SetRange(int32_t levels, bool floats) {
    range = std::max(levels, 1);
    isFloat = floats;
    unit = 1.0 / range;
    logUnit = std::log10(unit);
}

int32_t MeterScale::ScalePixels(int32_t length) const {
    if (displayRange <= 0 || displayRange >= range || length <= 0) return length;
    const double gone =
        linear ? (range - displayRange) * unit * length
               : length - std::trunc(std::log10(1.0 / displayRange) / logUnit * length + kRounding);
    const auto z = static_cast<int32_t>(gone);
    // A bar of a few pixels may have none left for the range.
    return length + MulDiv(z, length, std::max(length - z, 1));
}

int32_t MeterScale::Pixel(double level, int32_t scalePixels) const {
    if (!(level > 0)) return 0;
    if (linear) return static_cast<int32_t>(level * scalePixels);
    if (level < unit) return 0;
    if (range == 1) return scalePixels;
    if (!isFloat && level == unit) return 3;
    return std::max(scalePixels - static_cast<int32_t>(std::log10(level) / logUnit * scalePixels + kRounding),
                    2);
}

int32_t MeterScale::Decibels() const {
    return static_cast<int32_t>(std::lround(20 * std::log10(displayRange > 0 ? displayRange : range)));
}

int32_t MeterTickStep(int32_t decibels, int32_t pixels) {
    if (decibels <= 0 || pixels <= 0) return kDecibelGrid;
    const double steps = decibels / static_cast<double>(kDecibelGrid);
    const double tickPixels = std::max<double>(kLeastTickPixels, pixels / steps);
    return std::max(static_cast<int32_t>(std::ceil(tickPixels / pixels * steps - 0.000001)), 1) *
           kDecibelGrid;
}

std::vector<MeterTick> MeterTicks(const MeterScale& scale, int32_t length, int32_t tickStep,
                                  int32_t labelPixels) {
    std::vector<MeterTick> ticks;
    const int32_t decibels = scale.Decibels(), scalePixels = scale.ScalePixels(length);
    if (scale.linear || decibels <= 0 || length <= 0) return ticks;
    const double pixelsPerStep = static_cast<double>(length) * tickStep / decibels;
    const auto every = std::max(static_cast<int32_t>(std::ceil(labelPixels / pixelsPerStep - 0.000001)), 1);
    for (int32_t i = 0; i * tickStep <= decibels; i++) {
        const int32_t db = -i * tickStep, pixel = scale.Pixel(std::pow(10.0, db / 20.0), scalePixels);
        if (pixel < scalePixels - length) break;
        const bool hasRoom = scalePixels - pixel >= labelPixels / 2;
        ticks.push_back({db, pixel, i % every == 0 && hasRoom});
    }
    return ticks;
}
