// A manual-reset event, and a critical section that its owner may enter again.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace tarn {

/// Recursive: host calls made inside it may come straight back.
using CriticalSection = std::recursive_mutex;
using CriticalSectionLock = std::lock_guard<CriticalSection>;

/// Stays set until it is reset. [any-thread]
class ManualResetEvent {
public:
    static constexpr uint32_t INFINITE_WAIT = 0xFFFFFFFF;

    void Set() {
        {
            std::lock_guard lock(m_mutex);
            m_set = true;
        }
        m_changed.notify_all();
    }
    void Reset() {
        std::lock_guard lock(m_mutex);
        m_set = false;
    }
    /// Waits until the event is set or `milliseconds` have passed; true when it was set.
    bool Wait(uint32_t milliseconds) {
        std::unique_lock lock(m_mutex);
        const auto isSet = [this] { return m_set; };
        if (milliseconds == INFINITE_WAIT) {
            m_changed.wait(lock, isSet);
            return true;
        }
        return m_changed.wait_for(lock, std::chrono::milliseconds(milliseconds), isSet);
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_set = false;
};

}  // namespace tarn
