// The audio thread's work: walks along the plan, mixes the current graph, measures itself.
#pragma once

#include "host/engine/device.h"
#include "host/engine/mix_graph.h"
#include "host/engine/monitor_stage.h"
#include "host/engine/play_head.h"

#include <atomic>
#include <memory>
#include <vector>

namespace host {

class Player final : public DeviceClient {
public:
    /// `threads` as MixPool has it.
    Player(int sampleRate, size_t threads);
    ~Player();

    /// [audio-thread]
    void Render(std::span<const float* const> inputs, std::span<float* const> outputs, size_t n) override;

    /// Replaces the graph. The old one is kept until the audio thread has left it. One control thread at a
    /// time.
    void SetGraph(std::unique_ptr<MixGraph> graph);

    MonitorStage& Monitor() { return m_monitor; }
    PlayHead& Head() { return m_head; }
    const PlayHead& Head() const { return m_head; }
    double Load() const {
        return m_load.load(std::memory_order_relaxed);
    }  ///< share of real time, over about a second
    uint64_t Underruns() const {
        return m_underruns.load(std::memory_order_relaxed);
    }  ///< blocks with samples missing

private:
    MixGraph* AcquireGraph();
    bool MixChunk(MixGraph* graph, const PlayHead::Step& step, std::span<const float* const> inputs,
                  std::span<float* const> outputs, size_t done, const LiveWindow& live);

    const int m_sampleRate;
    PlayHead m_head;
    MonitorStage m_monitor;
    MixPool m_pool;
    bool m_followed = false;     ///< the pool has the audio thread's priority
    ClockTime m_blockBegan = 0;  ///< the last one
    MixBuffer m_mix{};
    std::vector<std::unique_ptr<MixGraph>>
        m_graphs;  ///< the current one last, before it those not reclaimed yet
    std::atomic<MixGraph*> m_current{nullptr};
    std::atomic<MixGraph*> m_inUse{nullptr};
    std::atomic<double> m_load{0};
    std::atomic<uint64_t> m_underruns{0};
};

}  // namespace host
