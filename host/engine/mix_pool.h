// A few threads that help one caller with many small jobs, without locks. Who waits inside a stretch of work
// spins, since the next jobs are microseconds away; between two stretches the helpers sleep.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <thread>
#include <vector>

namespace host {

class MixPool {
public:
    /// `threads` counts the caller; 0 is one for each core.
    explicit MixPool(size_t threads);
    ~MixPool();
    MixPool(const MixPool&) = delete;
    MixPool& operator=(const MixPool&) = delete;

    size_t Threads() const { return m_helpers.size() + 1; }

    /// Gives the helpers the calling thread's place in the system's order, where that is a real-time one and
    /// the system grants it.
    void FollowPriority();

    /// While it lives the helpers are awake. [audio-thread]
    class Stretch {
    public:
        Stretch(MixPool& pool, bool wake) : m_pool(wake && !pool.m_helpers.empty() ? &pool : nullptr) {
            if (m_pool) m_pool->Open();
        }
        ~Stretch() {
            if (m_pool) m_pool->m_open.store(false, std::memory_order_release);
        }
        Stretch(const Stretch&) = delete;
        Stretch& operator=(const Stretch&) = delete;

    private:
        MixPool* const m_pool;
    };

    /// Calls job(i) for each i below count, at most kMaxJobs, begun in rising order, and returns when all are
    /// done. One caller at a time. [audio-thread]
    template <class Job>
    void Run(size_t count, Job&& job) {
        Do({[](void* self, size_t i) { (*static_cast<std::remove_reference_t<Job>*>(self))(i); }, &job,
            count});
    }
    static constexpr size_t kMaxJobs = UINT32_MAX;

private:
    struct Task {
        void (*call)(void*, size_t) = nullptr;
        void* self = nullptr;
        size_t count = 0;
    };

    void Open();
    void Do(const Task& task);
    bool TakeJob();
    void Help();

    std::vector<std::thread> m_helpers;
    Task m_task;
    /// Number of the task above, jobs that nobody has begun below: one word, so that a helper that comes late
    /// can't begin a job of another task.
    std::atomic<uint64_t> m_left{0};
    std::atomic<size_t> m_done{0};
    std::atomic<bool> m_open{false};
    std::atomic<bool> m_quit{false};
    std::atomic<uint32_t> m_wake{0};
};

/// For loops that wait for another thread's next few instructions.
void Relax(unsigned turn);

}  // namespace host
