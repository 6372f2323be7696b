#include "host/engine/channel_strip.h"

#include <algorithm>
#include <cmath>

namespace host {

MeterInertia::MeterInertia(int sampleRate) {
    // The amplitude's 99 % are 98 % of the power.
    const double frames = 0.3 * sampleRate / -std::log(1 - 0.99 * 0.99);
    for (size_t n = 0; n <= kChunkFrames; n++)
        m_keep[n] = static_cast<float>(std::exp(-static_cast<double>(n) / frames));
}

ChannelStrip::ChannelStrip(int sampleRate)
    : m_target(std::bit_cast<uint64_t>(StereoGain{})), m_taken(m_target),
      m_rampFrames(std::max(1, static_cast<int32_t>(std::lround(kRampSeconds * sampleRate)))),
      m_inverseRamp(1.0f / static_cast<float>(m_rampFrames)), m_done(m_rampFrames) {}

void ChannelStrip::Begin() {
    const uint64_t target = m_target.load(std::memory_order_relaxed);
    if (target == m_taken && m_running) return;
    m_taken = target;
    const auto gain = std::bit_cast<StereoGain>(target);
    for (Side side : {Left, Right}) {
        const bool moving = m_done < m_rampFrames;
        m_from[side] = moving ? Line(side).At(m_done) : m_to[side];
    }
    m_to = {gain.left, gain.right};
    m_done = 0;
    if (!m_running) {
        m_from = m_to;
        m_done = m_rampFrames;
        m_running = true;
    }
}

void ChannelStrip::Mix(const float* const from[2], float* const into[2], size_t n) {
    const size_t ramp = std::min(n, static_cast<size_t>(m_rampFrames - m_done));
    for (Side side : {Left, Right}) {
        Level& level = m_level[side];
        const auto add = [&](Level more) {
            level.peak = std::max(level.peak, more.peak);
            level.energy += more.energy;
        };
        if (ramp) add(MixAlongLine(from[side], Line(side), into[side], ramp));
        if (n > ramp) add(MixAtGain(from[side] + ramp, m_to[side], into[side] + ramp, n - ramp));
    }
    Advance(n);
}

void ChannelStrip::Advance(size_t n) {
    m_done += static_cast<int32_t>(std::min(n, static_cast<size_t>(m_rampFrames - m_done)));
}

void ChannelStrip::End(size_t n, const MeterInertia& inertia) {
    constexpr float limit = 1e30f;  // an overflow somewhere in the mix must not stay in the needle for ever
    const float keep = inertia.After(n);
    for (Side side : {Left, Right}) {
        Level& level = m_level[side];
        const float power = level.energy / static_cast<float>(n);
        const float mean = power < limit ? power : limit;
        m_meanSquare[side] = m_meanSquare[side] * keep + mean * (1 - keep);
        m_meter.Post(side, std::min(level.peak, limit), std::sqrt(2 * m_meanSquare[side]));
        level = {};
    }
}

}  // namespace host
