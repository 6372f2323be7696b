#include "host/engine/play_head.h"

#include "host/engine/channel_strip.h"

#include <algorithm>
#include <cmath>

namespace host {

PlayHead::PlayHead(int sampleRate)
    : m_fadeFrames(std::max(1, static_cast<int32_t>(std::lround(kRampSeconds * sampleRate)))) {}

void PlayHead::TakeOver() {
    // A plan that takes over late was read from its start all the same: it goes on where it would be by now.
    m_at = m_next.plan.takeOverAt >= 0 ? m_at - m_next.plan.takeOverAt : 0;
    m_now = m_next;
    m_playing = true;
    m_hasNext = false;
    m_faded = -1;
    m_exchange.Settle(m_now.plan.serial, m_now.ring);
}

void PlayHead::Dismiss() {
    m_hasNext = false;
    m_exchange.Settle(m_next.plan.serial, m_now.ring);
}

// Brings the state up to date with what was asked for, at the frame that comes next.
void PlayHead::Decide(int64_t end) {
    const uint64_t stop = m_stop.load(std::memory_order_acquire);
    if (!m_hasNext) m_hasNext = m_exchange.Accept(&m_next);
    const bool fadedOut = m_faded >= m_fadeFrames;
    if (m_playing && (fadedOut || Frame() >= end)) {
        m_playing = false;
        m_faded = -1;
    }
    if (m_hasNext) {
        const bool seamless = m_next.plan.takeOverAt >= 0;
        if (m_next.plan.serial <= stop || (seamless && !m_playing))
            Dismiss();
        else if (seamless ? m_at >= m_next.plan.takeOverAt : !m_playing)
            TakeOver();
    }
    if (m_playing && Frame() >= end) m_playing = false;
    const bool mustEnd = m_now.plan.serial <= stop || (m_hasNext && m_next.plan.takeOverAt < 0);
    if (m_playing && mustEnd && m_faded < 0) m_faded = 0;
}

PlayHead::Step PlayHead::Next(size_t max) {
    const int64_t end = m_end.load(std::memory_order_relaxed);
    Decide(end);
    Step step{.n = max, .playing = m_playing, .plan = m_now, .at = m_at};
    if (!m_playing) return step;
    auto n = static_cast<int64_t>(max);
    n = std::min(n, end - Frame());
    if (m_hasNext && m_next.plan.takeOverAt > m_at) n = std::min(n, m_next.plan.takeOverAt - m_at);
    n = m_now.plan.StraightFrames(m_at, n);
    if (m_faded >= 0) {
        n = std::min<int64_t>(n, m_fadeFrames - m_faded);
        step.fade = true;
        step.line = {1.0f, -1.0f, 1.0f / static_cast<float>(m_fadeFrames), m_faded + 1};
    }
    step.n = static_cast<size_t>(n);
    return step;
}

size_t PlayHead::ToWholeChunk() const {
    return kChunkFrames - (m_playing ? static_cast<size_t>(m_at) % kChunkFrames : 0);
}

void PlayHead::Advance(const Step& step) {
    if (!step.playing) return;
    m_at += static_cast<int64_t>(step.n);
    if (step.fade) m_faded += static_cast<int32_t>(step.n);
}

void PlayHead::Publish() {
    const uint32_t version = m_version.load(std::memory_order_relaxed);
    m_version.store(version + 1, std::memory_order_relaxed);
    m_serialSeen.store(m_now.plan.serial, std::memory_order_release);
    m_atSeen.store(m_at, std::memory_order_release);
    m_frameSeen.store(Frame(), std::memory_order_release);
    m_playingSeen.store(m_playing && m_faded < m_fadeFrames, std::memory_order_release);
    m_version.store(version + 2, std::memory_order_release);
}

PlayState PlayHead::State() const {
    for (;;) {
        const uint32_t before = m_version.load(std::memory_order_acquire);
        PlayState state;
        state.serial = m_serialSeen.load(std::memory_order_acquire);
        state.at = m_atSeen.load(std::memory_order_acquire);
        state.frame = m_frameSeen.load(std::memory_order_acquire);
        state.playing = m_playingSeen.load(std::memory_order_acquire);
        if (before % 2 == 0 && m_version.load(std::memory_order_relaxed) == before) return state;
    }
}

}  // namespace host
