// The samples of a file from the first to the last, whatever container and codec they are stored in. One
// thread at a time; throws std::bad_alloc.
#pragma once

#include "audio/adpcm.h"
#include "mediafile/byte_source.h"
#include "mediafile/inspect.h"

#include <optional>

namespace tarn {

/// For a person; null for Plain and None.
QM_API const char* NameOf(SampleCodec codec);

class QM_API SampleReader {
public:
    /// Both outlive this. The contents have samples, and a coding other than None.
    SampleReader(const ByteSource& source, const MediaContents& contents);

    /// Of what is read.
    QMSAMPLETYPE Type() const { return m_coding.type; }
    uint32_t FrameBytes() const { return QmAudio_BytesFromSampleType(m_coding.type) * m_coding.channels; }
    uint64_t Frames() const { return m_contents.frames; }

    /// Returns the frames that were read: fewer at the end, and where the file cannot be read.
    uint64_t Read(void* samples, uint64_t frames);
    /// As if they were read. False where the file ends or cannot be read.
    bool Skip(uint64_t frames);
    /// Of the next bytes that are read; after a failure, of those that could not be.
    uint64_t Place() const { return m_contents.dataOffset + m_done; }
    /// Blocks whose headers cannot be, so far.
    uint64_t DamagedBlocks() const { return m_damaged; }

private:
    uint64_t ReadPlain(uint8_t* samples, uint64_t frames);
    bool NextBlock();

    const ByteSource& m_source;
    const MediaContents& m_contents;
    const SampleCoding m_coding;
    std::vector<AdpcmPair> m_pairs;
    ImaPackets m_packets;
    uint64_t m_done = 0;    ///< bytes of the file's samples
    uint64_t m_frames = 0;  ///< given so far
    uint64_t m_damaged = 0;
    std::vector<uint8_t> m_stored;
    std::vector<int16_t> m_block;  ///< decoded; what is not given yet begins at
    size_t m_used = 0;
};

}  // namespace tarn
