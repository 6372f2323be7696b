// LV2 plug-ins of others as effects: what they are said to be, what goes in and comes out.
#include "host/demo/midi_file.h"
#include "tests/host/effects/bundles.h"
#include "tests/host/engine_fixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <thread>

namespace {
using namespace host;

constexpr const char* AMP = "http://lv2plug.in/plugins/eg-amp";
constexpr const char* PIANO = "http://drobilla.net/plugins/mda/EPiano";
constexpr const char* SAMPLER = "http://lv2plug.in/plugins/eg-sampler";
constexpr int RATE = 48000;

/// Blocks of one effect, one behind the other.
class Rack {
public:
    explicit Rack(Effect& effect) : m_effect(effect) {
        m_buffers.resize(std::max(effect.Info().inputs, effect.Info().outputs));
    }
    /// What comes out of the first channel; every input gets `level`.
    std::vector<float> Play(float level, size_t frames = kMaxEffectFrames,
                            std::vector<EffectMidi> midi = {}) {
        std::vector<float*> channels;
        for (auto& buffer : m_buffers) {
            buffer.fill(level);
            channels.push_back(buffer.data());
        }
        m_effect.Process(channels.data(), channels.data(), frames, midi, time);
        time.frame += static_cast<int64_t>(frames);
        return {m_buffers[0].begin(), m_buffers[0].begin() + static_cast<std::ptrdiff_t>(frames)};
    }

    EffectTime time{0, true};

private:
    Effect& m_effect;
    std::vector<std::array<float, kMaxEffectFrames>> m_buffers;
};

float Peak(const std::vector<float>& samples) {
    float peak = 0;
    for (const float s : samples) peak = std::max(peak, std::abs(s));
    return peak;
}

class Lv2EffectTest : public testing::Test {
protected:
    static Lv2Library& Library() {
        static const Bundles bundles;
        static Lv2Library library([] {
            bundles.Add("faulty",
                        Bundles::Plugin("nan") + Bundles::Plugin("latency") +
                            Bundles::Plugin("in-place", " ; lv2:requiredFeature lv2:inPlaceBroken") +
                            Bundles::Plugin("events", " ; ui:ui <urn:tarn:test:view>") +
                            "<urn:tarn:test:view> a ui:X11UI ; lv2:binary <file://" FAULTY_LIBRARY "> .\n" +
                            Bundles::Plugin("work") + Bundles::Plugin("state"));
            return bundles.Options();
        }());
        return library;
    }
    static std::unique_ptr<Effect> Test(const std::string& name) {
        return Library().Make("urn:tarn:test:" + name, RATE);
    }
};

TEST_F(Lv2EffectTest, AGainFollowsItsValue) {
    const auto amp = Library().Make(AMP, RATE);
    Rack rack(*amp);
    EXPECT_EQ(rack.Play(0.5f), std::vector<float>(kMaxEffectFrames, 0.5f));
    amp->SetValue(0, -20);
    for (const float s : rack.Play(0.5f)) EXPECT_NEAR(s, 0.05f, 1e-6f);
    amp->SetValue(0, NAN);
    EXPECT_EQ(amp->Value(0), -20);
    amp->SetValue(0, 1e9f);
    EXPECT_EQ(amp->Value(0), amp->Parameters()[0].maximum);
}

// In a mix: a chain and an instrument, the same samples however they are asked for, and a state that lasts.
TEST_F(Lv2EffectTest, EffectsOfOthersWorkInAMix) {
    using namespace host::test;
    const TempFolder folder;
    WriteWave(folder / "10.wav", RATE, 2, RATE, [](int64_t i, int) { return Mark(i); });
    std::ofstream(folder / "keys.mid")
        << FormatMidi({.end = 960, .tracks = {{"", 0, 0, {{0, 480, 60, 100}}}}});
    Session s = TracksSession({10}, 1);
    const auto amp = Library().Make(AMP, RATE);
    amp->SetValue(0, -20);
    s.channels[2].inserts = {{1, AMP, "", false, false, amp->SaveState()}};
    s.channels.push_back(
        {.id = 20, .kind = ChannelKind::Synth, .output = kMaster, .instrument = Insert{1, PIANO}});
    const Stereo dry = MixOffline(s, folder.Path(), RATE / 2, 512, {}, 0, {&Library(), 1});
    for (size_t i = 0; i < dry.size(); i++)
        ASSERT_NEAR(dry.left[i], Mark(static_cast<int64_t>(i)) * 0.1f, 1e-7f) << i;
    s.channels.push_back(
        {.id = 21, .kind = ChannelKind::MidiTrack, .output = 20, .clips = {{"keys.mid", 0.1, 0, 0.9, 0}}});
    const Stereo mix = MixOffline(s, folder.Path(), RATE / 2, 512, {}, 0, {&Library(), 1});
    EXPECT_EQ(mix, MixOffline(s, folder.Path(), RATE / 2, 100, {}, 0, {&Library(), 3}));
    EXPECT_EQ(mix.left[4799], dry.left[4799]);
    EXPECT_GT(std::abs(mix.left[6000] - dry.left[6000]), 0.0001f) << "the piano";

    EngineOptions options;
    options.effects = std::shared_ptr<EffectLibrary>(&Library(), [](EffectLibrary*) {});
    HandEngine engine(options);
    engine->SetSession(s, folder.Path());
    engine->Play();
    engine.WaitForDisk();
    const Stereo live = engine.Pull(RATE / 2, 300);
    EXPECT_EQ(live, mix) << "in real time";
    engine->FindEffect(10, 1)->SetValue(0, 6);
    Session saved = s;
    engine->SaveStates(saved);
    const Stereo louder = MixOffline(saved, folder.Path(), 4000, 512, {}, 0, {&Library(), 1});
    EXPECT_NEAR(louder.left[3999], Mark(3999) * 1.995262f, 1e-5f);
}

TEST_F(Lv2EffectTest, AnInstrumentSoundsFromItsNoteOn) {
    const auto piano = Library().Make(PIANO, RATE);
    Rack rack(*piano);
    EXPECT_EQ(Peak(rack.Play(0)), 0);
    rack.Play(0, 256, {{100, 3, {0x90, 60, 100}}});
    EXPECT_GT(Peak(rack.Play(0)), 0.001f);
    piano->Reset();
    for (int block = 0; block < 20; block++) rack.Play(0);
    EXPECT_EQ(Peak(rack.Play(0)), 0);
}

TEST_F(Lv2EffectTest, PluginsThatMisbehaveAreHeldToTheRules) {
    const auto nan = Test("nan");
    EXPECT_TRUE(std::isnan(Rack(*nan).Play(1)[255]));  // the caller's to find

    const auto inPlace = Test("in-place");
    EXPECT_EQ(Rack(*inPlace).Play(0.5f), std::vector<float>(kMaxEffectFrames, 0.5f));

    const auto latency = Test("latency");
    const float in[16]{}, *ins = in;
    float out[16]{9}, *outs = out;
    latency->Process(&ins, &outs, 16, {}, {});
    EXPECT_EQ(out[0], 0);  // it writes nothing
    Rack rack(*latency);
    for (const auto& [told, frames] : {std::pair{64.f, size_t{64}}, {1e9f, 10u * RATE}, {64.f, size_t{64}}}) {
        latency->SetValue(0, told);
        rack.Play(0);
        EXPECT_EQ(latency->Latency(), frames);
        EXPECT_EQ(latency->Complaint().empty(), told < 1e6f) << latency->Complaint();
    }
}

TEST_F(Lv2EffectTest, EventsArriveAtTheirFrameAndThePositionWhenItIsNews) {
    const auto events = Test("events");
    Rack rack(*events);
    const std::vector<float> out = rack.Play(0, 256, {{3, 3, {0x90, 60, 1}}, {255, 2, {0xC1, 5}}});
    EXPECT_EQ(out[3], 0x90);
    EXPECT_EQ(out[255], 0xC1);
    EXPECT_EQ(events->Value(1), 120);  // the sum of the tempos told
    rack.Play(0);
    EXPECT_EQ(events->Value(1), 120);
    rack.time.tempo = 30;
    rack.Play(0, 100);
    EXPECT_EQ(events->Value(1), 150);
    rack.time.frame = 7;
    rack.Play(0);
    rack.Play(0);
    EXPECT_EQ(events->Value(1), 180);
}

TEST_F(Lv2EffectTest, AnInterfaceOfItsOwnSpeaksWithItBothWays) {
    const auto effect = Test("events");
    Rack rack(*effect);
    std::string log;
    const auto open = [&] {
        return effect->OpenView(
            77,
            {[&](size_t) { log += '<'; },
             [&](size_t p, float v) {
                 log += '=';
                 effect->SetValue(p, v);
             },
             [&](size_t) { log += '>'; },
             {}},
            [&](int width, int height) { log += std::to_string(width) + 'x' + std::to_string(height); });
    };
    ASSERT_TRUE(effect->HasView());
    auto view = open();
    EXPECT_EQ(rack.Play(0)[0], 7);
    EXPECT_EQ(rack.Play(0)[0], 0);
    EXPECT_TRUE(view->Idle());
    EXPECT_EQ(log, "320x200<=>");
    EXPECT_EQ(effect->Value(0), 7);
    effect->SetValue(0, 9);
    EXPECT_FALSE(view->Idle());
    view.reset();
    rack.Play(0, 256, {{0, 1, {0x11}}});  // nobody listens
    effect->SetValue(0, 0);
    view = open();
    EXPECT_TRUE(view->Idle());
    EXPECT_EQ(effect->Value(0), 0);
    EXPECT_FALSE(Test("nan")->HasView());
    EXPECT_THROW(Test("nan")->OpenView(0, {}, {}), EffectError);
}

TEST_F(Lv2EffectTest, OfflineTheWorkerIsWaitedFor) {
    const auto work = Test("work");
    Rack rack(*work);
    rack.time.offline = true;
    for (const float value : {1.f, 2.f, 3.f}) {
        work->SetValue(0, value);
        rack.Play(0);
        rack.Play(0);
        EXPECT_EQ(work->Value(1), 2 * value);
    }
}

TEST_F(Lv2EffectTest, AStateComesBackWholeOrNotAtAll) {
    const auto effect = Test("state");
    Rack rack(*effect);
    const auto store = [&](float value) {
        for (const float control : {value, 0.f}) effect->SetValue(0, control), rack.Play(0);
        return effect->SaveState();
    };
    const float odd = 0.1f + 1e-7f;
    const std::string good = store(odd), refused = store(2);
    store(0.5f);
    effect->LoadState(good);
    rack.Play(0);
    EXPECT_EQ(effect->Value(1), odd);
    std::string broken = good;
    broken.replace(broken.find("\"data\":\"") + 8, 4, "****");
    std::string short_atom = good;
    short_atom.replace(short_atom.rfind("\"data\":\"") + 8, 4, "");
    for (const std::string& bad : {refused, broken, short_atom, good.substr(1), std::string(),
                                   std::string("[]"), Library().Make(AMP, RATE)->SaveState()}) {
        effect->SetValue(0, 0);
        EXPECT_THROW(effect->LoadState(bad), EffectError) << bad;
        rack.Play(0);
        EXPECT_EQ(effect->Value(1), odd) << bad;
    }
}

TEST_F(Lv2EffectTest, APresetSetsTheValuesThatItHas) {
    const auto piano = Library().Make(PIANO, RATE);
    const std::vector<std::string> names = piano->Presets();
    ASSERT_GT(names.size(), 1u);
    EXPECT_TRUE(std::ranges::is_sorted(names));
    std::set<std::string> states;
    for (size_t i = 0; i < names.size(); i++) piano->LoadPreset(i), states.insert(piano->SaveState());
    EXPECT_GT(states.size(), 1u);
    EXPECT_THROW(piano->LoadPreset(names.size()), EffectError);
}

TEST_F(Lv2EffectTest, ADefaultStateIsThereFromTheStart) {
    const auto sampler = Library().Make(SAMPLER, RATE);
    Rack rack(*sampler);
    const auto again = Library().Make(SAMPLER, RATE);
    again->LoadState(sampler->SaveState());
    for (Effect* effect : {sampler.get(), again.get()})
        EXPECT_GT(Peak(Rack(*effect).Play(0, 256, {{0, 3, {0x90, 60, 127}}})), 0);
}

TEST_F(Lv2EffectTest, ValuesStatesAndBlocksAtOnce) {
    for (const std::string uri : {"urn:tarn:test:state", "urn:tarn:test:work", PIANO, SAMPLER}) {
        const auto effect = Library().Make(uri, RATE);
        std::atomic<bool> ends = false;
        std::jthread audio([&] {
            Rack rack(*effect);
            while (!ends) rack.Play(0, 64, {{0, 3, {0x90, 60, 100}}, {32, 3, {0x80, 60, 0}}});
        });
        std::jthread automation([&] {
            for (int i = 0; !ends; i++)
                for (size_t p = 0; p < effect->Parameters().size(); p++)
                    effect->SetValue(p, static_cast<float>(i % 10) / 10), (void)effect->Value(p);
        });
        for (int i = 0; i < 200; i++) {
            effect->LoadState(effect->SaveState());
            if (i % 10 == 0) effect->Reset();
            (void)effect->Latency();
        }
        ends = true;
    }
}

}  // namespace
