#include "fileio/meta_chunks.h"

#include "mediafile/meta/meta_stream.h"
#include "platform/four_cc.h"

#include <algorithm>

namespace tarn {

namespace {
constexpr size_t MOST_BYTES = META_LARGEST_BLOCK, PIECE = 1 << 16;

void PutForm(MetaBytes& bytes, const char (&id)[5], size_t size) {
    const auto word = [&](uint32_t value) {
        for (int i = 0; i < 4; i++) bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
    };
    word(FourCC(id));
    word(static_cast<uint32_t>(size));
}
}  // namespace

IQmReadMeta* MakeMeta(const MetaDocument& document) {
    MetaBytes chunks;
    for (const MetaBlock& block : document.blocks) {
        const MetaBytes chunk = MetaChunkBytes(MediaContainer::Wave, block);
        chunks.insert(chunks.end(), chunk.begin(), chunk.end());
    }
    return chunks.empty() ? nullptr : CreateMetaStream(chunks);
}

MetaDocument ReadMeta(IQmReadMeta& meta) {
    MetaBytes chunks;
    if (Failed(meta.Seek(0))) return {};
    for (uint32_t got = 1; got > 0 && chunks.size() < MOST_BYTES;) {
        const size_t before = chunks.size();
        chunks.resize(before + PIECE);
        if (Failed(meta.Read(chunks.data() + before, PIECE, &got)) || got > PIECE) got = 0;
        chunks.resize(before + got);
    }
    // As a wave that has nothing else, so that it is read by what reads waves.
    MetaBytes file;
    PutForm(file, "RIFF", chunks.size() + 4);
    for (const char c : {'W', 'A', 'V', 'E'}) file.push_back(static_cast<uint8_t>(c));
    file.insert(file.end(), chunks.begin(), chunks.end());
    const MemorySource source(file);
    MetaDocument document = ReadMetaDocument(source, InspectMedia(source));
    document.container = MediaContainer::Wave;
    for (MetaBlock& block : document.blocks) {
        block.chunk = MetaBlock::NEW;
        block.isChanged = true;
    }
    return document;
}

}  // namespace tarn
