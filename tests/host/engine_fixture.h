// Wave files, sessions and a device that a test drives by hand.
#pragma once

#include "host/engine/device.h"
#include "host/engine/engine.h"
#include "host/engine/offline_mix.h"
#include "tests/host/test_session.h"

#include <functional>
#include <vector>

namespace host::test {

struct Stereo {
    std::vector<float> left, right;

    size_t size() const { return left.size(); }
    friend bool operator==(const Stereo&, const Stereo&) = default;
};

/// A wave file of 32-bit floats; value(frame, channel).
void WriteWave(const std::filesystem::path& path, int sampleRate, int channels, int64_t frames,
               const std::function<float(int64_t, int)>& value);
Stereo ReadWave(const std::filesystem::path& path, int* sampleRate = nullptr);

/// A value that tells the frame it stands at, exactly, below 2^23 frames; never 0.
inline float Mark(int64_t frame) { return static_cast<float>(frame + 1) / (1 << 23); }
inline int64_t MarkedFrame(float value) { return static_cast<int64_t>(value * (1 << 23)) - 1; }

inline constexpr ChannelId kMaster = 1;

/// Master, preview bus (2) and tracks with these ids, each with the whole of "<id>.wav"; 48 kHz, so many
/// seconds long.
Session TracksSession(const std::vector<ChannelId>& tracks, double seconds);

/// What an offline mix of the session gives, in blocks of this size; `at` is called before each frame that is
/// named.
struct Change {
    int64_t frame;
    std::function<void(Session&)> edit;
};
Stereo MixOffline(Session session, const std::filesystem::path& folder, int64_t frames, size_t block = 512,
                  const std::vector<Change>& changes = {}, int64_t start = 0);

/// A device whose blocks the test asks for.
class HandDevice final : public AudioDevice {
public:
    HandDevice(int sampleRate, size_t blockFrames) : m_sampleRate(sampleRate), m_blockFrames(blockFrames) {}
    void Start(DeviceClient& client) override { m_client = &client; }
    void Stop() override { m_client = nullptr; }
    std::string Name() const override { return "hand"; }
    int SampleRate() const override { return m_sampleRate; }
    size_t BlockFrames() const override { return m_blockFrames; }
    uint64_t LateBlocks() const override { return 0; }

    DeviceClient* Client() const { return m_client; }

private:
    const int m_sampleRate;
    const size_t m_blockFrames;
    DeviceClient* m_client = nullptr;
};

/// An engine on such a device. Pull waits for the disk before it asks for a block, so that nothing depends on
/// the speed of the machine.
class HandEngine {
public:
    HandEngine();
    Engine& operator*() { return *m_engine; }
    Engine* operator->() { return m_engine.get(); }
    /// Waits until everything that was asked for is read and offered to the audio thread.
    void WaitForDisk();
    /// The next frames in blocks of this size.
    Stereo Pull(size_t frames, size_t block = 512);
    /// Waits until twice as many frames lie ready, when something plays.
    void WaitForData(size_t frames);
    HandDevice* Device() const { return m_device; }

private:
    HandDevice* m_device = nullptr;
    std::unique_ptr<Engine> m_engine;
};

}  // namespace host::test
