#include "audio/channels.h"

#include "audio/audio_copy.h"
#include "audio/fill.h"
#include "tests/audio/audio_support.h"

#include <gtest/gtest.h>

namespace {

WAVEFORMATEX Format(QMSAMPLETYPE type, uint32_t channels) {
    WAVEFORMATEX wfx;
    QmAudio_InitWfx(&wfx, 48000, type, channels);
    return wfx;
}

using Bytes = std::vector<uint8_t>;

/// The bytes of one sample of interleaved frames.
Bytes At(const Bytes& buffer, size_t width, size_t channels, size_t frame, size_t channel) {
    const auto at = buffer.begin() + static_cast<ptrdiff_t>((frame * channels + channel) * width);
    return {at, at + static_cast<ptrdiff_t>(width)};
}

constexpr size_t FRAMES = 37;

TEST(Channels, MoveSamplesOfEveryType) {
    std::mt19937_64 random(4);
    for (const QMSAMPLETYPE type : ALL_TYPES)
        for (const uint32_t channels : {1u, 2u, 3u, 6u}) {
            const size_t width = QmAudio_BytesFromSampleType(type);
            const WAVEFORMATEX format = Format(type, channels);
            const Bytes source = RandomSamples(type, FRAMES * channels, random);
            const Bytes mono = RandomSamples(type, FRAMES, random);
            for (uint32_t channel = 0; channel < channels; channel++) {
                Bytes out(FRAMES * width), in = source, all(FRAMES * 4 * width), muted = source;
                ASSERT_EQ(QmAudio_ExtractChannel(out.data(), channel, source.data(), type, channels, FRAMES),
                          S_OK);
                ASSERT_EQ(QmAudio_InsertChannel(in.data(), type, channels, channel, mono.data(), FRAMES),
                          S_OK);
                ASSERT_EQ(QmAudio_CopyChannelToMultiMono2(all.data(), 4, source.data(), channels, channel,
                                                          FRAMES, type),
                          S_OK);
                ASSERT_EQ(QmAudio_MuteChannel(muted.data(), &format, channel, FRAMES), S_OK);
                const Bytes silence(width, type == QMSAMPLE_PCM8 ? 0x80 : 0);
                for (size_t f = 0; f < FRAMES; f++) {
                    const Bytes sample = At(source, width, channels, f, channel);
                    ASSERT_EQ(At(out, width, 1, f, 0), sample);
                    for (size_t c = 0; c < channels; c++) {
                        ASSERT_EQ(At(in, width, channels, f, c), c == channel
                                                                     ? At(mono, width, 1, f, 0)
                                                                     : At(source, width, channels, f, c));
                        ASSERT_EQ(At(muted, width, channels, f, c),
                                  c == channel ? silence : At(source, width, channels, f, c));
                    }
                    for (size_t c = 0; c < 4; c++) ASSERT_EQ(At(all, width, 4, f, c), sample);
                }
            }
            EXPECT_EQ(QmAudio_ExtractChannel(nullptr, channels, nullptr, type, channels, FRAMES), E_FAIL);
        }
    EXPECT_EQ(QmAudio_CopyChannelToMultiMono2(nullptr, 2, nullptr, 1, 0, 1, QMSAMPLE_RA16), E_INVALIDARG);
    EXPECT_EQ(QmAudio_ExtractChannel(nullptr, 0, nullptr, QMSAMPLE_RA16, 2, FRAMES), E_FAIL);
}

/// Longer than any vector, at all levels, apart and in place.
TEST(Channels, StereoIsTheSameAtEveryLevel) {
    std::mt19937_64 random(5);
    for (const uint32_t support : {0u, uint32_t{CPU_SUPPORT_AVX2}, uint32_t{CPU_SUPPORT_AVX512}}) {
        if ((QmGetCPUSupport() & support) != support) continue;
        const OnlySupport only(support);
        for (const QMSAMPLETYPE type : ALL_TYPES)
            for (const size_t frames : {0u, 1u, 7u, 64u, 1003u}) {
                const size_t width = QmAudio_BytesFromSampleType(type);
                const auto count = static_cast<int64_t>(frames);
                const WAVEFORMATEX stereo = Format(type, 2);
                const Bytes source = RandomSamples(type, 2 * frames, random);
                Bytes left(frames * width), right = left, extracted = left, joined(source.size()),
                                            swapped = source, spread(source.size());
                ASSERT_EQ(QmAudio_SplitStereo(left.data(), right.data(), source.data(), type, count), S_OK);
                ASSERT_EQ(QmAudio_JoinStereo(joined.data(), right.data(), left.data(), type, count), S_OK);
                ASSERT_EQ(QmAudio_SwapStereoChannels(swapped.data(), &stereo, count),
                          type <= QMSAMPLE_FLOAT64 ? S_OK : E_FAIL);
                ASSERT_EQ(QmAudio_CopyChannelToMultiMono2(spread.data(), 2, right.data(), 1, 0, count, type),
                          S_OK);
                for (size_t f = 0; f < frames; f++) {
                    const Bytes l = At(source, width, 2, f, 0), r = At(source, width, 2, f, 1);
                    ASSERT_EQ(At(left, width, 1, f, 0), l);
                    ASSERT_EQ(At(right, width, 1, f, 0), r);
                    ASSERT_EQ(At(joined, width, 2, f, 0), r);
                    ASSERT_EQ(At(joined, width, 2, f, 1), l);
                    ASSERT_EQ(At(spread, width, 2, f, 0), r);
                    ASSERT_EQ(At(spread, width, 2, f, 1), r);
                }
                if (type <= QMSAMPLE_FLOAT64) {
                    ASSERT_EQ(swapped, joined);
                }
                // In place: the left channel alone, and then on both.
                Bytes place = source;
                ASSERT_EQ(QmAudio_ExtractChannel(place.data(), 0, place.data(), type, 2, count), S_OK);
                ASSERT_TRUE(std::equal(left.begin(), left.end(), place.begin()));
                ASSERT_EQ(QmAudio_CopyChannelToMultiMono2(place.data(), 2, place.data(), 1, 0, count, type),
                          S_OK);
                for (size_t f = 0; f < frames; f++)
                    ASSERT_EQ(At(place, width, 2, f, 1), At(source, width, 2, f, 0));
            }
    }
}

TEST(Channels, LongStereoIsSplitAndJoined) {
    constexpr size_t SAMPLES = (size_t{16} << 20) / 2 + 1001;
    struct Line {
        alignas(64) uint16_t words[32];
    };
    std::vector<Line> stereo(2 * SAMPLES / 32 + 1), left(SAMPLES / 32 + 1), right(left.size()),
        joined(stereo.size());
    auto* s = stereo[0].words;
    for (size_t i = 0; i < 2 * SAMPLES; i++) s[i] = static_cast<uint16_t>(i * 40503 >> 3);
    const auto frames = static_cast<int64_t>(SAMPLES);
    ASSERT_EQ(QmAudio_SplitStereo(left.data(), right.data(), s, QMSAMPLE_PCM16, frames), S_OK);
    for (size_t i = 0; i < SAMPLES; i += 97) {
        ASSERT_EQ(left[0].words[i], s[2 * i]) << i;
        ASSERT_EQ(right[0].words[i], s[2 * i + 1]) << i;
    }
    ASSERT_EQ(QmAudio_JoinStereo(joined.data(), left.data(), right.data(), QMSAMPLE_PCM16, frames), S_OK);
    EXPECT_EQ(std::memcmp(joined.data(), s, 4 * SAMPLES), 0);
}

TEST(Channels, SwapPairsAndNeighbours) {
    const WAVEFORMATEX six = Format(QMSAMPLE_PCM16, 6), big = Format(QMSAMPLE_BE16, 2),
                       mono = Format(QMSAMPLE_PCM16, 1);
    int16_t frames[12] = {1, 2, 3, 4, 5, 6, 11, 12, 13, 14, 15, 16}, pair[4], swapped[12];
    ASSERT_EQ(QmAudio_ExtractChannelPair(pair, 4, frames, &six, 2), S_OK);
    EXPECT_EQ((std::vector<int16_t>(pair, pair + 4)), (std::vector<int16_t>{5, 6, 15, 16}));
    EXPECT_EQ(QmAudio_ExtractChannelPair(pair, 5, frames, &six, 2), E_FAIL);
    ASSERT_EQ(QmAudio_CopySwapStereoChannels(swapped, frames, &six, 2), S_OK);
    ASSERT_EQ(QmAudio_SwapStereoChannels(frames, &six, 2), S_OK);
    EXPECT_EQ(std::memcmp(frames, swapped, sizeof frames), 0);
    EXPECT_EQ((std::vector<int16_t>(frames, frames + 8)), (std::vector<int16_t>{2, 1, 3, 4, 5, 6, 12, 11}));
    EXPECT_EQ(QmAudio_SwapStereoChannels(frames, &big, 2), E_FAIL);
    EXPECT_EQ(QmAudio_SwapStereoChannels(frames, &mono, 2), S_OK);
    EXPECT_EQ(frames[0], 2);
    ASSERT_EQ(QmAudio_CopyChannelToChannel(frames, &six, 2, 5, 2), S_OK);
    EXPECT_EQ(frames[5], 3);
    EXPECT_EQ(frames[11], 13);
    EXPECT_EQ(QmAudio_CopyChannelToAll(frames, frames, &six, &big, 0, 1), E_NOTIMPL);
}

TEST(Channels, ToMono) {
    const WAVEFORMATEX stereo = Format(QMSAMPLE_FLOAT32, 2), words = Format(QMSAMPLE_PCM16, 2);
    const float hot[4] = {0.75f, 0.75f, -0.25f, 0.5f};
    float out[2];
    ASSERT_EQ(QmAudio_ChannelChange(out, 1, hot, &stereo, 2), S_OK);
    EXPECT_EQ(out[0], 1.5f);
    EXPECT_EQ(out[1], 0.25f);
    ASSERT_EQ(QmAudio_ChannelChangeAvg(out, 1, hot, &stereo, 2), S_OK);
    EXPECT_EQ(out[0], 0.75f);
    // The sum of two halves of the largest float is no infinity.
    const float largest[2] = {std::numeric_limits<float>::max(), std::numeric_limits<float>::max()};
    ASSERT_EQ(QmAudio_ChannelChangeAvg(out, 1, largest, &stereo, 1), S_OK);
    EXPECT_EQ(out[0], largest[0]);
    int16_t buffer[4] = {24576, 24576, 3, 2};
    ASSERT_EQ(QmAudio_ChannelChange(buffer, 1, buffer, &words, 2), S_OK) << "in place";
    EXPECT_EQ(buffer[0], 32767) << "a hot sum clips";
    EXPECT_EQ(buffer[1], 5);
    const int16_t odd[4] = {3, 2, 5, 2};
    int16_t average[2];
    ASSERT_EQ(QmAudio_ChannelChangeAvg(average, 1, odd, &words, 2), S_OK);
    EXPECT_EQ(average[0], 2) << "2.5 to even";
    EXPECT_EQ(average[1], 4) << "3.5 to even";
    // Unsigned bytes divide before they round: (1 - 2) * 256 / 2 = -128, half a step, to even.
    const WAVEFORMATEX octets = Format(QMSAMPLE_PCM8, 2);
    const uint8_t small[4] = {0x81, 0x7E, 0x83, 0x80};
    uint8_t bytes[2];
    ASSERT_EQ(QmAudio_ChannelChangeAvg(bytes, 1, small, &octets, 2), S_OK);
    EXPECT_EQ(bytes[0], 0x80);
    EXPECT_EQ(bytes[1], 0x82);
}

/// Two channels have a way of their own; it must agree with that of any number, here in doubles.
TEST(Channels, StereoToMonoIsExact) {
    std::mt19937_64 random(6);
    constexpr size_t FRAMES_HERE = 3000;
    for (const QMSAMPLETYPE type : ALL_TYPES) {
        if (type == QMSAMPLE_PCM24IN32) continue;
        const WAVEFORMATEX stereo = Format(type, 2), one = Format(type, 1),
                           doubles = Format(QMSAMPLE_FLOAT64, 1);
        const size_t width = QmAudio_BytesFromSampleType(type);
        const Bytes source = RandomSamples(type, 2 * FRAMES_HERE, random);
        std::vector<double> values(2 * FRAMES_HERE);
        ASSERT_EQ(QmAudio_Copy(&doubles, values.data(), &one, source.data(), 2 * FRAMES_HERE, 1), S_OK);
        for (const auto& [average, support] : {std::pair{false, UINT32_MAX},
                                               {true, UINT32_MAX},
                                               {true, 0u},
                                               {false, uint32_t{CPU_SUPPORT_AVX2}},
                                               {true, uint32_t{CPU_SUPPORT_AVX2}}}) {
            const OnlySupport only(support);
            std::vector<double> mixed(FRAMES_HERE);
            for (size_t i = 0; i < FRAMES_HERE; i++)
                mixed[i] = (values[2 * i] + values[2 * i + 1]) * (average ? 0.5 : 1);
            Bytes expected(FRAMES_HERE * width), found = expected;
            ASSERT_EQ(QmAudio_Copy(&one, expected.data(), &doubles, mixed.data(), FRAMES_HERE, 1), S_OK);
            ASSERT_EQ((average ? QmAudio_ChannelChangeAvg
                               : QmAudio_ChannelChange)(found.data(), 1, source.data(), &stereo, FRAMES_HERE),
                      S_OK);
            for (size_t i = 0; i < FRAMES_HERE; i++)
                ASSERT_TRUE(std::isnan(mixed[i]) || At(found, width, 1, i, 0) == At(expected, width, 1, i, 0))
                    << type << ' ' << average << ' ' << i;
        }
    }
}

TEST(Channels, CountsThatAreServed) {
    const WAVEFORMATEX stereo = Format(QMSAMPLE_PCM24, 2), mono = Format(QMSAMPLE_PCM24, 1),
                       unpacked = Format(QMSAMPLE_PCM24IN32, 2);
    uint8_t buffer[18 * 2] = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(QmAudio_ChannelChange(buffer, 6, buffer, &stereo, 1), E_FAIL);
    EXPECT_EQ(QmAudio_ChannelChange(buffer, 1, buffer, &unpacked, 1), E_FAIL);
    ASSERT_EQ(QmAudio_ChannelChange(buffer, 6, buffer, &mono, 2), S_OK);
    for (size_t i = 0; i < 36; i++) EXPECT_EQ(buffer[i], i / 18 * 3 + i % 3 + 1) << i;
    uint8_t copy[6] = {};
    ASSERT_EQ(QmAudio_ChannelChange(copy, 2, buffer, &stereo, 1), S_OK);
    EXPECT_EQ(std::memcmp(copy, buffer, 6), 0);
}

TEST(Channels, AverageOnEveryChannel) {
    const WAVEFORMATEX format = Format(QMSAMPLE_PCM32, 2), octets = Format(QMSAMPLE_PCM8, 2),
                       big = Format(QMSAMPLE_BE32, 2);
    int32_t words[4] = {-3, 0, INT32_MAX, 1};
    ASSERT_EQ(QmAudio_MonoChannel(words, words, &format, 2), S_OK);
    EXPECT_EQ(words[0], -1) << "truncates toward zero";
    EXPECT_EQ(words[1], -1);
    EXPECT_EQ(words[2], INT32_MIN / 2) << "the sum wraps";
    uint8_t bytes[2] = {0xFF, 0xFE};
    ASSERT_EQ(QmAudio_MonoChannel(bytes, bytes, &octets, 1), S_OK);
    EXPECT_EQ(bytes[1], 0xFE);
    EXPECT_EQ(QmAudio_MonoChannel(words, words, &big, 1), E_FAIL);
}

TEST(Fill, Silence) {
    const struct {
        uint32_t tag, bits;
        HRESULT result;
        uint8_t zero;
    } rows[] = {{1, 8, S_OK, 0x80},         {0xFE02, 8, S_OK, 0x80}, {0xFE01, 8, S_OK, 0},
                {1, 16, S_OK, 0},           {3, 32, S_OK, 0},        {0xFE00, 32, S_OK, 0},
                {0xFE03, 16, E_FAIL, 0xEE}, {0x55, 16, E_FAIL, 0xEE}};
    for (const auto& row : rows) {
        WAVEFORMATEX format;
        QmAudio_InitWfxFlex(&format, row.tag, 48000, row.bits, 2, 0, sizeof format);
        uint8_t buffer[9];
        std::memset(buffer, 0xEE, sizeof buffer);
        EXPECT_EQ(QmAudio_FillSilence(&format, buffer, 1), row.result) << row.tag;
        EXPECT_EQ(buffer[0], row.zero);
        EXPECT_EQ(buffer[format.nBlockAlign], 0xEE);
        std::memset(buffer, 0xEE, sizeof buffer);
        EXPECT_EQ(QmAudio_FillSilenceChannel(&format, buffer, 1, 1), row.result) << row.tag;
        EXPECT_EQ(buffer[0], 0xEE);
        // On a channel unsigned silence is told by the tag alone.
        EXPECT_EQ(buffer[row.bits / 8], row.zero);
        EXPECT_EQ(QmAudio_FillSilenceChannel(&format, buffer, 2, 1), E_FAIL);
    }
    WAVEFORMATEXTENSIBLE ext;
    QmAudio_InitWfxFlex(&ext.Format, 0x55, 48000, 16, 2, 0xC, sizeof ext);
    uint8_t untouched[4] = {1, 1, 1, 1};
    EXPECT_EQ(QmAudio_FillSilence(&ext.Format, untouched, 1), S_OK);
    EXPECT_EQ(untouched[0], 1);
}

TEST(Fill, OneSampleEverywhere) {
    const WAVEFORMATEX floats = Format(QMSAMPLE_FLOAT32, 1), words = Format(QMSAMPLE_BE24, 2),
                       none = Format(QMSAMPLE_BE32, 1);
    const float half = 0.5f;
    uint8_t buffer[13];
    std::memset(buffer, 0xEE, sizeof buffer);
    ASSERT_EQ(QmAudio_FillWithSample(&words, buffer, &floats, &half, 2), S_OK);
    for (size_t i = 0; i < 12; i++) EXPECT_EQ(buffer[i], i % 3 == 0 ? 0x40 : 0);
    EXPECT_EQ(buffer[12], 0xEE);
    EXPECT_EQ(QmAudio_FillWithSample(&words, buffer, &none, &half, 2), E_NOTIMPL);
    EXPECT_EQ(QmAudio_FillWithSample(&words, buffer, &none, &half, 0), S_OK);
}

}  // namespace
