#include "audio/wave_format.h"
#include "platform/memory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

using namespace tarn;

namespace {

constexpr uint8_t PCM_SUB_FORMAT[16] = {1, 0, 0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71};

WAVEFORMATEX Plain(uint32_t tag, uint32_t rate, uint32_t bits, uint32_t channels) {
    WAVEFORMATEX wfx;
    QmAudio_InitWfxFlex(&wfx, tag, rate, bits, channels, 0, sizeof wfx);
    return wfx;
}

WAVEFORMATEXTENSIBLE Extensible(uint32_t tag, uint32_t bits, uint32_t validBits, uint32_t channels,
                                uint32_t mask) {
    WAVEFORMATEXTENSIBLE ext;
    ext.Format = Plain(WAVE_TAG_EXTENSIBLE, 48000, bits, channels);
    ext.Format.cbSize = WAVE_EXTENSIBLE_EXTRA;
    ext.wValidBitsPerSample = static_cast<uint16_t>(validBits);
    ext.dwChannelMask = mask;
    std::memcpy(ext.SubFormat, PCM_SUB_FORMAT, sizeof ext.SubFormat);
    ext.SubFormat[0] = static_cast<uint8_t>(tag);
    ext.SubFormat[1] = static_cast<uint8_t>(tag >> 8);
    return ext;
}

struct Freed {
    void operator()(WAVEFORMATEX* wfx) const { MemFree(wfx); }
};
using OwnedWfx = std::unique_ptr<WAVEFORMATEX, Freed>;

TEST(SampleTypes, OfTagsAndBits) {
    const struct {
        uint32_t tag, bits;
        QMSAMPLETYPE type;
    } rows[] = {
        {1, 8, QMSAMPLE_PCM8},
        {1, 16, QMSAMPLE_PCM16},
        {1, 20, QMSAMPLE_PCM24},
        {1, 24, QMSAMPLE_PCM24},
        {1, 32, QMSAMPLE_PCM32},
        {1, 12, QMSAMPLE_UNKNOWN},
        {0xFE01, 8, QMSAMPLE_SIGNED8},
        {0xFE01, 20, QMSAMPLE_PCM24},
        {0xFE01, 32, QMSAMPLE_PCM32},
        {3, 32, QMSAMPLE_FLOAT32},
        {3, 64, QMSAMPLE_FLOAT64},
        {3, 16, QMSAMPLE_UNKNOWN},
        {0xFE00, 24, QMSAMPLE_PCM24IN32},
        {0xFE00, 32, QMSAMPLE_PCM24IN32},
        {0xFE00, 16, QMSAMPLE_UNKNOWN},
        {0xFE02, 8, QMSAMPLE_PCM8},
        {0xFE02, 16, QMSAMPLE_BE16},
        {0xFE02, 24, QMSAMPLE_BE24},
        {0xFE02, 32, QMSAMPLE_BE32},
        {0xFE03, 16, QMSAMPLE_RA16},
        {0xFE03, 24, QMSAMPLE_RA24},
        {0x55, 16, QMSAMPLE_UNKNOWN},
        {0x10001, 16, QMSAMPLE_UNKNOWN},
    };
    for (const auto& row : rows)
        EXPECT_EQ(QmAudio_GetSampleType2(row.tag, row.bits), row.type) << row.tag << ' ' << row.bits;
    EXPECT_EQ(QmAudio_BytesFromSampleType(QMSAMPLE_FLOAT64), 8u);
    EXPECT_EQ(QmAudio_FormatTagFromSampleType(QMSAMPLE_BE24), 0xFE02u);
    for (const QMSAMPLETYPE type : {QMSAMPLE_RA16, QMSAMPLE_RA24, QMSAMPLE_UNKNOWN, QMSAMPLETYPE(20)}) {
        EXPECT_EQ(QmAudio_FormatTagFromSampleType(type), 0u);
        EXPECT_EQ(QmAudio_BitsFromSampleType(type), 0u);
        EXPECT_EQ(QmAudio_BytesFromSampleType(type), 0u);
    }
}

TEST(SampleTypes, OfExtensibleRecords) {
    const auto type = [](const WAVEFORMATEXTENSIBLE& ext) { return QmAudio_GetSampleType(&ext.Format); };
    EXPECT_EQ(type(Extensible(1, 32, 24, 2, 3)), QMSAMPLE_PCM24IN32);
    EXPECT_EQ(type(Extensible(1, 32, 32, 2, 3)), QMSAMPLE_PCM32);
    EXPECT_EQ(type(Extensible(1, 24, 20, 2, 3)), QMSAMPLE_PCM24);
    EXPECT_EQ(type(Extensible(3, 32, 32, 2, 3)), QMSAMPLE_FLOAT32);
    WAVEFORMATEXTENSIBLE foreign = Extensible(1, 16, 16, 2, 3);
    foreign.SubFormat[15] ^= 1;
    EXPECT_EQ(type(foreign), QMSAMPLE_UNKNOWN);
    EXPECT_EQ(QmAudio_GetWaveFormatTag(&foreign.Format), 0u);
    EXPECT_TRUE(QmAudio_IsCompressed(&foreign.Format));
    // A record that ends early is not read on.
    auto cut = std::make_unique<WAVEFORMATEX>(Plain(WAVE_TAG_EXTENSIBLE, 48000, 16, 2));
    EXPECT_EQ(QmAudio_GetSampleType(cut.get()), QMSAMPLE_UNKNOWN);
    uint32_t tag = 0;
    EXPECT_FALSE(QmAudio_GetFormatTagExtensible(cut.get(), &tag));
    EXPECT_TRUE(QmAudio_IsCompressed(cut.get()));
}

TEST(WaveFormat, FlexMakesExtensibleOnlyWhereTheMaskAsks) {
    const struct {
        uint32_t channels, mask, capacity;
        bool extensible;
        uint32_t stored;
    } rows[] = {{2, 0, 40, false, 0},    {2, 3, 40, false, 0},      {2, 0xC, 40, true, 0xC},
                {6, 0x3F, 18, false, 0}, {6, 0x3F, 40, true, 0x3F}, {6, 0x60F, 40, true, 0x60F},
                {2, 0x3F, 40, true, 3},  {1, 0x7, 40, true, 1}};
    for (const auto& row : rows) {
        WAVEFORMATEXTENSIBLE ext;
        std::memset(&ext, 0xEE, sizeof ext);
        QmAudio_InitWfxFlex(&ext.Format, 1, 48000, 24, row.channels, row.mask, row.capacity);
        EXPECT_EQ(ext.Format.wFormatTag == WAVE_TAG_EXTENSIBLE, row.extensible)
            << row.channels << ' ' << row.mask;
        EXPECT_EQ(ext.Format.nBlockAlign, 3 * row.channels);
        EXPECT_EQ(ext.Format.nAvgBytesPerSec, 3 * row.channels * 48000);
        if (!row.extensible) {
            EXPECT_EQ(ext.SubFormat[0], 0xEE) << "wrote behind the plain record";
            continue;
        }
        EXPECT_EQ(ext.dwChannelMask, row.stored);
        EXPECT_EQ(ext.wValidBitsPerSample, 24);
        EXPECT_EQ(std::memcmp(ext.SubFormat, PCM_SUB_FORMAT, 16), 0);
    }
}

TEST(WaveFormat, CompressedIsWhatIsNotPacked) {
    WAVEFORMATEX wfx = Plain(1, 44100, 16, 2);
    EXPECT_FALSE(QmAudio_IsCompressed(&wfx));
    wfx.nBlockAlign = 6;
    EXPECT_TRUE(QmAudio_IsCompressed(&wfx));
    EXPECT_TRUE(QmAudio_FixBadWfx(&wfx));
    EXPECT_EQ(wfx.nBlockAlign, 4);
    EXPECT_FALSE(QmAudio_FixBadWfx(&wfx));
    wfx.wBitsPerSample = 20;
    EXPECT_TRUE(QmAudio_FixBadWfx(&wfx));
    EXPECT_EQ(wfx.wBitsPerSample, 24);
    EXPECT_EQ(wfx.nBlockAlign, 6);
    for (const uint32_t tag : {0xFE03u, 0x55u, 0u}) {
        wfx = Plain(tag, 44100, 16, 2);
        EXPECT_TRUE(QmAudio_IsCompressed(&wfx)) << tag;
    }
    for (const uint32_t tag : {3u, 0xFE00u, 0xFE01u, 0xFE02u}) {
        wfx = Plain(tag, 44100, 32, 2);
        EXPECT_FALSE(QmAudio_IsCompressed(&wfx)) << tag;
    }
}

TEST(WaveFormat, NormalFormOfEachKindGoesBackAsItCame) {
    const WAVEFORMATEX pcm = Plain(1, 96000, 24, 2);
    const WAVEFORMATEXTENSIBLE surround = Extensible(3, 32, 32, 6, 0x60F),
                               unpacked = Extensible(1, 32, 24, 2, 3);
    for (const WAVEFORMATEX* wfx : {&pcm, &surround.Format}) {
        const QmWaveFormatBlock block(wfx);
        EXPECT_FALSE(block.format.IsForeign());
        EXPECT_TRUE(block.format == *wfx);
        EXPECT_EQ(block.format.size, 32u);
        WAVEFORMATEXTENSIBLE back;
        ASSERT_EQ(block.format.ToWfx(&back.Format, sizeof back, QMWAVEFORMAT_COPY_AUTO), S_OK);
        EXPECT_EQ(std::memcmp(&back, wfx, sizeof *wfx + wfx->cbSize), 0);
        const OwnedWfx copy(QmAudio_AllocAndCopyWfx(&block.format, QMWAVEFORMAT_COPY_AUTO));
        EXPECT_EQ(std::memcmp(copy.get(), wfx, sizeof *wfx + wfx->cbSize), 0);
    }
    // 24 bits in 32 have a tag of their own.
    const QmWaveFormatBlock block(&unpacked.Format);
    EXPECT_EQ(block.format.sampleType, QMSAMPLE_PCM24IN32);
    EXPECT_EQ(_qmwaveformat_wfxcopyhelper(block.format).wfx.wFormatTag, WAVE_TAG_PCM_UNPACKED);
}

TEST(WaveFormat, ForeignBytesAreCarried) {
    struct {
        WAVEFORMATEX wfx;
        uint8_t extra[6];
    } mp3 = {Plain(0x55, 44100, 0, 2), {1, 2, 3, 4, 5, 6}};
    mp3.wfx.cbSize = sizeof mp3.extra;
    mp3.wfx.nBlockAlign = 1;
    mp3.wfx.nAvgBytesPerSec = 16000;
    QmWaveFormatBlock block(&mp3.wfx);
    EXPECT_TRUE(block.format.IsForeign());
    EXPECT_TRUE(block.format.IsCompressed());
    EXPECT_EQ(block.format.FormatTag(), 0x55u);
    EXPECT_EQ(block.format.size, 32u + 6);
    EXPECT_EQ(block.format.ExtraSize(), 6u);
    EXPECT_TRUE(block.format == mp3.wfx);

    uint8_t room[24];
    ASSERT_EQ(block.format.ToWfx(reinterpret_cast<WAVEFORMATEX*>(room), sizeof room, QMWAVEFORMAT_COPY_AUTO),
              S_OK);
    EXPECT_EQ(std::memcmp(room, &mp3, sizeof room), 0);
    ASSERT_EQ(block.format.ToWfx(reinterpret_cast<WAVEFORMATEX*>(room), 20, QMWAVEFORMAT_COPY_AUTO), S_OK);
    EXPECT_EQ(reinterpret_cast<WAVEFORMATEX*>(room)->cbSize, 2) << "what does not fit is left out";
    EXPECT_EQ(block.format.ToWfx(reinterpret_cast<WAVEFORMATEX*>(room), 17, QMWAVEFORMAT_COPY_AUTO),
              E_INVALIDARG);

    const OwnedWfx extensible(QmAudio_AllocAndCopyWfx(&block.format, QMWAVEFORMAT_COPY_EXTENSIBLE));
    EXPECT_EQ(extensible->wFormatTag, WAVE_TAG_EXTENSIBLE);
    EXPECT_EQ(extensible->cbSize, 22 + 6);
    EXPECT_EQ(QmAudio_GetWaveFormatTag(extensible.get()), 0x55u);
    const QmWaveFormatBlock again(extensible.get());
    EXPECT_EQ(again.format.ExtraSize(), 6u);
    EXPECT_TRUE(again.format == block.format);

    QmWaveFormatBlock other = block;
    other.format.ExtraData()[5] ^= 1;
    EXPECT_FALSE(other.format == block.format);

    // Old readers of tags 1 and 3 look for the bytes in the place of their size.
    block.format.formatTag = 1;
    ASSERT_EQ(block.format.ToWfx(reinterpret_cast<WAVEFORMATEX*>(room), sizeof room, QMWAVEFORMAT_COPY_PLAIN),
              S_OK);
    EXPECT_EQ(std::memcmp(room + 16, mp3.extra, 6), 0);
}

TEST(WaveFormat, RoomForForeignBytesIsKept) {
    std::vector<uint8_t> source(sizeof(WAVEFORMATEX) + 60000, 7);
    auto* wfx = reinterpret_cast<WAVEFORMATEX*>(source.data());
    *wfx = Plain(0x2000, 48000, 16, 2);
    wfx->cbSize = 60000;
    std::vector<uint8_t> target(34 + 100 + 8, 0xEE);
    auto* format = reinterpret_cast<_qmwaveformat*>(target.data());
    format->Init(34 + 100, wfx);
    EXPECT_EQ(format->ExtraSize(), 100u);
    EXPECT_EQ(target[34 + 100], 0xEE);
    std::vector<uint8_t> large(4000);
    auto* most = reinterpret_cast<_qmwaveformat*>(large.data());
    most->Init(4000, wfx);
    EXPECT_EQ(most->ExtraSize(), 1024u);

    std::vector<uint8_t> copy(34 + 50 + 8, 0xEE);
    auto* small = reinterpret_cast<_qmwaveformat*>(copy.data());
    QmAudio_GeneralCopyQmWaveFormat(small, 34 + 50, most);
    EXPECT_EQ(small->ExtraSize(), 0u) << "cut bytes of a codec are worth nothing";
    EXPECT_EQ(small->size, 32u);
    EXPECT_EQ(small->formatTag, 0x2000);
    EXPECT_EQ(copy[34 + 50], 0xEE);
    QmAudio_GeneralCopyQmWaveFormat(format, 34 + 100, format);
    EXPECT_EQ(format->ExtraSize(), 100u);
}

TEST(WaveFormat, DefectiveRecordsOfAnOldWriterAreUnderstood) {
    const struct {
        uint16_t bits;
        QMSAMPLETYPE type;
    } rows[] = {{8, QMSAMPLE_PCM8},     {16, QMSAMPLE_PCM16},   {24, QMSAMPLE_PCM24},
                {32, QMSAMPLE_FLOAT32}, {64, QMSAMPLE_FLOAT64}, {20, QMSAMPLE_UNKNOWN}};
    for (const auto& row : rows)
        for (const uint16_t extra : {uint16_t{0}, WAVE_EXTENSIBLE_EXTRA}) {
            WAVEFORMATEXTENSIBLE ext = Extensible(1, row.bits, row.bits, 2, 3);
            std::memset(ext.SubFormat, 0, sizeof ext.SubFormat);
            ext.Format.cbSize = extra;
            ext.Format.nBlockAlign = static_cast<uint16_t>(2 * row.bits);
            ext.Format.nAvgBytesPerSec = ext.Format.nBlockAlign * 48000u;
            EXPECT_EQ(QmWaveFormatBlock(&ext.Format).format.sampleType, row.type) << row.bits;
            ext.Format.nAvgBytesPerSec++;
            EXPECT_EQ(QmWaveFormatBlock(&ext.Format).format.sampleType, QMSAMPLE_UNKNOWN);
        }
}

TEST(WaveFormat, MasksCompareByWhatTheyMean) {
    _qmwaveformat a, b;
    a.Init(48000, QMSAMPLE_PCM16, 2, 0, sizeof a);
    b.Init(48000, QMSAMPLE_PCM16, 2, 3, sizeof b);
    EXPECT_TRUE(a == b);
    b.channelMask = 0xC;
    EXPECT_FALSE(a == b);
    a.Init(48000, QMSAMPLE_PCM16, 65535, 0, sizeof a);
    b.Init(48000, QMSAMPLE_PCM16, 65535, UINT32_MAX, sizeof b);
    EXPECT_TRUE(a == b);
    a.InitAsWfx(1, 48000, 20, 2, 0, sizeof a);
    EXPECT_EQ(a.sampleType, QMSAMPLE_PCM24);
    EXPECT_EQ(a.blockAlign, 6);
    a.InitAsWfx(0x11, 48000, 4, 2, 0, sizeof a);
    EXPECT_TRUE(a.IsForeign());
    EXPECT_EQ(a.blockAlign, 1);
}

TEST(WaveFormat, DestinationsOfCopies) {
    const WAVEFORMATEXTENSIBLE quad = Extensible(1, 16, 16, 4, 0x33);
    const struct {
        QMWAVEFORMAT_COPY_DEST dest;
        bool extensible;
    } rows[] = {{QMWAVEFORMAT_COPY_AUTO, true},
                {QMWAVEFORMAT_COPY_MASKED, true},
                {QMWAVEFORMAT_COPY_PLAIN, false},
                {QMWAVEFORMAT_COPY_MULTICHANNEL, true},
                {QMWAVEFORMAT_COPY_EXTENSIBLE, true}};
    for (const auto& row : rows) {
        WAVEFORMATEXTENSIBLE target;
        ASSERT_EQ(QmAudio_CopyWfExt(&target, &quad.Format, row.dest), S_OK);
        EXPECT_EQ(target.Format.wFormatTag == WAVE_TAG_EXTENSIBLE, row.extensible) << row.dest;
        const OwnedWfx block(QmAudio_AllocAndCopyWfx(&quad.Format, row.dest));
        EXPECT_EQ(block->wFormatTag == WAVE_TAG_EXTENSIBLE, row.extensible) << row.dest;
        ASSERT_EQ(QmAudio_CopyWfx(&target.Format, sizeof(WAVEFORMATEX), &quad.Format, row.dest), S_OK);
        EXPECT_EQ(target.Format.wFormatTag, 1) << "without room";
    }
    WAVEFORMATEX wfx{};
    QmAudio_CopyWfExtToWfx(&quad, &wfx);
    EXPECT_EQ(wfx.wFormatTag, 1);
    EXPECT_EQ(wfx.cbSize, 0);
    WAVEFORMATEXTENSIBLE ext{};
    QmAudio_CopyWfxToWfExt(&quad.Format, &ext);
    EXPECT_EQ(std::memcmp(&ext, &quad, sizeof ext), 0);
}

}  // namespace
