// The host's side of the contract, through the interfaces alone and with a listener that writes down what it
// hears.
#include "host/contract/project.h"
#include "host/contract/time.h"
#include "tests/host/engine_fixture.h"
#include "tests/support/eventually.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <functional>
#include <limits>
#include <thread>

using namespace tarn;

namespace {

using namespace host;

/// Listens to controls; what it does on hearing one is the test's.
class Listener final : public IMPCtrlChannelSink {
public:
    virtual ~Listener() = default;
    HRESULT QueryInterface(const GUID& iid, void** out) override {
        if (iid != IID_IUnknown && iid != IID_IMPCtrlChannelSink) return *out = nullptr, E_NOINTERFACE;
        *out = static_cast<IMPCtrlChannelSink*>(this);
        AddRef();
        return S_OK;
    }
    uint32_t AddRef() override { return refs.Increment(); }
    uint32_t Release() override { return refs.Decrement(); }
    HRESULT OnControl(const MPCTRLREC* rec) override {
        if (onControl) onControl(*rec);
        if (rec->id != MPCTRL_CHANNEL) return S_OK;
        std::lock_guard guard(lock);
        heard.push_back(*rec);
        return S_OK;
    }
    std::vector<MPCTRLREC> Take() {
        std::lock_guard guard(lock);
        return std::exchange(heard, {});
    }

    RefCount refs;
    std::mutex lock;
    std::vector<MPCTRLREC> heard;
    std::function<void(const MPCTRLREC&)> onControl;
};

class Contract : public ::testing::Test {
protected:
    void SetUp() override {
        drums = project.AddChannel(ChannelKind::AudioTrack, "Drums");
        bass = project.AddChannel(ChannelKind::AudioTrack, "Bass");
        bus = project.AddChannel(ChannelKind::AudioBus, "Bus");
        project.PluginHost()->QueryInterface(IID_IMPCtrlChannels, channels.OutVoid());
        project.PluginHost()->QueryInterface(IID_IMPPropertyStore, store.OutVoid());
        ComPtr<IConnectionPointContainer> container;
        project.PluginHost()->QueryInterface(IID_IConnectionPointContainer, container.OutVoid());
        ASSERT_EQ(container->FindConnectionPoint(IID_IMPCtrlChannelSink, point.Out()), S_OK);
        ASSERT_EQ(point->Advise(&listener, &cookie), S_OK);
    }
    void TearDown() override {
        if (cookie) point->Unadvise(cookie);
        EXPECT_EQ(listener.refs.Value(), 0u);
    }
    MPCHANNELREC Get(ChannelId id, uint32_t mask) {
        MPCHANNELREC rec{};
        const MPCHANNELID path{id, 0, 0};
        EXPECT_EQ(channels->Get(&path, LEVEL_CHANNEL, &rec, 0, mask), S_OK);
        return rec;
    }
    HRESULT Set(ChannelId id, uint32_t mask, MPCHANNELREC rec) {
        const MPCHANNELID path{id, 0, 0};
        return channels->Set(&path, LEVEL_CHANNEL, &rec, mask);
    }

    Listener listener;
    Project project{
        EngineOptions{.systemDevice = false, .deviceName = {}, .blockFrames = 512, .openDevice = {}}};
    ChannelId drums = 0, bass = 0, bus = 0;
    ComPtr<IMPCtrlChannels> channels;
    ComPtr<IMPPropertyStore> store;
    ComPtr<IConnectionPoint> point;
    uint32_t cookie = 0;
};

TEST_F(Contract, EnumeratesByKindInTheSessionsOrder) {
    const auto list = [&](uint32_t kinds) {
        std::vector<uint32_t> found;
        MPCHANNELREF ref{};
        MPCHANNELREC rec{};
        uint32_t more = 0;
        for (HRESULT hr = channels->First(&ref, LEVEL_CHANNEL, &rec, &more, kinds, 0); hr == S_OK;
             hr = channels->Next(&ref, LEVEL_CHANNEL, &rec, &more, kinds, 0)) {
            found.push_back(rec.kind);
            if (!more) break;
        }
        return found;
    };
    EXPECT_EQ(list(ENUM_TRACKS), (std::vector<uint32_t>{KIND_AUDIO_TRACK, KIND_AUDIO_TRACK}));
    EXPECT_EQ(list(ENUM_BUSSES).size(), 3u);
    EXPECT_TRUE(list(0).empty());
    EXPECT_LT(Get(bus, MASK_IDENTITY).order, 1);
    EXPECT_EQ(Get(bass, MASK_IDENTITY).order, 1);
}

TEST_F(Contract, SetsAreSeenHeardAndCheckedFirst) {
    listener.Take();
    MPCHANNELREC rec{};
    rec.volume = 0.5f;
    rec.automation = AUTOMATION_TOUCH;
    EXPECT_EQ(Set(drums, MASK_AUTOMATION | MASK_VOLUME, rec), S_OK);
    EXPECT_EQ(Get(drums, MASK_VOLUME).volume, 0.5f) << "a gain comes back as it went";
    std::vector<MPCTRLREC> heard = listener.Take();
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_EQ(heard[0].object.channel, drums);
    EXPECT_EQ(heard[0].flags, CHANGE_ATTRIBUTES);
    EXPECT_EQ(heard[0].kindMask, MASK_VOLUME);
    EXPECT_EQ(Set(drums, MASK_AUTOMATION | MASK_VOLUME, rec), S_OK);
    EXPECT_TRUE(listener.Take().empty()) << "nothing changed, nothing to hear";

    rec = {};
    rec.switches = SWITCH_MUTE | SWITCH_SELECTED;
    for (uint32_t mask : {MASK_SWITCHES, MASK_SWITCHES | MASK_TARGET}) EXPECT_EQ(Set(drums, mask, rec), S_OK);
    EXPECT_EQ(Get(drums, MASK_SWITCHES).switches, SWITCH_MUTE | SWITCH_SELECTED);

    struct Row {
        uint32_t mask;
        float value;
        HRESULT result;
    };
    const float nan = std::nanf(""), inf = std::numeric_limits<float>::infinity();
    for (const Row& row :
         {Row{MASK_VOLUME, nan, E_INVALIDARG}, Row{MASK_VOLUME, -1, E_INVALIDARG},
          Row{MASK_VOLUME, inf, E_INVALIDARG}, Row{MASK_PAN, nan, E_INVALIDARG}, Row{MASK_PAN, 9, S_OK},
          Row{MASK_NAME, 0, E_INVALIDARG}, Row{MASK_SEND, 0, S_FALSE}, Row{0, 0, E_NOTIMPL}}) {
        MPCHANNELREC bad{};
        bad.volume = bad.pan = row.value;
        EXPECT_EQ(Set(drums, row.mask, bad), row.result) << row.mask << " " << row.value;
    }
    EXPECT_EQ(Get(drums, MASK_PAN).pan, 1.0f) << "clamped";
    EXPECT_EQ(Get(drums, MASK_VOLUME).volume, 0.5f);

    MPCHANNELREC route{};
    route.outputTarget = bus;
    EXPECT_EQ(Set(bass, MASK_OUTPUT_ROUTE | MASK_TARGET, route), S_OK);
    route.outputTarget = bass;
    EXPECT_EQ(Set(bass, MASK_OUTPUT_ROUTE, route), E_INVALIDARG) << "no circles";
    EXPECT_EQ(Get(bass, MASK_OUTPUT_ROUTE).outputTarget, bus);
}

TEST_F(Contract, InsertRemoveAndTheOrderThatFollows) {
    listener.Take();
    MPCHANNELID id{};
    MPCHANNELREC rec{};
    rec.kind = KIND_AUDIO_TRACK;
    rec.order = 0;
    ASSERT_EQ(channels->Insert(&id, LEVEL_CHANNEL, &rec), S_OK);
    EXPECT_EQ(Get(id.channel, MASK_IDENTITY).order, 0);
    EXPECT_EQ(Get(drums, MASK_IDENTITY).order, 1);
    std::vector<MPCTRLREC> heard = listener.Take();
    ASSERT_EQ(heard.size(), 3u) << "the new one, and the two that moved";
    EXPECT_EQ(heard[0].flags, CHANGE_ADDED);
    EXPECT_EQ(heard[0].kindMask, KIND_AUDIO_TRACK);
    EXPECT_EQ(heard[1].kindMask, MASK_IDENTITY);

    EXPECT_EQ(channels->Remove(LEVEL_CHANNEL, &id), S_OK);
    EXPECT_EQ(channels->Remove(LEVEL_CHANNEL, &id), S_FALSE);
    MPCHANNELREC gone{};
    EXPECT_EQ(channels->Get(&id, LEVEL_CHANNEL, &gone, 0, MASK_VOLUME), S_FALSE);
    rec.kind = KIND_MASTER;
    EXPECT_EQ(channels->Insert(&id, LEVEL_CHANNEL, &rec), E_NOTIMPL);
    for (const Channel& channel : project.Snapshot().channels)
        if (channel.kind == ChannelKind::Master) id = {channel.id, 0, 0};
    EXPECT_EQ(channels->Remove(LEVEL_CHANNEL, &id), E_INVALIDARG) << "the master stays";

    MPCHANNELREC route{};
    route.outputTarget = bus;
    Set(bass, MASK_OUTPUT_ROUTE, route);
    EXPECT_TRUE(project.RemoveChannel(bus));
    EXPECT_EQ(Get(bass, MASK_OUTPUT_ROUTE).outputTarget, id.channel) << "what fed the bus goes where it went";
}

TEST_F(Contract, NullsZerosWrongLevelsAndWrongSizesAreAnswered) {
    MPCHANNELREC rec{};
    MPCHANNELREF ref{};
    const MPCHANNELID none{}, known{drums, 0, 0};
    uint32_t more = 0;
    EXPECT_EQ(channels->Get(nullptr, 1, &rec, 0, 0), E_POINTER);
    EXPECT_EQ(channels->Get(&known, 1, nullptr, 0, 0), E_POINTER);
    EXPECT_EQ(channels->Get(&none, 1, &rec, 0, 0), S_FALSE);
    EXPECT_EQ(channels->Get(&known, 2, &rec, 0, 0), S_FALSE);
    EXPECT_EQ(channels->Get(&known, 1, &rec, KIND_BUS, MASK_VOLUME), S_FALSE) << "another kind was asked for";
    EXPECT_EQ(channels->Set(&known, 3, &rec, MASK_VOLUME), S_FALSE);
    EXPECT_EQ(channels->First(nullptr, 1, &rec, &more, 1, 0), E_POINTER);
    EXPECT_EQ(channels->First(&ref, 7, &rec, &more, 1, 0), S_FALSE);

    uint8_t buffer[128] = {};
    EXPECT_EQ(store->GetProperty(&IID_IUnknown, 0, 0, 4, buffer), E_FAIL);
    EXPECT_EQ(store->GetProperty(nullptr, 0, 0, 4, buffer), E_POINTER);
    for (const GUID& id :
         {MPPROP_TRANSPORT, MPPROP_RANGE, MPPROP_AUDIO_FORMAT, MPPROP_PREFERENCE, MPPROP_PROJECT_INFO})
        EXPECT_EQ(store->GetProperty(&id, 0, 0, 3, buffer), E_INVALIDARG);
    EXPECT_EQ(store->SetProperty(&MPPROP_CHANNEL_MODE, 0, 4, buffer), E_FAIL) << "read only";
}

TEST_F(Contract, PreferencesOfEveryTypeLiveInTheSession) {
    const auto call = [&](MPPREFREC pref, bool set) {
        pref.size = sizeof pref;
        pref.section = u"Test";
        pref.set = set;
        const HRESULT hr = set ? store->SetProperty(&MPPROP_PREFERENCE, 0, sizeof pref, &pref)
                               : store->GetProperty(&MPPROP_PREFERENCE, 0, 0, sizeof pref, &pref);
        return std::pair(hr, pref);
    };
    MPPREFREC number{};
    number.type = PREF_UINT;
    number.numericKey = 100;
    number.number = 77;
    EXPECT_EQ(call(number, false).second.number, 77) << "the default, as nothing is stored";
    number.number = 1015;
    EXPECT_EQ(call(number, true).first, S_OK);
    number.number = 0;
    EXPECT_EQ(call(number, false).second.number, 1015);

    MPPREFREC text{};
    text.type = PREF_STRING;
    text.keyName = u"Name";
    text.numericKey = PREF_NAMED;
    char16_t value[] = u"Gr\u00FC\u00DFe";
    text.data = value;
    EXPECT_EQ(call(text, true).first, S_OK);
    text.data = nullptr;
    const MPPREFREC got = call(text, false).second;
    ASSERT_TRUE(got.data);
    EXPECT_EQ(std::u16string(static_cast<char16_t*>(got.data)), value);
    CoTaskMemFree(got.data);

    uint8_t bytes[4] = {1, 2, 3, 4}, read[4] = {};
    MPPREFREC binary{};
    binary.type = PREF_BINARY;
    binary.numericKey = 5;
    binary.data = bytes;
    binary.dataSize = 4;
    EXPECT_EQ(call(binary, true).first, S_OK);
    binary.data = read;
    EXPECT_EQ(call(binary, false).first, S_OK);
    EXPECT_EQ(read[3], 4);
    binary.dataSize = 3;
    EXPECT_EQ(call(binary, false).first, E_INVALIDARG) << "never more or less than was asked";
    EXPECT_EQ(project.Snapshot().preferences.size(), 3u);
}

TEST_F(Contract, AFaultOfTheFileSystemLeavesTheProjectAsItWas) {
    const test::TempFolder folder;
    for (const char* name : {"a", "b"}) std::filesystem::create_directory(folder / name);
    std::filesystem::create_symlink("loop.wav", folder / "a/loop.wav");
    project.SaveAs(folder / "a/s.tarn");
    for (const std::string& file :
         {std::string("loop.wav"), std::string(300, 'x'), std::string("loop.wav/c")}) {
        ASSERT_TRUE(project.EditChannel(drums, [&](Channel& c) { c.clips = {{file, 0, 0, 1, 0}}; }));
        const Session before = project.Snapshot();
        EXPECT_THROW(project.SaveAs(folder / "b/s.tarn"), SessionError) << file;
        EXPECT_EQ(project.Snapshot(), before);
        EXPECT_EQ(project.Path(), folder / "a/s.tarn");
        EXPECT_TRUE(project.IsModified());
        EXPECT_TRUE(std::filesystem::is_empty(folder / "b"));
    }
}

TEST_F(Contract, AMixNamesTheFilesThatItLacks) {
    const test::TempFolder folder;
    test::WriteWave(folder / "a.wav", 48000, 1, 4800, [](int64_t, int) { return 0.5f; });
    project.SaveAs(folder / "s.tarn");
    project.EditChannel(drums, [&](Channel& c) { c.clips = {{"a.wav", 0, 0, 1, 0}}; });
    EXPECT_TRUE(project.Render(folder / "mix.wav", 0.1).problems.empty());
    std::filesystem::remove(folder / "a.wav");
    const RenderResult mix = project.Render(folder / "mix.wav", 0.1);
    EXPECT_EQ(mix.frames, 4800);
    EXPECT_EQ(mix.problems, std::vector<std::string>{"a.wav: no such file"});
}

TEST_F(Contract, TransportAndTimesThroughTheProperties) {
    MPTIMERANGE range{kNanoRate, 3 * kNanoRate, TIMEFORMAT_NANO, 0};
    EXPECT_EQ(store->SetProperty(&MPPROP_RANGE, 0, sizeof range, &range), S_OK);
    uint32_t bits = TRANSPORT_LOOP | TRANSPORT_PLAYING;
    EXPECT_EQ(store->SetProperty(&MPPROP_TRANSPORT, 0, 4, &bits), S_OK);
    EXPECT_TRUE(project.Transport().loop.on && project.Transport().playing);
    EXPECT_EQ(project.Snapshot().loop.end, 3.0);
    bits = 0;
    store->SetProperty(&MPPROP_TRANSPORT, 0, 4, &bits);
    EXPECT_EQ(store->GetProperty(&MPPROP_TRANSPORT, 0, 0, 4, &bits), S_OK);
    EXPECT_EQ(bits, 0u);
    range.end = 0;
    EXPECT_EQ(store->SetProperty(&MPPROP_RANGE, 0, sizeof range, &range), E_INVALIDARG);

    MPJOG jog{};
    jog.size = sizeof jog;
    jog.format = TIMEFORMAT_NANO;
    jog.position = kNanoRate;
    jog.step = kNanoRate / 2;
    EXPECT_EQ(store->SetProperty(&MPPROP_JOG, 0, sizeof jog, &jog), S_OK);
    EXPECT_EQ(store->GetProperty(&MPPROP_JOG, 0, 0, sizeof jog, &jog), S_OK);
    EXPECT_EQ(jog.position, kNanoRate * 3 / 2);
    MPSHUTTLE shuttle{};
    shuttle.size = sizeof shuttle;
    shuttle.speed = -8;
    EXPECT_EQ(store->SetProperty(&MPPROP_SHUTTLE, 0, sizeof shuttle, &shuttle), S_OK);
    EXPECT_TRUE(Eventually([&] { return project.Transport().seconds == 0; })) << "back, and no further";
    bits = TRANSPORT_PLAYING;
    store->SetProperty(&MPPROP_TRANSPORT, 0, 4, &bits);
    EXPECT_EQ(store->GetProperty(&MPPROP_SHUTTLE, 0, 0, sizeof shuttle, &shuttle), S_OK);
    EXPECT_EQ(shuttle.speed, 0) << "playing ends it";
    project.Stop();
    shuttle.speed = NAN;
    EXPECT_EQ(store->SetProperty(&MPPROP_SHUTTLE, 0, sizeof shuttle, &shuttle), E_INVALIDARG);

    ComPtr<IMPTimeConverter> times;
    project.PluginHost()->QueryInterface(IID_IMPTimeConverter, times.OutVoid());
    int64_t out = 0;
    EXPECT_EQ(times->Convert(kNanoRate, TIMEFORMAT_NANO, 0, &out, 1, 0), S_OK);
    EXPECT_EQ(out, 48000);
    EXPECT_EQ(times->Convert(-48001, 1, 0, &out, TIMEFORMAT_NANO, 0), S_OK);
    EXPECT_EQ(out, -10000208) << "rounded, ties away from zero";
    EXPECT_EQ(times->Convert(INT64_MAX, 1, 1, &out, TIMEFORMAT_NANO, 0), E_INVALIDARG) << "does not fit";
    EXPECT_EQ(times->Convert(1, 99, 0, &out, 1, 0), E_INVALIDARG);
}

TEST_F(Contract, AListenerMayCallBackAndLeaveInTheCall) {
    int calls = 0;
    listener.onControl = [&](const MPCTRLREC& rec) {
        if (rec.id != MPCTRL_CHANNEL) return;
        calls++;
        Get(rec.object.channel, MASK_VOLUME);
        MPCHANNELREC other{};
        other.pan = 0.25f;
        if (rec.object.channel == drums) Set(bass, MASK_PAN, other);
        if (rec.object.channel == bass && cookie) point->Unadvise(std::exchange(cookie, 0));
    };
    project.RenameChannel(drums, "X");
    EXPECT_EQ(calls, 2);
    project.RenameChannel(drums, "Y");
    EXPECT_EQ(calls, 2) << "not called any more";
}

TEST_F(Contract, UnadviseUnderFireAndFourThreadsOfEdits) {
    point->Unadvise(std::exchange(cookie, 0));
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; t++)
        threads.emplace_back([&, t] {
            for (int i = 0; !stop; i++) {
                MPCHANNELREC rec{};
                rec.volume = static_cast<float>(i % 100) / 100;
                rec.switches = i & 1 ? SWITCH_MUTE : 0;
                Set(t & 1 ? drums : bass, MASK_VOLUME | MASK_SWITCHES, rec);
                if (t == 3) project.RemoveChannel(project.AddChannel(ChannelKind::AudioTrack, "T"));
                Get(drums, MASK_VOLUME | MASK_SWITCHES | MASK_IDENTITY);
            }
        });
    for (int i = 0; i < 3000; i++) {
        Listener own;
        std::atomic<bool> connected{true};
        own.onControl = [&](const MPCTRLREC&) { EXPECT_TRUE(connected); };
        uint32_t mine = 0;
        ASSERT_EQ(point->Advise(&own, &mine), S_OK);
        std::this_thread::yield();
        ASSERT_EQ(point->Unadvise(mine), S_OK);
        connected = false;
    }
    stop = true;
    for (std::thread& thread : threads) thread.join();
}

}  // namespace
