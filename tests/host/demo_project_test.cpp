// The whole demo project, made by the real synthesiser, and what interrupts its making.
#include "host/demo/demo_project.h"

#include "host/demo/demo_session.h"
#include "host/demo/piece.h"
#include "host/engine/audio_file.h"
#include "host/engine/render.h"
#include "platform/file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

#include <sys/wait.h>
#include <unistd.h>

using namespace tarn;

namespace fs = std::filesystem;
using namespace host;

namespace {
class DemoProject : public testing::Test {
protected:
    DemoProject() {
        std::string name = (fs::temp_directory_path() / "tarn-demo-XXXXXX").string();
        m_root = ::mkdtemp(name.data());
        m_folder = m_root / "a" / "b";
    }
    ~DemoProject() override { fs::remove_all(m_root); }

    /// Sources whose synthesiser counts its runs in $runs and then does as the lines say.
    DemoSources WithSynthesiser(const std::string& lines) {
        const fs::path script = m_root / "synthesiser";
        const std::string counter = (m_root / "runs").string();
        std::string error;
        EXPECT_TRUE(ReplaceFile(
            script, "#!/bin/sh\necho >> " + counter + "\nruns=$(wc -l < " + counter + ")\n" + lines, error));
        fs::permissions(script, fs::perms::owner_all);
        fs::remove(m_root / "runs");
        DemoSources sources;
        sources.synthesiser.program = script.string();
        return sources;
    }

    /// Nothing but whole files, and no sign of being complete.
    void ExpectUnfinished() {
        EXPECT_FALSE(fs::exists(m_folder / "demo.stamp"));
        EXPECT_FALSE(fs::exists(m_folder / kDemoSessionFile));
        for (const auto& entry : fs::directory_iterator(m_folder / "audio"))
            EXPECT_EQ(static_cast<int64_t>((kPieceBars + 1) * kBarSeconds * 48000),
                      AudioFile(entry.path()).Frames())
                << entry.path();
    }

    int64_t WorkFolders() {
        return std::count_if(fs::directory_iterator(m_folder), {}, [](const auto& entry) {
            return entry.path().filename().string().starts_with(".making");
        });
    }

    std::string Failure(const DemoSources& sources) {
        try {
            MakeDemoProject(m_folder, sources, false);
        } catch (const std::runtime_error& e) {
            return e.what();
        }
        ADD_FAILURE() << "nothing failed";
        return {};
    }

    fs::path m_root, m_folder;
};

/// Levels of a stem: the peak of all, and of each bar the root of the mean square, in dB of full scale.
struct Levels {
    double peak = 0;
    std::vector<double> bars;

    explicit Levels(const fs::path& path) {
        AudioFile file(path);
        const auto frames = static_cast<size_t>(file.SampleRate() * kBarSeconds);
        std::vector<float> left(frames), right(frames);
        for (int64_t at = 0; at < file.Frames(); at += static_cast<int64_t>(frames)) {
            file.Read(at, frames, left.data(), right.data());
            double sum = 0;
            for (size_t i = 0; i < frames; i++) {
                sum += left[i] * left[i] + right[i] * right[i];
                peak = std::max<double>({peak, std::abs(left[i]), std::abs(right[i])});
            }
            bars.push_back(10 * std::log10(sum / (2.0 * static_cast<double>(frames)) + 1e-20));
        }
        peak = 20 * std::log10(peak + 1e-20);
    }
};

TEST_F(DemoProject, SoundsWhereItsNotesAre) {
    ASSERT_TRUE(MakeDemoProject(m_folder, {}, false));
    const MidiSong piece = MakePiece();
    for (const MidiTrack& part : piece.tracks) {
        SCOPED_TRACE(part.name);
        const Levels levels(m_folder / DemoAudioFile(part.name));
        EXPECT_GE(levels.peak, -12);
        EXPECT_LE(levels.peak, -3);
        ASSERT_EQ(static_cast<size_t>(kPieceBars + 1), levels.bars.size());
        std::set<uint32_t> playing;
        for (const MidiNote& n : part.notes) playing.insert(n.start / (4u * piece.ticksPerQuarter));
        for (uint32_t bar = 0; bar < kPieceBars; bar++) {
            EXPECT_TRUE(!playing.contains(bar) || levels.bars[bar] > -50) << "bar " << bar + 1;
            EXPECT_TRUE(bar >= *playing.begin() || levels.bars[bar] < -90) << "bar " << bar + 1;
        }
        EXPECT_LT(levels.bars.back(), levels.bars[kPieceBars - 1] - 6) << "the end does not die away";
    }
}

TEST_F(DemoProject, SessionIsWholeAndMixesWithoutClipping) {
    ASSERT_TRUE(MakeDemoProject(m_folder, {}, false));
    const Session session = LoadSession(m_folder / kDemoSessionFile);
    std::map<std::string, std::string> routes;
    std::multiset<int> rates;
    for (const Channel& c : session.channels) {
        const Channel* output = FindChannel(session, c.output);
        routes[c.name] = output ? output->name : "";
        for (const Clip& clip : c.clips) {
            if (c.kind == ChannelKind::MidiTrack) {
                EXPECT_TRUE(fs::exists(m_folder / clip.file));
                continue;
            }
            const AudioFile file(m_folder / clip.file);
            EXPECT_LE(clip.offset + clip.length, static_cast<double>(file.Frames()) / file.SampleRate())
                << c.name;
            EXPECT_LE(clip.start + clip.length, session.length) << c.name;
            EXPECT_EQ(c.name == kDemoVoice ? 1 : 2, file.Channels());
            rates.insert(file.SampleRate());
        }
    }
    const std::map<std::string, std::string> expected{
        {"Drums", "Rhythm"},  {"Percussion", "Rhythm"}, {"Bass", "Rhythm"},  {"Keys", "Music"},
        {"Strings", "Music"}, {"Lead", "Music"},        {"Voice", "Master"}, {"Rhythm", "Master"},
        {"Music", "Master"},  {"Room", "Master"},       {"Piano", "Music"},  {"Piano Notes", "Piano"},
        {"Master", ""},       {"Preview", ""}};
    EXPECT_EQ(expected, routes);
    EXPECT_GE(rates.count(44100), 1u);
    EXPECT_GT(rates.count(48000), rates.size() / 2);
    EXPECT_TRUE(session.loop.end > session.loop.start && session.loop.end <= session.length);

    const RenderResult mix = RenderToFile(session, m_folder, m_root / "mix.wav");
    EXPECT_EQ(0, mix.clippedFrames);
    EXPECT_GT(mix.peak, 0.25f);
    EXPECT_LT(mix.peak, 0.9f);
    EXPECT_EQ(mix.problems.size(), 4u) << "without effects the sound passes, and they are named";
}

TEST_F(DemoProject, IsMadeOnceAndKeepsItsUsersChanges) {
    ASSERT_TRUE(MakeDemoProject(m_folder, {}, false));
    Session session = LoadSession(m_folder / kDemoSessionFile);
    session.channels[0].fader_db = -20;
    SaveSession(session, m_folder / kDemoSessionFile);
    DemoSources none = WithSynthesiser("exit 1");
    EXPECT_FALSE(MakeDemoProject(m_folder, none, false)) << "a current project needs no synthesiser";
    EXPECT_EQ(session, LoadSession(m_folder / kDemoSessionFile));

    fs::resize_file(m_folder / DemoAudioFile("Bass"), 1000);
    EXPECT_TRUE(MakeDemoProject(m_folder, {}, false)) << "a stem is not whole";
    EXPECT_GT(fs::file_size(m_folder / DemoAudioFile("Bass")), 1000u);
    EXPECT_THROW(MakeDemoProject(m_folder, none, true), std::runtime_error) << "forced, it is made anew";
}

TEST_F(DemoProject, FailuresNameTheirCauseAndLeaveNothingHalf) {
    DemoSources missing;
    missing.synthesiser.soundFont = "/nonexistent/font.sf2";
    EXPECT_NE(std::string::npos, Failure(missing).find("/nonexistent/font.sf2"));
    missing = {};
    missing.synthesiser.program = "no-such-synthesiser";
    EXPECT_NE(std::string::npos, Failure(missing).find("no-such-synthesiser"));
    ExpectUnfinished();

    struct Row {
        const char *lines, *cause;
    };
    const std::string real = "exec fluidsynth \"$@\"\n";
    for (const Row& r :
         {Row{"echo the strings broke >&2; exit 3\n", "status 3: the strings broke"},
          Row{"kill -TERM $$\n", "signal 15"}, Row{"exit 0\n", "Percussion.raw.wav"},  // no file
          Row{"exec fluidsynth -g 0 \"$@\" -g 0\n", "nothing"},                        // silence
          Row{"for a; do case $a in *.raw.wav) head -c 999 /dev/urandom > $a;; esac; done\n",
              "Percussion.raw.wav"}}) {
        const std::string lines = std::string("[ $runs -ge 2 ] || ") + real + r.lines;
        const std::string text = Failure(WithSynthesiser(lines));
        EXPECT_NE(std::string::npos, text.find(r.cause)) << text;
        EXPECT_EQ(std::string::npos, text.find('\n'));
        ExpectUnfinished();
        EXPECT_EQ(0, WorkFolders());
    }
}

TEST_F(DemoProject, KilledRunIsMadeGoodByTheNext) {
    const DemoSources deadly = WithSynthesiser("[ $runs -lt 3 ] && exec fluidsynth \"$@\"\nkill -9 $PPID\n");
    const pid_t pid = ::fork();
    if (pid == 0) {
        MakeDemoProject(m_folder, deadly, false);
        ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(pid, ::waitpid(pid, &status, 0));
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    ExpectUnfinished();
    EXPECT_EQ(1, WorkFolders());
    EXPECT_TRUE(MakeDemoProject(m_folder, {}, false));
    EXPECT_FALSE(MakeDemoProject(m_folder, {}, false));
    EXPECT_EQ(0, WorkFolders());
}
}  // namespace
