// The memory family over a block of its exact size: nothing is touched beside it.
#include "mediafile/byte_order.h"
#include "mediafile/mriff.h"
#include "platform/memory.h"

#include <vector>

using namespace tarn;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 20000) return 0;
    std::vector<uint8_t> block(data, data + size);
    const auto bytes = static_cast<uint32_t>(size);
    MRIFF m;
    mriff_Init(&m, block.data(), bytes, bytes);
    WAVEFORMATEX wfx;
    uint32_t a = 0, b = 0, left = bytes;
    mriff_GetWfx(&wfx, block.data(), bytes, &a);
    char text[16];
    mriff_GetInfoString(&m, FourCC("INAM"), text, sizeof text, &left);
    mriff_GetInfoString(&m, FourCC("INAM"), text, sizeof text, nullptr);
    mriff_FindChunkHeaderInRIFF(&m, FourCC("data"), &a, &b);
    RIFFDATABLOCK data2{a, nullptr};
    if (Succeeded(mriff_ReadDataAlloc(&m, &data2))) MemFree(data2.data);
    mriff_FindListChunkFromStart(&m, FourCC("INFO"), &a);
    char16_t wide[20];
    mriff_ReadANSIString(&m, wide, 20, &a);
    mriff_SeekDataStart(&m);
    mriff_GetNumListEntries(&m, &b, nullptr);
    mriff_SeekListEntry(&m, b + 1, nullptr);
    mriff_DeleteChunk(&m, FourCC("LIST"), &a, 0);
    mriff_DeleteChunk(&m, FourCC("INFO"), &a, 1);
    mriff_UpdateRIFFSize(&m, INT64_C(1) << 33);
    mriff_WriteWaveHeader(&m, &wfx, a, b);
    return 0;
}
