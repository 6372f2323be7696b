// Life of the console's object: identity, connection, the worker's replay, failures of the host at every
// call.
#include "console/console_plugin.h"
#include "plugin/module_state.h"
#include "tests/support/eventually.h"
#include "tests/support/fake_host.h"

#include <gtest/gtest.h>

#include <thread>

using namespace tarn;

namespace {

/// A console's object and its host.
struct Rig {
    FakeHost host;
    ComPtr<CConsoleControlPlugin> plugin{new CConsoleControlPlugin(nullptr)};

    Rig() {
        host.channels = {{1, KIND_AUDIO_TRACK, 0, u"Drums"},
                         {2, KIND_AUDIO_TRACK, 1, u"Bass"},
                         {3, KIND_AUDIO_BUS, 0, u"Rhythm"},
                         {4, KIND_MASTER, 1, u"Master"},
                         {5, KIND_BUS | KIND_SPECIAL, -2, u"Preview"}};
        EXPECT_EQ(plugin->FinalConstruct(), S_OK);
    }
    ~Rig() {
        if (plugin) plugin->Terminate();
        plugin.Reset();
        EXPECT_EQ(host.References(), 0);
    }
    void Open() {
        ASSERT_EQ(host.Initialise(*plugin), S_OK);
        host.OpenProject();
    }
    std::vector<uint64_t> Ids() {
        CriticalSectionLock lock(plugin->MainLock());
        std::vector<uint64_t> ids;
        for (const ChannelEntry* entry : plugin->Entries()) ids.push_back(entry->id.channel);
        return ids;
    }
    /// The channel on a strip of the control map.
    uint64_t OnStrip(int32_t strip) {
        CriticalSectionLock lock(plugin->MainLock());
        return plugin->Map()->StripChannel(strip).channel;
    }
};
using Id = std::vector<uint64_t>;

class Lifecycle : public testing::Test, protected Rig {};

TEST_F(Lifecycle, AnswersItsInterfacesAndNoOthers) {
    for (const GUID& iid :
         {IID_IUnknown, IID_IMPInitialise, IID_IQmTranslationInfo, IID_IMPEventFilter, IID_IPersistStream,
          IID_IPersist, IID_ISpecifyPropertyPages, IID_IMPControlSurfaceDriver}) {
        ComPtr<IUnknown> got;
        EXPECT_EQ(plugin->QueryInterface(iid, got.OutVoid()), S_OK) << iid.Data1;
        EXPECT_TRUE(got);
    }
    ComPtr<IUnknown> none;
    EXPECT_EQ(plugin->QueryInterface(IID_IPropertyPage, none.OutVoid()), E_NOINTERFACE);

    ComPtr<IPersistStream> persist;
    plugin->QueryInterface(IID_IPersistStream, persist.OutVoid());
    GUID id = CLSID_ConsolePlugin;
    EXPECT_EQ(persist->GetClassID(&id), S_OK);
    EXPECT_EQ(id, GUID{}) << "the persistent class id reads as zeros";
    EXPECT_EQ(persist->Load(nullptr), E_NOTIMPL);
    EXPECT_EQ(persist->IsDirty(), S_FALSE);

    ComPtr<IMPControlSurfaceDriver> driver;
    plugin->QueryInterface(IID_IMPControlSurfaceDriver, driver.OutVoid());
    char16_t text[260];
    EXPECT_EQ(driver->GetDeviceName(text), S_OK);
    EXPECT_EQ(std::u16string(text), u"Mixer Console");
    EXPECT_EQ(driver->GetMapName(text), S_FALSE);

    CAUUID pages{};
    EXPECT_EQ(plugin->GetPages(&pages), S_OK);
    EXPECT_EQ(pages.count, 2u);
    CoTaskMemFree(pages.ids);
}

TEST_F(Lifecycle, TheHostsLanguageReachesTheTextsOfModuleAndKernel) {
    const auto driver = [&] {
        char16_t text[64];
        EXPECT_EQ(plugin->GetDriverString(text, 64), S_OK);
        return std::u16string(text);
    };
    EXPECT_EQ(plugin->SetLCID(0, 0x407), S_OK);
    EXPECT_EQ(driver(), u"Bedienoberfläche");
    EXPECT_EQ(QmLang_GetLCID(KernelLang()), 0x407u);
    char16_t cut[3];
    EXPECT_EQ(plugin->GetDriverString(cut, 3), S_OK);
    EXPECT_EQ(std::u16string(cut), u"Be");
    EXPECT_EQ(plugin->SetLCID(0, 0), S_OK);
    EXPECT_EQ(driver(), u"Control surface");
    EXPECT_EQ(QmLang_GetLCID(KernelLang()), LCID_ENGLISH_US);
}

TEST_F(Lifecycle, OpensAProjectAndBalancesEveryReference) {
    uint32_t capabilities = 0;
    EXPECT_EQ(plugin->Initialise(host.Unknown(), nullptr, 0, 0, &capabilities), E_FAIL)
        << "needs the control flag";
    EXPECT_EQ(host.Calls(), 0);
    ASSERT_EQ(host.Initialise(*plugin), S_OK);
    EXPECT_EQ(host.capabilities, 0u) << "the console uses no MIDI";
    EXPECT_EQ(host.Connections(), 3);
    EXPECT_TRUE(Ids().empty());
    host.OpenProject();
    EXPECT_EQ(Ids(), (Id{1, 2, 5, 3, 4}));
    host.CloseProject();
    EXPECT_TRUE(Ids().empty());
    EXPECT_EQ(plugin->Terminate(), S_OK);
    EXPECT_EQ(plugin->Terminate(), S_OK) << "twice is harmless";
    EXPECT_EQ(host.Connections(), 0);
    EXPECT_EQ(host.References(), 0);
}

TEST_F(Lifecycle, AHostMayInitialiseTwiceAndForgetTerminate) {
    Open();
    EXPECT_EQ(host.Initialise(*plugin), E_UNEXPECTED);
    EXPECT_EQ(host.capabilities, UINT32_MAX) << "left as offered";
    EXPECT_EQ(host.Connections(), 3) << "the first one goes on";
    EXPECT_EQ(Ids().size(), 5u);
    ComPtr<IUnknown> last;
    plugin->QueryInterface(IID_IUnknown, last.OutVoid());
    plugin.Reset();
    EXPECT_GT(host.References(), 0);
    last.Reset();
    EXPECT_EQ(host.References(), 0);
    EXPECT_EQ(host.Connections(), 0);
    EXPECT_EQ(host.preferences[std::u16string(1, 100)], 1015) << "what it kept is kept";
}

TEST_F(Lifecycle, FollowsSingleChangesOfTheHost) {
    Open();
    host.Edit([&] { host.channels.push_back({9, KIND_AUDIO_TRACK, 2, u"Keys"}); });
    host.Control(MPCTRL_CHANNEL, CHANGE_ADDED, LEVEL_CHANNEL, 9, KIND_AUDIO_TRACK);
    EXPECT_EQ(Ids(), (Id{1, 2, 9, 5, 3, 4}));
    host.Control(MPCTRL_CHANNEL, CHANGE_ADDED, LEVEL_CHANNEL, 9, KIND_AUDIO_TRACK);
    EXPECT_EQ(Ids().size(), 6u) << "told twice, there once";

    host.Edit([&] { host.Find(9)->order = -5; });
    host.Control(MPCTRL_CHANNEL, CHANGE_ATTRIBUTES, LEVEL_CHANNEL, 9, MASK_IDENTITY);
    EXPECT_TRUE(Eventually([&] { return Ids() == std::vector<uint64_t>{9, 1, 2, 5, 3, 4}; }));
    EXPECT_EQ(plugin->Map()->ChannelCount(), 8);
    EXPECT_TRUE(Eventually([&] { return OnStrip(0) == 9 && OnStrip(2) == 2; })) << "the map's strips follow";

    host.Edit([&] { host.Find(2)->name = u"Sub"; });
    host.Control(MPCTRL_CHANNEL, CHANGE_ATTRIBUTES, LEVEL_CHANNEL, 2, MASK_NAME);
    EXPECT_TRUE(Eventually([&] {
        CriticalSectionLock lock(plugin->MainLock());
        return std::u16string(plugin->Entries()[2]->Name()) == u"Sub";
    }));

    host.Edit([&] { std::erase_if(host.channels, [](auto& c) { return c.id == 1; }); });
    host.Control(MPCTRL_CHANNEL, CHANGE_REMOVED, LEVEL_CHANNEL, 1, KIND_AUDIO_TRACK);
    EXPECT_EQ(Ids(), (Id{9, 2, 5, 3, 4}));
    host.Control(MPCTRL_CHANNEL, CHANGE_REMOVED, LEVEL_CHANNEL, 77, KIND_AUDIO_TRACK);
    host.Control(MPCTRL_CHANNEL, CHANGE_REMOVED, 0, 2, KIND_AUDIO_TRACK);
    EXPECT_EQ(Ids().size(), 5u) << "an unknown id and a level of 0 change nothing";
}

TEST_F(Lifecycle, OnlyWhatIsEnumeratedBecomesAChannel) {
    Open();
    host.Edit([&] { host.channels.push_back({9, KIND_FAMILY_40, 3, u"Video"}); });
    host.Control(MPCTRL_CHANNEL, CHANGE_ADDED, LEVEL_CHANNEL, 9, KIND_FAMILY_40);
    plugin->DrainNotifications(0);
    int32_t index = -1;
    EXPECT_EQ(plugin->FindChannel(9, &index), S_FALSE);
    EXPECT_EQ(Ids().size(), 5u);
    host.Control(MPCTRL_CHANNEL, CHANGE_REMOVED, LEVEL_CHANNEL, 9, KIND_FAMILY_40);
    plugin->DrainNotifications(0);
    EXPECT_EQ(Ids().size(), 5u);

    host.namesUnasked = true;
    MPCHANNELREC rec{};
    EXPECT_EQ(plugin->GetChannelRecord({2, 0, 0}, &rec, MASK_VOLUME), S_OK);
    EXPECT_EQ(rec.name, nullptr) << "freed: nobody asked for it";
    EXPECT_EQ(plugin->GetChannelRecord({2, 0, 0}, &rec, MASK_NAME), S_OK);
    EXPECT_EQ(std::u16string(rec.name), u"Bass");
    CoTaskMemFree(rec.name);
}

TEST_F(Lifecycle, AHostMayChangeItsChannelsWhileItIsAsked) {
    Open();
    // The question about the channel that came last brings another one, in front of it.
    uint64_t next = 100;
    host.onGet = [&](uint64_t channel) {
        if (next == 160 || (next > 100 && channel + 1 != next)) return;
        const uint64_t id = next++;
        host.Edit([&] {
            host.channels.push_back({id, KIND_AUDIO_TRACK, static_cast<int32_t>(-id), u"More"});
        });
        host.Control(MPCTRL_CHANNEL, CHANGE_ADDED, LEVEL_CHANNEL, id, KIND_AUDIO_TRACK);
    };
    host.Control(MPCTRL_CHANNEL, CHANGE_ATTRIBUTES, LEVEL_CHANNEL, 2, MASK_IDENTITY);
    plugin->DrainNotifications(0);
    EXPECT_TRUE(Eventually([&] {
        CriticalSectionLock lock(plugin->MainLock());
        return next == 160;
    }));
    {
        CriticalSectionLock lock(plugin->MainLock());
        host.onGet = nullptr;
    }
    Id expected;
    for (uint64_t id = 159; id >= 100; id--) expected.push_back(id);
    expected.insert(expected.end(), {1, 2, 5, 3, 4});
    EXPECT_EQ(Ids(), expected);
    int32_t count = 0, index = 0;
    EXPECT_EQ(plugin->GetChannelCount(&count), S_OK);
    EXPECT_EQ(count, 65);
    EXPECT_EQ(plugin->FindChannel(100, &index), S_OK);
    EXPECT_EQ(index, 59);
}

TEST_F(Lifecycle, OneSwitchAmongManyChannelsIsReadAlone) {
    host.channels.clear();
    for (uint64_t i = 1; i <= 400; i++)
        host.channels.push_back({i, KIND_AUDIO_TRACK, static_cast<int32_t>(i), u"Track"});
    Open();
    ASSERT_EQ(OnStrip(0), 1u);
    host.FailCall(0);  // counts anew
    const auto change = [&](uint64_t id, uint32_t switches) {
        host.Edit([&] { host.Find(id)->switches = switches; });
        host.Control(MPCTRL_CHANNEL, CHANGE_ATTRIBUTES, LEVEL_CHANNEL, id, MASK_SWITCHES);
    };
    change(200, SWITCH_MUTE);
    change(1, SWITCH_HIDDEN);
    EXPECT_TRUE(Eventually([&] { return OnStrip(0) == 2; })) << "a hidden one leaves the strips";
    EXPECT_LT(host.Calls(), 40) << "the others are not asked for";
}

TEST(Lifecycles, DelayedChangesAreDoneByTheWorker) {
    struct Row {
        const char16_t* preference;
        uint32_t flag;
        uint64_t channel, second;
        uint64_t gone, come;  ///< channels after it; 0 for none
    };
    for (const Row& row : {Row{u"DelayDataDeletes", CHANGE_REMOVED, 2, 0, 2, 0},
                           Row{u"DelayDataInserts", CHANGE_ADDED, 9, 0, 0, 9},
                           Row{u"DelayDataReloads", CHANGE_CTRL_REPLACED, 2, 9, 2, 9}})
        for (const bool delayed : {true, false}) {
            SCOPED_TRACE(testing::Message() << row.flag << (delayed ? " delayed" : " at once"));
            Rig rig;
            FakeHost& host = rig.host;
            if (delayed) host.preferences[row.preference] = 1;
            rig.Open();
            const auto isDone = [&] {
                int32_t index = -1;
                return (!row.gone || rig.plugin->FindChannel(row.gone, &index) == S_FALSE) &&
                       (!row.come || rig.plugin->FindChannel(row.come, &index) == S_OK);
            };
            {
                CriticalSectionLock round(rig.plugin->MainLock());  // the worker waits for it
                host.Control(MPCTRL_CHANNEL, row.flag, LEVEL_CHANNEL, row.channel, KIND_AUDIO_TRACK,
                             row.second);
                EXPECT_EQ(isDone(), !delayed) << "on the host's thread";
            }
            EXPECT_TRUE(Eventually(isDone));
        }
}

TEST(Lifecycles, SurroundCompanionsHideBehindTheirHead) {
    for (bool headFirst : {true, false}) {
        Rig rig;
        const FakeChannel head{10, KIND_SURROUND_MASTER, headFirst ? 0 : 9, u"Surround"};
        FakeChannel rear{11, KIND_MASTER, 5, u"Rear"};
        rear.pairSelector = SPEAKER_REAR;
        rig.host.channels = {head, rear, {1, KIND_AUDIO_TRACK, 0, u"A"}};
        rig.Open();
        ASSERT_EQ(rig.plugin->Entries().size(), 3u);
        for (const ChannelEntry* entry : rig.plugin->Entries())
            EXPECT_EQ(entry->HasStrip(), entry->id.channel != 11) << entry->id.channel << headFirst;
    }
}

TEST(Lifecycles, AnyFailingCallLeavesAPluginThatWorksTheNextTime) {
    for (int n = 1;; n++) {
        SCOPED_TRACE(n);
        Rig rig;
        FakeHost& host = rig.host;
        const std::map<std::u16string, int64_t> kept = {
            {u"ShowGroups", 1}, {std::u16string(1, 100), 1015}, {std::u16string(1, 201), 500}};
        host.preferences = kept;
        host.FailCall(n);
        if (host.Initialise(*rig.plugin) == S_OK) {
            host.OpenProject();
            host.Control(MPCTRL_CHANNEL, CHANGE_ATTRIBUTES, LEVEL_CHANNEL, 2, MASK_VOLUME);
            host.CloseProject();
        }
        rig.plugin->Terminate();
        const bool done = host.Calls() < n;
        ASSERT_EQ(host.References(), 0);
        ASSERT_LE(host.Connections(), 1) << "only a failing way to Unadvise may leave one";
        for (const auto& [key, value] : kept)
            ASSERT_EQ(host.preferences[key], value) << "no default over what the user chose";

        host.FailCall(0);
        rig.Open();
        ASSERT_EQ(rig.Ids(), (Id{1, 2, 5, 3, 4}));
        host.CloseProject();
        rig.plugin->Terminate();
        rig.plugin.Reset();
        ASSERT_EQ(host.References(), 0);
        host.OpenProject();  // a connection that is left over finds nobody
        if (done) {
            EXPECT_GT(n, 20);
            return;
        }
    }
}

TEST_F(Lifecycle, NotificationsFromManyThreadsWhileItTerminates) {
    for (int round = 0; round < 20; round++) {
        Open();
        std::atomic<bool> stop{false};
        std::vector<std::thread> threads;
        for (uint64_t t = 0; t < 4; t++)
            threads.emplace_back([&, t] {
                while (!stop) {
                    host.Control(MPCTRL_CHANNEL, CHANGE_ATTRIBUTES, LEVEL_CHANNEL, 1 + t,
                                 MASK_VOLUME | MASK_IDENTITY);
                    host.Control(MPCTRL_METERS);
                    host.Notify(MPNOTIFY_DISPLAY);
                    host.Notify(MPNOTIFY_PROJECT_RELOAD);
                    host.Tick();
                }
            });
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        plugin->Terminate();
        stop = true;
        for (std::thread& thread : threads) thread.join();
    }
}

}  // namespace
