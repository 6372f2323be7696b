// What a track plays, read ahead: the disk thread fills, the audio thread takes, neither waits for the other.
//
// A stream has two rings, so that the next plan can be read ahead while the present one still plays. Frames
// are counted along the plan. A ring belongs to one plan at a time; the audio thread sees by the plan's
// serial number whether what lies in the ring is meant for it.
#pragma once

#include "host/engine/clip_player.h"
#include "host/engine/play_plan.h"

#include <array>
#include <atomic>
#include <memory>
#include <vector>

namespace host {

inline constexpr int kRings = 2;

class TrackStream {
public:
    TrackStream(std::unique_ptr<ClipPlayer> player, int sampleRate);

    // Disk side, one thread at a time.

    /// Empties a ring that the audio thread does not use, or that it uses for a plan this stream has not
    /// joined yet, and gives it to a plan; the stream sounds from that frame of the plan on.
    void Begin(int ring, uint64_t serial, int64_t from);
    /// Gives back the memory of a ring that no plan plays from or will.
    void Release(int ring);
    /// Whether the ring already belongs to that plan.
    bool Serves(int ring, uint64_t serial) const {
        return m_rings[ring].serial.load(std::memory_order_relaxed) == serial;
    }
    /// Reads up to n frames more; returns how many there was room for.
    size_t Fill(int ring, const PlayPlan& plan, size_t n);
    /// Frames that lie ready.
    int64_t Ahead(int ring) const;
    int64_t Capacity() const { return m_capacity; }

    // Audio side.

    /// Frames that follow each other in memory; `count` may be less than asked where the ring wraps.
    struct Span {
        const float* side[2] = {nullptr, nullptr};  ///< null for silence
        size_t count = 0;
        bool late = false;  ///< silence because the disk thread is behind
    };
    /// The frames of the plan from `at` on, at most n. [audio-thread]
    Span Take(int ring, uint64_t serial, int64_t at, size_t n);
    /// Gives back what lies before. [audio-thread]
    void Done(int ring, uint64_t serial, int64_t at);

private:
    struct Ring {
        std::vector<float> side[2];
        std::atomic<uint64_t> serial{0};
        std::atomic<int64_t> begin{0};    ///< where the stream joined the plan
        std::atomic<int64_t> written{0};  ///< frames before this one are there
        std::atomic<int64_t> read{0};     ///< frames before this one are done with
    };

    const std::unique_ptr<ClipPlayer> m_player;
    const int64_t m_capacity;  ///< a power of two
    std::array<Ring, kRings> m_rings;
};

}  // namespace host
