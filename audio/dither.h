// Noise that makes the error of rounding independent of what is rounded: the difference of two uniform
// numbers, with peaks of one step. The same seed gives the same noise. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn {

class Dither {
public:
    static constexpr uint64_t SEED = 0x9E3779B97F4A7C15;

    /// A step is the distance of two values that are stored.
    explicit Dither(double step, uint64_t seed = SEED) : m_step(step), m_state(seed) {}

    void Add(double* samples, size_t count) {
        for (size_t i = 0; i < count; i++) samples[i] += (Uniform() - Uniform()) * m_step;
    }

private:
    double Uniform() {
        m_state ^= m_state << 13;
        m_state ^= m_state >> 7;
        m_state ^= m_state << 17;
        return static_cast<double>(m_state >> 11) * 0x1p-53;
    }

    double m_step;
    uint64_t m_state;
};

}  // namespace tarn
