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
#include <string>
#include <vector>

namespace host {

struct AudioDevice;

struct EngineOptions {
    bool systemDevice = true;  ///< false plays to the silent clock
    std::string deviceName{};  ///< part of its name; empty is the system's default
    size_t blockFrames = 512;
    /// Opens the device in place of the two above; never gives null.
    std::function<std::unique_ptr<AudioDevice>(int sampleRate, size_t blockFrames)> openDevice{};
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
    /// Takes over fader, pan, mute, solo and phase of the channels that it knows; changes glide over 10 ms.
    void SetLevels(const std::vector<Channel>& channels);

    void Play();  ///< from the position; at the end of the session from its start
    void Stop();
    void Locate(double seconds);  ///< whether it plays or not; below 0 is 0
    /// A range that is none turns the loop off. While it plays the change takes effect a tenth of a second
    /// later, without a seam.
    void SetLoop(const LoopRange& loop);
    TransportState Transport() const;

    /// The meters of all channels since the last call; every peak is given out once.
    std::vector<ChannelMeter> TakeMeters();

    EngineStatus Status() const;
    /// Files that cannot be played and the like, one line each, each once.
    std::vector<std::string> Problems() const;

private:
    struct Rig;
    struct Control;
    std::unique_ptr<Control> m_control;
};

}  // namespace host
