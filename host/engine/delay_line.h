// Holds a signal back by a fixed number of frames, so that it meets those that an effect holds back.
#pragma once

#include "host/engine/speakers.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace host {

class DelayLine {
public:
    DelayLine(size_t sides, size_t frames)
        : m_frames(frames), m_sides(sides, std::vector<float>(frames, 0.0f)) {}

    size_t Frames() const { return m_frames; }
    size_t Sides() const { return m_sides.size(); }

    /// In place, every side of the line. [audio-thread]
    void Process(float* const* samples, size_t n) {
        if (m_frames == 0) return;
        for (size_t s = 0; s < m_sides.size(); s++) {
            float* held = m_sides[s].data();
            size_t at = m_at;
            for (size_t done = 0; done < n;) {
                const size_t count = std::min(n - done, m_frames - at);
                std::swap_ranges(samples[s] + done, samples[s] + done + count, held + at);
                done += count;
                at = at + count == m_frames ? 0 : at + count;
            }
        }
        m_at = (m_at + n) % m_frames;
    }

    void Clear() {  ///< [audio-thread]
        for (auto& side : m_sides) std::fill(side.begin(), side.end(), 0.0f);
    }

private:
    const size_t m_frames;
    std::vector<std::vector<float>> m_sides;
    size_t m_at = 0;
};

}  // namespace host
