// How the samples of a file are stored, side by side or by a codec, and as what they are read. [any-thread]
#pragma once

#include "audio/wave_format.h"

#include <string>

namespace tarn {

enum class SampleCodec {
    None,      ///< not one that is read here
    Plain,     ///< of the type, as they lie there
    Reversed,  ///< floats in big-endian order
    Pcm64,     ///< integers beyond what the types have
    MuLaw,
    ALaw,
    ImaBlocks,
    ImaPackets,
    Microsoft,
};

struct SampleCoding {
    SampleCodec codec = SampleCodec::None;
    QMSAMPLETYPE type = QMSAMPLE_UNKNOWN;  ///< of the samples that come of it
    uint32_t channels = 0;
    uint32_t blockBytes = 0;  ///< of a frame, or of a codec's block, with all channels

    bool IsAdpcm() const { return codec >= SampleCodec::ImaBlocks; }
    /// A last block that was cut counts as far as it goes.
    QM_API uint64_t FramesIn(uint64_t bytes) const;
};

/// By the record of a wave, and the type that its samples have where that is one. What cannot be is told in
/// `fault`, and is None then; what is merely not known leaves it empty.
SampleCoding WaveCoding(const WAVEFORMATEX& wfx, const _qmwaveformat& format, bool isBigEndian,
                        std::string* fault);

/// A compression of AIFC files, all those of which the samples can be counted.
struct AifcCompression {
    char id[5];
    SampleCodec codec;
    uint32_t tag;   ///< of the record that tells the same
    uint32_t bits;  ///< of a sample; 0 for those of "COMM"
};
/// By its four characters; null for one that is not known.
const AifcCompression* FindAifcCompression(const void* id);

}  // namespace tarn
