// What codecs make of their bytes, sample by sample, beside an independent decoder over files made on the
// spot.
#include "mediafile/byte_order.h"
#include "mediafile/sample_reader.h"
#include "tests/mediafile/media_support.h"
#include "tests/support/program.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <tuple>

using namespace tarn;

namespace {

struct Row {
    const char *encoder, *name;
    QMSAMPLETYPE type;
    const char* reference;  ///< the other's name for that type
};
constexpr Row ROWS[] = {
    {"pcm_mulaw", "x.wav", QMSAMPLE_PCM16, "s16le"},
    {"pcm_alaw", "x.wav", QMSAMPLE_PCM16, "s16le"},
    {"adpcm_ima_wav", "x.wav", QMSAMPLE_PCM16, "s16le"},
    {"adpcm_ms", "x.wav", QMSAMPLE_PCM16, "s16le"},
    {"pcm_s64le", "x.wav", QMSAMPLE_FLOAT64, "f64le"},
    {"pcm_f64le", "x.wav", QMSAMPLE_FLOAT64, "f64le"},
    {"pcm_mulaw", "x.w64", QMSAMPLE_PCM16, "s16le"},
    {"adpcm_ms", "x.w64", QMSAMPLE_PCM16, "s16le"},
    {"pcm_mulaw", "x.aifc", QMSAMPLE_PCM16, "s16le"},
    {"pcm_alaw", "x.aifc", QMSAMPLE_PCM16, "s16le"},
    {"adpcm_ima_qt", "x.aifc", QMSAMPLE_PCM16, "s16le"},
    {"pcm_f32be", "x.aifc", QMSAMPLE_FLOAT32, "f32le"},
    {"pcm_f64be", "x.aifc", QMSAMPLE_FLOAT64, "f64le"},
    {"pcm_s16le", "x.aifc", QMSAMPLE_PCM16, "s16le"},
    {"-rf64 always pcm_alaw", "x.wav", QMSAMPLE_PCM16, "s16le"},
};

/// A wave file with all its numbers in the other order; a codec's blocks are bytes and stay.
Bytes InBigEndian(Bytes wave) {
    const auto turn = [&](size_t at, size_t bytes) {
        std::reverse(wave.begin() + static_cast<ptrdiff_t>(at),
                     wave.begin() + static_cast<ptrdiff_t>(at + bytes));
    };
    std::memcpy(wave.data(), "RIFX", 4);
    turn(4, 4);
    for (size_t at = 12; at + 8 <= wave.size();) {
        const std::string id(wave.begin() + static_cast<ptrdiff_t>(at),
                             wave.begin() + static_cast<ptrdiff_t>(at + 4));
        const size_t size = FromLittleEndian<uint32_t>(&wave[at + 4]), body = at + 8;
        turn(at + 4, 4);
        if (id == "fact") turn(body, 4);
        if (id == "LIST") std::memcpy(&wave[at], "JUNK", 4);
        for (size_t field = 0; id == "fmt " && field < size;) {
            const size_t bytes = field == 4 || field == 8 ? 4 : 2;
            turn(body + field, bytes);
            field += bytes;
        }
        at = body + size + (size & 1);
    }
    return wave;
}

class Codecs : public MediaTest {
protected:
    /// All frames, in pieces that fit no block.
    Bytes Decoded(const std::string& name, uint64_t* damaged = nullptr) {
        const OwnedHandle file = Open(name);
        const FileSource source(file.get());
        const MediaContents contents = InspectMedia(source);
        EXPECT_FALSE(contents.HasErrors()) << contents.problems[0].text;
        if (contents.coding.codec == SampleCodec::None) return {};
        SampleReader reader(source, contents);
        Bytes all, piece(1000 * reader.FrameBytes());
        for (uint64_t got = 1; got > 0;
             all.insert(all.end(), piece.begin(), piece.begin() + got * reader.FrameBytes()))
            got = reader.Read(piece.data(), 997);
        EXPECT_EQ(all.size(), contents.frames * reader.FrameBytes());
        if (damaged) *damaged = reader.DamagedBlocks();
        return all;
    }
    /// Loud, quiet, noise and silence.
    void MakeSound(int channels, int rate) {
        const std::string signal =
            "0.9*sin(2000*t*t)*between(t\\,0\\,0.5)+0.02*sin(4000*t)+(random(0)-0.5)*gt(t\\,0.7)";
        const Outcome made = RunShell("ffmpeg -v error -y -f lavfi -i \"aevalsrc='" + signal +
                                      "':d=1.003:s=" + std::to_string(rate) + "\" -ac " +
                                      std::to_string(channels) + " " + Path("sound.wav"));
        ASSERT_EQ(made.code, 0) << made.text;
    }
};

TEST_F(Codecs, AnotherDecoderMakesTheSameOfThem) {
    if (RunShell("ffmpeg -version").code != 0) GTEST_SKIP() << "there is no ffmpeg to compare with";
    for (const auto& [channels, rate] : {std::pair(1, 8000), std::pair(2, 44100)}) {
        MakeSound(channels, rate);
        for (const Row& row : ROWS) {
            SCOPED_TRACE(std::string(row.encoder) + " " + row.name + ", " + std::to_string(channels));
            std::string encoder = row.encoder, options;
            if (const size_t space = encoder.rfind(' '); space != encoder.npos)
                options = encoder.substr(0, space + 1), encoder = encoder.substr(space + 1);
            const Outcome made =
                RunShell("cd " + Path("") + " && ffmpeg -v error -y -i sound.wav " + options + "-c:a " +
                         encoder + " " + row.name + " && ffmpeg -v error -y -i " + row.name + " -f " +
                         row.reference + " reference");
            ASSERT_EQ(made.code, 0) << made.text;
            ASSERT_EQ(Inspected(row.name).coding.type, row.type);
            uint64_t damaged = 1;
            Bytes ours = Decoded(row.name, &damaged), theirs = Content("reference");
            EXPECT_EQ(damaged, 0u);
            // It gives the whole of a last block, also what the header tells to be no sound.
            ASSERT_LE(ours.size(), theirs.size());
            ASSERT_GT(ours.size(), size_t(rate * channels * 2));
            theirs.resize(ours.size());
            ASSERT_EQ(ours, theirs);
            if (!encoder.starts_with("adpcm") || row.name != std::string_view("x.wav")) continue;
            Make("turned.wav", InBigEndian(Content(row.name)));
            EXPECT_EQ(Decoded("turned.wav"), ours);
        }
    }
}

TEST_F(Codecs, BitsThatFillNoWholeBytesAreRead) {
    for (const uint16_t bits : {4, 12, 20, 28}) {
        const auto bytes = static_cast<uint16_t>((bits + 7) / 8);
        Builder format;
        format.Little(uint16_t{1}).Little(uint16_t{2}).Little(48000u).Little(48000u * 2 * bytes);
        format.Little(static_cast<uint16_t>(2 * bytes)).Little(bits);
        Bytes samples(size_t{16} * bytes);
        for (size_t i = 0; i < samples.size(); i++) samples[i] = static_cast<uint8_t>(i * 37);
        Make("x.wav", WaveForm(Builder().Chunk("fmt ", format.bytes).Chunk("data", samples).bytes));
        EXPECT_EQ(Decoded("x.wav"), samples) << bits;
        EXPECT_EQ(QmAudio_BytesFromSampleType(Inspected("x.wav").coding.type), bytes);
    }
}

/// Sizes that no block can have, headers that point nowhere, and a file that ends in the middle.
TEST_F(Codecs, WhatCannotBeIsRefusedOrCounted) {
    const auto adpcm = [](uint16_t tag, uint16_t channels, uint16_t block) {
        Builder format;
        format.Little(tag).Little(channels).Little(8000u).Little(4000u).Little(block).Little(uint16_t{4});
        return format.Little(uint16_t{2}).Little(uint16_t{9}).bytes;
    };
    const auto make = [&](const Bytes& format, const Bytes& data) {
        Make("x.wav", WaveForm(Builder().Chunk("fmt ", format).Chunk("data", data).bytes));
        return Inspected("x.wav");
    };
    constexpr uint16_t IMA = 0x11, MICROSOFT = 2;
    for (const auto& [tag, channels, block] :
         {std::tuple(IMA, 1, 3), std::tuple(IMA, 40, 100), std::tuple(IMA, 1, 0), std::tuple(MICROSOFT, 1, 6),
          std::tuple(MICROSOFT, 3, 300), std::tuple(MICROSOFT, 2, 13)}) {
        const MediaContents c =
            make(adpcm(tag, static_cast<uint16_t>(channels), static_cast<uint16_t>(block)), Bytes(600));
        EXPECT_EQ(c.coding.codec, SampleCodec::None) << block;
        EXPECT_EQ(c.frames, 0u);
    }
    Bytes blocks(36 * 3 - 20, 0x7C);  // the last is cut; all begin with a step beyond the table
    EXPECT_EQ(make(adpcm(IMA, 1, 36), blocks).frames, 65u * 2 + 1 + 24);
    uint64_t damaged = 0;
    EXPECT_EQ(Decoded("x.wav", &damaged).size(), 2 * (65u * 2 + 1 + 24));
    EXPECT_EQ(damaged, 3u);
    EXPECT_EQ(make(adpcm(MICROSOFT, 2, 32), Bytes(32 + 15, 200)).frames, 2u + 18 + 2 + 1);
    Decoded("x.wav", &damaged);
    EXPECT_EQ(damaged, 2u) << "there are seven pairs";
}

}  // namespace
