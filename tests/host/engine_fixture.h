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
                  const std::vector<Change>& changes = {}, int64_t start = 0,
                  const OfflineOptions& options = {});

/// A device whose blocks the test asks for. Each input records the frame that it is at, as Mark gives it.
class HandDevice final : public AudioDevice {
public:
    explicit HandDevice(const DeviceWish& wish) : m_wish(wish) {}
    void Start(DeviceClient& client) override { m_client = &client; }
    void Stop() override { m_client = nullptr; }
    std::string Name() const override { return "hand"; }
    int SampleRate() const override { return m_wish.sampleRate; }
    size_t BlockFrames() const override { return m_wish.blockFrames; }
    size_t Inputs() const override { return m_wish.inputs; }
    uint64_t LateBlocks() const override { return 0; }

    void Render(float* left, float* right, size_t n) {
        for (size_t i = 0; i < n; i++) m_input[i] = Mark(m_at++);
        const std::vector<const float*> inputs(m_wish.inputs, m_input.data());
        std::vector<float*> outputs(m_wish.outputs, m_rest.data());
        outputs[0] = left;
        outputs[1] = right;
        m_client->Render(inputs, outputs, n);
    }
    DeviceClient* Client() const { return m_client; }

private:
    const DeviceWish m_wish;
    DeviceClient* m_client = nullptr;
    std::vector<float> m_input = std::vector<float>(65536), m_rest = m_input;
    int64_t m_at = 0;
};

/// An engine on such a device. Pull waits for the disk before it asks for a block, so that nothing depends on
/// the speed of the machine.
class HandEngine {
public:
    explicit HandEngine(EngineOptions options = {});
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
