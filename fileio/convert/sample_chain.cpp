#include "fileio/convert/sample_chain.h"

#include "audio/audio_copy.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace tarn {

namespace {

constexpr uint64_t PIECE_BYTES = 1 << 20;

std::string Failure(const SampleSource& source) { return source.Place() + ReasonOfStatus(source.Status()); }

bool IsFloat(QMSAMPLETYPE type) { return type == QMSAMPLE_FLOAT32 || type == QMSAMPLE_FLOAT64; }

}  // namespace

double FullScaleOf(QMSAMPLETYPE type) {
    return IsFloat(type) ? 0 : QmAudio_GetNormalizeFactor(QmAudio_BitsFromSampleType(type));
}

bool ChainPlan::LosesSteps(QMSAMPLETYPE from) const {
    constexpr uint32_t FINEST = 24;  // beyond it the noise is below any converter's own
    const uint32_t bits = QmAudio_BitsFromSampleType(type);
    if (IsFloat(type) || bits > FINEST) return false;
    const bool isReckoned = gain != 1 || fromRate != toRate || !matrix.MovesOnly();
    return IsFloat(from) || QmAudio_BitsFromSampleType(from) > bits || isReckoned;
}

SampleChain::SampleChain(SampleSource& source, const ChainPlan& plan) : m_source(source), m_plan(plan) {
    if (plan.fromRate != plan.toRate)
        m_resampler.emplace(plan.fromRate, plan.toRate, plan.matrix.to, Resampler::Samples::Doubles,
                            Resampler::Quality::Highest);
    if (plan.dithers) m_dither.emplace(1 / FullScaleOf(plan.type));
    if (!source.Skip(plan.start)) throw std::runtime_error(Failure(source));
}

uint64_t SampleChain::ReadPiece() {
    const uint64_t widest = sizeof(double) * std::max(m_plan.matrix.from, m_plan.matrix.to);
    const uint64_t most = std::max<uint64_t>(PIECE_BYTES / widest, 1);
    const uint64_t frames = std::min(most, m_plan.frames - m_read);
    m_piece.resize(frames * m_source.FrameBytes());
    if (m_source.Read(m_piece.data(), frames) < frames) throw std::runtime_error(Failure(m_source));
    m_read += frames;
    return frames;
}

const std::vector<double>& SampleChain::NextDoubles() {
    const QMAUDIOCOPYFN toDoubles = QmAudio_GetCopyFunction2(QMSAMPLE_FLOAT64, m_source.Type());
    for (;;) {
        const uint64_t frames = ReadPiece();
        m_read64.resize(frames * m_plan.matrix.from);
        toDoubles(m_read64.data(), m_piece.data(), static_cast<long>(m_read64.size()), 1.0f);
        m_mixed.resize(frames * m_plan.matrix.to);
        if (m_plan.matrix.IsSame())
            m_mixed.swap(m_read64);
        else
            m_plan.matrix.Apply(m_read64.data(), m_mixed.data(), frames);
        if (!m_resampler) return m_mixed;
        if (m_isEnd) return m_resampled.clear(), m_resampled;
        m_isEnd = frames == 0;
        Resample(m_isEnd);
        // The first pieces may all be within the filter.
        if (m_isEnd || !m_resampled.empty()) return m_resampled;
    }
}

void SampleChain::Resample(bool isEnd) {
    const uint32_t channels = m_plan.matrix.to;
    const size_t frames = m_mixed.size() / channels;
    constexpr size_t ROOM = 65536;
    m_resampled.clear();
    for (size_t taken = 0;;) {
        const size_t before = m_resampled.size();
        m_resampled.resize(before + ROOM * channels);
        size_t used = 0, made = 0;
        m_resampler->Process(isEnd ? nullptr : m_mixed.data() + taken * channels, frames - taken, &used,
                             m_resampled.data() + before, ROOM, &made);
        m_resampled.resize(before + made * channels);
        taken += used;
        if (used == 0 && made == 0) return;
        if (!isEnd && taken == frames && made < ROOM) return;
    }
}

const std::vector<uint8_t>& SampleChain::NextStored() {
    const uint32_t width = QmAudio_BytesFromSampleType(m_plan.type);
    const QMAUDIOCOPYFN direct = QmAudio_GetCopyFunction2(m_plan.type, m_source.Type());
    if (m_plan.IsPlain() && direct) {
        const uint64_t count = ReadPiece() * m_plan.matrix.from;
        m_stored.resize(count * std::max(width, QmAudio_BytesFromSampleType(m_source.Type())));
        direct(m_stored.data(), m_piece.data(), static_cast<long>(count), 1.0f);
        m_stored.resize(count * width);
        return m_stored;
    }
    NextDoubles();
    std::vector<double>& samples = m_resampler ? m_resampled : m_mixed;
    const double fullScale = FullScaleOf(m_plan.type);
    if (m_plan.gain != 1)
        for (double& sample : samples) sample *= m_plan.gain;
    if (m_dither) m_dither->Add(samples.data(), samples.size());
    // What the noise alone takes there does not count.
    const double highest = 1 + 1.5 / fullScale;
    if (fullScale > 0)
        for (const double sample : samples) m_clipped += std::fabs(sample) > highest;
    m_stored.resize(samples.size() * width);
    QmAudio_GetCopyFunction2(m_plan.type, QMSAMPLE_FLOAT64)(m_stored.data(), samples.data(),
                                                            static_cast<long>(samples.size()), 1.0f);
    return m_stored;
}

}  // namespace tarn
