// Whole files: inspection, formats and their texts, repair. What was repaired is fit to be inspected, and a second repair
// changes nothing.
#include "audio/format_text.h"
#include "fuzz/fuzz_support.h"
#include "mediafile/media_codes.h"
#include "mediafile/repair.h"
#include "mediafile/wave_file.h"
#include "platform/memory.h"

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
    MediaRepair first, second;
    if (Succeeded(RepairMedia(fuzz.File(), nullptr, &first))) {
        if (QmFile_Size(fuzz.File()) != static_cast<int64_t>(size)) std::abort();
        if (Succeeded(RepairMedia(fuzz.File(), nullptr, &second)) && !second.changes.empty()) std::abort();
    }
    return 0;
}
