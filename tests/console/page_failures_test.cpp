// A host whose N-th call fails, for every N from opening over playing to closing: the console drops the one
// operation, and works on the next try.
#include "tests/support/fake_host.h"
#include "tests/support/page_harness.h"

#include <gtest/gtest.h>

using namespace tarn;

namespace {

class Session {
public:
    explicit Session(FakeHost& host) : m_host(host) {
        EXPECT_EQ(QmOPTPlug_CreateOPTObject(m_object.Out()), S_OK);
        m_object->QueryInterface(IID_IMPInitialise, m_init.OutVoid());
    }
    ~Session() {
        m_init.Reset();
        m_object.Reset();
    }
    bool Open() {
        uint32_t capabilities = 0;
        if (m_init->Initialise(m_host.Unknown(), nullptr, INITFLAG_CONTROL, 0, &capabilities) != S_OK)
            return false;
        m_host.OpenProject();
        return true;
    }
    /// A user's minute: look, play, drag, switch, select, and the host's changes in between. Nothing of it is
    /// asked after.
    void Work(PageHarness& page) {
        m_host.Control(MPCTRL_METERS);
        PageHarness::Settle();
        const QPoint thumb(40, 120);
        for (int y = 0; y < 300; y += 30) page.Click(thumb + QPoint(0, y));
        page.Press(thumb);
        page.Move(thumb + QPoint(0, 20));
        page.Release(thumb + QPoint(0, 20));
        page.Click(QPoint(12, 40));
        page.Click(QPoint(60, 8), Qt::ControlModifier);
        page.Key(Qt::Key_Right);
        page.Key(Qt::Key_Down);
        m_host.Control(MPCTRL_CHANNEL, CHANGE_ATTRIBUTES, LEVEL_CHANNEL, 2, MASK_IDENTITY | MASK_VOLUME);
        m_host.Notify(MPNOTIFY_PROJECT_RELOAD);
        PageHarness::Settle();
    }
    void Close() {
        m_host.CloseProject();
        m_init->Terminate();
    }
    IUnknown* Object() { return m_object.Get(); }

private:
    FakeHost& m_host;
    ComPtr<IUnknown> m_object;
    ComPtr<IMPInitialise> m_init;
};

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
            Session session(host);
            host.FailCall(n == 1 ? 0 : n - 1);
            if (session.Open()) {
                PageHarness page(session.Object(), QSize(400, 400));
                session.Work(page);
            }
            session.Close();
            if (n == 1) calls = host.Calls() + 20;
            ASSERT_EQ(host.References(), 0);

            host.FailCall(0);
            ASSERT_TRUE(session.Open());
            {
                PageHarness page(session.Object(), QSize(400, 400));
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
