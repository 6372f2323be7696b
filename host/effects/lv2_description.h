// What an LV2 plug-in says about itself, in the terms of the mixer: channels, parameters, and what each port
// is for.
#pragma once

#include "host/effects/effect.h"
#include "host/effects/lv2_world.h"

#include <optional>

namespace host {

/// Of what belongs to none that menus tell apart.
inline constexpr const char* OTHER_FAMILY = "Other";

enum class Lv2PortKind { AudioIn, AudioOut, ControlIn, ControlOut, EventsIn, EventsOut, Unconnected };

struct Lv2Port {
    std::string symbol;
    Lv2PortKind kind = Lv2PortKind::Unconnected;
    /// Of a control: its place among the parameters. NOT_A_PARAMETER for those that the host has for itself.
    size_t parameter = SIZE_MAX;
    uint32_t eventBytes = 0;  ///< how large a block of events can get
    bool midi = false;        ///< takes MIDI
    bool position = false;    ///< takes the project's position
    bool trigger = false;     ///< goes back by itself
};
inline constexpr size_t NOT_A_PARAMETER = SIZE_MAX;
/// Room for the events of a block where the plug-in asks for nothing else: some hundred notes.
inline constexpr uint32_t EVENT_BYTES = 16384;

struct Lv2Description {
    EffectInfo info;  ///< with the problem, when the host knows one before any code is loaded
    std::vector<EffectParameter> parameters;
    std::vector<Lv2Port> ports;  ///< by index
    std::optional<size_t> latencyPort, freewheelPort;
    bool inPlaceBroken = false;
    bool threadSafeRestore = false;
    bool hasDefaultState = false;
    std::string library;  ///< file name of its code
};

/// Under the world's lock. Ranges that depend on the sample rate are for this one.
Lv2Description DescribeLv2(Lv2World& world, const LilvPlugin* plugin, int sampleRate);

}  // namespace host
