// The way of samples in a conversion: a part of the file, other channels, another rate, a level, and rounding
// to what is stored. One thread at a time.
#pragma once

#include "audio/dither.h"
#include "audio/mix_matrix.h"
#include "audio/rate/resampler.h"
#include "fileio/convert/sample_source.h"

#include <optional>
#include <vector>

namespace tarn {

/// Of integers, the value of 1.0; 0 for floats.
double FullScaleOf(QMSAMPLETYPE type);

struct ChainPlan {
    uint64_t start = 0, frames = 0;  ///< of the file
    MixMatrix matrix;
    uint32_t fromRate = 0, toRate = 0;
    double gain = 1;
    QMSAMPLETYPE type = QMSAMPLE_UNKNOWN;  ///< that is stored
    bool dithers = false;

    /// Values stay what they are, but for the type.
    bool IsPlain() const { return matrix.IsSame() && fromRate == toRate && gain == 1 && !dithers; }
    /// Integers that have fewer steps than what they are made of, or that are reckoned, want noise before
    /// they are rounded.
    bool LosesSteps(QMSAMPLETYPE from) const;
};

class SampleChain {
public:
    /// The source stands at its first frame. Both outlive this. Throws std::runtime_error for a rate that
    /// cannot be, as do the others where the file cannot be read on.
    SampleChain(SampleSource& source, const ChainPlan& plan);

    /// As doubles, before the gain; empty at the end.
    const std::vector<double>& NextDoubles();
    /// As they are stored; empty at the end.
    const std::vector<uint8_t>& NextStored();

    uint64_t FramesRead() const { return m_read; }
    /// Samples that were beyond full scale, where the type has one.
    uint64_t Clipped() const { return m_clipped; }

private:
    uint64_t ReadPiece();
    void Resample(bool isEnd);

    SampleSource& m_source;
    const ChainPlan& m_plan;
    std::optional<Resampler> m_resampler;
    std::optional<Dither> m_dither;
    uint64_t m_read = 0, m_clipped = 0;
    bool m_isEnd = false;
    std::vector<uint8_t> m_piece, m_stored;
    std::vector<double> m_read64, m_mixed, m_resampled;
};

}  // namespace tarn
