// The last samples of a channel's left and right side, for a phase scope. Samples are kept only for as long
// as somebody has asked for them lately.
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace host {

/// Single writer, any number of takers; no locks. A taker that is overtaken sees a few samples of the next
/// round among its own, which a scope does not show.
class ScopeTap {
public:
    static constexpr size_t kPairs = 512;

    /// [audio-thread]
    bool Wanted() const { return m_wanted.load(std::memory_order_relaxed) > 0; }
    /// [audio-thread]
    void Put(const float* left, const float* right, size_t n) {
        const uint64_t written = m_written.load(std::memory_order_relaxed);
        for (size_t i = 0; i < n; i++) {
            const size_t at = static_cast<size_t>((written + i) % kPairs) * 2;
            m_samples[at].store(left[i], std::memory_order_relaxed);
            m_samples[at + 1].store(right[i], std::memory_order_relaxed);
        }
        m_written.store(written + n, std::memory_order_release);
        m_wanted.fetch_sub(static_cast<int64_t>(n), std::memory_order_relaxed);
    }

    /// Copies what has come since the last call, room for kPairs pairs; how many came. [any-thread]
    size_t Take(float* pairs) {
        constexpr int64_t kLately = 48000;
        m_wanted.store(kLately, std::memory_order_relaxed);
        const uint64_t written = m_written.load(std::memory_order_acquire);
        const uint64_t taken = m_taken.exchange(written, std::memory_order_relaxed);
        const auto count = static_cast<size_t>(std::min<uint64_t>(written - taken, kPairs));
        for (size_t i = 0; i < count; i++) {
            const size_t at = static_cast<size_t>((written - count + i) % kPairs) * 2;
            pairs[2 * i] = m_samples[at].load(std::memory_order_relaxed);
            pairs[2 * i + 1] = m_samples[at + 1].load(std::memory_order_relaxed);
        }
        return count;
    }

private:
    std::array<std::atomic<float>, 2 * kPairs> m_samples{};
    std::atomic<uint64_t> m_written{0}, m_taken{0};
    std::atomic<int64_t> m_wanted{0};
};

}  // namespace host
