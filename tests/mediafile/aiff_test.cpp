#include "mediafile/aiff.h"

#include "tests/mediafile/media_support.h"

#include <cstring>

using namespace tarn;

namespace {

Builder& IffChunk(Builder& b, const std::string& id, const Bytes& payload) {
    b.Text(id).Big(static_cast<uint32_t>(payload.size())).Raw(payload.data(), payload.size());
    return b.Zeros(payload.size() & 1);
}
Bytes Comm(uint16_t channels, uint32_t frames, uint16_t bits, const std::string& compression = {}) {
    Builder b;
    b.Big(channels)
        .Big(frames)
        .Big(bits)
        .Big(uint16_t{0x400E})
        .Big(uint16_t{0xAC44})
        .Zeros(6)
        .Text(compression);
    return b.bytes;
}
Bytes Ssnd(uint32_t offset, const Bytes& samples) {
    return Builder().Big(offset).Big(0u).Raw(samples.data(), samples.size()).bytes;
}
Bytes Form(const std::string& type, const std::vector<std::pair<std::string, Bytes>>& chunks) {
    Builder body;
    body.Text(type);
    for (const auto& [id, payload] : chunks) IffChunk(body, id, payload);
    return Builder()
        .Text("FORM")
        .Big(static_cast<uint32_t>(body.bytes.size()))
        .Raw(body.bytes.data(), body.bytes.size())
        .bytes;
}

class Aiff : public MediaTest {
protected:
    HRESULT Read(const Bytes& bytes) {
        const OwnedHandle file = Make("x.aiff", bytes);
        wfx = {};
        return iff_GetAIFFWfx(file.get(), &wfx, &frames, &offset);
    }
    WAVEFORMATEX wfx;
    uint64_t frames = 0, offset = 0;
};

TEST(AiffRate, BothWays) {
    uint16_t exponent = 0, mantissa[4];
    aiff_CreateRate(44100, &exponent, mantissa);
    EXPECT_EQ(exponent, 0x400E);
    EXPECT_EQ(mantissa[0], 0xAC44);
    EXPECT_EQ(mantissa[1] | mantissa[2] | mantissa[3], 0);
    for (const uint32_t rate :
         {1u, 8000u, 11025u, 22050u, 44056u, 48000u, 88200u, 96000u, 176400u, 192000u}) {
        aiff_CreateRate(rate, &exponent, mantissa);
        EXPECT_EQ(aiff_ConvertRate(exponent, mantissa), rate);
    }
    aiff_CreateRate(384000, &exponent, mantissa);
    EXPECT_EQ(aiff_ConvertRate(exponent, mantissa), 192000u);
    EXPECT_EQ(aiff_ConvertRate(0xC00E, mantissa), 44100u);
    const uint16_t zero[4] = {}, most[4] = {0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF};
    for (const int e : {0, 1, 0x3FFF, 0x7FFF}) {
        EXPECT_EQ(aiff_ConvertRate(static_cast<uint16_t>(e), zero), 0u);
        EXPECT_LE(aiff_ConvertRate(static_cast<uint16_t>(e), most), 192000u) << "infinity and NaN, too";
    }
}

TEST_F(Aiff, Formats) {
    ASSERT_EQ(Read(Form("AIFF", {{"COMM", Comm(2, 3, 16)}, {"SSND", Ssnd(0, Bytes(12))}})), S_OK);
    EXPECT_EQ(wfx.wFormatTag, WAVE_TAG_PCM_BIG_ENDIAN);
    EXPECT_EQ(wfx.nSamplesPerSec, 44100u);
    EXPECT_EQ(wfx.nBlockAlign, 4);
    EXPECT_EQ(frames, 3u);
    EXPECT_EQ(offset, 12u + 26 + 16);
    ASSERT_EQ(Read(Form("AIFF", {{"COMM", Comm(1, 3, 8)}, {"SSND", Ssnd(0, Bytes(3))}})), S_OK);
    EXPECT_EQ(wfx.wFormatTag, WAVE_TAG_PCM_SIGNED);
    ASSERT_EQ(Read(Form("AIFC", {{"COMM", Comm(1, 3, 16, "NONE")}, {"SSND", Ssnd(0, Bytes(6))}})), S_OK);
    EXPECT_EQ(wfx.wFormatTag, WAVE_TAG_PCM_BIG_ENDIAN);
    ASSERT_EQ(Read(Form("AIFC", {{"COMM", Comm(1, 3, 16, "sowt")}, {"SSND", Ssnd(0, Bytes(6))}})), S_OK);
    EXPECT_EQ(wfx.wFormatTag, WAVE_TAG_PCM);
    EXPECT_EQ(Read(Form("AIFC", {{"COMM", Comm(1, 3, 16, "twos")}, {"SSND", Ssnd(0, Bytes(6))}})),
              MEDIA_E_UNKNOWN_FORMAT);
    // The scans start afresh, so the order does not matter.
    ASSERT_EQ(Read(Form("AIFF", {{"SSND", Ssnd(4, Bytes(20))}, {"NAME", {'x'}}, {"COMM", Comm(2, 3, 16)}})),
              S_OK);
    EXPECT_EQ(frames, 3u) << "no more than COMM tells";
    EXPECT_EQ(offset, 12u + 16 + 4);
    ASSERT_EQ(Read(Form("AIFF", {{"COMM", Comm(2, 9, 16)}, {"SSND", Ssnd(0, Bytes(12))}})), S_OK);
    EXPECT_EQ(frames, 3u) << "no more than are there";
}

TEST_F(Aiff, OddValuesDoNoHarm) {
    ASSERT_EQ(Read(Form("AIFF", {{"COMM", Comm(0, 3, 16)}, {"SSND", Ssnd(0, Bytes(12))}})), S_OK);
    EXPECT_EQ(wfx.nBlockAlign, 1);
    ASSERT_EQ(Read(Form("AIFF", {{"COMM", Comm(65535, 3, 65535)}, {"SSND", Ssnd(0, Bytes(12))}})), S_OK);
    ASSERT_EQ(Read(Form("AIFF", {{"COMM", Comm(2, 3, 16)}, {"SSND", Ssnd(0xFFFFFFF8, Bytes(12))}})), S_OK);
    EXPECT_EQ(frames, 0u);
    EXPECT_EQ(Read(Form("AIFF", {{"SSND", Ssnd(0, Bytes(12))}})), MEDIA_E_NOT_FOUND);
    EXPECT_EQ(Read(Form("AIFF", {{"COMM", Comm(2, 3, 16)}})), MEDIA_E_NOT_FOUND);
    EXPECT_EQ(Read({}), MEDIA_E_UNKNOWN_FORMAT);
}

TEST_F(Aiff, MarkersAndChunks) {
    const Bytes markers = Builder()
                              .Big(uint16_t{2})
                              .Big(uint16_t{5})
                              .Big(100u)
                              .Text(std::string("\x04"
                                                "four",
                                                5))
                              .Zeros(1)
                              .Big(uint16_t{9})
                              .Big(200u)
                              .Text(std::string("\x03"
                                                "odd",
                                                4))
                              .bytes;
    const OwnedHandle file = Make(
        "m.aiff",
        Form("AIFF",
             {{"COMM", Comm(2, 3, 16)}, {"MARK", markers}, {"ODD ", {1}}, {"SSND", Ssnd(0, Bytes(12))}}));
    IFFMARKER marker;
    ASSERT_EQ(iff_FindMarker(file.get(), &marker, 9), S_OK);
    EXPECT_EQ(uint32_t{marker.position}, 200u);
    char name[3];
    ASSERT_TRUE(QmFile_Read(file.get(), name, 3, nullptr));
    EXPECT_EQ(std::string(name, 3), "odd");
    EXPECT_EQ(iff_FindMarker(file.get(), &marker, 7), MEDIA_E_NOT_FOUND);
    uint32_t removed = 0, size = 0;
    const auto before = QmFile_Size(file.get());
    ASSERT_EQ(iff_DeleteChunk(file.get(), 0x4F444420, &removed), S_OK);
    EXPECT_EQ(removed, 10u);
    EXPECT_EQ(QmFile_Size(file.get()), before - 10);
    ASSERT_TRUE(iff_IsAIFFFile(file.get(), &size));
    EXPECT_EQ(size, before - 10 - 8);
    EXPECT_EQ(iff_DeleteChunk(file.get(), 0x4F444420, &removed), MEDIA_E_NOT_FOUND);
    EXPECT_EQ(iff_FindMarker(file.get(), &marker, 5), S_OK);
    const OwnedHandle none = Make("n.aiff", Form("AIFF", {{"COMM", Comm(2, 3, 16)}}));
    EXPECT_EQ(iff_FindMarker(none.get(), &marker, 5), MEDIA_E_NOT_FOUND);
}

TEST(AiffBytes, Swap) {
    uint16_t words[2] = {0x0102, 0xA0B0};
    iff_ByteSwap16(words, 2);
    EXPECT_EQ(words[0], 0x0201);
    EXPECT_EQ(words[1], 0xB0A0);
    uint32_t word = 0x01020304;
    aiff_WriteByteSwap32(&word, 1);
    EXPECT_EQ(word, 0x04030201u);
    iff_ByteSwap32(&word, 0);
    EXPECT_EQ(word, 0x04030201u);
}

}  // namespace
