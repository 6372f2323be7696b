#include "host/engine/effect_slot.h"

#include "host/engine/channel_strip.h"
#include "host/engine/gain_course.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace host {

namespace {

static_assert(kChunkFrames <= kMaxEffectFrames);

using Block = std::array<std::array<float, kChunkFrames>, kMaxSides>;

}  // namespace

// Effects of one channel side by side, under the face of the first.
class EffectSlot::Team final : public Effect {
public:
    explicit Team(std::vector<std::unique_ptr<Effect>> members) : m_members(std::move(members)) {}

    const EffectInfo& Info() const override { return First().Info(); }
    std::span<const EffectParameter> Parameters() const override { return First().Parameters(); }
    float Value(size_t parameter) const override { return First().Value(parameter); }
    void SetValue(size_t parameter, float value) override {
        for (auto& member : m_members) member->SetValue(parameter, value);
    }
    size_t Latency() const override { return First().Latency(); }
    std::string Complaint() const override { return First().Complaint(); }
    void Process(const float* const* in, float* const* out, size_t n, std::span<const EffectMidi> midi,
                 const EffectTime& time) override {
        for (size_t i = 0; i < m_members.size(); i++) m_members[i]->Process(in + i, out + i, n, midi, time);
    }
    void Reset() override {
        for (auto& member : m_members) member->Reset();
    }
    std::string SaveState() const override { return First().SaveState(); }
    void LoadState(std::string_view state) override {
        for (auto& member : m_members) member->LoadState(state);
    }
    std::vector<std::string> Presets() const override { return First().Presets(); }
    void LoadPreset(size_t index) override {
        for (auto& member : m_members) member->LoadPreset(index);
    }

private:
    const Effect& First() const { return *m_members.front(); }

    const std::vector<std::unique_ptr<Effect>> m_members;
};

EffectSlot::EffectSlot(std::vector<std::unique_ptr<Effect>> effects, std::string name, size_t sides,
                       int sampleRate)
    : m_name(std::move(name)), m_oneEach(effects.size() > 1),
      m_face(effects.empty()       ? nullptr
             : effects.size() == 1 ? std::move(effects.front())
                                   : std::make_unique<Team>(std::move(effects))),
      m_sides(sides), m_sampleRate(sampleRate),
      m_rampFrames(std::max(1, static_cast<int32_t>(std::lround(kRampSeconds * sampleRate)))),
      m_wet(m_rampFrames) {
    if (!m_face) return;
    // Some effects know their latency only once they have run.
    Block block{};
    std::array<float*, kMaxSides> silence;
    for (size_t s = 0; s < kMaxSides; s++) silence[s] = block[s].data();
    Run(silence.data(), kChunkFrames, {}, {});
    m_face->Reset();
}

size_t EffectSlot::Latency() const { return !m_face || LatencyIsAbsurd() ? 0 : m_face->Latency(); }

bool EffectSlot::LatencyIsAbsurd() const {
    return m_face && static_cast<double>(m_face->Latency()) > kMaxLatencySeconds * m_sampleRate;
}

size_t EffectSlot::Outputs() const { return m_oneEach ? m_sides : m_face->Info().outputs; }

// The effect's inputs from the sides and its outputs to them; false when what came out is no sound.
bool EffectSlot::Run(float* const* samples, size_t n, std::span<const EffectMidi> midi,
                     const EffectTime& time) {
    const size_t inputs = m_oneEach ? m_sides : m_face->Info().inputs;
    const size_t outputs = Outputs();
    constexpr size_t most = 32;
    std::array<const float*, most> in;
    std::array<float*, most> out;
    Block spare;
    std::array<float, kChunkFrames> middle, silence{}, nowhere;
    if (inputs == 1 && m_sides > 1)
        for (size_t i = 0; i < n; i++) middle[i] = (samples[Left][i] + samples[Right][i]) * 0.5f;
    for (size_t i = 0; i < std::min(inputs, most); i++)
        in[i] = i >= m_sides ? silence.data() : inputs == 1 ? middle.data() : samples[i];
    for (size_t i = 0; i < std::min(outputs, most); i++)
        out[i] = i < m_sides ? spare[i].data() : nowhere.data();
    if (inputs > most || outputs > most) return true;
    m_face->Process(in.data(), out.data(), n, midi, time);

    bool sound = true;
    for (size_t i = 0; i < std::min(outputs, m_sides); i++) sound &= IsSound(out[i], n);
    if (!sound) return false;
    for (size_t s = 0; s < m_sides && outputs > 0; s++) {
        // One output is for all sides; a side that the effect does not know passes.
        if (s >= outputs && outputs > 1) break;
        std::copy_n(out[std::min(s, outputs - 1)], n, samples[s]);
    }
    return true;
}

void EffectSlot::Process(float* const* samples, size_t n, DelayLine& dry, std::span<const EffectMidi> midi,
                         const EffectTime& time) {
    if (!m_face) return;
    const bool instrument = m_face->Info().inputs == 0;
    const bool wanted = !m_bypass.load(std::memory_order_relaxed);
    if (!m_began && !wanted) {
        m_wet = 0;
        m_asleep = true;
    }
    m_began = true;
    if (m_restart.exchange(false, std::memory_order_acquire) || (m_failed && !wanted)) {
        m_failed.store(false, std::memory_order_relaxed);
        m_asleep = true;
    }
    if (!wanted && m_wet == 0) {
        m_asleep = true;
        dry.Process(samples, n);
        return;
    }
    if (m_asleep) {
        m_face->Reset();
        m_asleep = false;
        m_warming = dry.Frames();
    }
    // How loud the effect is from here on: it waits until its own sound has come through.
    const bool moving = (wanted ? m_wet < m_rampFrames : m_wet > 0);
    const bool beside = moving || dry.Frames() > 0;
    Block passing;
    std::array<float*, kMaxSides> pass;
    if (beside) {
        for (size_t s = 0; s < m_sides; s++) {
            pass[s] = passing[s].data();
            std::copy_n(samples[s], n, pass[s]);
        }
        dry.Process(pass.data(), n);
    }
    if (!m_failed.load(std::memory_order_relaxed) && !Run(samples, n, midi, time))
        m_failed.store(true, std::memory_order_relaxed);
    if (m_failed.load(std::memory_order_relaxed))
        for (size_t s = 0; s < m_sides; s++) std::fill_n(samples[s], n, 0.0f);
    // Sides that the effect has no output for keep up with the others.
    const size_t outputs = Outputs();
    if (!instrument && outputs > 1 && dry.Frames() > 0)
        for (size_t s = outputs; s < m_sides; s++) std::copy_n(pass[s], n, samples[s]);
    if (!moving) return;

    const float step = 1.0f / static_cast<float>(m_rampFrames);
    for (size_t i = 0; i < n; i++) {
        if (m_warming > 0 && wanted)
            m_warming--;
        else
            m_wet = wanted ? std::min(m_rampFrames, m_wet + 1) : std::max(0, m_wet - 1);
        const float wet = static_cast<float>(m_wet) * step;
        for (size_t s = 0; s < m_sides; s++)
            samples[s][i] =
                m_wet == m_rampFrames ? samples[s][i] : pass[s][i] + (samples[s][i] - pass[s][i]) * wet;
    }
}

}  // namespace host
