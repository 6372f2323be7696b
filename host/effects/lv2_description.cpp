#include "host/effects/lv2_description.h"

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/core/lv2.h>
#include <lv2/event/event.h>
#include <lv2/log/log.h>
#include <lv2/midi/midi.h>
#include <lv2/options/options.h>
#include <lv2/parameters/parameters.h>
#include <lv2/port-props/port-props.h>
#include <lv2/resize-port/resize-port.h>
#include <lv2/state/state.h>
#include <lv2/time/time.h>
#include <lv2/units/units.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

namespace host {
namespace {

/// What a plug-in may ask for at most.
constexpr uint32_t MOST_EVENT_BYTES = 1 << 24;

/// What Lv2Effect gives or keeps to.
constexpr const char* FEATURES[] = {
    LV2_CORE__hardRTCapable,
    LV2_CORE__inPlaceBroken,
    LV2_CORE__isLive,
    LV2_BUF_SIZE__boundedBlockLength,
    LV2_LOG__log,
    LV2_OPTIONS__options,
    LV2_STATE__freePath,
    LV2_STATE__loadDefaultState,
    LV2_STATE__makePath,
    LV2_STATE__mapPath,
    LV2_STATE__threadSafeRestore,
    LV2_URID__map,
    LV2_URID__unmap,
    LV2_WORKER__schedule,
};
constexpr const char* OPTIONS[] = {LV2_BUF_SIZE__minBlockLength, LV2_BUF_SIZE__maxBlockLength,
                                   LV2_BUF_SIZE__nominalBlockLength, LV2_BUF_SIZE__sequenceSize,
                                   LV2_PARAMETERS__sampleRate};

struct Family {
    const char* pluginClass;
    const char* name;
};
/// The user's names for the classes that menus tell apart; a class that is not here goes by its parent's.
constexpr Family FAMILIES[] = {
    {LV2_CORE__AmplifierPlugin, "Dynamics"},    {LV2_CORE__AnalyserPlugin, "Analyser"},
    {LV2_CORE__ChorusPlugin, "Modulation"},     {LV2_CORE__DelayPlugin, "Delay"},
    {LV2_CORE__DistortionPlugin, "Distortion"}, {LV2_CORE__DynamicsPlugin, "Dynamics"},
    {LV2_CORE__EQPlugin, "Equaliser"},          {LV2_CORE__FilterPlugin, "Filter"},
    {LV2_CORE__GeneratorPlugin, "Generator"},   {LV2_CORE__InstrumentPlugin, "Instrument"},
    {LV2_CORE_PREFIX "MIDIPlugin", "MIDI"},     {LV2_CORE__ModulatorPlugin, "Modulation"},
    {LV2_CORE__PitchPlugin, "Pitch"},           {LV2_CORE__ReverbPlugin, "Reverb"},
    {LV2_CORE__SimulatorPlugin, "Simulator"},   {LV2_CORE__SpatialPlugin, "Spatial"},
    {LV2_CORE__SpectralPlugin, "Spectral"},     {LV2_CORE__UtilityPlugin, "Utility"},
};
/// As printed behind a number, where the standard's own symbol is none to print.
constexpr Family UNITS[] = {
    {LV2_UNITS__pc, "%"},     {LV2_UNITS__coef, ""},     {LV2_UNITS__semitone12TET, "semitones"},
    {LV2_UNITS__degree, "°"}, {LV2_UNITS__midiNote, ""}, {LV2_UNITS__bpm, "BPM"},
};

std::string TextOf(const LilvNode* node) {
    const char* text = node ? lilv_node_as_string(node) : nullptr;
    return text ? text : "";
}
std::string TextOf(const LilvPtr<LilvNode>& node) { return TextOf(node.get()); }

const char* Lookup(std::span<const Family> table, const std::string& uri) {
    const auto found = std::ranges::find_if(table, [&](const Family& f) { return uri == f.pluginClass; });
    return found == table.end() ? nullptr : found->name;
}

std::string FamilyOf(Lv2World& world, const LilvPlugin* plugin) {
    const LilvPluginClasses* classes = lilv_world_get_plugin_classes(world.Get());
    const LilvPluginClass* at = lilv_plugin_get_class(plugin);
    // A class may name any parent, itself too.
    for (int depth = 0; at && depth < 16; depth++) {
        if (const char* name = Lookup(FAMILIES, TextOf(lilv_plugin_class_get_uri(at)))) return name;
        const LilvNode* parent = lilv_plugin_class_get_parent_uri(at);
        at = parent ? lilv_plugin_classes_get_by_uri(classes, parent) : nullptr;
    }
    return OTHER_FAMILY;
}

class PortReader {
public:
    PortReader(Lv2World& world, const LilvPlugin* plugin, const LilvPort* port)
        : m_world(world), m_plugin(plugin), m_port(port) {}

    bool Is(const char* uri) { return lilv_port_is_a(m_plugin, m_port, m_world.Uri(uri)); }
    bool Has(const char* uri) { return lilv_port_has_property(m_plugin, m_port, m_world.Uri(uri)); }
    bool Takes(const char* uri) { return lilv_port_supports_event(m_plugin, m_port, m_world.Uri(uri)); }
    bool HasValue(const char* predicate, const char* uri) {
        const LilvNodeList values(lilv_port_get_value(m_plugin, m_port, m_world.Uri(predicate)));
        return values.Raw() && lilv_nodes_contains(values.Raw(), m_world.Uri(uri));
    }
    LilvPtr<LilvNode> Value(const char* predicate) {
        return LilvPtr<LilvNode>(lilv_port_get(m_plugin, m_port, m_world.Uri(predicate)));
    }
    std::string Symbol() const { return TextOf(lilv_port_get_symbol(m_plugin, m_port)); }
    std::string Name() const { return TextOf(LilvPtr<LilvNode>(lilv_port_get_name(m_plugin, m_port))); }
    LilvPointList Points() const { return LilvPointList(lilv_port_get_scale_points(m_plugin, m_port)); }

private:
    Lv2World& m_world;
    const LilvPlugin* m_plugin;
    const LilvPort* m_port;
};

/// A number that may stand in for a value, or what else it is to be.
float Number(const LilvNode* node, float otherwise) {
    const bool isNumber = node && (lilv_node_is_float(node) || lilv_node_is_int(node));
    const float value = isNumber ? lilv_node_as_float(node) : otherwise;
    return std::isfinite(value) ? value : otherwise;
}

std::string UnitOf(Lv2World& world, PortReader& port) {
    const LilvPtr<LilvNode> unit = port.Value(LV2_UNITS__unit);
    if (!unit) return {};
    if (const char* known = Lookup(UNITS, TextOf(unit))) return known;
    if (!lilv_node_is_uri(unit.get()) && !lilv_node_is_blank(unit.get())) return TextOf(unit);
    return TextOf(
        LilvPtr<LilvNode>(lilv_world_get(world.Get(), unit.get(), world.Uri(LV2_UNITS__symbol), nullptr)));
}

EffectParameter ReadParameter(Lv2World& world, PortReader& port, int sampleRate) {
    EffectParameter p;
    p.symbol = port.Symbol();
    p.name = port.Name();
    if (p.name.empty()) p.name = p.symbol;
    p.unit = UnitOf(world, port);
    p.toggled = port.Has(LV2_CORE__toggled);
    p.integer = port.Has(LV2_CORE__integer);
    p.shown = port.Is(LV2_CORE__OutputPort);
    port.Points().ForEach([&](const LilvScalePoint* point) {
        const float value = Number(lilv_scale_point_get_value(point), NAN);
        if (!std::isnan(value)) p.points.emplace_back(value, TextOf(lilv_scale_point_get_label(point)));
    });
    std::ranges::stable_sort(p.points, {}, &std::pair<float, std::string>::first);
    p.listed = !p.points.empty() && port.Has(LV2_CORE__enumeration);

    const float scale = port.Has(LV2_CORE__sampleRate) ? static_cast<float>(sampleRate) : 1;
    const float low = p.listed ? p.points.front().first : 0, high = p.listed ? p.points.back().first : 1;
    p.minimum = p.toggled ? 0 : Number(port.Value(LV2_CORE__minimum).get(), low) * scale;
    p.maximum =
        p.toggled ? 1 : Number(port.Value(LV2_CORE__maximum).get(), std::max(high, p.minimum)) * scale;
    if (p.maximum < p.minimum) std::swap(p.minimum, p.maximum);
    p.preset = std::clamp(Number(port.Value(LV2_CORE__default).get(), p.minimum / scale) * scale, p.minimum,
                          p.maximum);
    p.logarithmic = port.Has(LV2_PORT_PROPS__logarithmic) && p.minimum > 0;
    return p;
}

uint32_t EventBytes(PortReader& port) {
    const LilvPtr<LilvNode> asked = port.Value(LV2_RESIZE_PORT__minimumSize);
    const int bytes = asked && lilv_node_is_int(asked.get()) ? lilv_node_as_int(asked.get()) : 0;
    return std::clamp(static_cast<uint32_t>(std::max(bytes, 0)), EVENT_BYTES, MOST_EVENT_BYTES);
}

bool Contains(std::span<const char* const> list, const std::string& uri) {
    return std::ranges::any_of(list, [&](const char* known) { return uri == known; });
}

/// The first that the plug-in can't be without and this host does not have.
std::string MissingFeature(Lv2World& world, const LilvPlugin* plugin) {
    std::string missing;
    LilvNodeList(lilv_plugin_get_required_features(plugin)).ForEach([&](const LilvNode* feature) {
        if (missing.empty() && !Contains(FEATURES, TextOf(feature)))
            missing = "needs the feature " + TextOf(feature) + ", which this host does not have";
    });
    LilvNodeList(lilv_plugin_get_value(plugin, world.Uri(LV2_OPTIONS__requiredOption)))
        .ForEach([&](const LilvNode* option) {
            if (missing.empty() && !Contains(OPTIONS, TextOf(option)))
                missing = "needs the option " + TextOf(option) + ", which this host does not have";
        });
    return missing;
}

struct PortClass {
    const char* type;
    const char* refusal;  ///< said of the port
};
constexpr PortClass REFUSED_PORTS[] = {
    {LV2_CORE__CVPort, "is driven by a control voltage"},
    {LV2_EVENT__EventPort, "speaks the event format before atoms"},
};

}  // namespace

Lv2Description DescribeLv2(Lv2World& world, const LilvPlugin* plugin, int sampleRate) {
    Lv2Description d;
    EffectInfo& info = d.info;
    info.uri = TextOf(lilv_plugin_get_uri(plugin));
    info.name = TextOf(LilvPtr<LilvNode>(lilv_plugin_get_name(plugin)));
    info.maker = TextOf(LilvPtr<LilvNode>(lilv_plugin_get_author_name(plugin)));
    info.family = FamilyOf(world, plugin);
    const auto refuse = [&](const std::string& reason) {
        if (info.problem.empty()) info.problem = reason;
    };
    if (info.name.empty()) {
        info.name = info.uri;
        refuse("has no name");
    }

    const LilvNode* library = lilv_plugin_get_library_uri(plugin);
    char* path = library ? lilv_node_get_path(library, nullptr) : nullptr;
    if (path) d.library = path;
    lilv_free(path);
    if (d.library.empty()) refuse("names no library");
    if (const std::string missing = MissingFeature(world, plugin); !missing.empty()) refuse(missing);
    d.inPlaceBroken = lilv_plugin_has_feature(plugin, world.Uri(LV2_CORE__inPlaceBroken));
    d.threadSafeRestore = lilv_plugin_has_feature(plugin, world.Uri(LV2_STATE__threadSafeRestore));
    d.hasDefaultState = lilv_plugin_has_feature(plugin, world.Uri(LV2_STATE__loadDefaultState));

    const uint32_t count = lilv_plugin_get_num_ports(plugin);
    if (count == 0) refuse("describes no ports, or leaves some out");
    d.ports.resize(count);
    std::set<std::string> symbols;
    for (uint32_t i = 0; i < count; i++) {
        PortReader port(world, plugin, lilv_plugin_get_port_by_index(plugin, i));
        Lv2Port& p = d.ports[i];
        p.symbol = port.Symbol();
        const bool input = port.Is(LV2_CORE__InputPort);
        if (!input && !port.Is(LV2_CORE__OutputPort)) {
            if (!port.Has(LV2_CORE__connectionOptional))
                refuse("does not say whether its port " + p.symbol + " is input or output");
        } else if (port.Is(LV2_CORE__AudioPort)) {
            p.kind = input ? Lv2PortKind::AudioIn : Lv2PortKind::AudioOut;
            (input ? info.inputs : info.outputs)++;
        } else if (port.Is(LV2_CORE__ControlPort)) {
            p.kind = input ? Lv2PortKind::ControlIn : Lv2PortKind::ControlOut;
            if (input && port.HasValue(LV2_CORE__designation, LV2_CORE__freeWheeling)) {
                d.freewheelPort = i;
            } else if (!input && (port.HasValue(LV2_CORE__designation, LV2_CORE__latency) ||
                                  port.Has(LV2_CORE__reportsLatency))) {
                d.latencyPort = i;
            } else {
                p.trigger = input && port.Has(LV2_PORT_PROPS__trigger);
                p.parameter = d.parameters.size();
                d.parameters.push_back(ReadParameter(world, port, sampleRate));
                if (!symbols.insert(d.parameters.back().symbol).second)
                    refuse("has two ports with the symbol " + p.symbol);
            }
        } else if (port.Is(LV2_ATOM__AtomPort) && port.HasValue(LV2_ATOM__bufferType, LV2_ATOM__Sequence)) {
            p.kind = input ? Lv2PortKind::EventsIn : Lv2PortKind::EventsOut;
            p.eventBytes = EventBytes(port);
            p.midi = input && port.Takes(LV2_MIDI__MidiEvent);
            p.position = input && port.Takes(LV2_TIME__Position);
            info.midiInput |= p.midi;
        } else if (!port.Has(LV2_CORE__connectionOptional)) {
            const auto known =
                std::ranges::find_if(REFUSED_PORTS, [&](const PortClass& c) { return port.Is(c.type); });
            refuse("has a port, " + p.symbol + ", that " +
                   (known == std::end(REFUSED_PORTS) ? "is of a kind that this host does not know"
                                                     : known->refusal));
        }
    }
    info.instrument = info.family == Lookup(FAMILIES, LV2_CORE__InstrumentPlugin) ||
                      (info.midiInput && info.inputs == 0 && info.outputs > 0);
    if (info.instrument && info.family == OTHER_FAMILY)
        info.family = Lookup(FAMILIES, LV2_CORE__InstrumentPlugin);
    if (info.inputs == 0 && info.outputs == 0) refuse("has no audio channels");
    return d;
}

}  // namespace host
