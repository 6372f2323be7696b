#include "host/engine/gain_course.h"

#include <cmath>

namespace host {

GainCourse::GainCourse(int sampleRate)
    : m_rampFrames(std::max(1, static_cast<int32_t>(std::lround(kRampSeconds * sampleRate)))),
      m_blended(m_rampFrames) {}

GainCourse::Gains GainCourse::Now() const {
    if (Level()) return m_to;
    Gains now;
    for (size_t i = 0; i < kMost; i++) now[i] = Line(i).At(m_done);
    return now;
}

void GainCourse::Aim(const Gains& gains) {
    if (!m_running) return Jump(gains);
    m_from = Now();
    m_to = gains;
    m_length = m_rampFrames;
    m_done = 0;
    m_blended = m_rampFrames;
}

void GainCourse::Jump(const Gains& gains) {
    m_from = m_to = gains;
    m_done = m_length;
    m_blended = m_rampFrames;
    m_running = true;
}

void GainCourse::Blend() {
    if (!m_running) return;
    m_blendFrom = Now();
    m_blended = 0;
}

void GainCourse::Follow(const Gains& begin, const Gains& end) {
    m_running = true;
    m_from = begin;
    m_to = end;
    m_length = kGridFrames;
    m_done = 0;
    if (m_blended >= m_rampFrames) {
        if (begin == end) m_done = m_length;
        return;
    }
    const auto share = [this](int32_t frames) {
        return std::min(1.0f, static_cast<float>(frames) / static_cast<float>(m_rampFrames));
    };
    const float before = share(m_blended), after = share(m_blended + kGridFrames);
    for (size_t i = 0; i < kMost; i++) {
        m_from[i] = m_blendFrom[i] + (begin[i] - m_blendFrom[i]) * before;
        m_to[i] = m_blendFrom[i] + (end[i] - m_blendFrom[i]) * after;
    }
    m_blended += kGridFrames;
}

}  // namespace host
