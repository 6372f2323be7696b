// The program itself: exit codes, messages, and that no original is harmed.
#include "mediafile/wave_file.h"
#include "tests/mediafile/media_support.h"
#include "tests/support/program.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <numbers>

#include <sys/stat.h>
#include <sys/wait.h>

using namespace tarn;

namespace {

class TarnMedia : public MediaTest {
protected:
    TarnMedia() {
        // What file plug-ins keep for the user is not the tests' to change.
        for (const char* folder : {"XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"})
            ::setenv(folder, Path(folder).c_str(), 1);
    }
    Outcome Run(const std::string& arguments) { return RunShell(TARN_MEDIA " " + arguments); }
    /// While something happens at its n-th step: it is killed, or the command is run.
    Outcome RunMeddled(int step, const std::string& arguments, const std::string& with = {}) {
        return RunShell("exec env MEDDLE_AT=" + std::to_string(step) +
                        (with.empty() ? "" : " MEDDLE_WITH='" + with + "'") +
                        " ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD=" MEDDLER " " TARN_MEDIA " " +
                        arguments);
    }
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
    EXPECT_EQ(bad.text, "tarn-media: " + Path("bad.wav") +
                            ": at 0: the file ends within its header; no plug-in reads it\n");
    EXPECT_EQ(Run("info " + Path("none.wav")).code, 2);
    EXPECT_EQ(Run("convert " + Path("a.wav")).code, 3);
}

TEST_F(TarnMedia, ConvertsThereAndBack) {
    MakeWave("a.wav", 300001);  // several pieces, and an odd number
    const Bytes original = Content("a.wav");
    ASSERT_EQ(Run("convert " + Path("a.wav") + " " + Path("b.aiff") + " --type pcm24").code, 0);
    ASSERT_EQ(Run("convert " + Path("b.aiff") + " " + Path("c.w64") + " --type float64").code, 0);
    ASSERT_EQ(Run("convert " + Path("c.w64") + " " + Path("d.aifc") + " --type pcm32").code, 0);
    ASSERT_EQ(Run("convert " + Path("d.aifc") + " " + Path("e.wav") + " --type pcm16 --dither none").code, 0);
    EXPECT_EQ(Content("e.wav"), original);
    EXPECT_EQ(Content("a.wav"), original);
    for (const char* name : {"b.aiff", "c.w64", "d.aifc"})
        EXPECT_EQ(Run("verify " + Path(name)).code, 0) << name;
}

TEST_F(TarnMedia, OtherKindsGoThroughPlugins) {
    MakeWave("a.wav", 50001);
    const Bytes original = Content("a.wav");
    ASSERT_EQ(Run("meta set " + Path("a.wav") + " info.INAM=Dawn cue.1.position=7").code, 0);
    const Outcome made = Run("convert " + Path("a.wav") + " " + Path("b.flac"));
    EXPECT_EQ(made.code, 0);
    EXPECT_NE(made.text.find("'cue ': such files have no place for all of it; kept in"), std::string::npos)
        << made.text;
    EXPECT_TRUE(std::filesystem::exists(Path("b.flac.qml")));
    // Through standard output and input, where a plug-in has no name to go by.
    ASSERT_EQ(Run("convert " + Path("b.flac") + " - --container caf | " + TARN_MEDIA + " convert - " +
                  Path("c.wav") + " --no-metadata")
                  .code,
              0);
    EXPECT_EQ(Content("c.wav"), original);
    EXPECT_NE(Run("info " + Path("b.flac")).text.find("50001 frames, 0:00:01.041"), std::string::npos);
    ASSERT_EQ(Run("convert " + Path("b.flac") + " " + Path("d.wav")).code, 0);
    EXPECT_NE(Run("meta show " + Path("d.wav")).text.find("Dawn"), std::string::npos);

    const std::string a = "convert " + Path("a.wav") + " ";
    ASSERT_EQ(Run(a + Path("t.wav") + " --no-metadata --template '44,100 Hz, 24 Bit, Stereo'").code, 0);
    EXPECT_NE(Run("info " + Path("t.wav")).text.find("44,100 Hz, 24 Bit, Stereo"), std::string::npos);
    struct Row {
        std::string command, words;
        int code;
    };
    for (const Row& row :
         {Row{a + Path("x.flac") + " --template 'MP3, 192 kbps'", "the template is for mp3 files", 3},
          {a + Path("x.flac") + " --template none", "there is no template 'none' for 'flac' files", 3},
          {a + Path("x.wav") + " --template '44,100 Hz, 24 Bit, Stereo' --rate 8000", "another --rate", 3},
          {a + Path("x.wav") + " --template '44,100 Hz, 24 Bit, Stereo' --type pcm16", "another --type", 3},
          {a + Path("x.wav") + " --template '48,000 Hz, 24 Bit, 5.1'", "2 channels become 6", 2},
          {a + Path("x.zip"), "nothing writes 'zip' files", 3},
          {"convert " + Path("b.flac.qml") + " " + Path("x.wav"), "at ", 2}}) {
        const Outcome refused = Run(row.command);
        EXPECT_EQ(refused.code, row.code) << row.command;
        EXPECT_NE(refused.text.find(row.words), std::string::npos) << refused.text;
        EXPECT_FALSE(std::filesystem::exists(Path("x.wav")) || std::filesystem::exists(Path("x.flac")));
    }
    const Outcome list = Run("plugins --templates");
    EXPECT_NE(list.text.find("\"FLAC, level 5\"  flac"), std::string::npos) << list.text;
    EXPECT_NE(list.text.find("known from before"), std::string::npos);
}

TEST_F(TarnMedia, GainAndChannels) {
    MakeWave("a.wav");
    const Bytes a = Content("a.wav");
    const auto sample = [](const Bytes& bytes, size_t at) {
        return static_cast<int16_t>(bytes[at] | bytes[at + 1] << 8);
    };
    ASSERT_EQ(Run("convert " + Path("a.wav") + " " + Path("r.wav") + " --channel 2").code, 0);
    const Bytes right = Content("r.wav");
    ASSERT_EQ(Run("convert " + Path("a.wav") + " " + Path("m.wav") +
                  " --channels 1 --gain -6.0205999 --dither none")
                  .code,
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

/// Values that are known, as they come out of a conversion.
class TarnMediaSound : public TarnMedia {
protected:
    void MakeDoubles(const std::string& name, uint32_t channels, const std::vector<double>& samples) {
        Make("raw", Builder().Raw(samples.data(), samples.size() * sizeof(double)).bytes);
        ASSERT_EQ(Run("header insert -f " + Path("raw") + " " + Path(name) +
                      " --type float64 --rate 48000 --channels " + std::to_string(channels))
                      .code,
                  0);
    }
    template <class Sample>
    std::vector<Sample> Converted(const std::string& from, const std::string& options, const char* type) {
        const Outcome done = Run("convert -f -q --type " + std::string(type) + " " + options + " " +
                                 Path(from) + " " + Path("out.wav"));
        EXPECT_EQ(done.code, 0) << options << done.text;
        const MediaContents c = Inspected("out.wav");
        const Bytes bytes = Content("out.wav");
        std::vector<Sample> samples(c.dataBytes / sizeof(Sample));
        std::memcpy(samples.data(), &bytes[c.dataOffset], c.dataBytes);
        return samples;
    }
    static std::vector<double> Sine(double hertz, uint32_t channels, size_t frames) {
        std::vector<double> samples;
        for (size_t i = 0; i < frames; i++)
            samples.insert(samples.end(), channels,
                           0.5 * std::sin(2 * std::numbers::pi * hertz * static_cast<double>(i) / 48000));
        return samples;
    }
    static double Peak(const std::vector<double>& samples) {
        double peak = 0;
        for (const double s : samples) peak = std::max(peak, std::fabs(s));
        return peak;
    }
};

TEST_F(TarnMediaSound, ChannelsAreMadeAsTold) {
    constexpr double HALF_POWER = std::numbers::sqrt2 / 2;
    MakeDoubles("six.wav", 6, {0.1, 0.2, 0.3, 0.9, 0.04, 0.05});
    MakeDoubles("two.wav", 2, {0.25, -0.5, 1e300, 0.125});
    const struct {
        const char *file, *options;
        std::vector<double> expected;
    } rows[] = {
        {"six.wav", "--channels 2", {0.1 + HALF_POWER * 0.34, 0.2 + HALF_POWER * 0.35}},
        {"six.wav", "--channels 1", {HALF_POWER * 0.3 + 0.3 + 0.045}},
        {"six.wav", "--map 4,1,0", {0.9, 0.1, 0}},
        {"two.wav", "--map 2,1", {-0.5, 0.25, 0.125, 1e300}},
        {"two.wav", "--channel 2", {-0.5, 0.125}},
        {"two.wav", "--matrix '0,2;0.5,0;0,0' --length 1s", {-1, 0.125, 0}},
        {"two.wav", "--start 1s --channel 2", {0.125}},
    };
    for (const auto& row : rows) {
        const std::vector<double> got = Converted<double>(row.file, row.options, "float64");
        ASSERT_EQ(got.size(), row.expected.size()) << row.options;
        for (size_t i = 0; i < got.size(); i++) EXPECT_NEAR(got[i], row.expected[i], 1e-12) << row.options;
    }
    for (const char* refused : {"--channels 3", "--map 7", "--matrix '1,0'", "--start 2s"})
        EXPECT_EQ(Run("convert " + Path("six.wav") + " " + Path("x.wav") + " " + refused).code, 2) << refused;
    for (const char* wrong : {"--matrix '1,0;1'", "--map 1 --channels 2", "--start noon", "--normalize loud",
                              "--start 1s --end 2s --length 1s"})
        EXPECT_EQ(Run("convert " + Path("two.wav") + " " + Path("x.wav") + " " + wrong).code, 3) << wrong;
    EXPECT_FALSE(std::filesystem::exists(Path("x.wav")));
}

TEST_F(TarnMediaSound, RateAndLevelChange) {
    MakeDoubles("sine.wav", 2, Sine(997, 2, 96000));
    const std::vector<double> faster = Converted<double>("sine.wav", "--rate 96000", "float64");
    ASSERT_EQ(faster.size(), 2 * 192000u);
    for (size_t i = 10000; i < 20000; i++)
        ASSERT_NEAR(faster[2 * i],
                    0.5 * std::sin(2 * std::numbers::pi * 997 * static_cast<double>(i) / 96000), 1e-7);
    EXPECT_EQ(Converted<double>("sine.wav", "--rate 44100", "float64").size(), 2 * 88200u);
    EXPECT_NEAR(Peak(Converted<double>("sine.wav", "--normalize peak=-20", "float64")), 0.1, 1e-9);
    // A sine of 1 kHz on both channels is as loud as its peak is high.
    EXPECT_NEAR(20 * std::log10(Peak(Converted<double>("sine.wav", "--normalize loudness=-30", "float64"))),
                -30, 0.1);
    const std::vector<int16_t> full = Converted<int16_t>("sine.wav", "--normalize peak", "pcm16");
    EXPECT_NEAR(*std::ranges::max_element(full), 32766, 1);
    EXPECT_NEAR(*std::ranges::min_element(full), -32766, 1);
    EXPECT_NE(Run("convert -f --type pcm16 --gain 12 " + Path("sine.wav") + " " + Path("x.wav"))
                  .text.find("beyond full scale"),
              std::string::npos);
}

TEST_F(TarnMediaSound, DitherKeepsWhatIsBelowAStep) {
    constexpr double STEP = 1.0 / 32768;
    MakeDoubles("quiet.wav", 1, std::vector<double>(100000, 0.25 * STEP));
    const std::vector<int16_t> dithered = Converted<int16_t>("quiet.wav", "", "pcm16");
    double sum = 0, squares = 0;
    for (const int16_t s : dithered) sum += s, squares += (s - 0.25) * (s - 0.25);
    EXPECT_NEAR(sum / 100000, 0.25, 0.01);
    EXPECT_NEAR(squares / 100000, 0.25, 0.01) << "of the noise and of rounding, whatever the value is";
    EXPECT_EQ(Converted<int16_t>("quiet.wav", "", "pcm16"), dithered) << "the same each time";
    EXPECT_EQ(Converted<int16_t>("quiet.wav", "--dither none", "pcm16"), std::vector<int16_t>(100000));
}

TEST_F(TarnMedia, APartTakesItsMetadataAlong) {
    MakeWave("a.wav");
    ASSERT_EQ(
        Run("meta set " + Path("a.wav") +
            " cue.1.position=10 cue.1.label=before cue.2.position=120 cue.2.length=500 cue.2.label=within"
            " bext.TimeReference=48000 bext.LoudnessValue=-20 smpl.loop.1.start=110 smpl.loop.1.end=140"
            " ixml.SPEED.FILE_SAMPLE_RATE=48000 ixml.SPEED.TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI=0"
            " ixml.SPEED.TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO=48000")
            .code,
        0);
    ASSERT_EQ(Run("convert " + Path("a.wav") + " " + Path("b.wav") + " --start 100s --length 50s").code, 0);
    const Bytes a = Content("a.wav"), b = Content("b.wav");
    EXPECT_TRUE(std::equal(b.begin() + 44, b.begin() + 244, a.begin() + 444));
    const std::string shown = Run("meta show " + Path("b.wav")).text;
    for (const char* line : {"cue.1.position = 20\n", "cue.1.length = 30\n", "cue.1.label = within\n",
                             "bext.TimeReference = 48100\n", "smpl.loop.1.start = 10\n",
                             "smpl.loop.1.end = 40\n", "MIDNIGHT_LO = 48100\n"})
        EXPECT_NE(shown.find(line), std::string::npos) << line << shown;
    for (const char* gone : {"cue.2", "before", "Loudness"})
        EXPECT_EQ(shown.find(gone), std::string::npos) << gone;
    ASSERT_EQ(Run("convert -f " + Path("b.wav") + " " + Path("c.wav") + " --rate 96000").code, 0);
    const std::string faster = Run("meta show " + Path("c.wav")).text;
    for (const char* line :
         {"cue.1.position = 40\n", "TimeReference = 96200\n", "FILE_SAMPLE_RATE = 96000\n"})
        EXPECT_NE(faster.find(line), std::string::npos) << line << faster;
    // Through pipes the same comes out.
    ASSERT_EQ(RunShell("cat " + Path("a.wav") +
                       " | " TARN_MEDIA " convert - - --container wav --start 100s --length 50s | cmp - " +
                       Path("b.wav"))
                  .text,
              "");
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
        const int code = RunMeddled(write, "repair --in-place " + Path("x.wav")).code;
        const Bytes partly = Content("x.wav");
        EXPECT_TRUE(std::equal(good.begin() + 44, good.end(), partly.begin() + 44)) << write;
        EXPECT_EQ(Run("repair --in-place " + Path("x.wav")).code, 0) << write;
        EXPECT_EQ(Content("x.wav"), good) << write;
        if (code != -1) {
            EXPECT_EQ(code, 0);
            EXPECT_EQ(write, 3) << "the opening and the two edits";
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
    // What plug-ins read is gone through, too.
    ASSERT_EQ(Run("convert " + Path("in/8.wav") + " " + Path("in/9.flac")).code, 0);
    Make("in/cut.flac", {'f', 'L', 'a', 'C'});
    const Outcome told = Run("info --json-lines -r " + Path("in"));
    EXPECT_EQ(told.code, 2);
    EXPECT_EQ(std::ranges::count(told.text, '\n'), 11) << told.text;
    EXPECT_NE(told.text.find("no plug-in reads it"), std::string::npos);
}

/// Whatever of a new file was written, the old ones are there to the byte, or what takes their place is.
TEST_F(TarnMedia, NewFilesMayBeKilledAtEachStep) {
    MakeWave("a.wav");
    ASSERT_EQ(Run("meta set " + Path("a.wav") + " info.INAM=new info.IGNR=Jazz cue.1.position=5").code, 0);
    ASSERT_EQ(Run("convert " + Path("a.wav") + " " + Path("old.aiff") + " --length 5s").code, 0);
    ASSERT_EQ(Run("meta set " + Path("old.aiff") + " text.NAME=old").code, 0);
    MakeWave("old.wav", 7);
    struct Row {
        std::string command, target;
        bool beside;
    };
    for (const auto& [command, target, beside] :
         {Row{"convert -f " + Path("a.wav") + " ", "x.aiff", true},
          Row{"convert -f " + Path("x.wav") + " --gain -6 ", "x.wav", false},
          Row{"meta set -f " + Path("a.wav") + " info.INAM=y -o ", "x.wav", false},
          Row{"convert " + Path("a.wav") + " ", "x.w64", false}}) {
        const std::string old = "old" + target.substr(1), side = target + ".qml";
        const Bytes source = Content("a.wav"), before = Content(old), sideBefore = Content("old.aiff.qml");
        const auto reset = [&] {
            for (const auto& entry : std::filesystem::directory_iterator(Path("")))
                if (entry.path().filename().string()[0] == '.') std::filesystem::remove(entry);
            for (const std::string& name : {target, side}) std::filesystem::remove(Path(name));
            if (!before.empty()) Make(target, before);
        };
        reset();
        ASSERT_EQ(Run(command + Path(target)).code, 0);
        const Bytes after = Content(target), sideAfter = Content(side);
        EXPECT_EQ(sideAfter.empty(), !beside);
        int step = 0;
        for (;; step++) {
            reset();
            const int code = RunMeddled(step, command + Path(target)).code;
            ASSERT_TRUE(code == -1 || code == 0) << code;
            EXPECT_EQ(Content("a.wav"), source);
            const Bytes now = Content(target), sideNow = Content(side);
            EXPECT_EQ(now, code == 0 ? after : before) << step;
            EXPECT_TRUE(sideNow.empty() || sideNow == sideAfter) << step;
            if (code == 0) break;
            EXPECT_EQ(Run(command + Path(target)).code, 0) << step << ", another run";
            EXPECT_EQ(Content(target), after);
            EXPECT_EQ(Content(side), sideAfter);
        }
        EXPECT_GT(step, 4) << command;
    }
}

/// What is read is not what it was when it is written: nothing of either is lost.
TEST_F(TarnMedia, AFileThatChangesMeanwhileIsRefused) {
    MakeWave("a.wav");
    ASSERT_EQ(Run("meta set " + Path("a.wav") + " info.INAM=old").code, 0);
    MakeWave("b.wav", 500);
    const std::string a = Path("a.wav"), x = Path("x.wav"), y = Path("y.wav");
    const std::string grow = "echo more >> " + x, change = "printf z | dd of=" + x + " conv=notrunc 2>&1",
                      replace = "cp " + Path("b.wav") + " " + y + "; mv " + y + " " + x;
    for (const std::string& meddling : {grow, change, replace})
        for (const std::string& command :
             {"meta set " + x + " info.INAM=new", "convert -f " + x + " " + x, "convert -f " + a + " " + x}) {
            std::filesystem::copy_file(a, x, std::filesystem::copy_options::overwrite_existing);
            std::filesystem::last_write_time(x, {});
            ASSERT_EQ(std::system(meddling.c_str()), 0);
            const Bytes theirs = Content("x.wav");
            std::filesystem::copy_file(a, x, std::filesystem::copy_options::overwrite_existing);
            std::filesystem::last_write_time(x, {});
            const Outcome refused = RunMeddled(0, command, meddling);
            EXPECT_EQ(refused.code, 2) << command << meddling << refused.text;
            EXPECT_NE(refused.text.find("another program has written it meanwhile"), std::string::npos)
                << command << refused.text;
            EXPECT_EQ(Content("x.wav"), theirs) << command << meddling;
        }
    std::filesystem::remove(x);
    EXPECT_EQ(RunMeddled(0, "convert " + a + " " + x, "cp " + Path("b.wav") + " " + x).code, 2);
    EXPECT_EQ(Content("x.wav"), Content("b.wav")) << "that was not there when it began";
}

TEST_F(TarnMedia, MetadataSurvivesWhatHappensToTheProgram) {
    MakeWave("a.wav");
    ASSERT_EQ(Run("meta set " + Path("a.wav") + " info.INAM=old bext.Description=old axml='<a/>'").code, 0);
    const Bytes good = Content("a.wav");
    const std::string set = "meta set " + Path("x.wav") + " info.INAM='a longer title' bext.Description=new";
    for (int write = 0;; write++) {
        Make("x.wav", good);
        const int code = RunMeddled(write, set).code;
        const Bytes now = Content("x.wav");
        EXPECT_TRUE(std::equal(good.begin() + 12, good.begin() + 44 + 4000, now.begin() + 12)) << write;
        EXPECT_EQ(Run("verify " + Path("x.wav")).code, 0) << write;
        const std::string shown = Run("meta show " + Path("x.wav")).text;
        EXPECT_TRUE(shown.find("INAM = old") != shown.npos ||
                    shown.find("INAM = a longer title") != shown.npos)
            << write << shown;
        EXPECT_NE(shown.find("axml = <a/>"), shown.npos) << write;
        if (code != -1) {
            EXPECT_EQ(code, 0);
            EXPECT_EQ(write, 4)
                << "opening, the new chunk, the form's size, the old chunk's place with the other one";
            break;
        }
    }
    // A file that somebody else is writing is left alone, and so is one that may not be written.
    Make("x.wav", good);
    {
        const OwnedHandle recorder = Open("x.wav");
        const Outcome busy = Run(set);
        EXPECT_EQ(busy.code, 2);
        EXPECT_NE(busy.text.find("another program writes to it"), std::string::npos) << busy.text;
    }
    // A disk that is full takes a part of what is new, which goes again.
    const std::string limit = "trap '' XFSZ; ulimit -f " + std::to_string(good.size() / 512 + 1) + "; ";
    const Outcome full =
        RunShell(limit + TARN_MEDIA " meta set " + Path("x.wav") + " axml=" + std::string(3000, 'x'));
    EXPECT_EQ(full.code, 2) << full.text;
    EXPECT_NE(full.text.find("too large"), std::string::npos) << full.text;
    EXPECT_EQ(Content("x.wav"), good);
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
