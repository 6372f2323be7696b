#include "audio/audio_copy.h"
// What libsndfile writes is read alike here, and what is written here is read alike there.
#include "mediafile/sample_file.h"
#include "mediafile/wave_file.h"
#include "platform/memory.h"
#include "tests/mediafile/media_support.h"

#include <sndfile.h>

#include <random>

using namespace tarn;

namespace {

struct Row {
    int container, subtype;
    MediaContainer ours;
    QMSAMPLETYPE type;
    bool theirs = true;  ///< libsndfile writes it, too
};
constexpr Row ROWS[] = {
    {SF_FORMAT_WAV, SF_FORMAT_PCM_U8, MediaContainer::Wave, QMSAMPLE_PCM8},
    {SF_FORMAT_WAV, SF_FORMAT_PCM_16, MediaContainer::Wave, QMSAMPLE_PCM16},
    {SF_FORMAT_WAV, SF_FORMAT_PCM_24, MediaContainer::Wave, QMSAMPLE_PCM24},
    {SF_FORMAT_WAV, SF_FORMAT_PCM_32, MediaContainer::Wave, QMSAMPLE_PCM32},
    {SF_FORMAT_WAV, SF_FORMAT_FLOAT, MediaContainer::Wave, QMSAMPLE_FLOAT32},
    {SF_FORMAT_WAV, SF_FORMAT_DOUBLE, MediaContainer::Wave, QMSAMPLE_FLOAT64},
    {SF_FORMAT_WAVEX, SF_FORMAT_PCM_16, MediaContainer::Wave, QMSAMPLE_PCM16},
    {SF_FORMAT_WAVEX, SF_FORMAT_PCM_24, MediaContainer::Wave, QMSAMPLE_PCM24},
    {SF_FORMAT_WAVEX, SF_FORMAT_FLOAT, MediaContainer::Wave, QMSAMPLE_FLOAT32},
    {SF_FORMAT_W64, SF_FORMAT_PCM_16, MediaContainer::Wave64, QMSAMPLE_PCM16},
    {SF_FORMAT_W64, SF_FORMAT_PCM_24, MediaContainer::Wave64, QMSAMPLE_PCM24},
    {SF_FORMAT_W64, SF_FORMAT_FLOAT, MediaContainer::Wave64, QMSAMPLE_FLOAT32},
    {SF_FORMAT_AIFF, SF_FORMAT_PCM_S8, MediaContainer::Aiff, QMSAMPLE_SIGNED8},
    {SF_FORMAT_AIFF, SF_FORMAT_PCM_16, MediaContainer::Aiff, QMSAMPLE_BE16},
    {SF_FORMAT_AIFF, SF_FORMAT_PCM_24, MediaContainer::Aiff, QMSAMPLE_BE24},
    {SF_FORMAT_AIFF, SF_FORMAT_PCM_32, MediaContainer::Aiff, QMSAMPLE_BE32},
    {SF_FORMAT_AIFF | SF_ENDIAN_LITTLE, SF_FORMAT_PCM_16, MediaContainer::Aifc, QMSAMPLE_PCM16},
    {SF_FORMAT_AIFF | SF_ENDIAN_LITTLE, SF_FORMAT_PCM_24, MediaContainer::Aifc, QMSAMPLE_PCM24, false},
};

struct CloseSound {
    void operator()(SNDFILE* f) const { sf_close(f); }
};
using OwnedSound = std::unique_ptr<SNDFILE, CloseSound>;

class Sndfile : public MediaTest {
protected:
    struct Freed {
        void operator()(WAVEFORMATEX* wfx) const { MemFree(wfx); }
    };
    static std::vector<int> Random(size_t count) {
        std::mt19937 random(static_cast<uint32_t>(count));
        std::vector<int> samples(count);
        for (int& s : samples) s = static_cast<int>(random() & 0xFF000000);  // exact in every type
        return samples;
    }
};

/// Integers as they are, floats with 1.0 as full scale: the ways on which libsndfile changes nothing.
bool IsFloat(const Row& row) { return row.type == QMSAMPLE_FLOAT32 || row.type == QMSAMPLE_FLOAT64; }
std::vector<double> Doubles(const std::vector<int>& samples) {
    std::vector<double> values;
    for (const int s : samples) values.push_back(s / 2147483648.0);
    return values;
}

TEST_F(Sndfile, ItsFilesAreReadAlike) {
    for (const Row& row : ROWS)
        for (const int channels : {1, 2, 6})
            for (const size_t count : {size_t{0}, size_t{1}, size_t{1001}}) {
                if (!row.theirs) continue;
                const std::vector<int> samples = Random(count * static_cast<size_t>(channels));
                SF_INFO info{};
                info.samplerate = 44100;
                info.channels = channels;
                info.format = row.container | row.subtype;
                {
                    const OwnedSound out(sf_open(Path("x").c_str(), SFM_WRITE, &info));
                    ASSERT_TRUE(out) << sf_strerror(nullptr);
                    sf_command(out.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
                    const auto length = static_cast<sf_count_t>(count);
                    ASSERT_EQ(IsFloat(row) ? sf_writef_double(out.get(), Doubles(samples).data(), length)
                                           : sf_writef_int(out.get(), samples.data(), length),
                              length);
                }
                const std::string what = std::to_string(row.container) + "/" + std::to_string(row.subtype) +
                                         ", " + std::to_string(channels) + " channels, " +
                                         std::to_string(count);
                uint64_t frames = 0, offset = 0;
                const std::unique_ptr<WAVEFORMATEX, Freed> wfx(
                    QmGetFileWfx(WidePath("x").c_str(), &frames, &offset));
                ASSERT_TRUE(wfx) << what;
                EXPECT_EQ(wfx->nChannels, channels) << what;
                EXPECT_EQ(wfx->nSamplesPerSec, 44100u);
                EXPECT_EQ(QmAudio_GetSampleType(wfx.get()), row.type) << what;
                // It counts the pad of an odd 8-bit AIFF as a frame, and that of Wave64 as samples.
                const bool countsPad = row.type == QMSAMPLE_SIGNED8 || row.ours == MediaContainer::Wave64;
                EXPECT_GE(frames, count) << what;
                EXPECT_LT(frames, count + (countsPad ? 8 : 1)) << what;
                const MediaContents c = Inspected("x");
                EXPECT_EQ(c.dataOffset, offset) << what;
                EXPECT_EQ(c.container, row.ours) << what;
                const Bytes bytes = Content("x");
                const size_t width = QmAudio_BytesFromSampleType(row.type);
                ASSERT_GE(bytes.size(), offset + samples.size() * width);
                std::vector<int> back(samples.size());
                if (!back.empty()) {
                    QmAudio_GetCopyFunction2(QMSAMPLE_PCM32, row.type)(back.data(), bytes.data() + offset,
                                                                       static_cast<int64_t>(back.size()), 1);
                }
                EXPECT_EQ(back, samples) << what;
            }
}

TEST_F(Sndfile, OurFilesAreReadAlike) {
    for (const Row& row : ROWS)
        for (const uint32_t channels : {1u, 2u, 6u})
            for (const size_t count : {size_t{1}, size_t{1001}, size_t{1002}}) {
                const std::vector<int> samples = Random(count * channels);
                // A wave file that outgrew its limit while it was written.
                const SampleFileGrowth growth = {row.ours == MediaContainer::Wave && count > 1, count * 2};
                _qmwaveformat format;
                format.Init(44100, row.type, channels, 0, sizeof format);
                {
                    const OwnedHandle file = Make("y", {});
                    Bytes stored(samples.size() * QmAudio_BytesFromSampleType(row.type));
                    QmAudio_GetCopyFunction2(row.type, QMSAMPLE_PCM32)(
                        stored.data(), samples.data(), static_cast<int64_t>(samples.size()), 1);
                    SampleFile out(file.get(), row.ours, format, growth);
                    ASSERT_EQ(out.Begin(), S_OK);
                    ASSERT_EQ(out.Write(stored.data(), static_cast<uint32_t>(stored.size())), S_OK);
                    ASSERT_EQ(out.End(), S_OK);
                }
                EXPECT_TRUE(Inspected("y").problems.empty());
                SF_INFO info{};
                const OwnedSound in(sf_open(Path("y").c_str(), SFM_READ, &info));
                ASSERT_TRUE(in) << sf_strerror(nullptr);
                const bool countsPad = row.ours == MediaContainer::Wave64;
                EXPECT_GE(info.frames, static_cast<sf_count_t>(count));
                EXPECT_LT(info.frames, static_cast<sf_count_t>(count + (countsPad ? 8 : 1))) << row.container;
                EXPECT_EQ(info.channels, static_cast<int>(channels));
                EXPECT_EQ(info.samplerate, 44100);
                EXPECT_EQ(info.format & SF_FORMAT_SUBMASK, row.subtype);
                // 8 bits with one channel do not pass the limit, all others do.
                const bool isLong = growth.mayBecomeLong &&
                                    count * channels * QmAudio_BytesFromSampleType(row.type) > growth.limit;
                EXPECT_EQ((info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_RF64, isLong);
                EXPECT_EQ(Inspected("y").container, isLong ? MediaContainer::Rf64 : row.ours);
                const auto length = static_cast<sf_count_t>(count);
                std::vector<int> back(samples.size());
                std::vector<double> doubles(samples.size());
                if (IsFloat(row)) {
                    ASSERT_EQ(sf_readf_double(in.get(), doubles.data(), length), length);
                    EXPECT_EQ(doubles, Doubles(samples));
                } else {
                    ASSERT_EQ(sf_readf_int(in.get(), back.data(), length), length);
                    EXPECT_EQ(back, samples);
                }
            }
}

}  // namespace
