// An LV2 plug-in as an effect: one instance with its ports.
#pragma once

#include "host/effects/effect.h"
#include "host/effects/lv2_description.h"
#include "host/effects/lv2_features.h"
#include "host/effects/lv2_view.h"
#include "host/effects/lv2_worker.h"

#include <lv2/atom/forge.h>

#include <array>
#include <atomic>
#include <functional>

namespace host {

class Lv2Effect final : public Effect {
public:
    /// Throws EffectError. [any-thread]
    Lv2Effect(std::shared_ptr<Lv2World> world, const std::string& uri, int sampleRate);
    ~Lv2Effect() override;

    const EffectInfo& Info() const override { return m_description.info; }
    std::span<const EffectParameter> Parameters() const override { return m_description.parameters; }
    float Value(size_t parameter) const override;
    void SetValue(size_t parameter, float value) override;
    size_t Latency() const override { return m_latency.load(std::memory_order_relaxed); }
    std::string Complaint() const override;
    void Process(const float* const* in, float* const* out, size_t n, std::span<const EffectMidi> midi,
                 const EffectTime& time) override;
    void Reset() override;
    std::string SaveState() const override;
    void LoadState(std::string_view state) override;
    std::vector<std::string> Presets() const override;
    void LoadPreset(size_t index) override;
    bool HasView() const override { return m_viewCode.has_value(); }
    std::unique_ptr<EffectView> OpenView(uintptr_t parent, const EffectEdits& edits,
                                         const std::function<void(int, int)>& resize) override;

private:
    /// Lets one thread at a time run the plug-in's functions. The audio thread never waits for it.
    class Gate {
    public:
        bool TryEnter() { return !m_taken.test_and_set(std::memory_order_acquire); }
        void Enter();
        void Leave() { m_taken.clear(std::memory_order_release); }

    private:
        std::atomic_flag m_taken;
    };
    struct Preset {
        std::string name, uri;
    };

    [[noreturn]] void Fail(const std::string& what) const;
    void ConnectControls();
    void Restart();
    void TakeLatency();
    void Run(const float* const* in, float* const* out, uint32_t n, std::span<const EffectMidi> midi,
             const EffectTime& time);
    void WriteEvents(size_t port, uint32_t n, std::span<const EffectMidi> midi, const EffectTime& time,
                     bool moved);
    void TakeFromView(Lv2ViewLink& link);
    void TellView(Lv2ViewLink& link);
    void SetBySymbol(const std::string& symbol, float value);
    using TakeState = std::function<LV2_State_Status(const LV2_State_Interface& plugin,
                                                     const LV2_Feature* const* features)>;
    /// While nothing else of the plug-in runs, as far as it needs that.
    LV2_State_Status WithState(const TakeState& take);
    /// Throws when the plug-in refuses, and puts back what it had.
    void Take(const TakeState& take);
    void LoadLilvState(const LilvState& state);
    const std::vector<Preset>& FindPresets() const;

    std::shared_ptr<Lv2World> m_world;
    const LilvPlugin* m_plugin = nullptr;
    Lv2Description m_description;
    double m_sampleRate;
    Lv2Features m_features;
    LV2_Atom_Forge m_forge{};
    LilvPtr<LilvInstance> m_instance;
    const LV2_State_Interface* m_state = nullptr;
    std::unique_ptr<Lv2Worker> m_worker;
    mutable std::optional<std::vector<Preset>> m_presets;  ///< the control thread's

    std::optional<Lv2ViewCode> m_viewCode;
    std::unique_ptr<Lv2ViewLink> m_viewLink;  ///< made for the first view
    std::atomic<Lv2ViewLink*> m_viewLinkInUse{nullptr};

    std::unique_ptr<std::atomic<float>[]> m_values;  ///< by parameter, as the user and the plug-in set them
    std::atomic<bool> m_restartWanted{false};
    std::atomic<size_t> m_latency{0};
    std::atomic<bool> m_latencyIsAbsurd{false};

    Gate m_gate;                                  ///< of what follows
    std::vector<float> m_controls;                ///< by port: what the plug-in reads and writes in a run
    std::vector<std::vector<uint64_t>> m_events;  ///< by port, in words for the alignment of atoms
    std::vector<std::array<float, kMaxEffectFrames>> m_copies;  ///< inputs of those that can't work in place
    EffectTime m_expected;  ///< where the next block is when nothing happens
    bool m_positionKnown = false, m_restarted = false;
};

}  // namespace host
