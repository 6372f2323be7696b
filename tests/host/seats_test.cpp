// Several plug-ins at one host: each has its seat, its preferences and the ports that it asks for.
#include "host/contract/project.h"
#include "platform/memory.h"
#include "tests/support/eventually.h"

#include <gtest/gtest.h>

#include <thread>

using namespace tarn;

namespace {
using namespace host;

struct Sink final : IMPCtrlChannelSink {
    std::vector<GUID> seen;
    HRESULT QueryInterface(const GUID& iid, void** out) override {
        *out = iid == IID_IMPCtrlChannelSink ? this : nullptr;
        return *out ? S_OK : E_NOINTERFACE;
    }
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 1; }
    HRESULT OnControl(const MPCTRLREC* rec) override {
        seen.push_back(rec->id);
        return S_OK;
    }
};

/// Two devices of the same name, and one that can't be opened.
struct Driver final : MidiDriver {
    std::shared_ptr<std::atomic<int>> open = std::make_shared<std::atomic<int>>(0);
    struct Port final : MidiInput {
        std::shared_ptr<std::atomic<int>> count;
        explicit Port(std::shared_ptr<std::atomic<int>> c) : count(std::move(c)) { (*count)++; }
        ~Port() override { (*count)--; }
    };
    std::vector<std::string> InputNames() override { return {"Keys", "Keys", "Broken"}; }
    std::vector<std::string> OutputNames() override { return {"Keys"}; }
    std::unique_ptr<MidiInput> OpenInput(size_t index, OnBytes, std::string& error) override {
        if (index == 2) return error = "is in use", nullptr;
        return std::make_unique<Port>(open);
    }
    std::unique_ptr<MidiOutput> OpenOutput(size_t, std::string& error) override {
        return error = "no", nullptr;
    }
};

template <class Interface>
ComPtr<Interface> Ask(IUnknown* host, const GUID& iid) {
    ComPtr<Interface> out;
    host->QueryInterface(iid, out.OutVoid());
    return out;
}

HRESULT Preference(IUnknown* host, bool set, int64_t* number) {
    const ComPtr<IMPPropertyStore> store = Ask<IMPPropertyStore>(host, IID_IMPPropertyStore);
    MPPREFREC pref{};
    pref.size = sizeof pref;
    pref.type = PREF_UINT;
    pref.set = set;
    pref.section = u"S";
    pref.numericKey = 5;
    pref.number = *number;
    const HRESULT hr = set ? store->SetProperty(&MPPROP_PREFERENCE, 0, sizeof pref, &pref)
                           : store->GetProperty(&MPPROP_PREFERENCE, 0, 0, sizeof pref, &pref);
    *number = pref.number;
    return hr;
}
}  // namespace

TEST(Seats, ControlsAndPreferencesGoToTheirOwn) {
    Sink sinks[2];  // outlive the connections
    Project project(
        EngineOptions{.systemDevice = false, .deviceName = {}, .blockFrames = 512, .openDevice = {}});
    const Project::Seat mix = project.NewSeat(Project::Keeps::ForSession);
    const Project::Seat surface = project.NewSeat(Project::Keeps::ForUser);
    uint32_t cookies[2] = {};
    for (int i = 0; i < 2; i++) {
        const auto points =
            Ask<IConnectionPointContainer>((i ? surface : mix).host.Get(), IID_IConnectionPointContainer);
        ComPtr<IConnectionPoint> point;
        ASSERT_EQ(points->FindConnectionPoint(IID_IMPCtrlChannelSink, point.Out()), S_OK);
        ASSERT_EQ(point->Advise(&sinks[i], &cookies[i]), S_OK);
    }
    project.SendControl(MPCTRL_ACTIVATE, ACTIVATE_ON, surface.number);
    EXPECT_TRUE(sinks[0].seen.empty());
    project.SendControl(MPCTRL_LOOK, 0);
    EXPECT_EQ(sinks[0].seen, std::vector<GUID>{MPCTRL_LOOK});
    EXPECT_EQ(sinks[1].seen, (std::vector<GUID>{MPCTRL_ACTIVATE, MPCTRL_LOOK}));

    int64_t number = 7;
    EXPECT_EQ(Preference(surface.host.Get(), true, &number), S_OK);
    EXPECT_EQ(Preference(surface.host.Get(), true, &number), S_OK);
    EXPECT_EQ(project.UserPreferenceChanges(), 1u) << "the same again is no change";
    number = 1;
    EXPECT_EQ(Preference(mix.host.Get(), false, &number), S_OK);
    EXPECT_EQ(number, 1) << "the session has none";
    EXPECT_TRUE(project.Snapshot().preferences.empty());
    const Preferences kept = ParsePreferences(FormatPreferences(project.UserPreferences()));
    EXPECT_EQ(std::get<uint32_t>(kept.at({"S", 5u})), 7u);
    project.SetUserPreferences({});
    EXPECT_EQ(Preference(surface.host.Get(), false, &number), S_OK);
    EXPECT_EQ(number, 1);
    EXPECT_THROW(ParsePreferences("[{}]"), SessionError);
}

TEST(Seats, PortsAreOpenWhileAnyoneUsesThem) {
    auto driver = std::make_unique<Driver>();
    const auto open = driver->open;
    Project project(
        EngineOptions{.systemDevice = false, .deviceName = {}, .blockFrames = 512, .openDevice = {}},
        std::move(driver));
    IUnknown* host = project.PluginHost();
    MPPORTARRAY ports{};
    ASSERT_EQ(Ask<IMPPortList>(host, IID_IMPPortList)->GetPorts(PORTS_INPUT, &ports), S_OK);
    ASSERT_EQ(ports.count, 3u);
    EXPECT_EQ(std::u16string_view(ports.ports[1].name), u"Keys (2)");
    EXPECT_NE(ports.ports[0].id, ports.ports[1].id);
    EXPECT_NE(ports.ports[0].guid, project.Midi()->Outputs()[0].guid) << "of another direction";
    const auto request = [&](const GUID& id, uint32_t kind, uint64_t port) {
        const MPPORTREQUEST r{kind, 0, port, 0, 0, u"P"};
        return Ask<IMPPropertyStore>(host, IID_IMPPropertyStore)
            ->SetProperty(&id, MPPROP_TABLE, sizeof r, &r);
    };
    const uint64_t keys = ports.ports[0].id, broken = ports.ports[2].id;
    EXPECT_EQ(request(MPPROP_PORTS_BEGIN, PORTREQUEST_INPUT, keys), S_OK);
    EXPECT_EQ(request(MPPROP_PORTS_BEGIN, PORTREQUEST_INPUT, keys), S_OK);
    EXPECT_TRUE(Eventually([&] { return *open == 1; }));
    EXPECT_EQ(request(MPPROP_PORTS_END, PORTREQUEST_INPUT, keys), S_OK);
    EXPECT_EQ(request(MPPROP_PORTS_BEGIN, PORTREQUEST_INPUT, broken), S_OK);
    EXPECT_TRUE(Eventually(
        [&] { return project.Midi()->Problems() == std::vector<std::string>{"Broken: is in use"}; }));
    EXPECT_EQ(*open, 1) << "one of two users is left";
    EXPECT_EQ(request(MPPROP_PORTS_END, PORTREQUEST_INPUT, keys), S_OK);
    EXPECT_EQ(request(MPPROP_PORTS_END, PORTREQUEST_INPUT, broken), S_OK);
    EXPECT_TRUE(Eventually([&] { return *open == 0 && project.Midi()->Problems().empty(); }));
    EXPECT_EQ(request(MPPROP_PORTS_BEGIN, 7, keys), E_INVALIDARG);
    MPEVENTREC event{};
    event.type = MPNOTE_ON;
    EXPECT_EQ(Ask<IMPEventOutput>(host, IID_IMPEventOutput)->Send(keys, &event), S_FALSE) << "not in use";
    for (uint32_t i = 0; i < ports.count; i++) CoTaskMemFree(ports.ports[i].name);
    CoTaskMemFree(ports.ports);
}
