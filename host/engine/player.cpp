#include "host/engine/player.h"

#include "host/engine/denormals.h"

#include <algorithm>
#include <chrono>

namespace host {

namespace {

// A device takes what lies in -1..1; the comparison is written so that NaN becomes silence.
void Limit(float* samples, size_t n) {
    for (size_t i = 0; i < n; i++) {
        const float x = samples[i] == samples[i] ? samples[i] : 0.0f;
        samples[i] = std::clamp(x, -1.0f, 1.0f);
    }
}

}  // namespace

Player::Player(int sampleRate) : m_sampleRate(sampleRate), m_head(sampleRate) {}

Player::~Player() = default;

void Player::SetGraph(std::unique_ptr<MixGraph> graph) {
    m_graphs.push_back(std::move(graph));
    m_current.store(m_graphs.back().get(), std::memory_order_seq_cst);
    // The audio thread announces a graph before it makes sure that it is still the current one: whatever is
    // not announced by now will not be used again.
    const MixGraph* inUse = m_inUse.load(std::memory_order_seq_cst);
    std::erase_if(m_graphs, [&](const auto& g) { return g.get() != inUse && g != m_graphs.back(); });
}

MixGraph* Player::AcquireGraph() {
    MixGraph* graph = m_current.load(std::memory_order_seq_cst);
    for (;;) {
        m_inUse.store(graph, std::memory_order_seq_cst);
        MixGraph* now = m_current.load(std::memory_order_seq_cst);
        if (now == graph) return graph;
        graph = now;
    }
}

void Player::Render(float* left, float* right, size_t n) {
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    const FlushDenormals flush;
    MixGraph* graph = AcquireGraph();
    bool intime = true;
    for (size_t done = 0; done < n;) {
        const PlayHead::Step step = m_head.Next(std::min(kChunkFrames, n - done));
        const StreamPlace place{step.playing ? step.plan.plan.serial : 0, step.plan.ring, step.at};
        if (graph) {
            intime &= graph->Mix(place, step.n, left + done, right + done);
        } else {
            std::fill_n(left + done, step.n, 0.0f);
            std::fill_n(right + done, step.n, 0.0f);
        }
        if (step.fade) {
            FadeAlongLine(left + done, step.line, step.n);
            FadeAlongLine(right + done, step.line, step.n);
        }
        m_head.Advance(step);
        done += step.n;
    }
    Limit(left, n);
    Limit(right, n);
    m_head.Publish();
    if (!intime) m_underruns.fetch_add(1, std::memory_order_relaxed);

    const double block = static_cast<double>(n) / m_sampleRate;
    const double share = std::chrono::duration<double>(Clock::now() - begin).count() / block;
    const double load = m_load.load(std::memory_order_relaxed);
    m_load.store(load + (share - load) * std::min(1.0, block), std::memory_order_relaxed);
}

}  // namespace host
