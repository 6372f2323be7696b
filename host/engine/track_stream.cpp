#include "host/engine/track_stream.h"

#include <algorithm>
#include <bit>

namespace host {

namespace {

constexpr double kReadAheadSeconds = 0.3;

int64_t CapacityFor(int sampleRate) {
    return static_cast<int64_t>(std::bit_ceil(static_cast<uint64_t>(kReadAheadSeconds * sampleRate)));
}

}  // namespace

TrackStream::TrackStream(std::unique_ptr<ClipPlayer> player, int sampleRate)
    : m_player(std::move(player)), m_capacity(CapacityFor(sampleRate)) {}

void TrackStream::Begin(int index, uint64_t serial, int64_t from) {
    Ring& ring = m_rings[index];
    for (auto& side : ring.side) side.resize(static_cast<size_t>(m_capacity));
    ring.begin.store(from, std::memory_order_relaxed);
    ring.written.store(from, std::memory_order_relaxed);
    ring.read.store(from, std::memory_order_relaxed);
    ring.serial.store(serial, std::memory_order_release);
}

void TrackStream::Release(int index) {
    Ring& ring = m_rings[index];
    if (ring.side[0].empty()) return;
    ring.serial.store(0, std::memory_order_relaxed);
    for (auto& side : ring.side) std::vector<float>().swap(side);
}

int64_t TrackStream::Ahead(int index) const {
    const Ring& ring = m_rings[index];
    return ring.written.load(std::memory_order_relaxed) - ring.read.load(std::memory_order_relaxed);
}

size_t TrackStream::Fill(int index, const PlayPlan& plan, size_t n) {
    Ring& ring = m_rings[index];
    const int64_t read = ring.read.load(std::memory_order_acquire);
    // Frames that the audio thread has passed without us are not worth reading any more.
    int64_t at = std::max(ring.written.load(std::memory_order_relaxed), read);
    const int64_t end = std::min(read + m_capacity, at + static_cast<int64_t>(n));
    const int64_t first = at;
    while (at < end) {
        const int64_t place = at & (m_capacity - 1);
        const int64_t count = plan.StraightFrames(at, std::min(end - at, m_capacity - place));
        m_player->Produce(plan.ProjectFrame(at), static_cast<size_t>(count), ring.side[0].data() + place,
                          ring.side[1].data() + place);
        at += count;
    }
    ring.written.store(at, std::memory_order_release);
    return static_cast<size_t>(at - first);
}

TrackStream::Span TrackStream::Take(int index, uint64_t serial, int64_t at, size_t n) {
    Ring& ring = m_rings[index];
    if (ring.serial.load(std::memory_order_acquire) != serial) return {.count = n};
    const int64_t begin = ring.begin.load(std::memory_order_relaxed);
    if (at < begin)
        return {.count = static_cast<size_t>(std::min<int64_t>(begin - at, static_cast<int64_t>(n)))};
    const int64_t ready = ring.written.load(std::memory_order_acquire) - at;
    if (ready <= 0) return {.count = n, .late = true};
    const int64_t place = at & (m_capacity - 1);
    const auto count = static_cast<size_t>(std::min({static_cast<int64_t>(n), ready, m_capacity - place}));
    return {.side = {ring.side[0].data() + place, ring.side[1].data() + place}, .count = count};
}

void TrackStream::Done(int index, uint64_t serial, int64_t at) {
    Ring& ring = m_rings[index];
    if (ring.serial.load(std::memory_order_relaxed) != serial) return;
    if (at > ring.begin.load(std::memory_order_relaxed)) ring.read.store(at, std::memory_order_release);
}

}  // namespace host
