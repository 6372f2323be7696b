// The scale of a meter: levels to pixels of the bar, the zoom of a display range, the steps of ticks and
// labels. Pure arithmetic; a bar's pixels count from its low end. [any-thread]
#pragma once

#include <cstdint>
#include <vector>

struct MeterScale {
    int32_t range = 32768;     ///< levels in full scale
    int32_t displayRange = 0;  ///< range shown, as a count below full scale; 0 shows all
    bool linear = false;
    bool isFloat = false;  ///< levels are floats in 0..1
    double unit = 1.0 / 32768;
    double logUnit = 0;  ///< log10(unit)

    /// A range below 2 counts as 1.
    void SetRange(int32_t levels, bool floats);

    /// Pixels of the whole scale, of which the upper `length` are the bar.
    int32_t ScalePixels(int32_t length) const;
    /// Pixels from the low end of the scale. `level` is a share of full scale, 0..1.
    int32_t Pixel(double level, int32_t scalePixels) const;
    /// Decibels that the bar shows, rounded.
    int32_t Decibels() const;
};

/// Decibels between two ticks: at least 3 pixels a tick, in steps of 3 dB.
int32_t MeterTickStep(int32_t decibels, int32_t pixels);

struct MeterTick {
    int32_t decibels;  ///< 0 or below
    int32_t pixel;     ///< of the scale
    bool labelled;
};
/// Ticks from the top down to the end of the bar. A label needs `labelPixels` of the bar; the topmost half of
/// one is kept free.
std::vector<MeterTick> MeterTicks(const MeterScale& scale, int32_t length, int32_t tickStep,
                                  int32_t labelPixels);
