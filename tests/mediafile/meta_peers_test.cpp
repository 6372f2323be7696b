// What other programs write beside the samples is read alike here, and what is written here is read alike
// there.
#include "mediafile/meta/meta_values.h"
#include "mediafile/sample_file.h"
#include "tests/mediafile/media_support.h"
#include "tests/support/program.h"

#include <map>

using namespace tarn;

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

class MetaPeers : public MediaTest {
protected:
    void MakeMedia(const std::string& name) {
        const OwnedHandle file = Make(name, {});
        const MediaContainer container = name.ends_with("aiff") ? MediaContainer::Aiff : MediaContainer::Wave;
        _qmwaveformat format;
        format.Init(48000, StoredType(container, QMSAMPLE_PCM16), 1, 0, sizeof format);
        SampleFile out(file.get(), container, format);
        EXPECT_EQ(out.Begin(), S_OK);
        EXPECT_EQ(out.Write(Bytes(2000).data(), 2000), S_OK);
        EXPECT_EQ(out.End(), S_OK);
    }
    /// In the test's folder; false where there is no such program.
    bool Runs(const std::string& command, std::string* text = nullptr) {
        if (RunShell("command -v " + command.substr(0, command.find(' '))).code != 0) return false;
        const Outcome done = RunShell("cd " + Path("") + " && " + command);
        EXPECT_EQ(done.code, 0) << command << '\n' << done.text;
        if (text) *text = done.text;
        return true;
    }
};

TEST_F(MetaPeers, TheirsAreReadHere) {
    const struct {
        const char *command, *made;
        Pairs expected;
    } rows[] = {
        {"sndfile-metadata-set --bext-description Scene --bext-originator Org --bext-orig-ref Ref "
         "--bext-time-ref 123456"
         " --str-title 'Titel' --str-artist Who x.wav s.wav",
         "s.wav",
         {{"bext.Description", "Scene"},
          {"bext.Originator", "Org"},
          {"bext.OriginatorReference", "Ref"},
          {"bext.TimeReference", "123456"},
          {"info.INAM", "Titel"},
          {"info.IART", "Who"}}},
        {"ffmpeg -v error -i x.wav -write_bext 1 -metadata title=Tïtle -metadata description=Desc -metadata "
         "originator=Org"
         " -metadata time_reference=777 -metadata comment=Comm y.wav",
         "y.wav",
         {{"info.INAM", "Tïtle"},
          {"info.ICMT", "Comm"},
          {"bext.Description", "Desc"},
          {"bext.Originator", "Org"},
          {"bext.TimeReference", "777"}}},
        {"ffmpeg -v error -i x.wav -write_id3v2 1 -metadata title=Tïtle -metadata artist=Who -metadata "
         "comment=Comm y.aiff",
         "y.aiff",
         {{"text.NAME", "Tïtle"}, {"text.ANNO", "Comm"}, {"id3.TIT2", "Tïtle"}, {"id3.TPE1", "Who"}}},
        {"sox x.wav --comment even z.aiff", "z.aiff", {{"comment.1", "even"}}},
    };
    size_t compared = 0;
    for (const auto& row : rows) {
        MakeMedia("x.wav");
        if (!Runs(row.command)) continue;
        compared++;
        std::map<std::string, std::string> values;
        const MetaDocument document = ReadMetaDocument(Open(row.made).get());
        for (const MetaValue& value : ListMetaValues(document)) values[value.key] = value.text;
        for (const auto& [key, text] : row.expected)
            EXPECT_EQ(values[key], text) << key << " of " << row.command;
    }
    if (compared == 0) GTEST_SKIP() << "there is no other program that writes metadata";
}

TEST_F(MetaPeers, OursAreReadThere) {
    const Pairs wave = {{"info.INAM", "Dusk"},        {"info.IART", "Who"},
                        {"bext.Description", "Here"}, {"bext.TimeReference", "96000"},
                        {"cue.1.position", "100"},    {"cue.1.label", "mark"}},
                aiff = {{"text.NAME", "Dusk"},   {"text.ANNO", "Note"}, {"cue.1.position", "10"},
                        {"cue.1.label", "mark"}, {"id3.TPE1", "Who"},   {"comment.1", "timed"}};
    const struct {
        const char *file, *command;
        const Pairs& set;
        std::vector<const char*> expected;
    } rows[] = {
        {"x.wav", "sndfile-metadata-get --all x.wav", wave, {": Here\n", ": Dusk\n", ": Who\n"}},
        {"x.wav", "sndfile-info x.wav", wave, {"Pos :   100", "labl : 1 : mark"}},
        {"x.wav",
         "ffprobe -v error -show_entries format_tags x.wav",
         wave,
         {"=Dusk", "=Who", "time_reference=96000"}},
        {"x.aiff", "ffprobe -v error -show_entries format_tags x.aiff", aiff, {"=Dusk", "=Note", "=Who"}},
        {"x.aiff", "sndfile-info x.aiff", aiff, {"NAME : Dusk", "Position : 10", "Name     : mark"}},
        {"x.aiff", "soxi x.aiff", aiff, {"timed"}},
    };
    size_t compared = 0;
    for (const auto& row : rows) {
        MakeMedia(row.file);
        const OwnedHandle file = Open(row.file);
        const FileSource source(file.get());
        MetaDocument document = ReadMetaDocument(file.get());
        for (const auto& [key, text] : row.set) ASSERT_EQ(SetMetaValue(document, key, text), "");
        ASSERT_EQ(ApplyMetaEdit(file.get(), PlanMetaEdit(source, InspectMedia(source), document)), S_OK);
        std::string text;
        if (!Runs(row.command, &text)) continue;
        compared++;
        for (const char* expected : row.expected)
            EXPECT_NE(text.find(expected), std::string::npos) << expected << " by " << row.command << '\n'
                                                              << text;
    }
    if (compared == 0) GTEST_SKIP() << "there is no other program that reads metadata";
}

}  // namespace
