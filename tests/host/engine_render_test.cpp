#include "host/engine/render.h"
#include "mediafile/meta/broadcast.h"
#include "mediafile/meta/meta_values.h"
#include "platform/file.h"
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

/// Two tracks have the recording: once from its third second, once too late.
TEST(Render, MarkersOfRecordingsLieWhereTheySoundInTheMix) {
    const TempFolder folder;
    WriteWave(folder / "10.wav", 24000, 2, 96000, [](int64_t i, int) { return Mark(i); });
    Session session = TracksSession({10, 11}, 4);
    session.channels[2].clips = {{.file = "10.wav", .start = 1, .offset = 2, .length = 2}};
    session.channels[3].clips = {{.file = "10.wav", .start = 3.5, .offset = 0, .length = 0.5}};
    const auto open = [&](const char* name, QmFileAccess access) {
        return QmFile_Open(tarn::WideFromPath(folder / name).c_str(), access, FILE_OPEN_EXISTING);
    };
    HQMFILE recording = open("10.wav", FILE_ACCESS_READ_WRITE);
    tarn::MetaDocument told = tarn::ReadMetaDocument(recording);
    tarn::SetMetaCues(told, std::vector<tarn::MediaCue>{{1, 24000, {}, u"cut away", {}, 0},
                                                        {2, 60000, 48000, u"verse", {}, 0}});
    const tarn::FileSource source(recording);
    const tarn::MetaEditPlan plan = PlanMetaEdit(source, tarn::InspectMedia(source), told);
    ASSERT_EQ(ApplyMetaEdit(recording, plan), S_OK);
    QmFile_Close(recording);
    const RenderResult result = RenderToFile(session, folder.Path(), folder / "a.wav", {.start = 0.5});
    HQMFILE mix = open("a.wav", FILE_ACCESS_READ);
    EXPECT_FALSE(tarn::InspectMedia(mix).HasErrors());
    const tarn::MetaDocument carried = tarn::ReadMetaDocument(mix);
    QmFile_Close(mix);
    const std::vector<tarn::MediaCue> cues = tarn::MetaCues(carried);
    ASSERT_EQ(cues.size(), 1u);
    EXPECT_EQ(cues[0].position, 48000u) << "a second and a half in the session, a second in the mix";
    EXPECT_EQ(cues[0].length, 72000u) << "as long as the clip goes on";
    EXPECT_EQ(cues[0].label, u"verse");
    const tarn::BroadcastInfo info = tarn::ReadBroadcastInfo(carried.PayloadOf("bext"));
    EXPECT_EQ(info.timeReference, 24000u);
    EXPECT_NEAR(info.loudnessValue / 100.0, result.loudnessLufs, 0.0051);
}

}  // namespace
}  // namespace host
