#include "mediafile/riff64.h"

#include "platform/memory.h"
#include "tests/mediafile/media_support.h"

#include <cstring>

using namespace tarn;

namespace {

constexpr GUID ONE = tarn::Guid("{00000001-0000-0000-0000-000000000001}"),
               TWO = tarn::Guid("{00000002-0000-0000-0000-000000000002}");

class Riff64 : public MediaTest {
protected:
    /// A form with a chunk of 5, a list of ONE with a chunk in it, and TWO of 8.
    OwnedHandle Sample() {
        OwnedHandle file = Make("x.w64", {});
        HQMFILE h = file.get();
        uint64_t list = 0, written = 0;
        EXPECT_EQ(riff64_WriteFileID(h, &W64_WAVE, 16), S_OK);
        EXPECT_EQ(riff64_WriteChunk(h, &ONE, "abcde", 5, &written), S_OK);
        EXPECT_EQ(written, 32u);
        EXPECT_EQ(riff64_PrepareList(h, &ONE, &list), S_OK);
        EXPECT_EQ(riff64_WriteChunkToFile(h, &TWO, "xyz", 3), S_OK);
        EXPECT_EQ(riff64_CompleteChunk(h, list), S_OK);
        EXPECT_EQ(riff64_WriteChunk(h, &TWO, "12345678", 8, nullptr), S_OK);
        EXPECT_EQ(riff64_SetRIFFSize(h, static_cast<uint64_t>(QmFile_Size(h)) - 24), S_OK);
        return file;
    }
};

TEST_F(Riff64, SizesCountTheirHeaderAndPadsDoNot) {
    const OwnedHandle file = Sample();
    const Bytes bytes = Content("x.w64");
    ASSERT_EQ(bytes.size(), 40u + 32 + 40 + 32 + 32);
    uint64_t stored = 0;
    std::memcpy(&stored, &bytes[16], 8);
    EXPECT_EQ(stored, bytes.size());
    std::memcpy(&stored, &bytes[40 + 16], 8);
    EXPECT_EQ(stored, 24u + 5) << "written at once: without the pad";
    std::memcpy(&stored, &bytes[40 + 32 + 40 + 16], 8);
    EXPECT_EQ(stored, 32u) << "completed later: with it";
    EXPECT_EQ(std::memcmp(&bytes[40], &ONE, 16), 0);
    EXPECT_EQ(bytes[40 + 24 + 5], 0);
}

TEST_F(Riff64, Finds) {
    const OwnedHandle file = Sample();
    HQMFILE h = file.get();
    uint64_t size = 0, left = 0;
    GUID form;
    QmFile_Seek(h, 0, FILE_FROM_START);
    ASSERT_EQ(riff64_ReadFileID(h, &left, &form), S_OK);
    EXPECT_EQ(form, W64_WAVE);
    EXPECT_EQ(left, static_cast<uint64_t>(QmFile_Size(h)) - 40);
    ASSERT_EQ(riff64_FindChunkHeader(h, &TWO, &size, &left), S_OK);
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(left, 8u);
    char text[8];
    ASSERT_EQ(riff64_ReadData(h, text, 8), S_OK);
    EXPECT_EQ(std::memcmp(text, "12345678", 8), 0);
    EXPECT_EQ(riff64_FindChunkHeaderInRIFF(h, &W64_JUNK, &size, &left), MEDIA_E_NOT_FOUND);
    ASSERT_EQ(riff64_FindListChunkFromStart(h, &ONE, &size), S_OK);
    EXPECT_EQ(size, 32u);
    EXPECT_EQ(riff64_FindListChunkFromStart(h, &TWO, &size), MEDIA_E_NOT_FOUND);
    riff64_SeekDataStart(h);
    uint32_t count = 0;
    left = static_cast<uint64_t>(QmFile_Size(h)) - 40;
    ASSERT_EQ(riff64_GetNumListEntries(h, &count, &left), S_OK);
    EXPECT_EQ(count, 3u);
    ASSERT_EQ(riff64_SeekListEntry(h, 3, &left), S_OK);
    EXPECT_EQ(riff64_SeekListEntry(h, 1, &left), MEDIA_E_NOT_FOUND);
    left = uint64_t(-5);
    EXPECT_EQ(riff64_FindChunkHeader(h, &ONE, &size, &left), MEDIA_E_NOT_FOUND)
        << "compared as a signed number";
    EXPECT_EQ(riff64_getGUIDLabel(&W64_DATA), nullptr);
}

TEST_F(Riff64, ReadsOverPads) {
    const OwnedHandle file = Sample();
    HQMFILE h = file.get();
    uint64_t size = 0;
    char text[8];
    ASSERT_EQ(riff64_FindChunkHeaderInRIFF(h, &ONE, &size, nullptr), S_OK);
    ASSERT_EQ(riff64_ReadData(h, text, 5), S_OK);
    EXPECT_EQ(QmFile_Tell(h), 40 + 32);
    QmFile_Seek(h, 64, FILE_FROM_START);
    ASSERT_EQ(riff64_ReadDataBounded(h, text, 5, 5), S_OK);
    EXPECT_EQ(QmFile_Tell(h), 64 + 5 + 5) << "the skip is not the pad";
    QmFile_Seek(h, 64, FILE_FROM_START);
    RIFFDATABLOCK block{5, nullptr};
    ASSERT_EQ(riff64_ReadDataAlloc(h, &block), S_OK);
    EXPECT_EQ(std::memcmp(block.data, "abcde", 5), 0);
    MemFree(block.data);
    GUID type;
    QmFile_Seek(h, 72, FILE_FROM_START);
    ASSERT_EQ(riff64_ReadListHeader(h, &type, &size), S_OK);
    EXPECT_EQ(type, ONE);
    EXPECT_EQ(size, 32u);
    QmFile_Seek(h, 40, FILE_FROM_START);
    EXPECT_EQ(riff64_ReadListHeader(h, &type, &size), MEDIA_E_NO_LIST);
    EXPECT_EQ(riff64_ReadFileID(h, &size, &type), MEDIA_E_NO_RIFF) << "also at the end of the file";
}

TEST_F(Riff64, DeletesAndCounts) {
    const OwnedHandle file = Sample();
    const Bytes before = Content("x.w64");
    uint64_t removed = 0, size = 0;
    ASSERT_EQ(riff64_DeleteChunk(file.get(), &ONE, &removed), S_OK);
    EXPECT_EQ(removed, 32u);
    Bytes expected = before;
    expected.erase(expected.begin() + 40, expected.begin() + 72);
    const uint64_t length = expected.size();
    std::memcpy(&expected[16], &length, 8);
    EXPECT_EQ(Content("x.w64"), expected);
    EXPECT_EQ(riff64_DeleteChunk(file.get(), &ONE, &removed), MEDIA_E_NOT_FOUND);
    ASSERT_EQ(riff64_GetFileSize(file.get(), &size), S_OK);
    EXPECT_EQ(size, length);
    ASSERT_EQ(riff64_UpdateRIFFSize(file.get(), -8), S_OK);
    riff64_GetFileSize(file.get(), &size);
    EXPECT_EQ(size, length - 8);
}

TEST_F(Riff64, ValidatesAndSurvivesWildSizes) {
    EXPECT_EQ(riff64_ValidateChunkHeader(&ONE, 24), S_OK);
    EXPECT_EQ(riff64_ValidateChunkHeader(&ONE, 25), MEDIA_E_MALFORMED);
    EXPECT_EQ(riff64_ValidateChunkHeader(&ONE, 0x800000000), MEDIA_E_MALFORMED);
    EXPECT_EQ(riff64_ValidateChunkHeader(&ONE, 0), MEDIA_E_EMPTY_CHUNK);
    for (const uint64_t wild : {uint64_t{0}, uint64_t{23}, uint64_t{INT64_MAX}, uint64_t{INT64_MAX} - 7,
                                ~uint64_t{0}, uint64_t{1} << 63}) {
        { const OwnedHandle made = Sample(); }
        Bytes bytes = Content("x.w64");
        std::memcpy(&bytes[56], &wild, 8);
        const OwnedHandle file = Make("wild.w64", bytes);
        uint64_t size = 0, left = 0;
        EXPECT_LT(riff64_FindChunkHeaderInRIFF(file.get(), &W64_JUNK, &size, &left), 0) << wild;
        riff64_SeekDataStart(file.get());
        EXPECT_LT(riff64_FindChunkHeader(file.get(), &W64_JUNK, &size, nullptr), 0) << wild;
        EXPECT_LT(riff64_FindListChunkFromStart(file.get(), &W64_JUNK, &size), 0) << wild;
    }
}

TEST_F(Riff64, FilesOfMoreThanFourGigabytes) {
    // Sparse: the samples' chunk of 5 GiB, then one more.
    const OwnedHandle file = Make("large.w64", {});
    HQMFILE h = file.get();
    constexpr uint64_t SAMPLES = uint64_t{5} << 30;
    riff64_WriteFileID(h, &W64_WAVE, 16);
    riff64_WriteChunkHeader(h, &W64_DATA, SAMPLES);
    QmFile_Seek(h, static_cast<int64_t>(SAMPLES), FILE_FROM_CURRENT);
    ASSERT_EQ(riff64_WriteChunk(h, &TWO, "12345678", 8, nullptr), S_OK);
    ASSERT_EQ(riff64_SetRIFFSize(h, static_cast<uint64_t>(QmFile_Size(h)) - 24), S_OK);
    uint64_t size = 0;
    ASSERT_EQ(riff64_FindChunkHeaderInRIFF(h, &TWO, &size, nullptr), S_OK);
    EXPECT_EQ(QmFile_Tell(h), static_cast<int64_t>(SAMPLES) + 64 + 24);
    EXPECT_LT(QmFile_SystemCalls(h), 30u);
}

}  // namespace
