// Frames from one rate to another. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

struct soxr;

namespace tarn {

class Resampler {
public:
    enum class Samples {
        Doubles,      ///< interleaved
        SplitFloats,  ///< arrays of pointers, one a channel
    };
    enum class Quality {
        High,     ///< 20 bits
        Highest,  ///< 28 bits
    };

    /// Throws std::runtime_error for rates that cannot be.
    Resampler(double from, double to, uint32_t channels, Samples samples, Quality quality);

    /// Takes some of the input and gives some of the output. Null input is its end; what is left is given
    /// then, until `made` is 0.
    void Process(const void* in, size_t frames, size_t* used, void* out, size_t room, size_t* made);
    /// For another input from its start.
    void Clear();

private:
    struct Delete {
        void operator()(soxr* state) const;
    };
    std::unique_ptr<soxr, Delete> m_state;
};

}  // namespace tarn
