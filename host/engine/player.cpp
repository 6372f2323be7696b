#include "host/engine/player.h"

#include "host/engine/denormals.h"

#include <algorithm>
#include <utility>

namespace host {

namespace {

// Share of real time from which on other threads are called to help.
constexpr double kHelpFrom = 0.15;

// A device takes what lies in -1..1; the comparison is written so that NaN becomes silence.
void Limit(float* samples, size_t n) {
    for (size_t i = 0; i < n; i++) {
        const float x = samples[i] == samples[i] ? samples[i] : 0.0f;
        samples[i] = std::clamp(x, -1.0f, 1.0f);
    }
}

}  // namespace

Player::Player(int sampleRate, size_t threads)
    : m_sampleRate(sampleRate), m_head(sampleRate), m_monitor(sampleRate), m_pool(threads) {}

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

bool Player::MixChunk(MixGraph* graph, const PlayHead::Step& step, std::span<const float* const> inputs,
                      std::span<float* const> outputs, size_t done, const LiveWindow& live) {
    std::array<const float*, kMaxDeviceInputs> recorded;
    const size_t count = std::min(inputs.size(), recorded.size());
    for (size_t i = 0; i < count; i++) recorded[i] = inputs[i] + done;
    std::array<float*, kMaxSides> into{};
    const size_t sides = std::min(outputs.size(), into.size());
    for (size_t i = 0; i < sides; i++) into[i] = outputs[i] + done;
    const std::span<float* const> chunk(into.data(), sides);
    if (!graph) {
        for (float* side : chunk) std::fill_n(side, step.n, 0.0f);
        return true;
    }
    const StreamPlace place{.serial = step.playing ? step.plan.plan.serial : 0,
                            .ring = step.plan.ring,
                            .at = step.at,
                            .plan = step.plan.plan,
                            .recorded = std::span(recorded.data(), count),
                            .live = live};
    const auto mix = m_mix.Sides();
    const bool intime = graph->Mix(place, step.n, mix.data(), m_pool);
    m_monitor.Process(mix.data(), graph->Sides(), chunk, step.n);
    if (step.fade)
        for (float* side : chunk) FadeAlongLine(side, step.line, step.n);
    for (float* side : chunk) Limit(side, step.n);
    return intime;
}

void Player::Render(std::span<const float* const> inputs, std::span<float* const> outputs, size_t n) {
    const ClockTime begin = ClockNow();
    constexpr double nanos = 1e9;
    LiveWindow live{m_blockBegan, begin, 0, m_sampleRate / nanos};
    m_blockBegan = begin;
    const FlushDenormals flush;
    if (!std::exchange(m_followed, true)) m_pool.FollowPriority();
    MixGraph* graph = AcquireGraph();
    bool intime = true;
    {
        // Help costs time to come; it is worth that where one core has much to do.
        const bool help = graph && graph->Jobs() > 2 && m_load.load(std::memory_order_relaxed) > kHelpFrom;
        const MixPool::Stretch stretch(m_pool, help);
        for (size_t done = 0; done < n;) {
            const PlayHead::Step step = m_head.Next(std::min(m_head.ToWholeChunk(), n - done));
            live.offset = done;
            intime &= MixChunk(graph, step, inputs, outputs, done, live);
            m_head.Advance(step);
            done += step.n;
        }
    }
    m_head.Publish();
    if (!intime) m_underruns.fetch_add(1, std::memory_order_relaxed);

    const double block = static_cast<double>(n) / m_sampleRate;
    const double share = static_cast<double>(ClockNow() - begin) / nanos / block;
    const double load = m_load.load(std::memory_order_relaxed);
    m_load.store(load + (share - load) * std::min(1.0, block), std::memory_order_relaxed);
}

}  // namespace host
