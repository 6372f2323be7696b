#include "mediafile/sample_reader.h"

#include "audio/g711.h"
#include "mediafile/byte_order.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace tarn {

namespace {

/// Of the codec's part of the record: the frames of a block, a count, and so many pairs.
std::vector<AdpcmPair> PairsOf(const QmWaveFormatBlock& block) {
    constexpr size_t COUNT = 2, FIRST = 4, PAIR = 4;
    std::vector<AdpcmPair> pairs;
    const size_t bytes = std::min<size_t>(block.format.extraSize, sizeof block.room);
    const uint8_t* extra = block.room;
    const size_t told = bytes >= FIRST ? FromLittleEndian<uint16_t>(extra + COUNT) : 0;
    for (size_t at = FIRST; pairs.size() < told && at + PAIR <= bytes; at += PAIR)
        pairs.push_back({static_cast<int16_t>(FromLittleEndian<uint16_t>(extra + at)),
                         static_cast<int16_t>(FromLittleEndian<uint16_t>(extra + at + 2))});
    if (pairs.empty()) pairs.assign(StandardAdpcmPairs().begin(), StandardAdpcmPairs().end());
    return pairs;
}

template <class Number>
void ReverseBytes(uint8_t* samples, uint64_t count) {
    for (uint64_t i = 0; i < count; i++, samples += sizeof(Number))
        ToLittleEndian(samples, FromBigEndian<Number>(samples));
}

void DoublesOf(uint8_t* samples, uint64_t count) {
    constexpr double FULL_SCALE = 9223372036854775808.0;
    for (uint64_t i = 0; i < count; i++, samples += sizeof(double)) {
        const auto integer = static_cast<int64_t>(FromLittleEndian<uint64_t>(samples));
        ToLittleEndian(samples, std::bit_cast<uint64_t>(static_cast<double>(integer) / FULL_SCALE));
    }
}

}  // namespace

const char* NameOf(SampleCodec codec) {
    switch (codec) {
    case SampleCodec::Reversed: return "big-endian floats";
    case SampleCodec::Pcm64: return "integers of 64 bits";
    case SampleCodec::MuLaw: return "mu-law (G.711)";
    case SampleCodec::ALaw: return "A-law (G.711)";
    case SampleCodec::ImaBlocks:
    case SampleCodec::ImaPackets: return "IMA ADPCM";
    case SampleCodec::Microsoft: return "Microsoft ADPCM";
    default: return nullptr;
    }
}

SampleReader::SampleReader(const ByteSource& source, const MediaContents& contents)
    : m_source(source), m_contents(contents), m_coding(contents.coding), m_packets(contents.coding.channels) {
    if (m_coding.codec == SampleCodec::Microsoft) m_pairs = PairsOf(contents.format);
}

uint64_t SampleReader::Read(void* samples, uint64_t frames) {
    frames = std::min(frames, Frames() - m_frames);
    auto* out = static_cast<uint8_t*>(samples);
    uint64_t got = 0;
    if (!m_coding.IsAdpcm()) {
        got = ReadPlain(out, frames);
    } else {
        while (got < frames && (m_used < m_block.size() || NextBlock())) {
            const uint64_t part =
                std::min<uint64_t>(frames - got, (m_block.size() - m_used) / m_coding.channels);
            std::memcpy(out + got * FrameBytes(), &m_block[m_used], part * FrameBytes());
            m_used += part * m_coding.channels;
            got += part;
        }
    }
    m_frames += got;
    return got;
}

uint64_t SampleReader::ReadPlain(uint8_t* samples, uint64_t frames) {
    const uint64_t bytes = frames * m_coding.blockBytes;
    const bool isInPlace = m_coding.blockBytes == FrameBytes();
    if (!isInPlace) m_stored.resize(bytes);
    uint8_t* stored = isInPlace ? samples : m_stored.data();
    uint64_t done = 0;
    while (done < bytes) {
        constexpr uint64_t MOST = uint64_t{1} << 30;
        const auto part = static_cast<uint32_t>(std::min(MOST, bytes - done));
        const uint32_t got = m_source.ReadSome(Place() + done, stored + done, part);
        done += got;
        if (got < part) break;
    }
    frames = done / m_coding.blockBytes;
    m_done += frames * m_coding.blockBytes;
    const uint64_t count = frames * m_coding.channels;
    auto* words = reinterpret_cast<int16_t*>(samples);
    switch (m_coding.codec) {
    case SampleCodec::Reversed:
        m_coding.type == QMSAMPLE_FLOAT32 ? ReverseBytes<uint32_t>(samples, count)
                                          : ReverseBytes<uint64_t>(samples, count);
        break;
    case SampleCodec::Pcm64: DoublesOf(samples, count); break;
    case SampleCodec::MuLaw: DecodeMuLaw(stored, count, words); break;
    case SampleCodec::ALaw: DecodeALaw(stored, count, words); break;
    default: break;
    }
    return frames;
}

bool SampleReader::NextBlock() {
    const auto bytes =
        static_cast<uint32_t>(std::min<uint64_t>(m_coding.blockBytes, m_contents.dataBytes - m_done));
    const uint64_t frames = m_coding.FramesIn(bytes);
    m_stored.resize(bytes);
    m_used = 0;
    m_block.clear();
    if (frames == 0 || !m_source.Read(Place(), m_stored.data(), bytes)) return false;
    m_block.resize(frames * m_coding.channels);
    m_done += bytes;
    const bool isWhole = m_coding.codec == SampleCodec::ImaPackets
                             ? m_packets.Decode(m_stored.data(), m_block.data())
                         : m_coding.codec == SampleCodec::ImaBlocks
                             ? DecodeImaBlock(m_stored, m_coding.channels, m_block.data())
                             : DecodeMicrosoftBlock(m_stored, m_coding.channels, m_pairs, m_block.data());
    m_damaged += !isWhole;
    return true;
}

bool SampleReader::Skip(uint64_t frames) {
    if (!m_coding.IsAdpcm()) {
        const uint64_t skipped = std::min(frames, Frames() - m_frames);
        m_frames += skipped;
        m_done += skipped * m_coding.blockBytes;
        return skipped == frames;
    }
    constexpr uint64_t PIECE = 4096;
    std::vector<uint8_t> piece(PIECE * FrameBytes());
    while (frames > 0) {
        const uint64_t got = Read(piece.data(), std::min(frames, PIECE));
        if (got == 0) return false;
        frames -= got;
    }
    return true;
}

}  // namespace tarn
