// The control map between a surface and a host: events in, changes of channels, events out.
#include "controlmap/control_map.h"
#include "platform/memory.h"
#include "platform/text.h"
#include "tests/controlmap/map_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <thread>

using namespace tarn;

namespace {
struct Site : ControlMapSite {
    std::vector<BankChannel> channels;
    std::map<uint64_t, MPCHANNELREC> records;
    std::map<uint64_t, std::u16string> names;
    std::vector<MPEVENTREC> sent;
    std::vector<std::vector<uint8_t>> longSent;
    std::vector<uint32_t> setMasks, hostCalls;
    uint64_t refused = 0;  ///< no channel may go there
    HRESULT getResult = S_OK;

    void AddChannel(uint64_t id, uint32_t kind) {
        channels.push_back({id, kind});
        records[id].volume = 0.5f;
        names[id] = u"Ch" + std::u16string(1, static_cast<char16_t>(u'0' + id % 10));
    }
    HRESULT GetChannel(const MPCHANNELID& id, MPCHANNELREC* rec, uint32_t) override {
        if (getResult != S_OK) return getResult;
        const uint32_t selector = rec->pairSelector;
        *rec = records.at(id.channel);
        rec->pairSelector = selector;
        if (selector == SPEAKER_REAR) rec->pan = records[id.channel].aux;  // the rear pair's own
        return S_OK;
    }
    HRESULT SetChannel(const MPCHANNELID& id, MPCHANNELREC* rec, uint32_t mask) override {
        MPCHANNELREC& r = records.at(id.channel);
        setMasks.push_back(mask);
        if (mask & MASK_VOLUME) r.volume = rec->volume;
        if (mask & MASK_PAN) (rec->pairSelector == SPEAKER_REAR ? r.aux : r.pan) = rec->pan;
        if (mask & MASK_SEND) {
            r.sendLevel = rec->sendLevel;
            r.sendSwitches = rec->sendSwitches;
            if (mask & MASK_TARGET) r.sendTarget = rec->sendTarget;
        }
        if (mask & MASK_AUX) r.aux = rec->aux;
        if (mask & MASK_INSERT) r.insertLevel = rec->insertLevel;
        if (mask & MASK_INPUT_ROUTE && mask & MASK_TARGET) r.inputTarget = rec->inputTarget;
        if (mask & MASK_OUTPUT_ROUTE) {
            if (rec->outputTarget == refused) return E_INVALIDARG;
            r.outputTarget = rec->outputTarget;
        }
        if (mask & MASK_EFFECT_STATE) r.effectState = rec->effectState;
        if (mask & MASK_SWITCHES) r.switches = rec->switches;
        if (mask & MASK_AUTOMATION) r.automation = rec->automation;
        return S_OK;
    }
    std::vector<BankChannel> Channels() override { return channels; }
    std::u16string ChannelName(const MPCHANNELID& id) override { return names[id.channel]; }
    std::vector<uint64_t> RouteTargets(const MPCHANNELID&, uint32_t) override { return {103, 150, 200}; }
    MPCHANNELID Effect(const MPCHANNELID& id, uint32_t slot) override {
        return slot == 2 ? MPCHANNELID{id.channel, 7, 0} : MPCHANNELID{};
    }
    float ShareOfGain(float gain) const override { return gain / 2; }
    float GainOfShare(float share) const override { return share * 2; }
    uint32_t AutomationCapabilities() override { return 0x10000 | 0x40000; }
    HRESULT CallHost(const MPFUNCTIONMAP& row) override { return hostCalls.push_back(row.function), S_OK; }
    void SendEvent(const MPEVENTREC& event) override {
        sent.push_back(event);
        const auto* data = static_cast<const uint8_t*>(event.data);
        longSent.emplace_back(data, data + event.dataSize);
    }
};

class Map : public testing::Test {
protected:
    Site site;
    CControlMap map{site, 4};
    std::vector<MPFUNCTIONMAP> rows;

    MPFUNCTIONMAP& Add(uint32_t command, uint32_t flags, uint32_t function, int32_t strip,
                       const MPEVENTREC& event, int32_t max = 127, uint32_t group = ECONTROL_GRP_INSERT) {
        return rows.emplace_back(FunctionRow(command, flags, function, strip, event, max, group));
    }
    void Receive(uint32_t function, int32_t strip, const MPEVENTREC& event,
                 uint32_t flags = EFUNCFLAG_VALUE) {
        Add(ECMDTYPE_RECIEVE, flags, function, strip, event);
    }
    void MotorFader() {
        Receive(MIXFUNC_VOLUME, 0, Event(MPCNTRL_CHNG, 1));
        Add(ECMDTYPE_SEND, EFUNCFLAG_VALUE, MIXFUNC_VOLUME, 0, Event(MPCNTRL_CHNG, 1));
    }
    void Button(uint32_t function, int32_t strip, uint8_t note) {
        Receive(function, strip, Event(MPNOTE_ON, note, 127), 0);
    }
    void Lamp(uint32_t function, int32_t strip, uint8_t note) {
        Add(ECMDTYPE_SEND, EFUNCFLAG_STATE_ON, function, strip, Event(MPNOTE_ON, note, 127));
        Add(ECMDTYPE_SEND, EFUNCFLAG_STATE_OFF, function, strip, Event(MPNOTE_ON, note, 0));
    }
    /// A text of so many characters from byte `at` of the message on.
    void Display(uint32_t function, uint32_t at, std::span<uint8_t> message, int32_t length) {
        MPFUNCTIONMAP& row = Add(ECMDTYPE_SEND, 0, function, 0, Event(MPSYS_EX1), length);
        row.index = at;
        row.first.data = message.data();
        row.first.dataSize = static_cast<uint32_t>(message.size());
    }
    void Use() {
        ASSERT_EQ(map.AddMap(MapOf(rows)), S_OK);
        map.SelectMap(0);
        map.EnableMap(true);
        map.ConnectProject(true, true);
        site.sent.clear();
        site.longSent.clear();
    }
    void SetUp() override {
        for (uint64_t id = 101; id <= 106; id++) site.AddChannel(id, id == 103 ? KIND_BUS : KIND_AUDIO_TRACK);
        site.AddChannel(200, KIND_MASTER);
    }
    /// The first two bytes of all that the surface has been sent since it was asked last.
    using Bytes = std::vector<std::pair<uint8_t, uint8_t>>;
    Bytes Sent() {
        Bytes bytes;
        for (const MPEVENTREC& event : std::exchange(site.sent, {}))
            bytes.emplace_back(event.byte1, event.byte2);
        return bytes;
    }
    Bytes Refreshed() {
        map.RefreshStrips(false);
        return Sent();
    }
    /// The event, run at once.
    HRESULT Play(const MPEVENTREC& event) {
        const HRESULT hr = map.OnEvent(event, false);
        map.Idle(false);
        return hr;
    }
    HRESULT Press(uint8_t note) { return Play(Event(MPNOTE_ON, note, 127)); }
    MPCHANNELREC& Channel(uint64_t id) { return site.records.at(id); }
};
}  // namespace

TEST_F(Map, AFaderTakesItsValueOverAndIsNotSentItsOwnMove) {
    MotorFader();
    Use();
    EXPECT_EQ(Play(Event(MPCNTRL_CHNG, 9, 5)), S_FALSE) << "no row of it";
    Play(Event(MPCNTRL_CHNG, 1, 100));
    EXPECT_EQ(Channel(101).volume, 0.5f) << "far from the value of 0.25";
    Play(Event(MPCNTRL_CHNG, 1, 20));
    EXPECT_NEAR(Channel(101).volume, 2 * 20 / 127.0f, 1e-5) << "passed it on the way";
    Play(Event(MPCNTRL_CHNG, 1, 22));
    EXPECT_NEAR(Channel(101).volume, 2 * 22 / 127.0f, 1e-5);
    EXPECT_EQ(Refreshed(), Bytes()) << "the control is where its value is";
    Channel(101).volume = 1;
    EXPECT_EQ(Refreshed(), (Bytes{{1, 64}})) << "moved in the host";
    EXPECT_EQ(Refreshed(), Bytes()) << "once";
    EXPECT_EQ(map.OnEvent(Event(MPCNTRL_CHNG, 1, 1), true), S_OK);
    EXPECT_EQ(map.Idle(false), IDLE_QUIET) << "peeked at, not run";
}

TEST_F(Map, NoControlJumpsAnywhereAlongItsWay) {
    struct Row {
        const char* what;
        uint32_t type;
        int32_t min, max;
        int32_t low, high;  ///< of what the control sends
    };
    constexpr int32_t ALL = 16383;
    const Row controls[] = {{"a controller", MPCNTRL_CHNG, 0, 127, 0, 127},
                            {"half of one", MPCNTRL_CHNG, 20, 90, 20, 90},
                            {"one without limits", MPCNTRL_CHNG, 0, 0, 0, 127},
                            {"a wheel around its middle", MPPITCH_BEND, -8192, 8191, 0, ALL},
                            {"a wheel's upper half", MPPITCH_BEND, 0, 8191, 8192, ALL},
                            {"14 bits", MPNRPN, 0, ALL, 0, ALL}};
    const auto event = [](const Row& control, int32_t at) {
        const auto high = static_cast<uint8_t>(at >> 7), low = static_cast<uint8_t>(at & 127);
        return control.type == MPCNTRL_CHNG   ? Event(MPCNTRL_CHNG, 1, low)
               : control.type == MPPITCH_BEND ? Event(MPPITCH_BEND, low, high)
                                              : Event(MPNRPN, 1, 1, high, low);
    };
    for (const Row& control : controls)
        for (const float start : {0.0f, 0.3f, 1.0f, 1.7f, 2.0f})
            for (const bool upward : {true, false}) {
                SCOPED_TRACE(testing::Message() << control.what << " from " << start << ' ' << upward);
                rows.clear();
                Add(ECMDTYPE_RECIEVE, EFUNCFLAG_VALUE, MIXFUNC_VOLUME, 0, event(control, 0), control.max)
                    .minValue = control.min;
                map.SetBank(KIND_AUDIO_TRACK);  // forgets where the control was
                Use();
                Channel(101).volume = start;
                const int32_t way = control.high - control.low, stride = way > 1000 ? 100 : 1;
                const float step = 2.0f * static_cast<float>(stride + 1) / static_cast<float>(way);
                float before = start;
                for (int32_t i = 0; i <= way; i += stride) {
                    Play(event(control, upward ? control.low + i : control.high - i));
                    ASSERT_LE(std::abs(Channel(101).volume - before), step) << i;
                    before = Channel(101).volume;
                }
                Play(event(control, upward ? control.high : control.low));
                ASSERT_NEAR(Channel(101).volume, upward ? 2 : 0, 1e-3) << "and it follows to the end";
            }
}

TEST_F(Map, AMidiTracksVolumeGoesInEvenSteps) {
    site.AddChannel(107, KIND_MIDI_TRACK);
    MotorFader();
    Use();
    map.SetBank(KIND_MIDI_TRACK);
    ASSERT_EQ(map.StripChannel(0).channel, 107u);
    Sent();
    Channel(107).volume = 100 / 127.0f;
    EXPECT_EQ(Refreshed(), (Bytes{{1, 100}})) << "no taper";
    Play(Event(MPCNTRL_CHNG, 1, 100));
    Play(Event(MPCNTRL_CHNG, 1, 90));
    EXPECT_FLOAT_EQ(Channel(107).volume, 90 / 127.0f);
}

TEST_F(Map, ATouchedFaderFollowsTheHandAndFallsBackAfterwards) {
    Receive(5, 0, Event(MPNOTE_ON, 104, 127), 0);
    rows.back().first.byte2 = 127;
    Receive(6, 0, Event(MPNOTE_OFF, 104), 0);
    Add(ECMDTYPE_RECIEVE, EFUNCFLAG_VALUE, MIXFUNC_VOLUME, 0, Event(MPPITCH_BEND, 0), 8191).minValue = -8192;
    Add(ECMDTYPE_SEND, EFUNCFLAG_VALUE, MIXFUNC_VOLUME, 0, Event(MPPITCH_BEND, 0), 16383);
    Use();
    Channel(101).automation = 4;
    Press(104);
    EXPECT_EQ(Channel(101).automation, AUTOMATION_TOUCH | 4) << "its mode stays";
    Play(Event(MPPITCH_BEND, 127, 127));
    EXPECT_NEAR(Channel(101).volume, 2, 1e-4) << "no takeover under the hand";
    Channel(101).volume = 0.3f;
    EXPECT_EQ(Refreshed(), Bytes()) << "the motor does not pull against the hand";
    Play(Event(MPNOTE_OFF, 104));
    EXPECT_FALSE(Channel(101).automation & AUTOMATION_TOUCH);
    const long place = std::lround(0.15 * 16383);
    EXPECT_EQ(Sent(), (Bytes{{place % 128, place / 128}})) << "let go, it goes to the true value";
}

TEST_F(Map, EveryParameterAndSwitchIsReachedByARow) {
    uint8_t number = 1;
    for (const MixerParameter& p : MIXER_PARAMETERS) {
        if (p.value) Receive(p.value, 1, Event(MPCNTRL_CHNG, number));
        if (p.touchOn) Receive(p.touchOn, 1, Event(MPNOTE_ON, number), 0);
        if (p.touchOff) Receive(p.touchOff, 1, Event(MPNOTE_OFF, number), 0);
        if (p.value) Add(ECMDTYPE_SEND, EFUNCFLAG_VALUE, p.value, 1, Event(MPCNTRL_CHNG, number));
        number++;
    }
    for (const MixerSwitch& s : MIXER_SWITCHES) {
        Button(s.function, 1, number);
        Lamp(s.function, 1, number++);
    }
    Use();
    number = 1;
    for (const MixerParameter& p : MIXER_PARAMETERS) {
        Play(Event(MPCNTRL_CHNG, number, 1));  // where the control is
        Channel(102).automation = 0;
        Play(Event(MPNOTE_ON, number));
        EXPECT_EQ(!!(Channel(102).automation & AUTOMATION_TOUCH), p.touchOn != 0) << p.touchOn;
        EXPECT_TRUE(!p.touchOn || site.setMasks.back() == (p.mask | MASK_AUTOMATION)) << p.touchOn;
        if (p.value) {
            Play(Event(MPCNTRL_CHNG, number, 127));
            EXPECT_EQ(site.setMasks.back(), p.mask);
            const float value = p.pairSelector == SPEAKER_REAR ? Channel(102).aux : Channel(102).*p.field;
            EXPECT_EQ(value, p.isGain ? 2 : 1) << p.value;
        }
        Play(Event(MPNOTE_OFF, number));
        EXPECT_FALSE(Channel(102).automation & AUTOMATION_TOUCH) << p.touchOff;
        Sent();
        map.RefreshStrips(true);
        EXPECT_EQ(std::ranges::count(Sent(), Bytes::value_type(number, 127)), p.value != 0);
        number++;
    }
    for (const MixerSwitch& s : MIXER_SWITCHES) {
        Press(number);
        EXPECT_EQ(Channel(102).switches, s.bit) << s.function;
        EXPECT_EQ(site.setMasks.back(), MASK_SWITCHES | MASK_TARGET);
        EXPECT_EQ(Refreshed(), (Bytes{{number, 127}}));
        Press(number);
        EXPECT_EQ(Channel(102).switches, 0u);
        EXPECT_EQ(Refreshed(), (Bytes{{number++, 0}})) << "the lamp goes out";
    }
}

TEST_F(Map, TheInputSideIsAnotherSetOfValues) {
    MotorFader();
    Receive(15, 0, Event(MPCNTRL_CHNG, 2));
    Receive(5, 0, Event(MPNOTE_ON, 1), 0);
    Add(ECMDTYPE_RECIEVE, EFUNCFLAG_TOGGLE, 19, 0, Event(MPNOTE_ON, 90, 127), 0, ECONTROL_GRP_ASSIGN);
    Add(ECMDTYPE_SEND, EFUNCFLAG_STATE_ON, 19, 0, Event(MPNOTE_ON, 90, 127), 0, ECONTROL_GRP_ASSIGN);
    Use();
    Press(90);
    EXPECT_EQ(map.Target(), MASK_INPUT_SIDE);
    EXPECT_EQ(Sent(), (Bytes{{1, 32}, {90, 127}}))
        << "the fader goes to the other side's value, the lamp is lit";
    Play(Event(MPCNTRL_CHNG, 1, 32));
    EXPECT_EQ(site.setMasks.back(), MASK_VOLUME | MASK_INPUT_SIDE);
    Play(Event(MPNOTE_ON, 1));
    EXPECT_EQ(site.setMasks.back(), MASK_VOLUME | MASK_INPUT_SIDE | MASK_AUTOMATION);
    Play(Event(MPCNTRL_CHNG, 2, 64));
    EXPECT_EQ(site.setMasks.back() & MASK_INPUT_SIDE, 0u) << "the rear pair has one side";
    Press(90);
    EXPECT_EQ(map.Target(), 0u);
    map.Reset();
    EXPECT_EQ(map.Target(), 2050u);
}

TEST_F(Map, SendsAreAimedSwitchedAndNamed) {
    Receive(MIXFUNC_SEND, 0, Event(MPCNTRL_CHNG, 1));
    Button(MIXFUNC_SEND_TARGET, 0, 1);
    Button(MIXFUNC_SEND_SWITCH, 0, 2);
    Lamp(MIXFUNC_SEND_SWITCH, 0, 2);
    Use();
    for (const uint64_t id : {101, 102, 104, 105}) Channel(id).sendTarget = 103;
    Press(1);
    EXPECT_EQ(Channel(101).sendTarget, 150u);
    EXPECT_EQ(Channel(104).sendTarget, 150u) << "one row of knobs, one send";
    Channel(101).sendTarget = 200;
    site.setMasks.clear();
    Play(Event(MPCNTRL_CHNG, 1, 0));
    ASSERT_EQ(site.setMasks.size(), 2u);
    EXPECT_EQ(site.setMasks[0], 0x2020u) << "aimed first";
    EXPECT_EQ(site.setMasks[1], MASK_SEND);
    EXPECT_EQ(Channel(101).sendTarget, 150u);
    EXPECT_EQ(Channel(101).sendSwitches, 0u);
    Press(2);
    EXPECT_EQ(Channel(101).sendSwitches, SENDSWITCH_10000);
    EXPECT_EQ(Refreshed().back(), Bytes::value_type(2, 127));
}

TEST_F(Map, RoutesAreSteppedToWhatTheHostTakes) {
    Button(MIXFUNC_OUTPUT_ROUTE, 0, 1);
    Receive(MIXFUNC_OUTPUT_TARGET, 0, Event(MPNOTE_ON, 2, 127), EFUNCFLAG_DEC);
    Button(MIXFUNC_INPUT_ROUTE, 0, 3);
    uint8_t message[] = {0xF0, 0, 0, 0xF7};
    for (const uint32_t function : {MIXFUNC_OUTPUT_ROUTE, MIXFUNC_INPUT_ROUTE})
        Display(function, 1, message, 2);
    Use();
    Channel(101).outputTarget = 103;
    site.refused = 150;
    Press(1);
    EXPECT_EQ(Channel(101).outputTarget, 200u) << "one is refused";
    map.RefreshStrips(false);
    EXPECT_EQ(site.longSent.back(), (std::vector<uint8_t>{0xF0, 'C', 'h', 0xF7}));
    Press(2);
    EXPECT_EQ(Channel(101).outputTarget, 103u) << "back";
    Press(3);
    EXPECT_EQ(Channel(101).inputTarget, 103u) << "the first, where there was none";
    EXPECT_EQ(site.setMasks.back(), 0x2100u);
}

TEST_F(Map, ASlotOfTheChainIsTakenOutAndPutBack) {
    for (const uint32_t slot : {2u, 3u}) {
        Button(MIXFUNC_CHAIN, 0, static_cast<uint8_t>(slot));
        rows.back().index = slot;
        Lamp(MIXFUNC_CHAIN, 0, static_cast<uint8_t>(slot));
        rows[rows.size() - 2].index = rows.back().index = slot;
    }
    Use();
    Press(2);
    EXPECT_EQ(Channel(101).effectState, EFFECT_BYPASSED);
    EXPECT_EQ(Refreshed(), (Bytes{{2, 0}})) << "its own lamp";
    site.setMasks.clear();
    Press(3);
    EXPECT_TRUE(site.setMasks.empty()) << "an empty slot";
}

TEST_F(Map, KnobsWithoutEndsAndButtonsMoveBySteps) {
    Receive(MIXFUNC_PAN, 0, Event(MPCNTRL_CHNG, 16), EFUNCFLAG_VALUE | EFUNCFLAG_RELATIVE);
    rows.back().maxValue = 100;
    Add(ECMDTYPE_SEND, EFUNCFLAG_VALUE, MIXFUNC_PAN, 0, Event(MPCNTRL_CHNG, 48), 127);
    Receive(MIXFUNC_PAN, 0, Event(MPNOTE_ON, 5, 127), EFUNCFLAG_DEC);
    rows.back().maxValue = 10;
    Use();
    for (int i = 0; i < 10; i++) map.OnEvent(Event(MPCNTRL_CHNG, 16, 1), false);
    map.OnEvent(Event(MPCNTRL_CHNG, 16, 65), false);
    map.Idle(false);
    EXPECT_NEAR(Channel(101).pan, 0.18, 1e-5) << "ten up, one down, none left out";
    EXPECT_EQ(Refreshed(), (Bytes{{48, 75}})) << "the ring of lights shows it";
    Press(5);
    EXPECT_NEAR(Channel(101).pan, -0.02, 1e-5);
}

TEST_F(Map, NumbersWithoutAnActionDoNothing) {
    for (const uint32_t function : {8u, 9u, 31u, 32u, 33u, 34u, 57u, 200u})
        Button(function, 0, static_cast<uint8_t>(function % 128));
    Button(MIXFUNC_SURFACE_SWITCH, 0, 62);
    Use();
    for (const MPFUNCTIONMAP& row : std::vector(rows)) Play(row.first);
    EXPECT_EQ(site.setMasks, std::vector<uint32_t>{MASK_SWITCHES | MASK_TARGET});
    EXPECT_EQ(Channel(101).switches, SWITCH_SURFACE) << "written alone";
}

TEST_F(Map, AutomationModesAreSetAndStepped) {
    Button(MIXFUNC_AUTOMATION_STEP, 0, 1);
    for (uint8_t i = 0; i < std::size(MIXER_AUTOMATION); i++) {
        Button(MIXER_AUTOMATION[i].function, 0, static_cast<uint8_t>(10 + i));
        Lamp(MIXER_AUTOMATION[i].function, 0, static_cast<uint8_t>(10 + i));
    }
    Use();
    for (const uint32_t mode : {1u, 4u, 0u, 1u}) {
        Press(1);
        EXPECT_EQ(Channel(101).automation, mode) << "the modes that there are, and off";
    }
    for (uint8_t i = 0; i < std::size(MIXER_AUTOMATION); i++) {
        Press(static_cast<uint8_t>(10 + i));
        EXPECT_EQ(Channel(101).automation, MIXER_AUTOMATION[i].mode);
        map.RefreshStrips(true);
        for (const auto& [lamp, lit] : Sent()) EXPECT_EQ(lit, lamp == 10 + i ? 127 : 0) << "one of the lamps";
    }
}

TEST_F(Map, BanksMoveWithoutAJump) {
    MotorFader();
    Add(ECMDTYPE_SEND, EFUNCFLAG_VALUE, MIXFUNC_VOLUME, 3, Event(MPCNTRL_CHNG, 4));
    Button(MIXFUNC_BANK_NEXT, 0, 1);
    Button(MIXFUNC_BANK_PREVIOUS, 0, 2);
    Button(MIXFUNC_CHANNEL_NEXT, 0, 3);
    Receive(MIXFUNC_VOLUME_TOUCH, 0, Event(MPNOTE_ON, 104, 127), 0);
    Use();
    map.SetBank(KIND_AUDIO_TRACK);
    EXPECT_EQ(map.StripChannel(2).channel, 104u) << "busses are not in the bank";
    EXPECT_EQ(map.StripChannel(STRIP_MASTER).channel, 200u);
    for (const uint64_t id : {101, 102, 104, 105, 106})
        Channel(id).volume = static_cast<float>(id - 100) / 10;
    Play(Event(MPCNTRL_CHNG, 1, 6));
    Sent();
    Press(1);
    EXPECT_EQ(map.StripChannel(0).channel, 106u);
    EXPECT_EQ(map.StripChannel(1).channel, 0u);
    EXPECT_EQ(Sent(), (Bytes{{4, 0}, {1, std::lround(0.3 * 127)}}))
        << "a strip without a channel is blanked, and the fader follows the bank";
    site.setMasks.clear();
    Play(Event(MPCNTRL_CHNG, 1, 110));
    EXPECT_NEAR(Channel(106).volume, 0.6, 1e-6) << "the control's place is not the channel's value";
    EXPECT_EQ(Play(Event(MPCNTRL_CHNG, 1, 6)), S_OK);
    EXPECT_NEAR(Channel(106).volume, 2 * 6 / 127.0, 1e-5);
    Press(2);
    EXPECT_EQ(map.BankOffset(), 0);
    Press(3);
    EXPECT_EQ(map.StripChannel(0).channel, 102u);
    EXPECT_EQ(Play(Event(MPCNTRL_CHNG, 1, 6)), S_OK);
    Press(104);
    EXPECT_TRUE(Channel(102).automation & AUTOMATION_TOUCH);
    Press(3);
    EXPECT_EQ(map.StripChannel(0).channel, 104u);
    EXPECT_FALSE(Channel(102).automation & AUTOMATION_TOUCH) << "it went from under the hand";
    Press(104);
    EXPECT_TRUE(Channel(104).automation & AUTOMATION_TOUCH);
    map.EnableMap(false);
    EXPECT_FALSE(Channel(104).automation & AUTOMATION_TOUCH);
    map.EnableMap(true);
    site.channels.clear();
    map.LayoutBank(0);
    EXPECT_EQ(map.StripChannel(0).channel, 0u);
    EXPECT_EQ(Play(Event(MPCNTRL_CHNG, 1, 7)), S_OK) << "an empty strip takes it and does nothing";
}

TEST_F(Map, TwoHalvesMakeOneValueAndABurstOneChange) {
    MPFUNCTIONMAP& pair =
        Add(ECMDTYPE_RECIEVE, EFUNCFLAG_VALUE, MIXFUNC_PAN, 0, Event(MPCNTRL_CHNG, 42), 16383);
    pair.second = Event(MPCNTRL_CHNG, 10);
    Use();
    map.ConnectProject(true, false);
    EXPECT_EQ(map.OnEvent(Event(MPCNTRL_CHNG, 42, 5), false), S_FALSE) << "the second half alone";
    EXPECT_EQ(map.OnEvent(Event(MPCNTRL_CHNG, 10, 64), false), S_FALSE) << "held";
    EXPECT_EQ(map.OnEvent(Event(MPCNTRL_CHNG, 42, 0), false), S_OK);
    map.Idle(false);
    EXPECT_NEAR(Channel(101).pan, 8192 / 16383.0 * 2 - 1, 1e-4);
    site.setMasks.clear();
    for (int i = 0; i < 1000; i++) {
        map.OnEvent(Event(MPCNTRL_CHNG, 10, 64), false);
        map.OnEvent(Event(MPCNTRL_CHNG, 42, static_cast<uint8_t>(i % 100)), false);
    }
    EXPECT_EQ(map.Idle(false), IDLE_BUSY);
    EXPECT_EQ(site.setMasks.size(), 1u);
    EXPECT_NEAR(Channel(101).pan, (8192 + 99) / 16383.0 * 2 - 1, 1e-4) << "the last value";
}

TEST_F(Map, ModifiersChooseOtherRowsAndLightTheirLamps) {
    Add(ECMDTYPE_RECIEVE, 0, 1, 0, Event(MPNOTE_ON, 70, 127), 0, ECONTROL_GRP_ASSIGN);
    Add(ECMDTYPE_RECIEVE, 0, 2, 0, Event(MPNOTE_OFF, 70), 0, ECONTROL_GRP_ASSIGN);
    Add(ECMDTYPE_RECIEVE, EFUNCFLAG_TOGGLE, 3, 0, Event(MPNOTE_ON, 71, 127), 0, ECONTROL_GRP_ASSIGN);
    Add(ECMDTYPE_SEND, EFUNCFLAG_STATE_ON, 1, 0, Event(MPNOTE_ON, 70, 127), 0, ECONTROL_GRP_ASSIGN);
    Button(27, 0, 16);
    Receive(26, 0, Event(MPNOTE_ON, 16, 127), EFUNCFLAG_SHIFT);
    Use();
    Press(16);
    EXPECT_EQ(Channel(101).switches, SWITCH_MUTE);
    Press(70);
    EXPECT_EQ(Sent(), (Bytes{{70, 127}}));
    Press(16);
    EXPECT_EQ(Channel(101).switches, SWITCH_MUTE | SWITCH_SOLO);
    Play(Event(MPNOTE_OFF, 70));
    EXPECT_EQ(map.State() & MAPSTATE_MODIFIERS & ~MAPSTATE_AUDIO_MODE, 0u);
    Press(71);
    EXPECT_TRUE(map.State() & MAPSTATE_ALT) << "latched";
    Press(71);
    EXPECT_FALSE(map.State() & MAPSTATE_ALT);
    map.SetSurfaceMode(true);
    EXPECT_TRUE(map.State() & MAPSTATE_SURFACE_MODE);
    EXPECT_EQ(FlagsOfState(map.State()) & EFUNCFLAG_SURFACE_MODE, EFUNCFLAG_SURFACE_MODE);
}

TEST_F(Map, NamesReachTheDisplay) {
    uint8_t message[] = {0xF0, 0x10, 0, 0, 0, 0, 0xF7};
    Display(MIXFUNC_NAME, 2, message, 4);
    Use();
    site.names[101] = u"B\u00e4sse";
    const std::vector<uint8_t> shown{0xF0, 0x10, 'B', '?', 's', 's', 0xF7};
    for (int i = 0; i < 2; i++) map.RefreshStrips(false);
    EXPECT_EQ(site.longSent, (std::vector<std::vector<uint8_t>>{shown})) << "once";
}

TEST_F(Map, FailuresOfTheHostEndAFunctionAndMapsComeAndGo) {
    Receive(MIXFUNC_VOLUME, 0, Event(MPCNTRL_CHNG, 1));
    Add(ECMDTYPE_RECIEVE, EFUNCFLAG_HOSTFUNCTION, 9, 0, Event(MPNOTE_ON, 9, 127));
    Use();
    site.getResult = E_FAIL;
    Play(Event(MPCNTRL_CHNG, 1, 32));
    EXPECT_TRUE(site.setMasks.empty());
    site.getResult = S_OK;
    Press(9);
    EXPECT_EQ(site.hostCalls, std::vector<uint32_t>{9});
    EXPECT_TRUE(map.MapExists(u"Test"));
    EXPECT_EQ(map.SelectMap(5), S_FALSE);
    map.OnEvent(Event(MPCNTRL_CHNG, 1, 32), false);
    FUNCTIONMAPENTRY told{};
    EXPECT_EQ(map.GetMap(0, &told), S_OK);
    EXPECT_EQ(told.tables, nullptr) << "they may go at any time";
    const FunctionRows copied = map.Rows(0);
    EXPECT_EQ(map.DeleteMap(0), S_OK);
    EXPECT_EQ(copied.All().size(), 2u) << "a copy stays";
    EXPECT_EQ(map.CurrentMap(), -1);
    EXPECT_EQ(map.OnEvent(Event(MPCNTRL_CHNG, 1, 32), false), S_FALSE);
    map.Idle(false);
    EXPECT_EQ(site.setMasks.size(), 1u) << "what waited was a copy";
    for (const char16_t* name : {u"First", u"Second"}) ASSERT_EQ(map.AddMap(MapOf(rows, name)), S_OK);
    map.SelectMap(1);
    map.DeleteMap(0);
    EXPECT_EQ(map.CurrentMap(), 0) << "the chosen one stays the chosen one";
    map.EnableMap(false);
    EXPECT_EQ(map.OnEvent(Event(MPCNTRL_CHNG, 1, 32), false), S_FALSE);
}

TEST_F(Map, SeveralThreadsBringEventsWhileTheWorkerRuns) {
    Button(27, 0, 16);
    Use();
    std::atomic<bool> stop{false};
    std::atomic<int> taken{0};
    std::vector<std::thread> bringers;
    for (int t = 0; t < 3; t++)
        bringers.emplace_back([&] {
            for (int i = 0; i < 2000; i++) taken += map.OnEvent(Event(MPNOTE_ON, 16, 127), false) == S_OK;
        });
    std::thread worker([&] {
        while (!stop) map.Idle(false);
    });
    std::thread chooser([&] {
        for (int i = 0; i < 200; i++) map.SelectMap(i % 2);
    });
    for (std::thread& t : bringers) t.join();
    chooser.join();
    stop = true;
    worker.join();
    map.Idle(false);
    EXPECT_EQ(taken, 6000);
    EXPECT_GE(site.setMasks.size(), 1u);
}
