// Metadata by kind: what the functions write, byte for byte, and that it comes back out of either container.
#include "kernel/list.h"
#include "mediafile/byte_order.h"
#include "mediafile/meta/broadcast.h"
#include "mediafile/meta/cue_list.h"
#include "mediafile/meta/display_list.h"
#include "mediafile/meta/meta_stream.h"
#include "mediafile/meta/project_link.h"
#include "mediafile/meta/side_file.h"
#include "mediafile/meta/summary.h"
#include "mediafile/wave_file.h"
#include "platform/memory.h"
#include "platform/stream.h"
#include "tests/mediafile/media_support.h"

using namespace tarn;

namespace {

constexpr uint32_t INAM = FourCC("INAM"), IART = FourCC("IART"), ICMT = FourCC("ICMT");

struct Summary : SUMMARYLIST {
    Summary() : SUMMARYLIST{} {}
    ~Summary() { QmSummary_Free(this); }
};
struct HeapList {
    HQMLIST list = nullptr;
    HeapList() { QmList_CreateExZ(&list, 0, -1, -1, QMLIST_HEAP, 0, 0, 0); }
    ~HeapList() { QmList_Destroy(list); }
};

class Meta : public MediaTest {
protected:
    Bytes Small(bool isWave64 = false) {
        WAVEFORMATEX wfx;
        QmAudio_InitWfx(&wfx, 44100, QMSAMPLE_PCM16, 1);
        Make("small", Bytes(isWave64 ? 112 + 8 : 46 + 8, 5));
        const OwnedHandle file = Open("small");
        EXPECT_EQ(isWave64 ? QmInsertW64Header(file.get(), &wfx, 8, 112)
                           : QmInsertWavHeader(file.get(), &wfx, 8, 46),
                  S_OK);
        return Content("small");
    }
};

TEST_F(Meta, SummariesByteForByte) {
    Summary list;
    EXPECT_EQ(QmSummary_SetItem(&list, 0, u"x"), E_INVALIDARG);
    QmSummary_SetItem(&list, INAM, u"Café");
    QmSummary_SetItem(&list, ICMT, u"");
    QmSummary_SetItem(&list, IART, nullptr);  // stands in the list and is not saved
    uint32_t written = 0;
    {
        const OwnedHandle file = Make("s", {});
        EXPECT_EQ(QmSummary_Save(file.get(), &list, &written), S_OK);
    }
    const Bytes items = Builder().Chunk("INAM", {'C', 'a', 'f', 0xE9, 0}).Chunk("ICMT", {0}).bytes;
    const Bytes expected = Builder()
                               .Text("LIST")
                               .Little(uint32_t(items.size() + 4))
                               .Text("INFO")
                               .Raw(items.data(), items.size())
                               .bytes;
    EXPECT_EQ(Content("s"), expected);
    EXPECT_EQ(written, expected.size());

    const OwnedHandle file = Open("s");
    Summary read;
    uint32_t left = static_cast<uint32_t>(items.size());
    EXPECT_EQ(QmSummary_Load(file.get(), &read, nullptr), E_INVALIDARG);
    QmFile_Seek(file.get(), 12, FILE_FROM_START);
    ASSERT_EQ(QmSummary_Load(file.get(), &read, &left), S_OK);
    EXPECT_NE(QmSummary_Compare(&list, &read), 0);
    QmSummary_SetItem(&list, IART, nullptr);
    EXPECT_EQ(QmSummary_Compare(&list, &read), 0);
    char16_t text[8];
    QmFile_Seek(file.get(), 0, FILE_FROM_START);
    EXPECT_EQ(QmSummary_GetStringFromFile(file.get(), INAM, text, 8, nullptr), S_OK);
    EXPECT_EQ(std::u16string(text), u"Café");
    EXPECT_EQ(QmFile_Tell(file.get()), 0);
    // Cut within an item: nothing stays of the list, and the position is the old one.
    QmFile_Seek(file.get(), 12, FILE_FROM_START);
    left = 1000;
    EXPECT_EQ(QmSummary_Load(file.get(), &read, &left), MEDIA_E_READ);
    EXPECT_EQ(read.count, 0u);
    EXPECT_EQ(QmFile_Tell(file.get()), 12);

    Summary nothing;
    QmSummary_SetItem(&nothing, INAM, nullptr);
    {
        const OwnedHandle empty = Make("e", {});
        QmSummary_Save(empty.get(), &nothing, nullptr);
    }
    EXPECT_EQ(Content("e"), Builder().Text("LIST").Little(4u).Text("INFO").bytes);

    Summary wide, back, merged;
    QmSummary_SetItem(&wide, INAM, u"日本");
    const OwnedHandle unfo = Make("u", {});
    ASSERT_EQ(QmSummary_SaveUNFO(unfo.get(), &wide, &written), S_OK);
    QmFile_Seek(unfo.get(), 12, FILE_FROM_START);
    left = written - 12;
    ASSERT_EQ(QmSummary_LoadUNFO(unfo.get(), &back, &left), S_OK);
    EXPECT_EQ(QmSummary_Compare(&wide, &back), 0);
    QmSummary_Copy(&merged, &list);
    QmSummary_Merge(&merged, &wide);
    EXPECT_EQ(std::u16string(QmSummary_GetItemText(&merged, INAM)), u"日本");
    EXPECT_EQ(merged.count, 2u);

    ComPtr<IStream> stream;
    *stream.Out() = CreateMemoryStream();
    QmSummary_SetItem(&merged, IART, nullptr);
    ASSERT_EQ(merged.Persist(stream.Get(), 0), S_OK);
    stream->Seek(0, STREAM_SEEK_SET, nullptr);
    ASSERT_EQ(SUMMARYLIST::Create(stream.Get(), 0, &back), S_OK);
    EXPECT_EQ(QmSummary_Compare(&merged, &back), 0);
}

TEST_F(Meta, DisplayItemsInBothContainers) {
    const uint32_t ids[] = {DISPLAY_BITMAP, 1};
    for (const bool is64 : {false, true}) {
        DISPLAYLIST* list = displist_Create(2, ids);
        displist_SetItem(list, DISPLAY_BITMAP, "picture", 7);
        displist_SetItem(list, 77, "foreign", 7);
        Bytes bytes = Small(is64);
        Make("d", bytes);
        const OwnedHandle file = Open("d");
        QmFile_Seek(file.get(), 0, FILE_FROM_END);
        uint32_t written = 0;
        uint64_t written64 = 0;
        ASSERT_EQ(is64 ? displist64_Save(file.get(), list, &written64)
                       : displist_Save(file.get(), list, &written),
                  S_OK);
        EXPECT_EQ(written64 + written, is64 ? 2u * (24 + 16) : 2u * (8 + 12));
        EXPECT_EQ(is64 ? riff64_UpdateRIFFSize(file.get(), int64_t(written64))
                       : riff_UpdateRIFFSize(file.get(), written),
                  S_OK);
        displist_Free(list);
        uint32_t left = static_cast<uint32_t>(QmFile_Size(file.get())) - 12;
        uint64_t left64 = static_cast<uint64_t>(QmFile_Size(file.get())) - 40;
        QmFile_Seek(file.get(), is64 ? 40 : 12, FILE_FROM_START);
        ASSERT_EQ(is64 ? displist64_Load(file.get(), list, &left64) : displist_Load(file.get(), list, &left),
                  S_OK);
        const DISPLAYITEM* item = displist_GetItem(list, DISPLAY_BITMAP);
        ASSERT_TRUE(item->data);
        EXPECT_EQ(std::string(static_cast<const char*>(item->data), 7), "picture");
        EXPECT_FALSE(displist_GetItem(list, 1)->data);
        EXPECT_EQ(QmFile_Tell(file.get()), is64 ? 40 : 12);
        displist_Destroy(list);
        HeapList blocks;
        const auto fill = is64 ? QmFMMeta64_fillBlocksFromFile : QmFMMeta_fillBlocksFromFile;
        ASSERT_EQ(fill(file.get(), QMFIO_META_DISPLAY, blocks.list), S_OK);
        ASSERT_EQ(fill(file.get(), QMFIO_META_SAMPLER, blocks.list), S_OK);
        ASSERT_EQ(blocks.list->count, 2);
        const QMMETABLOCK* block = QmList_Pointers<QMMETABLOCK>(blocks.list)[1];
        EXPECT_EQ(block->id, FourCC("DISP"));
        EXPECT_EQ(std::string(block->data + 4, block->data + 11), "foreign");
        void* bitmap = displist_CreateBitmapFromFile(WidePath("d").c_str());
        EXPECT_TRUE(bitmap && std::memcmp(bitmap, "picture", 7) == 0);
        MemFree(bitmap);
    }
}

Bytes Label(uint32_t cue, size_t length) {
    return Builder().Chunk("labl", Builder().Little(cue).Text(std::string(length, 'x')).Zeros(1).bytes).bytes;
}

TEST_F(Meta, CuesBecomeTimesAndRegions) {
    const MediaCue cues[] = {{7, 44100, {}, u"eins", {}, 0}, {9, 44100, 22050u, u"", u"n", 0}};
    const Bytes positions = MediaCueBytes(cues), labels = MediaLabelBytes(cues);
    Builder chunks;
    chunks.Chunk("cue ", positions).Text("LIST").Little(uint32_t(labels.size() + 4)).Text("adtl");
    chunks.Raw(labels.data(), labels.size());
    const OwnedHandle file = Make("c", WaveForm(chunks.bytes));
    HeapList markers, regions;
    ASSERT_EQ(QmFMMeta_fillCuesFromFileEx(file.get(), 44100, markers.list, regions.list), S_OK);
    const auto m = QmList_Pointers<QMMARKER>(markers.list);
    const auto r = QmList_Pointers<QMCUE>(regions.list);
    ASSERT_EQ(m.size(), 2u);
    EXPECT_EQ(m[0]->position, 10000000);
    EXPECT_EQ(m[0]->length, 0);
    EXPECT_EQ(std::u16string(m[0]->text), u"eins");
    EXPECT_EQ(m[1]->length, 5000000);
    EXPECT_EQ(r[0]->length, -1);
    EXPECT_EQ(r[1]->length, 22050);
    EXPECT_EQ(r[1]->cueId, 9u);
    EXPECT_EQ(QmFMMeta_TimeFromSamples(1, 0), 0);

    for (const size_t length : {1023u, 1024u}) {
        std::vector<MediaCue> read;
        const Bytes label = Label(7, length);
        EXPECT_EQ(ReadMediaCues(positions, label, QM_MOST_LABEL, &read),
                  length == 1023 ? S_OK : MEDIA_E_MALFORMED);
    }
    // A short "ltxt" ends the search for regions; a count that lies ends with the bytes.
    std::vector<MediaCue> read;
    Bytes lying = positions, early = Builder().Chunk("ltxt", Bytes(19)).bytes;
    early.insert(early.end(), labels.begin(), labels.end());
    lying[3] = 0x7F;
    ASSERT_EQ(ReadMediaCues(lying, early, SIZE_MAX, &read), S_OK);
    ASSERT_EQ(read.size(), 2u);
    EXPECT_FALSE(read[1].length);
    EXPECT_EQ(read[1].note, u"n");
}

TEST_F(Meta, EveryKindThroughAStreamIntoBothContainersAndOutAgain) {
    Builder chunks;
    const MediaCue cues[] = {{1, 10, {}, u"a", {}, 0}, {2, 20, 5u, u"b", {}, 0}};
    const Bytes positions = MediaCueBytes(cues), labels = MediaLabelBytes(cues);
    uint32_t kinds = 0;
    for (const MetaChunkRow& row : MetaChunkRows()) {
        char id[5] = {};
        std::memcpy(id, &row.id, 4);
        kinds |= row.kind;
        const Bytes payload = row.id == FourCC("cue ")   ? positions
                              : row.id == FourCC("adtl") ? labels
                              : row.id == FourCC("qm01") || row.id == FourCC("qm02")
                                  ? Bytes()  // of a kind that is rebuilt from its records
                              : row.id == FourCC("plst")
                                  ? Builder().Little(1u).Little(2u).Little(3u).Little(4u).bytes
                              : row.isList ? Builder().Chunk("INAM", {'x', 'y', 0}).bytes
                                           : Bytes(11, static_cast<uint8_t>(row.id));
        if (payload.empty()) continue;
        if (row.isList)
            chunks.Text("LIST")
                .Little(uint32_t(payload.size() + 4))
                .Text(id)
                .Raw(payload.data(), payload.size());
        else
            for (int n = 0; n < (row.isRepeated ? 3 : 1); n++) chunks.Chunk(id, payload);
    }
    Bytes first, second, third;
    ASSERT_EQ(ReadMetaStream(Make("all", WaveForm(chunks.bytes)).get(), false, kinds, &first), S_OK);
    const Bytes wave = Small(false), wave64 = Small(true);
    const auto through = [&](const Bytes& empty, bool is64, const Bytes& in, Bytes* out) {
        const OwnedHandle made = Make("t", empty);
        ComPtr<IQmReadMeta> stream;
        *stream.Out() = CreateMetaStream(in);
        const auto size = static_cast<uint32_t>(in.size());
        EXPECT_EQ(
            is64 ? QmFMMeta64_openAndWriteMetaStream(WidePath("t").c_str(), size, stream.Get(), kinds)
                 : QmFMMeta_openAndWriteMetaStreamEx(WidePath("t").c_str(), 0, size, stream.Get(), kinds, 0),
            S_OK);
        EXPECT_FALSE(Inspected("t").HasErrors());
        EXPECT_EQ(ReadMetaStream(Open("t").get(), is64, kinds, out), S_OK);
        // Written over itself it is the same, and deleted it is the file from before.
        stream->Seek(0);
        EXPECT_EQ((is64 ? QmFMMeta64_UpdateMetaStream
                        : QmFMMeta_UpdateMetaStream2)(WidePath("t").c_str(), size, stream.Get(), kinds),
                  S_OK);
        for (int n = 0; n < (is64 ? 5 : 1); n++)  // of Wave64 one chunk a kind goes
            EXPECT_EQ(QmFMMeta_DeleteMetaChunksEx(WidePath("t").c_str(), kinds, is64), S_OK);
        EXPECT_EQ(Content("t"), empty);
    };
    through(wave64, true, first, &second);
    through(wave, false, second, &third);
    EXPECT_EQ(first, second);
    EXPECT_EQ(first, third);
    // What 32 bits do not hold is left out.
    const QMMETAHEADER header = {QMFIO_META_MARKERS, 24, 1, {}};
    const Bytes far = Builder()
                          .Raw(&header, sizeof header)
                          .Little(1u)
                          .Little(uint64_t{1} << 33)
                          .Little(uint64_t{0})
                          .Little(0u)
                          .bytes;
    ComPtr<IQmReadMeta> stream;
    *stream.Out() = CreateMetaStream(far);
    const OwnedHandle file = Make("far", wave);
    ASSERT_EQ(QmFMMeta_WriteMetaStream(file.get(), stream.Get()), S_OK);
    HeapList regions;
    QmFMMeta_fillCuesFromFileEx(file.get(), 44100, nullptr, regions.list);
    EXPECT_EQ(regions.list->count, 0);
}

TEST_F(Meta, BroadcastChunksAreRewrittenInPlaceOrAppended) {
    const Bytes text600(600, 'a'), text602(602, 'b');
    for (const bool is64 : {false, true}) {
        const Bytes base = Small(is64);
        const OwnedHandle file = Make("b", base);
        const auto update = [&](const Bytes& text) {
            uint32_t added = 0;
            uint64_t added64 = 0;
            const auto size = static_cast<uint32_t>(text.size());
            EXPECT_EQ(is64 ? bwfriff64_UpdateStreamChunk(1, file.get(), text.data(), size, &added64)
                           : bwfriff_UpdateStreamChunk(1, file.get(), text.data(), size, &added),
                      S_OK);
            return added + added64;
        };
        EXPECT_EQ(bwfriff_UpdateStreamChunk(2, file.get(), "", 0, nullptr), E_INVALIDARG);
        EXPECT_EQ(update(text600), is64 ? 624u : 608u);
        EXPECT_EQ(update(text602), is64 ? 632u : 610u);
        const MediaContents c = InspectMedia(file.get());
        EXPECT_FALSE(c.HasErrors());
        ASSERT_EQ(c.chunks.size(), 5u);
        EXPECT_EQ(c.chunks[3].size, 600u);
        EXPECT_EQ(c.chunks[3].id, is64 ? "junk" : "JUNK");
        EXPECT_EQ(c.chunks[4].size, 602u);
        EXPECT_EQ(update(text600), 0u);  // in place, with zeros behind
        const Bytes now = Content("b");
        const auto body = now.begin() + static_cast<ptrdiff_t>(c.chunks[4].offset + (is64 ? 24 : 8));
        EXPECT_TRUE(std::equal(text600.begin(), text600.end(), body));
        EXPECT_EQ(body[600] + body[601], 0);
        EXPECT_EQ(is64 ? bwfriff64_DeleteAllChunks(file.get()) : bwfriff_DeleteAllChunks(file.get()), S_OK);
        EXPECT_EQ(Content("b").size(), base.size() + (is64 ? 624 : 608));
    }
    BroadcastInfo info;
    info.description = "Take 1";
    info.date = "2026-11-22";
    info.timeReference = uint64_t{1} << 40;
    info.version = 2;
    info.umid[63] = 9;
    info.loudnessValue = -2300;
    info.codingHistory = "A=PCM,F=48000\r\n";
    const Bytes bytes = BroadcastBytes(info);
    EXPECT_EQ(bytes.size(), 602 + info.codingHistory.size());
    const OwnedHandle file = Make("i", WaveForm(Builder().Chunk("bext", bytes).bytes));
    BWFINFO read;
    ASSERT_EQ(bwfriff_LoadInfo(file.get(), &read), S_OK);
    EXPECT_EQ(std::u16string(read.description), u"Take 1");
    EXPECT_EQ(std::u16string(read.date), u"2026-11-22");
    EXPECT_EQ(std::u16string(read.codingHistory), u"A=PCM,F=48000\r\n");
    EXPECT_EQ(read.loudness[0], -2300);
    EXPECT_EQ(read.loudness[1], BroadcastInfo::NO_LOUDNESS);
    bwfmeta_FreeInfo(&read);
    uint64_t time = 0;
    EXPECT_EQ(bwfriff_LoadTimestampInfoQuick(file.get(), &time), S_OK);
    EXPECT_EQ(time, info.timeReference);
    EXPECT_EQ(BroadcastBytes(ReadBroadcastInfo(bytes)), bytes);
    EXPECT_EQ(bwfriff_LoadInfo(Make("n", Small()).get(), &read), MEDIA_E_NOT_FOUND);
}

TEST_F(Meta, SideFilesNameTheirMedium) {
    struct Row {
        const char16_t *path, *expected;
        uint32_t capacity;
        BOOL append;
    };
    for (const Row& row :
         {Row{u"/a.b/take.mp4", u"/a.b/take.mp4.qml", 64, 1}, Row{u"/a.b/take.mp4", u"/a.b/take.qml", 64, 0},
          Row{u"/a.b/take", u"/a.b/take.qml", 64, 0}, Row{u"/abcdefgh.mp4", u"/abcde.qml", 11, 1}}) {
        char16_t out[64];
        ASSERT_EQ(QmFMMeta_CreateMetaName(row.path, out, row.capacity, row.append), S_OK);
        EXPECT_EQ(std::u16string(out), row.expected);
    }
    Make("film.mp4", Bytes(100, 1));
    const QMMETAHEADER header = {QMFIO_META_MARKERS, 24, 1, {}};
    const Bytes one = Builder()
                          .Raw(&header, sizeof header)
                          .Little(1u)
                          .Little(uint64_t{5})
                          .Little(~uint64_t{0})
                          .Little(0u)
                          .bytes;
    ComPtr<IQmReadMeta> stream;
    *stream.Out() = CreateMetaStream(one);
    const auto film = WidePath("film.mp4"), side = WidePath("film.mp4.qml");
    ASSERT_EQ(QmFMMeta_openAndWriteMetaStreamEx(film.c_str(), 1, uint32_t(one.size()), stream.Get(),
                                                QMFIO_META_MARKERS, 0),
              S_OK);
    EXPECT_EQ(Content("film.mp4"), Bytes(100, 1));
    EXPECT_TRUE(QmFMMeta_IsMetaFile(film.c_str(), side.c_str()));
    EXPECT_TRUE(QmFMMeta_LookForMarkers(film.c_str()));
    HeapList paths;
    EXPECT_EQ(QmFMMeta_AttachFileToExternList(film.c_str(), paths.list), S_OK);
    EXPECT_EQ(paths.list->count, 1);
    ASSERT_EQ(QmFMMeta_ChangeAttachedFilename(side.c_str(), u"movie.mp4"), S_OK);
    EXPECT_FALSE(QmFMMeta_IsMetaFile(film.c_str(), side.c_str()));
    EXPECT_TRUE(QmFMMeta_IsMetaFile(u"/elsewhere/movie.mp4", side.c_str()));
    // Somebody else's file of that name is not written into.
    EXPECT_EQ(QmFMMeta_openAndWriteMetaStreamEx(film.c_str(), 1, uint32_t(one.size()), stream.Get(),
                                                QMFIO_META_MARKERS, 0),
              MEDIA_E_OPEN);
}

TEST_F(Meta, ProjectLinksAreWholeOrRefused) {
    CQmLinkProjectInfo info, read;
    EXPECT_EQ(info.Validate(), MEDIA_E_NO_PROJECT);
    info.SetPart(QMLINK_PROJECT_DATA, "data", 4);
    EXPECT_EQ(info.ValidateProjectLink(), MEDIA_E_NO_PROJECT);
    EXPECT_EQ(info.Validate(), S_OK);
    info.SetProjectPath(u"/p");
    info.SetCommandLine(u"open %1");
    info.SetVersion(3);
    EXPECT_EQ(info.ValidateProjectLink(), S_OK);
    info.SetPresentBits(3);
    EXPECT_EQ(info.ValidateProjectLink(), S_FALSE);
    info.SetPresentBits(3 | 8);
    EXPECT_EQ(info.ValidateProjectLink(), MEDIA_E_NO_PROJECT);
    for (const bool is64 : {false, true}) {
        Make("p", Small(is64));
        for (int n = 0; n < 2; n++)  // the second takes the place of the first
            ASSERT_EQ((is64 ? ProjectLinkRiff64_openAndWriteInfo
                            : ProjectLinkRiff_openAndWriteInfo)(WidePath("p").c_str(), &info),
                      S_OK);
        ASSERT_EQ((is64 ? ProjectLinkRiff64_LoadInfo : ProjectLinkRiff_LoadInfo)(Open("p").get(), &read),
                  S_OK);
        for (uint32_t part = 0; part < QMLINK_PARTS; part++) {
            const auto a = info.GetPart(QMLINK_PART(part)), b = read.GetPart(QMLINK_PART(part));
            EXPECT_TRUE(std::ranges::equal(a, b)) << part;
        }
        EXPECT_EQ(Inspected("p").chunks.size(), 3u + 9);
    }
    ASSERT_EQ(WriteProjectLinkFile(WidePath("l").c_str(), info), S_OK);
    EXPECT_EQ(ProjectLinkRiff_LoadInfo(Open("l").get(), &read), S_OK);
    EXPECT_EQ(Content("l")[8], 'Q');
    EXPECT_EQ(ProjectLinkRiff_LoadInfo(Make("n", Small()).get(), &read), MEDIA_E_NOT_FOUND);
}

}  // namespace
