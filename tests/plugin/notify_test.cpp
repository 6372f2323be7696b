// The notification dispatch of the base object: what runs when, what waits for the replay, what the page
// hears.
#include "plugin/list_page.h"
#include "plugin/opt_plugin.h"
#include "tests/support/fake_host.h"

#include <gtest/gtest.h>

using namespace tarn;

namespace {

struct PageProbe : CListPage {
    RefCount refs;
    int refreshes = 0, updates = 0;
    HRESULT QueryInterface(const GUID&, void**) override { return E_NOINTERFACE; }
    uint32_t AddRef() override { return refs.Increment(); }
    uint32_t Release() override { return refs.Decrement(); }
    HRESULT SetPageSite(IPropertyPageSite*) override { return S_OK; }
    HRESULT Activate(HWND, const RECT*, BOOL) override { return S_OK; }
    HRESULT Deactivate() override { return S_OK; }
    HRESULT GetPageInfo(PROPPAGEINFO*) override { return S_OK; }
    HRESULT SetObjects(uint32_t, IUnknown**) override { return S_OK; }
    HRESULT Show(uint32_t) override { return S_OK; }
    HRESULT Move(const RECT*) override { return S_OK; }
    HRESULT IsPageDirty() override { return S_FALSE; }
    HRESULT Apply() override { return S_OK; }
    HRESULT Help(const char16_t*) override { return S_OK; }
    HRESULT TranslateAccelerator(MSG*) override { return S_FALSE; }
    HRESULT RequestUpdate() override { return updates++, S_OK; }
    HRESULT RequestRefresh(const MPNOTIFYREC*) override { return refreshes++, S_OK; }
    HRESULT OnEvent(const MPEVENTREC*) override { return E_NOTIMPL; }
};

struct TestPlugin : COPTPlugin {
    TestPlugin() : COPTPlugin(nullptr) {}
    std::vector<std::pair<GUID, uint32_t>> seen;
    HRESULT GetPages(CAUUID*) override { return E_NOTIMPL; }
    HRESULT OnNotify(const MPNOTIFYREC* rec, uint32_t post) override {
        seen.emplace_back(rec->id, post);
        return COPTPlugin::OnNotify(rec, post);
    }
};

class Notify : public ::testing::Test {
protected:
    void SetUp() override {
        plugin = ComPtr<TestPlugin>(new TestPlugin);
        ASSERT_EQ(plugin->FinalConstruct(), S_OK);
        uint32_t capabilities = 0xFFFFFFFF;
        ASSERT_EQ(plugin->Initialise(host.Unknown(), nullptr, 0, 0, &capabilities), S_OK);
    }
    void TearDown() override {
        plugin->Terminate();
        plugin.Reset();
        EXPECT_EQ(host.References(), 0);
    }
    HRESULT Send(const GUID& id, uint32_t post, uint32_t flags = 0, uint32_t level = 0,
                 MPCHANNELID path = {}) {
        MPNOTIFYREC rec{};
        rec.id = id;
        rec.flags = flags;
        rec.level = level;
        rec.path = path;
        return plugin->OnNotify(&rec, post);
    }
    FakeHost host;
    ComPtr<TestPlugin> plugin;
};

TEST_F(Notify, EachIdAnswersAndQueuesByItsRule) {
    struct Row {
        GUID id;
        HRESULT posted, replayed;
        bool queues, refreshes;
    };
    const Row rows[] = {
        {MPNOTIFY_E4, S_OK, S_FALSE, true, true},
        {MPNOTIFY_EE, S_OK, S_FALSE, true, true},
        {MPNOTIFY_DISPLAY, S_OK, S_OK, true, true},
        {MPNOTIFY_EA, S_OK, S_OK, true, true},
        {MPNOTIFY_PROJECT_RELOAD, S_OK, S_OK, true, true},
        {MPNOTIFY_PORTS, S_OK, S_OK, false, true},
        {MPNOTIFY_EC, S_OK, S_OK, false, true},
        {MPNOTIFY_E3, S_FALSE, S_FALSE, false, false},
        {MPNOTIFY_E5, S_FALSE, S_FALSE, false, false},
        {MPNOTIFY_E7, S_FALSE, S_FALSE, false, false},
        {MPNOTIFY_E8, S_FALSE, S_FALSE, false, false},
        {MPNOTIFY_EB, S_FALSE, S_FALSE, false, false},
        {IID_IUnknown, S_FALSE, S_FALSE, false, false},
    };
    PageProbe page;
    plugin->AttachPage(&page);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.id.Data1);
        plugin->DrainNotifications(1);
        plugin->ClearStateBits(OPTSTATE_REFRESH_DUE);
        page.refreshes = 0;
        EXPECT_EQ(Send(row.id, 1), row.posted);
        EXPECT_EQ(page.refreshes, row.refreshes ? 1 : 0);
        plugin->seen.clear();
        EXPECT_EQ(plugin->DrainNotifications(0), row.queues ? S_OK : S_FALSE);
        EXPECT_EQ(plugin->seen.size(), row.queues ? 1u : 0u);
        page.refreshes = 0;
        EXPECT_EQ(Send(row.id, 0), row.replayed);
        EXPECT_EQ(page.refreshes, 0) << "a replay asks for no refresh";
    }
    EXPECT_EQ(plugin->DetachPage(nullptr), S_OK);
    EXPECT_EQ(plugin->DetachPage(nullptr), E_UNEXPECTED);
    EXPECT_EQ(page.refs.Value(), 0u);
}

TEST_F(Notify, UrgentAsksForARefreshOnlyWhenHandled) {
    PageProbe page;
    plugin->AttachPage(&page);
    plugin->ClearStateBits(OPTSTATE_REFRESH_DUE);
    Send(MPNOTIFY_E3, 1, NOTIFY_URGENT);
    EXPECT_EQ(page.refreshes, 0);
    host.Tick();
    EXPECT_EQ(page.updates, 1);
    plugin->DetachPage(&page);
}

TEST_F(Notify, ReplayKeepsTheOrderAndDiscardDropsIt) {
    const GUID ids[] = {MPNOTIFY_E4, MPNOTIFY_DISPLAY, MPNOTIFY_EA, MPNOTIFY_E4};
    for (const GUID& id : ids) Send(id, 1);
    plugin->seen.clear();
    plugin->SetStateBits(OPTSTATE_REFRESH_POSTED);
    EXPECT_EQ(plugin->DrainNotifications(0), S_OK);
    ASSERT_EQ(plugin->seen.size(), 4u);
    for (size_t i = 0; i < 4; i++) EXPECT_EQ(plugin->seen[i], std::pair(ids[i], 0u));
    EXPECT_FALSE(plugin->State() & OPTSTATE_REFRESH_POSTED);

    Send(MPNOTIFY_E4, 1);
    plugin->seen.clear();
    EXPECT_EQ(plugin->DrainNotifications(1), S_OK);
    EXPECT_TRUE(plugin->seen.empty());
}

TEST_F(Notify, TreeListsFollowTheProject) {
    // Two tracks; the second event's takes come unordered from the host.
    host.takes = {{1, 10, 100, 0, 0, 3}, {2, 20, 200, 5, 0, 1},          {2, 20, 201, 2, 1, 4},
                  {2, 20, 202, 2, 0, 4}, {2, 20, 203, 2, 0, 0xFFFFFFFF}, {2, 21, 210, 1, 0, 0}};
    ASSERT_EQ(plugin->ReloadProjectTree(1), S_OK);
    ASSERT_EQ(plugin->Tracks()->count, 2);
    EXPECT_EQ(QmList_Records<TRACKROW>(plugin->Tracks())[1].events->count, 2);
    EXPECT_EQ(host.Locks(), 0) << "every read lock is released";

    ASSERT_EQ(plugin->ApplyEventFilter(1, 0), S_OK);
    const auto takes = [&] {
        std::vector<uint64_t> ids;
        for (const TAKEROW& row : QmList_Records<TAKEROW>(plugin->FilteredEvents())) ids.push_back(row.take);
        return ids;
    };
    EXPECT_EQ(takes(), (std::vector<uint64_t>{203, 202, 201, 200})) << "start, then order, then channel";

    host.takes.erase(host.takes.begin() + 1);
    EXPECT_EQ(Send(MPNOTIFY_OBJECT, 1, CHANGE_ATTRIBUTES, LEVEL_TAKE, {2, 20, 0}), S_OK);
    EXPECT_EQ(takes().size(), 4u) << "nothing moves before the replay";
    plugin->DrainNotifications(0);
    EXPECT_EQ(takes(), (std::vector<uint64_t>{203, 202, 201}));

    Send(MPNOTIFY_OBJECT, 0, CHANGE_REMOVED, LEVEL_TRACK, {1, 0, 0});
    EXPECT_EQ(plugin->Tracks()->count, 1);
    Send(MPNOTIFY_OBJECT, 0, CHANGE_REMOVED, LEVEL_EVENT, {2, 21, 0});
    EXPECT_EQ(QmList_Records<TRACKROW>(plugin->Tracks())[0].events->count, 1);
    EXPECT_EQ(Send(MPNOTIFY_OBJECT, 0, CHANGE_REMOVED, 4, {2, 0, 0}), S_FALSE) << "no such level";
    EXPECT_EQ(Send(MPNOTIFY_OBJECT, 0, CHANGE_REMOVED, 0, {2, 0, 0}), S_FALSE);
    ASSERT_EQ(plugin->ApplyEventFilter(-1, -1), S_OK);
    EXPECT_EQ(takes().size(), 3u);
}

TEST_F(Notify, AFailingTreeReleasesItsLockAndKeepsWhatCame) {
    for (uint64_t i = 1; i <= 5; i++) host.takes.push_back({i, i, i, 0, 0, 0});
    host.FailCall(3);
    EXPECT_EQ(plugin->ReloadProjectTree(1), E_FAIL);
    EXPECT_EQ(plugin->Tracks()->count, 2);
    EXPECT_EQ(host.Locks(), 0);
}

}  // namespace
