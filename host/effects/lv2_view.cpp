#include "host/effects/lv2_view.h"

#include "host/effects/lv2_urids.h"

#include <lv2/atom/atom.h>
#include <lv2/instance-access/instance-access.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>

using namespace tarn;

namespace host {
namespace {

constexpr const char* VIEW_FEATURES[] = {
    LV2_UI__parent,
    LV2_UI__resize,
    LV2_UI__portMap,
    LV2_UI__portSubscribe,
    LV2_UI__touch,
    LV2_UI__idleInterface,
    LV2_UI_PREFIX "makeResident",
    LV2_URID__map,
    LV2_URID__unmap,
    LV2_OPTIONS__options,
    LV2_DATA_ACCESS_URI,
    LV2_INSTANCE_ACCESS_URI,
    LV2_UI__noUserResize,
    LV2_UI__fixedSize,
};

std::string PathOf(const LilvNode* node) {
    char* path = node ? lilv_node_get_path(node, nullptr) : nullptr;
    std::string text = path ? path : "";
    lilv_free(path);
    return text;
}

/// Libraries of interfaces stay: toolkits within leave threads and handlers behind, which must not lose their
/// code.
const Module* LoadForEver(const std::string& path, std::string& error) {
    static auto& loaded = *new std::map<std::string, Module>;
    Module& module = loaded[path];
    if (!module) module = Module::Load(path, error);
    return module ? &module : nullptr;
}

}  // namespace

Lv2ViewLink::Lv2ViewLink() {
    message.reserve(BYTES);
    block.reserve(2 * BYTES);
}

std::optional<Lv2ViewCode> FindX11View(Lv2World& world, const LilvPlugin* plugin) {
    std::optional<Lv2ViewCode> code;
    LilvUiList(lilv_plugin_get_uis(plugin)).ForEach([&](const LilvUI* ui) {
        if (code || !lilv_ui_is_a(ui, world.Uri(LV2_UI__X11UI))) return;
        bool fits = true;
        const LilvNode* uri = lilv_ui_get_uri(ui);
        lilv_world_load_resource(world.Get(), uri);
        LilvNodeList(lilv_world_find_nodes(world.Get(), uri, world.Uri(LV2_CORE__requiredFeature), nullptr))
            .ForEach([&](const LilvNode* feature) {
                fits &= std::ranges::any_of(VIEW_FEATURES, [&](const char* f) {
                    return !std::strcmp(f, lilv_node_as_string(feature));
                });
            });
        if (fits)
            code = {lilv_node_as_uri(uri), PathOf(lilv_ui_get_binary_uri(ui)),
                    PathOf(lilv_ui_get_bundle_uri(ui))};
    });
    return code;
}

Lv2View::Lv2View(const Lv2ViewCode& code, const Lv2ViewSubject& subject, uintptr_t parent, EffectEdits edits,
                 std::function<void(int, int)> resize)
    : m_subject(subject), m_edits(std::move(edits)), m_resize(std::move(resize)),
      m_sent(subject.description.ports.size(), NAN), m_grabbed(subject.description.ports.size()) {
    const auto fail = [&](const std::string& what) {
        throw EffectError(subject.effect.Info().name + " can't show its own interface: " + what);
    };
    std::string error;
    const Module* module = LoadForEver(code.library, error);
    auto* find =
        module ? module->Find<const LV2UI_Descriptor*(uint32_t)>("lv2ui_descriptor", error) : nullptr;
    if (!find) fail(error);
    for (uint32_t i = 0; (m_code = find(i)) && code.uri != m_code->URI;) i++;
    if (!m_code || !m_code->instantiate || !m_code->cleanup) fail("it is not in " + code.library);

    const Lv2Ids& id = Ids();
    m_options = {
        {{LV2_OPTIONS_INSTANCE, 0, id.sampleRate, sizeof(float), id.atomFloat, &m_subject.sampleRate},
         {LV2_OPTIONS_INSTANCE, 0, id.updateRate, sizeof(float), id.atomFloat, &m_updateRate},
         {}}};
    m_resizeFeature = {this, [](LV2UI_Feature_Handle handle, int width, int height) {
                           if (width <= 0 || height <= 0) return 1;
                           static_cast<Lv2View*>(handle)->m_resize(width, height);
                           return 0;
                       }};
    m_portMap = {this, [](LV2UI_Feature_Handle handle, const char* symbol) -> uint32_t {
                     const auto& ports = static_cast<Lv2View*>(handle)->m_subject.description.ports;
                     const auto found = std::ranges::find(ports, symbol, &Lv2Port::symbol);
                     return found == ports.end() ? LV2UI_INVALID_PORT_INDEX
                                                 : static_cast<uint32_t>(found - ports.begin());
                 }};
    // Every port is told of anyway.
    const auto agree = [](LV2UI_Feature_Handle, uint32_t, uint32_t, const LV2_Feature* const*) -> uint32_t {
        return 0;
    };
    m_subscribe = {this, agree, agree};
    m_touch = {this, [](LV2UI_Feature_Handle handle, uint32_t port, bool grabbed) {
                   static_cast<Lv2View*>(handle)->Touch(port, grabbed);
               }};
    m_dataAccess = {m_subject.descriptor.extension_data};
    const LV2_Feature features[] = {
        {LV2_UI__parent, reinterpret_cast<void*>(parent)},
        {LV2_UI__resize, &m_resizeFeature},
        {LV2_UI__portMap, &m_portMap},
        {LV2_UI__portSubscribe, &m_subscribe},
        {LV2_UI__touch, &m_touch},
        {LV2_UI__idleInterface, nullptr},
        {LV2_URID__map, Urids().MapFeature()},
        {LV2_URID__unmap, Urids().UnmapFeature()},
        {LV2_OPTIONS__options, m_options.data()},
        {LV2_INSTANCE_ACCESS_URI, m_subject.instance},
        {LV2_DATA_ACCESS_URI, &m_dataAccess},
    };
    std::vector<const LV2_Feature*> list;
    for (const LV2_Feature& feature : features)
        if (feature.URI != std::string_view(LV2_DATA_ACCESS_URI) || m_dataAccess.data_access)
            list.push_back(&feature);
    list.push_back(nullptr);

    // What was meant for an interface that has gone.
    while (m_subject.link.toView.Read(m_message)) {
    }
    m_subject.link.isOpen = true;
    const auto write = [](LV2UI_Controller view, uint32_t port, uint32_t size, uint32_t protocol,
                          const void* data) {
        static_cast<Lv2View*>(view)->Write(port, size, protocol, data);
    };
    m_view = m_code->instantiate(m_code, m_subject.description.info.uri.c_str(), code.bundle.c_str(), write,
                                 this, &m_widget, list.data());
    if (!m_view) {
        m_subject.link.isOpen = false;
        fail("it has refused to start");
    }
    if (m_code->extension_data)
        m_idle = static_cast<const LV2UI_Idle_Interface*>(m_code->extension_data(LV2_UI__idleInterface));
    SendValues();
}

Lv2View::~Lv2View() {
    m_subject.link.isOpen = false;
    m_code->cleanup(m_view);
    for (uint32_t port = 0; port < m_grabbed.size(); port++) Touch(port, false);
}

size_t Lv2View::ParameterOf(uint32_t port) const {
    const auto& ports = m_subject.description.ports;
    return port < ports.size() ? ports[port].parameter : NOT_A_PARAMETER;
}

void Lv2View::Touch(uint32_t port, bool grabbed) try {
    const size_t parameter = ParameterOf(port);
    if (parameter == NOT_A_PARAMETER || m_grabbed[port] == grabbed) return;
    m_grabbed[port] = grabbed;
    (grabbed ? m_edits.begin : m_edits.end)(parameter);
} catch (...) {
    // A function of the plug-in's called it, which knows no exceptions.
}

void Lv2View::Write(uint32_t port, uint32_t size, uint32_t protocol, const void* data) try {
    if (protocol == 0) {
        const size_t parameter = ParameterOf(port);
        float value = 0;
        if (parameter == NOT_A_PARAMETER || size != sizeof value) return;
        std::memcpy(&value, data, sizeof value);
        m_sent[port] = value;
        const bool held = m_grabbed[port];
        if (!held) m_edits.begin(parameter);
        m_edits.change(parameter, value);
        if (!held) m_edits.end(parameter);
        return;
    }
    LV2_Atom atom{};
    if (protocol != Ids().atomEventTransfer || size < sizeof atom) return;
    std::memcpy(&atom, data, sizeof atom);
    if (atom.size > size - sizeof atom) return;
    std::vector<uint8_t> message(Lv2ViewLink::HEAD + sizeof atom + atom.size);
    std::memcpy(message.data(), &port, sizeof port);
    std::memcpy(message.data() + Lv2ViewLink::HEAD, data, sizeof atom + atom.size);
    m_subject.link.toEffect.Write(message);
} catch (...) {
    // As above.
}

void Lv2View::SendValues() {
    if (!m_code->port_event) return;
    for (uint32_t port = 0; port < m_sent.size(); port++) {
        const size_t parameter = ParameterOf(port);
        if (parameter == NOT_A_PARAMETER) continue;
        const float value = m_subject.effect.Value(parameter);
        if (value == m_sent[port]) continue;
        m_sent[port] = value;
        m_code->port_event(m_view, port, sizeof value, 0, &value);
    }
}

bool Lv2View::Idle() {
    SendValues();
    while (m_subject.link.toView.Read(m_message)) {
        uint32_t port = 0;
        std::memcpy(&port, m_message.data(), sizeof port);
        if (m_code->port_event)
            m_code->port_event(m_view, port, static_cast<uint32_t>(m_message.size() - Lv2ViewLink::HEAD),
                               Ids().atomEventTransfer, m_message.data() + Lv2ViewLink::HEAD);
    }
    return !m_idle || m_idle->idle(m_view) == 0;
}

}  // namespace host
