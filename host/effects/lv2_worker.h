// What an LV2 plug-in puts off from the audio thread, done on a thread of its own; what comes of it goes back
// by the audio thread. Neither way has a lock or waits for room.
#pragma once

#include "platform/byte_ring.h"

#include <lv2/worker/worker.h>

#include <atomic>
#include <mutex>
#include <semaphore>
#include <thread>
#include <vector>

namespace host {

class Lv2Worker {
public:
    /// The thread starts here; the interface and the instance stay longer.
    Lv2Worker(const LV2_Worker_Interface& plugin, LV2_Handle instance);
    /// Does what is still to be done; nobody runs the plug-in meanwhile.
    ~Lv2Worker();
    Lv2Worker(const Lv2Worker&) = delete;
    Lv2Worker& operator=(const Lv2Worker&) = delete;

    LV2_Worker_Status Schedule(uint32_t size, const void* data);  ///< [audio-thread]
    /// Gives the plug-in the answers that have come, after its run. [audio-thread]
    void Respond();
    /// Waits until all that was scheduled is done. [audio-thread, offline]
    void WaitUntilIdle() const;

    /// Work that the calling thread does itself, while this is held.
    std::unique_lock<std::mutex> HoldWork() { return std::unique_lock(m_working); }
    /// By the thread that holds the work.
    LV2_Worker_Status WorkNow(uint32_t size, const void* data);

private:
    void Run();

    const LV2_Worker_Interface& m_plugin;
    LV2_Handle m_instance;
    tarn::ByteRing m_requests, m_answers;
    std::mutex m_working;  ///< one work at a time, so one writer of answers
    std::atomic<size_t> m_pending{0};
    std::atomic<bool> m_ends{false};
    std::counting_semaphore<> m_wake{0};
    std::vector<uint8_t> m_answer;  ///< the audio thread's; never grows there
    std::thread m_thread;           ///< last: it sees the rest whole
};

}  // namespace host
