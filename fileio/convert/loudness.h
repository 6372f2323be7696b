// How loud a whole is, as EBU R 128 measures it.
#pragma once

#include <ebur128.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace tarn {

class LoudnessMeter {
public:
    /// Speakers by the bits of the mask; 0 for the usual ones. Throws std::runtime_error.
    /// Without `withPeaks` there is no TruePeak, which takes most of the time.
    LoudnessMeter(uint32_t channels, uint32_t rate, uint32_t mask, bool withPeaks = false);

    /// Interleaved.
    void Add(const std::vector<double>& samples) { Add(samples.data(), samples.size() / m_channels); }
    void Add(const double* samples, size_t frames);
    void Add(const float* samples, size_t frames);
    /// In LUFS; nullopt where all of it is below what counts.
    std::optional<double> Loudness() const;
    /// Of the loudest channel, 1.0 is full scale.
    double TruePeak() const;

private:
    struct Delete {
        void operator()(ebur128_state* state) const;
    };
    std::unique_ptr<ebur128_state, Delete> m_state;
    uint32_t m_channels;
};

}  // namespace tarn
