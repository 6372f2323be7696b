#include "mediafile/sample_coding.h"

#include "audio/adpcm.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace tarn {

namespace {

constexpr uint32_t TAG_MICROSOFT = 2, TAG_ALAW = 6, TAG_MULAW = 7, TAG_IMA = 0x11;

constexpr AifcCompression COMPRESSIONS[] = {
    {"NONE", SampleCodec::Plain, WAVE_TAG_PCM_BIG_ENDIAN, 0},
    {"twos", SampleCodec::Plain, WAVE_TAG_PCM_BIG_ENDIAN, 0},
    {"sowt", SampleCodec::Plain, WAVE_TAG_PCM, 0},
    {"raw ", SampleCodec::Plain, WAVE_TAG_PCM, 8},
    {"in24", SampleCodec::Plain, WAVE_TAG_PCM_BIG_ENDIAN, 24},
    {"in32", SampleCodec::Plain, WAVE_TAG_PCM_BIG_ENDIAN, 32},
    {"fl32", SampleCodec::Reversed, WAVE_TAG_IEEE_FLOAT, 32},
    {"FL32", SampleCodec::Reversed, WAVE_TAG_IEEE_FLOAT, 32},
    {"fl64", SampleCodec::Reversed, WAVE_TAG_IEEE_FLOAT, 64},
    {"FL64", SampleCodec::Reversed, WAVE_TAG_IEEE_FLOAT, 64},
    {"alaw", SampleCodec::ALaw, TAG_ALAW, 8},
    {"ALAW", SampleCodec::ALaw, TAG_ALAW, 8},
    {"ulaw", SampleCodec::MuLaw, TAG_MULAW, 8},
    {"ULAW", SampleCodec::MuLaw, TAG_MULAW, 8},
    {"ima4", SampleCodec::ImaPackets, TAG_IMA, 4},
};

/// Integers whose bits fill no whole bytes stand at the high end of theirs.
QMSAMPLETYPE PaddedType(const WAVEFORMATEX& wfx, bool isBigEndian) {
    const uint32_t tag = isBigEndian && wfx.wBitsPerSample > 8 ? WAVE_TAG_PCM_BIG_ENDIAN : WAVE_TAG_PCM;
    const uint32_t bytes = (wfx.wBitsPerSample + 7u) / 8;
    return bytes <= 4 ? QmAudio_GetSampleType2(tag, bytes * 8) : QMSAMPLE_UNKNOWN;
}

}  // namespace

uint64_t SampleCoding::FramesIn(uint64_t bytes) const {
    if (blockBytes == 0 || channels == 0) return 0;
    const uint64_t blocks = bytes / blockBytes, rest = bytes % blockBytes;
    switch (codec) {
    case SampleCodec::None: return 0;
    case SampleCodec::ImaBlocks:
        return blocks * ImaBlockFrames(blockBytes, channels) + ImaBlockFrames(rest, channels);
    case SampleCodec::Microsoft:
        return blocks * MicrosoftBlockFrames(blockBytes, channels) + MicrosoftBlockFrames(rest, channels);
    case SampleCodec::ImaPackets: return blocks * IMA_PACKET_FRAMES;
    default: return blocks;
    }
}

SampleCoding WaveCoding(const WAVEFORMATEX& wfx, const _qmwaveformat& format, bool isBigEndian,
                        std::string* fault) {
    const uint32_t channels = wfx.nChannels, block = wfx.nBlockAlign;
    SampleCoding coding{SampleCodec::None, format.sampleType, channels, block};
    const auto as = [&](SampleCodec codec, QMSAMPLETYPE type, uint32_t bytes) {
        return SampleCoding{codec, type, channels, bytes};
    };
    if (channels == 0) return coding;
    const bool isFloat = coding.type == QMSAMPLE_FLOAT32 || coding.type == QMSAMPLE_FLOAT64;
    if (coding.type != QMSAMPLE_UNKNOWN)
        return as(isFloat && isBigEndian ? SampleCodec::Reversed : SampleCodec::Plain, coding.type,
                  QmAudio_BytesFromSampleType(coding.type) * channels);
    const auto refused = [&](const std::string& text) {
        *fault = "the codec's blocks of " + std::to_string(block) + " bytes " + text;
        return coding;
    };
    switch (QmAudio_GetWaveFormatTag(&wfx)) {
    case WAVE_TAG_PCM: {
        const QMSAMPLETYPE type = PaddedType(wfx, isBigEndian);
        const uint32_t bytes = QmAudio_BytesFromSampleType(type) * channels;
        if (type != QMSAMPLE_UNKNOWN && wfx.wBitsPerSample > 0 && block == bytes)
            return as(SampleCodec::Plain, type, bytes);
        const bool isLong = wfx.wBitsPerSample == 64 && block == 8 * channels && !isBigEndian;
        return isLong ? as(SampleCodec::Pcm64, QMSAMPLE_FLOAT64, block) : coding;
    }
    case TAG_MULAW:
    case TAG_ALAW:
        if (block != channels) return coding;
        return as(QmAudio_GetWaveFormatTag(&wfx) == TAG_MULAW ? SampleCodec::MuLaw : SampleCodec::ALaw,
                  QMSAMPLE_PCM16, block);
    case TAG_IMA:
        if (wfx.wBitsPerSample != 4) return coding;
        if (ImaBlockFrames(block, channels) == 0) return refused("have no room for its headers");
        return as(SampleCodec::ImaBlocks, QMSAMPLE_PCM16, block);
    case TAG_MICROSOFT:
        if (wfx.wBitsPerSample != 4) return coding;
        if (channels > 2) return *fault = "the codec has two channels at most", coding;
        if (MicrosoftBlockFrames(block, channels) == 0) return refused("have no room for its headers");
        return as(SampleCodec::Microsoft, QMSAMPLE_PCM16, block);
    default: return coding;
    }
}

const AifcCompression* FindAifcCompression(const void* id) {
    const auto* found = std::ranges::find_if(
        COMPRESSIONS, [&](const AifcCompression& c) { return std::memcmp(c.id, id, 4) == 0; });
    return found == std::end(COMPRESSIONS) ? nullptr : found;
}

}  // namespace tarn
