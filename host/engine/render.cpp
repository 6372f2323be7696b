#include "host/engine/render.h"

#include "host/engine/clip_player.h"
#include "host/engine/offline_mix.h"
#include "platform/file.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <memory>

using namespace tarn;

namespace host {

namespace {

constexpr int64_t kProgressFrames = 16384;
constexpr int64_t kLargestPlainWave = 4000000000;  // bytes; beyond it the wide form

// A wave file beside the target, gone again unless it was finished.
class WaveAside {
public:
    WaveAside(const std::filesystem::path& target, int sampleRate, int64_t frames) : m_target(target) {
        std::string error;
        if (!m_file.Open(target, error)) throw RenderError(error);
        SF_INFO info{};
        info.samplerate = sampleRate;
        info.channels = 2;
        info.format = SF_FORMAT_PCM_24 | (frames * 6 > kLargestPlainWave ? SF_FORMAT_RF64 : SF_FORMAT_WAV);
        m_sound.reset(sf_open_fd(m_file.Descriptor(), SFM_WRITE, &info, SF_FALSE));
        if (!m_sound) Fail(sf_strerror(nullptr));
    }

    void Write(const std::vector<int>& samples, size_t frames) {
        const auto count = static_cast<sf_count_t>(frames);
        if (sf_writef_int(m_sound.get(), samples.data(), count) != count) Fail(sf_strerror(m_sound.get()));
    }

    void Finish() {
        const int closed = sf_close(m_sound.release());
        if (closed != 0) Fail(sf_error_number(closed));
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

// To 24 bits in the upper part of an int, which is how the library takes them.
class Quantiser {
public:
    void Frames(const float* left, const float* right, size_t n, std::vector<int>& out,
                RenderResult& result) {
        for (size_t i = 0; i < n; i++) {
            m_clipped = false;
            out[2 * i] = Sample(left[i], result);
            out[2 * i + 1] = Sample(right[i], result);
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
    OfflineMix mix(session, folder, start, problems);
    WaveAside wave(path, session.sample_rate, total);
    const size_t block = std::max<size_t>(1, options.blockFrames);
    std::vector<float> left(block), right(block);
    std::vector<int> samples(block * 2);
    Quantiser quantiser;
    RenderResult result;
    int64_t reported = 0;
    while (result.frames < total) {
        const auto n = static_cast<size_t>(std::min(static_cast<int64_t>(block), total - result.frames));
        mix.Process(left.data(), right.data(), n);
        quantiser.Frames(left.data(), right.data(), n, samples, result);
        wave.Write(samples, n);
        result.frames += static_cast<int64_t>(n);
        if (!options.progress || result.frames - reported < kProgressFrames) continue;
        reported = result.frames;
        if (!options.progress(static_cast<double>(result.frames) / static_cast<double>(total))) break;
    }
    result.problems = problems.Lines();
    result.finished = result.frames == total;
    if (result.finished) wave.Finish();
    return result;
}

}  // namespace host
