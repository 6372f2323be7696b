// Several gains that change together, each along a straight line to where it shall be.
#pragma once

#include "host/engine/mix_loops.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace host {

/// A change of gain takes this long, along a straight line.
inline constexpr double kRampSeconds = 0.010;

/// Automation is read every so many frames of the project and runs straight between.
inline constexpr int32_t kGridFrames = 32;

class GainCourse {
public:
    static constexpr size_t kMost = 12;
    using Gains = std::array<float, kMost>;

    explicit GainCourse(int sampleRate);

    /// Heads for the gains from the next frame on; the first time they are there at once.
    void Aim(const Gains& gains);
    bool Running() const { return m_running; }  ///< it was aimed before
    /// There at once.
    void Jump(const Gains& gains);

    /// From `begin` to `end` within kGridFrames, beginning at the next frame. Where Blend was called less
    /// than a ramp ago, the way leads over from what it was then.
    void Follow(const Gains& begin, const Gains& end);
    void Blend();

    /// Frames, at most n, for which one line (or level) holds.
    size_t Straight(size_t n) const { return m_done < m_length ? std::min(n, Remaining()) : n; }
    bool Level() const { return m_done >= m_length; }
    float Gain(size_t i) const { return m_to[i]; }  ///< where it is level
    GainLine Line(size_t i) const {
        return {m_from[i], m_to[i] - m_from[i], 1.0f / static_cast<float>(m_length), m_done + 1};
    }
    /// Whether the gain is 0 and stays 0 through the present line.
    bool Silent(size_t i) const { return m_to[i] == 0.0f && (Level() || m_from[i] == 0.0f); }
    void Advance(size_t n) { m_done += static_cast<int32_t>(std::min(n, Remaining())); }

private:
    size_t Remaining() const { return static_cast<size_t>(m_length - m_done); }
    Gains Now() const;

    int32_t m_rampFrames;
    Gains m_from{}, m_to{}, m_blendFrom{};
    int32_t m_length = 1, m_done = 1;
    int32_t m_blended;  ///< frames of the way over, m_rampFrames when it is done
    bool m_running = false;
};

}  // namespace host
