// What the contract says of every kind of channel, of their sends, effects, routes and automation.
#include "host/contract/automation_writer.h"
#include "host/contract/effect_catalog.h"
#include "host/contract/project.h"
#include "host/contract/undo_list.h"
#include "tests/host/engine_fixture.h"
#include "tests/host/test_effects.h"
#include "tests/support/eventually.h"

#include <gtest/gtest.h>

using namespace tarn;

namespace {

using namespace host;

class Library final : public EffectLibrary {
public:
    std::unique_ptr<Effect> Make(std::string_view uri, int sampleRate) override {
        return m_effects.Make(uri, sampleRate);
    }
    std::vector<EffectInfo> List() const override {
        return {
            {.uri = "urn:gain",
             .name = "Maker Gain",
             .maker = "Maker",
             .family = "Level",
             .inputs = 2,
             .outputs = 2},
            {.uri = "urn:half", .name = "Half", .family = "Level", .inputs = 2, .outputs = 2},
            {.uri = "urn:keys", .name = "Keys", .family = "Instrument", .outputs = 2, .instrument = true}};
    }

private:
    test::TestEffects m_effects;
};

class ContractParts : public ::testing::Test, public IMPCtrlChannelSink {
protected:
    void SetUp() override {
        project.PluginHost()->QueryInterface(IID_IMPCtrlChannels, channels.OutVoid());
        project.PluginHost()->QueryInterface(IID_IMPPropertyStore, store.OutVoid());
        ComPtr<IConnectionPointContainer> container;
        project.PluginHost()->QueryInterface(IID_IConnectionPointContainer, container.OutVoid());
        container->FindConnectionPoint(IID_IMPCtrlChannelSink, point.Out());
        ASSERT_EQ(point->Advise(this, &cookie), S_OK);
        track = project.AddChannel(ChannelKind::AudioTrack, "Track");
        fx = project.AddChannel(ChannelKind::Fx, "Room");
        synth = project.AddChannel(ChannelKind::Synth, "Synth");
        heard.clear();
    }
    void TearDown() override { point->Unadvise(cookie); }

    HRESULT QueryInterface(const GUID&, void** out) override {
        *out = static_cast<IMPCtrlChannelSink*>(this);
        return S_OK;
    }
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 1; }
    HRESULT OnControl(const MPCTRLREC* rec) override {
        if (rec->id == MPCTRL_CHANNEL) heard.push_back({rec->flags, rec->level, rec->kindMask});
        return S_OK;
    }
    struct Heard {
        uint32_t flags, level, mask;
        friend bool operator==(const Heard&, const Heard&) = default;
    };
    std::vector<Heard> Take() { return std::exchange(heard, {}); }

    static uint32_t LevelOf(const MPCHANNELID& id) { return id.subSub ? 3 : id.sub ? 2 : 1; }
    HRESULT Get(const MPCHANNELID& id, uint32_t mask, MPCHANNELREC* rec) {
        return channels->Get(&id, LevelOf(id), rec, 0, mask);
    }
    MPCHANNELREC Got(const MPCHANNELID& id, uint32_t mask, uint32_t pair = 0) {
        MPCHANNELREC rec{};
        rec.pairSelector = pair;
        EXPECT_EQ(Get(id, mask, &rec), S_OK) << mask;
        return rec;
    }
    HRESULT Set(const MPCHANNELID& id, uint32_t mask, MPCHANNELREC rec) {
        return channels->Set(&id, LevelOf(id), &rec, mask);
    }
    std::vector<MPCHANNELREF> List(MPCHANNELREF ref, uint32_t level, uint32_t kinds) {
        std::vector<MPCHANNELREF> rows;
        uint32_t more = 0;
        for (HRESULT hr = channels->First(&ref, level, nullptr, &more, kinds, 0);
             hr == S_OK && rows.size() < 99; hr = channels->Next(&ref, level, nullptr, &more, kinds, 0)) {
            rows.push_back(ref);
            if (!more) break;
        }
        return rows;
    }
    MPCHANNELID InsertEffect(ChannelId channel, const char* uri, int32_t order = -1) {
        MPCHANNELID id{channel, 0, 0};
        MPCHANNELREC rec{};
        rec.order = order;
        rec.effectClass = ClassOfUri(uri);
        EXPECT_EQ(channels->Insert(&id, LEVEL_SUB_OBJECT, &rec), S_OK);
        return id;
    }
    const Channel* Find(ChannelId id) { return FindChannel(session = project.Snapshot(), id); }

    EngineOptions Options() {
        EngineOptions options;
        options.systemDevice = false;
        options.effects = std::make_shared<Library>();
        return options;
    }
    std::vector<Heard> heard;
    Session session;
    Project project{Options()};
    ChannelId track = 0, fx = 0, synth = 0;
    ComPtr<IMPCtrlChannels> channels;
    ComPtr<IMPPropertyStore> store;
    ComPtr<IConnectionPoint> point;
    uint32_t cookie = 0;
};

TEST_F(ContractParts, EveryKindIsMadeListedAndCounted) {
    struct Row {
        uint32_t kind, mask;
        int32_t order;
    };
    for (const Row& row : {Row{KIND_AUDIO_TRACK, ENUM_TRACKS, 1}, Row{KIND_MIDI_TRACK, ENUM_TRACKS, 2},
                           Row{KIND_AUDIO_BUS, ENUM_BUSSES, 0}, Row{KIND_FX, ENUM_BUSSES, 1},
                           Row{KIND_SYNTH, ENUM_BUSSES, 1}, Row{KIND_INPUT_BUS, ENUM_BUSSES, 0}}) {
        const size_t before = List({}, LEVEL_CHANNEL, row.mask).size();
        MPCHANNELID id{};
        MPCHANNELREC rec{};
        rec.kind = row.kind;
        rec.order = ORDER_APPEND;
        ASSERT_EQ(channels->Insert(&id, LEVEL_CHANNEL, &rec), S_OK) << row.kind;
        EXPECT_EQ(List({}, LEVEL_CHANNEL, row.mask).size(), before + 1);
        EXPECT_EQ(Got(id, MASK_IDENTITY).kind, row.kind);
        EXPECT_EQ(Got(id, MASK_IDENTITY).order, row.order) << row.kind;
    }
    MPAUDIOFORMAT format{};
    EXPECT_EQ(store->GetProperty(&MPPROP_AUDIO_FORMAT, 0, 0, sizeof format, &format), S_OK);
    EXPECT_EQ(format.inserts[INSERT_FX].count, 2u);
    EXPECT_EQ(format.inserts[INSERT_FX].limit, 128u);
}

TEST_F(ContractParts, SendsAreObjectsAndTheCurrentOneOfAChannel) {
    const MPCHANNELID channel{track, 0, 0};
    MPCHANNELREC rec{};
    EXPECT_EQ(Get(channel, MASK_SEND, &rec), S_FALSE) << "no send, and none chosen";
    rec.sendTarget = track;
    EXPECT_EQ(Set(channel, MASK_SEND | MASK_TARGET, rec), E_INVALIDARG) << "takes no sends";
    rec.sendTarget = fx;
    EXPECT_EQ(Set(channel, MASK_SEND | MASK_TARGET, rec), S_OK);
    EXPECT_EQ(Got(channel, MASK_SEND).sendLevel, 0.0f) << "silence, until it is turned up";
    EXPECT_TRUE(Find(track)->sends.empty());
    rec.sendLevel = 0.5f;
    rec.sendSwitches = SENDSWITCH_PRE;
    EXPECT_EQ(Set(channel, MASK_SEND, rec), S_OK);
    ASSERT_EQ(Find(track)->sends.size(), 1u);
    EXPECT_TRUE(Find(track)->sends[0].pre_fader);

    const MPCHANNELID send{track, Find(track)->sends[0].id, 0};
    EXPECT_EQ(Got(send, MASK_SEND).sendTarget, fx);
    EXPECT_TRUE(Got(send, MASK_FIXED).switches & SWITCH_SEND);
    Take();
    rec = Got(send, MASK_VOLUME | MASK_PAN);
    rec.volume = 0.25f;
    rec.pan = -1;
    EXPECT_EQ(Set(send, MASK_VOLUME | MASK_PAN, rec), S_OK);
    EXPECT_EQ(Take(), (std::vector<Heard>{{CHANGE_ATTRIBUTES, 2, MASK_SEND | MASK_PAN},
                                          {CHANGE_ATTRIBUTES, 1, MASK_SEND}}));
    EXPECT_EQ(Got(channel, MASK_SEND).sendLevel, 0.25f);

    MPCHANNELID back{fx, 0, 0};
    rec = {};
    rec.sendTarget = fx;
    EXPECT_EQ(channels->Insert(&back, LEVEL_SUB_OBJECT, &rec), E_INVALIDARG) << "no circles";
    EXPECT_NE(project.Refusal().find("Room"), std::string::npos) << project.Refusal();
    project.EditChannel(track, [&](Channel& c) {
        c.automation = {{{AutomationTarget::SendLevel, c.sends[0].id, {}}, {{0, -6}}}};
    });
    EXPECT_TRUE(project.RemoveChannel(fx)) << "what led there goes with it, and its automation";
    EXPECT_TRUE(Find(track)->sends.empty() && Find(track)->automation.empty());
}

TEST_F(ContractParts, EffectsByClassMovedBypassedAndTakenOut) {
    Take();
    const MPCHANNELID gain = InsertEffect(track, "urn:gain");
    EXPECT_EQ(Take(),
              (std::vector<Heard>{{CHANGE_ADDED, 2, KIND_AUDIO_TRACK}, {CHANGE_ATTRIBUTES, 1, MASK_CHAIN}}));
    const MPCHANNELID half = InsertEffect(track, "urn:half", 0);
    EXPECT_EQ(Got(gain, MASK_EFFECT_POSITION).effectTarget, 1u);
    MPCHANNELREC rec = Got(gain, MASK_EFFECT_STATE);
    EXPECT_EQ(rec.effectParam, 1u);
    rec.effectState |= EFFECT_BYPASSED;
    rec.effectTarget = 0;
    EXPECT_EQ(Set(gain, MASK_EFFECT_STATE | MASK_EFFECT_POSITION, rec), S_OK);
    EXPECT_EQ(Find(track)->inserts[0].uri, "urn:gain");
    EXPECT_TRUE(Find(track)->inserts[0].bypass);
    rec = Got(gain, MASK_LONG_NAME | MASK_SHORT_NAME);
    EXPECT_EQ(std::u16string(rec.effectLongName) + rec.effectShortName, u"Maker GainGain");
    CoTaskMemFree(rec.effectLongName);
    CoTaskMemFree(rec.effectShortName);

    const std::vector<MPCHANNELREF> parameters =
        List({track, nullptr, gain.sub, nullptr}, LEVEL_PARAMETER, 0);
    ASSERT_EQ(parameters.size(), 1u);
    const MPCHANNELID parameter{track, gain.sub, parameters[0].sub >> 32};
    rec.automation = AUTOMATION_LATCH;
    EXPECT_EQ(Set({track, 0, 0}, MASK_AUTOMATION, rec), S_OK);
    EXPECT_EQ(Got(parameter, MASK_AUTOMATION).automation, AUTOMATION_LATCH);
    rec = Got({track, 0, 0}, MASK_ALL);
    EXPECT_EQ(rec.effectParam, 2u) << "the whole record has the chain";
    CoTaskMemFree(rec.name);
    rec = Got(parameter, MASK_VOLUME);
    rec.volume = (rec.aux + rec.insertLevel) / 2;
    EXPECT_EQ(Set(parameter, MASK_VOLUME, rec), S_OK);
    EXPECT_EQ(Got(parameter, MASK_VOLUME).volume, rec.volume);

    EXPECT_EQ(List({track, nullptr, 0, nullptr}, LEVEL_SUB_OBJECT, 0).size(), 2u);
    EXPECT_EQ(channels->Remove(LEVEL_SUB_OBJECT, &half), S_OK);
    EXPECT_EQ(channels->Remove(LEVEL_SUB_OBJECT, &half), S_FALSE);
    EXPECT_EQ(Get(half, MASK_EFFECT_STATE, &rec), S_FALSE);

    const auto refused = [&](ChannelId channel, const char* uri) {
        MPCHANNELREC effect{};
        effect.effectClass = ClassOfUri(uri);
        return Set({channel, 0, 0}, MASK_CHAIN, effect);
    };
    EXPECT_EQ(refused(track, "urn:unknown"), E_INVALIDARG);
    EXPECT_EQ(refused(track, "urn:keys"), E_INVALIDARG) << "an instrument is for synths";
    EXPECT_EQ(refused(synth, "urn:keys"), S_OK);
    EXPECT_EQ(Find(synth)->instrument->uri, "urn:keys");
}

TEST_F(ContractParts, TheCatalogListsFamiliesAndTheirEffects) {
    ComPtr<IMPPlugInCatalog> catalog;
    ASSERT_EQ(project.PluginHost()->QueryInterface(IID_IMPPlugInCatalog, catalog.OutVoid()), S_OK);
    std::u16string seen;
    uint32_t family = 0, moreFamilies = 0;
    MPCATALOGREC rec{};
    for (HRESULT hr = catalog->First(&family, 1, &rec, &moreFamilies, 0); hr == S_OK;
         hr = catalog->Next(&family, 1, &rec, &moreFamilies, 0)) {
        seen += std::u16string(rec.name) + u":";
        CoTaskMemFree(rec.name);
        uint32_t item = family, more = 0;
        for (HRESULT inner = catalog->First(&item, 2, &rec, &more, 0); inner == S_OK;
             inner = catalog->Next(&item, 2, &rec, &more, 0)) {
            seen += std::u16string(rec.name) + u" ";
            CoTaskMemFree(rec.name);
            MPCATALOGITEM data{};
            EXPECT_EQ(catalog->GetItemData(&item, &data), S_OK);
            EXPECT_NE(data.effectClass, GUID{});
            if (!more) break;
        }
        if (!moreFamilies) break;
    }
    EXPECT_EQ(seen, u"Level:Maker Gain Half Instrument:Keys ");
}

TEST_F(ContractParts, RoutesLeadToEntriesAndChannels) {
    const MPCHANNELID channel{track, 0, 0};
    const std::vector<MPCHANNELREF> inputs = List({}, LEVEL_SUB_OBJECT, KIND_INPUT_BUS);
    ASSERT_GE(inputs.size(), 3u) << "a pair and its two channels at least";
    MPCHANNELREC rec{};
    rec.inputTarget = inputs.back().channel;
    EXPECT_EQ(Set(channel, MASK_INPUT_ROUTE | MASK_TARGET, rec), S_OK);
    EXPECT_EQ(Got(channel, MASK_INPUT_ROUTE).inputTarget, inputs.back().channel);
    EXPECT_TRUE(Find(track)->input.mono);
    rec.inputTarget = synth;
    EXPECT_EQ(Set(channel, MASK_INPUT_ROUTE | MASK_TARGET, rec), S_OK);
    rec.inputTarget++;
    rec.outputTarget = List({}, LEVEL_SUB_OBJECT, KIND_OUTPUT_ENTRY).at(0).channel;
    EXPECT_EQ(Set(channel, MASK_INPUT_ROUTE | MASK_OUTPUT_ROUTE | MASK_TARGET, rec), E_INVALIDARG)
        << "not the device";
    EXPECT_EQ(Find(track)->input.channel, synth);
    EXPECT_EQ(Got({rec.outputTarget, 0, 0}, MASK_IDENTITY).kind, KIND_OUTPUT_ENTRY);
    EXPECT_EQ(Get({fx, 0, 0}, MASK_INPUT_ROUTE, &rec), S_FALSE) << "has no input";
}

TEST_F(ContractParts, ASurroundMasterIsAGroupAndTracksHaveTheirPlace) {
    const test::TempFolder folder;
    Session surround = project.Snapshot();
    surround.mode = ChannelMode::Surround51;
    SaveSession(surround, folder / "s.tarn");
    project.Open(folder / "s.tarn");
    const std::vector<MPCHANNELREF> heads = List({}, LEVEL_CHANNEL, KIND_NO_STRIP);
    ASSERT_EQ(heads.size(), 1u);
    const MPCHANNELREC head = Got({heads[0].channel, 0, 0}, MASK_IDENTITY);
    EXPECT_EQ(head.kind, KIND_SURROUND_MASTER | KIND_NO_STRIP);
    const MPCHANNELID rear = MPCHANNELREC_Companion(head, 1);
    EXPECT_EQ(Got(rear, MASK_IDENTITY).pairSelector, SPEAKER_REAR);
    MPCHANNELREC rec{};
    rec.volume = rec.linkedVolume = 0.5f;
    EXPECT_EQ(Set(rear, MASK_VOLUME, rec), S_OK);
    EXPECT_EQ(Got({heads[0].channel, 0, 0}, MASK_VOLUME, SPEAKER_REAR).volume, 0.5f);
    EXPECT_EQ(Got({heads[0].channel, 0, 0}, MASK_VOLUME).volume, 1.0f) << "the front is another";
    rec.pairSelector = SPEAKER_REAR;
    rec.pan = -1;
    EXPECT_EQ(Set({track, 0, 0}, MASK_PAN, rec), S_OK);
    EXPECT_EQ(Find(track)->place.y, -1);
    EXPECT_EQ(Find(track)->pan, 0);
}

TEST_F(ContractParts, ModesMonitoringAndCommandsAreKept) {
    MPCHANNELREC rec{};
    for (const auto& [word, mode] :
         {std::pair{AUTOMATION_TOUCH_MODE, AutomationMode::Touch}, {0u, AutomationMode::Off}}) {
        rec.automation = word;
        EXPECT_EQ(Set({track, 0, 0}, MASK_AUTOMATION, rec), S_OK);
        EXPECT_EQ(Find(track)->automation_mode, mode);
    }
    rec.automation = 3;
    EXPECT_EQ(Set({track, 0, 0}, MASK_AUTOMATION, rec), E_INVALIDARG);
    rec.switches = SWITCH_SURFACE;
    EXPECT_EQ(Set({track, 0, 0}, MASK_SWITCHES | MASK_TARGET, rec), S_FALSE) << "clears nothing";

    MPTOOLBAR bar{sizeof bar, MONITORING_DIM, 0};
    EXPECT_EQ(store->SetProperty(&MPPROP_TOOLBAR, 0, sizeof bar, &bar), S_OK);
    EXPECT_TRUE(project.Snapshot().monitoring.dim);

    const MPCOMMAND rows[] = {{u"Show.All", u"Show all", 50047, 0}};
    MPCOMMANDREG commands{};
    commands.size = sizeof commands;
    commands.action = COMMANDS_REGISTER;
    commands.commands = rows;
    commands.commandCount = 1;
    commands.name = u"Mix Console";
    EXPECT_EQ(store->SetProperty(&MPPROP_COMMANDS, 0, sizeof commands, &commands), S_OK);
    ASSERT_EQ(project.Commands().size(), 1u);
    EXPECT_EQ(project.Commands()[0].name, "Show.All");
    commands.action = COMMANDS_UNREGISTER;
    EXPECT_EQ(store->SetProperty(&MPPROP_COMMANDS, 0, sizeof commands, &commands), S_OK);
    EXPECT_TRUE(project.Commands().empty());
}

// A hand at a console while it plays, and the same sound without it.
TEST(Automation, WhatAHandHasDonePlaysAgain) {
    for (const uint32_t mode : {AUTOMATION_TOUCH_MODE, AUTOMATION_LATCH}) {
        const test::TempFolder folder;
        test::WriteWave(folder / "10.wav", 48000, 2, 48000, [](int64_t, int) { return 0.25f; });
        SaveSession(test::TracksSession({10}, 1), folder / "hand.tarn");
        test::HandDevice* device = nullptr;
        EngineOptions options;
        options.openDevice = [&](const DeviceWish& wish) {
            auto made = std::make_unique<test::HandDevice>(wish);
            device = made.get();
            return made;
        };
        Project project(options);
        project.Open(folder / "hand.tarn");
        ComPtr<IMPCtrlChannels> channels;
        project.PluginHost()->QueryInterface(IID_IMPCtrlChannels, channels.OutVoid());
        const MPCHANNELID track{10, 0, 0};
        const auto set = [&](uint32_t mask, uint32_t automation, float volume) {
            MPCHANNELREC rec{};
            rec.automation = automation;
            rec.volume = rec.linkedVolume = volume;
            rec.pairSelector = SPEAKER_FRONT;
            EXPECT_EQ(channels->Set(&track, LEVEL_CHANNEL, &rec, mask), S_OK);
        };
        set(MASK_AUTOMATION, mode, 0);
        std::vector<float> left(48000), right(48000);
        // The host looks at what hands do between blocks, however fast they come.
        const auto play = [&](const std::function<void(int)>& hand) {
            project.Locate(0);
            project.Play();
            for (int block = 0; block < 90; block++) {
                hand(block);
                const auto ready = [&] {
                    const EngineStatus status = project.Status().engine;
                    return !status.reading && status.readAhead.value_or(1) > 0.02;
                };
                EXPECT_TRUE(Eventually(ready));
                device->Render(&left[static_cast<size_t>(block) * 512],
                               &right[static_cast<size_t>(block) * 512], 512);
                const uint64_t ticks = project.Status().meterTicks;
                const auto looked = [&] { return project.Status().meterTicks > ticks + 1; };
                EXPECT_TRUE(block % 5 != 4 || Eventually(looked));
            }
            project.Stop();
            device->Render(left.data() + 47000, right.data() + 47000, 512);
            return left;
        };
        const std::vector<float> first = play([&](int block) {
            if (block == 20) set(MASK_AUTOMATION | MASK_VOLUME, AUTOMATION_TOUCH, 0.5f);
            if (block == 40) set(MASK_AUTOMATION | MASK_VOLUME, AUTOMATION_TOUCH, 0.25f);
            if (block == 60) set(MASK_AUTOMATION | MASK_VOLUME, 0, 0.25f);
        });
        EXPECT_TRUE(Eventually([&] { return !FindChannel(project.Snapshot(), 10)->automation.empty(); }));
        const std::vector<float> again = play([](int) {});
        EXPECT_EQ(play([](int) {}), again);
        EXPECT_NEAR(first[18 * 512], 0.25f, 1e-6f);
        EXPECT_NEAR(first[35 * 512], 0.125f, 1e-6f);
        EXPECT_NEAR(first[55 * 512], 0.0625f, 1e-6f);
        for (const size_t block : {18, 35, 55, 85})
            EXPECT_NEAR(again[block * 512], first[block * 512], 0.002f) << mode << " block " << block;
    }
}

TEST_F(ContractParts, CopiesOfChannelsLeadToEachOther) {
    const MPCHANNELID gain = InsertEffect(track, "urn:gain");
    project.FindEffect(track, static_cast<SubId>(gain.sub))->SetValue(0, 2.5f);
    const ChannelId bus = project.AddChannel(ChannelKind::AudioBus, "Bus 9");
    project.EditChannel(track, [&](Channel& c) {
        c.output = bus;
        c.fader_db = -7;
        c.sends.push_back({.id = 77, .target = fx, .level_db = -12});
        c.selected = true;
    });
    project.EditChannel(bus, [](Channel& c) { c.selected = true; });
    const auto named = [this](const char* name) {
        const Session now = project.Snapshot();
        const auto at = std::ranges::find(now.channels, name, &Channel::name);
        return at == now.channels.end() ? Channel{} : *at;
    };
    const std::vector<Channel> copied = project.CopySelected(), before = project.Snapshot().channels;
    ASSERT_EQ(copied.size(), 2u);
    EXPECT_FALSE(copied[0].inserts[0].state.empty()) << "as the effect is set now";
    ASSERT_TRUE(project.PasteChannels(copied));
    Channel copy = named("Track 2");
    EXPECT_EQ(copy.output, named("Bus 10").id) << "the copy feeds the copy";
    EXPECT_TRUE(copy.selected && !named("Track").selected);
    EXPECT_EQ(named("Track").output, bus);
    const Channel expected = named("Track");
    copy.id = expected.id;
    copy.name = expected.name;
    copy.output = expected.output;
    copy.selected = false;
    copy.inserts[0].state = expected.inserts[0].state;
    EXPECT_EQ(copy, expected) << "in everything else it is the same";
    EXPECT_EQ(project.FindEffect(named("Track 2").id, copy.inserts[0].id)->Value(0), 2.5f);
    project.Undo();
    EXPECT_EQ(project.Snapshot().channels.size(), before.size()) << "one step";
    project.RemoveChannel(bus);
    project.RemoveChannel(fx);
    ASSERT_TRUE(project.PasteChannels({copied[0]}));
    EXPECT_EQ(named("Track 2").output, named("Master").id) << "what it fed is no more";
    EXPECT_TRUE(named("Track 2").sends.empty());
}

TEST_F(ContractParts, EditsAreTakenBackAndDoneAgain) {
    const MPCHANNELID gain = InsertEffect(track, "urn:gain");
    project.FindEffect(track, static_cast<SubId>(gain.sub))->SetValue(0, 2.5f);
    SubId half = kNoSub;
    const auto edit = [&](auto change) { return [this, change] { project.EditChannel(track, change); }; };
    const std::pair<EditKind, std::function<void()>> rows[] = {
        {EditKind::AddEffect, [&] { half = project.InsertEffect(track, "urn:half"); }},
        {EditKind::MoveEffect, [&] { project.MoveEffect(track, half, 0); }},
        {EditKind::RemoveEffect, [&] { project.RemovePart(track, static_cast<SubId>(gain.sub)); }},
        {EditKind::AddSend, edit([this](Channel& c) { c.sends.push_back({.id = 77, .target = fx}); })},
        {EditKind::Send, edit([](Channel& c) { c.sends[0].pre_fader = true; })},
        {EditKind::Pan, edit([](Channel& c) { c.pan_model = PanModel::Film; })},
        {EditKind::RenameChannel, [this] { project.RenameChannel(track, "Voice"); }},
        {EditKind::Automation, edit([](Channel& c) {
             c.automation = {{{}, {{0, -6}}}};
         })},
        {EditKind::AddChannel, [this] { project.AddChannel(ChannelKind::AudioTrack, "New"); }},
        {EditKind::MoveChannel, [this] { project.MoveChannel(track, 1); }},
        {EditKind::RemoveChannel, [this] { project.RemoveChannel(fx); }},
        {EditKind::RemoveChannel, [this] { project.RemoveChannel(track); }},
    };
    std::vector<std::vector<Channel>> states = {project.Snapshot().channels};
    const auto bare = [](std::vector<Channel> list) {
        for (Channel& channel : list)
            for (Insert& insert : channel.inserts) insert.state.clear();
        return list;
    };
    for (const auto& [kind, run] : rows) {
        run();
        EXPECT_EQ(project.NextUndo(), kind) << states.size();
        states.push_back(project.Snapshot().channels);
    }
    EXPECT_FALSE(project.Redo());
    for (size_t round = 0; round < 2; round++) {
        Take();
        for (size_t i = std::size(rows); i-- > 0;) {
            ASSERT_EQ(project.NextUndo(), rows[i].first);
            ASSERT_TRUE(project.Undo());
            ASSERT_EQ(bare(project.Snapshot().channels), bare(states[i])) << i;
        }
        const std::vector<Heard> told = Take();
        EXPECT_NE(std::ranges::find(told, Heard{CHANGE_ADDED, 1, KIND_FX}), told.end());
        EXPECT_EQ(project.FindEffect(track, static_cast<SubId>(gain.sub))->Value(0), 2.5f)
            << "an effect comes back as it was set";
        for (size_t i = 0; i < std::size(rows); i++) {
            ASSERT_TRUE(project.Redo());
            ASSERT_EQ(bare(project.Snapshot().channels), bare(states[i + 1])) << i;
        }
    }
    project.Undo();
    project.RenameChannel(track, "Other");
    EXPECT_EQ(project.NextRedo(), std::nullopt) << "another way was taken";
    project.SetLoop({0, 1, true});
    project.SetMonitoring({.dim = true});
    EXPECT_EQ(project.NextUndo(), EditKind::RenameChannel) << "how one listens is no edit of the mix";
    project.New();
    EXPECT_FALSE(project.Undo()) << "another document";
}

/// A gesture is a step, however long it lasts, and the next gesture is another; a preset likewise.
TEST_F(ContractParts, HowEffectsAreSetIsTakenBack) {
    const MPCHANNELID gain = InsertEffect(track, "urn:gain");
    const auto sub = static_cast<SubId>(gain.sub);
    const EffectEdits edits = project.EditsOf(track, sub);
    for (const auto& values : {std::vector{0.5f, 0.7f}, {2.f}}) {
        edits.begin(0);
        for (const float value : values) edits.change(0, value);
        edits.end(0);
    }
    edits.loadPreset(0);
    MPCHANNELREC rec{};
    rec.volume = 3;  // by a plug-in, without a hand
    const MPCHANNELID parameter{track, gain.sub, 1};
    ASSERT_EQ(Set(parameter, MASK_VOLUME, rec), S_OK);
    project.RemovePart(track, sub);
    const std::pair<EditKind, float> steps[] = {{EditKind::RemoveEffect, 3},
                                                {EditKind::Parameter, 4},
                                                {EditKind::Preset, 2},
                                                {EditKind::Parameter, 0.7f},
                                                {EditKind::Parameter, 1}};
    for (const auto& [kind, value] : steps) {
        EXPECT_EQ(project.NextUndo(), kind);
        Take();
        ASSERT_TRUE(project.Undo());
        EXPECT_EQ(project.FindEffect(track, sub)->Value(0), value);
        EXPECT_FALSE(Take().empty()) << "plug-ins are told";
    }
    EXPECT_EQ(project.NextUndo(), EditKind::AddEffect);
    for (size_t i = std::size(steps) - 1; i > 0; i--) {
        ASSERT_TRUE(project.Redo());
        EXPECT_EQ(project.FindEffect(track, sub)->Value(0), steps[i - 1].second);
    }
}

TEST(UndoList, AMoveIsOneStepAndTheListIsBounded) {
    using namespace std::chrono_literals;
    UndoList list;
    UndoList::Clock::time_point now{};
    const auto set = [&](ChannelId id, double from, double to, auto later, EditKind kind = EditKind::Volume) {
        list.Record(
            {.kind = kind, .before = {{.id = id, .fader_db = from}}, .after = {{.id = id, .fader_db = to}}},
            now += later);
    };
    const auto steps = [&] {
        size_t count = 0;
        for (; list.Next(false); count++) list.Done(false);
        return count;
    };
    set(1, 0, -1, 0ms);
    set(2, 0, -2, 1ms);  // it takes another along
    set(1, -1, -3, 900ms);
    const std::vector<Channel> back = list.Changed(false, {{.id = 2, .selected = true}, {.id = 1}});
    EXPECT_EQ(back, (std::vector<Channel>{{.id = 2, .selected = true}, {.id = 1}}));
    set(3, 0, -1, 100ms);                     // another hand
    set(3, -1, -2, 2s);                       // rested
    set(3, 0, 0, 1ms, EditKind::Switches);    // another kind
    set(3, 0, 0, 100ms, EditKind::Switches);  // clicks are not moves
    EXPECT_EQ(steps(), 5u);
    for (size_t i = 0; i < 3 * UndoList::kMostSteps; i++) set(1, 0, -1, 2s);
    EXPECT_EQ(steps(), UndoList::kMostSteps);
    Channel heavy{.id = 1};
    heavy.inserts.push_back({.state = std::string(UndoList::kMostBytes / 3, ' ')});
    for (int i = 0; i < 5; i++) list.Record({.before = {{.id = 1}}, .after = {heavy}}, now += 2s);
    EXPECT_EQ(steps(), 2u);
    const auto turn = [&](const EffectPart& knob, auto later) {
        list.Record({.kind = EditKind::Parameter, .moves = {{.part = knob}}}, now += later);
    };
    const EffectPart knob{1, 1, "x"}, other{1, 1, "y"};
    list.Clear();
    for (const auto& held : {knob, other}) list.Hold(held, true);
    for (const auto& [part, later] : {std::pair(knob, 0ms), {other, 10ms}, {knob, 10ms}, {other, 9000ms}})
        turn(part, later);
    for (const auto& held : {knob, other}) list.Hold(held, false);
    turn(knob, 10ms);
    turn(knob, 500ms);
    turn(knob, 2000ms);
    EXPECT_EQ(steps(), 3u) << "two knobs in one hand, one without, one later";
}

TEST(AutomationWriter, WritesWhatTheModeSays) {
    using Mode = AutomationMode;
    const AutomationKey volume{};
    struct Row {
        Mode mode;
        bool heldAfterRelease;
        size_t stretches;  ///< once playing has stopped
        double end;
    };
    for (const Row& row :
         {Row{Mode::Off, false, 0, 0}, Row{Mode::Read, false, 0, 0}, Row{Mode::Touch, false, 1, 2},
          Row{Mode::Latch, true, 1, 3}, Row{Mode::Write, true, 1, 3}}) {
        SCOPED_TRACE(static_cast<int>(row.mode));
        std::vector<bool> holds;
        AutomationWriter writer([&](ChannelId, const AutomationKey&, bool on) { holds.push_back(on); });
        writer.Touch(1, volume, row.mode, true);
        EXPECT_EQ(writer.IsHeld(1, volume), row.mode != Mode::Off);
        writer.Move(1, volume, row.mode, -6, 1, true);
        writer.Tick(2, true);
        writer.Touch(1, volume, row.mode, false);
        EXPECT_EQ(writer.IsHeld(1, volume), row.heldAfterRelease);
        writer.Tick(3, true);
        writer.Tick(0, false);
        EXPECT_FALSE(writer.IsHeld(1, volume));
        const auto complete = writer.TakeComplete();
        ASSERT_EQ(complete.size(), row.stretches);
        if (!complete.empty()) {
            EXPECT_EQ(complete[0].points.front(), (AutomationPoint{1, -6}));
            EXPECT_EQ(complete[0].points.back(), (AutomationPoint{row.end, -6}));
        }
        EXPECT_TRUE(holds.empty() || !holds.back()) << "nothing stays in a hand that is not there";
    }
    AutomationWriter writer([](ChannelId, const AutomationKey&, bool) {});
    writer.Touch(1, volume, Mode::Touch, true);
    writer.Move(1, volume, Mode::Touch, -6, 5, true);
    writer.Move(1, volume, Mode::Touch, -3, 1, true);
    EXPECT_EQ(writer.TakeComplete().size(), 1u) << "the loop's seam parts two stretches";
    writer.Move(2, {AutomationTarget::Mute}, Mode::Touch, 1, 2, true);
    EXPECT_EQ(writer.TakeComplete().size(), 1u) << "a click on a switch";
}

}  // namespace
