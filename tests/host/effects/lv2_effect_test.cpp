// LV2 plug-ins of others as effects: what they are said to be, what goes in and comes out.
#include "host/effects/lv2_library.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {
using namespace host;

constexpr const char* AMP = "http://lv2plug.in/plugins/eg-amp";
constexpr const char* PIANO = "http://drobilla.net/plugins/mda/EPiano";
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
        m_effect.Process(channels.data(), channels.data(), frames, midi, m_time);
        m_time.frame += static_cast<int64_t>(frames);
        return {m_buffers[0].begin(), m_buffers[0].begin() + static_cast<std::ptrdiff_t>(frames)};
    }

private:
    Effect& m_effect;
    std::vector<std::array<float, kMaxEffectFrames>> m_buffers;
    EffectTime m_time{0, true};
};

float Peak(const std::vector<float>& samples) {
    float peak = 0;
    for (const float s : samples) peak = std::max(peak, std::abs(s));
    return peak;
}

class Lv2EffectTest : public testing::Test {
protected:
    static Lv2Library& Library() {
        static Lv2Library library;
        return library;
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

}  // namespace
