#include "kernel/color_math.h"

#include <algorithm>
#include <array>
#include <cstdlib>

using namespace tarn;

namespace {
constexpr int32_t kMax = 240;  // of hue, saturation and lightness

using Channels = std::array<int32_t, 3>;  // red, green, blue

Channels Split(COLORREF c) {
    return {static_cast<int32_t>(c & 0xFF), static_cast<int32_t>(c >> 8 & 0xFF),
            static_cast<int32_t>(c >> 16 & 0xFF)};
}

COLORREF Join(const Channels& c) {
    COLORREF out = 0;
    for (size_t i = 0; i < 3; i++) out |= static_cast<COLORREF>(std::clamp(c[i], 0, 255)) << (8 * i);
    return out;
}

int32_t Distance(const Channels& a, const Channels& b) {
    int32_t sum = 0;
    for (size_t i = 0; i < 3; i++) sum += std::abs(a[i] - b[i]);
    return sum;
}

int32_t HueChannel(int32_t low, int32_t high, int32_t hue) {
    if (hue < 0) hue += kMax;
    if (hue > kMax) hue -= kMax;
    if (hue < kMax / 6) return low + ((high - low) * hue + kMax / 12) / (kMax / 6);
    if (hue < kMax / 2) return high;
    if (hue < kMax * 2 / 3) return low + ((high - low) * (kMax * 2 / 3 - hue) + kMax / 12) / (kMax / 6);
    return low;
}
}  // namespace

COLORREF tarn::BlendChannels(COLORREF from, COLORREF to, uint32_t weight) {
    const Channels f = Split(from), t = Split(to);
    Channels out;
    for (size_t i = 0; i < 3; i++) {
        const int32_t d = static_cast<int32_t>(weight) * (t[i] - f[i]) + 128;
        out[i] = f[i] + ((d + (d >> 8)) >> 8);
    }
    return Join(out);
}

uint32_t QmRGBtoHSL(COLORREF color) {
    const auto [r, g, b] = Split(color);
    const int32_t high = std::max({r, g, b}), low = std::min({r, g, b}), sum = high + low, span = high - low;
    const int32_t lightness = (sum * kMax + 256) >> 9;
    int32_t hue = 160, saturation = 0;
    if (span) {
        const int32_t s = lightness < 121 ? sum : 512 - sum;
        saturation = (span * kMax + s / 2) / s;
        const auto part = [&](int32_t c) { return ((high - c) * (kMax / 6) + span / 2) / span; };
        hue = r == high ? part(b) - part(g) : g == high ? 80 + part(r) - part(b) : 160 + part(g) - part(r);
        if (hue < 0) hue += kMax;
        if (hue > kMax) hue -= kMax;
    }
    return static_cast<uint32_t>(hue | saturation << 8 | lightness << 16);
}

COLORREF QmHSLtoRGB(uint32_t hsl) {
    const auto [hue, saturation, lightness] = Split(hsl);
    const auto scaled = [](int32_t v) { return (v * 255 + kMax / 2) / kMax; };
    if (saturation == 0) return Join({scaled(lightness), scaled(lightness), scaled(lightness)});
    const int32_t high = lightness <= kMax / 2
                             ? (lightness * (kMax + saturation) + kMax / 2) / kMax
                             : lightness + saturation - (lightness * saturation + kMax / 2) / kMax;
    const int32_t low = 2 * lightness - high;
    return Join({scaled(HueChannel(low, high, hue + 80)), scaled(HueChannel(low, high, hue)),
                 scaled(HueChannel(low, high, hue - 80))});
}

COLORREF QmSkin_BlendColor(COLORREF a, COLORREF b, uint32_t weight, BOOL adaptive) {
    weight = std::min(weight, 255u);
    if (adaptive) {
        const int32_t distance = Distance(Split(a), Split(b));
        const uint32_t least = distance <= 80 ? 255 : static_cast<uint32_t>(80 * 255 / distance);
        weight = std::max(weight, least);
    }
    return BlendChannels(a, b, weight);
}

COLORREF QmSkin_CreateSimilarColor(COLORREF color, int32_t dr, int32_t dg, int32_t db, BOOL proportional,
                                   uint32_t mode, COLORREF hint, int32_t bias) {
    const Channels c = Split(color);
    Channels d{dr, dg, db};
    const size_t top = static_cast<size_t>(std::max_element(c.begin(), c.end()) - c.begin());
    const int32_t largest = c[top];
    if (proportional && largest > 0)
        for (size_t i = 0; i < 3; i++) d[i] = d[i] * c[i] / largest;

    Channels lighter, darker;
    const int32_t wide = largest + 2 * d[top];
    for (size_t i = 0; i < 3; i++) {
        lighter[i] = std::min(c[i] + d[i], 255);
        darker[i] = proportional && wide > 0 ? lighter[i] * largest / wide : std::max(c[i] - d[i], 0);
    }
    if (mode == 1) return Join(lighter);
    if (mode == 0) return Join(darker);
    const auto difference = [&](const Channels& candidate) {
        return Distance(candidate, c) + (hint == 0xFFFFFFFF ? 0 : Distance(candidate, Split(hint)));
    };
    return Join(difference(lighter) + bias >= difference(darker) ? lighter : darker);
}
