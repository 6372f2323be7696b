// The levels of one channel on their way from the audio thread to whoever shows them.
#pragma once

#include "host/engine/speakers.h"

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace host {

struct MeterReading {
    std::array<float, kMaxSides> peak{};  ///< largest magnitude since the last take; 1.0 is full scale
    /// Loudness with the inertia of a VU needle: 99 % of a step in 0.3 s. A sine at full scale reads 1.0.
    std::array<float, kMaxSides> vu{};
};

/// Single writer, any number of takers; no locks. Every peak reaches exactly one taker.
class Meter {
public:
    /// [audio-thread]
    void Post(size_t side, float peak, float vu) {
        const uint32_t bits = std::bit_cast<uint32_t>(peak);  // magnitudes order like their bits
        uint32_t held = m_peak[side].load(std::memory_order_relaxed);
        while (bits > held && !m_peak[side].compare_exchange_weak(held, bits, std::memory_order_relaxed)) {
        }
        m_vu[side].store(vu, std::memory_order_relaxed);
    }

    /// Takes the peaks and clears them. [any-thread]
    MeterReading Take() {
        MeterReading reading;
        for (size_t side = 0; side < kMaxSides; side++) {
            reading.peak[side] = std::bit_cast<float>(m_peak[side].exchange(0, std::memory_order_relaxed));
            reading.vu[side] = m_vu[side].load(std::memory_order_relaxed);
        }
        return reading;
    }

private:
    std::array<std::atomic<uint32_t>, kMaxSides> m_peak{};
    std::array<std::atomic<float>, kMaxSides> m_vu{};
};

}  // namespace host
