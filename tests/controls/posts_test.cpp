// Posts to a window from other threads.
#include "recorder_window.h"

#include <QCoreApplication>

#include <atomic>
#include <mutex>
#include <thread>

TEST(Posts, KeepTheirOrderInNestedEventLoopsToo) {
    Recorder w;
    std::vector<uintptr_t> order;
    w.also = [&](uint32_t message, uintptr_t wparam, intptr_t) {
        if (message != WM_APP) return intptr_t{0};
        order.push_back(wparam);
        if (wparam == 2) w.Post(WM_APP, 6);
        if (wparam <= 2) {
            QCoreApplication::processEvents();
            order.push_back(100 + wparam);
        }
        return intptr_t{0};
    };
    for (uintptr_t i = 1; i <= 5; i++) w.Post(WM_APP, i);
    QCoreApplication::processEvents();
    EXPECT_EQ(order, (std::vector<uintptr_t>{1, 2, 3, 4, 5, 6, 102, 101}));
}

TEST(Posts, AWindowMayDieInAMessage) {
    auto* w = new Recorder;
    const MessagePoster poster = w->Poster();
    int delivered = 0;
    w->also = [&](uint32_t message, uintptr_t, intptr_t) {
        if (message == WM_APP && ++delivered == 2) w->Destroy();
        return intptr_t{0};
    };
    for (int i = 0; i < 5; i++) EXPECT_TRUE(poster.Post(WM_APP));
    QCoreApplication::processEvents();
    EXPECT_EQ(delivered, 2);
    EXPECT_FALSE(poster.Post(WM_APP));
    delete w;
    EXPECT_FALSE(poster.Post(WM_APP));
    EXPECT_FALSE(MessagePoster().Post(WM_APP));
}

// Eight threads post to windows that open and close all the time. Half of the windows wait for some messages,
// half close with messages on their way. What arrives arrives once and in the order of its thread; nothing
// arrives at a closed window.
TEST(Posts, FromEightThreadsWhileWindowsOpenAndClose) {
    constexpr size_t kThreads = 8;
    constexpr int kWindows = 1000;
    std::mutex lock;
    MessagePoster current;
    std::atomic<bool> stop{false};
    std::atomic<uint64_t> accepted{0}, refused{0};
    std::vector<std::thread> threads;
    for (uintptr_t t = 0; t < kThreads; t++)
        threads.emplace_back([&, t] {
            intptr_t number = 0;
            while (!stop) {
                MessagePoster poster;
                {
                    std::lock_guard guard(lock);
                    poster = current;
                }
                for (int i = 0; i < 16; i++) ++(poster.Post(WM_APP + 1, t, ++number) ? accepted : refused);
                std::this_thread::yield();
            }
        });
    uint64_t delivered = 0;
    bool ordered = true;
    for (int i = 0; i < kWindows; i++) {
        Recorder w;
        size_t count = 0;
        std::vector<intptr_t> last(kThreads, 0);
        w.also = [&](uint32_t message, uintptr_t thread, intptr_t number) {
            if (message != WM_APP + 1) return intptr_t{0};
            count++;
            ordered = ordered && number > last[thread];
            last[thread] = number;
            return intptr_t{0};
        };
        {
            std::lock_guard guard(lock);
            current = w.Poster();
        }
        while (i % 2 == 0 && count < 100) QCoreApplication::processEvents();
        delivered += count;
    }
    stop = true;
    for (std::thread& t : threads) t.join();
    EXPECT_TRUE(ordered);
    EXPECT_GE(delivered, 100u * kWindows / 2);
    EXPECT_LE(delivered, accepted);
    EXPECT_GT(refused, 0u);
}
