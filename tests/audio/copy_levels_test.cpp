// The vector forms against the plain routines, bit for bit.
#include "tests/audio/audio_support.h"

#include <gtest/gtest.h>

namespace {

struct LevelRow {
    const char* name;
    uint32_t bits;
};
constexpr LevelRow LEVELS[] = {
    {"SSE2", CPU_SUPPORT_SSE | CPU_SUPPORT_SSE2}, {"AVX2", CPU_SUPPORT_AVX2}, {"AVX512", CPU_SUPPORT_AVX512}};

QMAUDIOCOPYFN Routine(uint32_t bits, QMSAMPLETYPE dst, QMSAMPLETYPE src) {
    const OnlySupport only(bits);
    return QmAudio_GetCopyFunction2(dst, src);
}

class CopyLevels : public testing::TestWithParam<LevelRow> {
protected:
    void SetUp() override {
        if ((QmGetCPUSupport() & GetParam().bits) != GetParam().bits)
            GTEST_SKIP() << "this processor has no " << GetParam().name;
    }

    /// Calls `check` for each pair with both routines.
    template <class Check>
    void ForEachPair(Check check) {
        for (const QMSAMPLETYPE src : ALL_TYPES)
            for (const QMSAMPLETYPE dst : ALL_TYPES) {
                if (HasNoRoutine(dst, src)) continue;
                const QMAUDIOCOPYFN vector = Routine(GetParam().bits, dst, src), plain = Routine(0, dst, src);
                ASSERT_NE(vector, plain);
                check(dst, src, vector, plain);
                if (HasFatalFailure()) return;
            }
    }
};

TEST_P(CopyLevels, EqualOnAllValuesLengthsAndAlignments) {
    std::mt19937_64 random(2);
    constexpr size_t MOST = 131, GUARD = 64;
    ForEachPair([&](QMSAMPLETYPE dst, QMSAMPLETYPE src, QMAUDIOCOPYFN vector, QMAUDIOCOPYFN plain) {
        const size_t from = QmAudio_BytesFromSampleType(src), to = QmAudio_BytesFromSampleType(dst);
        for (size_t count = 0; count <= MOST; count++) {
            // Of its exact size, so that a read too far is seen by the sanitizer.
            const std::vector<uint8_t> source = RandomSamples(src, count, random);
            const size_t offset = count % 17, sourceOffset = count % 13;
            std::vector<uint8_t> shifted(sourceOffset + source.size());
            if (!source.empty()) std::memcpy(shifted.data() + sourceOffset, source.data(), source.size());
            const float scale = count % 3 == 0 ? 1.0f : count % 3 == 1 ? 0.7071f : -1.9f;
            std::vector<uint8_t> expected(count * to), target(offset + count * to + GUARD, 0xEE);
            plain(expected.data(), source.data(), static_cast<int64_t>(count), scale);
            vector(target.data() + offset, shifted.data() + sourceOffset, static_cast<int64_t>(count), scale);
            ASSERT_TRUE(
                std::equal(expected.begin(), expected.end(), target.begin() + static_cast<ptrdiff_t>(offset)))
                << PairName(dst, src) << ", " << count << " samples times " << scale;
            for (size_t i = 0; i < GUARD; i++)
                ASSERT_EQ(target[offset + count * to + i], 0xEE) << PairName(dst, src);
            for (size_t i = 0; i < offset; i++) ASSERT_EQ(target[i], 0xEE) << PairName(dst, src);
            (void)from;
        }
    });
}

TEST_P(CopyLevels, EqualInPlaceAndOnLongRuns) {
    std::mt19937_64 random(3);
    constexpr size_t COUNT = 5003;
    ForEachPair([&](QMSAMPLETYPE dst, QMSAMPLETYPE src, QMAUDIOCOPYFN vector, QMAUDIOCOPYFN plain) {
        const size_t from = QmAudio_BytesFromSampleType(src), to = QmAudio_BytesFromSampleType(dst);
        const std::vector<uint8_t> source = RandomSamples(src, COUNT, random);
        for (const float scale : {1.0f, 0.3f, std::numeric_limits<float>::infinity(), 1e-44f})
            for (size_t offset = 0; offset < 64; offset += 7) {
                std::vector<uint8_t> expected(COUNT * to), buffer(offset + COUNT * std::max(from, to));
                plain(expected.data(), source.data(), COUNT, scale);
                std::memcpy(buffer.data() + offset, source.data(), source.size());
                vector(buffer.data() + offset, buffer.data() + offset, COUNT, scale);
                ASSERT_TRUE(std::equal(expected.begin(), expected.end(),
                                       buffer.begin() + static_cast<ptrdiff_t>(offset)))
                    << PairName(dst, src) << " times " << scale << " at " << offset;
                std::memcpy(buffer.data() + offset, source.data(), source.size());
                plain(buffer.data() + offset, buffer.data() + offset, COUNT, scale);
                ASSERT_TRUE(std::equal(expected.begin(), expected.end(),
                                       buffer.begin() + static_cast<ptrdiff_t>(offset)))
                    << PairName(dst, src) << " plain";
            }
    });
}

/// So long that the destination is written past the caches, at every alignment of interest.
TEST_P(CopyLevels, EqualWhereTheCachesArePassed) {
    std::mt19937_64 random(4);
    for (const auto& [dst, src] : {std::pair{QMSAMPLE_FLOAT32, QMSAMPLE_PCM16},
                                   {QMSAMPLE_PCM24, QMSAMPLE_FLOAT32},
                                   {QMSAMPLE_PCM16, QMSAMPLE_FLOAT64},
                                   {QMSAMPLE_PCM8, QMSAMPLE_BE16}}) {
        const size_t to = QmAudio_BytesFromSampleType(dst), count = (size_t{16} << 20) / to + 777;
        const std::vector<uint8_t> pattern = RandomSamples(src, 9973, random);
        std::vector<uint8_t> source(count * QmAudio_BytesFromSampleType(src));
        for (size_t i = 0; i < source.size(); i++) source[i] = pattern[i % pattern.size()];
        std::vector<uint8_t> expected(count * to), target(count * to + 128, 0xEE);
        Routine(0, dst, src)(expected.data(), source.data(), static_cast<int64_t>(count), 0.9f);
        for (const size_t offset : {size_t{1}, size_t{64}}) {
            std::fill(target.begin(), target.end(), 0xEE);
            Routine(GetParam().bits, dst, src)(target.data() + offset, source.data(),
                                               static_cast<int64_t>(count), 0.9f);
            ASSERT_EQ(std::memcmp(target.data() + offset, expected.data(), expected.size()), 0)
                << PairName(dst, src);
            ASSERT_EQ(target[offset - 1], 0xEE);
            ASSERT_EQ(target[offset + expected.size()], 0xEE);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Levels, CopyLevels, testing::ValuesIn(LEVELS),
                         [](const auto& level) { return std::string(level.param.name); });

TEST(CpuSupport, SettingsMaskWhatWasFound) {
    const uint32_t found = QmGetCPUSupport();
    QmDisallowCPUSupport(CPU_SUPPORT_AVX512 | CPU_SUPPORT_AVX2);
    EXPECT_EQ(QmGetCPUSupport(), found & ~uint32_t{CPU_SUPPORT_AVX512 | CPU_SUPPORT_AVX2});
    QmAllowCPUSupport(CPU_SUPPORT_AVX2);
    EXPECT_EQ(QmGetCPUSupport(), found & ~uint32_t{CPU_SUPPORT_AVX512});
    QmOnlyAllowCPUSupport(0);
    EXPECT_EQ(QmGetCPUSupport(), 0u);
    QmOnlyAllowCPUSupport(UINT32_MAX);
    EXPECT_EQ(QmGetCPUSupport(), found);
}

}  // namespace
