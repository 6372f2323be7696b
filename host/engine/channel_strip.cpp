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

void MixWay::Shape(size_t fromSides, size_t toSides) {
    if (m_fromSides == fromSides && m_toSides == toSides) return;
    m_fromSides = fromSides;
    m_toSides = toSides;
    course = GainCourse(m_sampleRate);
    gridFrame = -1;
}

void MixWay::Mix(const float* const* from, float* const* into, size_t n, Levels* levels) {
    const std::span<const Tap> taps = TapsOf(m_fromSides, m_toSides);
    for (size_t done = 0; done < n;) {
        const size_t count = course.Straight(n - done);
        const auto mix = [&](size_t tap, float* to) {
            const float* samples = from[taps[tap].from] + done;
            return course.Level() ? MixAtGain(samples, course.Gain(tap), to, count)
                                  : MixAlongLine(samples, course.Line(tap), to, count);
        };
        for (size_t side = 0; side < m_toSides; side++) {
            std::array<size_t, GainCourse::kMost> sounding;
            size_t sources = 0;
            for (size_t i = 0; i < taps.size(); i++)
                if (taps[i].to == side && !course.Silent(i)) sounding[sources++] = i;
            Level level;
            if (sources == 1) {
                level = mix(sounding[0], into[side] + done);
            } else if (sources > 1) {
                std::array<float, kChunkFrames> sum{};
                for (size_t i = 0; i < sources; i++) mix(sounding[i], sum.data());
                level = MixAtGain(sum.data(), 1.0f, into[side] + done, count);
            }
            if (!levels) continue;
            (*levels)[side].peak = std::max((*levels)[side].peak, level.peak);
            (*levels)[side].energy += level.energy;
        }
        course.Advance(count);
        done += count;
    }
}

void ChannelStrip::PostLevels(size_t n, size_t sides, const MeterInertia& inertia) {
    constexpr float limit = 1e30f;  // an overflow somewhere in the mix must not stay in the needle for ever
    const float keep = inertia.After(n);
    for (size_t side = 0; side < sides; side++) {
        Level& level = levels[side];
        const float power = level.energy / static_cast<float>(n);
        const float mean = power < limit ? power : limit;
        m_meanSquare[side] = m_meanSquare[side] * keep + mean * (1 - keep);
        m_meter.Post(side, std::min(level.peak, limit), std::sqrt(2 * m_meanSquare[side]));
        level = {};
    }
}

}  // namespace host
