// Files of every kind into a session and out of it.
#include "host/media/import.h"
#include "host/media/template_render.h"
#include "tests/e2e/sine_files.h"
#include "tests/fileio/file_manager.h"

#include <sndfile.h>

#include <csignal>
#include <fstream>

using namespace host;
using namespace tarn;

namespace {

namespace fs = std::filesystem;

/// Clicks in a container that FFmpeg's libraries alone read.
Bytes FilmSound(uint32_t seconds = 1) {
    constexpr uint32_t FRAMES = 441, DATA = FRAMES * 4 + 1;
    Bytes film = {'F', 'L', 'V', 1, 4, 0, 0, 0, 9, 0, 0, 0, 0};
    const auto big = [&](uint32_t value, int bytes) {
        while (bytes-- > 0) film.push_back(static_cast<uint8_t>(value >> 8 * bytes));
    };
    for (uint32_t tag = 0; tag < seconds * 100; tag++) {
        film.push_back(8);
        big(DATA, 3);
        big(tag * 10, 3);
        big(0, 4);
        film.push_back(0x3F);  // 44,100 Hz, 16 bits, stereo
        for (uint32_t i = 0; i < FRAMES * 4; i++) film.push_back(i % 200 < 2 ? 0x10 : 0);
        big(DATA + 11, 4);
    }
    return film;
}

SF_INFO InfoOf(const fs::path& path) {
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    EXPECT_TRUE(file) << path;
    if (file) sf_close(file);
    return info;
}

class HostMedia : public FileManagerTest {
protected:
    HostMedia() {
        StartOwn();
        project.SaveAs(Path("session/s.tarn").c_str());
        WriteSine(Path("plain.wav"), 220);
        Make("film.flv", FilmSound());
    }
    ImportResult Import(const std::vector<std::string>& names,
                        const std::function<bool(double)>& progress = {}) {
        std::vector<fs::path> files;
        for (const std::string& name : names) files.push_back(Path(name));
        return ImportRecordings(project, *manager, files, 0.5, progress);
    }
    std::vector<fs::path> Files(const std::string& name) const {
        std::vector<fs::path> files;
        for (const auto& entry : fs::directory_iterator(Path(name))) files.push_back(entry.path().filename());
        std::ranges::sort(files);
        return files;
    }
    std::vector<Channel> Tracks() const {
        std::vector<Channel> tracks = project.Snapshot().channels;
        std::erase_if(tracks, [](const Channel& c) { return c.kind != ChannelKind::AudioTrack; });
        return tracks;
    }

    struct Folder {
        explicit Folder(const fs::path& path) { fs::create_directories(path); }
    } folder{Path("session")};
    Project project{EngineOptions{.systemDevice = false}};
};

TEST_F(HostMedia, WhatIsReadBecomesATrackAndAllElseIsToldOf) {
    SF_INFO wide{0, 22050, 6, SF_FORMAT_WAVEX | SF_FORMAT_PCM_16, 0, 0};
    SNDFILE* six = sf_open(Path("six.wav").c_str(), SFM_WRITE, &wide);
    const std::vector<short> samples(size_t{22050} * 6, 1000);
    sf_writef_short(six, samples.data(), 22050);
    sf_close(six);
    Bytes cut = FilmSound();
    cut.resize(60000);  // in the middle of a tag
    Make("cut.flv", cut);
    Make("text.txt", {'n', 'o', 't', 'e'});
    fs::copy_file(Path("plain.wav"), Path("bad\xFF.wav"));
    const ImportResult result =
        Import({"plain.wav", "six.wav", "text.txt", "film.flv", "cut.flv", "gone.wav", "bad\xFF.wav"});
    EXPECT_EQ(result.tracks, 4u);
    const std::pair<const char*, const char*> reasons[] = {
        {"text.txt", "unsupported format"}, {"gone.wav", "no such file"}, {"\xFF.wav", "not UTF-8"}};
    ASSERT_EQ(result.problems.size(), std::size(reasons));
    for (size_t i = 0; i < std::size(reasons); i++) {
        EXPECT_NE(result.problems[i].find(reasons[i].first), std::string::npos) << result.problems[i];
        EXPECT_NE(result.problems[i].find(reasons[i].second), std::string::npos) << result.problems[i];
    }
    const std::vector<Channel> tracks = Tracks();
    ASSERT_EQ(tracks.size(), 4u);
    const char* const clips[] = {"../plain.wav", "Imported/six.wav", "Imported/film.wav", "Imported/cut.wav"};
    for (size_t i = 0; i < 4; i++) {
        EXPECT_EQ(tracks[i].clips.at(0).file, clips[i]);
        EXPECT_EQ(tracks[i].clips[0].start, 0.5);
        EXPECT_TRUE(tracks[i].selected);
        EXPECT_NE(tracks[i].output, kNoChannel);
    }
    EXPECT_EQ(InfoOf(Path("session/Imported/six.wav")).channels, 2);
    EXPECT_EQ(InfoOf(Path("session/Imported/film.wav")).samplerate, 44100);
    EXPECT_NEAR(tracks[2].clips[0].length, 1, 0.02);
    EXPECT_EQ(project.Length(), 0.5 + SINE_SECONDS);
    project.Render(Path("mix.wav"), std::nullopt);
    EXPECT_GT(RmsDb(Path("mix.wav")), -30);

    // One step, with the session's length.
    EXPECT_EQ(project.NextUndo(), EditKind::Import);
    ASSERT_TRUE(project.Undo());
    EXPECT_TRUE(Tracks().empty());
    EXPECT_EQ(project.Length(), 0);
    ASSERT_TRUE(project.Redo());
    EXPECT_EQ(Tracks(), tracks);
    EXPECT_EQ(project.Length(), 0.5 + SINE_SECONDS);
    // A second one does not write over the first.
    EXPECT_EQ(Import({"film.flv"}).tracks, 1u);
    EXPECT_EQ(Tracks().back().clips[0].file, "Imported/film 2.wav");
}

TEST_F(HostMedia, AnImportThatIsCancelledOrFailsLeavesNothing) {
    for (const double when : {0.0, 0.4, 0.9}) {
        const ImportResult result =
            Import({"film.flv", "film.flv"}, [when](double done) { return done < when; });
        EXPECT_TRUE(result.cancelled);
        EXPECT_TRUE(Tracks().empty());
        EXPECT_EQ(Files("session"), std::vector<fs::path>{"s.tarn"}) << when;
    }
    // What reads it is killed in the middle: that file fails, and the next has a new process.
    Make("long.flv", FilmSound(60));
    const ImportResult result = Import({"long.flv", "film.flv"}, [](double done) {
        for (const pid_t surrogate : done > 0 && done < 0.5 ? Surrogates() : std::vector<pid_t>())
            ::kill(surrogate, SIGKILL);
        return true;
    });
    ASSERT_EQ(result.problems.size(), 1u);
    EXPECT_NE(result.problems[0].find("long.flv: at frame "), std::string::npos) << result.problems[0];
    EXPECT_NE(result.problems[0].find("ended"), std::string::npos) << result.problems[0];
    EXPECT_EQ(result.tracks, 1u);
    EXPECT_EQ(Files("session/Imported"), std::vector<fs::path>{"film.wav"});
}

}  // namespace
