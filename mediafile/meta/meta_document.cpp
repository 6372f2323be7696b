#include "mediafile/meta/meta_document.h"

#include "mediafile/edited_source.h"
#include "mediafile/meta/big_endian.h"
#include "mediafile/riff64.h"

#include <algorithm>
#include <cstdio>

namespace tarn {

uint32_t IdOf(const std::string& text) {
    return FromLittleEndian<uint32_t>(reinterpret_cast<const uint8_t*>(text.data()));
}
std::string IdText(uint32_t id) {
    char text[4];
    std::memcpy(text, &id, 4);
    return {text, 4};
}

namespace {

constexpr const char* TECHNICAL[] = {"JUNK", "junk", "FLLR", "PAD ", "ds64", "fact", "FVER", "PEAK", "CHAN",
                                     "fmt ", "data", "COMM", "SSND", "wavl", "slnt", "levl", "afsp"};
constexpr const char* MARKER_IDS[] = {"cue ", "LIST:adtl", "qm01"};
const GUID MARKERS = Wave64LabelOf(FourCC("cue "));

bool IsAmong(std::span<const char* const> ids, const std::string& id) {
    return std::ranges::find(ids, id) != ids.end();
}

bool IsListId(const std::string& id) { return id.size() == 9 && id.starts_with("LIST:"); }

/// A label from "{8-4-4-4-12}".
std::optional<GUID> GuidOf(const std::string& text) {
    unsigned v[11];
    if (text.size() != 38 ||
        std::sscanf(text.c_str(), "{%8X-%4X-%4X-%2X%2X-%2X%2X%2X%2X%2X%2X}", &v[0], &v[1], &v[2], &v[3],
                    &v[4], &v[5], &v[6], &v[7], &v[8], &v[9], &v[10]) != 11)
        return std::nullopt;
    GUID guid{v[0], static_cast<uint16_t>(v[1]), static_cast<uint16_t>(v[2]), {}};
    for (size_t i = 0; i < 8; i++) guid.Data4[i] = static_cast<uint8_t>(v[3 + i]);
    return guid;
}

/// Whether a Wave64 label stands for a RIFF list, whose type is in its payload.
bool IsListKind(uint32_t id) {
    for (const MetaChunkRow& row : MetaChunkRows())
        if (row.id == id) return row.isList;
    return false;
}

class DocumentReader {
public:
    DocumentReader(const ByteSource& source, const MediaContents& contents)
        : m_source(source), m_contents(contents) {
        m_document.container = contents.container;
    }

    MetaDocument Read() {
        if (m_contents.container == MediaContainer::Unknown) return std::move(m_document);
        const ChunkGrammar& g = GrammarOf(m_contents.container);
        for (size_t i = 1; i < m_contents.chunks.size(); i++) {
            const MediaChunk& chunk = m_contents.chunks[i];
            if (chunk.depth != 0 || chunk.size > META_LARGEST_BLOCK || IsTechnical(chunk)) continue;
            MetaBytes payload(chunk.size);
            const uint64_t body = chunk.offset + g.header;
            if (chunk.size > m_contents.fileBytes - std::min(body, m_contents.fileBytes)) continue;
            uint8_t head[ChunkGrammar::LONGEST_HEADER];
            if (!m_source.Read(chunk.offset, head, g.header) ||
                !m_source.Read(body, payload.data(), static_cast<uint32_t>(payload.size())))
                continue;
            m_contents.container == MediaContainer::Wave64 ? TakeWave64(head, std::move(payload), i)
                                                           : TakeRiff(head, std::move(payload), i);
        }
        return std::move(m_document);
    }

    static bool IsTechnical(const MediaChunk& chunk) { return IsAmong(TECHNICAL, chunk.id); }

private:
    void Add(std::string id, MetaBytes payload, size_t chunk) {
        m_document.blocks.push_back({std::move(id), std::move(payload), chunk, false});
    }
    static MetaBytes WithoutType(const MetaBytes& payload) { return {payload.begin() + 4, payload.end()}; }

    void TakeRiff(const uint8_t* head, MetaBytes payload, size_t chunk) {
        const uint32_t id = FromLittleEndian<uint32_t>(head);
        if (id == FourCC("LIST") && payload.size() >= 4)
            return Add("LIST:" + IdText(FromLittleEndian<uint32_t>(payload.data())),
                       Turned(FourCC("LIST"), WithoutType(payload)), chunk);
        Add(IdText(id), Turned(id, std::move(payload)), chunk);
    }
    MetaBytes Turned(uint32_t id, MetaBytes payload) const {
        return m_contents.container == MediaContainer::Rifx ? TurnBigEndian(id, std::move(payload)) : payload;
    }

    void TakeWave64(const uint8_t* head, MetaBytes payload, size_t chunk) {
        GUID label;
        std::memcpy(&label, head, sizeof label);
        const uint32_t id = RiffIdOf(label);
        if (label == MARKERS && TakeMarkers(payload, chunk)) return;
        if (IsListKind(id) && payload.size() >= 4 && FromLittleEndian<uint32_t>(payload.data()) == id)
            return Add("LIST:" + IdText(id), WithoutType(payload), chunk);
        const bool isKnown = id != 0 && label != MARKERS && !IsListKind(id);
        // A label that is not known is shown as it is.
        Add(isKnown ? IdText(id) : m_contents.chunks[chunk].id, std::move(payload), chunk);
    }
    bool TakeMarkers(const MetaBytes& payload, size_t chunk) {
        std::vector<MetaBlock> inner;
        const bool isWhole = ForEachChunk(payload, [&](uint32_t id, std::span<const uint8_t> bytes) {
            const bool isList = id == FourCC("LIST") && bytes.size() >= 4;
            const uint32_t type = isList ? FromLittleEndian<uint32_t>(bytes.data()) : id;
            const auto body = bytes.subspan(isList ? 4 : 0);
            inner.push_back(
                {(isList ? "LIST:" : "") + IdText(type), {body.begin(), body.end()}, chunk, false});
        });
        const bool isOurs = isWhole && !inner.empty() && std::ranges::all_of(inner, [](const MetaBlock& b) {
                                return IsAmong(MARKER_IDS, b.id);
                            });
        if (isOurs) std::ranges::move(inner, std::back_inserter(m_document.blocks));
        return isOurs;
    }

    const ByteSource& m_source;
    const MediaContents& m_contents;
    MetaDocument m_document;
};

MetaBytes WholeChunk(const ChunkGrammar& g, const void* label, std::span<const uint8_t> type,
                     std::span<const uint8_t> payload) {
    MetaBytes bytes(g.header);
    const uint64_t size = type.size() + payload.size();
    g.MakeHead(bytes.data(), label, size);
    bytes.insert(bytes.end(), type.begin(), type.end());
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    bytes.resize(g.header + g.Padded(size));
    return bytes;
}
std::span<const uint8_t> Characters(const char* text) { return {reinterpret_cast<const uint8_t*>(text), 4}; }

/// The blocks of a Wave64 file's markers stand in one chunk.
std::vector<MetaBlock> Joined(const std::vector<MetaBlock>& blocks) {
    std::vector<MetaBlock> joined;
    std::optional<size_t> markers;
    for (const MetaBlock& block : blocks) {
        if (!IsAmong(MARKER_IDS, block.id)) {
            joined.push_back(block);
            continue;
        }
        if (!markers) {
            markers = joined.size();
            joined.push_back({"cue ", {}, block.chunk, true});
        }
        const MetaBytes chunk = MetaChunkBytes(MediaContainer::Wave, block);
        MetaBlock& all = joined[*markers];
        all.payload.insert(all.payload.end(), chunk.begin(), chunk.end());
        if (all.chunk == MetaBlock::NEW) all.chunk = block.chunk;
    }
    return joined;
}

class EditPlanner {
public:
    EditPlanner(const ByteSource& source, const MediaContents& contents, const MetaDocument& wanted)
        : m_source(source), m_contents(contents), m_wanted(wanted), m_g(GrammarOf(contents.container)) {}

    MetaEditPlan Plan() {
        if (m_contents.container == MediaContainer::Rifx) return Refused("a big-endian file is not written");
        for (const MediaProblem& p : m_contents.problems)
            if (p.fault == MediaFault::Error)
                return Refused("at " + std::to_string(p.offset) + ": " + p.text + "; try 'repair'");
        if (!m_contents.hasData) return Refused("it has no samples");
        if (IsLongWave(m_contents.container)) m_longSizes = ReadLongSizes(m_source);
        const bool isWave64 = m_contents.container == MediaContainer::Wave64;
        m_blocks = isWave64 ? Joined(m_wanted.blocks) : m_wanted.blocks;
        FindSpans();
        if (!Place()) return m_plan;
        if (m_tail.empty() && !HasWrites()) return m_plan;
        if (!WriteTail()) return m_plan;
        WriteSpans();
        return Checked();
    }

private:
    /// Bytes between chunks that stay, to be used again.
    struct Span {
        uint64_t at, length;
        uint64_t stale = 0;  ///< of old content, from the start; the rest is filler
        bool isFreed = false;
        MetaBytes placed;
    };

    MetaEditPlan Refused(std::string why) {
        m_plan.refusal = std::move(why);
        m_plan.writes.clear();
        return m_plan;
    }

    /// Which of the file's chunks are blocks at all, and which of those stay as they are.
    void FindSpans() {
        const MediaChunk& form = m_contents.chunks[0];
        m_formEnd = std::min(form.size + m_g.header, m_contents.fileBytes);
        const bool isWave64 = m_contents.container == MediaContainer::Wave64;
        const MetaDocument held = ReadMetaDocument(m_source, m_contents);
        std::vector<bool> isBlock(m_contents.chunks.size()), isKept(isBlock);
        for (const MetaBlock& old : isWave64 ? Joined(held.blocks) : held.blocks) {
            isBlock[old.chunk] = true;
            const auto now = std::ranges::find(m_blocks, old.chunk, &MetaBlock::chunk);
            if (now == m_blocks.end()) continue;
            now->isChanged = now->id != old.id || now->payload != old.payload;
            isKept[old.chunk] = !now->isChanged;
        }
        for (size_t i = 1; i < m_contents.chunks.size(); i++) {
            const MediaChunk& chunk = m_contents.chunks[i];
            if (chunk.depth != 0) continue;
            const uint64_t end = std::min(chunk.offset + m_g.header + m_g.Padded(chunk.size), m_formEnd);
            const bool isFiller = IsAmong(std::span(TECHNICAL).first(4), chunk.id);
            const bool isFreed = isBlock[i] && !isKept[i];
            if (!isFiller && !isFreed) continue;
            if (m_spans.empty() || m_spans.back().at + m_spans.back().length != chunk.offset)
                m_spans.push_back({chunk.offset, 0, 0, false, {}});
            Span& span = m_spans.back();
            span.length = end - span.at;
            span.isFreed = span.isFreed || isFreed;
            span.stale = isFreed ? span.length : std::max(span.stale, chunk.offset + m_g.header - span.at);
        }
    }

    static bool Fits(const Span& span, uint64_t bytes, uint64_t header) {
        const uint64_t room = span.length - span.placed.size();
        return bytes == room || (bytes < room && room - bytes >= header);
    }

    /// Changed and new blocks into free places, their own first, or behind the last chunk.
    bool Place() {
        for (const MetaBlock& block : m_blocks) {
            if (block.chunk != MetaBlock::NEW && !block.isChanged) continue;
            const MetaBytes bytes = MetaChunkBytes(m_contents.container, block);
            if (bytes.empty()) return Refused("its container has no place for '" + block.id + "'"), false;
            const uint64_t old = block.chunk == MetaBlock::NEW ? 0 : m_contents.chunks[block.chunk].offset;
            Span* target = nullptr;
            for (Span& span : m_spans) {
                if (!Fits(span, bytes.size(), m_g.header)) continue;
                const bool isOwn = old >= span.at && old < span.at + span.length;
                if (!target || isOwn) target = &span;
                if (isOwn) break;
            }
            MetaBytes& to = target ? target->placed : m_tail;
            to.insert(to.end(), bytes.begin(), bytes.end());
        }
        return true;
    }
    bool HasWrites() const {
        return std::ranges::any_of(m_spans, [](const Span& s) { return s.isFreed || !s.placed.empty(); });
    }

    bool WriteTail() {
        if (m_tail.empty()) return true;
        if (m_formEnd < m_contents.fileBytes)
            return Refused(std::to_string(m_contents.fileBytes - m_formEnd) +
                           " bytes stand behind the form, and nothing is written over them"),
                   false;
        m_tail.insert(m_tail.begin(), m_g.Padded(m_formEnd) - m_formEnd, 0);
        m_plan.writes.push_back({m_formEnd, 0, m_tail, "new chunks behind the last one"});
        return WriteFormSize(m_formEnd + m_tail.size());
    }

    bool WriteFormSize(uint64_t end) {
        const uint64_t payload = end - m_g.header;
        uint8_t head[ChunkGrammar::LONGEST_HEADER];
        if (!m_source.Read(0, head, m_g.header)) return Refused("cannot be read"), false;
        const bool isLong = m_longSizes.isThere && m_g.ReadSize(head + m_g.sizeAt) == LongSizes::ELSEWHERE;
        if (!isLong && payload > m_g.LargestPayload())
            return Refused(
                       "the file would be longer than its header can tell; RF64 and Wave64 have no limit"),
                   false;
        MetaBytes bytes(isLong ? 8 : m_g.sizeBytes);
        isLong ? ToLittleEndian(bytes.data(), payload) : m_g.WriteSize(bytes.data(), m_g.Stored(payload));
        const uint64_t count = bytes.size();
        m_plan.writes.push_back({isLong ? m_longSizes.offset : m_g.sizeAt, count, std::move(bytes),
                                 "the size of the file set to " + std::to_string(end)});
        return true;
    }

    void WriteSpans() {
        for (Span& span : m_spans) {
            if (!span.isFreed && span.placed.empty()) continue;
            MetaBytes bytes = span.placed;
            const uint64_t room = span.length - bytes.size();
            if (room) {
                bytes.resize(bytes.size() + m_g.header);
                const char* filler = IsAiff(m_contents.container) ? "FLLR" : "JUNK";
                const void* label = m_contents.container == MediaContainer::Wave64 ? m_g.filler : filler;
                m_g.MakeHead(&bytes[bytes.size() - m_g.header], label, room - m_g.header);
                // Nothing of the old content stays.
                if (bytes.size() < span.stale) bytes.resize(span.stale);
            }
            const uint64_t count = bytes.size();
            m_plan.writes.push_back(
                {span.at, count, std::move(bytes),
                 span.placed.empty() ? "old chunks become filler" : "chunks written anew"});
            const bool isLast = m_tail.empty() && span.at + span.length == m_formEnd;
            if (!isLast || room == 0 || m_formEnd != m_contents.fileBytes) continue;
            const uint64_t end = span.at + span.placed.size();
            if (WriteFormSize(end)) m_cutAt = end;
        }
        if (m_cutAt)
            m_plan.writes.push_back(
                {*m_cutAt, m_contents.fileBytes - *m_cutAt, {}, "the filler at the end is cut off"});
    }

    /// As in a file: each write over the ones before.
    MetaEditPlan Checked() {
        if (m_plan.IsRefused()) return m_plan;
        std::vector<MediaEdit> sorted;
        for (const MediaEdit& write : m_plan.writes) {
            const bool touches =
                write.offset < m_contents.dataOffset + m_contents.dataBytes &&
                m_contents.dataOffset < write.offset + std::max<uint64_t>(write.removed, write.bytes.size());
            if (touches) return Refused("a chunk lies over the samples");
            MediaEdit edit = write;
            // What is cut was written before: of that only the part that stays.
            if (m_cutAt && edit.offset < *m_cutAt && edit.offset + edit.removed > *m_cutAt) {
                edit.removed = *m_cutAt - edit.offset;
                edit.bytes.resize(edit.removed);
            } else if (m_cutAt && edit.offset == *m_cutAt && !edit.bytes.empty()) {
                continue;
            }
            sorted.push_back(std::move(edit));
        }
        std::ranges::stable_sort(sorted, {}, &MediaEdit::offset);
        const EditedSource edited(m_source, sorted);
        const MediaContents after = InspectMedia(edited);
        for (const MediaProblem& p : after.problems)
            if (p.fault == MediaFault::Error)
                return Refused("at " + std::to_string(p.offset) + ": " + p.text);
        if (after.dataOffset != m_contents.dataOffset || after.dataBytes != m_contents.dataBytes ||
            after.frames != m_contents.frames)
            return Refused("its samples would be read in another way");
        if (Sorted(ReadMetaDocument(edited, after)) != Sorted(m_wanted))
            return Refused("its chunks would be read in another way");
        return m_plan;
    }
    static std::vector<std::pair<std::string, MetaBytes>> Sorted(const MetaDocument& document) {
        std::vector<std::pair<std::string, MetaBytes>> blocks;
        for (const MetaBlock& block : document.blocks) blocks.emplace_back(block.id, block.payload);
        std::ranges::sort(blocks);
        return blocks;
    }

    const ByteSource& m_source;
    const MediaContents& m_contents;
    const MetaDocument& m_wanted;
    const ChunkGrammar& m_g;
    LongSizes m_longSizes;
    std::vector<MetaBlock> m_blocks;
    std::vector<Span> m_spans;
    MetaBytes m_tail;
    uint64_t m_formEnd = 0;
    std::optional<uint64_t> m_cutAt;
    MetaEditPlan m_plan;
};

}  // namespace

const MetaBlock* MetaDocument::Find(const std::string& id) const {
    const auto found = std::ranges::find(blocks, id, &MetaBlock::id);
    return found == blocks.end() ? nullptr : &*found;
}
MetaBytes MetaDocument::PayloadOf(const std::string& id) const {
    const MetaBlock* block = Find(id);
    return block ? block->payload : MetaBytes();
}
void MetaDocument::Set(const std::string& id, MetaBytes payload) {
    const auto found = std::ranges::find(blocks, id, &MetaBlock::id);
    if (found == blocks.end()) return (void)blocks.push_back({id, std::move(payload), MetaBlock::NEW, true});
    if (found->payload == payload) return;
    found->payload = std::move(payload);
    found->isChanged = true;
}
void MetaDocument::Remove(const std::string& id) {
    std::erase_if(blocks, [&](const MetaBlock& block) { return block.id == id; });
}

MetaDocument ReadMetaDocument(const ByteSource& source, const MediaContents& contents) {
    return DocumentReader(source, contents).Read();
}
MetaDocument ReadMetaDocument(HQMFILE file) {
    const FileSource source(file);
    return ReadMetaDocument(source, InspectMedia(source));
}

MetaBytes MetaChunkBytes(MediaContainer container, const MetaBlock& block) {
    const ChunkGrammar& g = GrammarOf(container);
    const bool isList = IsListId(block.id);
    const std::string name = isList ? block.id.substr(5) : block.id;
    if (container == MediaContainer::Wave64) {
        const std::optional<GUID> guid = GuidOf(name);
        if (!guid && name.size() != 4) return {};
        const GUID label = guid ? *guid : Wave64LabelOf(IdOf(name));
        return WholeChunk(g, &label, isList ? Characters(name.c_str()) : std::span<const uint8_t>(),
                          block.payload);
    }
    if (name.size() != 4) return {};
    if (!isList) return WholeChunk(g, name.data(), {}, block.payload);
    return WholeChunk(g, g.list, Characters(name.c_str()), block.payload);
}

MetaEditPlan PlanMetaEdit(const ByteSource& source, const MediaContents& contents,
                          const MetaDocument& wanted) {
    return EditPlanner(source, contents, wanted).Plan();
}

HRESULT ApplyMetaEdit(HQMFILE file, const MetaEditPlan& plan) {
    const FileStream s{file};
    const int64_t length = s.Size();
    for (const MediaEdit& write : plan.writes) {
        const auto at = static_cast<int64_t>(write.offset);
        const bool isTail = at >= length, isCut = write.bytes.empty();
        const bool isDone =
            s.Seek(at) &&
            (isCut ? s.SetEnd() : s.Write(write.bytes.data(), static_cast<uint32_t>(write.bytes.size())));
        // The form does not tell of what is new before it is on the disk.
        if (isDone && (!isTail || QmFile_Flush(file))) continue;
        if (isTail && s.Seek(length)) s.SetEnd();
        return MEDIA_E_WRITE;
    }
    return S_OK;
}

}  // namespace tarn
