// The document of the host: what a session file holds, as plain records, and how it is read and written.
//
// A session is JSON in UTF-8 ("format": "tarn-session", "version": 2; version 1 is read as well). Reading is
// strict: a member that is missing, unknown, doubled, of another type or out of range refuses the whole file,
// so that a typing error never becomes a silent default and saving never drops what it did not understand.
// What Load accepts Save accepts, and the other way round. Channels stand in the order that the mixer shows
// them in, tracks and busses each in their own row.
//
// Everything here is plain data without a lock of its own; the functions are [any-thread] on distinct
// records.
#pragma once

#include "host/session/channel.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace host {

inline constexpr int kMinSampleRate = 8000, kMaxSampleRate = 384000;
inline constexpr double kMinTempo = 1.0, kMaxTempo = 1000.0;
inline constexpr size_t kMaxChannels = 4096;
inline constexpr size_t kMaxSessionClips = 262144;    ///< of all channels together
inline constexpr size_t kMaxSessionPoints = 524288;   ///< of automation, likewise
inline constexpr size_t kMaxPreferenceBytes = 65536;  ///< of one value
inline constexpr size_t kMaxPreferences = 65536;
inline constexpr size_t kMaxSessionBytes = size_t{64} << 20;

struct LoopRange {
    double start = 0;  ///< seconds
    double end = 0;    ///< seconds, above start where the loop is on
    bool on = false;

    friend bool operator==(const LoopRange&, const LoopRange&) = default;
};

/// How many channels master and busses have: left, right; or left, right, centre, low frequency, left and
/// right surround.
enum class ChannelMode : uint8_t { Stereo, Surround51 };

/// What is done to the mix on its way to the device and to nothing else.
struct Monitoring {
    bool dim = false;      ///< 20 dB less
    bool downmix = false;  ///< surround as stereo, stereo as mono

    friend bool operator==(const Monitoring&, const Monitoring&) = default;
};

/// A value that a plug-in left with the host: signed, unsigned, text in UTF-8, bytes.
using PreferenceValue = std::variant<int32_t, uint32_t, std::string, std::vector<uint8_t>>;

struct PreferenceKey {
    std::string section;                      ///< UTF-8, the plug-in's name
    std::variant<std::string, uint32_t> key;  ///< by name or by number

    friend auto operator<=>(const PreferenceKey&, const PreferenceKey&) = default;
};

using Preferences = std::map<PreferenceKey, PreferenceValue>;

struct Session {
    int sample_rate = 48000;  ///< Hz
    double length = 0;        ///< seconds; playing and rendering end here
    LoopRange loop;
    std::optional<double> tempo;  ///< beats a minute
    ChannelMode mode = ChannelMode::Stereo;
    Monitoring monitoring;
    std::vector<Channel> channels;
    Preferences preferences;

    friend bool operator==(const Session&, const Session&) = default;
};

/// Why a session was refused or could not be read or written; what() is one line: file, place, reason.
struct SessionError : std::runtime_error {
    SessionError(std::string_view file, std::string_view place, std::string_view reason);

    /// JSON pointer ("/channels/3/pan"), or "byte N" where the text is not JSON; may be empty.
    std::string place;
    std::string reason;
};

/// The smallest session: one master and one preview bus.
Session NewSession();

/// The record with this id, or null.
const Channel* FindChannel(const Session& session, ChannelId id);
Channel* FindChannel(Session& session, ChannelId id);

/// Reads a session file. Throws SessionError. Whether the clips' files exist is not looked at.
Session LoadSession(const std::filesystem::path& path);

/// Replaces the session file: the new one is written aside, flushed to the disk and renamed, so that whatever
/// happens the path holds the old session or the new one, whole. An old one of version 1 is kept beside it,
/// with ".v1" behind its name, where nothing has that name yet. Throws SessionError, and then the old file
/// stands.
void SaveSession(const Session& session, const std::filesystem::path& path);

/// The same without a file. Both throw SessionError; formatting gives the same text for equal sessions.
Session ParseSession(std::string_view json);
std::string FormatSession(const Session& session);

/// Preferences alone, as a session file has them. Both throw SessionError.
Preferences ParsePreferences(std::string_view json);
std::string FormatPreferences(const Preferences& preferences);

/// Throws SessionError unless the session obeys every rule of the format: ranges, limits, unique ids, one
/// master and at most one preview bus, what the kinds of channels may have, and routes that lead to what is
/// there and never come back: outputs, sends and monitored inputs together make no circle. The reason names
/// the channels on the way round.
void CheckSession(const Session& session);

}  // namespace host
