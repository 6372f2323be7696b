// Repair: every whole frame comes back byte for byte, or the file is refused with a reason and stays as it
// is.
#include "mediafile/repair.h"
#include "mediafile/riff64.h"
#include "mediafile/sample_file.h"
#include "tests/mediafile/media_support.h"

#include <cstring>
#include <functional>
#include <random>

using namespace tarn;

namespace {

struct Kind {
    MediaContainer container;
    QMSAMPLETYPE type;
};
constexpr Kind KINDS[] = {
    {MediaContainer::Wave, QMSAMPLE_PCM8},      {MediaContainer::Wave, QMSAMPLE_PCM16},
    {MediaContainer::Wave, QMSAMPLE_PCM24},     {MediaContainer::Wave, QMSAMPLE_PCM32},
    {MediaContainer::Wave, QMSAMPLE_FLOAT32},   {MediaContainer::Wave, QMSAMPLE_FLOAT64},
    {MediaContainer::Wave64, QMSAMPLE_PCM8},    {MediaContainer::Wave64, QMSAMPLE_PCM16},
    {MediaContainer::Wave64, QMSAMPLE_PCM24},   {MediaContainer::Wave64, QMSAMPLE_FLOAT32},
    {MediaContainer::Wave64, QMSAMPLE_FLOAT64}, {MediaContainer::Aiff, QMSAMPLE_SIGNED8},
    {MediaContainer::Aiff, QMSAMPLE_BE16},      {MediaContainer::Aiff, QMSAMPLE_BE24},
    {MediaContainer::Aiff, QMSAMPLE_BE32},      {MediaContainer::Aifc, QMSAMPLE_PCM16},
    {MediaContainer::Aifc, QMSAMPLE_PCM24},     {MediaContainer::Rf64, QMSAMPLE_PCM16},
    {MediaContainer::Bw64, QMSAMPLE_PCM24}};

Bytes Noise(size_t count) {
    std::mt19937 random(7);
    Bytes bytes(count);
    for (uint8_t& b : bytes) b = static_cast<uint8_t>(random());
    return bytes;
}
Bytes Repeated(const Bytes& pattern, size_t count) {
    Bytes bytes(count);
    for (size_t i = 0; i < count; i++) bytes[i] = pattern[i % pattern.size()];
    return bytes;
}

/// Samples: noise, or what a reader may take for something else.
struct Filling {
    const char* name;
    std::function<Bytes(size_t)> make;
};
Bytes W64Chunk(const GUID& label, size_t payload) {
    return Builder().Raw(&label, sizeof label).Little(uint64_t{24 + payload}).Zeros(payload).bytes;
}
const Filling FILLINGS[] = {
    {"noise", Noise},
    {"zeros", [](size_t n) { return Bytes(n); }},
    {"letters",
     [](size_t n) {
         return Repeated({'W', 'A', 'V', 'E', 'a', 'b', 'c'}, n);
     }},
    {"data chunks", [](size_t n) { return Repeated(Builder().Text("data").Little(8u).Zeros(8).bytes, n); }},
    {"big chunks", [](size_t n) { return Repeated(Builder().Text("SSND").Big(8u).Zeros(8).bytes, n); }},
    {"formats", [](size_t n) { return Repeated(Builder().Chunk("fmt ", PcmFormat(1, 8000, 8)).bytes, n); }},
    {"cues", [](size_t n) { return Repeated(Builder().Text("cue ").Little(4u).Zeros(4).bytes, n); }},
    {"one list",
     [](size_t n) {
         return Builder()
             .Text("LIST")
             .Little(static_cast<uint32_t>(n - 8))
             .Raw(Noise(n - 8).data(), n - 8)
             .bytes;
     }},
    {"Wave64 chunks", [](size_t n) { return Repeated(W64Chunk(W64_DATA, 16), n); }},
};

class Repair : public MediaTest {
protected:
    Repair() : m_file(Make("x", {})) {}

    void Put(const Bytes& bytes) {
        QmFile_Seek(m_file.get(), 0, FILE_FROM_START);
        QmFile_Write(m_file.get(), bytes.data(), static_cast<uint32_t>(bytes.size()), nullptr);
        QmFile_SetEnd(m_file.get());
    }
    Bytes Whole(const Kind& kind, uint32_t channels, const Bytes& samples) {
        Put({});
        _qmwaveformat format;
        format.Init(96000, kind.type, channels, 0, sizeof format);
        QmFile_Seek(m_file.get(), 0, FILE_FROM_START);
        SampleFile out(m_file.get(), kind.container, format);
        EXPECT_EQ(out.Begin(), S_OK);
        EXPECT_EQ(out.Write(samples.data(), static_cast<uint32_t>(samples.size())), S_OK);
        EXPECT_EQ(out.End(), S_OK);
        return Content("x");
    }
    MediaRepairPlan Plan(const Bytes& damaged, const MediaRepairOptions& options = {}) {
        Put(damaged);
        return PlanMediaRepair(m_file.get(), options);
    }
    Bytes Applied(const MediaRepairPlan& plan) {
        const OwnedHandle out = Make("y", {});
        EXPECT_EQ(WriteRepairedMedia(m_file.get(), plan, out.get(), {}), S_OK);
        return Content("y");
    }

    /// The plan gives back just these samples in a file without errors, or refuses. True when it did the
    /// first.
    bool GivesBack(const Bytes& damaged, const uint8_t* samples, size_t bytes, size_t frame,
                   const MediaRepairOptions& options = {}) {
        const MediaRepairPlan plan = Plan(damaged, options);
        EXPECT_EQ(plan.IsRefused(), !plan.refusal.empty());
        if (plan.IsRefused()) {
            EXPECT_TRUE(plan.edits.empty());
            return false;
        }
        // A file whose sizes all agree is what it says.
        if (plan.edits.empty()) {
            EXPECT_FALSE(InspectMedia(m_file.get()).HasErrors());
            return plan.frames == bytes / frame;
        }
        const Bytes mended = Applied(plan);
        const MediaContents c = Inspected("y");
        EXPECT_FALSE(c.HasErrors()) << c.problems[0].text;
        const size_t whole = bytes - bytes % frame;
        EXPECT_EQ(plan.frames, whole / frame);
        EXPECT_EQ(c.frames, whole / frame);
        if (c.dataOffset + whole > mended.size()) return ADD_FAILURE(), false;
        EXPECT_TRUE(
            std::equal(samples, samples + whole, mended.begin() + static_cast<ptrdiff_t>(c.dataOffset)));
        // Behind the first sample nothing changed at all.
        EXPECT_TRUE(std::equal(damaged.begin() + static_cast<ptrdiff_t>(plan.samples), damaged.end(),
                               mended.end() - static_cast<ptrdiff_t>(damaged.size() - plan.samples),
                               mended.end()));
        if (!plan.MovesSamples()) {
            EXPECT_EQ(ApplyMediaRepair(m_file.get(), plan), S_OK);
            EXPECT_EQ(Content("x"), mended);
        }
        return true;
    }

    OwnedHandle m_file;
};

/// The places of a container's sizes; stored in them are sizes with so many bytes more.
struct SizeField {
    size_t at, bytes;
    bool isBig;
};
void SetSize(Bytes& file, const SizeField& field, uint64_t value) {
    for (size_t i = 0; i < field.bytes; i++)
        file[field.at + (field.isBig ? field.bytes - 1 - i : i)] = static_cast<uint8_t>(value >> (8 * i));
}
uint64_t GetSize(const Bytes& file, const SizeField& field) {
    uint64_t value = 0;
    for (size_t i = 0; i < field.bytes; i++)
        value |= uint64_t{file[field.at + (field.isBig ? field.bytes - 1 - i : i)]} << (8 * i);
    return value;
}

TEST_F(Repair, GivesBackEveryFrameOfCutFilesAndOfWrongSizes) {
    size_t repaired = 0, refused = 0;
    for (const Kind& kind : KINDS)
        for (const uint32_t channels : {1u, 2u, 6u})
            for (const Filling& filling : FILLINGS) {
                // The containers' headers do not depend on the type; noise goes through all of them.
                const bool isNoise = std::strcmp(filling.name, "noise") == 0;
                const bool is16Bits = kind.type == QMSAMPLE_PCM16 || kind.type == QMSAMPLE_BE16;
                if (!isNoise && (channels != 2 || !is16Bits)) continue;
                const size_t frame = QmAudio_BytesFromSampleType(kind.type) * channels;
                const Bytes samples = filling.make(frame * 96);
                const Bytes good = Whole(kind, channels, samples);
                const MediaContents c = Inspected("x");
                ASSERT_TRUE(c.problems.empty());
                const size_t start = c.dataOffset;
                const std::string what = std::string(NameOf(kind.container)) + " of type " +
                                         std::to_string(kind.type) + ", " + std::to_string(channels) +
                                         " channels of " + filling.name;
                const auto check = [&](const Bytes& damaged, size_t bytes, const std::string& how,
                                       bool mayRefuse) {
                    SCOPED_TRACE(what + ", " + how);
                    const bool done = GivesBack(damaged, samples.data(), bytes, frame);
                    (done ? repaired : refused)++;
                    EXPECT_TRUE(done || mayRefuse) << Plan(damaged).refusal;
                };
                for (size_t cut = 0; cut < std::min(good.size(), start + 200); cut++)
                    check(Bytes(good.begin(), good.begin() + static_cast<ptrdiff_t>(cut)),
                          std::max(cut, start) - start, "cut at " + std::to_string(cut), cut < start);
                const bool is64 = kind.container == MediaContainer::Wave64, isBig = IsAiff(kind.container);
                const SizeField form = is64                         ? SizeField{16, 8, false}
                                       : IsLongWave(kind.container) ? SizeField{20, 8, false}
                                                                    : SizeField{4, 4, isBig},
                                data = is64                         ? SizeField{c.dataHeader + 16, 8, false}
                                       : IsLongWave(kind.container) ? SizeField{28, 8, false}
                                                                    : SizeField{c.dataHeader + 4, 4, isBig};
                const uint64_t wholeForm = GetSize(good, form), wholeData = GetSize(good, data);
                std::vector<uint64_t> forms = {0, 8, 36, UINT64_MAX, wholeForm},
                                      sizes = {0, UINT64_MAX, wholeData};
                for (const uint64_t by :
                     {uint64_t{1}, uint64_t{2}, frame, 16 * frame, 48 * frame, 90 * frame}) {
                    forms.insert(forms.end(), {wholeForm - by, wholeForm + by});
                    sizes.insert(sizes.end(), {wholeData - by, wholeData + by});
                }
                for (const uint64_t formSize : forms)
                    for (const uint64_t dataSize : sizes) {
                        const bool isPad = dataSize < wholeData && wholeData - dataSize < (is64 ? 8 : 2);
                        if (isPad && std::all_of(samples.end() - static_cast<ptrdiff_t>(wholeData - dataSize),
                                                 samples.end(), [](uint8_t b) { return b == 0; }))
                            continue;  // no one can tell zeros from a pad
                        Bytes damaged = good;
                        SetSize(damaged, form, formSize);
                        SetSize(damaged, data, dataSize);
                        // A size that leaves samples out may be the truth where the form does so, too, or
                        // where they may be a pad.
                        const bool isShort =
                            isPad || (dataSize != 0 && dataSize < wholeData && formSize < wholeForm);
                        check(damaged, samples.size(),
                              "sizes " + std::to_string(formSize) + ", " + std::to_string(dataSize),
                              !isNoise || isShort || isBig);
                    }
            }
    EXPECT_GT(repaired, 3 * refused);
}

const Bytes SAMPLES = Noise(4000);

/// A wave of 16 bits in stereo, its chunks before and behind the samples as given.
Bytes WaveOf(const Bytes& before, const Bytes& behind, const Bytes& format = PcmFormat(2, 96000, 16)) {
    Builder chunks;
    chunks.Raw(before.data(), before.size()).Chunk("fmt ", format).Chunk("data", SAMPLES);
    return WaveForm(chunks.Raw(behind.data(), behind.size()).bytes);
}
Bytes Without(Bytes bytes, size_t at, size_t count) {
    bytes.erase(bytes.begin() + static_cast<ptrdiff_t>(at),
                bytes.begin() + static_cast<ptrdiff_t>(at + count));
    return bytes;
}
Bytes Overwritten(Bytes bytes, size_t at, size_t count, uint8_t with = 0xAA) {
    std::fill_n(bytes.begin() + static_cast<ptrdiff_t>(at), count, with);
    return bytes;
}
bool Contains(const Bytes& bytes, const Bytes& part) {
    return std::search(bytes.begin(), bytes.end(), part.begin(), part.end()) != bytes.end();
}

TEST_F(Repair, KeepsTheFormatAndTheChunksBeforeTheSamples) {
    const Bytes bext =
        Builder().Chunk("bext", Repeated({'b', 'e', 'x', 't', ' ', 'd', 'a', 't', 'a', '.'}, 602)).bytes;
    const Bytes format = PcmFormat(2, 96000, 16);
    const Bytes plain = WaveOf({}, {}), rich = WaveOf(bext, {});
    WAVEFORMATEX given;
    QmAudio_InitWfx(&given, 96000, QMSAMPLE_PCM16, 2);
    constexpr size_t FMT = 12 + 610;
    enum { None, Copy, InPlace };
    const struct {
        const char* name;
        Bytes damaged;
        int result, withFormat;  ///< without and with the format given
        bool keepsBext = true;
    } rows[] = {
        {"form of 8",
         [&] {
             Bytes b = rich;
             SetSize(b, {4, 4, false}, 8);
             return b;
         }(),
         InPlace, InPlace},
        {"form of 36",
         [&] {
             Bytes b = rich;
             SetSize(b, {4, 4, false}, 36);
             return b;
         }(),
         InPlace, InPlace},
        {"no RIFF", Overwritten(plain, 0, 8), InPlace, InPlace, false},
        {"no WAVE", Overwritten(rich, 8, 4), InPlace, InPlace},
        {"no form", Overwritten(plain, 0, 12), InPlace, InPlace, false},
        {"no form and no fmt", Overwritten(plain, 0, 20), InPlace, InPlace, false},
        {"nothing but data", Overwritten(plain, 0, 36), None, None, false},
        {"the format's chunk without its size", Overwritten(rich, FMT + 4, 4), InPlace, InPlace},
        {"the format overwritten", Overwritten(rich, FMT, 24), None, InPlace},
        {"four bytes of bext lost", Without(rich, 100, 4), InPlace, InPlace},
        {"three bytes of bext lost", Without(rich, 100, 3), Copy, Copy},
        {"five bytes of the form lost", Without(rich, 3, 5), Copy, Copy},
        {"bext of any size", Overwritten(rich, 16, 4, 0xFF), InPlace, InPlace},
        {"no id of bext", Overwritten(rich, 12, 4), InPlace, InPlace},
        {"no data", Overwritten(plain, 36, 4), None, None, false},
        {"bytes of a frame of 0", Overwritten(plain, 32, 2, 0), InPlace, InPlace, false},
        {"a rate of 0", Overwritten(plain, 24, 4, 0), None, None, false},
        {"text", Repeated({'t', 'e', 'x', 't', ' '}, 5000), None, None, false},
        {"RIFF of another kind",
         [&] {
             Bytes b = rich;
             std::memcpy(&b[8], "AVI ", 4);
             return b;
         }(),
         None, None},
        {"a wave in an archive",
         [&] {
             Bytes b = plain;
             b.insert(b.begin(), 40, 'P');
             return b;
         }(),
         None, None, false},
    };
    for (const auto& row : rows)
        for (const bool isGiven : {false, true}) {
            SCOPED_TRACE(std::string(row.name) + (isGiven ? ", format given" : ""));
            MediaRepairOptions options;
            options.format = isGiven ? &given : nullptr;
            const bool done = GivesBack(row.damaged, SAMPLES.data(), SAMPLES.size(), 4, options);
            const int expected = isGiven ? row.withFormat : row.result;
            ASSERT_EQ(done, expected != None) << Plan(row.damaged, options).refusal;
            if (!done) continue;
            EXPECT_EQ(Plan(row.damaged, options).MovesSamples(), expected == Copy);
            const Bytes mended = MediaTest::Content("y");
            EXPECT_TRUE(Contains(mended, Builder().Chunk("fmt ", format).bytes));
            EXPECT_EQ(Contains(mended, Repeated({'b', 'e', 'x', 't', ' ', 'd', 'a', 't', 'a', '.'}, 70)),
                      row.keepsBext);
        }
}

/// Chunks behind the samples stay chunks, and are never taken for samples nor samples for them.
TEST_F(Repair, TellsTheChunksBehindTheSamplesFromSamples) {
    const Bytes list =
        Builder().Chunk("LIST", Builder().Text("INFO").Chunk("INAM", {'T', 'a', 'k', 'e'}).bytes).bytes;
    const Bytes good = WaveOf({}, list);
    const SizeField form{4, 4, false}, data{40, 4, false};
    const auto sized = [&](uint64_t formSize, uint64_t dataSize) {
        Bytes bytes = good;
        SetSize(bytes, form, formSize);
        SetSize(bytes, data, dataSize);
        return bytes;
    };
    const auto gives = [&](const Bytes& damaged) {
        return GivesBack(damaged, SAMPLES.data(), SAMPLES.size(), 4);
    };
    const uint64_t whole = good.size() - 8;
    for (const uint64_t formSize :
         {uint64_t{0}, uint64_t{8}, uint64_t{36}, whole - 2, uint64_t{UINT32_MAX}}) {
        EXPECT_TRUE(gives(sized(formSize, SAMPLES.size()))) << formSize;
        EXPECT_EQ(Inspected("y").chunks.size(), 5u) << "the list and its item are read";
    }
    for (const uint64_t dataSize : {uint64_t{0}, uint64_t{400}, uint64_t{4002}, uint64_t{UINT32_MAX}}) {
        EXPECT_FALSE(gives(sized(whole, dataSize))) << dataSize;
        EXPECT_EQ(Plan(sized(whole, dataSize)).needs, MediaRepairNeeds::SamplesEnd);
        MediaRepairOptions options;
        options.samplesEnd = 44 + SAMPLES.size();
        EXPECT_TRUE(GivesBack(sized(whole, dataSize), SAMPLES.data(), SAMPLES.size(), 4, options))
            << dataSize;
    }
    // Cut within the list: what is left of it stands behind the form, as it was.
    for (size_t cut = 1; cut < list.size(); cut++) {
        const Bytes damaged(good.begin(), good.end() - static_cast<ptrdiff_t>(cut));
        EXPECT_EQ(gives(damaged), list.size() - cut >= 8 || list.size() - cut < 4) << cut;
    }
    // More of anything behind a form that is whole: samples of a recorder, or another program's bytes.
    Bytes longer = good;
    longer.insert(longer.end(), 400, 7);
    EXPECT_FALSE(gives(longer));
    MediaRepairOptions options;
    options.samplesEnd = UINT64_MAX;
    const MediaRepairPlan plan = Plan(longer, options);
    EXPECT_EQ(plan.frames, (longer.size() - 44) / 4);
}

TEST_F(Repair, LeavesACodecWhatItIs) {
    const struct {
        uint16_t tag, align, bits;
    } codecs[] = {{0x11, 256, 4},  {0x02, 256, 4}, {0x31, 65, 0}, {0x55, 1, 0},
                  {0x1234, 32, 3}, {1, 4, 12},     {6, 2, 8}};
    for (const auto& codec : codecs) {
        const Bytes format = Builder()
                                 .Little(codec.tag)
                                 .Little(uint16_t{2})
                                 .Little(8000u)
                                 .Little(8000u * codec.align)
                                 .Little(codec.align)
                                 .Little(codec.bits)
                                 .Little(uint16_t{2})
                                 .Little(uint16_t{505})
                                 .bytes;
        const Bytes good = WaveOf({}, {}, format);
        for (const size_t cut : {size_t{0}, size_t{1}, size_t{700}}) {
            Bytes damaged(good.begin(), good.end() - static_cast<ptrdiff_t>(cut));
            if (cut == 0) SetSize(damaged, {4, 4, false}, 0);
            const MediaRepairPlan plan = Plan(damaged);
            ASSERT_FALSE(plan.IsRefused()) << codec.tag << ": " << plan.refusal;
            const Bytes mended = Applied(plan);
            EXPECT_FALSE(Inspected("y").HasErrors()) << codec.tag;
            // Only the two sizes differ.
            for (size_t i = 0; i < damaged.size(); i++)
                EXPECT_TRUE(mended[i] == damaged[i] || (i >= 4 && i < 8) || (i >= 44 && i < 48))
                    << codec.tag << ", " << i;
        }
    }
    for (const char* id : {"RF64", "RIFX"}) {
        Bytes other = WaveOf({}, {});
        std::memcpy(other.data(), id, 4);
        EXPECT_TRUE(Plan(other).IsRefused());
    }
}

TEST_F(Repair, OfAiff) {
    const Bytes comm = Builder()
                           .Text("COMM")
                           .Big(18u)
                           .Big(uint16_t{2})
                           .Big(1000u)
                           .Big(uint16_t{16})
                           .Big(uint16_t{0x400E})
                           .Big(uint16_t{0xAC44})
                           .Zeros(6)
                           .bytes;
    const auto make = [&](bool commFirst, uint32_t ssndSize, uint32_t frames) {
        Bytes format = comm;
        SetSize(format, {10, 4, true}, frames);
        Builder file;
        file.Text("FORM").Big(0u).Text("AIFF");
        if (commFirst) file.Raw(format.data(), format.size());
        file.Text("SSND").Big(ssndSize).Zeros(8).Raw(SAMPLES.data(), SAMPLES.size());
        if (!commFirst) file.Raw(format.data(), format.size());
        SetSize(file.bytes, {4, 4, true}, file.bytes.size() - 8);
        return file.bytes;
    };
    const struct {
        bool commFirst;
        uint32_t ssnd, frames;
        bool repairs;
    } rows[] = {{true, 0, 1000, true},    {true, 0, 0, true},       {true, 4008, 0, true},
                {true, 4008, 1100, true}, {true, 9999, 1000, true}, {true, 2008, 1000, true},
                {true, 0, 700, true},     {true, 4008, 700, false}, {false, 4008, 1000, true},
                {false, 0, 1000, false},  {false, 4008, 0, false}};
    for (const auto& row : rows) {
        const Bytes damaged = make(row.commFirst, row.ssnd, row.frames);
        EXPECT_EQ(GivesBack(damaged, SAMPLES.data(), SAMPLES.size(), 4), row.repairs)
            << row.commFirst << ' ' << row.ssnd << ' ' << row.frames << ": " << Plan(damaged).refusal;
    }
}

/// Whatever of the writes arrived before the program was killed, the rest is done by another run.
TEST_F(Repair, CanBeKilledBetweenAnyTwoOfItsWrites) {
    for (const bool is64 : {false, true}) {
        const Kind kind = {is64 ? MediaContainer::Wave64 : MediaContainer::Wave, QMSAMPLE_FLOAT32};
        Bytes partly = Whole(kind, 2, SAMPLES);
        const MediaContents c = Inspected("x");
        partly = Overwritten(partly, 0, 4);
        SetSize(partly, {is64 ? size_t{16} : size_t{4}, 4, false}, 0);
        SetSize(partly, {c.dataHeader + (is64 ? 16 : 4), 4, false}, 0);
        const MediaRepairPlan plan = Plan(partly);
        ASSERT_GE(plan.edits.size(), 2u) << plan.refusal;
        for (auto edit = plan.edits.rbegin(); edit != plan.edits.rend(); ++edit) {
            std::ranges::copy(edit->bytes, partly.begin() + static_cast<ptrdiff_t>(edit->offset));
            EXPECT_TRUE(GivesBack(partly, SAMPLES.data(), SAMPLES.size(), 8)) << edit->what;
        }
    }
}

/// A recorder that left a filler, was killed beyond what 32 bits tell, and so was the program after each
/// write.
TEST_F(Repair, AFileThatOutgrewItsSizesBecomesLong) {
    constexpr uint64_t BEYOND = (uint64_t{4} << 30) + 4000, HEAD = 12 + 36 + 24 + 8;
    const Bytes head = Builder()
                           .Text("RIFF")
                           .Little(0u)
                           .Text("WAVE")
                           .Chunk("JUNK", Bytes(28))
                           .Chunk("fmt ", PcmFormat(2, 48000, 16))
                           .Text("data")
                           .Little(0u)
                           .bytes;
    ASSERT_EQ(head.size(), HEAD);
    for (size_t killed = 0; killed < 4; killed++) {
        const OwnedHandle file = Make("x", head);
        QmFile_Seek(file.get(), HEAD + BEYOND, FILE_FROM_START);
        ASSERT_TRUE(QmFile_SetEnd(file.get()));
        MediaRepairPlan plan = PlanMediaRepair(file.get(), {});
        ASSERT_EQ(plan.refusal, "");
        ASSERT_EQ(plan.edits.size(), 3u);
        if (killed < 3) {
            plan.edits.erase(plan.edits.begin(), plan.edits.end() - static_cast<ptrdiff_t>(killed));
            ASSERT_EQ(ApplyMediaRepair(file.get(), plan), S_OK);
            plan = PlanMediaRepair(file.get(), {});
            ASSERT_EQ(plan.refusal, "") << killed;
        }
        ASSERT_EQ(ApplyMediaRepair(file.get(), plan), S_OK);
        const MediaContents c = InspectMedia(file.get());
        EXPECT_EQ(c.container, MediaContainer::Rf64);
        EXPECT_FALSE(c.HasErrors()) << c.problems[0].text;
        EXPECT_EQ(c.frames, BEYOND / 4);
        EXPECT_EQ(PlanMediaRepair(file.get(), {}).edits.size(), 0u);
    }
}

}  // namespace
