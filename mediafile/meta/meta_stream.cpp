#include "mediafile/meta/meta_stream.h"

#include "mediafile/aiff.h"
#include "mediafile/meta/cue_list.h"
#include "mediafile/meta/meta_form.h"
#include "mediafile/meta/side_file.h"
#include "mediafile/meta/summary.h"
#include "mediafile/riff64.h"
#include "platform/counted.h"
#include "platform/guarded.h"
#include "platform/text.h"

#include <memory>
#include <new>

using namespace tarn;

namespace {

using Span = std::span<const uint8_t>;

OwnedFile OpenForWriting(const char16_t* path) {
    return OwnedFile(QmFile_Open(path, FILE_ACCESS_READ_WRITE, FILE_OPEN_EXISTING));
}

class MemoryMeta final : public Counted<IQmReadMeta, IID_IQmReadMeta> {
public:
    explicit MemoryMeta(Span bytes) : m_bytes(bytes.begin(), bytes.end()) {}

    HRESULT Read(void* buffer, uint32_t size, uint32_t* got) override {
        *got = static_cast<uint32_t>(std::min<size_t>(size, m_bytes.size() - m_at));
        if (*got) std::memcpy(buffer, &m_bytes[m_at], *got);
        m_at += *got;
        return S_OK;
    }
    HRESULT Seek(uint64_t position) override {
        m_at = static_cast<size_t>(std::min<uint64_t>(position, m_bytes.size()));
        return S_OK;
    }

private:
    const MetaBytes m_bytes;
    size_t m_at = 0;
};

bool ReadAll(IQmReadMeta* meta, void* buffer, uint32_t size) {
    uint32_t got = 0;
    return Succeeded(meta->Read(buffer, size, &got)) && got == size;
}

/// ItemReader of a kind, taken from the front.
class ItemReader {
public:
    explicit ItemReader(Span bytes) : m_bytes(bytes) {}
    template <class Number>
    Number Take() {
        uint8_t bytes[sizeof(Number)] = {};
        const Span taken = Bytes(sizeof bytes);
        std::ranges::copy(taken, bytes);
        return FromLittleEndian<Number>(bytes);
    }
    Span Bytes(size_t count) {
        if (count > m_bytes.size()) m_isShort = true, m_bytes = {};
        if (m_isShort) return {};
        const Span taken = m_bytes.first(count);
        m_bytes = m_bytes.subspan(count);
        return taken;
    }
    std::u16string Text() {
        const Span bytes = Bytes(Take<uint32_t>());
        std::u16string text;
        for (size_t i = 0; i + 1 < bytes.size(); i += 2)
            if (const auto unit = FromLittleEndian<uint16_t>(&bytes[i])) text += static_cast<char16_t>(unit);
        return text;
    }
    bool IsShort() const { return m_isShort; }

private:
    Span m_bytes;
    bool m_isShort = false;
};

HRESULT WriteSummary(MetaForm& form, ItemReader& items, uint32_t count, bool) {
    MetaWriter list;
    for (; count > 0 && !items.IsShort(); count--) {
        const auto id = items.Take<uint32_t>();
        const std::string text = Windows1252FromUtf16(items.Text()) + '\0';
        list.Chunk(id, {reinterpret_cast<const uint8_t*>(text.data()), text.size()});
    }
    return items.IsShort() ? MEDIA_E_READ : form.Append(FourCC("INFO"), true, list.Bytes());
}

HRESULT WriteMarkers(MetaForm& form, ItemReader& items, uint32_t count, bool isWave64) {
    std::vector<MediaCue> cues;
    for (; count > 0 && !items.IsShort(); count--) {
        MediaCue cue;
        cue.id = items.Take<uint32_t>();
        const auto position = static_cast<int64_t>(items.Take<uint64_t>()),
                   length = static_cast<int64_t>(items.Take<uint64_t>());
        cue.label = items.Text();
        if (position < 0 || position > int64_t{UINT32_MAX}) continue;
        cue.position = static_cast<uint32_t>(position);
        if (length >= 0) cue.length = static_cast<uint32_t>(std::min<int64_t>(length, UINT32_MAX));
        cues.push_back(std::move(cue));
    }
    if (items.IsShort()) return MEDIA_E_READ;
    const MetaBytes positions = MediaCueBytes(cues), labels = MediaLabelBytes(cues);
    if (isWave64) {
        MetaWriter list, both;
        list.Put(FourCC("adtl")).Raw(labels.data(), labels.size());
        both.Chunk(FourCC("cue "), positions);
        if (!labels.empty()) both.Chunk(FourCC("LIST"), list.Bytes());
        return form.Append(FourCC("cue "), false, both.Bytes());
    }
    const HRESULT hr = form.Append(FourCC("cue "), false, positions);
    return Failed(hr) || labels.empty() ? hr : form.Append(FourCC("adtl"), true, labels);
}

HRESULT WritePlayList(MetaForm& form, ItemReader& items, uint32_t count, bool) {
    MetaWriter entries;
    uint32_t number = 0;
    for (; count > 0 && !items.IsShort(); count--) {
        const auto cue = items.Take<uint32_t>();
        const auto length = static_cast<int64_t>(items.Take<uint64_t>());
        const auto repeats = items.Take<uint32_t>();
        if (length < 0 || length > int64_t{UINT32_MAX}) continue;
        entries.Put(cue).Put(static_cast<uint32_t>(length)).Put(repeats);
        number++;
    }
    if (items.IsShort()) return MEDIA_E_READ;
    MetaWriter payload;
    payload.Put(number).Raw(entries.Bytes().data(), entries.Bytes().size());
    return form.Append(FourCC("plst"), false, payload.Bytes());
}

HRESULT WriteOpaque(MetaForm& form, ItemReader& items, uint32_t count, bool) {
    constexpr uint32_t SCOT = FourCC("scot"), MOST_SCOT = 424;
    for (; count > 0; count--) {
        const auto id = items.Take<uint32_t>();
        const Span payload = items.Bytes(items.Take<uint32_t>());
        if (items.IsShort()) return MEDIA_E_READ;
        if (id == SCOT && payload.size() > MOST_SCOT) return MEDIA_E_MALFORMED;
        const auto rows = MetaChunkRows();
        const auto row = std::ranges::find(rows, id, &MetaChunkRow::id);
        const bool isList = row != rows.end() && row->isList;
        if (const HRESULT hr = form.Append(id, isList, payload); Failed(hr)) return hr;
    }
    return S_OK;
}

struct KindWriter {
    uint32_t kind;
    HRESULT (*write)(MetaForm&, ItemReader&, uint32_t count, bool isWave64);
};
constexpr KindWriter WRITERS[] = {{QMFIO_META_SUMMARY, WriteSummary},
                                  {QMFIO_META_MARKERS, WriteMarkers},
                                  {QMFIO_META_PLAYLIST, WritePlayList}};

/// The kind at which the stream stands, if it is of the set. `*taken` are its bytes.
HRESULT WriteKind(HQMFILE file, IQmReadMeta* meta, uint32_t kinds, bool isWave64, uint64_t* taken) {
    constexpr uint32_t PIECE = 1 << 20;
    QMMETAHEADER header;
    if (!ReadAll(meta, &header, sizeof header)) return MEDIA_E_READ;
    *taken = sizeof header + uint64_t{header.bytes};
    MetaBytes bytes;
    while (bytes.size() < header.bytes) {  // by pieces: a size that lies is no reason to ask for the memory
        const size_t before = bytes.size();
        const auto part = static_cast<uint32_t>(std::min<size_t>(header.bytes - before, PIECE));
        bytes.resize(before + part);
        if (!ReadAll(meta, &bytes[before], part)) return MEDIA_E_READ;
    }
    if (header.count == 0 || !(header.kind & kinds)) return S_OK;
    MetaForm form(file, isWave64);
    ItemReader items(bytes);
    const auto* writer = std::ranges::find(WRITERS, header.kind, &KindWriter::kind);
    return (writer == std::end(WRITERS) ? WriteOpaque : writer->write)(form, items, header.count, isWave64);
}

void PutKind(MetaWriter& out, uint32_t kind, uint32_t count, MetaWriter& items) {
    const QMMETAHEADER header = {kind, static_cast<uint32_t>(items.Bytes().size()), count, {}};
    if (count) out.Raw(&header, sizeof header).Raw(items.Bytes().data(), items.Bytes().size());
}
void PutText(MetaWriter& out, const char16_t* text) {
    const auto bytes = static_cast<uint32_t>((TextLength(text) + 1) * sizeof(char16_t));
    out.Put(bytes).Raw(text, bytes);
}

HRESULT ReadSummaryKind(HQMFILE file, MetaForm& form, MetaWriter& out) {
    uint64_t size = 0;
    if (Failed(form.Find(FourCC("INFO"), true, &size))) return S_OK;
    SUMMARYLIST list{};
    auto left = static_cast<uint32_t>(std::min<uint64_t>(size, UINT32_MAX));
    const HRESULT hr = QmSummary_Load(file, &list, &left);
    MetaWriter items;
    for (const SUMMARYITEM& item : std::span(list.items, list.count)) {
        items.Put(item.id);
        PutText(items, item.text);
    }
    PutKind(out, QMFIO_META_SUMMARY, list.count, items);
    QmSummary_Free(&list);
    return hr;
}

struct OwnedCues {
    HQMLIST list = nullptr;
    OwnedCues() { QmList_CreateExZ(&list, 0, -1, -1, QMLIST_HEAP, 0, 0, 0); }
    ~OwnedCues() { QmList_Destroy(list); }
};

HRESULT ReadMarkerKind(HQMFILE file, bool isWave64, MetaWriter& out) {
    const OwnedCues cues;
    if (!cues.list) return E_OUTOFMEMORY;
    const auto fill = isWave64 ? QmFMMeta64_fillCuesFromFileEx : QmFMMeta_fillCuesFromFileEx;
    const HRESULT hr = fill(file, 0, nullptr, cues.list);
    MetaWriter items;
    for (const QMCUE* cue : QmList_Pointers<QMCUE>(cues.list)) {
        items.Put(cue->cueId).Put(cue->position).Put(cue->length);
        PutText(items, cue->text);
    }
    PutKind(out, QMFIO_META_MARKERS, static_cast<uint32_t>(cues.list->count), items);
    return hr;
}

HRESULT ReadPlayListKind(MetaForm& form, MetaWriter& out) {
    MetaBytes payload;
    if (const HRESULT hr = form.Read(FourCC("plst"), false, &payload); Failed(hr)) return hr;
    ItemReader entries(payload);
    MetaWriter items;
    uint32_t count = 0;
    for (auto told = entries.Take<uint32_t>(); count < told; count++) {
        const auto cue = entries.Take<uint32_t>(), length = entries.Take<uint32_t>(),
                   repeats = entries.Take<uint32_t>();
        if (entries.IsShort()) break;
        items.Put(cue).Put(int64_t{length}).Put(repeats);
    }
    PutKind(out, QMFIO_META_PLAYLIST, count, items);
    return S_OK;
}

bool IsForm(HQMFILE file, const ChunkGrammar& g) {
    uint64_t size = 0;
    uint8_t type[16];
    return Succeeded(ChunkIo<FileStream>(FileStream{file}, g).ReadForm(&size, type));
}

/// Calls `take(payload)` for each chunk of the form with the id; of a list without its type.
template <class Take>
HRESULT ForEachOfRow(MetaForm& form, const MetaChunkRow& row, bool isWave64, Take take) {
    uint64_t left = 0, size = 0;
    uint8_t type[16];
    MetaBytes payload;
    if (const HRESULT hr = form.Io().ReadForm(&left, type); Failed(hr)) return hr;
    const GUID label = Wave64LabelOf(row.id);
    for (;;) {
        const bool isRiffList = row.isList && !isWave64;
        const HRESULT found = isRiffList ? form.Io().FindList(&row.id, &size, &left)
                              : isWave64 ? form.Io().Find(&label, &size, &left)
                                         : form.Io().Find(&row.id, &size, &left);
        if (Failed(found)) return S_OK;
        if (const HRESULT hr = form.ReadPayload(size, &payload); Failed(hr)) return hr;
        const uint64_t padded = form.Grammar().Padded(size);
        form.Io().SkipBytes(padded - size);
        left -= std::min(left, padded);
        const size_t typeBytes = row.isList && isWave64 ? std::min<size_t>(payload.size(), 4) : 0;
        if (const HRESULT hr = take(Span(payload).subspan(typeBytes)); Failed(hr)) return hr;
    }
}

HRESULT ReadOpaqueKind(MetaForm& form, const MetaChunkRow& row, bool isWave64, MetaWriter& out) {
    MetaWriter items;
    uint32_t count = 0;
    const HRESULT hr = ForEachOfRow(form, row, isWave64, [&](Span payload) {
        items.Put(row.id).Put(static_cast<uint32_t>(payload.size())).Raw(payload.data(), payload.size());
        count++;
        return S_OK;
    });
    if (Succeeded(hr)) PutKind(out, row.kind, count, items);
    return hr;
}

HRESULT FillBlocks(HQMFILE file, bool isWave64, uint32_t kind, HQMLIST blocks) {
    MetaForm form(file, isWave64);
    if (!IsForm(file, form.Grammar())) return MEDIA_E_NO_RIFF;
    for (const MetaChunkRow& row : MetaChunkRows()) {
        if (!(row.kind & kind)) continue;
        const HRESULT hr = ForEachOfRow(form, row, isWave64, [&](Span payload) {
            void* item = nullptr;
            const HRESULT made =
                QmList_AllocItem(blocks, offsetof(QMMETABLOCK, data) + payload.size() + 1, &item);
            if (Failed(made)) return made;
            auto* block = static_cast<QMMETABLOCK*>(item);
            block->id = row.id;
            block->size = static_cast<uint32_t>(payload.size());
            std::copy(payload.begin(), payload.end(), block->data);
            return QmList_InsertList(blocks, blocks->count, nullptr, -1);
        });
        if (Failed(hr)) return hr;
    }
    return S_OK;
}

HRESULT DeleteRows(HQMFILE file, uint32_t kinds) {
    for (const MetaChunkRow& row : MetaChunkRows()) {
        if (!(row.kind & kinds)) continue;
        HRESULT hr = S_OK;
        do hr = riff_DeleteChunk(file, row.id, nullptr, row.isList);
        while (Succeeded(hr) && row.isRepeated);
        if (Failed(hr) && hr != MEDIA_E_NOT_FOUND) return hr;
    }
    return S_OK;
}
HRESULT DeleteLabels(HQMFILE file, uint32_t kinds) {
    for (const MetaLabelRow& row : MetaLabelRows()) {
        if (!(row.kind & kinds)) continue;
        const HRESULT hr = riff64_DeleteChunk(file, &row.label, nullptr);
        if (Failed(hr) && hr != MEDIA_E_NOT_FOUND) return hr;
    }
    return S_OK;
}
HRESULT DeleteFromAiff(HQMFILE file) {
    for (const uint32_t id : {BigFourCC("INST"), BigFourCC("MARK")})
        if (const HRESULT hr = iff_DeleteChunk(file, id, nullptr); Failed(hr) && hr != MEDIA_E_NOT_FOUND)
            return hr;
    return S_OK;
}

HRESULT OpenAndWrite(const char16_t* path, uint32_t size, IQmReadMeta* meta, uint32_t kinds, bool isWave64) {
    const OwnedFile file = OpenForWriting(path);
    if (!file) return MEDIA_E_OPEN;
    if (!IsForm(file.get(), isWave64 ? WAVE64_GRAMMAR : WAVE_GRAMMAR)) return MEDIA_E_NO_RIFF;
    return QmFMMeta_WriteMetaStreamEx(file.get(), size, meta, kinds, isWave64);
}

}  // namespace

namespace tarn {

IQmReadMeta* CreateMetaStream(Span bytes) try {
    auto* stream = new (std::nothrow) MemoryMeta(bytes);
    if (stream) stream->AddRef();
    return stream;
} catch (const std::bad_alloc&) {
    return nullptr;
}

HRESULT ReadMetaStream(HQMFILE file, bool isWave64, uint32_t kinds, std::vector<uint8_t>* stream) {
    return Guarded([&] {
        MetaWriter out;
        MetaForm form(file, isWave64);
        HRESULT hr = IsForm(file, form.Grammar()) ? S_OK : MEDIA_E_NO_RIFF;
        if (Succeeded(hr) && (kinds & QMFIO_META_SUMMARY)) hr = ReadSummaryKind(file, form, out);
        if (Succeeded(hr) && (kinds & QMFIO_META_MARKERS)) hr = ReadMarkerKind(file, isWave64, out);
        if (Succeeded(hr) && (kinds & QMFIO_META_PLAYLIST)) hr = ReadPlayListKind(form, out);
        constexpr uint32_t READ = QMFIO_META_SUMMARY | QMFIO_META_MARKERS | QMFIO_META_PLAYLIST;
        for (const MetaChunkRow& row : MetaChunkRows())
            if (Succeeded(hr) && (row.kind & kinds & ~READ)) hr = ReadOpaqueKind(form, row, isWave64, out);
        *stream = std::move(out.Bytes());
        return hr;
    });
}

}  // namespace tarn

extern "C" {

HRESULT QmFMMeta_fillBlocksFromFile(HQMFILE file, uint32_t kind, HQMLIST blocks) {
    return Guarded([&] { return FillBlocks(file, false, kind, blocks); });
}
HRESULT QmFMMeta64_fillBlocksFromFile(HQMFILE file, uint32_t kind, HQMLIST blocks) {
    return Guarded([&] { return FillBlocks(file, true, kind, blocks); });
}

HRESULT QmFMMeta_WriteMetaStream(HQMFILE file, IQmReadMeta* meta) {
    uint64_t taken = 0;
    return Guarded([&] { return WriteKind(file, meta, UINT32_MAX, false, &taken); });
}
HRESULT QmFMMeta_WriteMetaStreamEx(HQMFILE file, uint32_t size, IQmReadMeta* meta, uint32_t kinds,
                                   BOOL isWave64) {
    return Guarded([&] {
        uint64_t taken = 0;
        for (uint64_t left = size; left > 0; left -= std::min(left, taken))
            if (const HRESULT hr = WriteKind(file, meta, kinds, isWave64, &taken); Failed(hr)) return hr;
        return S_OK;
    });
}

HRESULT QmFMMeta_openAndWriteMetaStreamEx(const char16_t* path, BOOL flag, uint32_t size, IQmReadMeta* meta,
                                          uint32_t kinds, uint32_t kinds2) {
    return Guarded([&] {
        const HRESULT hr = OpenAndWrite(path, size, meta, kinds | kinds2, false);
        if (!flag || hr != MEDIA_E_NO_RIFF) return hr;
        std::u16string side;
        if (const HRESULT made = OpenSideFile(path, &side); Failed(made)) return made;
        return OpenAndWrite(side.c_str(), size, meta, kinds | kinds2, false);
    });
}
HRESULT QmFMMeta64_openAndWriteMetaStream(const char16_t* path, uint32_t size, IQmReadMeta* meta,
                                          uint32_t kinds) {
    return Guarded([&] { return OpenAndWrite(path, size, meta, kinds, true); });
}
HRESULT QmFMMeta_UpdateMetaStream2(const char16_t* path, uint32_t size, IQmReadMeta* meta, uint32_t kinds) {
    const HRESULT hr = QmFMMeta_DeleteMetaChunksEx(path, kinds, 0);
    return Failed(hr) ? hr : Guarded([&] { return OpenAndWrite(path, size, meta, kinds, false); });
}
HRESULT QmFMMeta64_UpdateMetaStream(const char16_t* path, uint32_t size, IQmReadMeta* meta, uint32_t kinds) {
    const HRESULT hr = QmFMMeta_DeleteMetaChunksEx(path, kinds, 1);
    return Failed(hr) ? hr : Guarded([&] { return OpenAndWrite(path, size, meta, kinds, true); });
}

HRESULT QmFMMeta_DeleteMetaChunksEx(const char16_t* path, uint32_t kinds, BOOL isWave64) {
    const OwnedFile file = OpenForWriting(path);
    if (!file) return S_OK;
    uint32_t formSize = 0;
    if ((kinds & QMFIO_META_AIFF_INSTRUMENT) && iff_IsAIFFFile(file.get(), &formSize))
        return DeleteFromAiff(file.get());
    return isWave64 ? DeleteLabels(file.get(), kinds) : DeleteRows(file.get(), kinds);
}
HRESULT QmFMMeta_DeleteMetaChunks(const char16_t* path) {
    return QmFMMeta_DeleteMetaChunksEx(path, QMFIO_META_MARKERS, 0);
}

}  // extern "C"
