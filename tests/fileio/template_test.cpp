#include "fileio/template_list.h"
#include "platform/memory.h"
#include "platform/stream.h"
#include "tests/fileio/file_manager.h"

#include <zlib.h>

#include <cstring>
#include <functional>

using namespace tarn;

namespace {

constexpr GUID RENDERER = Guid("{2F6E4B11-94C7-4B0D-8E1A-6A0B5D3C9E01}");

using Owned = OwnedTemplate;

Owned Made(const std::string& data = "d", const char16_t* name = u"Name", const char16_t* notes = u"Notes") {
    tagQMTEMPLATExV2* made = nullptr;
    EXPECT_EQ(QmFio_GenerateTemplate(&made, &RENDERER, data.data(), static_cast<uint32_t>(data.size()), name,
                                     notes),
              S_OK);
    _qmwaveformat format;
    format.Init(44100, QMSAMPLE_PCM16, 2, 0, sizeof format);
    EXPECT_EQ(QmFio_InitBasicAudioTemplate(made, &format), S_OK);
    return Owned(made);
}
Bytes BytesOf(const tagQMTEMPLATExV2& t) {
    const auto* at = reinterpret_cast<const uint8_t*>(&t);
    return {at, at + t.size};
}
GUID IdOf(const tagQMTEMPLATExV2& t, bool withTexts) {
    GUID id{};
    EXPECT_EQ(QmFio_InitGUIDFromTemplateMD5DataHash(&id, &t, withTexts), S_OK);
    return id;
}

using TemplateFile = MediaTest;

TEST_F(TemplateFile, LiesAsToldAndIsReadAgain) {
    const Owned made = Made();
    const Bytes bytes = BytesOf(*made);
    EXPECT_EQ(bytes.size(), 536u + 4 + 2 * (4 + 5 + 2));
    EXPECT_EQ(std::memcmp(&bytes[540], u"Name\0Notes", 22), 0);  // behind one byte of data
    ASSERT_EQ(QmFio_SaveTemplateData(made.get(), WidePath("t").c_str()), S_OK);
    EXPECT_EQ(Content("t"), bytes);
    tagQMTEMPLATExV2* read = nullptr;
    ASSERT_EQ(QmFio_LoadTemplateData(&read, WidePath("t").c_str()), S_OK);
    const Owned owned(read);
    EXPECT_EQ(BytesOf(*read), bytes);
    EXPECT_EQ(TemplateNotes(*read), u"Notes");
}

TEST_F(TemplateFile, IsRefusedWhereANumberCannotBe) {
    const Bytes good = BytesOf(*Made());
    const auto set = [](size_t at, uint32_t value) {
        return [=](Bytes& b) { std::memcpy(&b[at], &value, sizeof value); };
    };
    struct Row {
        const char* what;
        std::function<void(Bytes&)> change;
        HRESULT result;
    };
    const auto length = static_cast<uint32_t>(good.size());
    const Row rows[] = {
        {"as it is", [](Bytes&) {}, S_OK},
        {"empty", [](Bytes& b) { b.clear(); }, MEDIA_E_UNKNOWN_FORMAT},
        {"539 bytes",
         [&](Bytes& b) {
             b.resize(539);
             set(0, 539)(b);
         },
         MEDIA_E_UNKNOWN_FORMAT},
        {"540 bytes",
         [&](Bytes& b) {
             b.resize(540);
             set(0, 540)(b);
             set(528, 0)(b);
         },
         S_OK},
        {"size beyond the file", set(0, length + 1), MEDIA_E_UNKNOWN_FORMAT},
        {"size within the head", set(0, 539), MEDIA_E_UNKNOWN_FORMAT},
        {"size before the texts", set(0, 544), S_OK},
        {"version of nothing", set(4, 0xFFFFFF), MEDIA_E_UNKNOWN_FORMAT},
        {"version 1", set(4, 0x01000000), S_OK},
        {"data beyond the file", set(532, length + 1), MEDIA_E_UNKNOWN_FORMAT},
        {"data that wraps", set(532, 0xFFFFFFFE), MEDIA_E_UNKNOWN_FORMAT},
        {"texts beyond the file", set(528, (length - 540) / 2 + 1), MEDIA_E_UNKNOWN_FORMAT},
        {"texts that wrap", set(528, 0x80000001), MEDIA_E_UNKNOWN_FORMAT},
        {"audio part of 100", set(56, 100), MEDIA_E_UNKNOWN_FORMAT},
        {"no audio part", set(56, 0), S_OK},
        {"video part of 1", set(256, 1), MEDIA_E_UNKNOWN_FORMAT},
    };
    for (const Row& row : rows) {
        Bytes bytes = good;
        row.change(bytes);
        Make("t", bytes);
        tagQMTEMPLATExV2* read = nullptr;
        EXPECT_EQ(QmFio_LoadTemplateData(&read, WidePath("t").c_str()), row.result) << row.what;
        const Owned owned(read);
        EXPECT_EQ(read != nullptr, row.result == S_OK) << row.what;
    }
    tagQMTEMPLATExV2* read = nullptr;
    EXPECT_EQ(QmFio_LoadTemplateData(&read, WidePath("none").c_str()), MEDIA_E_OPEN);
    EXPECT_EQ(QmFio_CopyTemplate(&read, nullptr), MEDIA_E_NO_TEMPLATE);
    Bytes unsound = good;
    set(528, 5000)(unsound);
    EXPECT_EQ(QmFio_CopyTemplate(&read, reinterpret_cast<tagQMTEMPLATExV2*>(unsound.data())),
              MEDIA_E_BAD_TEMPLATE);
    EXPECT_EQ(QmFio_GetTemplateDataCRC32(reinterpret_cast<tagQMTEMPLATExV2*>(unsound.data()), 1), 0u);
}

TEST(Template, IsMadeInTheOldBlockWhereThatFits) {
    const Owned source = Made("data", u"A", u"Audio: 1 Hz\nVideo: 2x2\n\nmine");
    source->block2[31] = 9;
    source->identifier[1] = 7;
    tagQMTEMPLATExV2* block = nullptr;
    ASSERT_EQ(QmFio_MakeTemplate(&block, 0x02000001, source.get(), FIO_TEMPLATE_AUDIO, 8, u"Longer name",
                                 TemplateNotes(*source).c_str()),
              S_OK);
    EXPECT_EQ(block->size, 536u + 12 + 2 * (11 + 4 + 2));
    EXPECT_EQ(TemplateNotes(*block), u"mine");
    EXPECT_EQ(block->version, 0x02000001u);
    EXPECT_EQ(block->block2[31], 9);
    EXPECT_EQ(block->identifier[1], 7u);
    EXPECT_EQ(block->renderer, RENDERER);
    EXPECT_EQ(std::memcmp(block->Data(), "data\0\0\0\0\0\0\0\0", 12), 0);

    tagQMTEMPLATExV2* const before = block;
    block->audio.flags = block->audio.bitRate = 5;
    std::memset(block->Data(), 1, 12);
    ASSERT_EQ(QmFio_MakeTemplate(&block, FIO_TEMPLATE_V2, source.get(), 0, 8, u"B", u"c"), S_OK);
    EXPECT_EQ(block, before);
    EXPECT_EQ(block->audio.size + block->audio.flags, 0u);  // another source: the old parts go
    EXPECT_EQ(std::memcmp(block->Data(), "data\0\0\0\0\0\0\0\0", 12), 0);
    EXPECT_EQ(TemplateName(*block) + TemplateNotes(*block), u"Bc");
    // Of itself, with a name of its own memory.
    block->audio = source->audio;
    const auto* name = reinterpret_cast<const char16_t*>(block->Data() + 12);
    ASSERT_EQ(QmFio_MakeTemplate(&block, FIO_TEMPLATE_V2, block, 0, 0, name, u"d"), S_OK);
    EXPECT_EQ(block, before);
    EXPECT_EQ(block->audio.streams, 1u);
    EXPECT_EQ(TemplateName(*block), u"B");
    ASSERT_EQ(QmFio_MakeTemplate(&block, FIO_TEMPLATE_V2, block, 0, 4,
                                 u"A name with no room in the old block", u""),
              S_OK);
    EXPECT_EQ(block->dataSize, 16u);
    EXPECT_EQ(TemplateName(*block), u"A name with no room in the old block");
    const Owned owned(block);
}

TEST(Template, IsKnownByItsContent) {
    const Owned a = Made(), b = Made("d", u"Other", u"");
    const Bytes bytes = BytesOf(*a);
    const auto crc = [](std::initializer_list<std::span<const uint8_t>> parts) {
        uLong value = 0;
        for (const auto part : parts) value = crc32(value, part.data(), static_cast<uInt>(part.size()));
        return static_cast<uint32_t>(value);
    };
    const std::span<const uint8_t> all(bytes);
    EXPECT_EQ(QmFio_GetTemplateDataCRC32(a.get(), 0), crc({all.subspan(56, 472), all.subspan(536, 1)}));
    EXPECT_EQ(QmFio_GetTemplateDataCRC32(a.get(), 1),
              crc({all.subspan(56, 472), all.subspan(536, 1), all.subspan(540, 8), all.subspan(550, 10)}));
    EXPECT_EQ(IdOf(*a, false), IdOf(*b, false));
    EXPECT_NE(IdOf(*a, true), IdOf(*b, true));
    EXPECT_NE(IdOf(*a, false), IdOf(*Made("e"), false));
    const GUID before = IdOf(*a, false);
    a->id = before;
    EXPECT_EQ(IdOf(*a, false), before);
    a->block3[7]++;
    EXPECT_NE(IdOf(*a, false), before);

    const uint8_t mark[] = {1, 2, 3, 4, 5, 6, 0x10, 0x10, 0x80, 0, 0, 0x11, 0, 0, 0, 0};
    std::memcpy(&b->id, mark, sizeof mark);
    EXPECT_TRUE(QmFio_IsUpliftedV1Template(b.get()));
    b->id.Data4[7] = 1;
    EXPECT_FALSE(QmFio_IsUpliftedV1Template(b.get()));
    b->id.Data4[7] = 0;
    b->version++;
    EXPECT_FALSE(QmFio_IsUpliftedV1Template(b.get()));
}

TEST(Template, TellsItsParts) {
    const Owned t = Made();
    uint32_t value = 0, rate = 0;
    struct Row {
        uint32_t which, mask;
        HRESULT result;
        uint32_t value;
    };
    for (const Row& row : {Row{13, 1, S_OK, 16},
                           {14, 1, S_OK, 2},
                           {FIO_TEMPLATE_RATE, 3, S_OK, 44100},
                           {13, 2, S_FALSE, 0},
                           {27, 1, S_OK, 0},
                           {1, 1, E_INVALIDARG, 0},
                           {28, 1, E_INVALIDARG, 0}}) {
        value = 0;
        EXPECT_EQ(QmFio_GetTemplateInfo(t.get(), row.mask, &value, 4, row.which), row.result) << row.which;
        EXPECT_EQ(value, row.value) << row.which;
    }
    EXPECT_EQ(QmFio_GetTemplateInfo(nullptr, 1, &value, 4, 13), E_INVALIDARG);
    EXPECT_EQ(QmFio_GetTemplateBitrate(t.get(), 1, &rate), S_OK);
    EXPECT_EQ(rate, 44100u * 32);
    t->audio.format.size = t->audio.format.extraSize = UINT16_MAX;  // nothing is read by it
    char16_t text[64];
    ASSERT_EQ(QmFio_GetTemplateInfoText(t.get(), text, 64), S_OK);
    EXPECT_EQ(std::u16string_view(text), u"Audio: 44,100 Hz, 16 Bit, Stereo, PCM");
    EXPECT_EQ(QmFio_GetTemplateInfoText(t.get(), text, 5), MEDIA_E_NO_ROOM);
    t->audio.streams = 0;
    EXPECT_EQ(QmFio_GetTemplateInfo(t.get(), 1, &value, 4, 13), S_FALSE);
}

class ListOf {
public:
    ListOf() {
        HQMLIST list = &m_record;
        QmList_CreateExZ(&list, 0, -1, -1, QMLIST_HEAP | QMLIST_IN_PLACE, 0, 0, 0);
    }
    ~ListOf() { QmList_Destroy(&m_record); }
    HQMLIST Get() { return &m_record; }

private:
    tQMLIST m_record{};
};

TEST(TemplateStream, GoesThereAndBackAndIsCutAnywhere) {
    ListOf list, read;
    const Owned made[] = {Made(), Made(std::string(100, 'x'), u"", u"n")};
    for (const Owned& t : made) QmList_AllocAndInsertItem(list.Get(), t.get(), t->size, -1, nullptr);
    ComPtr<IStream> stream;
    ASSERT_EQ(QmFio_MakeTemplateListIStream(list.Get(), stream.Out()), S_OK);
    ASSERT_EQ(QmFio_AddTemplatesToListFromIStream(read.Get(), stream.Get()), S_OK);
    ASSERT_EQ(read.Get()->count, 2);
    for (size_t i = 0; i < 2; i++)
        EXPECT_EQ(BytesOf(*QmList_Pointers<tagQMTEMPLATExV2>(read.Get())[i]), BytesOf(*made[i]));
    uint64_t whole = 0;
    ASSERT_EQ(stream->Seek(0, STREAM_SEEK_CUR, &whole), S_OK);
    EXPECT_EQ(whole, 12u + made[0]->size + made[1]->size);
    const auto cut = [&](uint64_t size) {
        ComPtr<IStream> again, copy;
        *copy.Out() = CreateMemoryStream();
        EXPECT_EQ(stream->Clone(again.Out()), S_OK);
        EXPECT_EQ(again->Seek(0, STREAM_SEEK_SET, nullptr), S_OK);
        EXPECT_EQ(again->CopyTo(copy.Get(), size, nullptr, nullptr), S_OK);
        return copy;
    };
    for (uint64_t size = 0; size < whole; size++) {
        ListOf part;
        const uint64_t second = 12u + made[0]->size;
        const bool isHead = size < 16 || (size >= second && size < second + 4);
        ASSERT_EQ(QmFio_AddTemplatesToListFromIStream(part.Get(), cut(size).Get()),
                  isHead ? E_FAIL : MEDIA_E_UNKNOWN_FORMAT)
            << size;
        ASSERT_EQ(part.Get()->count, size >= second ? 1 : 0);
    }
    stream = cut(whole);
    const auto with = [&](uint32_t at, uint32_t value) {
        stream->Seek(at, STREAM_SEEK_SET, nullptr);
        stream->Write(&value, sizeof value, nullptr);
        ListOf none;
        const HRESULT hr = QmFio_AddTemplatesToListFromIStream(none.Get(), stream.Get());
        EXPECT_EQ(none.Get()->count, 0);
        return hr;
    };
    EXPECT_EQ(with(12, 535), MEDIA_E_UNKNOWN_FORMAT);
    EXPECT_EQ(with(12, UINT32_MAX), MEDIA_E_UNKNOWN_FORMAT);
    EXPECT_EQ(with(8, UINT32_MAX), S_OK);
    EXPECT_EQ(with(8, 0), S_OK);
    EXPECT_EQ(QmFio_AddTemplatesToListFromIStream(nullptr, stream.Get()), E_POINTER);
}

using TemplatesOfRenderers = FileManagerTest;

TEST_F(TemplatesOfRenderers, TheUsersAreKeptBesideThePresets) {
    StartOwn();
    tagQMTEMPLATExV2* preset = nullptr;
    ASSERT_EQ(QmFio_GetTemplateByName(manager.Get(), &RENDERER, u"44,100 Hz, 16 Bit, Stereo", &preset), S_OK);
    const Owned owned(preset);
    EXPECT_TRUE(QmFio_IsTemplateAPreset(manager.Get(), preset));
    EXPECT_EQ(QmFio_SaveUserTemplate(manager.Get(), preset), E_INVALIDARG);
    tagQMTEMPLATExV2* mine = nullptr;
    const char16_t* const name = u"../mine: 50% \u00e4";
    ASSERT_EQ(QmFio_MakeTemplate(&mine, FIO_TEMPLATE_V2, preset, FIO_TEMPLATE_AUDIO, 0, name, u""), S_OK);
    const Owned ownedMine(mine);
    ASSERT_EQ(QmFio_SaveUserTemplate(manager.Get(), mine), S_OK);
    ASSERT_EQ(QmFio_SaveUserTemplate(manager.Get(), mine), S_OK);
    // What lies there and is none, or another renderer's, is not listed.
    const auto folder = std::filesystem::path(Path("XDG_DATA_HOME/Tarn/Render Templates")) /
                        "{2F6E4B11-94C7-4B0D-8E1A-6A0B5D3C9E01}";
    Make("junk", {1, 2, 3});
    std::filesystem::copy_file(Path("junk"), folder / "junk.tarn-template");
    mine->renderer.Data1++;
    ASSERT_EQ(QmFio_SaveTemplateData(mine, WideFromPath(folder / "other.tarn-template").c_str()), S_OK);

    ListOf all, none;
    ASSERT_EQ(QmFio_GetTemplateList(manager.Get(), &RENDERER, all.Get()), S_OK);
    const auto templates = QmList_Pointers<tagQMTEMPLATExV2>(all.Get());
    EXPECT_EQ(TemplateName(*templates.back()), name);
    EXPECT_EQ(std::ranges::count_if(templates, [&](auto* t) { return TemplateName(*t) == name; }), 1);
    tagQMTEMPLATExV2* found = nullptr;
    ASSERT_EQ(QmFio_GetTemplateByGuid(manager.Get(), &RENDERER, &templates.back()->id, &found), S_OK);
    const Owned ownedFound(found);
    EXPECT_EQ(TemplateName(*found), name);
    EXPECT_EQ(QmFio_GetFilteredTemplateList(manager.Get(), &RENDERER, none.Get(), FIO_TEMPLATE_VIDEO, nullptr,
                                            0, 1),
              S_OK);
    EXPECT_EQ(none.Get()->count, 0);
    ASSERT_EQ(QmFio_GetFilteredTemplateList(
                  manager.Get(), &RENDERER, none.Get(), FIO_TEMPLATE_AUDIO,
                  [](uintptr_t, const tagQMTEMPLATExV2* t) -> BOOL { return t->audio.format.channels == 6; },
                  0, 1),
              S_OK);
    EXPECT_EQ(none.Get()->count, 1);

    ASSERT_EQ(QmFio_SaveAppLastUsedTemplate(manager.Get(), found), S_OK);
    ASSERT_EQ(QmFio_DeleteUserTemplate(&RENDERER, name), S_OK);
    EXPECT_EQ(QmFio_DeleteUserTemplate(&RENDERER, name), MEDIA_E_NOT_FOUND);
    StartOwn();
    tagQMTEMPLATExV2* last = nullptr;
    ASSERT_EQ(QmFio_LoadAppLastUsedTemplate(manager.Get(), &last), S_OK);
    const Owned ownedLast(last);
    EXPECT_EQ(BytesOf(*last), BytesOf(*found));
    ASSERT_EQ(QmFio_DeleteAppLastUsedTemplate(manager.Get()), S_OK);
    EXPECT_EQ(QmFio_LoadAppLastUsedTemplate(manager.Get(), &last), MEDIA_E_NOT_FOUND);
    FIOTEMPLATECACHE* cache = nullptr;
    ASSERT_EQ(QmFio_CreatePrivateTemplateCache(manager.Get(), &RENDERER, &cache), S_OK);
    EXPECT_EQ(QmFio_GetTemplateByNameNoCopy(cache, name), nullptr);
    EXPECT_NE(QmFio_GetTemplateByNameNoCopy(cache, u"16 Bit, as the source"), nullptr);
    QmFio_FreeTemplateCache(cache);
}

TEST_F(TemplatesOfRenderers, OfTheFirstVersionAreReadAndUplifted) {
    StartOwn();
    tagQMTEMPLATEV1 head{};
    head.version = FIO_TEMPLATE_V1;
    head.identifier[1] = 7;
    head.renderer = RENDERER;
    head.format.Init(44100, QMSAMPLE_PCM16, 2, 0, sizeof head.format);
    head.bitRate = 96000;
    head.dataSize = 5;
    head.textChars = 8;
    head.size = sizeof head + 8 + 16;
    Bytes bytes(head.size);
    std::memcpy(bytes.data(), &head, sizeof head);
    std::memcpy(&bytes[sizeof head], "settn", 5);
    std::memcpy(&bytes[sizeof head + 8], u"Old\0New", 16);
    const auto load = [&](const Bytes& from, uint32_t size, bool hasSize, tagQMTEMPLATEV1** out) {
        ComPtr<IStream> stream;
        *stream.Out() = CreateMemoryStream();
        stream->Write(from.data(), static_cast<uint32_t>(from.size()), nullptr);
        stream->Seek(hasSize ? 4 : 0, STREAM_SEEK_SET, nullptr);
        return QmFio_LoadTemplateDataV1(out, stream.Get(), size, hasSize);
    };
    for (const bool hasSize : {false, true}) {
        tagQMTEMPLATEV1* old = nullptr;
        ASSERT_EQ(load(bytes, head.size, hasSize, &old), S_OK);
        tagQMTEMPLATExV2* made = nullptr;
        ASSERT_EQ(QmFio_UpliftTemplateV1(&made, old), S_OK);
        CoTaskMemFree(old);
        const Owned owned(made);
        EXPECT_TRUE(QmFio_IsUpliftedV1Template(made));
        EXPECT_EQ(TemplateName(*made), u"Old");
        EXPECT_EQ(TemplateNotes(*made), u"New");
        EXPECT_EQ(std::string(made->Data(), made->Data() + made->dataSize), "settn");
        EXPECT_EQ(made->audio.format.sampleRate, 44100u);
        EXPECT_EQ(made->audio.bitRate, 96000u);
        EXPECT_EQ(made->identifier[1], 7u);
    }
    // A number that cannot be, or an end that comes too early.
    tagQMTEMPLATEV1* none = nullptr;
    for (const size_t at : {offsetof(tagQMTEMPLATEV1, size), offsetof(tagQMTEMPLATEV1, version),
                            offsetof(tagQMTEMPLATEV1, textChars), offsetof(tagQMTEMPLATEV1, dataSize)})
        for (const uint32_t value : {uint32_t{200}, UINT32_MAX}) {
            Bytes bad = bytes;
            std::memcpy(&bad[at], &value, sizeof value);
            EXPECT_EQ(load(bad, head.size, false, &none), MEDIA_E_UNKNOWN_FORMAT) << at;
        }
    EXPECT_EQ(load(bytes, head.size + 1, false, &none), MEDIA_E_READ);
    EXPECT_EQ(load(bytes, sizeof head - 1, false, &none), MEDIA_E_UNKNOWN_FORMAT);
    // And one that lies in the user's folder for long.
    bytes.resize(600);
    Make("old", bytes);
    tagQMTEMPLATExV2* made = nullptr;
    ASSERT_EQ(QmFio_LoadRawUserTemplate(&RENDERER, WidePath("old").c_str(), &made), S_OK);
    EXPECT_TRUE(QmFio_IsUpliftedV1Template(Owned(made).get()));
}

HRESULT Rename(uintptr_t answer, IQmRenderFileClass*, tagQMTEMPLATExV2** settings) {
    if (answer == 1) (*settings)->audio.streams = 9;
    if (answer != 2) return S_OK;
    return S_FALSE;
}

TEST_F(TemplatesOfRenderers, AreChangedByTheProgramsEditor) {
    StartOwn();
    tagQMTEMPLATExV2* settings = nullptr;
    EXPECT_EQ(manager->EditTemplate(RENDERER, &settings), E_NOTIMPL);
    const std::pair<uintptr_t, HRESULT> answers[] = {{0, S_OK}, {1, MEDIA_E_BAD_TEMPLATE}, {2, S_FALSE}};
    for (const auto& [answer, result] : answers) {
        manager->SetTemplateEditor(Rename, answer);
        const tagQMTEMPLATExV2* before = settings;
        EXPECT_EQ(manager->EditTemplate(RENDERER, &settings), result);
        EXPECT_EQ(settings != before, result == S_OK);
    }
    EXPECT_EQ(TemplateName(*settings), u"Default Template");
    settings->renderer = GUID{};
    EXPECT_EQ(manager->EditTemplate(RENDERER, &settings), MEDIA_E_BAD_TEMPLATE);
    CoTaskMemFree(settings);
}

}  // namespace
