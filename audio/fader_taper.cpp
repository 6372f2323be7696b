#include "audio/fader_taper.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>

namespace tarn {

namespace {
// The first 3 dB around unity take a quarter of the half-scale.
struct TaperPair {
    int32_t value, position;
};
constexpr TaperPair kTaper[] = {{0, 0},     {30, 250},  {60, 400},  {120, 500},
                                {250, 600}, {400, 800}, {700, 950}, {1000, 1000}};

struct Segment {
    const TaperPair &low, &high;
};
Segment SegmentOf(double a, int32_t TaperPair::*from) {
    const TaperPair* high = std::begin(kTaper) + 1;
    while (high + 1 < std::end(kTaper) && a > high->*from) high++;
    return {high[-1], *high};
}

int32_t Interpolate(int32_t x, int32_t TaperPair::*from, int32_t TaperPair::*to) {
    const int32_t a = std::abs(x);
    if (a > 1000) return x;
    const auto& [low, high] = SegmentOf(a, from);
    const int32_t y = (high.*to - low.*to) * (a - low.*from) / (high.*from - low.*from) + low.*to;
    return x < 0 ? -y : y;
}

double InterpolateFine(double x, int32_t TaperPair::*from, int32_t TaperPair::*to) {
    const double a = std::abs(x);
    const auto& [low, high] = SegmentOf(a, from);
    const double y = (high.*to - low.*to) * (a - low.*from) / (high.*from - low.*from) + low.*to;
    return x < 0 ? -y : y;
}
constexpr double kSilence = -720, kLoudest = 120;  // tenths of a decibel
}  // namespace

int32_t FaderTaper(int32_t value) { return Interpolate(value, &TaperPair::value, &TaperPair::position); }
int32_t FaderTaperInverse(int32_t position) {
    return Interpolate(position, &TaperPair::position, &TaperPair::value);
}

float FaderShareOfGain(float gain) {
    if (!(gain > 0)) return 0;
    const double tenths = std::clamp(200 * std::log10(static_cast<double>(gain)), kSilence, kLoudest);
    const auto taper = [](double x) { return InterpolateFine(x, &TaperPair::value, &TaperPair::position); };
    return static_cast<float>((taper(tenths) - taper(kSilence)) / (taper(kLoudest) - taper(kSilence)));
}

float FaderGainOfShare(float share) {
    if (!(share > 0)) return 0;
    const auto taper = [](double x) { return InterpolateFine(x, &TaperPair::value, &TaperPair::position); };
    const double low = taper(kSilence), high = taper(kLoudest);
    const double position = low + std::min(static_cast<double>(share), 1.0) * (high - low);
    return static_cast<float>(
        std::pow(10, InterpolateFine(position, &TaperPair::position, &TaperPair::value) / 200));
}

}  // namespace tarn
