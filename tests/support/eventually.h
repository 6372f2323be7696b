// Waiting for what another thread does.
#pragma once

#include <chrono>
#include <mutex>
#include <thread>

/// Whether the condition comes to hold; asked under the lock if there is one. The limit is only there so that
/// a fault ends the test.
template <class F>
bool Eventually(F condition, std::mutex* lock = nullptr) {
    const auto holds = [&] {
        const std::unique_lock held = lock ? std::unique_lock(*lock) : std::unique_lock<std::mutex>();
        return condition();
    };
    for (int i = 0; i < 5000 && !holds(); i++) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return holds();
}
