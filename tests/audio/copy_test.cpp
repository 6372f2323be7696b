// The plain routines against the rule written down a second time, in long doubles and arithmetic on bytes.
#include "tests/audio/audio_support.h"

#include <gtest/gtest.h>

#include <array>
#include <cfenv>

namespace {

struct Layout {
    int bytes;
    double fullScale;
    bool isFloat, bigEndian, offset;
};

Layout LayoutOf(QMSAMPLETYPE type) {
    switch (type) {
    case QMSAMPLE_PCM8: return {1, 128, false, false, true};
    case QMSAMPLE_SIGNED8: return {1, 128, false, false, false};
    case QMSAMPLE_PCM16: return {2, 32768, false, false, false};
    case QMSAMPLE_BE16: return {2, 32768, false, true, false};
    case QMSAMPLE_PCM24: return {3, 8388608, false, false, false};
    case QMSAMPLE_BE24: return {3, 8388608, false, true, false};
    case QMSAMPLE_PCM24IN32: return {4, 8388608, false, false, false};
    case QMSAMPLE_PCM32: return {4, 2147483648.0, false, false, false};
    case QMSAMPLE_BE32: return {4, 2147483648.0, false, true, false};
    case QMSAMPLE_FLOAT32: return {4, 1, true, false, false};
    default: return {8, 1, true, false, false};
    }
}

int64_t Whole(const Layout& l, const uint8_t* p) {
    uint64_t word = 0;
    for (int i = 0; i < l.bytes; i++) word |= uint64_t{p[l.bigEndian ? l.bytes - 1 - i : i]} << (8 * i);
    if (l.offset) word ^= 0x80;
    const int up = 64 - 8 * l.bytes;
    return static_cast<int64_t>(word << up) >> up;
}

std::array<uint8_t, 8> Bytes(const Layout& l, int64_t value) {
    std::array<uint8_t, 8> bytes{};
    auto word = static_cast<uint64_t>(value);
    if (l.offset) word ^= 0x80;
    for (int i = 0; i < l.bytes; i++)
        bytes[static_cast<size_t>(l.bigEndian ? l.bytes - 1 - i : i)] = static_cast<uint8_t>(word >> (8 * i));
    return bytes;
}

/// What the sample must become.
std::array<uint8_t, 8> Expected(QMSAMPLETYPE dst, QMSAMPLETYPE src, const uint8_t* p, float scale) {
    const Layout to = LayoutOf(dst), from = LayoutOf(src);
    std::array<uint8_t, 8> bytes{};
    if (dst == src && scale == 1) {
        std::memcpy(bytes.data(), p, static_cast<size_t>(from.bytes));
        return bytes;
    }
    if (!to.isFloat && !from.isFloat && scale == 1 &&
        (to.fullScale > from.fullScale || (to.fullScale == from.fullScale && to.bytes > from.bytes)))
        return Bytes(to, Whole(from, p) * static_cast<int64_t>(to.fullScale / from.fullScale));
    double value = 0;
    if (src == QMSAMPLE_FLOAT32) {
        float x = 0;
        std::memcpy(&x, p, 4);
        value = static_cast<double>(scale * x);
    } else if (src == QMSAMPLE_FLOAT64) {
        std::memcpy(&value, p, 8);
        value *= static_cast<double>(scale);
    } else {
        value = static_cast<double>(Whole(from, p)) / from.fullScale * static_cast<double>(scale);
    }
    if (dst == QMSAMPLE_FLOAT32) {
        const auto narrow = static_cast<float>(value);
        std::memcpy(bytes.data(), &narrow, 4);
    } else if (dst == QMSAMPLE_FLOAT64) {
        std::memcpy(bytes.data(), &value, 8);
    } else {
        long double units = static_cast<long double>(value) * to.fullScale;
        if (std::isnan(units)) units = 0;
        units = std::min(std::max(units, -static_cast<long double>(to.fullScale)),
                         static_cast<long double>(to.fullScale) - 1);
        return Bytes(to, static_cast<int64_t>(std::nearbyintl(units)));
    }
    return bytes;
}

TEST(Copy, EveryPairFollowsTheRule) {
    const OnlySupport plain(0);
    std::mt19937_64 random(1);
    constexpr size_t COUNT = 3000;
    for (const QMSAMPLETYPE src : ALL_TYPES) {
        const std::vector<uint8_t> source = RandomSamples(src, COUNT, random);
        for (const QMSAMPLETYPE dst : ALL_TYPES) {
            const QMAUDIOCOPYFN copy = QmAudio_GetCopyFunction2(dst, src);
            ASSERT_EQ(copy == nullptr, HasNoRoutine(dst, src));
            if (!copy) continue;
            for (const float scale : {1.0f, 0.5f, 0.70710678f, -1.25f, 1e-42f, 3e38f}) {
                const size_t width = QmAudio_BytesFromSampleType(dst);
                std::vector<uint8_t> target(COUNT * width + 1, 0xEE);
                copy(target.data(), source.data(), COUNT, scale);
                EXPECT_EQ(target.back(), 0xEE);
                for (size_t i = 0; i < COUNT; i++) {
                    const uint8_t* from = source.data() + i * QmAudio_BytesFromSampleType(src);
                    const auto expected = Expected(dst, src, from, scale);
                    ASSERT_EQ(std::memcmp(target.data() + i * width, expected.data(), width), 0)
                        << PairName(dst, src) << " times " << scale << ", sample " << i;
                }
            }
        }
    }
}

template <class To, class From>
To One(QMSAMPLETYPE dst, QMSAMPLETYPE src, From value, float scale = 1) {
    To to{};
    QmAudio_GetCopyFunction2(dst, src)(&to, &value, 1, scale);
    return to;
}

TEST(Copy, ValuesThatPeopleKnow) {
    const auto fromFloat = [](float value) { return One<int16_t>(QMSAMPLE_PCM16, QMSAMPLE_FLOAT32, value); };
    EXPECT_EQ(fromFloat(1.0f), 32767);
    EXPECT_EQ(fromFloat(-1.0f), -32768);
    EXPECT_EQ(fromFloat(1.5f), 32767);
    EXPECT_EQ(fromFloat(0.5f), 16384);
    EXPECT_EQ(fromFloat(0.5f / 32768), 0);
    EXPECT_EQ(fromFloat(1.5f / 32768), 2);
    EXPECT_EQ(fromFloat(std::numeric_limits<float>::quiet_NaN()), 0);
    EXPECT_EQ(One<uint8_t>(QMSAMPLE_PCM8, QMSAMPLE_PCM16, int16_t{0x7FFF}), 0xFF);
    EXPECT_EQ(One<uint8_t>(QMSAMPLE_PCM8, QMSAMPLE_PCM16, int16_t{-0x8000}), 0x00);
    EXPECT_EQ(One<uint8_t>(QMSAMPLE_PCM8, QMSAMPLE_PCM16, int16_t{0}), 0x80);
    EXPECT_EQ(One<float>(QMSAMPLE_FLOAT32, QMSAMPLE_PCM8, uint8_t{0x80}), 0.0f);
    EXPECT_EQ(One<float>(QMSAMPLE_FLOAT32, QMSAMPLE_PCM8, uint8_t{0}), -1.0f);
    EXPECT_EQ(One<float>(QMSAMPLE_FLOAT32, QMSAMPLE_PCM8, uint8_t{0xFF}), 0.9921875f);
    EXPECT_EQ(One<int16_t>(QMSAMPLE_PCM16, QMSAMPLE_PCM24, int32_t{0x007F80}), 0x0080);
    EXPECT_EQ(One<int16_t>(QMSAMPLE_PCM16, QMSAMPLE_PCM24, int32_t{0x7FFFFF}), 0x7FFF);
    EXPECT_EQ(One<int32_t>(QMSAMPLE_PCM24, QMSAMPLE_PCM16, int16_t{0x1234}), 0x123400);
    EXPECT_EQ(One<int32_t>(QMSAMPLE_PCM24, QMSAMPLE_PCM16, int16_t{0x1235}, 0.5f), 0x1235 * 128);
}

TEST(Copy, FormatsAndCounts) {
    WAVEFORMATEX pcm, be24, be32, foreign;
    QmAudio_InitWfx(&pcm, 48000, QMSAMPLE_PCM16, 2);
    QmAudio_InitWfx(&be24, 48000, QMSAMPLE_BE24, 1);
    QmAudio_InitWfx(&be32, 48000, QMSAMPLE_BE32, 1);
    QmAudio_InitWfxFlex(&foreign, 0x55, 48000, 16, 2, 0, sizeof foreign);
    int16_t source[4] = {1, 2, 3, 4}, target[5] = {9, 9, 9, 9, 9};
    EXPECT_EQ(QmAudio_Copy(&be24, target, &be32, source, 1, 1), E_NOTIMPL);
    EXPECT_EQ(QmAudio_Copy(&be24, target, &be32, source, 0, 1), S_OK);
    EXPECT_EQ(QmAudio_Copy(&foreign, target, &pcm, source, 1, 1), E_NOTIMPL);
    WAVEFORMATEX mono;
    QmAudio_InitWfx(&mono, 48000, QMSAMPLE_PCM16, 1);
    EXPECT_EQ(QmAudio_Copy(&mono, target, &pcm, source, 2, 1), S_OK);
    EXPECT_EQ(target[3], 4) << "the source's channels count";
    EXPECT_EQ(target[4], 9);
    _qmwaveformat form;
    form.Init(48000, QMSAMPLE_FLOAT32, 2, 0, sizeof form);
    float floats[4];
    EXPECT_EQ(QmAudio_Copy(&form, floats, &pcm, source, 2, 2), S_OK);
    EXPECT_EQ(floats[3], 4 * 2 / 32768.0f);
    EXPECT_EQ(QmAudio_GetCopyFunction2(QMSAMPLE_RA16, QMSAMPLE_PCM16), nullptr);
    EXPECT_EQ(QmAudio_GetCopyFunction2(QMSAMPLE_PCM16, QMSAMPLE_UNKNOWN), nullptr);
    QmAudio_GetCopyFunction2(QMSAMPLE_PCM16, QMSAMPLE_PCM16)(target, source, -5, 0.5f);
    EXPECT_EQ(target[0], 1);
    EXPECT_EQ(QmAudioCopy_UnitTest(0), S_OK);
}

}  // namespace
