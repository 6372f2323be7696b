// The engine: plays a session through an audio device, in real time. What it plays is a copy; the session is
// the caller's, who hands it over again after every change.
//
// All operations may be called from any thread but the audio thread, and return without waiting for it.
#pragma once

#include "host/engine/channel_strip.h"
#include "host/session/session.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace host {

class Effect;
class EffectLibrary;
struct AudioDevice;
struct DeviceWish;

struct EngineOptions {
    bool systemDevice = true;  ///< false plays to the silent clock
    std::string deviceName{};  ///< part of its name; empty is the system's default
    size_t blockFrames = 512;
    size_t threads = 0;  ///< that mix; 0 is one for each core
    /// Effects come from here; without it there are none.
    std::shared_ptr<EffectLibrary> effects{};
    /// Opens the device in place of the two above; never gives null.
    std::function<std::unique_ptr<AudioDevice>(const DeviceWish& wish)> openDevice{};
};

struct TransportState {
    bool playing = false;
    int64_t frame = 0;
    double seconds = 0;
    LoopRange loop;
};

struct ChannelMeter {
    ChannelId id;
    MeterReading reading;
};

struct EngineStatus {
    std::string device;
    std::string deviceProblem;  ///< why the wanted device does not play; empty when it does
    int sampleRate = 0;         ///< Hz
    size_t blockFrames = 0;
    size_t inputs = 0;           ///< that are recorded
    size_t latency = 0;          ///< frames by which the mix lies behind the transport
    double load = 0;             ///< share of real time that mixing takes
    uint64_t diskUnderruns = 0;  ///< blocks in which samples from the disk were missing
    /// Seconds of what plays that lie ready, of the track with the least; empty where no track plays.
    std::optional<double> readAhead;
    bool reading = false;     ///< something asked for is not read from the disk yet
    uint64_t lateBlocks = 0;  ///< blocks that reached the device too late
};

class Engine {
public:
    explicit Engine(EngineOptions options = {});
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    /// Takes over a session, whose clips lie relative to `folder`, and goes on playing where it played. Opens
    /// the files of clips that are new. Another sample rate opens the device anew and stops. The loop range
    /// of the session is taken as by SetLoop. Throws SessionError for a session that CheckSession refuses,
    /// and changes nothing then.
    void SetSession(const Session& session, const std::filesystem::path& folder);
    /// Takes over all levels and switches of the channels that it knows, of their sends and effects too;
    /// changes glide over 10 ms.
    void SetLevels(const std::vector<Channel>& channels);
    void SetMonitoring(const Monitoring& monitoring);
    /// The next session is another document: no effect of this one is kept for it.
    void Forget();

    /// The effect or instrument with this id; null when there is none, or it could not be had. It stays valid
    /// for as long as it is held.
    std::shared_ptr<Effect> FindEffect(ChannelId channel, SubId id) const;
    /// Lets an effect that has been silenced for what it gave sound again, from silence.
    void ResetEffect(ChannelId channel, SubId id);
    /// Puts the effects' present states into the session, which is then to be saved or rendered.
    void SaveStates(Session& session) const;
    /// While a control is held (or until it is let go of, as the channel's mode has it) its setting counts
    /// and not its curve.
    void TakeByHand(ChannelId channel, const AutomationKey& key, bool on);

    /// What has come in from a MIDI port: messages, whole and without running status. Tracks that are armed
    /// or monitored and listen to the port play it, whether the transport runs or not.
    void PlayLive(const std::string& port, std::span<const uint8_t> bytes);

    void Play();  ///< from the position; at the end of the session from its start
    void Stop();
    void Locate(double seconds);  ///< whether it plays or not; below 0 is 0
    /// A range that is none turns the loop off. While it plays the change takes effect a tenth of a second
    /// later, without a seam.
    void SetLoop(const LoopRange& loop);
    TransportState Transport() const;

    /// The meters of all channels since the last call; every peak is given out once. To be called now and
    /// then while it plays: what else has to be looked after is done here as well.
    std::vector<ChannelMeter> TakeMeters();
    /// Left and right samples that a channel has given out since the last call, room for ScopeTap::kPairs
    /// pairs; how many came. They begin to be kept with the first call. [any-thread]
    size_t TakeScope(ChannelId id, float* pairs);

    EngineStatus Status() const;
    /// Files that cannot be played, effects that fail and the like, one line each, each once.
    std::vector<std::string> Problems() const;

private:
    struct Rig;
    struct Control;
    std::unique_ptr<Control> m_control;
};

}  // namespace host
