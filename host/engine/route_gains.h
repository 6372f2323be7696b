// How a channel's settings become the gains of a way out of it.
#pragma once

#include "host/engine/gain_course.h"
#include "host/engine/speakers.h"
#include "host/session/channel.h"

#include <cstdint>
#include <span>

namespace host {

/// What the mixer needs of a channel's settings; gains are factors.
struct StripSettings {
    float volume[2] = {0, 0};
    float pan = 0, width = 1;
    float inputVolume = 1, inputPan = 0;
    float x = 0, y = 1, lfe = 0;
    float rear = 1, center = 1, low = 1;  ///< faders of a surround bus
    uint32_t panModel = 0;                ///< PanModel
    uint32_t mute = 0, heard = 0;         ///< by its own switch, by solo
    uint32_t inverted = 0;
};
StripSettings SettingsOf(const Channel& channel, bool heard);

struct SendSettings {
    float level = 0, pan = 0;
    uint32_t panModel = 0;
    uint32_t linked = 0, before = 0;  ///< before the fader
    uint32_t mute = 0, heard = 0;
};
SendSettings SettingsOf(const Send& send, bool heard);

/// Puts an automated value in place of the setting. Targets that it does not have change nothing.
void Override(StripSettings& settings, AutomationTarget target, double value);
void Override(SendSettings& settings, AutomationTarget target, double value);

/// One of a route's gains leads from a side of the channel to a side of the target.
struct Tap {
    uint8_t from, to;
};

/// Taps between channels of so many sides, in the order of the gains.
std::span<const Tap> TapsOf(size_t fromSides, size_t toSides);

enum class Stage : uint8_t { All, AfterVolume };  ///< AfterVolume: VolumeGains were applied before

/// Gains of a channel's output.
GainCourse::Gains OutputGains(const StripSettings& s, size_t fromSides, size_t toSides, Stage stage);
GainCourse::Gains SendGains(const StripSettings& s, const SendSettings& send, size_t fromSides,
                            size_t toSides, Stage stage);
/// Gains of each side for volume and polarity alone.
GainCourse::Gains VolumeGains(const StripSettings& s, size_t sides);
/// Of the sides of an assignable FX, before its chain.
GainCourse::Gains InputGains(const StripSettings& s);

}  // namespace host
