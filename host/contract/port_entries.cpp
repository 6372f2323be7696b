#include "host/contract/port_entries.h"

#include <algorithm>

namespace host {
namespace {

constexpr uint64_t ENTRY_BIT = uint64_t{1} << 62;
constexpr int TYPE_SHIFT = 56;
constexpr uint64_t NUMBER_MASK = (uint64_t{1} << TYPE_SHIFT) - 1;
enum : uint64_t { PAIR = 1, SINGLE = 2, MIDI = 3, OUTPUT = 4 };
constexpr uint64_t ALL_MIDI = 0;  ///< instead of a port's number

constexpr uint64_t EntryId(uint64_t type, uint64_t number) {
    return ENTRY_BIT | type << TYPE_SHIFT | (number & NUMBER_MASK);
}
constexpr uint64_t THE_OUTPUT = EntryId(OUTPUT, 1);

InputRoute DeviceRoute(uint32_t first, bool mono) {
    return {.source = InputSource::Device, .first = first, .mono = mono};
}

void AddDeviceInputs(const ProjectCore& core, std::vector<PortEntry>& entries) {
    // A session keeps its routes where the device has no inputs, so there is always a pair to choose.
    const std::string name = core.Texts()->input;
    const auto inputs = static_cast<uint32_t>(
        std::clamp<size_t>(core.engine.Status().inputs, kStereoSides, kMaxDeviceInputs));
    for (uint32_t i = 0; i + 1 < inputs; i += kStereoSides)
        entries.push_back({EntryId(PAIR, i), KIND_INPUT_BUS, 1,
                           name + ' ' + std::to_string(i + 1) + "/" + std::to_string(i + 2),
                           DeviceRoute(i, false)});
    for (uint32_t i = 0; i < inputs; i++)
        entries.push_back({EntryId(SINGLE, i), KIND_INPUT_BUS, 0, name + ' ' + std::to_string(i + 1),
                           DeviceRoute(i, true)});
}

void AddMidiInputs(const ProjectCore& core, std::vector<PortEntry>& entries) {
    InputRoute route{.source = InputSource::Device};
    entries.push_back({EntryId(MIDI, ALL_MIDI), KIND_MIDI_PORT_ENTRY, 0, core.Texts()->allMidi, route});
    if (!core.midi) return;
    for (const MidiPort& port : core.midi->Inputs()) {
        route.midi_port = port.name;
        entries.push_back({EntryId(MIDI, port.id), KIND_MIDI_PORT_ENTRY, 0, port.name, route});
    }
}

}  // namespace

std::vector<PortEntry> PortEntries(const ProjectCore& core, uint32_t kindMask) {
    std::vector<PortEntry> entries;
    if (!(kindMask & KIND_INPUT_BIT)) return entries;
    if (kindMask & KIND_SPECIAL)
        entries.push_back({THE_OUTPUT, KIND_OUTPUT_ENTRY, 1, core.engine.Status().device, {}});
    else if (kindMask & KIND_MIDI_TRACK)
        AddMidiInputs(core, entries);
    else
        AddDeviceInputs(core, entries);
    return entries;
}

bool IsPortEntry(uint64_t id) { return id & ENTRY_BIT; }

std::optional<PortEntry> FindPortEntry(const ProjectCore& core, uint64_t id) {
    if (!IsPortEntry(id)) return std::nullopt;
    for (const uint32_t kinds : {KIND_INPUT_BUS, KIND_MIDI_PORT_ENTRY, KIND_OUTPUT_ENTRY})
        for (PortEntry& entry : PortEntries(core, kinds))
            if (entry.id == id) return std::move(entry);
    return std::nullopt;
}

uint64_t InputTargetOf(const ProjectCore& core, const Channel& channel) {
    const InputRoute& input = channel.input;
    if (input.source == InputSource::None) return 0;
    if (input.source == InputSource::Channel) return input.channel;
    if (channel.kind != ChannelKind::MidiTrack) return EntryId(input.mono ? SINGLE : PAIR, input.first);
    if (core.midi)
        for (const MidiPort& port : core.midi->Inputs())
            if (port.name == input.midi_port) return EntryId(MIDI, port.id);
    // A port that is not there now: the route stays, and there is nothing to show for it.
    return input.midi_port.empty() ? EntryId(MIDI, ALL_MIDI) : 0;
}

uint64_t OutputTargetOf(const Channel& channel) {
    const bool toDevice = channel.kind == ChannelKind::Master || channel.kind == ChannelKind::PreviewBus;
    return toDevice ? THE_OUTPUT : channel.output;
}

bool SetInputTarget(Channel& channel, uint64_t target, const std::optional<PortEntry>& entry) {
    InputRoute route;
    const bool midi = channel.kind == ChannelKind::MidiTrack;
    if (entry) {
        if (entry->kind != (midi ? KIND_MIDI_PORT_ENTRY : KIND_INPUT_BUS)) return false;
        route = entry->route;
    } else if (target != 0) {
        if (midi || IsPortEntry(target)) return false;
        route = {.source = InputSource::Channel, .channel = target};
    }
    route.midi_channel = channel.input.midi_channel;
    channel.input = route;
    return true;
}

bool SetOutputTarget(Channel& channel, uint64_t target) {
    if (OutputTargetOf(channel) == target) return true;
    if (IsPortEntry(target)) return false;
    channel.output = target;
    return true;
}

}  // namespace host
