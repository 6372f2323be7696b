// Edits in place: what is set is read again, everything else stays byte for byte, in every container.
#include "mediafile/meta/meta_carry.h"
#include "mediafile/meta/meta_retime.h"
#include "mediafile/meta/meta_values.h"
#include "mediafile/sample_file.h"
#include "tests/mediafile/media_support.h"

#include <array>
#include <map>

using namespace tarn;

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

constexpr MediaContainer CONTAINERS[] = {MediaContainer::Wave, MediaContainer::Wave64, MediaContainer::Aiff,
                                         MediaContainer::Aifc, MediaContainer::Rf64,   MediaContainer::Bw64};

Bytes Noise(size_t count) {
    Bytes bytes(count);
    for (size_t i = 0; i < count; i++) bytes[i] = static_cast<uint8_t>(i * i * 31 + i);
    return bytes;
}

class MetaEdits : public MediaTest {
protected:
    /// A file of that container with an odd number of bytes of samples where it may have one.
    void MakeMedia(const std::string& name, MediaContainer container) {
        const OwnedHandle file = Make(name, {});
        _qmwaveformat format;
        format.Init(48000, StoredType(container, QMSAMPLE_PCM8), 1, 0, sizeof format);
        SampleFile out(file.get(), container, format);
        EXPECT_EQ(out.Begin(), S_OK);
        EXPECT_EQ(out.Write(Noise(1001).data(), 1001), S_OK);
        EXPECT_EQ(out.End(), S_OK);
    }
    Bytes Samples(const std::string& name) {
        const MediaContents c = Inspected(name);
        const Bytes bytes = Content(name);
        return {bytes.begin() + static_cast<ptrdiff_t>(c.dataOffset),
                bytes.begin() + static_cast<ptrdiff_t>(c.dataOffset + c.dataBytes)};
    }
    /// Through a plan; the refusal.
    std::string Write(const std::string& name, const MetaDocument& wanted) {
        const OwnedHandle file = Open(name);
        const FileSource source(file.get());
        const MetaEditPlan plan = PlanMetaEdit(source, InspectMedia(source), wanted);
        if (plan.IsRefused()) return plan.refusal;
        EXPECT_EQ(ApplyMetaEdit(file.get(), plan), S_OK);
        return {};
    }
    std::string Set(const std::string& name, const std::string& key, const std::string& text) {
        MetaDocument document = ReadMetaDocument(Open(name).get());
        const std::string refusal = SetMetaValue(document, key, text);
        return refusal.empty() ? Write(name, document) : refusal;
    }
    std::map<std::string, std::string> Values(const std::string& name) {
        std::map<std::string, std::string> values;
        for (const MetaValue& value : ListMetaValues(ReadMetaDocument(Open(name).get())))
            values[value.key] = value.text;
        return values;
    }
    void AddBlock(const std::string& name, const std::string& id, const Bytes& payload) {
        MetaDocument document = ReadMetaDocument(Open(name).get());
        document.blocks.push_back({id, payload, MetaBlock::NEW, true});
        EXPECT_EQ(Write(name, document), "");
    }
};

TEST_F(MetaEdits, SetValuesAreReadAgainAndAllElseStays) {
    const Pairs common = {{"bext.Description", "one"},
                          {"ixml.SCENE", "3A"},
                          {"cue.1.position", "10"},
                          {"cue.1.label", "erste"},
                          {"cue.2.position", "1000"},
                          {"bext.LoudnessValue", "-23.10"},
                          {"bext.CodingHistory", "A=PCM\r\n"},
                          {"ixml.TRACK_LIST.TRACK.1.NAME", "Boom & Lav <2>"},
                          {"bext.Description", std::string(256, 'x')},
                          {"cue.1.label", "a much longer label than before"},
                          {"ixml.SCENE", "4"},
                          {"cue.2.position", "7"},
                          {"axml", "<a/>"},
                          {"id3.TIT2", "Dämmerung"},
                          {"id3.COMM", "日本"},
                          {"id3.TIT2", "longer than it was before"}};
    const Pairs wave = {{"info.INAM", "Dämmerung"},
                        {"info.IART", "日本"},
                        {"info.INAM", "a longer title"},
                        {"info.INAM", "t"},
                        {"cue.2.length", "50"},
                        {"cue.2.note", "a note"},
                        {"smpl.MIDIUnityNote", "60"},
                        {"inst.Gain", "-3"},
                        {"smpl.loop.1.end", "99"},
                        {"plst.entry.1.cue", "2"},
                        {"chna.entry.1.uid", "ATU_00000001"}};
    const Pairs aiff = {{"text.NAME", "Dämmerung"},         {"text.AUTH", "x"},
                        {"instrument.Detune", "-5"},        {"comment.1", "erster"},
                        {"comment.2", "the second"},        {"comment.1", "odd"},
                        {"text.NAME", "longer than before"}};
    for (const MediaContainer container : CONTAINERS) {
        SCOPED_TRACE(NameOf(container));
        MakeMedia("x", container);
        AddBlock("x", "unk1", Noise(33));
        AddBlock("x", "cart", Noise(200));
        AddBlock("x", "unk2", Noise(7));
        const Bytes samples = Samples("x");
        std::map<std::string, std::string> expected = Values("x");
        Pairs all = common;
        const Pairs& own = IsAiff(container) ? aiff : wave;
        all.insert(all.end(), own.begin(), own.end());
        for (const auto& [key, text] : all) {
            ASSERT_EQ(Set("x", key, text), "") << key;
            expected[key] = text;
            const MediaContents c = Inspected("x");
            ASSERT_FALSE(c.HasErrors()) << key << ": " << c.problems[0].text;
            ASSERT_EQ(Samples("x"), samples) << key;
            const auto now = Values("x");
            for (const auto& [k, t] : expected) {
                ASSERT_TRUE(now.contains(k)) << k << " after " << key;
                ASSERT_EQ(now.at(k), t) << k << " after " << key;
            }
        }
        // The unknown ones are there, in their order.
        const MetaDocument document = ReadMetaDocument(Open("x").get());
        std::vector<std::string> unknown;
        for (const MetaBlock& block : document.blocks)
            if (block.id == "unk1" || block.id == "unk2" || block.id == "cart") unknown.push_back(block.id);
        EXPECT_EQ(unknown, (std::vector<std::string>{"unk1", "cart", "unk2"}));
        EXPECT_EQ(document.PayloadOf("cart"), Noise(200));
        // Taken away one by one, nothing is left but the file itself.
        for (const auto& [key, text] : all) {
            const bool isField = key.ends_with("position") || key == "bext.LoudnessValue" ||
                                 std::ranges::any_of(std::array{"smpl", "inst", "plst", "chna"},
                                                     [&](const char* kind) { return key.starts_with(kind); });
            if (isField) continue;
            ASSERT_EQ(Set("x", key, ""), "") << key;
        }
        ASSERT_EQ(Set("x", "cue.1.position", ""), "");
        EXPECT_FALSE(Values("x").contains("cue.2.position"));
        EXPECT_EQ(Values("x").at("cue.1.position"), "7");
        MetaDocument none = document;
        none.blocks.clear();
        ASSERT_EQ(Write("x", none), "");
        MakeMedia("y", container);
        EXPECT_EQ(Content("x"), Content("y"));
    }
}

TEST_F(MetaEdits, RoomBeforeTheSamplesIsUsedAndOldContentIsErased) {
    for (const size_t room : {18u, 22u, 26u, 100u}) {  // exact, too small a rest, a rest of a header, plenty
        const Bytes secret = {'s', 'e', 'c', 'r', 'e', 't', '!', '!'};
        Builder chunks;
        chunks.Chunk("fmt ", PcmFormat(1, 8000, 8))
            .Chunk("note", secret)
            .Chunk("JUNK", Bytes(room - 16))
            .Chunk("data", Noise(50));
        Make("x", WaveForm(chunks.bytes));
        const uint64_t length = Content("x").size();
        MetaDocument document = ReadMetaDocument(Open("x").get());
        document.Remove("note");
        ASSERT_EQ(Write("x", document), "");
        const Bytes erased = Content("x");
        EXPECT_EQ(std::search(erased.begin(), erased.end(), secret.begin(), secret.end()), erased.end());
        ASSERT_EQ(Set("x", "axml", "<abcdef>1</abcdef>"), "");  // 26 bytes with its header
        const uint64_t span = 16 + 8 + room - 16, rest = span - 26;
        EXPECT_EQ(Content("x").size(), rest == 0 || rest >= 8 ? length : length + 26) << room;
        EXPECT_FALSE(Inspected("x").HasErrors());
    }
}

TEST_F(MetaEdits, WhatCannotBeWrittenIsRefusedWithTheReason) {
    MakeMedia("x", MediaContainer::Wave);
    const Bytes good = Content("x");
    Bytes cut(good.begin(), good.end() - 100), longer = good;
    longer.insert(longer.end(), 100, 1);
    Make("cut", cut);
    Make("longer", longer);
    EXPECT_NE(Set("cut", "info.INAM", "a").find("repair"), std::string::npos);
    EXPECT_NE(Set("longer", "info.INAM", "a").find("behind the form"), std::string::npos);
    EXPECT_EQ(Content("cut"), cut);
    EXPECT_EQ(Content("longer"), longer);
    for (const auto& [key, text] : Pairs{{"info.IN", "a"},
                                         {"bext.Version", "3"},
                                         {"bext.OriginationDate", "2026-11-22x"},
                                         {"bext.LoudnessValue", "nan"},
                                         {"cue.2.position", "1"},
                                         {"cue.1.position", "-1"},
                                         {"cue.0.label", "a"},
                                         {"smpl.MIDIUnityNote", "4294967296"},
                                         {"inst.Gain", "128"},
                                         {"text.NAME", "a"},
                                         {"ixml.A..B", "a"},
                                         {"nothing.A", "a"},
                                         {"id3.APIC", "a"},
                                         {"comment.1", "a"},
                                         {"chunk.JUNK", "a"}})
        EXPECT_NE(Set("x", key, text), "") << key;
    EXPECT_EQ(Content("x"), good);
}

TEST_F(MetaEdits, EveryKindThroughEveryContainerThatHoldsIt) {
    MetaDocument all;
    all.container = MediaContainer::Wave;
    const Pairs values = {
        {"info.INAM", "title"},      {"info.ICMT", "comment"}, {"bext.UMID", std::string(128, 'A')},
        {"ixml.TAKE", "2"},          {"cue.1.position", "48"}, {"cue.1.label", "label"},
        {"smpl.loop.1.start", "96"}, {"inst.Gain", "-7"},      {"inst.LowNote", "3"},
        {"inst.HighVelocity", "127"}};
    for (const auto& [key, text] : values) ASSERT_EQ(SetMetaValue(all, key, text), "");
    for (const char* id :
         {"scot", "plst", "tlst", "DISP", "str2", "bmrk", "dtbt", "LIST:pic ", "qm02", "qm03",
          "qm04", "bmpi", "bmpm", "CDif", "CDif", "cart", "axml", "chna",      "id3 ", "XYZ "})
        all.blocks.push_back(
            {id, id[4] ? Builder().Chunk("PICT", Noise(9)).bytes : Noise(static_cast<size_t>(id[0])),
             MetaBlock::NEW, true});
    for (const MediaContainer container : CONTAINERS) {
        SCOPED_TRACE(NameOf(container));
        MakeMedia("x", container);
        const MetaCarried there = CarryMetadata(all, container);
        EXPECT_EQ(there.losses.size(), IsAiff(container) ? 1u : 0u);  // the picture is a list
        ASSERT_EQ(Write("x", there.document), "");
        const MetaDocument read = ReadMetaDocument(Open("x").get());
        const MetaDocument back = CarryMetadata(read, MediaContainer::Wave).document;
        for (const MetaBlock& block : all.blocks) {
            if (IsAiff(container) && block.id == "LIST:pic ") continue;
            EXPECT_EQ(back.PayloadOf(block.id), all.PayloadOf(block.id)) << block.id;
        }
    }
    MetaDocument scaled = all;
    RetimeMetadata(scaled, {48000, 96000});
    const std::vector<MediaCue> cues = MetaCues(scaled);
    EXPECT_EQ(cues[0].position, 96u);
    // From file to file in one call.
    MakeMedia("x", MediaContainer::Wave);
    MakeMedia("y", MediaContainer::Wave64);
    ASSERT_EQ(Write("x", all), "");
    std::vector<MetaLoss> losses;
    std::string refusal;
    ASSERT_EQ(CarryMetadata(Open("x").get(), Open("y").get(), &losses, &refusal), S_OK) << refusal;
    EXPECT_EQ(Values("y"), Values("x"));
}

/// Tags of others in both versions and encodings: what is not set stays byte for byte.
TEST_F(MetaEdits, FramesOfATagAreSetAmongOthers) {
    const auto frame = [](const char* id, const std::string& payload, bool isV4) {
        Builder b;
        b.Text(id);
        isV4 ? b.Big(static_cast<uint32_t>(payload.size() / 128 * 256 + payload.size() % 128))
             : b.Big(static_cast<uint32_t>(payload.size()));
        return b.Zeros(2).Text(payload).bytes;
    };
    for (const bool isV4 : {false, true}) {
        const std::string wide("\x01\xFF\xFE"
                               "A\0\xE4\0",
                               7),
            picture(200, 'p'),
            comment("\0eng"
                    "about\0text",
                    14);
        Bytes frames;
        for (const Bytes& f : {frame("TIT2", wide, isV4), frame("APIC", picture, isV4),
                               frame("COMM", comment, isV4), frame("TPE1", std::string("\0x", 2), isV4)})
            frames.insert(frames.end(), f.begin(), f.end());
        Builder tag;
        tag.Text("ID3").Little(uint8_t(isV4 ? 4 : 3)).Zeros(2).Zeros(2);
        const size_t size = frames.size() + 30;  // with a pad
        tag.Little(uint8_t(size >> 7))
            .Little(uint8_t(size & 0x7F))
            .Raw(frames.data(), frames.size())
            .Zeros(30);
        MakeMedia("x", MediaContainer::Wave);
        AddBlock("x", "ID3 ", tag.bytes);
        EXPECT_EQ(Values("x").at("id3.TIT2"), "Aä");
        EXPECT_EQ(Values("x").at("id3.COMM"), "text");
        ASSERT_EQ(Set("x", "id3.TIT2", "日本"), "");
        ASSERT_EQ(Set("x", "id3.COMM", "neu"), "");
        ASSERT_EQ(Set("x", "id3.TPE1", ""), "");
        const auto values = Values("x");
        EXPECT_EQ(values.at("id3.TIT2"), "日本");
        EXPECT_EQ(values.at("id3.COMM"), "neu");
        EXPECT_FALSE(values.contains("id3.TPE1"));
        const Bytes now = ReadMetaDocument(Open("x").get()).PayloadOf("ID3 "),
                    kept = frame("APIC", picture, isV4);
        EXPECT_NE(std::search(now.begin(), now.end(), kept.begin(), kept.end()), now.end());
        const std::string about("engabout", 8);
        EXPECT_NE(std::search(now.begin(), now.end(), about.begin(), about.end()), now.end());
    }
    MakeMedia("x", MediaContainer::Wave);
    AddBlock("x", "id3 ",
             Builder().Text("ID3").Little(uint8_t{4}).Zeros(1).Little(uint8_t{0x80}).Zeros(4).bytes);
    EXPECT_NE(Set("x", "id3.TIT2", "a"), "") << "a tag of a form that is only read";
}

/// The numbers of a big-endian file are turned on the way to any other.
TEST_F(MetaEdits, ABigEndianFileIsReadAndCarried) {
    const auto chunk = [](const char* id, const Bytes& payload) {
        return Builder()
            .Text(id)
            .Big(static_cast<uint32_t>(payload.size()))
            .Raw(payload.data(), payload.size())
            .Zeros(payload.size() & 1)
            .bytes;
    };
    const Bytes format = Builder()
                             .Big(uint16_t{1})
                             .Big(uint16_t{1})
                             .Big(8000u)
                             .Big(16000u)
                             .Big(uint16_t{2})
                             .Big(uint16_t{16})
                             .bytes;
    const Bytes cue = Builder().Big(1u).Big(7u).Big(3u).Text("data").Big(0u).Big(0u).Big(3u).bytes;
    Builder labels, info, bext;
    const Bytes label = chunk("labl", Builder().Big(7u).Text("here").Zeros(1).bytes),
                region = chunk("ltxt", Builder().Big(7u).Big(2u).Text("rgn ").Zeros(8).bytes),
                title = chunk("INAM", {'o', 'd', 'd', 'y', 0});
    labels.Text("adtl").Raw(label.data(), label.size()).Raw(region.data(), region.size());
    info.Text("INFO").Raw(title.data(), title.size());
    bext.Text("told").Zeros(334).Big(5u).Big(1u).Big(uint16_t{1}).Zeros(254);
    Bytes all = Builder().Text("WAVE").bytes;
    for (const Bytes& c :
         {chunk("fmt ", format), chunk("data", Bytes(20)), chunk("cue ", cue), chunk("LIST", labels.bytes),
          chunk("LIST", info.bytes), chunk("bext", bext.bytes), chunk("unkn", Bytes(4))})
        all.insert(all.end(), c.begin(), c.end());
    Make("x", chunk("RIFX", all));
    const std::map<std::string, std::string> values = Values("x");
    const Pairs expected = {
        {"cue.1.position", "3"},      {"cue.1.length", "2"},
        {"cue.1.label", "here"},      {"info.INAM", "oddy"},
        {"bext.Description", "told"}, {"bext.TimeReference", std::to_string((1ull << 32) + 5)},
        {"bext.Version", "1"}};
    for (const auto& [key, text] : expected) EXPECT_EQ(values.at(key), text) << key;
    EXPECT_NE(Set("x", "info.INAM", "a"), "");
    const MetaCarried carried = CarryMetadata(ReadMetaDocument(Open("x").get()), MediaContainer::Wave);
    EXPECT_EQ(carried.losses.size(), 1u) << "whose numbers are anyone's guess";
    EXPECT_EQ(carried.document.PayloadOf("cue "),
              Builder().Little(1u).Little(7u).Little(3u).Text("data").Little(0u).Little(0u).Little(3u).bytes);
}

TEST_F(MetaEdits, DeviationsAreNamed) {
    MakeMedia("x", MediaContainer::Wave);
    MetaDocument document = ReadMetaDocument(Open("x").get());
    document.Set("bext", [] {
        Bytes b(602);
        b[0] = 0xE4;   // beyond ASCII
        b[320] = '1';  // no date
        b[346] = 1;    // version 1
        b[412] = 1;    // with loudness
        b[500] = 1;    // reserved
        return b;
    }());
    const std::string xml =
        "<BWFXML><CIRCLED>yes</CIRCLED><TRACK_LIST><TRACK_COUNT>2</TRACK_COUNT></TRACK_LIST></BWFXML>";
    document.Set("iXML", Bytes(xml.begin(), xml.end()));
    document.Set("cue ", Builder().Little(2u).Raw(Bytes(24, 9).data(), 24).bytes);
    document.Set("LIST:adtl", Builder().Chunk("labl", {1, 0, 0, 0, 'x'}).bytes);
    document.Set("LIST:INFO", Builder().Chunk("INAM", {'x'}).bytes);
    document.Set("smpl", Bytes(36, 1));
    document.Set("chna", {0, 0, 9, 0});
    document.Set("axml", {'<'});
    const std::vector<std::string> found = MetaDeviations(document, 100);
    for (const char* expected :
         {"Description has characters beyond ASCII", "no yyyy-mm-dd",
          "loudness stands in a chunk of version 1", "reserved bytes", "CIRCLED", "TRACK_COUNT tells of 2",
          "no IXML_VERSION", "tells of 2 markers", "behind the samples", "which is not there",
          "adtl: a text does not end", "INFO: 'INAM' does not end", "more loops", "chna", "axml: no XML"})
        EXPECT_TRUE(std::ranges::any_of(found, [&](const std::string& text) {
            return text.find(expected) != text.npos;
        })) << expected;
    EXPECT_EQ(found.size(), 16u);
    EXPECT_TRUE(MetaDeviations(ReadMetaDocument(Open("x").get()), 1001).empty());
}

}  // namespace
