// Samples of four bits, each a difference from what the ones before let expect: the IMA's way, in the blocks
// of wave files and the packets of AIFC files, and Microsoft's. Blocks stand for themselves; a header that
// cannot be is counted and read as the nearest that can. [any-thread]
#pragma once

#include "platform/types.h"

#include <cstddef>
#include <span>
#include <vector>

namespace tarn {

/// What a block of so many bytes holds, also one that was cut; 0 where it has not even a header.
QM_API uint64_t ImaBlockFrames(uint64_t bytes, uint32_t channels);
QM_API uint64_t MicrosoftBlockFrames(uint64_t bytes, uint32_t channels);

inline constexpr uint32_t IMA_PACKET_BYTES = 34, IMA_PACKET_FRAMES = 64;  // of a channel

/// By which the two samples before make the next, in 256ths.
struct AdpcmPair {
    int16_t first, second;
};
/// Those that every file of Microsoft's kind begins its own with.
QM_API std::span<const AdpcmPair> StandardAdpcmPairs();

/// Into interleaved samples, as many frames as the functions above tell. False for a damaged header.
QM_API bool DecodeImaBlock(std::span<const uint8_t> block, uint32_t channels, int16_t* samples);
/// Of one or two channels; there is a pair at least.
QM_API bool DecodeMicrosoftBlock(std::span<const uint8_t> block, uint32_t channels,
                                 std::span<const AdpcmPair> pairs, int16_t* samples);

struct ImaState {
    int32_t sample = 0, step = 0;  ///< the step by its place in the table
};

/// Packets, a channel each in turn. A header has only the highest bits of a sample, so what a packet begins
/// with is where the one before ended, if that is as the header tells.
class QM_API ImaPackets {
public:
    explicit ImaPackets(uint32_t channels) : m_states(channels) {}
    /// One packet of each channel.
    bool Decode(const uint8_t* packets, int16_t* samples);

private:
    std::vector<ImaState> m_states;
};

}  // namespace tarn
