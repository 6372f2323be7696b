#include "mediafile/meta/display_list.h"

#include "mediafile/chunk_io.h"
#include "mediafile/file_stream.h"
#include "platform/stream.h"

using namespace tarn;

namespace {

constexpr uint32_t DISP = FourCC("DISP");

DISPLAYITEM* Find(const DISPLAYLIST* list, uint32_t id) {
    for (uint32_t i = 0; i < list->count; i++)
        if (list->items[i].id == id) return &list->items[i];
    return nullptr;
}

/// A stream of RIFF chunks, as the readers of chunks take it; nothing is written.
struct ReadOnlyStream {
    IStream* stream;
    uint32_t ReadSome(void* bytes, uint32_t count) const {
        uint32_t got = 0;
        stream->Read(bytes, count, &got);
        return got;
    }
    bool Read(void* bytes, uint32_t count) const { return ReadSome(bytes, count) == count; }
    int64_t Tell() const { return Position(0, STREAM_SEEK_CUR); }
    int64_t Size() const {
        const int64_t here = Tell(), end = Position(0, STREAM_SEEK_END);
        Seek(here);
        return end;
    }
    bool Seek(int64_t at) const { return at >= 0 && Succeeded(stream->Seek(at, STREAM_SEEK_SET, nullptr)); }

private:
    int64_t Position(int64_t move, uint32_t origin) const {
        uint64_t at = 0;
        return Succeeded(stream->Seek(move, origin, &at)) ? static_cast<int64_t>(at) : 0;
    }
};

template <class Stream>
HRESULT Load(Stream s, const ChunkGrammar& g, const void* label, DISPLAYLIST* list, uint64_t* remaining) {
    if (list->count == 0) return S_OK;
    ChunkIo<Stream> chunks(s, g);
    const int64_t start = s.Tell();
    for (uint64_t left = *remaining; left >= g.header;) {
        ChunkHead head;
        if (!chunks.ReadHead(&head) || !head.isValid) return MEDIA_E_READ;
        left -= g.header;
        const int64_t body = s.Tell();
        uint8_t id[4];
        if (chunks.Is(head, label) && head.size >= sizeof id) {
            if (!s.Read(id, sizeof id)) return MEDIA_E_READ;
            if (DISPLAYITEM* item = Find(list, FromLittleEndian<uint32_t>(id))) {
                if (head.size > UINT32_MAX) return MEDIA_E_READ;
                RIFFDATABLOCK block{static_cast<uint32_t>(head.size) - 4, nullptr};
                if (const HRESULT hr = chunks.ReadDataAlloc(&block); Failed(hr)) return hr;
                MemFree(item->data);
                *item = {item->id, block.size, block.data};
            }
        }
        s.Seek(body);
        const uint64_t taken = chunks.Skip(head.size);
        if (taken > left) break;
        left -= taken;
    }
    s.Seek(start);
    return S_OK;
}

struct Closing {
    HQMFILE file;
    ~Closing() { QmFile_Close(file); }
};

}  // namespace

extern "C" {

DISPLAYLIST* displist_Create(uint32_t count, const uint32_t* ids) {
    auto* list = static_cast<DISPLAYLIST*>(MemAlloc(sizeof(DISPLAYLIST)));
    if (!list) return nullptr;
    list->items = static_cast<DISPLAYITEM*>(MemAlloc(size_t{count} * sizeof(DISPLAYITEM)));
    if (!list->items) return MemFree(list), nullptr;
    list->count = count;
    for (uint32_t i = 0; i < count; i++) list->items[i].id = ids[i];
    return list;
}
void displist_Destroy(DISPLAYLIST* list) {
    if (!list) return;
    displist_Free(list);
    MemFree(list->items);
    MemFree(list);
}
HRESULT displist_SetItem(DISPLAYLIST* list, uint32_t id, const void* data, uint32_t size) {
    void* block = data ? MemAlloc(size) : nullptr;
    if (data && !block) return E_OUTOFMEMORY;
    if (data) std::memcpy(block, data, size);
    DISPLAYITEM* item = Find(list, id);
    if (!item) {
        const size_t used = list->count * sizeof *item;
        auto* items = static_cast<DISPLAYITEM*>(MemResize(list->items, used, used + sizeof *item));
        if (!items) return MemFree(block), E_OUTOFMEMORY;
        list->items = items;
        item = &items[list->count++];
    }
    MemFree(item->data);
    *item = {id, data ? size : 0, block};
    return S_OK;
}
const DISPLAYITEM* displist_GetItem(const DISPLAYLIST* list, uint32_t id) { return Find(list, id); }
void displist_Free(DISPLAYLIST* list) {
    for (uint32_t i = 0; i < list->count; i++) {
        MemFree(list->items[i].data);
        list->items[i] = {list->items[i].id, 0, nullptr};
    }
}

HRESULT displist_Load(HQMFILE file, DISPLAYLIST* list, uint32_t* remaining) {
    uint64_t left = *remaining;
    return Load(FileStream{file}, WAVE_GRAMMAR, &DISP, list, &left);
}
HRESULT displist64_Load(HQMFILE file, DISPLAYLIST* list, uint64_t* remaining) {
    return Load(FileStream{file}, WAVE64_GRAMMAR, &W64_DISP_ITEM, list, remaining);
}
HRESULT displist_LoadFromStream(IStream* stream, DISPLAYLIST* list) {
    const ReadOnlyStream s{stream};
    auto left = static_cast<uint64_t>(std::max<int64_t>(s.Size() - s.Tell(), 0));
    return Load(s, WAVE_GRAMMAR, &DISP, list, &left);
}

HRESULT displist_Save(HQMFILE file, const DISPLAYLIST* list, uint32_t* written) {
    ChunkIo<FileStream> chunks(FileStream{file}, WAVE_GRAMMAR);
    uint64_t total = 0;
    for (uint32_t i = 0; i < list->count; i++) {
        const DISPLAYITEM& item = list->items[i];
        if (!item.data || item.size == 0) continue;
        const uint64_t size = uint64_t{item.size} + sizeof item.id;
        if (size > RIFF_LARGEST) return MEDIA_E_TOO_LARGE;
        if (!chunks.WriteHead(&DISP, size) || !chunks.WriteBytes(&item.id, sizeof item.id) ||
            !chunks.WriteBytes(item.data, item.size) || !chunks.WritePad(size))
            return MEDIA_E_WRITE;
        total += WAVE_GRAMMAR.header + WAVE_GRAMMAR.Padded(size);
    }
    if (written) *written = static_cast<uint32_t>(std::min<uint64_t>(total, UINT32_MAX));
    return S_OK;
}
HRESULT displist64_Save(HQMFILE file, const DISPLAYLIST* list, uint64_t* written) {
    ChunkIo<FileStream> chunks(FileStream{file}, WAVE64_GRAMMAR);
    uint64_t total = 0;
    for (uint32_t i = 0; i < list->count; i++) {
        const DISPLAYITEM& item = list->items[i];
        if (!item.data || item.size == 0) continue;
        const uint64_t size = uint64_t{item.size} + sizeof item.id;
        if (!chunks.WriteHead(&W64_DISP_ITEM, WAVE64_GRAMMAR.Padded(size)) ||
            !chunks.WriteBytes(&item.id, sizeof item.id) || !chunks.WriteBytes(item.data, item.size))
            return MEDIA_E_WRITE;
        total += WAVE64_GRAMMAR.header + WAVE64_GRAMMAR.Padded(size);
        if (!chunks.WritePad(size)) break;  // a file that ends within a pad reads as one with it
    }
    if (written) *written = total;
    return S_OK;
}

void* displist_CreateBitmapFromFile(const char16_t* path) {
    const Closing file{QmFile_Open(path, FILE_ACCESS_READ, FILE_OPEN_EXISTING)};
    if (!file.file) return nullptr;
    DISPLAYITEM item{DISPLAY_BITMAP, 0, nullptr};
    DISPLAYLIST list{1, &item};
    uint32_t left = 0, form = 0;
    uint64_t left64 = 0;
    GUID form64;
    if (Succeeded(riff_ReadFileID(file.file, &left, &form)))
        displist_Load(file.file, &list, &left);
    else if (QmFile_Seek(file.file, 0, FILE_FROM_START) == 0 &&
             Succeeded(riff64_ReadFileID(file.file, &left64, &form64)))
        displist64_Load(file.file, &list, &left64);
    return item.data;
}

}  // extern "C"
