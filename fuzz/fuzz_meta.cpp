// Metadata by kind: every reader over any bytes, and the writers that edit in place.
#include "fuzz/fuzz_support.h"
#include "kernel/list.h"
#include "mediafile/byte_order.h"
#include "mediafile/meta/broadcast.h"
#include "mediafile/meta/cue_list.h"
#include "mediafile/meta/display_list.h"
#include "mediafile/meta/meta_stream.h"
#include "mediafile/meta/project_link.h"
#include "mediafile/meta/side_file.h"
#include "mediafile/meta/summary.h"
#include "platform/memory.h"

using namespace tarn;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 20000) return 0;
    const FuzzFile fuzz(data, size);
    HQMFILE f = fuzz.File();
    auto left = static_cast<uint32_t>(size);
    SUMMARYLIST summary{};
    QmSummary_Load(f, &summary, &left);
    fuzz.Rewind();
    left = static_cast<uint32_t>(size);
    QmSummary_LoadUNFO(f, &summary, &left);
    QmSummary_Free(&summary);
    MemFree(displist_CreateBitmapFromFile(fuzz.Path()));
    HQMLIST cues = nullptr;
    QmList_CreateExZ(&cues, 0, -1, -1, QMLIST_HEAP, 0, 0, 0);
    CQmLinkProjectInfo link;
    BWFINFO info{};
    for (const bool is64 : {false, true}) {
        (is64 ? QmFMMeta64_fillCuesFromFileEx : QmFMMeta_fillCuesFromFileEx)(f, 48000, cues, cues);
        (is64 ? ProjectLinkRiff64_LoadInfo : ProjectLinkRiff_LoadInfo)(f, &link);
        (is64 ? bwfriff64_LoadInfo : bwfriff_LoadInfo)(f, &info);
        bwfmeta_FreeInfo(&info);
        std::vector<uint8_t> stream;
        ReadMetaStream(f, is64, UINT32_MAX, &stream);
        ComPtr<IQmReadMeta> meta;
        *meta.Out() = CreateMetaStream(is64 ? std::span<const uint8_t>(data, size) : stream);
        const auto bytes = static_cast<uint32_t>(is64 ? size : stream.size());
        QmFMMeta_WriteMetaStreamEx(f, bytes, meta.Get(), UINT32_MAX, is64);
    }
    QmList_Destroy(cues);
    QmFMMeta_LookForMarkers(fuzz.Path());
    // What is set is what is read.
    std::vector<uint8_t> text(data, data + size / 2);
    if (Succeeded(
            bwfriff_UpdateStreamChunk(1, f, text.data(), static_cast<uint32_t>(text.size()), nullptr))) {
        uint32_t found = 0;
        if (Succeeded(riff_FindChunkHeaderInRIFF(f, FourCC("iXML"), &found, nullptr))) {
            std::vector<uint8_t> read(text.size());
            if (found < text.size() ||
                !QmFile_Read(f, read.data(), static_cast<uint32_t>(read.size()), nullptr) || read != text)
                std::abort();
        }
    }
    QmFMMeta_DeleteMetaChunksEx(fuzz.Path(), UINT32_MAX & ~QMFIO_META_AIFF_INSTRUMENT, 0);
    QmFMMeta_DeleteMetaChunksEx(fuzz.Path(), UINT32_MAX, 1);
    if (QmFile_Size(f) > INT64_C(1) << 32) std::abort();
    return 0;
}
