// The program itself: exit codes, messages, and that no original is harmed.
#include "mediafile/wave_file.h"
#include "tests/mediafile/media_support.h"
#include "tests/support/program.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>

#include <sys/stat.h>
#include <sys/wait.h>

namespace {

class TarnMedia : public MediaTest {
protected:
    Outcome Run(const std::string& arguments) { return RunShell(std::string(TARN_MEDIA) + " " + arguments); }
    void MakeWave(const std::string& name, size_t frames = 1000) {
        Bytes samples(frames * 4);
        for (size_t i = 0; i < samples.size(); i++) samples[i] = static_cast<uint8_t>(i * 31);
        Make(name, WaveForm(Builder().Chunk("fmt ", PcmFormat(2, 48000, 16)).Chunk("data", samples).bytes));
    }
};

TEST_F(TarnMedia, TellsWhatIsThere) {
    MakeWave("a.wav");
    const Outcome info = Run("info " + Path("a.wav"));
    EXPECT_EQ(info.code, 0);
    EXPECT_NE(info.text.find("1000 frames, 0:00:00.020"), std::string::npos) << info.text;
    const Outcome json = Run("info --json " + Path("a.wav"));
    EXPECT_NE(json.text.find("\"frames\": 1000"), std::string::npos) << json.text;
    EXPECT_EQ(Run("verify " + Path("a.wav")).code, 0);
    Make("bad.wav", {'R', 'I', 'F', 'F'});
    const Outcome bad = Run("info " + Path("bad.wav"));
    EXPECT_EQ(bad.code, 2);
    EXPECT_EQ(bad.text, "tarn-media: " + Path("bad.wav") + ": at 0: the file ends within its header\n");
    EXPECT_EQ(Run("info " + Path("none.wav")).code, 2);
    EXPECT_EQ(Run("convert " + Path("a.wav")).code, 3);
}

TEST_F(TarnMedia, ConvertsThereAndBack) {
    MakeWave("a.wav", 300001);  // several pieces, and an odd number
    const Bytes original = Content("a.wav");
    ASSERT_EQ(Run("convert " + Path("a.wav") + " " + Path("b.aiff") + " --type pcm24").code, 0);
    ASSERT_EQ(Run("convert " + Path("b.aiff") + " " + Path("c.w64") + " --type float64").code, 0);
    ASSERT_EQ(Run("convert " + Path("c.w64") + " " + Path("d.aifc") + " --type pcm32").code, 0);
    ASSERT_EQ(Run("convert " + Path("d.aifc") + " " + Path("e.wav") + " --type pcm16").code, 0);
    EXPECT_EQ(Content("e.wav"), original);
    EXPECT_EQ(Content("a.wav"), original);
    for (const char* name : {"b.aiff", "c.w64", "d.aifc"})
        EXPECT_EQ(Run("verify " + Path(name)).code, 0) << name;
}

TEST_F(TarnMedia, GainAndChannels) {
    MakeWave("a.wav");
    const Bytes a = Content("a.wav");
    const auto sample = [](const Bytes& bytes, size_t at) {
        return static_cast<int16_t>(bytes[at] | bytes[at + 1] << 8);
    };
    ASSERT_EQ(Run("convert " + Path("a.wav") + " " + Path("r.wav") + " --channel 2").code, 0);
    const Bytes right = Content("r.wav");
    ASSERT_EQ(Run("convert " + Path("a.wav") + " " + Path("m.wav") + " --channels 1 --gain -6.0205999").code,
              0);
    const Bytes mono = Content("m.wav");
    for (size_t i = 0; i < 1000; i++) {
        ASSERT_EQ(sample(right, 44 + 2 * i), sample(a, 44 + 4 * i + 2));
        ASSERT_NEAR(sample(mono, 44 + 2 * i), (sample(a, 44 + 4 * i) + sample(a, 44 + 4 * i + 2)) / 4.0,
                    0.51);
    }
    ASSERT_EQ(Run("convert " + Path("r.wav") + " " + Path("q.wav") + " --channels 4").code, 0);
    EXPECT_EQ(sample(Content("q.wav"), Content("q.wav").size() - 2), sample(right, right.size() - 2));
    EXPECT_EQ(Run("convert " + Path("a.wav") + " " + Path("x.wav") + " --channels 4").code, 2);
    EXPECT_FALSE(std::filesystem::exists(Path("x.wav")));
}

TEST_F(TarnMedia, ReplacesOnlyWhenTold) {
    MakeWave("a.wav");
    MakeWave("b.wav", 7);
    const Bytes before = Content("b.wav");
    EXPECT_EQ(Run("convert " + Path("a.wav") + " " + Path("b.wav")).code, 2);
    EXPECT_EQ(Content("b.wav"), before);
    EXPECT_EQ(Run("convert --force " + Path("a.wav") + " " + Path("b.wav")).code, 0);
    EXPECT_EQ(Content("b.wav"), Content("a.wav"));
    // Onto itself: the original is read to the end before it is replaced.
    EXPECT_EQ(Run("convert --force --type pcm24 " + Path("a.wav") + " " + Path("a.wav")).code, 0);
    EXPECT_EQ(Run("verify " + Path("a.wav")).code, 0);
    EXPECT_EQ(Content("a.wav").size(), 44u + 6000);
    // A disk that is full leaves nothing behind.
    const Outcome full = Run("convert " + Path("a.wav") + " /dev/full/x.wav");
    EXPECT_EQ(full.code, 2);
}

TEST_F(TarnMedia, RepairsACopy) {
    MakeWave("a.wav");
    Bytes cut = Content("a.wav");
    cut.resize(44 + 1001);
    Make("cut.wav", cut);
    EXPECT_EQ(Run("verify " + Path("cut.wav")).code, 1);
    const Outcome repair = Run("repair " + Path("cut.wav"));
    EXPECT_EQ(repair.code, 0) << repair.text;
    EXPECT_NE(repair.text.find("250 frames"), std::string::npos) << repair.text;
    EXPECT_EQ(Content("cut.wav"), cut) << "the original stays";
    EXPECT_EQ(Run("verify " + Path("cut.repaired.wav")).code, 0);
    EXPECT_EQ(Run("repair --in-place " + Path("cut.wav")).code, 0);
    EXPECT_EQ(Run("verify " + Path("cut.wav")).code, 0);
    EXPECT_EQ(Content("cut.wav"), Content("cut.repaired.wav"));
    EXPECT_NE(Run("repair " + Path("a.wav")).text.find("nothing to repair"), std::string::npos);
    Make("rubbish.wav", Bytes(10, 7));
    EXPECT_EQ(Run("repair " + Path("rubbish.wav")).code, 2);
    EXPECT_FALSE(std::filesystem::exists(Path("rubbish.repaired.wav")));
}

TEST_F(TarnMedia, RepairGuessesNothing) {
    MakeWave("a.wav");
    const Bytes good = Content("a.wav");
    Bytes noFormat = good, longer = good;
    std::fill_n(noFormat.begin() + 12, 24, 0xAA);
    longer.insert(longer.end(), 400, 3);
    Make("x.wav", noFormat);
    const Outcome refused = Run("repair --in-place --type pcm16 " + Path("x.wav"));
    EXPECT_EQ(refused.code, 2);
    EXPECT_NE(refused.text.find("--type, --rate and --channels together"), std::string::npos) << refused.text;
    EXPECT_EQ(Content("x.wav"), noFormat);
    EXPECT_EQ(Run("repair --in-place --type pcm16 --rate 48000 --channels 2 " + Path("x.wav")).code, 0);
    EXPECT_EQ(Content("x.wav"), good);
    Make("x.wav", longer);
    const Outcome unclear = Run("repair --in-place " + Path("x.wav"));
    EXPECT_EQ(unclear.code, 1);
    EXPECT_NE(unclear.text.find("--samples-end"), std::string::npos) << unclear.text;
    EXPECT_EQ(Content("x.wav"), longer);
    EXPECT_NE(Run("repair --in-place --samples-end end " + Path("x.wav")).text.find("1100 frames"),
              std::string::npos);
    EXPECT_EQ(Run("repair --samples-end here " + Path("x.wav")).code, 3);
}

/// The process itself is killed before each of its writes in turn.
TEST_F(TarnMedia, RepairInPlaceMayBeKilledAtEachWrite) {
    MakeWave("a.wav");
    const Bytes good = Content("a.wav");
    Bytes damaged = good;
    std::fill_n(damaged.begin(), 8, 0);
    std::fill_n(damaged.begin() + 40, 4, 0);
    for (int write = 0;; write++) {
        Make("x.wav", damaged);
        // The shell tells of a killed program with 128 and the signal.
        const std::string killed =
            "ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD=" KILL_AT_WRITE " KILL_AT_WRITE=" +
            std::to_string(write) + " " TARN_MEDIA " repair --in-place " + Path("x.wav");
        const int status = std::system(("(" + killed + ") >/dev/null 2>&1; exit $?").c_str());
        const Bytes partly = Content("x.wav");
        EXPECT_TRUE(std::equal(good.begin() + 44, good.end(), partly.begin() + 44)) << write;
        EXPECT_EQ(Run("repair --in-place " + Path("x.wav")).code, 0) << write;
        EXPECT_EQ(Content("x.wav"), good) << write;
        if (WEXITSTATUS(status) != 128 + SIGKILL) {
            EXPECT_EQ(WEXITSTATUS(status), 0);
            EXPECT_EQ(write, 2) << "the two edits";
            break;
        }
    }
}

TEST_F(TarnMedia, WritesOnlyOverFilesAndOnlyTheirContent) {
    MakeWave("a.wav");
    MakeWave("old.wav", 7);
    Bytes cut = Content("a.wav");
    cut.resize(2000);
    Make("cut.wav", cut);
    std::filesystem::create_symlink("old.wav", Path("link.wav"));
    std::filesystem::permissions(Path("old.wav"), std::filesystem::perms(0640));
    const std::string a = Path("a.wav");
    ASSERT_EQ(Run("convert -f " + a + " " + Path("link.wav")).code, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(Path("link.wav")));
    EXPECT_EQ(Content("old.wav"), Content("a.wav"));
    EXPECT_EQ(std::filesystem::status(Path("old.wav")).permissions(), std::filesystem::perms(0640));
    // What is no file stays what it is, be it named or linked to, and nothing waits for a pipe's other end.
    ASSERT_EQ(::mkfifo(Path("pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("/dev/full", Path("device.wav"));
    for (const char* target : {"pipe", "device.wav"})
        for (const char* how : {"convert -f --container wav ", "repair -f ", "header insert -f "}) {
            const Outcome refused = Run(how + Path("cut.wav") + " " + Path(target));
            EXPECT_EQ(refused.code, 2) << refused.text;
            EXPECT_FALSE(std::filesystem::is_regular_file(Path(target)));
        }
    EXPECT_EQ(Run("header insert --in-place " + Path("device.wav")).code, 2);
    EXPECT_EQ(Run("repair --in-place " + Path("pipe")).code, 2);
    const Outcome pipe = Run("info " + Path("pipe"));
    EXPECT_EQ(pipe.code, 2);
    EXPECT_NE(pipe.text.find("it is a pipe"), std::string::npos) << pipe.text;
    // A name is bytes, whatever they stand for.
    const std::string name = Path("t\xE4ke \xF0\x9F.wav"), quoted = "'" + name + "'";
    std::filesystem::copy_file(a, name);
    EXPECT_EQ(Run("verify " + quoted).code, 0);
    EXPECT_EQ(Run("convert --type pcm24 -f " + quoted + " " + quoted).code, 0);
    EXPECT_NE(Run("info --json " + quoted).text.find("1000"), std::string::npos);
    EXPECT_EQ(std::filesystem::file_size(name), 44u + 6000);
    // A rate of 0 would make a file that no one plays.
    Bytes rateless = Content("a.wav");
    std::fill_n(rateless.begin() + 24, 4, 0);
    Make("rateless.wav", rateless);
    EXPECT_EQ(Run("convert " + Path("rateless.wav") + " " + Path("b.wav")).code, 2);
    EXPECT_FALSE(std::filesystem::exists(Path("b.wav")));
}

TEST_F(TarnMedia, HeadersForRawSamples) {
    Make("raw", Bytes(600, 3));
    ASSERT_EQ(
        Run("header insert " + Path("raw") + " " + Path("a.wav") + " --type pcm24 --rate 96000 --channels 2")
            .code,
        0);
    ASSERT_EQ(Run("header insert " + Path("raw") + " " + Path("b.w64") + " --bytes 4096").code, 0);
    EXPECT_NE(Run("info " + Path("a.wav")).text.find("100 frames"), std::string::npos);
    EXPECT_NE(Run("info " + Path("b.w64")).text.find("600 bytes at 4096"), std::string::npos);
    for (const char* name : {"a.wav", "b.w64"}) EXPECT_EQ(Run(std::string("verify ") + Path(name)).code, 0);
    for (const char* name : {"r.wav", "r.w64"}) {
        ASSERT_EQ(Run(std::string("header reserve ") + Path(name) + " --bytes 4096").code, 0);
        Bytes recorded = Content(name);
        EXPECT_EQ(recorded.size(), 4096u);
        EXPECT_EQ(Run(std::string("verify ") + Path(name)).code, 0);
        recorded.insert(recorded.end(), 600, 3);  // a recorder that was killed
        Make(name, recorded);
        EXPECT_NE(Run(std::string("repair --in-place ") + Path(name)).text.find("150 frames"),
                  std::string::npos);
    }
    EXPECT_EQ(Run("header insert " + Path("raw") + " " + Path("c.wav") + " --bytes 50").code, 2);
    EXPECT_FALSE(std::filesystem::exists(Path("c.wav")));
}

TEST_F(TarnMedia, ConvertCarriesMetadataAndTellsWhatHasNoPlace) {
    MakeWave("a.wav");
    const std::string a = Path("a.wav"), b = Path("b.aiff"), c = Path("c.w64");
    ASSERT_EQ(Run("meta set " + a +
                  " info.INAM=Title info.IGNR=Jazz bext.Originator=x cue.1.position=5 cue.1.label=here")
                  .code,
              0);
    ASSERT_EQ(Run("convert " + a + " " + c).code, 0);
    const auto values = [&](const std::string& file) {
        const std::string text = Run("meta show " + file).text;
        return text.substr(text.find('\n'));
    };
    EXPECT_EQ(values(c), values(a));
    const Outcome toAiff = Run("convert " + a + " " + b);
    EXPECT_EQ(toAiff.code, 0);
    EXPECT_NE(toAiff.text.find("AIFF has no text for IGNR; kept in " + b + ".qml"), std::string::npos)
        << toAiff.text;
    EXPECT_NE(values(b).find("text.NAME = Title"), std::string::npos) << values(b);
    const Bytes side = Content("b.aiff.qml");
    EXPECT_NE(std::search(side.begin(), side.end(), std::begin("Jazz"), std::end("Jazz") - 1), side.end());
    EXPECT_NE(Run("convert --drop-lost " + a + " " + Path("d.aiff")).text.find("; dropped"),
              std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(Path("d.aiff.qml")));
    ASSERT_EQ(Run("convert --no-metadata " + c + " " + Path("e.wav")).code, 0);
    EXPECT_EQ(values(Path("e.wav")), "\n");
    // Out and in again by way of text, byte for byte.
    ASSERT_EQ(std::system((std::string(TARN_MEDIA) + " meta export " + a + " > " + Path("a.json")).c_str()),
              0);
    ASSERT_EQ(Run("meta import " + Path("e.wav") + " " + Path("a.json")).code, 0);
    EXPECT_EQ(Content("e.wav"), Content("a.wav"));
    ASSERT_EQ(Run("meta strip --kinds info,cue " + a).code, 0);
    EXPECT_EQ(values(a).find("cue."), std::string::npos);
    ASSERT_EQ(Run("meta copy --kinds info " + c + " " + a).code, 0);
    EXPECT_NE(values(a).find("info.INAM = Title"), std::string::npos);
    EXPECT_EQ(Run("meta check " + a).code, 0);
}

TEST_F(TarnMedia, ManyFilesAtOnce) {
    std::filesystem::create_directory(Path("in"));
    std::filesystem::create_directory(Path("out"));
    std::string names;
    for (int i = 0; i < 9; i++) {
        MakeWave("in/" + std::to_string(i) + ".wav");
        names += Path("in/" + std::to_string(i) + ".wav") + '\n';
    }
    Make("in/5x.wav", Bytes(20, 1));
    const Outcome all = Run("verify --json-lines --jobs 4 -r " + Path("in"));
    EXPECT_EQ(all.code, 2) << "one of them failed";
    EXPECT_EQ(std::ranges::count(all.text, '\n'), 10);
    EXPECT_LT(all.text.find("/5.wav"), all.text.find("/5x.wav"));
    EXPECT_LT(all.text.find("/5x.wav"), all.text.find("/6.wav"));
    std::filesystem::remove(Path("in/5x.wav"));
    Make("names", Bytes(names.begin(), names.end()));
    EXPECT_EQ(Run("meta set --names-from-stdin -j 3 info.INAM=All < " + Path("names")).code, 0);
    EXPECT_EQ(Run("convert -r -j 3 --container w64 --to-folder " + Path("out") + " " + Path("in")).code, 0);
    std::replace(names.begin(), names.end(), '\n', '\0');
    Make("zeros", Bytes(names.begin(), names.end()));
    const Outcome shown = Run("meta show -0 < " + Path("zeros"));
    EXPECT_EQ(shown.code, 0);
    for (int i = 0; i < 9; i++) {
        EXPECT_NE(Run("meta show " + Path("out/" + std::to_string(i) + ".w64")).text.find("info.INAM = All"),
                  std::string::npos);
        EXPECT_NE(shown.text.find("/" + std::to_string(i) + ".wav"), std::string::npos);
    }
}

TEST_F(TarnMedia, MetadataSurvivesWhatHappensToTheProgram) {
    MakeWave("a.wav");
    ASSERT_EQ(Run("meta set " + Path("a.wav") + " info.INAM=old bext.Description=old axml='<a/>'").code, 0);
    const Bytes good = Content("a.wav");
    const std::string set = " meta set " + Path("x.wav") + " info.INAM='a longer title' bext.Description=new";
    for (int write = 0;; write++) {
        Make("x.wav", good);
        const std::string killed = "ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD=" KILL_AT_WRITE
                                   " KILL_AT_WRITE=" +
                                   std::to_string(write) + " " TARN_MEDIA + set;
        const int status = std::system(("(" + killed + ") >/dev/null 2>&1; exit $?").c_str());
        const Bytes now = Content("x.wav");
        EXPECT_TRUE(std::equal(good.begin() + 12, good.begin() + 44 + 4000, now.begin() + 12)) << write;
        EXPECT_EQ(Run("verify " + Path("x.wav")).code, 0) << write;
        const std::string shown = Run("meta show " + Path("x.wav")).text;
        EXPECT_TRUE(shown.find("INAM = old") != shown.npos ||
                    shown.find("INAM = a longer title") != shown.npos)
            << write << shown;
        EXPECT_NE(shown.find("axml = <a/>"), shown.npos) << write;
        if (WEXITSTATUS(status) != 128 + SIGKILL) {
            EXPECT_EQ(WEXITSTATUS(status), 0);
            EXPECT_EQ(write, 3) << "the new chunk, the form's size, the old chunk's place with the other one";
            break;
        }
    }
    // A file that somebody else is writing is left alone, and so is one that may not be written.
    Make("x.wav", good);
    {
        const OwnedHandle recorder = Open("x.wav");
        const Outcome busy = Run(set.substr(1));
        EXPECT_EQ(busy.code, 2);
        EXPECT_NE(busy.text.find("another program writes to it"), std::string::npos) << busy.text;
    }
    std::filesystem::create_symlink("/dev/full", Path("full.wav"));
    EXPECT_EQ(Run("meta set --output " + Path("full.wav") + " -f " + Path("x.wav") + " info.INAM=y").code, 2);
    EXPECT_EQ(Content("x.wav"), good);
    EXPECT_EQ(Run("meta set -n " + Path("x.wav") + " info.INAM=y").code, 0);
    EXPECT_EQ(Content("x.wav"), good);
    const Outcome copy =
        Run("meta set --checksum -o " + Path("y.wav") + " " + Path("x.wav") + " info.INAM=y");
    EXPECT_EQ(copy.code, 0);
    EXPECT_NE(copy.text.find("before, "), std::string::npos) << copy.text;
    EXPECT_EQ(Content("x.wav"), good);
    EXPECT_NE(Run("meta show " + Path("y.wav")).text.find("INAM = y"), std::string::npos);
    EXPECT_EQ(Run("meta set " + Path("x.wav")).code, 3);
    EXPECT_EQ(Run("meta set " + Path("x.wav") + " bext.Version=9").code, 2);
    EXPECT_EQ(Content("x.wav"), good);
}

}  // namespace
