// An LV2 effect's state and presets.
#include "host/effects/lv2_effect.h"
#include "host/effects/lv2_urids.h"

#include <lv2/presets/presets.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <tuple>

namespace host {
namespace {

/// Has lilv restore a state into an instance, and hands the plug-in's own answer out, which lilv keeps to
/// itself.
LV2_State_Status RestoreFromLilv(const LilvState& state, const LilvInstance& instance,
                                 const LV2_State_Interface& plugin, const LV2_Feature* const* features) {
    struct Listener {
        LV2_Handle instance;
        const LV2_State_Interface& plugin;
        LV2_State_Status status;
    };
    Listener listener{instance.lv2_handle, plugin, LV2_STATE_SUCCESS};
    LV2_Descriptor descriptor = *instance.lv2_descriptor;
    descriptor.extension_data = [](const char*) -> const void* {
        static const LV2_State_Interface heard{
            nullptr, [](LV2_Handle handle, LV2_State_Retrieve_Function retrieve, LV2_State_Handle from,
                        uint32_t flags, const LV2_Feature* const* given) {
                auto& l = *static_cast<Listener*>(handle);
                return l.status = l.plugin.restore(l.instance, retrieve, from, flags, given);
            }};
        return &heard;
    };
    LilvInstance stand_in{&descriptor, &listener, instance.pimpl};
    lilv_state_restore(&state, &stand_in, nullptr, nullptr, LV2_STATE_IS_POD, features);
    return listener.status;
}

/// A port's value as a state has it, in any type of number.
float NumberOf(const void* value, uint32_t size, uint32_t type) {
    const auto as = [&]<class T>(T number) {
        if (size != sizeof number) return NAN;
        std::memcpy(&number, value, sizeof number);
        return static_cast<float>(number);
    };
    const Lv2Ids& id = Ids();
    if (type == id.atomFloat) return as(float{});
    if (type == id.atomDouble) return as(double{});
    if (type == id.atomInt || type == id.atomBool) return as(int32_t{});
    if (type == id.atomLong) return as(int64_t{});
    return NAN;
}

}  // namespace

LV2_State_Status Lv2Effect::WithState(const TakeState& take) {
    std::unique_lock<std::mutex> work;
    if (m_worker) work = m_worker->HoldWork();
    if (m_description.threadSafeRestore) return take(*m_state, m_features.ListForRestoring());
    m_gate.Enter();
    const LV2_State_Status status = take(*m_state, m_features.ListForRestoring());
    m_gate.Leave();
    return status;
}

void Lv2Effect::Take(const TakeState& take) {
    if (!m_state) return;
    const LV2_Handle instance = lilv_instance_get_handle(m_instance.get());
    LV2_State_Status saved = LV2_STATE_SUCCESS;
    const std::vector<Lv2Property> before = SaveProperties(*m_state, instance, m_features.List(), saved);
    const LV2_State_Status status = WithState(take);
    if (status == LV2_STATE_SUCCESS) return;
    // It may have taken a part.
    if (saved == LV2_STATE_SUCCESS)
        WithState([&](const LV2_State_Interface& plugin, const LV2_Feature* const* features) {
            return RestoreProperties(plugin, instance, features, before);
        });
    Fail(std::string("refuses the state: ") + StatusText(status));
}

std::string Lv2Effect::SaveState() const {
    Lv2State state{m_description.info.uri, {}, {}};
    for (size_t i = 0; i < m_description.parameters.size(); i++)
        if (!m_description.parameters[i].shown)
            state.values.emplace_back(m_description.parameters[i].symbol, Value(i));
    LV2_State_Status status = LV2_STATE_SUCCESS;
    if (m_state)
        state.properties =
            SaveProperties(*m_state, lilv_instance_get_handle(m_instance.get()), m_features.List(), status);
    if (status != LV2_STATE_SUCCESS) Fail(std::string("can't save its state: ") + StatusText(status));
    try {
        return FormatLv2State(state);
    } catch (const std::runtime_error& e) {
        Fail(std::string("can't save its state: ") + e.what());
    }
}

void Lv2Effect::LoadState(std::string_view text) {
    Lv2State state;
    try {
        state = ParseLv2State(text);
    } catch (const std::runtime_error& e) {
        Fail(std::string("can't take a state: ") + e.what());
    }
    if (state.plugin != m_description.info.uri) Fail("can't take a state: it is one of " + state.plugin);
    Take([&](const LV2_State_Interface& plugin, const LV2_Feature* const* features) {
        return RestoreProperties(plugin, lilv_instance_get_handle(m_instance.get()), features,
                                 state.properties);
    });
    for (const auto& [symbol, value] : state.values) SetBySymbol(symbol, value);
}

void Lv2Effect::LoadLilvState(const LilvState& state) {
    Take([&](const LV2_State_Interface& plugin, const LV2_Feature* const* features) {
        return RestoreFromLilv(state, *m_instance, plugin, features);
    });
    const auto set = [](const char* symbol, void* effect, const void* value, uint32_t size, uint32_t type) {
        static_cast<Lv2Effect*>(effect)->SetBySymbol(symbol, NumberOf(value, size, type));
    };
    lilv_state_emit_port_values(&state, set, this);
}

const std::vector<Lv2Effect::Preset>& Lv2Effect::FindPresets() const {
    if (m_presets) return *m_presets;
    const std::lock_guard lock(m_world->Guard());
    std::vector<Preset> found;
    LilvNodeList(lilv_plugin_get_related(m_plugin, m_world->Uri(LV2_PRESETS__Preset)))
        .ForEach([&](const LilvNode* preset) {
            // Its name may stand in a file of its own.
            lilv_world_load_resource(m_world->Get(), preset);
            const LilvPtr<LilvNode> name(
                lilv_world_get(m_world->Get(), preset, m_world->Uri(LILV_NS_RDFS "label"), nullptr));
            const char* uri = lilv_node_as_string(preset);
            found.push_back({name ? lilv_node_as_string(name.get()) : uri, uri});
        });
    std::ranges::sort(found, {}, [](const Preset& p) { return std::tie(p.name, p.uri); });
    return m_presets.emplace(std::move(found));
}

std::vector<std::string> Lv2Effect::Presets() const {
    std::vector<std::string> names;
    for (const Preset& preset : FindPresets()) names.push_back(preset.name);
    return names;
}

void Lv2Effect::LoadPreset(size_t index) {
    const std::vector<Preset>& presets = FindPresets();
    if (index >= presets.size()) Fail("has no preset of this number");
    LilvPtr<LilvState> state;
    {
        const std::lock_guard lock(m_world->Guard());
        state.reset(lilv_state_new_from_world(m_world->Get(), Urids().MapFeature(),
                                              m_world->Uri(presets[index].uri)));
    }
    if (!state) Fail("has a preset that can't be read, " + presets[index].name);
    LoadLilvState(*state);
}

}  // namespace host
