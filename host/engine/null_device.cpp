#include "host/engine/device.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include <pthread.h>
#include <sched.h>

namespace host {

namespace {

class NullDevice final : public AudioDevice {
public:
    NullDevice(int sampleRate, size_t blockFrames)
        : m_sampleRate(sampleRate), m_left(blockFrames), m_right(blockFrames) {}
    ~NullDevice() override { NullDevice::Stop(); }

    void Start(DeviceClient& client) override {
        Stop();
        m_stopping = false;
        m_thread = std::thread([this, &client] { Run(client); });
    }

    void Stop() override {
        {
            const std::lock_guard lock(m_mutex);
            m_stopping = true;
        }
        m_wake.notify_all();
        if (m_thread.joinable()) m_thread.join();
    }

    std::string Name() const override { return "No device (silent clock)"; }
    int SampleRate() const override { return m_sampleRate; }
    size_t BlockFrames() const override { return m_left.size(); }
    uint64_t LateBlocks() const override { return m_late.load(std::memory_order_relaxed); }

private:
    using Clock = std::chrono::steady_clock;

    /// As the thread of a real device: else whatever else runs takes its turn of some milliseconds in the
    /// middle of a block. Not everybody is granted it.
    static void TakeRealTimeRank() {
        sched_param rank{};
        rank.sched_priority = ::sched_get_priority_min(SCHED_RR);
        ::pthread_setschedparam(::pthread_self(), SCHED_RR, &rank);
    }

    void Run(DeviceClient& client) {
        TakeRealTimeRank();
        const auto block = std::chrono::duration_cast<Clock::duration>(
            std::chrono::duration<double>(static_cast<double>(m_left.size()) / m_sampleRate));
        float* const sides[] = {m_left.data(), m_right.data()};
        auto due = Clock::now();
        for (;;) {
            client.Render({}, sides, m_left.size());
            due += block;
            const auto now = Clock::now();
            // A device has room for two blocks: what is made is due when one of them has sounded, and late
            // when the other has too. What is lost is not made up for in a burst, and a mix that is too much
            // leaves some time to everybody else.
            if (now > due + block) {
                m_late.fetch_add(1, std::memory_order_relaxed);
                due = now + block / 4;
            }
            std::unique_lock lock(m_mutex);
            if (m_wake.wait_until(lock, due, [&] { return m_stopping; })) return;
        }
    }

    const int m_sampleRate;
    std::vector<float> m_left, m_right;
    std::atomic<uint64_t> m_late{0};
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_stopping = false;
    std::thread m_thread;
};

}  // namespace

std::unique_ptr<AudioDevice> OpenNullDevice(int sampleRate, size_t blockFrames) {
    return std::make_unique<NullDevice>(sampleRate, blockFrames);
}

}  // namespace host
