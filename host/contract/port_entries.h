// What channels can listen to and play to outside the project, as entries with ids of their own, and routes
// in the contract's terms.
#pragma once

#include "contract/host_contract.h"
#include "host/contract/project_core.h"

#include <string>
#include <vector>

namespace host {

struct PortEntry {
    uint64_t id;
    uint32_t kind;        ///< KIND_INPUT_BUS, KIND_MIDI_PORT_ENTRY, KIND_OUTPUT_ENTRY
    uint32_t countClass;  ///< 1 a pair, 0 one channel or MIDI
    std::string name;
    InputRoute route;  ///< of an input
};

/// Those of a kind: the device's inputs by pairs and one by one, the MIDI inputs behind one that stands for
/// all, the outputs.
std::vector<PortEntry> PortEntries(const ProjectCore& core, uint32_t kindMask);
/// The one with this id, or nothing. An id of a port that has gone is none.
std::optional<PortEntry> FindPortEntry(const ProjectCore& core, uint64_t id);
bool IsPortEntry(uint64_t id);

/// What a channel's input or output route leads to: a channel, an entry, 0 for nothing.
uint64_t InputTargetOf(const ProjectCore& core, const Channel& channel);
uint64_t OutputTargetOf(const Channel& channel);
/// Sets it; false for what is no such place. `wasEntry` tells what the id is.
bool SetInputTarget(Channel& channel, uint64_t target, const std::optional<PortEntry>& entry);
bool SetOutputTarget(Channel& channel, uint64_t target);

}  // namespace host
