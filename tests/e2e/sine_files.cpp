#include "tests/e2e/sine_files.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <vector>

void WriteSine(const std::filesystem::path& path, double hertz) {
    SF_INFO info{};
    info.samplerate = SINE_RATE;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_TRUE(file);
    std::vector<float> samples(static_cast<size_t>(SINE_RATE * SINE_SECONDS) * 2);
    for (size_t i = 0; i < samples.size(); i++)
        samples[i] =
            static_cast<float>(0.25 * std::sin(2 * M_PI * hertz * static_cast<double>(i / 2) / SINE_RATE));
    sf_writef_float(file, samples.data(), static_cast<sf_count_t>(samples.size() / 2));
    sf_close(file);
}

double RmsDb(const std::filesystem::path& path) {
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    EXPECT_TRUE(file) << path;
    if (!file) return 0;
    EXPECT_EQ(info.format & SF_FORMAT_SUBMASK, SF_FORMAT_PCM_24);
    EXPECT_EQ(info.channels, 2);
    std::vector<float> samples(static_cast<size_t>(info.frames) * 2);
    sf_readf_float(file, samples.data(), info.frames);
    sf_close(file);
    double sum = 0;
    for (float s : samples) sum += static_cast<double>(s) * s;
    return sum > 0 ? 10 * std::log10(sum / static_cast<double>(samples.size())) : -200;
}
