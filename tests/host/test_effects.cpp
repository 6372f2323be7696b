#include "tests/host/test_effects.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace host::test {
namespace {

class TestEffect final : public Effect {
public:
    TestEffect(std::string uri, int sampleRate) : m_rate(sampleRate) {
        m_info.name = uri.substr(4);
        const auto is = [&](const char* name) { return uri == name; };
        m_info.inputs = m_info.outputs = is("urn:mono") ? 1 : is("urn:six") ? 6 : 2;
        if (is("urn:keys")) m_info.inputs = 0;
        m_info.instrument = m_info.midiInput = is("urn:keys");
        if (uri.starts_with("urn:late:")) m_delay = std::stoul(uri.substr(9));
        if (is("urn:half") || is("urn:six")) m_gain = 0.5f;
        if (is("urn:mono")) m_gain = -1;
        if (is("urn:nan")) m_poison = std::numeric_limits<float>::quiet_NaN();
        if (is("urn:huge")) m_poison = 1e30f;
        m_absurd = is("urn:absurd");
        if (is("urn:gain")) m_parameters = {{.symbol = "gain", .maximum = 4, .preset = 1}};
        m_info.uri = std::move(uri);
        m_held.resize(6, std::vector<float>(m_delay));
    }

    const EffectInfo& Info() const override { return m_info; }
    std::span<const EffectParameter> Parameters() const override { return m_parameters; }
    float Value(size_t) const override { return m_gain; }
    void SetValue(size_t, float value) override { m_gain = value; }
    size_t Latency() const override { return m_absurd ? 90 * static_cast<size_t>(m_rate) : m_delay; }
    void Process(const float* const* in, float* const* out, size_t n, std::span<const EffectMidi> midi,
                 const EffectTime&) override {
        auto event = midi.begin();
        for (size_t i = 0; i < n; i++, m_frame++) {
            for (; event != midi.end() && event->frame <= i; ++event) {
                if ((event->bytes[0] & 0xF0) == 0x90) m_key = static_cast<float>(event->bytes[2]) / 128;
                if ((event->bytes[0] & 0xF0) == 0x80) m_key = 0;
            }
            for (size_t s = 0; s < m_info.outputs; s++) {
                float x = m_info.inputs ? in[s][i] * m_gain : m_key;
                if (m_delay) std::swap(x, m_held[s][m_frame % m_delay]);
                out[s][i] = m_poison != 0 && m_frame >= 1000 ? m_poison : x;
            }
        }
    }
    void Reset() override {
        m_frame = 0;
        m_key = 0;
        for (auto& side : m_held) std::ranges::fill(side, 0.0f);
    }
    std::string SaveState() const override { return std::to_string(m_gain); }
    void LoadState(std::string_view state) override {
        const float value = std::strtof(std::string(state).c_str(), nullptr);
        if (!(value > 0)) throw EffectError(m_info.name + ": no such state");
        m_gain = value;
    }
    std::vector<std::string> Presets() const override { return {"Loud"}; }
    void LoadPreset(size_t) override { m_gain = 4; }

private:
    EffectInfo m_info;
    std::vector<EffectParameter> m_parameters;
    const int m_rate;
    std::atomic<float> m_gain{1};
    size_t m_delay = 0, m_frame = 0;
    bool m_absurd = false;
    float m_poison = 0, m_key = 0;
    std::vector<std::vector<float>> m_held;
};

}  // namespace

std::unique_ptr<Effect> TestEffects::Make(std::string_view uri, int sampleRate) {
    if (!uri.starts_with("urn:")) throw EffectError(std::string(uri) + ": no such effect");
    return std::make_unique<TestEffect>(std::string(uri), sampleRate);
}

}  // namespace host::test
