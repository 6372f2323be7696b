// A host whose N-th call fails, for every N from opening over playing to closing: the console drops the one
// operation, and works on the next try.
#include "tests/support/page_harness.h"

#include <gtest/gtest.h>

namespace {

/// A user's minute: look, play, drag, switch, select, and the host's changes in between. Nothing of it is
/// asked after.
void Work(FakeHost& host, PageHarness& page) {
    host.Control(MPCTRL_METERS);
    PageHarness::Settle();
    constexpr int PANE = 172;  // the list of channels
    const QPoint thumb(PANE + 40, 120);
    for (int y = 0; y < 300; y += 30) page.Click(thumb + QPoint(0, y));
    page.Press(thumb);
    page.Move(thumb + QPoint(0, 20));
    page.Release(thumb + QPoint(0, 20));
    page.Click(QPoint(PANE + 12, 40));
    page.Click(QPoint(PANE + 60, 8), Qt::ControlModifier);
    page.Click(QPoint(20, 30));
    page.RunCommand(50057);
    page.RunCommand(50067);
    page.RunCommand(50067);
    page.Key(Qt::Key_Right);
    page.Key(Qt::Key_Down);
    host.Control(MPCTRL_CHANNEL, CHANGE_ATTRIBUTES, LEVEL_CHANNEL, 2, MASK_IDENTITY | MASK_VOLUME);
    host.Notify(MPNOTIFY_PROJECT_RELOAD);
    PageHarness::Settle();
}

TEST(PageFailures, EveryFailingCallLeavesAConsoleThatWorksOnTheNextTry) {
    // The worker's calls come among the page's in no fixed order, so the count of a clean run is only about
    // right.
    int calls = 0;
    for (int n = 1; n <= std::max(calls, 1); n++) {
        SCOPED_TRACE(n);
        FakeHost host;
        host.transport = TRANSPORT_PLAYING;
        host.channels = {{1, KIND_AUDIO_TRACK, 0, u"Drums"},
                         {2, KIND_AUDIO_TRACK, 1, u"Bass"},
                         {3, KIND_MASTER, 0, u"Master"}};
        {
            ConsoleSession session(host);
            host.FailCall(n == 1 ? 0 : n - 1);
            if (session.Open() == S_OK) {
                PageHarness page(session.Object(), QSize(580, 400));
                Work(host, page);
            }
            session.Close();
            if (n == 1) calls = host.Calls() + 20;
            ASSERT_EQ(host.References(), 0);

            host.FailCall(0);
            ASSERT_EQ(session.Open(), S_OK);
            {
                PageHarness page(session.Object(), QSize(580, 400));
                ASSERT_TRUE(PageHarness::Until([&] {
                    return page.Channels() == QStringList{"Drums", "Bass", "Master"};
                }));
                const QPoint thumb = page.Centre(QStringLiteral("Bass"), QStringLiteral("Volume"));
                page.Press(thumb);
                page.Move(thumb + QPoint(0, 30));
                page.Release(thumb + QPoint(0, 30));
                std::lock_guard guard(host.lock);
                ASSERT_NE(host.Find(2)->volume, 1.0f);
                ASSERT_FALSE(host.Find(2)->touched);
            }
            session.Close();
        }
        ASSERT_EQ(host.References(), 0);
    }
    EXPECT_GT(calls, 60);
}

}  // namespace
