// Whole files: inspection, formats and their texts, the samples of every codec, repair.
#include "audio/format_text.h"
#include "fuzz/fuzz_support.h"
#include "mediafile/media_codes.h"
#include "mediafile/repair.h"
#include "mediafile/sample_reader.h"
#include "mediafile/wave_file.h"
#include "platform/memory.h"

#include <algorithm>
#include <vector>

using namespace tarn;

/// No byte at or behind the first sample changes, what comes out has no errors, and nothing more is done to
/// it.
static void Repair(HQMFILE file, const uint8_t* data, size_t size, const MediaRepairOptions& options) {
    const MediaRepairPlan plan = PlanMediaRepair(file, options);
    if (plan.IsRefused() && !plan.edits.empty()) std::abort();
    if (plan.edits.empty()) return;
    const FuzzFile empty(nullptr, 0);
    if (Failed(WriteRepairedMedia(file, plan, empty.File(), {}))) std::abort();
    const auto length = static_cast<size_t>(QmFile_Size(empty.File()));
    std::vector<uint8_t> mended(length);
    QmFile_Seek(empty.File(), 0, FILE_FROM_START);
    if (!QmFile_Read(empty.File(), mended.data(), static_cast<uint32_t>(length), nullptr)) std::abort();
    if (plan.samples > size || size - plan.samples > length) std::abort();
    if (!std::equal(data + plan.samples, data + size,
                    mended.end() - static_cast<ptrdiff_t>(size - plan.samples)))
        std::abort();
    if (InspectMedia(empty.File()).HasErrors()) std::abort();
    const MediaRepairPlan again = PlanMediaRepair(empty.File(), options);
    if (!again.edits.empty()) std::abort();
    if (plan.MovesSamples()) return;
    if (Failed(ApplyMediaRepair(file, plan))) std::abort();
    std::vector<uint8_t> inPlace(size);
    QmFile_Seek(file, 0, FILE_FROM_START);
    if (!QmFile_Read(file, inPlace.data(), static_cast<uint32_t>(size), nullptr) || inPlace != mended)
        std::abort();
}

/// As many frames come as are told of, in pieces of any size.
static void Decode(HQMFILE file, const MediaContents& contents) {
    constexpr uint64_t MOST = 1 << 16;
    if (!contents.hasData || contents.coding.codec == SampleCodec::None) return;
    const FileSource source(file);
    SampleReader reader(source, contents);
    std::vector<uint8_t> piece(size_t{61} * reader.FrameBytes());
    uint64_t done = 0;
    for (uint64_t got = 1; got > 0 && done < MOST; done += got) got = reader.Read(piece.data(), 61);
    if (done < std::min(MOST, contents.frames)) std::abort();
    SampleReader again(source, contents);
    if (again.Skip(contents.frames / 2 + 1) != (contents.frames / 2 + 1 <= contents.frames)) std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 20000) return 0;
    const FuzzFile fuzz(data, size);
    uint64_t frames = 0, offset = 0;
    if (WAVEFORMATEX* wfx = QmGetFileWfx(fuzz.Path(), &frames, &offset)) {
        if (wfx->nBlockAlign == 0 || sizeof *wfx + wfx->cbSize > MemSize(wfx)) std::abort();
        const QmWaveFormatBlock block(wfx);
        char16_t text[64];
        QmAudio_GetFormatText(&block.format, text, 64, FORMAT_TEXT_BIT_RATE);
        QmAudio_GetAttribsText(wfx, text, 64);
        MemFree(wfx);
    }
    QmFileIsWave(fuzz.Path(), 1);
    QmFileIsWave64(fuzz.Path(), 0);
    const MediaContents before = InspectMedia(fuzz.File());
    if (before.hasData && before.dataOffset + before.dataBytes > before.fileBytes) std::abort();
    Decode(fuzz.File(), before);
    for (const bool isTold : {false, true}) {
        WAVEFORMATEX format;
        QmAudio_InitWfx(&format, 48000, QMSAMPLE_PCM16, 2);
        MediaRepairOptions options;
        if (isTold) options = {&format, UINT64_MAX};
        Repair(fuzz.File(), data, size, options);
    }
    return 0;
}
