// A control plug-in with a map: bytes of a surface through the event filter to the host's channels, and back.
#include "controlmap/xml_function_map.h"
#include "platform/text.h"
#include "plugin/catalog_names.h"
#include "plugin/control_plugin.h"
#include "tests/controlmap/map_support.h"
#include "tests/support/eventually.h"
#include "tests/support/fake_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <filesystem>
#include <thread>

using namespace tarn;

namespace {
/// A surface of four strips without a scale: a fader's travel is the gain.
class SurfacePlugin final : public COPTControlPlugin {
public:
    explicit SurfacePlugin() : COPTControlPlugin(nullptr) { m_kindMask = KIND_AUDIO_TRACK | KIND_BUS; }

    HRESULT FinalConstruct() override {
        SetMap(new CControlMap(*this, 4));
        return COPTControlPlugin::FinalConstruct();
    }
    HRESULT GetPages(CAUUID*) override { return E_NOTIMPL; }
    HRESULT UpdateEntry(const MPCTRLREC&) override { return S_OK; }
    const FunctionNames* MapNames() override { return &m_names; }
    void OnMapProblem(const std::string& problem) override { problems.push_back(problem); }
    HRESULT OnCaptureEvent(const MPEVENTREC* event) override {
        captured.push_back(*event);
        return S_OK;
    }
    using COPTControlPlugin::ClearControlBits;
    using COPTControlPlugin::SetControlBits;
    std::vector<std::string> problems;
    std::vector<MPEVENTREC> captured;

    float ShareOfGain(float gain) const override { return gain; }
    float GainOfShare(float share) const override { return share; }
    void SendEvent(const MPEVENTREC& event) override {
        const std::scoped_lock lock(m_sentLock);
        m_sent.push_back(event);
    }

    std::vector<MPEVENTREC> TakeSent() {
        const std::scoped_lock lock(m_sentLock);
        return std::exchange(m_sent, {});
    }

private:
    NameTable m_names;
    std::mutex m_sentLock;
    std::vector<MPEVENTREC> m_sent;
};

struct Stream : IMPEventStream {
    std::deque<MPEVENTREC> events;
    std::vector<uint32_t> consumed;
    uint32_t next = 0;
    bool filterEnded = false;
    std::vector<uint64_t> ports;  ///< asked for last

    HRESULT QueryInterface(const GUID&, void**) override { return E_NOINTERFACE; }
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 1; }
    HRESULT SetFilter(const MPFILTERKEY* key, uint32_t) override {
        filterEnded = !key;
        if (key) ports.assign(key->ports, key->ports + key->count);
        return S_OK;
    }
    HRESULT First(MPEVENTREC* rec, uint32_t* cookie, uint32_t* more, uint32_t types) override {
        return Next(rec, cookie, more, types);
    }
    HRESULT Next(MPEVENTREC* rec, uint32_t* cookie, uint32_t* more, uint32_t types) override {
        while (!events.empty()) {
            *rec = events.front();
            events.pop_front();
            *cookie = next++;
            *more = !events.empty();
            if (rec->type & types) return S_OK;
        }
        return S_FALSE;
    }
    HRESULT Consume(uint32_t cookie) override { return consumed.push_back(cookie), S_OK; }
};

class PluginMap : public testing::Test {
protected:
    FakeHost host;
    ComPtr<SurfacePlugin> plugin{new SurfacePlugin};

    void SetUp() override {
        host.channels = {{1, KIND_AUDIO_TRACK, 0, u"Drums"},
                         {2, KIND_AUDIO_TRACK, 1, u"Bass"},
                         {4, KIND_MASTER, 1, u"Master"}};
        ASSERT_EQ(plugin->FinalConstruct(), S_OK);
        const MPFUNCTIONMAP rows[] = {
            FunctionRow(ECMDTYPE_RECIEVE, EFUNCFLAG_VALUE, MIXFUNC_VOLUME, 0, Event(MPCNTRL_CHNG, 7)),
            FunctionRow(ECMDTYPE_SEND, EFUNCFLAG_VALUE, MIXFUNC_VOLUME, 0, Event(MPCNTRL_CHNG, 7)),
            FunctionRow(ECMDTYPE_RECIEVE, 0, MIXFUNC_MUTE, 0, Event(MPNOTE_ON, 16, 127)),
            FunctionRow(ECMDTYPE_SEND, EFUNCFLAG_STATE_ON, MIXFUNC_MUTE, 0, Event(MPNOTE_ON, 16, 127)),
            FunctionRow(ECMDTYPE_SEND, EFUNCFLAG_STATE_OFF, MIXFUNC_MUTE, 0, Event(MPNOTE_ON, 16, 0))};
        plugin->Map()->AddMap(MapOf(rows));
        plugin->Map()->SelectMap(0);
        ASSERT_EQ(host.Initialise(*plugin), S_OK);
        host.OpenProject();
    }
    void TearDown() override {
        host.CloseProject();
        plugin->Terminate();
        plugin.Reset();
        EXPECT_EQ(host.References(), 0);
    }
    Stream Filter(std::initializer_list<MPEVENTREC> events, uint32_t info = CAPABILITY_CONTROL) {
        Stream stream;
        stream.events = events;
        MPFILTERINFO filter{};
        filter.capabilities = info;
        EXPECT_EQ(plugin->FilterEvents(&stream, &filter), S_OK);
        return stream;
    }
    bool Becomes(auto condition) { return Eventually(condition, &host.lock); }
    bool SentEventually(uint8_t byte1, uint8_t byte2) {
        std::vector<MPEVENTREC> all;
        return Becomes([&] {
            for (const MPEVENTREC& e : plugin->TakeSent()) all.push_back(e);
            return std::ranges::any_of(
                all, [&](const MPEVENTREC& e) { return e.byte1 == byte1 && e.byte2 == byte2; });
        });
    }
};
}  // namespace

TEST_F(PluginMap, EventsBecomeChangesOfTheHostAndAreTakenOut) {
    const Stream stream = Filter({Event(MPCNTRL_CHNG, 7, 127), Event(MPCNTRL_CHNG, 99, 1),
                                  Event(MPNOTE_ON, 16, 127), Event(MPCNTRL_CHNG, 7, 64)});
    EXPECT_EQ(stream.consumed, (std::vector<uint32_t>{0, 2, 3}));
    EXPECT_TRUE(stream.filterEnded);
    EXPECT_TRUE(Becomes([&] { return std::abs(host.Find(1)->volume - 64 / 127.0f) < 1e-5f; }));
    EXPECT_TRUE(Becomes([&] { return host.Find(1)->switches == SWITCH_MUTE; }));
    const Stream peeked = Filter({Event(MPNOTE_ON, 16, 127)}, CAPABILITY_CONTROL | FILTER_PEEK_ONLY);
    EXPECT_EQ(peeked.consumed.size(), 1u);
    const Stream other = Filter({Event(MPNOTE_ON, 16, 127)}, 0);
    EXPECT_EQ(other.events.size(), 1u) << "not its business";
}

TEST_F(PluginMap, CapturedEventsHaveNoEffectAndASuspendedMapWaits) {
    plugin->SetControlBits(CTRLSTATE_CAPTURE);
    EXPECT_TRUE(Filter({Event(MPNOTE_ON, 16, 127)}).consumed.empty());
    ASSERT_EQ(plugin->captured.size(), 1u);
    EXPECT_EQ(plugin->captured[0].byte1, 16);
    plugin->ClearControlBits(CTRLSTATE_CAPTURE);

    host.Control(MPCTRL_SUSPEND, SUSPEND_ON);
    Filter({Event(MPNOTE_ON, 16, 127)});
    host.Control(MPCTRL_CHANNEL, CHANGE_ATTRIBUTES, LEVEL_CHANNEL, 1, MASK_NAME);  // a round of the worker
    EXPECT_EQ(host.Find(1)->switches, 0u);
    host.Control(MPCTRL_SUSPEND, 0);
    EXPECT_TRUE(Becomes([&] { return host.Find(1)->switches == SWITCH_MUTE; })) << "it waited";
}

TEST_F(PluginMap, ChangesOfTheHostReachTheSurface) {
    EXPECT_TRUE(SentEventually(7, 127)) << "the state at the beginning";
    host.Edit([&] {
        host.Find(1)->volume = 0.5f;
        host.Find(1)->switches = SWITCH_MUTE;
    });
    host.Control(MPCTRL_CHANNEL, CHANGE_ATTRIBUTES, LEVEL_CHANNEL, 1, MASK_VOLUME | MASK_SWITCHES);
    EXPECT_TRUE(SentEventually(7, 64));
    host.Edit([&] {
        host.channels.erase(host.channels.begin());
        host.Find(2)->volume = 0.25f;
    });
    host.Control(MPCTRL_CHANNEL, CHANGE_REMOVED, LEVEL_CHANNEL, 1, KIND_AUDIO_TRACK);
    EXPECT_TRUE(SentEventually(7, 32)) << "the next channel moves up";
    host.Control(MPCTRL_ACTIVATE, 0);
    EXPECT_TRUE(Filter({Event(MPNOTE_ON, 16, 127)}).consumed.empty()) << "an inactive plug-in takes nothing";
    host.Control(MPCTRL_ACTIVATE, ACTIVATE_ON);
}

TEST_F(PluginMap, EventsNotificationsAndTerminateAtOnce) {
    std::atomic<bool> stop{false};
    std::thread midi([&] {
        for (uint8_t i = 0; !stop; i = (i + 1) & 127)
            Filter({Event(MPCNTRL_CHNG, 7, i), Event(MPNOTE_ON, 16, 127)});
    });
    std::thread changes([&] {
        for (int i = 0; !stop; i++)
            host.Control(MPCTRL_CHANNEL, CHANGE_ATTRIBUTES, LEVEL_CHANNEL, 1 + i % 2, MASK_VOLUME);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    plugin->Terminate();
    stop = true;
    midi.join();
    changes.join();
}

TEST(PluginMaps, ComeBackWithTheNextRun) {
    FakeHost host;
    const auto run = [&](auto work) {
        ComPtr<SurfacePlugin> plugin(new SurfacePlugin);
        ASSERT_EQ(plugin->FinalConstruct(), S_OK);
        ASSERT_EQ(host.Initialise(*plugin), S_OK);
        work(*plugin);
        plugin->Terminate();
    };
    NameTable names;
    std::string error;
    const std::filesystem::path path = std::filesystem::temp_directory_path() / "tarn_map_test.xml";
    FUNCTIONMAPENTRY made = MapOf({}, u"Mine");
    made.channels = 4;
    ASSERT_EQ(WriteFunctionTables(path, made, names, "d", 1, error), S_OK) << error;
    FreeFunctionTables(made);

    run([&](SurfacePlugin& plugin) {
        char16_t name[OPT_NAME_SIZE];
        ComPtr<IMPControlSurfaceDriver> driver;
        plugin.QueryInterface(IID_IMPControlSurfaceDriver, driver.OutVoid());
        EXPECT_EQ(driver->GetMapName(name), S_FALSE);
        FUNCTIONMAPENTRY entry{};
        ASSERT_EQ(ReadFunctionTables(path, names, 4, entry, error), S_OK) << error;
        plugin.Map()->AddMap(std::move(entry));
        plugin.Map()->SelectMap(0);
        EXPECT_EQ(driver->GetMapName(name), S_OK);
        EXPECT_EQ(std::u16string_view(name), u"Mine");
    });
    EXPECT_EQ(host.preferences[std::u16string(1, 102)], 1);
    EXPECT_EQ(host.textPreferences[std::u16string(1, 103)], u"Mine");
    EXPECT_EQ(host.binaryPreferences[std::u16string(1, 101)].size(), 16u);
    run([&](SurfacePlugin& plugin) {
        EXPECT_EQ(plugin.Map()->GetMapCount(), 1);
        EXPECT_EQ(plugin.Map()->CurrentMap(), 0);
        EXPECT_TRUE(plugin.problems.empty());
        plugin.Map()->DeleteAll();
    });
    EXPECT_EQ(host.textPreferences[std::u16string(1, 400)], u"") << "no longer in use";
    host.preferences[std::u16string(1, 102)] = 1;
    host.textPreferences[std::u16string(1, 400)] = Utf16FromUtf8(path.string());
    std::filesystem::remove(path);
    run([&](SurfacePlugin& plugin) {
        EXPECT_EQ(plugin.Map()->GetMapCount(), 0);
        ASSERT_EQ(plugin.problems.size(), 1u);
        EXPECT_NE(plugin.problems[0].find("tarn_map_test.xml"), std::string::npos) << plugin.problems[0];
    });
}

TEST(PluginMaps, HostFunctionsHaveTheNamesOfTheHostsCatalog) {
    FakeHost host;
    host.catalog = {{1, u"Filters"}, {2, u"Delays"}, {10, u"Low cut"}, {11, u"High cut"}, {20, u"Echo"}};
    ComPtr<SurfacePlugin> plugin(new SurfacePlugin);
    ASSERT_EQ(plugin->FinalConstruct(), S_OK);
    ASSERT_EQ(host.Initialise(*plugin), S_OK);
    EXPECT_EQ(plugin->Catalog().Families(), (std::vector<uint32_t>{1, 2}));
    EXPECT_EQ(plugin->Catalog().Items(1), (std::vector<uint32_t>{10, 11}));
    EXPECT_EQ(plugin->Catalog().Items(7), std::vector<uint32_t>());
    const CatalogNames names(plugin->Catalog());
    EXPECT_EQ(names.HostFamilyName(2), "Delays");
    EXPECT_EQ(names.HostFamilyNumber("Filters"), 1u);
    EXPECT_EQ(names.HostFunctionName(1, 11), "High cut");
    EXPECT_EQ(names.HostFunctionNumber(1, "Low cut"), 10u);
    EXPECT_EQ(names.HostFunctionNumber(2, "Low cut"), 0u) << "of another family";
    EXPECT_EQ(names.HostFamilyName(9), "");
    plugin->Terminate();
    EXPECT_EQ(names.HostFamilyName(2), "") << "the host has gone";
}

TEST_F(PluginMap, TheChosenPortAloneIsHeardAndTheHostToldOfIt) {
    plugin->ChoosePort(PORTS_INPUT, 0);
    EXPECT_EQ(Filter({Event(MPCNTRL_CHNG, 99, 1)}).ports, std::vector<uint64_t>{0}) << "none";
    plugin->ChoosePort(PORTS_INPUT, 7);
    using Requests = std::vector<FakeHost::PortRequest>;
    EXPECT_EQ(host.portRequests,
              (Requests{{true, false, 7}, {true, true, 7}, {false, false, 7}, {true, false, 7}}))
        << "both ends of each use, and the output stays open when the input changes";
    host.Notify(MPNOTIFY_PORTS);
    EXPECT_EQ(host.portRequests.size(), 4u) << "nothing has changed";

    // A host tells of its ports while it opens or closes one.
    host.portRequests.clear();
    bool told = false;
    host.onPortRequest = [&] {
        if (std::exchange(told, true)) return;
        host.Edit([&] { host.ports = {8}; });
        host.Notify(MPNOTIFY_PORTS);
    };
    host.Control(MPCTRL_ACTIVATE, 0);
    host.Control(MPCTRL_ACTIVATE, ACTIVATE_ON);
    Requests expected = {{false, false, 7}, {false, true, 7}};
    EXPECT_EQ(host.portRequests, expected) << "the chosen ones have gone";
    host.Edit([&] { host.ports = {7, 8}; });
    told = false;
    host.Notify(MPNOTIFY_PORTS);
    expected.insert(expected.end(), {{true, false, 7}, {false, false, 7}});
    EXPECT_EQ(host.portRequests, expected) << "back, and gone again while it was opened";
    host.onPortRequest = nullptr;
}
