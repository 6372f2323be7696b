// What the document holds of one channel.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// Never 0 for an existing channel, and unique within the session.
using ChannelId = uint64_t;
inline constexpr ChannelId kNoChannel = 0;
inline constexpr ChannelId kMaxChannelId = (uint64_t{1} << 53) - 1;  ///< what a JSON number holds exactly

/// Of a send or an effect: never 0, unique within its channel, and the same for as long as it is there.
using SubId = uint32_t;
inline constexpr SubId kNoSub = 0;

inline constexpr double kSilenceDb = -144.0;  ///< a fader or clip gain here is silence, not a small level
inline constexpr double kMaxGainDb = 24.0;
inline constexpr double kMaxSeconds = 360000.0;
inline constexpr double kMaxWidth = 2.0;
inline constexpr uint32_t kTrackColours = 52;
inline constexpr size_t kMaxClips = 65536;  ///< of one channel
inline constexpr size_t kMaxInserts = 32;
inline constexpr size_t kMaxSends = 64;
inline constexpr size_t kMaxCurves = 1024;         ///< of one channel
inline constexpr size_t kMaxPoints = 65536;        ///< of one curve
inline constexpr size_t kMaxTextBytes = 1024;      ///< of a name or key
inline constexpr size_t kMaxStateBytes = 1 << 20;  ///< of one effect
inline constexpr uint32_t kMaxDeviceInputs = 64;

enum class ChannelKind : uint8_t {
    AudioTrack,
    MidiTrack,
    AudioBus,
    Fx,  ///< assignable: a bus that sends feed and that holds a chain
    Synth,
    InputBus,
    Master,
    PreviewBus
};

/// What channels of a kind are, as far as the document and its users must agree on it.
struct KindTraits {
    ChannelKind kind;
    const char* name;  ///< in session files
    size_t limit;      ///< so many in one session
    bool clips;        ///< audio files of an audio track, standard MIDI files of a MIDI track
    bool audio;        ///< has a chain and what belongs to it
    bool sends;        ///< may send to others
    bool takesOutputs;
    bool takesSends;
    bool recordsInput;  ///< has an input route, is armed and monitored
};
const KindTraits& TraitsOf(ChannelKind kind);

/// A stretch of a file on a track.
struct Clip {
    std::string file{};  ///< UTF-8, relative to the folder of the session
    double start = 0;    ///< seconds, in the project
    double offset = 0;   ///< seconds, into the file
    double length = 0;   ///< seconds, above 0; where the file ends earlier the rest is silence
    double gain_db = 0;  ///< kSilenceDb..kMaxGainDb; 0 for MIDI

    friend bool operator==(const Clip&, const Clip&) = default;
};

/// How pan turns into gains; the engine's table has the laws. Numbered as the menus list them.
enum class PanModel : uint8_t { Add, Balance0, Balance3, Balance6, ConstantPower, Film };
inline constexpr uint32_t kPanModels = 6;

/// An effect in a chain, or the instrument of a soft synth.
struct Insert {
    SubId id = kNoSub;
    std::string uri{};
    std::string name{};  ///< what it is called where it can't be loaded; may be empty
    bool bypass = false;
    bool post_fader = false;  ///< stands behind the fader
    std::string state{};      ///< as the effect saved it; empty is as it is when new

    friend bool operator==(const Insert&, const Insert&) = default;
};

/// One for each target.
struct Send {
    SubId id = kNoSub;
    ChannelId target = kNoChannel;
    double level_db = 0;
    double pan = 0;
    bool pre_fader = false;
    bool mute = false;
    bool link_pan = true;  ///< follows the channel's pan; its own counts only without
    PanModel pan_model = PanModel::ConstantPower;

    friend bool operator==(const Send&, const Send&) = default;
};

/// Where the sound of a channel lies in the room, for channels that feed a surround bus.
struct SurroundPlace {
    double x = 0;                ///< -1 left .. 1 right
    double y = 1;                ///< -1 rear .. 1 front
    double lfe_db = kSilenceDb;  ///< how much of it goes to the low frequency channel as well

    friend bool operator==(const SurroundPlace&, const SurroundPlace&) = default;
};

/// Faders of a surround bus beside the main one, which is the front's.
struct SurroundFaders {
    double rear_db = 0;
    double center_db = 0;
    double lfe_db = 0;

    friend bool operator==(const SurroundFaders&, const SurroundFaders&) = default;
};

enum class InputSource : uint8_t { None, Device, Channel };

/// What a track or an input bus listens to.
struct InputRoute {
    InputSource source = InputSource::None;
    uint32_t first = 0;  ///< of the device's inputs, from 0: the left of a pair, or the one
    bool mono = false;
    ChannelId channel = kNoChannel;  ///< a bus or soft synth, for audio tracks
    std::string midi_port{};         ///< of MIDI tracks; empty is any
    uint32_t midi_channel = 0;       ///< 1..16, 0 is any

    friend bool operator==(const InputRoute&, const InputRoute&) = default;
};

enum class AutomationMode : uint8_t { Off, Read, Touch, Latch, Write };

enum class AutomationTarget : uint8_t {
    Volume,
    Pan,
    Mute,
    Width,
    InputVolume,
    InputPan,
    SurroundX,
    SurroundY,
    SurroundLfe,
    RearVolume,
    CenterVolume,
    LfeVolume,
    SendLevel,
    SendPan,
    SendMute,
    Bypass,
    Parameter
};

/// What one curve moves.
struct AutomationKey {
    AutomationTarget target = AutomationTarget::Volume;
    SubId sub = kNoSub;       ///< the send or the effect
    std::string parameter{};  ///< symbol of an effect's parameter

    friend auto operator<=>(const AutomationKey&, const AutomationKey&) = default;
};

struct AutomationPoint {
    double seconds = 0;
    double value = 0;  ///< decibels of a level, else what the setting itself holds; switches are 0 or 1

    friend bool operator==(const AutomationPoint&, const AutomationPoint&) = default;
};

/// Straight lines between its points, level before the first and behind the last; a switch steps.
struct AutomationCurve {
    AutomationKey key{};
    std::vector<AutomationPoint> points{};  ///< at least one, times rising

    friend bool operator==(const AutomationCurve&, const AutomationCurve&) = default;
};

struct Channel {
    ChannelId id = kNoChannel;
    ChannelKind kind = ChannelKind::AudioTrack;
    std::string name{};   ///< UTF-8, may be empty
    double fader_db = 0;  ///< kSilenceDb..kMaxGainDb; of a MIDI track controller 7, where 0 is 127
    double pan = 0;       ///< -1 left .. 1 right
    bool mute = false;
    bool solo = false;
    bool phase = false;  ///< polarity inverted
    bool selected = false;
    bool hidden = false;
    uint32_t colour = 0;  ///< index below kTrackColours
    /// Any bus or the master; of a MIDI track a soft synth or kNoChannel; kNoChannel for master and preview
    /// bus, which feed the device.
    ChannelId output = kNoChannel;
    std::vector<Clip> clips{};  ///< of tracks, in any order; where clips overlap they are summed

    std::optional<double> fader_right_db{};  ///< the right side's own; without it fader_db is for both
    PanModel pan_model = PanModel::ConstantPower;
    double width = 1;        ///< of the stereo image: 0 mono, 1 as it is, kMaxWidth twice the difference
    bool solo_safe = false;  ///< goes on sounding when others are soloed
    bool arm = false;
    bool monitor = false;
    InputRoute input{};
    uint32_t midi_channel = 0;  ///< of a MIDI track's output: 1..16, 0 leaves the channels as they are
    double input_db = 0;        ///< of an FX: into its chain, before everything
    double input_pan = 0;
    SurroundPlace place{};
    SurroundFaders faders{};
    std::optional<Insert> instrument{};  ///< of a soft synth
    std::vector<Insert> inserts{};       ///< in the order of the chain
    bool chain_bypass = false;
    std::vector<Send> sends{};
    AutomationMode automation_mode = AutomationMode::Off;
    std::vector<AutomationCurve> automation{};  ///< one for each key

    friend bool operator==(const Channel&, const Channel&) = default;
};

/// The effect with this id in the chain, or the instrument; the send with this id; null when there is none.
const Insert* FindInsert(const Channel& channel, SubId id);
Insert* FindInsert(Channel& channel, SubId id);
const Send* FindSend(const Channel& channel, SubId id);
Send* FindSend(Channel& channel, SubId id);
/// A MIDI track that plays what comes in from its ports.
inline bool IsPlayedOn(const Channel& channel) {
    return channel.kind == ChannelKind::MidiTrack && (channel.arm || channel.monitor) &&
           channel.input.source == InputSource::Device;
}
/// An id for a new send or effect.
SubId FreeSub(const Channel& channel);

}  // namespace host
