// The members of a channel's records in session files.
#pragma once

#include "host/session/json_fields.h"

namespace host {

inline constexpr const char* kKindNames[] = {"track", "midi",  "bus",    "fx",
                                             "synth", "input", "master", "preview"};
inline constexpr const char* kPanModelNames[] = {"add",       "balance_0",      "balance_3",
                                                 "balance_6", "constant_power", "film"};
inline constexpr const char* kInputNames[] = {"none", "device", "channel"};
inline constexpr const char* kAutomationModeNames[] = {"off", "read", "touch", "latch", "write"};
inline constexpr const char* kAutomationTargetNames[] = {
    "volume",     "pan",        "mute",         "width",       "input_volume",  "input_pan",
    "surround_x", "surround_y", "surround_lfe", "rear_volume", "center_volume", "lfe_volume",
    "send_level", "send_pan",   "send_mute",    "bypass",      "parameter"};

template <>
struct Fields<Clip> {
    template <class F>
    static void Visit(F& f) {
        f.Text("file", &Clip::file, kMaxTextBytes * 4, Presence::Required);
        f.Number("start", &Clip::start, 0, kMaxSeconds, Presence::Required);
        f.Number("offset", &Clip::offset, 0, kMaxSeconds);
        f.Number("length", &Clip::length, 0, kMaxSeconds, Presence::Required);
        f.Number("gain_db", &Clip::gain_db, kSilenceDb, kMaxGainDb);
    }
};

template <>
struct Fields<Insert> {
    template <class F>
    static void Visit(F& f) {
        f.Integer("id", &Insert::id, 1, UINT32_MAX, Presence::Required);
        f.Text("uri", &Insert::uri, kMaxTextBytes, Presence::Required);
        f.Since(2);
        f.Text("name", &Insert::name, kMaxTextBytes);
        f.Flag("bypass", &Insert::bypass);
        f.Flag("post_fader", &Insert::post_fader);
        f.Text("state", &Insert::state, kMaxStateBytes);
    }
};

template <>
struct Fields<Send> {
    template <class F>
    static void Visit(F& f) {
        f.Integer("id", &Send::id, 1, UINT32_MAX, Presence::Required);
        f.Integer("target", &Send::target, 1, kMaxChannelId, Presence::Required);
        f.Number("level_db", &Send::level_db, kSilenceDb, kMaxGainDb);
        f.Since(2);
        f.Number("pan", &Send::pan, -1, 1);
        f.Flag("pre_fader", &Send::pre_fader);
        f.Flag("mute", &Send::mute);
        f.Flag("link_pan", &Send::link_pan);
        f.Choice("pan_model", &Send::pan_model, kPanModelNames);
    }
};

template <>
struct Fields<SurroundPlace> {
    template <class F>
    static void Visit(F& f) {
        f.Number("x", &SurroundPlace::x, -1, 1);
        f.Number("y", &SurroundPlace::y, -1, 1);
        f.Number("lfe_db", &SurroundPlace::lfe_db, kSilenceDb, kMaxGainDb);
    }
};

template <>
struct Fields<SurroundFaders> {
    template <class F>
    static void Visit(F& f) {
        f.Number("rear_db", &SurroundFaders::rear_db, kSilenceDb, kMaxGainDb);
        f.Number("center_db", &SurroundFaders::center_db, kSilenceDb, kMaxGainDb);
        f.Number("lfe_db", &SurroundFaders::lfe_db, kSilenceDb, kMaxGainDb);
    }
};

template <>
struct Fields<InputRoute> {
    template <class F>
    static void Visit(F& f) {
        f.Choice("source", &InputRoute::source, kInputNames);
        f.Since(2);
        f.Integer("first", &InputRoute::first, 0, kMaxDeviceInputs - 1);
        f.Flag("mono", &InputRoute::mono);
        f.Integer("channel", &InputRoute::channel, 1, kMaxChannelId);
        f.Text("midi_port", &InputRoute::midi_port, kMaxTextBytes);
        f.Integer("midi_channel", &InputRoute::midi_channel, 0, 16);
    }
};

template <>
struct Fields<AutomationKey> {
    template <class F>
    static void Visit(F& f) {
        f.Choice("target", &AutomationKey::target, kAutomationTargetNames, Presence::Required);
        f.Since(2);
        f.Integer("sub", &AutomationKey::sub, 1, UINT32_MAX);
        f.Text("parameter", &AutomationKey::parameter, kMaxTextBytes);
    }
};

template <>
struct Fields<AutomationCurve> {
    template <class F>
    static void Visit(F& f) {
        f.Object("key", &AutomationCurve::key);
        f.Points("points", &AutomationCurve::points);
    }
};

template <>
struct Fields<Channel> {
    template <class F>
    static void Visit(F& f) {
        f.Integer("id", &Channel::id, 1, kMaxChannelId, Presence::Required);
        f.Choice("kind", &Channel::kind, kKindNames, Presence::Required);
        f.Text("name", &Channel::name, kMaxTextBytes, Presence::Required);
        f.Number("fader_db", &Channel::fader_db, kSilenceDb, kMaxGainDb);
        f.Number("pan", &Channel::pan, -1, 1);
        f.Flag("mute", &Channel::mute);
        f.Flag("solo", &Channel::solo);
        f.Flag("phase", &Channel::phase);
        f.Flag("selected", &Channel::selected);
        f.Flag("hidden", &Channel::hidden);
        f.Integer("colour", &Channel::colour, 0, kTrackColours - 1);
        f.Integer("output", &Channel::output, 1, kMaxChannelId);
        f.List("clips", &Channel::clips, kMaxClips);
        f.Since(2);
        f.Number("fader_right_db", &Channel::fader_right_db, kSilenceDb, kMaxGainDb);
        f.Choice("pan_model", &Channel::pan_model, kPanModelNames);
        f.Number("width", &Channel::width, 0, kMaxWidth);
        f.Flag("solo_safe", &Channel::solo_safe);
        f.Flag("arm", &Channel::arm);
        f.Flag("monitor", &Channel::monitor);
        f.Object("input", &Channel::input);
        f.Integer("midi_channel", &Channel::midi_channel, 0, 16);
        f.Number("input_db", &Channel::input_db, kSilenceDb, kMaxGainDb);
        f.Number("input_pan", &Channel::input_pan, -1, 1);
        f.Object("place", &Channel::place);
        f.Object("faders", &Channel::faders);
        f.Object("instrument", &Channel::instrument);
        f.List("inserts", &Channel::inserts, kMaxInserts);
        f.Flag("chain_bypass", &Channel::chain_bypass);
        f.List("sends", &Channel::sends, kMaxSends);
        f.Choice("automation_mode", &Channel::automation_mode, kAutomationModeNames);
        f.List("automation", &Channel::automation, kMaxCurves);
    }
};

}  // namespace host
