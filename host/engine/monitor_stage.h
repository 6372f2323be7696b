// What is done to the mix on its way to the device: dim, downmix, and that it fits the outputs there are.
#pragma once

#include "host/engine/channel_strip.h"
#include "host/session/session.h"

#include <atomic>

namespace host {

/// 20 dB.
inline constexpr float kDimGain = 0.1f;

class MonitorStage {
public:
    explicit MonitorStage(int sampleRate) : m_direct(sampleRate), m_folded(sampleRate) {}

    void Set(const Monitoring& monitoring) {  ///< [any-thread]
        m_wanted.store((monitoring.dim ? 1u : 0u) | (monitoring.downmix ? 2u : 0u),
                       std::memory_order_relaxed);
    }

    /// Overwrites n frames, at most kChunkFrames, of every output. A surround mix that is downmixed, or that
    /// meets two outputs, becomes stereo by ITU-R BS.775; a stereo mix that is downmixed becomes the same
    /// sound on both sides. Changes glide over kRampSeconds. [audio-thread]
    void Process(const float* const* mix, size_t mixSides, std::span<float* const> outputs, size_t n);

private:
    std::atomic<uint32_t> m_wanted{0};
    uint32_t m_taken = UINT32_MAX;
    size_t m_mixSides = 0;
    MixWay m_direct, m_folded;  ///< side to side; as a downmix
};

}  // namespace host
