// What plays the mix: a real audio device, or a clock that keeps the same pace and discards the sound.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace host {

/// Who fills the device's blocks. Called on the device's own thread, never by two threads at once.
struct DeviceClient {
    /// Fills n frames of both sides. [audio-thread]
    virtual void Render(float* left, float* right, size_t n) = 0;

protected:
    ~DeviceClient() = default;
};

struct AudioDevice {
    virtual ~AudioDevice() = default;  ///< stops
    /// Begins to call the client; after Stop returns it is not called any more. One control thread.
    virtual void Start(DeviceClient& client) = 0;
    virtual void Stop() = 0;

    virtual std::string Name() const = 0;
    virtual int SampleRate() const = 0;
    virtual size_t BlockFrames() const = 0;
    /// Blocks that came too late for the sound to be whole, since the start. [any-thread]
    virtual uint64_t LateBlocks() const = 0;
    /// Why it plays nothing though it was started; empty while it plays. The control thread's.
    virtual std::string Fault() const { return {}; }
};

/// Keeps the pace of a device of this block length by the clock; the sound goes nowhere.
std::unique_ptr<AudioDevice> OpenNullDevice(int sampleRate, size_t blockFrames);

/// The system's default output, or the one whose name contains `wanted`. Null, and the reason in *why, when
/// there is none that can play two channels at that rate.
std::unique_ptr<AudioDevice> OpenSystemDevice(const std::string& wanted, int sampleRate, size_t blockFrames,
                                              std::string* why);

}  // namespace host
