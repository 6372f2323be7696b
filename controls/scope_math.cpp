#include "controls/scope_math.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace {
constexpr int32_t kSines = 512;

const std::array<float, kSines>& Sines() {
    static const std::array<float, kSines> table = [] {
        std::array<float, kSines> t{};
        for (size_t i = 0; i < t.size(); i++)
            t[i] = static_cast<float>(std::sin(2 * std::numbers::pi * static_cast<double>(i) / kSines));
        return t;
    }();
    return table;
}

int32_t IndexOf(float angle) { return static_cast<int32_t>(std::lround(angle * 256 / kPi)); }

float FastSqrt(float v) {
    const float e = std::bit_cast<float>(1597463007 - (std::bit_cast<int32_t>(v) >> 1));
    return (1.5f - 0.5f * v * e * e) * e * v;
}

float FastSin(float angle) {
    const int32_t i = IndexOf(angle);
    return Sines()[static_cast<size_t>(i < 0 ? (kSines - -i % kSines) % kSines : i % kSines)];
}

float FastCos(float angle) {
    const int32_t i = IndexOf(angle);
    return Sines()[static_cast<size_t>((i < 0 ? kSines / 4 - i : i + kSines / 4) % kSines)];
}

float FastAtan2(float y, float x) {
    const float a = std::abs(y) + 1e-10f;
    const float angle =
        x >= 0 ? kPi / 4 - kPi / 4 * ((x - a) / (x + a)) : 3 * kPi / 4 - kPi / 4 * ((x + a) / (a - x));
    return y < 0 ? -angle : angle;
}
}  // namespace

const ScopeMath kExactScopeMath = {[](float v) { return std::sqrt(v); }, [](float v) { return std::sin(v); },
                                   [](float v) { return std::cos(v); },
                                   [](float y, float x) { return std::atan2(y, x); }};
const ScopeMath kFastScopeMath = {FastSqrt, FastSin, FastCos, FastAtan2};
