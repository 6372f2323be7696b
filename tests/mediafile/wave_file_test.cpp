// Whole files: the exact bytes of the writers, headers over reserved room, repair.
#include "mediafile/wave_file.h"

#include "mediafile/media_codes.h"
#include "mediafile/riff64.h"
#include "platform/memory.h"
#include "tests/mediafile/media_support.h"

#include <cstring>
#include <random>

using namespace tarn;

namespace {

WAVEFORMATEX Format(QMSAMPLETYPE type = QMSAMPLE_PCM16, uint32_t channels = 2) {
    WAVEFORMATEX wfx;
    QmAudio_InitWfx(&wfx, 48000, type, channels);
    return wfx;
}

HRESULT InsertHeader(bool is64, HQMFILE file, const WAVEFORMATEX* wfx, uint64_t dataBytes,
                     uint64_t headerBytes) {
    return is64 ? QmInsertW64Header(file, wfx, dataBytes, headerBytes)
                : QmInsertWavHeader(file, wfx, dataBytes, headerBytes);
}

class WaveFiles : public MediaTest {
protected:
    struct Freed {
        void operator()(WAVEFORMATEX* wfx) const { MemFree(wfx); }
    };
    std::unique_ptr<WAVEFORMATEX, Freed> Read(const std::string& name) {
        return std::unique_ptr<WAVEFORMATEX, Freed>(QmGetFileWfx(WidePath(name).c_str(), &frames, &offset));
    }
    /// A file with a header of so many bytes and samples that tell their place.
    void MakeSamples(const std::string& name, size_t header, size_t bytes) {
        Bytes content(header + bytes, 0xCC);
        for (size_t i = 0; i < bytes; i++) content[header + i] = static_cast<uint8_t>(i * 7 + i / 256);
        Make(name, content);
    }
    uint64_t frames = 0, offset = 0;
};

TEST_F(WaveFiles, EmptyFilesByteForByte) {
    WAVEFORMATEX wfx = Format();
    ASSERT_EQ(QmInitializeWav(WidePath("a.wav").c_str(), &wfx, FILE_CREATE_NEW), S_OK);
    EXPECT_EQ(Content("a.wav"), Builder()
                                    .Text("RIFF")
                                    .Little(38u)
                                    .Text("WAVEfmt ")
                                    .Little(18u)
                                    .Raw(&wfx, 18)
                                    .Text("data")
                                    .Little(0u)
                                    .bytes);
    ASSERT_EQ(QmInitializeWav64(WidePath("a.w64").c_str(), &wfx, FILE_CREATE_NEW), S_OK);
    const Bytes empty64 = Builder()
                              .Raw(&W64_RIFF, 16)
                              .Little(uint64_t{130})
                              .Raw(&W64_WAVE, 16)
                              .Raw(&W64_FMT, 16)
                              .Little(uint64_t{42})
                              .Raw(&wfx, 18)
                              .Zeros(6)
                              .Raw(&W64_DATA, 16)
                              .Little(uint64_t{24})
                              .bytes;
    EXPECT_EQ(Content("a.w64"), empty64);
    ASSERT_EQ(empty64.size(), 112u);
    ASSERT_EQ(QmInitializeWavWithJunk(WidePath("j.wav").c_str(), &wfx, FILE_CREATE_NEW, 53), S_OK);
    EXPECT_EQ(Content("j.wav"), Builder()
                                    .Text("RIFF")
                                    .Little(46u)
                                    .Text("WAVEfmt ")
                                    .Little(18u)
                                    .Raw(&wfx, 18)
                                    .Text("JUNK")
                                    .Little(0u)
                                    .Text("data")
                                    .Little(0u)
                                    .bytes);
    ASSERT_EQ(QmInitializeWav64WithJunk(WidePath("j.w64").c_str(), &wfx, FILE_CREATE_NEW, 3001), S_OK);
    const Bytes junk64 = Content("j.w64");
    ASSERT_EQ(junk64.size(), 3008u);
    uint64_t stored = 0;
    std::memcpy(&stored, &junk64[16], 8);
    EXPECT_EQ(stored, 3008u + 24);
    EXPECT_EQ(std::memcmp(&junk64[88], &W64_JUNK, 16), 0);
    std::memcpy(&stored, &junk64[104], 8);
    EXPECT_EQ(stored, 3008u - 112);
    EXPECT_EQ(QmInitializeWavWithJunk(WidePath("j2.wav").c_str(), &wfx, FILE_CREATE_NEW, 52), E_INVALIDARG);
    EXPECT_EQ(QmInitializeWav64WithJunk(WidePath("j2.w64").c_str(), &wfx, FILE_CREATE_NEW, 128),
              E_INVALIDARG);
}

TEST_F(WaveFiles, WhatIsRefusedAndWhatIsEmptied) {
    WAVEFORMATEX wfx = Format();
    MakeSamples("old.wav", 0, 1000);
    ASSERT_EQ(QmInitializeWav(WidePath("old.wav").c_str(), &wfx, FILE_OPEN_EXISTING), S_OK);
    EXPECT_EQ(Content("old.wav").size(), 46u) << "opening an existing file empties it";
    EXPECT_EQ(QmInitializeWav(WidePath("old.wav").c_str(), &wfx, FILE_CREATE_NEW), MEDIA_E_OPEN);
    EXPECT_EQ(QmInitializeWav(WidePath("none.wav").c_str(), &wfx, FILE_OPEN_EXISTING), MEDIA_E_OPEN);
    ASSERT_EQ(QmInitializeWav(WidePath("new.wav").c_str(), &wfx, FILE_OPEN_ALWAYS), S_OK);
    MakeSamples("kept.wav", 0, 10);
    for (const int fault : {0, 1, 2}) {
        WAVEFORMATEX bad = wfx;
        if (fault == 0) bad.wBitsPerSample = 20;
        if (fault == 1) bad.nBlockAlign = 6;
        if (fault == 2) bad.cbSize = 2;
        EXPECT_EQ(QmInitializeWav(WidePath("kept.wav").c_str(), &bad, FILE_CREATE_ALWAYS),
                  MEDIA_E_UNSUPPORTED_TYPE);
    }
    EXPECT_EQ(Content("kept.wav").size(), 10u) << "refused before anything is touched";
    _qmwaveformat format;
    format.Init(96000, QMSAMPLE_FLOAT32, 1, 0, sizeof format);
    ASSERT_EQ(QmInitializeWav(WidePath("f.wav").c_str(), &format, FILE_CREATE_NEW), S_OK);
    EXPECT_TRUE(QmFileIsWave(WidePath("f.wav").c_str(), 0));
    EXPECT_FALSE(QmFileIsWave64(WidePath("f.wav").c_str(), 0));
}

TEST_F(WaveFiles, HeadersOverReservedRoom) {
    const WAVEFORMATEX wfx = Format(QMSAMPLE_PCM24);
    const struct {
        uint64_t header;
        HRESULT result;
        bool is64;
    } rows[] = {{46, S_OK, false},
                {47, MEDIA_E_MALFORMED, false},
                {48, MEDIA_E_MALFORMED, false},
                {44, MEDIA_E_MALFORMED, false},
                {54, S_OK, false},
                {4096, S_OK, false},
                {112, S_OK, true},
                {120, MEDIA_E_MALFORMED, true},
                {136, S_OK, true},
                {140, MEDIA_E_MALFORMED, true},
                {4096, S_OK, true}};
    for (const auto& row : rows) {
        MakeSamples("x", row.header, 6 * 100);
        const Bytes before = Content("x");
        {
            const OwnedHandle file = Open("x");
            QmFile_Seek(file.get(), 77, FILE_FROM_START);
            ASSERT_EQ(InsertHeader(row.is64, file.get(), &wfx, 600, row.header), row.result) << row.header;
            EXPECT_EQ(QmFile_Tell(file.get()), 77);
        }
        if (row.result != S_OK) {
            EXPECT_EQ(Content("x"), before);
            continue;
        }
        const Bytes after = Content("x");
        EXPECT_TRUE(std::equal(before.begin() + static_cast<ptrdiff_t>(row.header), before.end(),
                               after.begin() + static_cast<ptrdiff_t>(row.header)));
        const auto read = Read("x");
        ASSERT_TRUE(read) << row.header;
        EXPECT_EQ(frames, 100u);
        EXPECT_EQ(offset, row.header);
        EXPECT_TRUE(Inspected("x").problems.empty());
    }
    const OwnedHandle file = Open("x");
    EXPECT_EQ(QmInsertWavHeader(file.get(), &wfx, 0xFFFFFFF0, 46), MEDIA_E_TOO_LARGE);
}

TEST_F(WaveFiles, TwentyBitsReadAsTwentyFour) {
    Make("20.wav", WaveForm(Builder()
                                .Chunk("fmt ", Builder()
                                                   .Little(uint16_t{1})
                                                   .Little(uint16_t{2})
                                                   .Little(48000u)
                                                   .Little(0u)
                                                   .Little(uint16_t{4})
                                                   .Little(uint16_t{20})
                                                   .bytes)
                                .Chunk("data", Bytes(60))
                                .bytes));
    const auto wfx = Read("20.wav");
    ASSERT_TRUE(wfx);
    EXPECT_EQ(wfx->wBitsPerSample, 24);
    EXPECT_EQ(wfx->nBlockAlign, 6);
    EXPECT_EQ(frames, 10u);
}

TEST_F(WaveFiles, ValidBitsOfFilesStandAtTheHighEnd) {
    WAVEFORMATEXTENSIBLE ext;
    QmAudio_InitWfxFlex(&ext.Format, WAVE_TAG_PCM, 48000, 32, 2, 0xC, sizeof ext);
    ext.wValidBitsPerSample = 24;
    Make("24.wav",
         WaveForm(
             Builder().Chunk("fmt ", Builder().Raw(&ext, sizeof ext).bytes).Chunk("data", Bytes(80)).bytes));
    EXPECT_EQ(Inspected("24.wav").format.format.sampleType, QMSAMPLE_PCM32);
    EXPECT_TRUE(Inspected("24.wav").problems.empty());
}

TEST_F(WaveFiles, SettingTheFormatOfAWaveUnmakesIt) {
    WAVEFORMATEX wfx = Format();
    ASSERT_EQ(QmInitializeWav(WidePath("a.wav").c_str(), &wfx, FILE_CREATE_NEW), S_OK);
    const Bytes before = Content("a.wav");
    wfx.nSamplesPerSec = 96000;
    ASSERT_EQ(QmSetFileWfx(WidePath("a.wav").c_str(), &wfx), S_OK);
    Bytes expected = Builder().Text("fmt ").Little(18u).Raw(&wfx, 18).bytes;
    expected.insert(expected.end(), before.begin() + 26, before.end());
    EXPECT_EQ(Content("a.wav"), expected);
    MakeSamples("raw", 0, 100);
    EXPECT_EQ(QmSetFileWfx(WidePath("raw").c_str(), &wfx), MEDIA_E_UNKNOWN_FORMAT);
    EXPECT_EQ(QmSetFileWfx(WidePath("none").c_str(), &wfx), MEDIA_E_OPEN);
}

TEST_F(WaveFiles, SamplesWithoutAnyHoldBeginAtTheLimit) {
    const WAVEFORMATEX wfx = Format();
    MakeSamples("none", 0, 10000);
    const OwnedHandle file = Open("none");
    ASSERT_EQ(QmFixTrashedWav(file.get(), &wfx, 1000), S_OK);
    EXPECT_TRUE(Read("none"));
    EXPECT_EQ(offset, 1000u);
    const OwnedHandle tiny = Make("tiny", Bytes(30));
    EXPECT_EQ(QmFixTrashedWav(tiny.get(), &wfx, 1000), MEDIA_E_READ);
}

TEST_F(WaveFiles, FaultsOfOtherParsers) {
    const Bytes fmt = PcmFormat(2, 48000, 16), samples(400, 5);
    const auto with = [&](auto change) {
        Bytes changed = fmt;
        change(changed);
        return WaveForm(Builder().Chunk("fmt ", changed).Chunk("data", samples).bytes);
    };
    const auto sized = [&](size_t at, uint32_t size) {
        Bytes file = WaveForm(Builder().Chunk("fmt ", fmt).Chunk("data", samples).bytes);
        for (size_t i = 0; i < 4; i++) file[at + i] = static_cast<uint8_t>(size >> (8 * i));
        return file;
    };
    const struct {
        const char* name;
        Bytes file;
        const char* problem;
        bool reads;  ///< QmGetFileWfx gives a format
    } rows[] = {
        {"zero block align", with([](Bytes& f) { f[12] = f[13] = 0; }), "frames of 0 bytes", false},
        {"no channels", with([](Bytes& f) { f[2] = f[3] = 0; }), "no channels", false},
        {"65535 channels", with([](Bytes& f) { f[2] = f[3] = 0xFF; }), "frames of 4 bytes", false},
        {"rate of 0", with([](Bytes& f) { std::memset(&f[4], 0, 4); }), "rate of 0", true},
        {"form of 2^32 - 1", sized(4, 0xFFFFFFFF), "the file has", true},
        {"data of 2^32 - 1", sized(40, 0xFFFFFFFF), "are there", true},
        {"data of 2^31", sized(40, 0x80000000), "are there", true},
        {"format of 2^32 - 1", sized(16, 0xFFFFFFFF), "there is no 'data'", false},
        {"format twice",
         WaveForm(Builder().Chunk("fmt ", fmt).Chunk("fmt ", fmt).Chunk("data", samples).bytes),
         "stands twice", true},
        {"samples first", WaveForm(Builder().Chunk("data", samples).Chunk("fmt ", fmt).bytes),
         "before 'fmt '", false},
        {"form in a form",
         WaveForm(Builder().Chunk("RIFF", WaveForm({})).Chunk("fmt ", fmt).Chunk("data", samples).bytes),
         nullptr, true},
        {"empty format", WaveForm(Builder().Chunk("fmt ", {}).Chunk("data", samples).bytes), "too short",
         false},
        {"codec bytes beyond",
         WaveForm(Builder()
                      .Chunk("fmt ", Builder().Raw(fmt.data(), 16).Little(uint16_t{60000}).bytes)
                      .Chunk("data", samples)
                      .bytes),
         "beyond 'fmt '", true},
        {"nothing", {}, "empty", false},
        {"a form's head", Builder().Text("RIFF").bytes, "within its header", false},
    };
    for (const auto& row : rows) {
        Make("x.wav", row.file);
        const MediaContents c = Inspected("x.wav");
        bool told = row.problem == nullptr;
        for (const MediaProblem& p : c.problems) told = told || p.text.find(row.problem) != std::string::npos;
        EXPECT_TRUE(told) << row.name << (c.problems.empty() ? "" : ": " + c.problems[0].text);
        const auto wfx = Read("x.wav");
        EXPECT_EQ(wfx != nullptr, row.reads) << row.name;
        if (wfx) {
            EXPECT_LE(wfx->cbSize, MemSize(wfx.get()) - sizeof(WAVEFORMATEX)) << row.name;
        }
    }
}

TEST_F(WaveFiles, SparseFilesBeyondFourGigabytes) {
    const WAVEFORMATEX wfx = Format();
    constexpr int64_t BYTES = (int64_t{5} << 30) + 112;
    {
        const OwnedHandle file = Make("large.w64", {});
        QmFile_Seek(file.get(), BYTES, FILE_FROM_START);
        ASSERT_TRUE(QmFile_SetEnd(file.get()));
        ASSERT_EQ(QmInsertW64Header(file.get(), &wfx, BYTES - 112, 112), S_OK);
        EXPECT_EQ(QmInsertWavHeader(file.get(), &wfx, BYTES - 46, 46), MEDIA_E_TOO_LARGE);
    }
    ASSERT_TRUE(Read("large.w64"));
    EXPECT_EQ(frames, static_cast<uint64_t>(BYTES - 112) / 4);
    EXPECT_TRUE(Inspected("large.w64").problems.empty());
}

}  // namespace
