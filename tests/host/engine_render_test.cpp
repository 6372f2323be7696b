#include "host/engine/render.h"
#include "tests/host/engine_fixture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <fstream>
#include <iterator>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace host {
namespace {

using namespace test;

std::string Bytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST(Render, IsTheSameFileEveryTimeAndUnityIsBitExact) {
    const TempFolder folder;
    // Every 24-bit step of a stretch around zero and the two ends of the range.
    WriteWave(folder / "10.wav", 48000, 2, 40000, [](int64_t i, int c) {
        const int64_t step = i < 39000 ? i - 19500 : (c ? -8388608 + (i - 39000) : 8387608 + (i - 39000));
        return static_cast<float>(c && i < 39000 ? -step : step) / 8388608.0f;
    });
    Session session = TracksSession({10}, 40000 / 48000.0);
    const RenderResult result = RenderToFile(session, folder.Path(), folder / "a.wav");
    EXPECT_TRUE(result.finished);
    EXPECT_EQ(result.frames, 40000);
    EXPECT_EQ(result.clippedFrames, 0);
    EXPECT_EQ(result.peak, 1.0f);
    int rate = 0;
    EXPECT_TRUE(ReadWave(folder / "a.wav", &rate) == ReadWave(folder / "10.wav"));
    EXPECT_EQ(rate, 48000);

    session.channels[2].fader_db = -3;
    session.channels[2].pan = 0.1;
    for (size_t block : {1, 17, 4096})
        RenderToFile(session, folder.Path(), folder / std::to_string(block), {.blockFrames = block});
    EXPECT_EQ(Bytes(folder / "1"), Bytes(folder / "17"));
    EXPECT_EQ(Bytes(folder / "1"), Bytes(folder / "4096"));
}

TEST(Render, TakesARangeAndLimitsWhatDoesNotFit) {
    const TempFolder folder;
    WriteWave(folder / "10.wav", 48000, 2, 48000,
              [](int64_t i, int c) { return i == 24005 ? (c ? -2.0f : 1.0f) : Mark(i); });
    const Session session = TracksSession({10}, 1);
    const RenderResult result =
        RenderToFile(session, folder.Path(), folder / "a.wav", {.start = 0.5, .end = 0.75});
    const Stereo out = ReadWave(folder / "a.wav");
    EXPECT_EQ(result.frames, 12000);
    EXPECT_EQ(out.size(), 12000u);
    EXPECT_EQ(MarkedFrame(out.left[0]), 24000);
    EXPECT_EQ(out.left[5], 8388607 / 8388608.0f);
    EXPECT_EQ(out.right[5], -1.0f);
    EXPECT_EQ(result.clippedFrames, 1);
    EXPECT_EQ(result.peak, 2.0f);
    for (RenderOptions bad : {RenderOptions{.start = 1}, RenderOptions{.start = -1},
                              RenderOptions{.start = 2, .end = std::nan("")}})
        EXPECT_THROW(RenderToFile(session, folder.Path(), folder / "b.wav", bad), RenderError);
    EXPECT_FALSE(std::filesystem::exists(folder / "b.wav"));
}

TEST(Render, StoppedOrFailedKeepsTheOldFileAndLeavesNothingAside) {
    const TempFolder folder;
    WriteWave(folder / "10.wav", 48000, 2, 48000, [](int64_t i, int) { return Mark(i); });
    const Session session = TracksSession({10}, 10);
    const auto target = folder / "mix.wav";
    std::ofstream(target) << "old";
    std::vector<double> seen;
    const RenderResult stopped = RenderToFile(session, folder.Path(), target, {.progress = [&](double done) {
                                                  seen.push_back(done);
                                                  return done < 0.5;
                                              }});
    EXPECT_FALSE(stopped.finished);
    ASSERT_GT(seen.size(), 3u);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
    EXPECT_LT(seen.back(), 0.6);
    EXPECT_EQ(Bytes(target), "old");

    const pid_t child = fork();
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{100000, 100000};
        setrlimit(RLIMIT_FSIZE, &limit);
        try {
            RenderToFile(session, folder.Path(), target);
        } catch (const RenderError& e) {
            _exit(std::string(e.what()).find(target.string()) != std::string::npos ? 0 : 2);
        }
        _exit(1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "a full disk was not reported";
    EXPECT_EQ(Bytes(target), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 2);
    EXPECT_THROW(RenderToFile(session, folder.Path(), folder / "no/mix.wav"), RenderError);
}

}  // namespace
}  // namespace host
