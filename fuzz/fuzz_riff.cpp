// Every reader of RIFF files, and the operations that change them, over any bytes.
#include "fuzz/fuzz_support.h"
#include "mediafile/byte_order.h"
#include "mediafile/riff.h"
#include "platform/memory.h"

using namespace tarn;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 20000) return 0;
    const FuzzFile fuzz(data, size);
    HQMFILE f = fuzz.File();
    uint32_t a = 0, b = 0, left = static_cast<uint32_t>(size);
    for (const uint32_t id : {FourCC("fmt "), FourCC("data"), FourCC("LIST"), FourCC("none")}) {
        riff_FindChunkHeaderInRIFF(f, id, &a, &b);
        riff_SeekDataStart(f);
        riff_FindChunkHeader(f, id, &a, nullptr);
        RIFFDATABLOCK block{a, nullptr};
        if (Succeeded(riff_ReadDataAlloc(f, &block))) MemFree(block.data);
    }
    riff_FindListChunkFromStart(f, FourCC("INFO"), &a);
    char16_t text[20];
    riff_ReadANSIString(f, text, 20, &a);
    riff_SeekDataStart(f);
    riff_FindListChunk(f, FourCC("INFO"), &a, &left);
    riff_SeekDataStart(f);
    riff_GetNumListEntries(f, &b, nullptr);
    left = static_cast<uint32_t>(size);
    riff_GetNumListEntries(f, &b, &left);
    riff_SeekListEntry(f, b + 1, nullptr);
    RIFFCDDA record;
    fuzz.Rewind();
    riff_ReadRIFFCDDA(f, &record);
    fuzz.Rewind();
    riff_DeleteChunk(f, FourCC("LIST"), &a, 0);
    riff_DeleteChunk(f, FourCC("INFO"), &a, 1);
    riff_UpdateRIFFSize(f, INT64_C(1) << 33);
    if (QmFile_Size(f) > static_cast<int64_t>(UINT32_MAX) + 16) std::abort();
    return 0;
}
