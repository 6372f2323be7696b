// What plays the mix: a real audio device, or a clock that keeps the same pace and discards the sound.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace host {

/// Who fills the device's blocks. Called on the device's own thread, never by two threads at once.
struct DeviceClient {
    /// Fills n frames of each output, of which there are two or, in the order of a surround mix, six; the
    /// inputs hold what was recorded in the same time. [audio-thread]
    virtual void Render(std::span<const float* const> inputs, std::span<float* const> outputs, size_t n) = 0;

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
    virtual size_t Inputs() const { return 0; }
    /// Blocks that came too late for the sound to be whole, since the start. [any-thread]
    virtual uint64_t LateBlocks() const = 0;
    /// Why it plays nothing though it was started; empty while it plays. The control thread's.
    virtual std::string Fault() const { return {}; }
};

/// What a device shall be opened for. It may have fewer outputs than wanted, two at least, and no inputs.
struct DeviceWish {
    int sampleRate = 48000;
    size_t blockFrames = 512;
    size_t outputs = 2;
    size_t inputs = 0;

    friend bool operator==(const DeviceWish&, const DeviceWish&) = default;
};

/// Keeps the pace of a device of this block length by the clock; the sound goes nowhere.
std::unique_ptr<AudioDevice> OpenNullDevice(int sampleRate, size_t blockFrames);

/// The system's default output, or the one whose name contains `wanted`. Null, and the reason in *why, when
/// there is none that can play two channels at that rate.
std::unique_ptr<AudioDevice> OpenSystemDevice(const std::string& wanted, const DeviceWish& wish,
                                              std::string* why);

}  // namespace host
