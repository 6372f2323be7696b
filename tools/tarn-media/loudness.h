// How loud a whole is, as EBU R 128 measures it.
#pragma once

#include <ebur128.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

class LoudnessMeter {
public:
    /// Speakers by the bits of the mask; 0 for the usual ones. Throws std::runtime_error.
    LoudnessMeter(uint32_t channels, uint32_t rate, uint32_t mask);

    /// Interleaved.
    void Add(const std::vector<double>& samples);
    /// In LUFS; nullopt where all of it is below what counts.
    std::optional<double> Loudness() const;

private:
    struct Delete {
        void operator()(ebur128_state* state) const;
    };
    std::unique_ptr<ebur128_state, Delete> m_state;
    uint32_t m_channels;
};
