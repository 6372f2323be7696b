#include "host/engine/mix_loops.h"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

// Lanes make the reductions independent of each other, so that they vectorise without relaxing the
// arithmetic.
constexpr size_t kLanes = 8;

template <class GainAt>
Level Mix(const float* __restrict from, float* __restrict into, size_t n, GainAt gainAt) {
    float peak[kLanes] = {}, energy[kLanes] = {};
    size_t i = 0;
    for (; i + kLanes <= n; i += kLanes) {
        for (size_t k = 0; k < kLanes; k++) {
            const float y = from[i + k] * gainAt(i + k);
            const float magnitude = std::fabs(y);
            into[i + k] += y;
            peak[k] = magnitude > peak[k] ? magnitude : peak[k];
            energy[k] += y * y;
        }
    }
    for (size_t k = 0; i < n; i++, k++) {
        const float y = from[i] * gainAt(i);
        into[i] += y;
        peak[k] = std::max(peak[k], std::fabs(y));
        energy[k] += y * y;
    }
    Level level;
    for (size_t k = 0; k < kLanes; k++) {
        level.peak = std::max(level.peak, peak[k]);
        level.energy += energy[k];
    }
    return level;
}

}  // namespace

Level MixAtGain(const float* from, float gain, float* into, size_t n) {
    if (gain == 0.0f) return {};
    return Mix(from, into, n, [gain](size_t) { return gain; });
}

Level MixAlongLine(const float* from, const GainLine& line, float* into, size_t n) {
    return Mix(from, into, n, [line](size_t i) { return line.At(line.position + static_cast<int32_t>(i)); });
}

void FadeAlongLine(float* samples, const GainLine& line, size_t n) {
    for (size_t i = 0; i < n; i++) samples[i] *= line.At(line.position + static_cast<int32_t>(i));
}

void Add(const float* __restrict from, float* __restrict into, size_t n) {
    for (size_t i = 0; i < n; i++) into[i] += from[i];
}

bool IsSound(const float* samples, size_t n) {
    constexpr float limit = 1e6f;
    uint32_t odd = 0;
    for (size_t i = 0; i < n; i++) odd |= !(std::fabs(samples[i]) < limit);  // true for NaN
    return !odd;
}

}  // namespace host
