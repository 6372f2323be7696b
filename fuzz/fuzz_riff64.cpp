// Every reader of Wave64 files, and the operations that change them, over any bytes.
#include "fuzz/fuzz_support.h"
#include "mediafile/riff64.h"
#include "platform/memory.h"

using namespace tarn;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 20000) return 0;
    const FuzzFile fuzz(data, size);
    HQMFILE f = fuzz.File();
    uint64_t a = 0, b = 0;
    uint32_t count = 0;
    for (const GUID& label : {W64_FMT, W64_DATA, W64_LIST, W64_JUNK}) {
        riff64_FindChunkHeaderInRIFF(f, &label, &a, &b);
        RIFFDATABLOCK block{static_cast<uint32_t>(a), nullptr};
        if (Succeeded(riff64_ReadDataAlloc(f, &block))) MemFree(block.data);
        riff64_SeekDataStart(f);
        riff64_FindChunkHeader(f, &label, &a, nullptr);
        riff64_FindListChunkFromStart(f, &label, &a);
    }
    riff64_SeekDataStart(f);
    riff64_GetNumListEntries(f, &count, nullptr);
    b = size;
    riff64_GetNumListEntries(f, &count, &b);
    riff64_SeekListEntry(f, count + 1, nullptr);
    riff64_DeleteChunk(f, &W64_JUNK, &a);
    riff64_GetFileSize(f, &a);
    if (QmFile_Size(f) > static_cast<int64_t>(size)) std::abort();
    return 0;
}
