// How a plan whose beginning has been read ahead passes from the disk thread to the audio thread, and how
// each learns what the other has done. No locks; one thread on each side.
#pragma once

#include "host/engine/play_plan.h"

#include <atomic>
#include <cstdint>

namespace host {

struct ReadyPlan {
    PlayPlan plan;
    int ring = 0;
};

class PlanExchange {
public:
    // Disk side.

    /// Offers a plan. The one offered before must have been taken back or settled.
    void Offer(const ReadyPlan& plan) {
        m_slot = plan;
        m_offered.store(plan.plan.serial, std::memory_order_release);
    }
    /// Takes the offer back; false when the audio thread was faster.
    bool Withdraw() { return m_offered.exchange(0, std::memory_order_acquire) != 0; }
    /// The last plan that the audio thread took over or dismissed, and the ring that it plays from since.
    struct Settlement {
        uint64_t serial = 0;
        int ring = 0;
    };
    Settlement Settled() const {
        const uint64_t packed = m_settled.load(std::memory_order_acquire);
        return {packed >> 1, static_cast<int>(packed & 1)};
    }

    // Audio side.

    /// Copies an offer into *out, or returns false. [audio-thread]
    bool Accept(ReadyPlan* out) {
        // Claimed first, so that a withdrawal and a new offer cannot change the slot under the copy.
        if (m_offered.load(std::memory_order_relaxed) == 0 ||
            m_offered.exchange(0, std::memory_order_acquire) == 0)
            return false;
        *out = m_slot;
        return true;
    }
    void Settle(uint64_t serial, int ring) {  ///< [audio-thread]
        m_settled.store(serial << 1 | static_cast<uint64_t>(ring), std::memory_order_release);
    }

private:
    ReadyPlan m_slot;
    std::atomic<uint64_t> m_offered{0};
    std::atomic<uint64_t> m_settled{0};
};

}  // namespace host
