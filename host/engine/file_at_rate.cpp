#include "host/engine/audio_file.h"

#include "audio/rate/resampler.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <numeric>
#include <stdexcept>

namespace host {

namespace {

// More than half the length of the filter of this quality (-120 dB, 91 % of the band), in frames of the lower
// rate.
constexpr auto kQuality = tarn::Resampler::Quality::High;
constexpr int64_t kFilterReach = 160;
constexpr int64_t kBlockFrames = 8192;

int64_t RoundUp(int64_t v, int64_t unit) { return (v + unit - 1) / unit * unit; }

}  // namespace

// One converted block, and what is needed to convert another. `in` frames of the file are `out` frames at the
// rate asked for, exactly; a block is a whole number of such units.
struct FileAtRate::Converter {
    Converter(int64_t in, int64_t out)
        : blockOut(RoundUp(kBlockFrames, out)), blockIn(blockOut / out * in),
          leadIn(RoundUp(kFilterReach * std::max<int64_t>(1, (in + out - 1) / out), in)),
          leadOut(leadIn / in * out), resampler(static_cast<double>(in), static_cast<double>(out), 2,
                                                tarn::Resampler::Samples::SplitFloats, kQuality) {
        for (auto& side : input) side.resize(static_cast<size_t>(leadIn + blockIn + leadIn));
        for (auto& side : output) side.resize(static_cast<size_t>(leadOut + blockOut));
    }

    // A block begins one lead early, so that the filter has settled on the true past where the block starts.
    void Convert(AudioFile& file, int64_t index) {
        file.Read(index * blockIn - leadIn, input[0].size(), input[0].data(), input[1].data());
        resampler.Clear();
        size_t taken = 0, made = 0;
        const auto process = [&](size_t more) {
            const float* from[] = {input[0].data() + taken, input[1].data() + taken};
            float* to[] = {output[0].data() + made, output[1].data() + made};
            size_t used = 0, done = 0;
            // Without input it is the end, and the rest of the output is given.
            resampler.Process(more ? from : nullptr, more, &used, to, output[0].size() - made, &done);
            taken += used;
            made += done;
            return used > 0 || done > 0;
        };
        while (made < output[0].size() && process(input[0].size() - taken)) {
        }
        assert(made == output[0].size());
        for (auto& side : output)
            std::fill(side.begin() + static_cast<std::ptrdiff_t>(made), side.end(), 0.0f);
        block = index;
    }

    const int64_t blockOut, blockIn, leadIn, leadOut;
    tarn::Resampler resampler;
    std::array<std::vector<float>, 2> input, output;
    int64_t block = -1;
};

FileAtRate::FileAtRate(const std::filesystem::path& path, int sampleRate)
    : m_file(path), m_frames(m_file.Frames()) {
    if (m_file.SampleRate() == sampleRate) return;
    const int64_t unit = std::gcd(m_file.SampleRate(), sampleRate);
    const int64_t in = m_file.SampleRate() / unit, out = sampleRate / unit;
    try {
        m_converter = std::make_unique<Converter>(in, out);
    } catch (const std::runtime_error&) {
        throw AudioFileError("cannot be converted to the project's rate");
    }
    // In this order no product overflows, whatever length a header claims.
    m_frames = m_file.Frames() / in * out + (m_file.Frames() % in * out + in - 1) / in;
}

FileAtRate::~FileAtRate() = default;

void FileAtRate::Read(int64_t frame, size_t n, float* left, float* right) {
    if (!m_converter) return m_file.Read(frame, n, left, right);
    Converter& c = *m_converter;
    while (n > 0) {
        if (frame < 0 || frame >= m_frames) {
            const size_t silent =
                frame < 0 ? static_cast<size_t>(std::min<int64_t>(-frame, static_cast<int64_t>(n))) : n;
            std::fill(left, left + silent, 0.0f);
            std::fill(right, right + silent, 0.0f);
            frame += static_cast<int64_t>(silent);
            left += silent;
            right += silent;
            n -= silent;
            continue;
        }
        if (c.block != frame / c.blockOut) c.Convert(m_file, frame / c.blockOut);
        const int64_t inBlock = frame % c.blockOut;
        const auto count =
            static_cast<size_t>(std::min({static_cast<int64_t>(n), c.blockOut - inBlock, m_frames - frame}));
        const auto from = static_cast<size_t>(c.leadOut + inBlock);
        std::copy_n(c.output[0].data() + from, count, left);
        std::copy_n(c.output[1].data() + from, count, right);
        frame += static_cast<int64_t>(count);
        left += count;
        right += count;
        n -= count;
    }
}

}  // namespace host
