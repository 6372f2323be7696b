// Host callbacks on eight threads while the page opens and closes, and while it is being worked.
#include "tests/support/page_harness.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <thread>

namespace {

TEST(PageThreads, EightThreadsOfCallbacksWhileThePageOpensAndCloses) {
    FakeHost host;
    for (uint64_t i = 1; i <= 12; i++)
        host.channels.push_back(
            {i, i < 10 ? KIND_AUDIO_TRACK : KIND_AUDIO_BUS, static_cast<int32_t>(i), u"Channel"});
    host.transport = TRANSPORT_PLAYING;
    std::optional<ConsoleSession> console(host);
    ASSERT_EQ(console->Open(), S_OK);

    std::atomic<bool> stop{false};
    std::atomic<int> callbacks{0};
    std::vector<std::thread> threads;
    for (uint64_t t = 0; t < 8; t++)
        threads.emplace_back([&, t] {
            uint32_t random = static_cast<uint32_t>(t) * 7919 + 1;
            while (!stop) {
                random = random * 1664525 + 1013904223;
                const uint64_t id = 1 + (random >> 8) % 12;
                switch (random >> 24 & 7) {
                case 0:
                    host.Control(MPCTRL_CHANNEL, CHANGE_REMOVED, LEVEL_CHANNEL, id, KIND_AUDIO_TRACK);
                    host.Control(MPCTRL_CHANNEL, CHANGE_ADDED, LEVEL_CHANNEL, id, KIND_AUDIO_TRACK);
                    break;
                case 1:
                    host.Control(MPCTRL_CHANNEL, CHANGE_ATTRIBUTES, LEVEL_CHANNEL, id, MASK_IDENTITY);
                    break;
                case 2: host.Notify(MPNOTIFY_DISPLAY, NOTIFY_URGENT, 0, {}, 1); break;
                case 3: host.Control(MPCTRL_METERS); break;
                case 4: host.Tick(); break;
                case 5: host.Notify(MPNOTIFY_PROJECT_RELOAD); break;
                default:
                    host.Control(MPCTRL_CHANNEL, CHANGE_ATTRIBUTES, LEVEL_CHANNEL, id, MASK_VOLUME);
                    break;
                }
                callbacks++;
            }
        });
    {
        PageHarness page(console->Object(), QSize(500, 300));
        for (int round = 0; round < 75 || callbacks < 5000; round++) {
            page.Close();
            ASSERT_EQ(page.Open(console->Object()), S_OK);
            if (round % 8 == 0) PageHarness::Settle();
        }
        stop = true;
        for (std::thread& thread : threads) thread.join();
        // Everything has been told; at the end the page shows what the host has.
        host.Notify(MPNOTIFY_PROJECT_RELOAD);
        EXPECT_TRUE(PageHarness::Until([&] { return page.Channels().size() == 12; }));
    }
    console->Close();
    console.reset();
    EXPECT_EQ(host.References(), 0);
}

}  // namespace
