// The chunk readers' rows for the program that measures the peers'; its harness stands beside it there. The
// file is theirs: LIST/INFO tags, 64 unknown chunks of 40 bytes, a second of audio.
#include "peers.h"

#include "mediafile/byte_order.h"
#include "mediafile/mriff.h"

using namespace tarn;

namespace {

std::vector<uint8_t>& Wave() {
    static std::vector<uint8_t> bytes;
    return bytes;
}

void Build() {
    std::vector<uint8_t>& o = Wave();
    o.resize(400000);
    MRIFF m;
    mriff_Init(&m, o.data(), 0, static_cast<uint32_t>(o.size()));
    WAVEFORMATEX wfx;
    QmAudio_InitWfx(&wfx, 48000, QMSAMPLE_PCM16, 2);
    mriff_WriteFileID(&m, FourCC("WAVE"), 4);
    mriff_WriteChunk(&m, FourCC("fmt "), &wfx, 16, nullptr);
    const struct {
        char id[5];
        std::string text;
    } tags[] = {{"INAM", "A title of a take"},
                {"IART", "An artist"},
                {"ICMT", "A comment that is a little longer than the others"},
                {"ICRD", "2024-05-06"}};
    uint32_t listBytes = 4;
    for (const auto& t : tags) listBytes += 8 + static_cast<uint32_t>((t.text.size() + 2) & ~size_t{1});
    mriff_WriteListHeader(&m, FourCC("INFO"), listBytes);
    for (const auto& t : tags)
        mriff_WriteChunk(&m, FourCC(t.id), t.text.c_str(), static_cast<uint32_t>(t.text.size() + 1), nullptr);
    const uint8_t body[40] = {};
    for (int i = 0; i < 64; i++) {
        char id[5];
        std::snprintf(id, sizeof id, "x%03d", i);
        mriff_WriteChunk(&m, FourCC(id), body, sizeof body, nullptr);
    }
    static const std::vector<uint8_t> audio(192000, 1);
    mriff_WriteChunk(&m, FourCC("data"), audio.data(), static_cast<uint32_t>(audio.size()), nullptr);
    mriff_SetRIFFSize(&m, static_cast<uint32_t>(m.end - m.start - 8));
    o.resize(static_cast<size_t>(m.end - m.start));
}

peers::AddRows rows([] {
    Build();
    peers::row("parse_meta", "ours", "66chunks", 1, 0, [] {
        return std::function<void()>([] {
            std::vector<uint8_t>& w = Wave();
            const auto size = static_cast<uint32_t>(w.size());
            WAVEFORMATEX wfx;
            uint32_t dataBytes = 0;
            char title[64];
            MRIFF m;
            if (Failed(mriff_GetWfx(&wfx, w.data(), size, &dataBytes))) std::abort();
            mriff_Init(&m, w.data(), size, size);
            mriff_SeekDataStart(&m);
            if (Failed(mriff_GetInfoString(&m, FourCC("INAM"), title, sizeof title, nullptr))) std::abort();
            benchmark::DoNotOptimize(title);
        });
    });
});

}  // namespace
