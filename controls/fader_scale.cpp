#include "controls/fader_scale.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace {
// The first 3 dB around unity take a quarter of the half-scale.
struct TaperPair {
    int32_t value, position;
};
constexpr TaperPair kTaper[] = {{0, 0},     {30, 250},  {60, 400},  {120, 500},
                                {250, 600}, {400, 800}, {700, 950}, {1000, 1000}};

int32_t Interpolate(int32_t x, int32_t TaperPair::*from, int32_t TaperPair::*to) {
    const int32_t a = std::abs(x);
    if (a > 1000) return x;
    const TaperPair* high = std::begin(kTaper) + 1;
    while (a > high->*from) high++;
    const TaperPair* low = high - 1;
    const int32_t y = (high->*to - low->*to) * (a - low->*from) / (high->*from - low->*from) + low->*to;
    return x < 0 ? -y : y;
}
}  // namespace

int32_t FaderTaper(int32_t value) { return Interpolate(value, &TaperPair::value, &TaperPair::position); }
int32_t FaderTaperInverse(int32_t position) {
    return Interpolate(position, &TaperPair::position, &TaperPair::value);
}

void FaderScale::Update() {
    span = std::max(FaderTaper(max) - FaderTaper(min), 1);
    origin = max - static_cast<int32_t>((int64_t{max} - min) * FaderTaper(max) / span);
}

int32_t FaderScale::Distance(int32_t value, int32_t travel) const {
    const int64_t range = int64_t{max} - min;
    if (range == 0) return 0;
    const int64_t u = taper ? origin + FaderTaper(value) * range / span : value;
    return static_cast<int32_t>((u - min) * travel / range);
}

int32_t FaderScale::Value(int32_t distance, int32_t travel) const {
    const int64_t range = int64_t{max} - min;
    if (travel < 2 || distance <= 0 || range == 0) return min;
    if (distance >= travel) return max;
    const int64_t u = min + range * distance / travel;
    return taper ? FaderTaperInverse(static_cast<int32_t>((u - origin) * span / range))
                 : static_cast<int32_t>(u);
}
