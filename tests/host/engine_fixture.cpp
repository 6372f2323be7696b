#include "tests/host/engine_fixture.h"

#include <sndfile.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <thread>

namespace host::test {

void WriteWave(const std::filesystem::path& path, int sampleRate, int channels, int64_t frames,
               const std::function<float(int64_t, int)>& value) {
    SF_INFO info{};
    info.samplerate = sampleRate;
    info.channels = channels;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    if (!file) throw std::runtime_error("cannot write " + path.string());
    std::vector<float> samples;
    for (int64_t i = 0; i < frames; i++)
        for (int c = 0; c < channels; c++) samples.push_back(value(i, c));
    sf_writef_float(file, samples.data(), frames);
    sf_close(file);
}

Stereo ReadWave(const std::filesystem::path& path, int* sampleRate) {
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    if (!file || info.channels != 2) throw std::runtime_error("cannot read " + path.string());
    std::vector<float> samples(static_cast<size_t>(info.frames) * 2);
    sf_readf_float(file, samples.data(), info.frames);
    sf_close(file);
    Stereo out;
    for (size_t i = 0; i < samples.size(); i += 2) {
        out.left.push_back(samples[i]);
        out.right.push_back(samples[i + 1]);
    }
    if (sampleRate) *sampleRate = info.samplerate;
    return out;
}

Session TracksSession(const std::vector<ChannelId>& tracks, double seconds) {
    Session session = NewSession();
    session.length = seconds;
    for (ChannelId id : tracks)
        session.channels.push_back({.id = id,
                                    .kind = ChannelKind::AudioTrack,
                                    .output = kMaster,
                                    .clips = {{std::to_string(id) + ".wav", 0, 0, seconds, 0}}});
    return session;
}

Stereo MixOffline(Session session, const std::filesystem::path& folder, int64_t frames, size_t block,
                  const std::vector<Change>& changes, int64_t start, const OfflineOptions& options) {
    ProblemLog problems;
    OfflineMix mix(session, folder, start, problems, options);
    Stereo out{std::vector<float>(static_cast<size_t>(frames)),
               std::vector<float>(static_cast<size_t>(frames))};
    auto next = changes.begin();
    for (int64_t at = 0; at < frames;) {
        while (next != changes.end() && next->frame <= at) {
            next->edit(session);
            mix.SetLevels(session.channels);
            ++next;
        }
        int64_t n = std::min(static_cast<int64_t>(block), frames - at);
        if (next != changes.end()) n = std::min(n, next->frame - at);
        float* const sides[] = {out.left.data() + at, out.right.data() + at};
        mix.Process(sides, static_cast<size_t>(n));
        at += n;
    }
    return out;
}

HandEngine::HandEngine(EngineOptions options) {
    options.openDevice = [this](const DeviceWish& wish) {
        auto device = std::make_unique<HandDevice>(wish);
        m_device = device.get();
        return device;
    };
    m_engine = std::make_unique<Engine>(options);
}

void HandEngine::WaitForDisk() {
    while (m_engine->Status().reading) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void HandEngine::WaitForData(size_t frames) {
    for (;;) {
        const EngineStatus status = m_engine->Status();
        const double needed = 2.0 * static_cast<double>(frames) / status.sampleRate;
        if (!status.readAhead || *status.readAhead >= needed) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

Stereo HandEngine::Pull(size_t frames, size_t block) {
    Stereo out{std::vector<float>(frames), std::vector<float>(frames)};
    for (size_t done = 0; done < frames;) {
        const size_t n = std::min(block, frames - done);
        WaitForData(n);
        m_device->Render(out.left.data() + done, out.right.data() + done, n);
        done += n;
    }
    return out;
}

}  // namespace host::test
