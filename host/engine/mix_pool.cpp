#include "host/engine/mix_pool.h"

#include "host/engine/denormals.h"

#include <algorithm>

#include <pthread.h>
#include <sched.h>

namespace host {

// On a core that is shared the other thread may need it first.
void Relax(unsigned turn) {
    if (turn % 64 == 63) {
        ::sched_yield();
        return;
    }
#if defined(__SSE__)
    _mm_pause();
#endif
}

MixPool::MixPool(size_t threads) {
    const size_t wanted = threads ? threads : std::max(1u, std::thread::hardware_concurrency());
    for (size_t i = 1; i < wanted; i++) m_helpers.emplace_back([this] { Help(); });
}

void MixPool::FollowPriority() {
    int policy = SCHED_OTHER;
    sched_param param{};
    if (::pthread_getschedparam(::pthread_self(), &policy, &param) != 0 || policy == SCHED_OTHER) return;
    for (std::thread& helper : m_helpers) ::pthread_setschedparam(helper.native_handle(), policy, &param);
}

MixPool::~MixPool() {
    m_quit.store(true, std::memory_order_release);
    Open();
    for (std::thread& helper : m_helpers) helper.join();
}

void MixPool::Open() {
    m_open.store(true, std::memory_order_release);
    m_wake.fetch_add(1, std::memory_order_release);
    m_wake.notify_all();
}

bool MixPool::TakeJob() {
    uint64_t left = m_left.load(std::memory_order_acquire);
    do {
        if (static_cast<uint32_t>(left) == 0) return false;
    } while (
        !m_left.compare_exchange_weak(left, left - 1, std::memory_order_acq_rel, std::memory_order_acquire));
    m_task.call(m_task.self, m_task.count - static_cast<uint32_t>(left));
    m_done.fetch_add(1, std::memory_order_release);
    return true;
}

void MixPool::Do(const Task& task) {
    if (m_helpers.empty()) {
        for (size_t i = 0; i < task.count; i++) task.call(task.self, i);
        return;
    }
    m_task = task;
    m_done.store(0, std::memory_order_relaxed);
    const uint64_t number = (m_left.load(std::memory_order_relaxed) >> 32) + 1;
    m_left.store(number << 32 | task.count, std::memory_order_release);
    while (TakeJob()) {
    }
    for (unsigned turn = 0; m_done.load(std::memory_order_acquire) != task.count; turn++) Relax(turn);
}

void MixPool::Help() {
    const FlushDenormals flush;
    for (;;) {
        const uint32_t woken = m_wake.load(std::memory_order_acquire);
        for (unsigned turn = 0; m_open.load(std::memory_order_acquire);)
            if (m_quit.load(std::memory_order_acquire))
                return;
            else if (TakeJob())
                turn = 0;
            else
                Relax(turn++);
        m_wake.wait(woken, std::memory_order_acquire);
    }
}

}  // namespace host
