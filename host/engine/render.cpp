#include "host/engine/render.h"

#include "host/engine/clip_player.h"
#include "host/engine/gain.h"
#include "host/engine/offline_mix.h"
#include "host/engine/render_metadata.h"
#include "platform/file.h"

#include <ebur128.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

using namespace tarn;

namespace host {

namespace {

constexpr int64_t kProgressFrames = 16384;
constexpr int64_t kLargestPlainWave = 4000000000;  // bytes; beyond it the wide form

// A wave file beside the target, gone again unless it was finished.
class WaveAside {
public:
    WaveAside(const std::filesystem::path& target, int sampleRate, size_t channels, int64_t frames)
        : m_target(target) {
        std::string error;
        if (!m_file.Open(target, error)) throw RenderError(error);
        SF_INFO info{};
        info.samplerate = sampleRate;
        info.channels = static_cast<int>(channels);
        const bool large = frames * static_cast<int64_t>(channels) * 3 > kLargestPlainWave;
        const bool wide = channels == kMaxSides;
        info.format = SF_FORMAT_PCM_24 | (large ? SF_FORMAT_RF64 : wide ? SF_FORMAT_WAVEX : SF_FORMAT_WAV);
        m_sound.reset(sf_open_fd(m_file.Descriptor(), SFM_WRITE, &info, SF_FALSE));
        if (!m_sound) Fail(sf_strerror(nullptr));
        if (!wide) return;
        // Without the map readers have to guess which channel is which.
        int map[] = {SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT,     SF_CHANNEL_MAP_CENTER,
                     SF_CHANNEL_MAP_LFE,  SF_CHANNEL_MAP_REAR_LEFT, SF_CHANNEL_MAP_REAR_RIGHT};
        if (sf_command(m_sound.get(), SFC_SET_CHANNEL_MAP_INFO, map, sizeof map) != SF_TRUE)
            Fail("the order of the channels can't be told");
    }

    void Write(const std::vector<int>& samples, size_t frames) {
        const auto count = static_cast<sf_count_t>(frames);
        if (sf_writef_int(m_sound.get(), samples.data(), count) != count) Fail(sf_strerror(m_sound.get()));
    }

    void Finish(const MetaDocument& metadata) {
        const int closed = sf_close(m_sound.release());
        if (closed != 0) Fail(sf_error_number(closed));
        const std::string refusal = WriteRenderMetadata(m_file.Descriptor(), metadata);
        if (!refusal.empty()) Fail(refusal);
        std::string error;
        if (!m_file.Commit(error)) throw RenderError(error);
    }

private:
    struct CloseSound {
        void operator()(SNDFILE* sound) const { sf_close(sound); }
    };

    [[noreturn]] void Fail(const std::string& why) const {
        throw RenderError("cannot write " + m_target.string() + ": " + why);
    }

    const std::filesystem::path m_target;
    ReplacingFile m_file;
    std::unique_ptr<SNDFILE, CloseSound> m_sound;
};

// To 24 bits in the upper part of an int, which is how the library takes them; channels interleaved.
class Quantiser {
public:
    void Frames(const float* samples, size_t channels, size_t n, std::vector<int>& out,
                RenderResult& result) {
        for (size_t i = 0; i < n; i++) {
            m_clipped = false;
            for (size_t c = 0; c < channels; c++)
                out[i * channels + c] = Sample(samples[i * channels + c], result);
            result.clippedFrames += m_clipped;
        }
    }

private:
    static constexpr float kFullScale = 8388608.0f;

    int Sample(float x, RenderResult& result) {
        if (x != x) x = 0.0f;
        result.peak = std::max(result.peak, std::fabs(x));
        const float scaled = std::nearbyint(x * kFullScale);
        const float limited = std::clamp(scaled, -kFullScale, kFullScale - 1);
        m_clipped |= limited != scaled;
        return static_cast<int>(limited) * 256;
    }

    bool m_clipped = false;
};

class LoudnessMeter {
public:
    LoudnessMeter(size_t channels, int sampleRate)
        : m_state(ebur128_init(static_cast<unsigned>(channels), static_cast<unsigned long>(sampleRate),
                               EBUR128_MODE_I | EBUR128_MODE_TRUE_PEAK)) {
        if (!m_state) throw std::bad_alloc();
        constexpr int surround[] = {EBUR128_LEFT,   EBUR128_RIGHT,         EBUR128_CENTER,
                                    EBUR128_UNUSED, EBUR128_LEFT_SURROUND, EBUR128_RIGHT_SURROUND};
        for (unsigned c = 0; channels == kMaxSides && c < kMaxSides; c++)
            ebur128_set_channel(m_state.get(), c, surround[c]);
    }

    void Frames(const float* samples, size_t n) {
        if (ebur128_add_frames_float(m_state.get(), samples, n) != EBUR128_SUCCESS) throw std::bad_alloc();
    }

    void Tell(RenderResult& result) const {
        double loudness = 0;
        if (ebur128_loudness_global(m_state.get(), &loudness) == EBUR128_SUCCESS && std::isfinite(loudness))
            result.loudnessLufs = loudness;
        for (unsigned c = 0; c < m_state->channels; c++) {
            double peak = 0;
            if (ebur128_true_peak(m_state.get(), c, &peak) == EBUR128_SUCCESS)
                result.truePeakDbtp = std::max(result.truePeakDbtp, DbFromLevel(static_cast<float>(peak)));
        }
    }

private:
    struct Destroy {
        void operator()(ebur128_state* state) const { ebur128_destroy(&state); }
    };
    const std::unique_ptr<ebur128_state, Destroy> m_state;
};

}  // namespace

RenderResult RenderToFile(const Session& session, const std::filesystem::path& folder,
                          const std::filesystem::path& path, const RenderOptions& options) {
    CheckSession(session);
    const int64_t start = FrameAt(options.start, session.sample_rate);
    const int64_t total =
        FrameAt(options.end > 0 ? options.end : session.length, session.sample_rate) - start;
    if (!(options.start >= 0) || !(options.end <= kMaxSeconds) || total <= 0)
        throw RenderError("cannot render " + path.string() + ": the range is empty");

    ProblemLog problems;
    OfflineMix mix(session, folder, start, problems, {options.effects, options.threads});
    const size_t channels = mix.Sides();
    WaveAside wave(path, session.sample_rate, channels, total);
    const size_t block = std::max<size_t>(1, options.blockFrames);
    std::vector<std::vector<float>> sides(channels, std::vector<float>(block));
    std::vector<float*> into;
    into.reserve(channels);
    for (auto& side : sides) into.push_back(side.data());
    std::vector<float> frames(block * channels);
    std::vector<int> samples(block * channels);
    Quantiser quantiser;
    LoudnessMeter loudness(channels, session.sample_rate);
    RenderResult result;
    int64_t reported = 0;
    while (result.frames < total) {
        const auto n = static_cast<size_t>(std::min(static_cast<int64_t>(block), total - result.frames));
        mix.Process(into.data(), n);
        for (size_t i = 0; i < n; i++)
            for (size_t c = 0; c < channels; c++) frames[i * channels + c] = sides[c][i];
        quantiser.Frames(frames.data(), channels, n, samples, result);
        loudness.Frames(frames.data(), n);
        wave.Write(samples, n);
        result.frames += static_cast<int64_t>(n);
        if (!options.progress || result.frames - reported < kProgressFrames) continue;
        reported = result.frames;
        if (!options.progress(static_cast<double>(result.frames) / static_cast<double>(total))) break;
    }
    loudness.Tell(result);
    result.problems = problems.Lines();
    for (std::string& fault : mix.Faults()) result.problems.push_back(std::move(fault));
    result.finished = result.frames == total;
    if (result.finished) wave.Finish(RenderMetadata(session, folder, start, result));
    return result;
}

}  // namespace host
