// A thing of the whole process that is made at its first use and never goes.
#pragma once

#include <atomic>
#include <mutex>

namespace tarn {

/// Where making gives null, as for lack of memory, the next use tries again. Lives in static storage.
/// [any-thread]
template <class Pointer>
class MadeOnce {
public:
    template <class Make>
    Pointer Get(Make make) {
        if (const Pointer made = m_made.load(std::memory_order_acquire)) return made;
        const std::lock_guard lock(m_guard);
        if (!m_made) m_made.store(make(), std::memory_order_release);
        return m_made;
    }

private:
    std::mutex m_guard;
    std::atomic<Pointer> m_made = nullptr;
};

}  // namespace tarn
