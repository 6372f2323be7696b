// The inner loops of the mixer. Each output sample depends on its own input and position alone, never on how
// the stream is cut into calls.
#pragma once

#include <cstddef>
#include <cstdint>

namespace host {

/// What a meter needs of one side of a stretch.
struct Level {
    float peak = 0;    ///< largest magnitude
    float energy = 0;  ///< sum of squares
};

/// into[i] += from[i] * gain. `from` may be `into`'s neighbour but not overlap it. [audio-thread]
Level MixAtGain(const float* from, float gain, float* into, size_t n);

/// A straight way from one gain to another; sample `position` (from 1 on) has from + change * (position /
/// length).
struct GainLine {
    float from;
    float change;
    float inverseLength;
    int32_t position;

    float At(int32_t p) const { return from + change * (static_cast<float>(p) * inverseLength); }
};

/// into[i] += from[i] * line.At(line.position + i). [audio-thread]
Level MixAlongLine(const float* from, const GainLine& line, float* into, size_t n);

/// Fades in place: samples[i] *= line.At(line.position + i). [audio-thread]
void FadeAlongLine(float* samples, const GainLine& line, size_t n);

/// into[i] += from[i]. [audio-thread]
void Add(const float* from, float* into, size_t n);

/// Whether all samples are numbers of a size that can be a sound, far above any level. [audio-thread]
bool IsSound(const float* samples, size_t n);

}  // namespace host
