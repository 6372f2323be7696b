#include "audio/format_text.h"

#include "kernel/lang/lang.h"

#include <gtest/gtest.h>

#include <string>

namespace {

template <class Call>
std::u16string Text(Call call) {
    char16_t text[128];
    call(text, 128u);
    return text;
}

std::u16string FormatText(const _qmwaveformat& format, uint32_t flags) {
    return Text([&](char16_t* out, uint32_t length) { QmAudio_GetFormatText(&format, out, length, flags); });
}

TEST(FormatText, Channels) {
    const struct {
        uint32_t channels, mask;
        const char16_t* text;
    } rows[] = {{1, 0, u"Mono"},
                {2, 3, u"Stereo"},
                {2, 0xC, u"1/0 (C) + LFE"},
                {6, 0x3F, u"5.1"},
                {6, 0x60F, u"5.1"},
                {8, 0xFF, u"7.1"},
                {3, 0xB, u"2/0 (L, R) + LFE"},
                {5, 0x37, u"3/2 (L, C, R, Ls, Rs)"},
                {6, 0, u"6 Channel"}};
    for (const auto& row : rows)
        EXPECT_EQ(Text([&](auto* out, auto length) {
                      QmAudio_GetChannelsText(row.channels, row.mask, out, length);
                  }),
                  row.text);
}

TEST(FormatText, CompressionNames) {
    const auto name = [](uint32_t tag, BOOL isShort, int32_t result = 0) {
        return Text([&](auto* out, auto length) {
            EXPECT_EQ(QmAudio_GetCompressionTypeName(tag, out, length, isShort), result) << tag;
        });
    };
    EXPECT_EQ(name(0x55, 0), u"MPEG Layer 3");
    EXPECT_EQ(name(0x55, 1), u"MP3");
    EXPECT_EQ(name(1, 0), u"PCM") << "no long name, so the short one";
    EXPECT_EQ(name(0xFF, 1), u"AAC") << "by its canonical tag";
    EXPECT_EQ(name(0x674F, 1), u"Ogg");
    EXPECT_EQ(name(0x674F, 0), u"Ogg Vorbis 1");
    EXPECT_EQ(name(0x1234, 1, 1), u"0x4660");
    EXPECT_EQ(name(0x1234, 0, 1), u"'0x4660' Compression");
    EXPECT_EQ(QmAudio_ConvertToCanonicalWaveFormatTag(0x215), 0x216u);
    EXPECT_EQ(QmAudio_ConvertToCanonicalWaveFormatTag(0x1234), 0x1234u);
}

TEST(FormatText, Attributes) {
    WAVEFORMATEXTENSIBLE ext;
    QmAudio_InitWfxFlex(&ext.Format, 1, 44100, 16, 2, 0, sizeof ext);
    const auto text = [&](HRESULT result) {
        return Text([&](auto* out, auto length) {
            EXPECT_EQ(QmAudio_GetAttribsText(&ext.Format, out, length), result);
        });
    };
    EXPECT_EQ(text(S_OK), u"44,100 Hz, 16 Bit, Stereo");
    QmAudio_InitWfxFlex(&ext.Format, 3, 96000, 32, 6, 0x60F, sizeof ext);
    EXPECT_EQ(text(S_OK), u"96,000 Hz, 32 Bit (IEEE Float), 5.1");
    QmAudio_InitWfxFlex(&ext.Format, 0x55, 44100, 16, 2, 0, sizeof ext);
    EXPECT_EQ(text(E_FAIL), u"Unknown");
    EXPECT_EQ(Text([&](auto* out, auto length) { EXPECT_EQ(QmAudio_GetTagText(0xFE02, out, length), S_OK); }),
              u"PCM (big endian)");
    EXPECT_EQ(Text([&](auto* out, auto length) { EXPECT_EQ(QmAudio_GetTagText(0x55, out, length), E_FAIL); }),
              u"Unknown");
}

TEST(FormatText, Formats) {
    _qmwaveformat format;
    format.Init(44100, QMSAMPLE_PCM16, 2, 0, sizeof format);
    EXPECT_EQ(FormatText(format, 0), u"44,100 Hz, 16 Bit, Stereo, PCM");
    EXPECT_EQ(FormatText(format, FORMAT_TEXT_BIT_DEPTH), u"44,100 Hz, 16 Bit, Stereo");
    format.Init(192000, QMSAMPLE_FLOAT32, 6, 0x3F, sizeof format);
    EXPECT_EQ(FormatText(format, FORMAT_TEXT_NO_CODEC), u"192,000 Hz, 32 Bit (IEEE Float), 5.1");
    EXPECT_EQ(FormatText(format, FORMAT_TEXT_BIT_DEPTH), u"192,000 Hz, 24 Bit, 5.1");
    EXPECT_EQ(FormatText(format, FORMAT_TEXT_LONG_CODEC),
              u"192,000 Hz, 32 Bit (IEEE Float), 5.1, IEEE Float");

    format.InitAsWfx(0x55, 48000, 16, 2, 0, sizeof format);
    format.avgBytesPerSec = 40000;
    EXPECT_EQ(FormatText(format, FORMAT_TEXT_BIT_RATE), u"320 kbps, 48,000 Hz, 16 Bit, Stereo, MP3");
    EXPECT_EQ(FormatText(format, FORMAT_TEXT_AS_PCM), u"48,000 Hz, 16 Bit, Stereo, PCM");
    EXPECT_EQ(FormatText(format, FORMAT_TEXT_ATTRIBUTES), u"Unknown");
    char16_t small[12];
    QmAudio_GetFormatText(&format, small, 12, 0);
    EXPECT_EQ(std::u16string(small), u"48,000 Hz, ");
    small[0] = u'x';
    QmAudio_GetFormatText(&format, small, 0, 0);
    EXPECT_EQ(small[0], u'x');
}

}  // namespace
