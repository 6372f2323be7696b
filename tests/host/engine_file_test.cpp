// Audio files at the project's rate, and files that cannot be played.
#include "host/engine/audio_file.h"
#include "tests/host/engine_fixture.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <fstream>
#include <limits>
#include <numbers>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace host {
namespace {

using namespace test;

Stereo ReadAll(FileAtRate& file, int64_t frame, size_t n, size_t step) {
    Stereo out{std::vector<float>(n), std::vector<float>(n)};
    for (size_t done = 0; done < n;) {
        const size_t count = std::min(step, n - done);
        file.Read(frame + static_cast<int64_t>(done), count, out.left.data() + done, out.right.data() + done);
        done += count;
    }
    return out;
}

// A tone keeps its frequency, level and place whatever rates it passes between: the difference to the same
// tone made at the new rate stays below -80 dB.
TEST(FileAtRate, AToneStaysWhereItWas) {
    const TempFolder folder;
    struct Row {
        int from, to;
        double hertz;
    };
    const Row rows[] = {{44100, 48000, 997},  {44100, 48000, 15000}, {48000, 44100, 997},
                        {96000, 48000, 997},  {48000, 192000, 997},  {8000, 48000, 997},
                        {44100, 44099, 5000}, {192000, 44100, 997}};
    for (const Row& row : rows) {
        const auto tone = [&](int64_t i, int rate) {
            return 0.5 * std::sin(2 * std::numbers::pi * row.hertz * static_cast<double>(i) / rate);
        };
        WriteWave(folder / "tone.wav", row.from, 1, row.from,
                  [&](int64_t i, int) { return float(tone(i, row.from)); });
        FileAtRate file(folder / "tone.wav", row.to);
        EXPECT_EQ(file.Frames(), row.to);
        const auto n = static_cast<size_t>(row.to);
        const Stereo out = ReadAll(file, 0, n, 1000);
        double worst = 0;
        // The first and last moments ring, since the tone begins and ends at once.
        for (size_t i = n / 20; i < n - n / 20; i++)
            worst = std::max(worst, std::fabs(out.left[i] - tone(static_cast<int64_t>(i), row.to)));
        EXPECT_LT(worst, 0.5e-4) << row.from << " to " << row.to << " at " << row.hertz << " Hz";
        EXPECT_EQ(out.left, out.right);
    }
}

TEST(FileAtRate, AFrameSoundsTheSameHoweverItIsReached) {
    const TempFolder folder;
    WriteWave(folder / "a.wav", 44100, 2, 60000, [](int64_t i, int c) {
        return static_cast<float>(std::sin(0.1 * double(i) * (1 + 1e-5 * double(i)) + c));
    });
    FileAtRate file(folder / "a.wav", 48000);
    const Stereo whole = ReadAll(file, -100, 66000, 66000);
    EXPECT_TRUE(ReadAll(file, -100, 66000, 333) == whole);
    for (int64_t frame : {50000, 10241, 10239, 0, 30000, -50, 65000}) {
        const Stereo part = ReadAll(file, frame, 300, 7);
        for (size_t i = 0; i < 300; i++)
            ASSERT_EQ(part.left[i], whole.left[static_cast<size_t>(frame + 100) + i]) << frame;
    }
}

TEST(AudioFile, TamesWhatAFloatFileMayHold) {
    const TempFolder folder;
    const float inf = std::numeric_limits<float>::infinity();
    const float values[] = {1.5f, std::nanf(""), inf, -inf, 1e30f, -1e-42f, -2.0f};
    const float tamed[] = {1.5f, 0.0f, 1000.0f, -1000.0f, 1000.0f, -1e-42f, -2.0f};
    WriteWave(folder / "wild.wav", 48000, 2, 7, [&](int64_t i, int) { return values[i]; });
    AudioFile file(folder / "wild.wav");
    float left[9], right[9];
    file.Read(-1, 9, left, right);
    EXPECT_EQ(left[0], 0.0f);
    EXPECT_EQ(left[8], 0.0f);
    for (int i = 0; i < 7; i++) EXPECT_EQ(left[i + 1], tamed[i]) << i;
    EXPECT_EQ(file.Fault(), "");
}

// Each broken file keeps its track silent and is told of once, by name; the good track plays.
TEST(AudioFile, WhatCannotBePlayedIsSilentAndToldOnce) {
    const TempFolder folder;
    WriteWave(folder / "10.wav", 48000, 2, 48000, [](int64_t, int) { return 0.5f; });
    std::filesystem::create_directory(folder / "folder.wav");
    std::ofstream(folder / "empty.wav");
    std::ofstream(folder / "text.wav") << "RIFFabcdWAVEfmt this is not a wave file at all";
    WriteWave(folder / "slow.wav", 500, 1, 100, [](int64_t, int) { return 0.1f; });
    WriteWave(folder / "six.wav", 48000, 6, 48000, [](int64_t, int c) { return c < 2 ? 0.25f : 9.0f; });
    ASSERT_EQ(mkfifo((folder / "pipe.wav").c_str(), 0600), 0);

    Session session = TracksSession({10, 11, 12}, 1);
    session.channels[3].clips.clear();
    for (const char* name :
         {"missing.wav", "folder.wav", "empty.wav", "text.wav", "slow.wav", "pipe.wav", "missing.wav"})
        session.channels[3].clips.push_back({name, 0, 0, 1, 0});
    session.channels[4].clips = {{"missing.wav", 0, 0, 1, 0}, {"six.wav", 0.5, 0, 0.25, 0}};

    ProblemLog problems;
    OfflineMix mix(session, folder.Path(), 0, problems);
    std::vector<float> left(48000), right(48000);
    mix.Process(std::array{left.data(), right.data()}.data(), 48000);
    EXPECT_EQ(left[1000], 0.5f);
    EXPECT_EQ(left[30000], 0.75f);
    const std::vector<std::string> lines = problems.Lines();
    ASSERT_EQ(lines.size(), 7u);
    const char* names[] = {"missing.wav: no such file",
                           "folder.wav: not a file",
                           "empty.wav: ",
                           "text.wav: ",
                           "slow.wav: has a sample rate of 500 Hz",
                           "pipe.wav: not a file",
                           "six.wav: has 6 channels"};
    for (size_t i = 0; i < lines.size(); i++) {
        EXPECT_EQ(lines[i].rfind(names[i], 0), 0u) << lines[i];
        EXPECT_EQ(lines[i].find('\n'), std::string::npos);
    }
}

/// What is open, and how much of it the system grants, until the end of the scope.
class FileLimit {
public:
    FileLimit() { getrlimit(RLIMIT_NOFILE, &m_before); }
    ~FileLimit() { setrlimit(RLIMIT_NOFILE, &m_before); }
    void Set(size_t most) const {
        const rlimit limit{most, m_before.rlim_max};
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    }
    static size_t Open() {
        return static_cast<size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                                                 std::filesystem::directory_iterator{}));
    }

private:
    rlimit m_before{};
};

// However many files there are and however few may be open, every one is heard.
TEST(AudioFile, TracksShareWhatTheSystemGrants) {
    const TempFolder folder;
    constexpr size_t FILES = 20;
    std::vector<Clip> clips;
    for (size_t i = 0; i < FILES; i++) {
        clips.push_back({std::to_string(i) + ".wav", 0, 0, 400 / 48000.0, 0});
        WriteWave(folder / clips[i].file, 48000, 1, 400,
                  [&](int64_t, int) { return static_cast<float>(i + 1) / 1024; });
    }
    struct Row {
        size_t tracks, limit, atOnce;
    };
    for (const Row& row : {Row{1, 1024, 8}, Row{10, 168, 40}, Row{50, 168, 0}, Row{10, 64, 0}}) {
        std::vector<ChannelId> ids;
        for (size_t t = 0; t < row.tracks; t++) ids.push_back(10 + t);
        Session session = TracksSession(ids, 1);
        for (Channel& channel : session.channels)
            if (channel.kind == ChannelKind::AudioTrack) channel.clips = clips;
        const FileLimit limit;
        limit.Set(row.limit);
        const size_t before = FileLimit::Open();
        ProblemLog problems;
        OfflineMix mix(session, folder.Path(), 0, problems);
        std::vector<float> left(400), right(400);
        mix.Process(std::array{left.data(), right.data()}.data(), 400);
        const auto sum = static_cast<float>(row.tracks * FILES * (FILES + 1) / 2) / 1024;
        EXPECT_FLOAT_EQ(left[200], sum);
        EXPECT_EQ(FileLimit::Open() - before, row.atOnce);
        EXPECT_TRUE(problems.Lines().empty()) << problems.Lines().front();
        for (int i = 0; i < 800; i++) mix.Process(std::array{left.data(), right.data()}.data(), 400);
        EXPECT_EQ(FileLimit::Open(), before) << "what lies far behind is closed";
    }
}

TEST(AudioFile, ALimitThatIsReachedIsToldAndPassesAgain) {
    const TempFolder folder;
    WriteWave(folder / "10.wav", 48000, 1, 48000, [](int64_t, int) { return 0.5f; });
    ProblemLog problems;
    const FileLimit limit;
    const int next = dup(0);
    close(next);
    limit.Set(static_cast<size_t>(next));
    OfflineMix mix(TracksSession({10}, 1), folder.Path(), 0, problems);
    std::vector<float> left(8192), right(8192);
    mix.Process(std::array{left.data(), right.data()}.data(), 4096);
    EXPECT_EQ(left[100], 0.0f);
    EXPECT_EQ(problems.Lines(), std::vector<std::string>{"10.wav: the system grants no more open files"});
    limit.Set(256);
    mix.Process(std::array{left.data(), right.data()}.data(), 8192);
    EXPECT_EQ(left[8000], 0.5f);
}

}  // namespace
}  // namespace host
