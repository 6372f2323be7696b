// Every reader of AIFF files, over any bytes.
#include "fuzz/fuzz_support.h"
#include "mediafile/aiff.h"

using namespace tarn;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 20000) return 0;
    const FuzzFile fuzz(data, size);
    HQMFILE f = fuzz.File();
    WAVEFORMATEX wfx{};
    uint64_t frames = 0, offset = 0;
    if (Succeeded(iff_GetAIFFWfx(f, &wfx, &frames, &offset)) && frames > UINT32_MAX) std::abort();
    IFFMARKER marker;
    iff_FindMarker(f, &marker, 1);
    uint32_t a = 0;
    iff_FindChunkFromStart(f, 0x4E414D45, &a);
    iff_DeleteChunk(f, 0x4E414D45, &a);
    iff_DeleteChunk(f, 0x4D41524B, &a);
    if (QmFile_Size(f) > static_cast<int64_t>(size)) std::abort();
    return 0;
}
