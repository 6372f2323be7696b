// The RIFF functions over a file and over memory, with the same tests.
#include "mediafile/byte_order.h"
#include "mediafile/mriff.h"
#include "mediafile/riff.h"
#include "platform/memory.h"
#include "tests/mediafile/media_support.h"

#include <cstring>

using namespace tarn;

namespace {

constexpr uint32_t AAAA = FourCC("aaaa"), BBBB = FourCC("bbbb"), CCCC = FourCC("cccc"), INFO = FourCC("INFO"),
                   INAM = FourCC("INAM");

/// The same calls for both families.
struct OverFile {
    OwnedHandle handle;
    HQMFILE h;
#define FORWARD(NAME)                                                                                        \
    template <class... A>                                                                                    \
    auto NAME(A... a) {                                                                                      \
        return riff_##NAME(h, a...);                                                                         \
    }
#include "tests/mediafile/riff_calls.h"
#undef FORWARD
    void Seek(int64_t at) { QmFile_Seek(h, at, FILE_FROM_START); }
    int64_t Tell() { return QmFile_Tell(h); }
    Bytes All() {
        Bytes bytes(static_cast<size_t>(QmFile_Size(h)));
        Seek(0);
        QmFile_Read(h, bytes.data(), static_cast<uint32_t>(bytes.size()), nullptr);
        return bytes;
    }
};
struct OverMemory {
    std::shared_ptr<Bytes> room;
    MRIFF record;
    MRIFF* h = &record;
#define FORWARD(NAME)                                                                                        \
    template <class... A>                                                                                    \
    auto NAME(A... a) {                                                                                      \
        return mriff_##NAME(&record, a...);                                                                  \
    }
#include "tests/mediafile/riff_calls.h"
#undef FORWARD
    void Seek(int64_t at) { mriff_QmSetFilePointer(&record, at, 0); }
    int64_t Tell() { return record.current - record.start; }
    Bytes All() { return {record.start, record.end}; }
};

template <class Family>
class RiffFamily : public MediaTest {
protected:
    Family On(const Bytes& bytes) {
        if constexpr (std::is_same_v<Family, OverFile>) {
            OwnedHandle handle = Make("x.riff", bytes);
            HQMFILE h = handle.get();
            return {std::move(handle), h};
        } else {
            OverMemory over{std::make_shared<Bytes>(bytes), {}};
            over.room->resize(bytes.size() + 4096);
            mriff_Init(&over.record, over.room->data(), static_cast<uint32_t>(bytes.size()),
                       static_cast<uint32_t>(over.room->size()));
            return over;
        }
    }

    // A form of an odd chunk, a list, and one more.
    const Bytes sample = [] {
        const Bytes items =
            Builder().Text("INFO").Chunk("INAM", {'H', 'i', 0}).Chunk("IART", {'M', 'e'}).bytes;
        return WaveForm(Builder()
                            .Chunk("aaaa", {1, 2, 3})
                            .Chunk("LIST", {'x', 'x', 'x', 'x', 9, 9})
                            .Chunk("LIST", items)
                            .Chunk("bbbb", {4, 5})
                            .bytes);
    }();
};
using Families = testing::Types<OverFile, OverMemory>;
TYPED_TEST_SUITE(RiffFamily, Families);

TYPED_TEST(RiffFamily, FindsWithinItsBound) {
    auto f = this->On(this->sample);
    uint32_t size = 0, left = 0, form = 0;
    ASSERT_EQ(f.ReadFileID(&left, &form), S_OK);
    EXPECT_EQ(form, FourCC("WAVE"));
    EXPECT_EQ(left, this->sample.size() - 12);
    ASSERT_EQ(f.FindChunkHeader(BBBB, &size, &left), S_OK);
    EXPECT_EQ(size, 2u);
    EXPECT_EQ(left, 2u);
    f.SeekDataStart();
    left = static_cast<uint32_t>(this->sample.size() - 12);
    EXPECT_EQ(f.FindChunkHeader(CCCC, &size, &left), MEDIA_E_NOT_FOUND);
    EXPECT_EQ(left, 0u);
    f.SeekDataStart();
    EXPECT_EQ(f.FindChunkHeader(CCCC, &size, nullptr), MEDIA_E_READ)
        << "without a bound the end of the file is one";
    EXPECT_EQ(f.FindChunkHeaderInRIFF(BBBB, &size, &left), S_OK);
    EXPECT_EQ(f.FindListChunkFromStart(INFO, &size), S_OK);
    EXPECT_EQ(size, 12u + 10);
    EXPECT_EQ(f.FindListChunkFromStart(CCCC, &size), MEDIA_E_NOT_FOUND);
    // Sizes beyond everything end the search.
    Bytes wild = this->sample;
    ToLittleEndian<uint32_t>(wild.data() + 16, 0xFFFFFFFF);
    auto w = this->On(wild);
    EXPECT_EQ(w.FindChunkHeaderInRIFF(BBBB, &size, &left), MEDIA_E_NOT_FOUND);
    EXPECT_EQ(left, 0u);
}

TYPED_TEST(RiffFamily, CountsAndStepsOverEntries) {
    auto f = this->On(this->sample);
    f.SeekDataStart();
    uint32_t count = 0, left = static_cast<uint32_t>(this->sample.size() - 12), id = 0, size = 0;
    ASSERT_EQ(f.GetNumListEntries(&count, &left), S_OK);
    EXPECT_EQ(count, 4u);
    EXPECT_EQ(f.Tell(), 12);
    ASSERT_EQ(f.SeekListEntry(3u, &left), S_OK);
    ASSERT_EQ(f.ReadChunkHeader(&id, &size), S_OK);
    EXPECT_EQ(id, BBBB);
    f.SeekDataStart();
    left = static_cast<uint32_t>(this->sample.size() - 12);
    EXPECT_EQ(f.SeekListEntry(5u, &left), MEDIA_E_NOT_FOUND);
}

TYPED_TEST(RiffFamily, ReadsWithPads) {
    auto f = this->On(this->sample);
    uint32_t size = 0;
    uint8_t buffer[8] = {};
    ASSERT_EQ(f.FindChunkHeaderInRIFF(AAAA, &size, nullptr), S_OK);
    ASSERT_EQ(f.ReadData(buffer, 3u), S_OK);
    EXPECT_EQ(buffer[2], 3);
    EXPECT_EQ(f.Tell(), 24);
    f.Seek(20);
    ASSERT_EQ(f.ReadDataBounded(buffer, 1u, 3u), S_OK);
    EXPECT_EQ(f.Tell(), 22) << "one byte, and the pad of three";
    f.Seek(20);
    RIFFDATABLOCK block{3, nullptr};
    ASSERT_EQ(f.ReadDataAlloc(&block), S_OK);
    EXPECT_EQ(static_cast<uint8_t*>(block.data)[0], 1);
    MemFree(block.data);
    block = {0x7FFFFFFF, nullptr};
    EXPECT_EQ(f.ReadDataAlloc(&block), MEDIA_E_READ) << "and no such memory is asked for";
    EXPECT_EQ(block.data, nullptr);
    block.size = 0;
    EXPECT_EQ(f.ReadDataAlloc(&block), S_OK);
    uint32_t type = 0;
    f.SeekDataStart();
    EXPECT_EQ(f.ReadListHeader(&type, &size), MEDIA_E_NO_LIST);
    ASSERT_EQ(f.ReadListHeader(&type, &size), MEDIA_E_NO_LIST);
    auto none = this->On(Bytes(20));
    EXPECT_EQ(none.ReadFileID(&size, &type), MEDIA_E_NO_RIFF);
    EXPECT_EQ(none.GetFileSize(&size), MEDIA_E_NO_RIFF);
    auto tiny = this->On(Bytes(3));
    EXPECT_EQ(tiny.ReadFileID(&size, &type), MEDIA_E_READ);
}

TYPED_TEST(RiffFamily, WritesWhatItReads) {
    auto f = this->On({});
    uint32_t written = 0, size = 0, type = 0;
    ASSERT_EQ(f.WriteFileID(FourCC("WAVE"), 4u), S_OK);
    ASSERT_EQ(f.WriteChunk(AAAA, static_cast<const void*>("xyz"), 3u, &written), S_OK);
    EXPECT_EQ(written, 12u);
    ASSERT_EQ(f.WriteListHeader(INFO, 4u), S_OK);
    ASSERT_EQ(f.UpdateRIFFSize(int64_t{24}), S_OK);
    EXPECT_EQ(f.Tell(), 36);
    EXPECT_EQ(f.All(), Builder()
                           .Text("RIFF")
                           .Little(28u)
                           .Text("WAVE")
                           .Chunk("aaaa", {'x', 'y', 'z'})
                           .Text("LIST")
                           .Little(4u)
                           .Text("INFO")
                           .bytes);
    ASSERT_EQ(f.GetFileSize(&size), S_OK);
    EXPECT_EQ(size, 32u);
    ASSERT_EQ(f.FindListChunkFromStart(INFO, &size), S_OK);
    EXPECT_EQ(size, 0u);
    ASSERT_EQ(f.SetRIFFSize(7u), S_OK);
    f.Seek(0);
    ASSERT_EQ(f.ReadFileID(&size, &type), S_OK);
    EXPECT_EQ(size, 3u);
}

TYPED_TEST(RiffFamily, DeletesChunksAndLists) {
    for (const bool isList : {false, true}) {
        auto f = this->On(this->sample);
        uint32_t removed = 0;
        ASSERT_EQ(f.DeleteChunk(isList ? INFO : AAAA, &removed, BOOL{isList}), S_OK);
        Bytes expected = this->sample;
        const size_t from = isList ? 38 : 12, amount = isList ? 34 : 12;
        EXPECT_EQ(removed, amount);
        expected.erase(expected.begin() + static_cast<ptrdiff_t>(from),
                       expected.begin() + static_cast<ptrdiff_t>(from + amount));
        ToLittleEndian(expected.data() + 4, static_cast<uint32_t>(expected.size() - 8));
        EXPECT_EQ(f.All(), expected);
        EXPECT_EQ(f.DeleteChunk(CCCC, &removed, BOOL{isList}), MEDIA_E_NOT_FOUND);
    }
}

TYPED_TEST(RiffFamily, TextsInWindows1252) {
    auto f = this->On({});
    uint32_t written = 0;
    ASSERT_EQ(f.WriteANSIString(u"Gr\u00fc\u00df", &written), S_OK);
    EXPECT_EQ(written, 6u) << "five with the terminator, and a pad";
    ASSERT_EQ(f.WriteANSIString(static_cast<const char16_t*>(nullptr), &written), S_OK);
    EXPECT_EQ(written, 2u);
    f.Seek(0);
    char16_t text[10];
    uint32_t size = 5;
    ASSERT_EQ(f.ReadANSIString(text, 10u, &size), S_OK);
    EXPECT_EQ(std::u16string(text), u"Gr\u00fc\u00df");
    EXPECT_EQ(size, 6u);
    EXPECT_EQ(f.Tell(), 6);
    f.Seek(0);
    size = 5;
    ASSERT_EQ(f.ReadANSIString(text, 3u, &size), S_OK);
    EXPECT_EQ(std::u16string(text), u"Gr");
    EXPECT_EQ(f.Tell(), 6);
    EXPECT_EQ(f.ReadANSIString(static_cast<char16_t*>(nullptr), 3u, &size), E_INVALIDARG);
}

TYPED_TEST(RiffFamily, SizeThatGrowsTooLargeCutsTheFile) {
    Bytes bytes = this->sample;
    ToLittleEndian<uint32_t>(bytes.data() + 4, 20);
    auto f = this->On(bytes);
    f.Seek(5);
    EXPECT_EQ(f.UpdateRIFFSize(int64_t{0xFFFFFFF7} - 20), S_OK);
    EXPECT_EQ(f.UpdateRIFFSize(int64_t{20} - 0xFFFFFFF7), S_OK);
    EXPECT_EQ(f.UpdateRIFFSize(int64_t{0xFFFFFFF8} - 20), MEDIA_E_TOO_LARGE);
    EXPECT_EQ(f.Tell(), 5);
    EXPECT_EQ(f.All().size(), 28u);
    EXPECT_EQ(f.UpdateRIFFSize(INT64_MIN), S_OK);
}

TEST(Riff, ValidatesHeaders) {
    EXPECT_EQ(riff_ValidateChunkHeader(0, 0x80000000), MEDIA_E_MALFORMED);
    EXPECT_EQ(riff_ValidateChunkHeader(0, 0), MEDIA_E_EMPTY_CHUNK);
    EXPECT_EQ(riff_ValidateChunkHeader(0, 0x7FFFFFFF), S_OK);
}

TEST(Mriff, StaysInItsMemory) {
    uint8_t memory[16] = {1, 2, 3, 4}, out[10] = {};
    MRIFF m;
    EXPECT_EQ(mriff_Init(nullptr, memory, 4, 16), E_POINTER);
    EXPECT_EQ(mriff_Init(&m, memory, 17, 16), E_INVALIDARG);
    ASSERT_EQ(mriff_Init(&m, memory, 4, 16), S_OK);
    uint32_t count = 0;
    EXPECT_FALSE(mriff_ReadFile(&m, out, 10, &count));
    EXPECT_EQ(count, 4u);
    EXPECT_EQ(out[3], 4);
    EXPECT_EQ(mriff_SetFilePointer(&m, -5, nullptr, 0), 0u);
    EXPECT_EQ(mriff_SetFilePointer(&m, 100, nullptr, 1), 4u);
    EXPECT_EQ(mriff_SetFilePointer(&m, -1, nullptr, 2), 3u);
    EXPECT_EQ(mriff_SetFilePointer(&m, 1, nullptr, 3), 3u);
    EXPECT_EQ(mriff_QmSetFilePointer(&m, INT64_MAX, 1), 4u);
    EXPECT_EQ(mriff_QmSetFilePointer(&m, INT64_MIN, 2), 0u);
    EXPECT_TRUE(mriff_WriteFile(&m, out, 6, &count));
    EXPECT_EQ(m.end - m.start, 6);
    EXPECT_EQ(mriff_UpdateDataSize(&m, 3), 3u);
    EXPECT_EQ(mriff_UpdateDataSize(&m, 100), 7u);
    mriff_SetFilePointer(&m, 0, nullptr, 2);
    EXPECT_TRUE(mriff_WriteFile(&m, out, 6, &count));
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(mriff_WriteChunkHeader(&m, 1, 2), MEDIA_E_WRITE);
}

TEST(Mriff, WaveHeaders) {
    uint8_t memory[64] = {};
    MRIFF m;
    mriff_Init(&m, memory, 0, sizeof memory);
    WAVEFORMATEX wfx, read;
    QmAudio_InitWfx(&wfx, 48000, QMSAMPLE_PCM24, 2);
    ASSERT_EQ(mriff_WriteWaveHeader(&m, &wfx, 5, 8), S_OK);
    EXPECT_EQ(Bytes(m.start, m.end), Builder()
                                         .Text("RIFF")
                                         .Little(16u + 5 + 8 + 20 + 1)
                                         .Text("WAVEfmt ")
                                         .Little(16u)
                                         .Raw(PcmFormat(2, 48000, 24).data(), 16)
                                         .Text("data")
                                         .Little(5u)
                                         .bytes);
    uint32_t dataBytes = 0;
    ASSERT_EQ(mriff_GetWfx(&read, memory, 44, &dataBytes), S_OK);
    EXPECT_EQ(dataBytes, 5u);
    EXPECT_EQ(std::memcmp(&read, &wfx, 18), 0);
    EXPECT_EQ(mriff_GetWfx(&read, memory, 40, &dataBytes), MEDIA_E_NOT_FOUND);
    memory[8] = 'X';
    EXPECT_EQ(mriff_GetWfx(&read, memory, 44, &dataBytes), E_FAIL);
    memory[0] = 'X';
    EXPECT_EQ(mriff_GetWfx(&read, memory, 44, &dataBytes), MEDIA_E_NO_RIFF);
    QmAudio_InitWfx(&wfx, 48000, QMSAMPLE_FLOAT32, 2);
    mriff_Init(&m, memory, 0, 30);
    EXPECT_EQ(mriff_WriteWaveHeader(&m, &wfx, 0, 0), MEDIA_E_WRITE);
    EXPECT_EQ(mriff_WriteWaveHeader(&m, &wfx, 0xFFFFFF00, 0xFFFFFF00), MEDIA_E_TOO_LARGE);
}

TEST(Mriff, InfoStrings) {
    Bytes bytes = Builder().Chunk("LIST", Builder().Text("INFO").Chunk("INAM", {'H', 'i', 0}).bytes).bytes;
    MRIFF m;
    mriff_Init(&m, bytes.data(), static_cast<uint32_t>(bytes.size()), static_cast<uint32_t>(bytes.size()));
    char text[8] = {};
    auto left = static_cast<uint32_t>(bytes.size());
    ASSERT_EQ(mriff_GetInfoString(&m, INAM, text, 8, &left), S_OK);
    EXPECT_STREQ(text, "Hi");
    EXPECT_EQ(m.current, m.start);
    EXPECT_EQ(mriff_GetInfoString(&m, AAAA, text, 8, &left), MEDIA_E_NOT_FOUND);
}

class RiffFiles : public MediaTest {};

TEST_F(RiffFiles, AScanOfManyChunksIsFewSystemCalls) {
    constexpr int CHUNKS = 100000;
    Builder chunks;
    for (int i = 0; i < CHUNKS; i++) chunks.Chunk("aaaa", {1, 2, 3});
    chunks.Chunk("bbbb", {});
    const OwnedHandle file = Make("many.wav", WaveForm(chunks.bytes));
    uint32_t size = 0;
    const uint64_t before = QmFile_SystemCalls(file.get());
    ASSERT_EQ(riff_FindChunkHeaderInRIFF(file.get(), BBBB, &size, nullptr), S_OK);
    EXPECT_LT(QmFile_SystemCalls(file.get()) - before, 500u);
}

TEST_F(RiffFiles, CdShortcuts) {
    const Bytes body = Builder()
                           .Little(uint16_t{1})
                           .Little(uint16_t{7})
                           .Little(0x12345678u)
                           .Little(1000u)
                           .Little(2000u)
                           .Raw("\x05\x06\x02\x00\x01\x02\x03\x00", 8)
                           .bytes;
    Bytes file = WaveForm(Builder().Chunk("fmt ", body).bytes);
    std::memcpy(file.data() + 8, "CDDA", 4);
    Make("7.cda", file);
    uint32_t track = 0, sector = 0, frames = 0, count = 0, serial = 0;
    ASSERT_EQ(riff_ReadCDAFile(WidePath("7.cda").c_str(), &track, &sector, &frames, &count, &serial), S_OK);
    EXPECT_EQ(track, 7u);
    EXPECT_EQ(sector, 1000u);
    EXPECT_EQ(frames, (2u * 60 + 6) * 75 + 5);
    EXPECT_EQ(count, 2000u);
    EXPECT_EQ(serial, 0x12345678u);
    Make("bad.cda", WaveForm(Builder().Chunk("fmt ", body).bytes));
    EXPECT_EQ(riff_ReadCDAFile(WidePath("bad.cda").c_str(), &track, &sector, &frames, &count, nullptr),
              MEDIA_E_UNKNOWN_FORMAT);
    EXPECT_EQ(track, 0u);
    EXPECT_EQ(riff_ReadCDAFile(WidePath("none.cda").c_str(), &track, nullptr, nullptr, nullptr, nullptr),
              MEDIA_E_OPEN);
}

}  // namespace
