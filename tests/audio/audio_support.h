// Samples of every type for the tests of the conversions: random ones and those at the edges.
#pragma once

#include "audio/audio_copy.h"
#include "platform/cpu_support.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

inline constexpr QMSAMPLETYPE ALL_TYPES[] = {
    QMSAMPLE_PCM8,      QMSAMPLE_PCM16,   QMSAMPLE_PCM24, QMSAMPLE_PCM32, QMSAMPLE_FLOAT32, QMSAMPLE_FLOAT64,
    QMSAMPLE_PCM24IN32, QMSAMPLE_SIGNED8, QMSAMPLE_BE16,  QMSAMPLE_BE24,  QMSAMPLE_BE32};

inline bool HasNoRoutine(QMSAMPLETYPE dst, QMSAMPLETYPE src) {
    return (dst == QMSAMPLE_BE16 || dst == QMSAMPLE_BE24) &&
           (src == QMSAMPLE_PCM24IN32 || src == QMSAMPLE_BE32);
}

/// Restricts the routines to a level while it lives.
class OnlySupport {
public:
    explicit OnlySupport(uint32_t bits) { QmOnlyAllowCPUSupport(bits); }
    ~OnlySupport() { QmOnlyAllowCPUSupport(UINT32_MAX); }
};

template <class Float>
Float RandomFloat(std::mt19937_64& random) {
    using Limits = std::numeric_limits<Float>;
    constexpr Float EDGES[] = {0,
                               Float(-0.0),
                               1,
                               -1,
                               Float(1.5),
                               Float(0.5 / 32768),
                               Float(1.5 / 32768),
                               Float(127.5 / 128),
                               Float(2147483647.0 / 2147483648.0),
                               Float(1e30),
                               Float(-1e30),
                               Limits::max(),
                               Limits::lowest(),
                               Limits::min(),
                               Limits::denorm_min(),
                               Limits::infinity(),
                               -Limits::infinity(),
                               Limits::quiet_NaN()};
    switch (random() % 4) {
    case 0: return EDGES[random() % std::size(EDGES)];
    case 1: {  // on or beside the half steps of some width
        const double step = std::ldexp(1.0, -static_cast<int>(random() % 33));
        return static_cast<Float>((static_cast<double>(random() % 512) - 256 + 0.5) * step);
    }
    default: return static_cast<Float>(std::ldexp(static_cast<double>(static_cast<int64_t>(random())), -62));
    }
}

/// Bytes of so many samples.
inline std::vector<uint8_t> RandomSamples(QMSAMPLETYPE type, size_t count, std::mt19937_64& random) {
    const size_t bytes = QmAudio_BytesFromSampleType(type);
    std::vector<uint8_t> samples(count * bytes);
    for (size_t i = 0; i < count; i++) {
        uint8_t* at = samples.data() + i * bytes;
        if (type == QMSAMPLE_FLOAT32) {
            const auto value = RandomFloat<float>(random);
            std::memcpy(at, &value, bytes);
        } else if (type == QMSAMPLE_FLOAT64) {
            const auto value = RandomFloat<double>(random);
            std::memcpy(at, &value, bytes);
        } else {
            const uint64_t bits =
                random() % 8 == 0 ? (random() % 2 ? 0x7F7F7F7F7F7F7F7Fu : 0x8080808080808080u) : random();
            const uint64_t word = random() % 8 == 0 ? (random() % 2 ? ~uint64_t{0} : 0) : bits;
            std::memcpy(at, &word, bytes);
        }
    }
    return samples;
}

inline std::string PairName(QMSAMPLETYPE dst, QMSAMPLETYPE src) {
    return std::to_string(src) + " to " + std::to_string(dst);
}
