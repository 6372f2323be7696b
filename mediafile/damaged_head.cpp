#include "mediafile/damaged_head.h"

#include "mediafile/chunk_io.h"
#include "mediafile/riff64.h"

#include <cstring>

namespace tarn {

namespace {

constexpr uint32_t RECORD = 16;         // of plain samples, without the count of codec bytes
constexpr uint64_t MOST_RECORD = 4096;  // with codec bytes
constexpr uint64_t SEARCHED = 1 << 20;  // a header is found again within so many bytes
constexpr uint32_t MOST_HEAD_CHUNKS = 1000;

/// What a format begins with that a search came upon.
bool IsLikelyFormat(const uint8_t* record) {
    const auto channels = FromLittleEndian<uint16_t>(record + 2),
               align = FromLittleEndian<uint16_t>(record + 12);
    const auto rate = FromLittleEndian<uint32_t>(record + 4);
    return FromLittleEndian<uint16_t>(record) != 0 && channels > 0 && channels <= 1024 && align > 0 &&
           rate >= 1000 && rate <= 10'000'000;
}

/// A record that proves itself: of plain samples, with the bytes of a frame and of a second that follow.
bool IsConsistentFormat(const uint8_t* record) {
    const auto tag = FromLittleEndian<uint16_t>(record), channels = FromLittleEndian<uint16_t>(record + 2),
               align = FromLittleEndian<uint16_t>(record + 12),
               bits = FromLittleEndian<uint16_t>(record + 14);
    const auto rate = FromLittleEndian<uint32_t>(record + 4),
               perSecond = FromLittleEndian<uint32_t>(record + 8);
    return (tag == WAVE_TAG_PCM || tag == WAVE_TAG_IEEE_FLOAT || tag == WAVE_TAG_EXTENSIBLE) && bits > 0 &&
           bits <= 64 && IsLikelyFormat(record) && align == (bits + 7u) / 8 * channels &&
           perSecond == uint64_t{align} * rate;
}

class HeadFinder {
public:
    HeadFinder(const ByteSource& source, const WAVEFORMATEX* hint) : m_source(source), m_hint(hint) {}

    DamagedHead Find() {
        uint8_t head[128] = {};
        const uint32_t got = m_source.ReadSome(0, head, sizeof head);
        if (!Identify(head, got)) return Refused(m_head.refusal.empty() ? Unknown(got) : m_head.refusal);
        m_g = &GrammarOf(m_head.container);
        if (m_head.container == MediaContainer::Rifx) return Refused("a file of kind RIFX is not repaired");
        if (m_head.isFormWhole) {
            uint64_t size = 0;
            const bool isValid = m_g->Payload(head, &size);
            if (IsLongWave(m_head.container)) m_head.longSizes = ReadLongSizes(m_source);
            size = m_head.longSizes.Of(head, size);
            m_head.formEnd = isValid && size < INT64_MAX ? size + m_g->header : UINT64_MAX;
        }
        m_g->IsAiff() ? FindAiff() : FindWave();
        if (m_head.refusal.empty() && m_head.dataHeader == 0) Refused("the samples' chunk is not found");
        return m_head;
    }

private:
    DamagedHead& Refused(const std::string& why) {
        m_head.refusal = why;
        m_head.edits.clear();
        return m_head;
    }

    static std::string Unknown(uint32_t got) {
        if (got == 0) return "the file is empty";
        return got < 12 ? "the file ends within its header" : "neither wave, Wave64 nor AIFF";
    }

    /// By what is left of the form's head.
    bool Identify(const uint8_t* head, uint32_t got) {
        m_head.container = ContainerOf(head, got);
        m_head.isFormWhole = m_head.container != MediaContainer::Unknown;
        if (m_head.isFormWhole) {
            m_head.formBytes = GrammarOf(m_head.container).first;
            return true;
        }
        return IdentifyWave64(head, got) || IdentifyWave(head, got) || IdentifyAiff(head, got);
    }
    bool Is(MediaContainer container, uint64_t formBytes) {
        m_head.container = container;
        m_head.formBytes = formBytes;
        return true;
    }

    bool IdentifyWave64(const uint8_t* head, uint32_t got) {
        if (got < 112) return false;
        const auto at = [&](uint32_t place, const GUID& label) {
            return std::memcmp(head + place, &label, 16) == 0;
        };
        const bool isRecord =
            IsConsistentFormat(head + 64) && (at(80, W64_DATA) || at(88, W64_DATA) || at(88, W64_JUNK));
        if (at(0, W64_RIFF) || at(24, W64_WAVE) || at(40, W64_FMT) || isRecord)
            return Is(MediaContainer::Wave64, WAVE64_GRAMMAR.first);
        for (uint32_t p = 0; p < 24; p++)  // bytes before it were lost
            if (at(p, W64_WAVE)) return Is(MediaContainer::Wave64, p + 16);
        return false;
    }

    bool IdentifyWave(const uint8_t* head, uint32_t got) {
        if (got < 44) return false;
        const auto at = [&](uint32_t place, const char* id) { return std::memcmp(head + place, id, 4) == 0; };
        if (at(0, "RF64") || at(0, "BW64") || at(0, "RIFX") || at(0, "FORM")) return false;
        const bool isFormat = (at(12, "fmt ") || at(36, "data") || at(38, "data") || at(38, "JUNK")) &&
                              IsConsistentFormat(head + 20);
        if (at(0, "RIFF") && !at(8, "WAVE") && WAVE_GRAMMAR.IsPlausible(head + 8) && !isFormat) {
            m_head.refusal = "a form that holds no samples: '" + WAVE_GRAMMAR.Id(head + 8) + "'";
            return false;
        }
        if (at(0, "RIFF") || at(8, "WAVE") || isFormat) return Is(MediaContainer::Wave, WAVE_GRAMMAR.first);
        for (uint32_t p = 0; p < 12; p++) {  // bytes before it were lost
            if (at(p, "WAVE")) return Is(MediaContainer::Wave, p + 4);
            if (at(p, "fmt ") && IsConsistentFormat(head + p + 8)) return Is(MediaContainer::Wave, p);
        }
        return false;
    }

    bool IdentifyAiff(const uint8_t* head, uint32_t got) {
        if (got < 20 || std::memcmp(head, "RIFF", 4) == 0) return false;
        const bool isAifc = std::memcmp(head + 8, "AIFC", 4) == 0;
        if (!isAifc && std::memcmp(head + 8, "AIFF", 4) != 0) return false;
        return AIFF_GRAMMAR.IsKnown(head + 12) &&
               Is(isAifc ? MediaContainer::Aifc : MediaContainer::Aiff, 12);
    }

    struct Chunk : ChunkHead {
        uint64_t at = 0, body = 0;
        std::string id;
    };
    bool ReadChunk(uint64_t at, Chunk* chunk) const {
        if (!ChunkIo<SourceStream>(SourceStream(m_source), *m_g, &m_head.longSizes).ReadHeadAt(at, chunk))
            return false;
        chunk->at = at;
        chunk->body = at + m_g->header;
        chunk->id = m_g->Id(chunk->bytes);
        return true;
    }
    bool HasFormat() const { return m_head.formatBytes != 0; }
    uint64_t Behind(const Chunk& chunk) const { return chunk.body + m_g->Padded(chunk.size); }
    /// The file reaches so far, and a chunk may stand there.
    bool LeadsOn(const Chunk& chunk) const {
        Chunk next;
        if (!chunk.isValid || chunk.size >= m_source.Size() || !ReadChunk(Behind(chunk), &next)) return false;
        const bool fits =
            next.isValid && next.body <= m_source.Size() && next.size <= m_source.Size() - next.body;
        return m_g->IsKnown(next.bytes) || (m_g->IsPlausible(next.bytes) && fits);
    }

    void FindAiff() {
        Chunk chunk;
        uint64_t at = m_head.formBytes;
        for (uint32_t n = 0; n < MOST_HEAD_CHUNKS && ReadChunk(at, &chunk); n++, at = Behind(chunk)) {
            if (!m_g->IsPlausible(chunk.bytes)) break;
            if (chunk.id == m_g->format && !m_head.format) {
                m_head.format = chunk.body;
                m_head.formatBytes = chunk.size;
            }
            if (chunk.id == m_g->samples && !m_head.dataHeader) TakeData(chunk);
            if (chunk.size >= m_source.Size()) break;
        }
        if (m_head.dataHeader && !m_head.format) Refused("there is no 'COMM' with the format of the samples");
    }

    void TakeData(const Chunk& chunk) {
        m_head.dataHeader = chunk.at;
        m_head.payload = chunk.size;
        m_head.isPayloadValid = chunk.isValid;
    }

    void FindWave() {
        uint64_t at = m_head.formBytes;
        uint8_t record[RECORD];
        Chunk chunk;
        // The record stands where writers put it, and the header of its chunk is gone.
        const uint64_t usual = m_g->first + m_g->header;
        const bool isAtUsual = m_head.formBytes == m_g->first && m_source.Read(usual, record, RECORD);
        if (isAtUsual && ReadChunk(at, &chunk) && chunk.id != m_g->format && !LeadsOn(chunk) &&
            IsConsistentFormat(record))
            at = TakeBareRecord(usual);
        for (uint32_t n = 0; n < MOST_HEAD_CHUNKS && m_head.refusal.empty(); n++) {
            if (!ReadChunk(at, &chunk)) return (void)Refused("the file ends within its header");
            if (chunk.id == m_g->samples) {
                if (!HasFormat() && !TakeHint(chunk.at, chunk.at)) return;
                return TakeData(chunk);
            }
            if (chunk.id == m_g->format && !HasFormat())
                at = TakeFormat(chunk);
            else
                at = LeadsOn(chunk) ? Behind(chunk) : Resync(chunk);
        }
    }

    /// Returns where the next chunk stands, which decides how long the record is.
    uint64_t TakeBareRecord(uint64_t record) {
        for (const uint64_t bytes : {uint64_t{RECORD}, uint64_t{sizeof(WAVEFORMATEX)}}) {
            Chunk next;
            const uint64_t behind = record + m_g->Padded(bytes);
            if (!ReadChunk(behind, &next) || !m_g->IsKnown(next.bytes)) continue;
            m_head.format = record;
            m_head.formatBytes = bytes;
            Edit(record - m_g->header, m_g->header, Header(FormatLabel(), bytes),
                 "the header of 'fmt ' is written anew");
            return behind;
        }
        return m_head.formBytes;
    }

    uint64_t TakeFormat(const Chunk& chunk) {
        m_head.format = chunk.body;
        m_head.formatBytes = chunk.size;
        if (chunk.size >= 14 && chunk.size <= MOST_RECORD && LeadsOn(chunk)) return Behind(chunk);
        // Its size is wrong: of the usual ones that which a chunk follows.
        uint8_t record[sizeof(WAVEFORMATEX)] = {};
        m_source.ReadSome(chunk.body, record, sizeof record);
        const uint64_t extra = FromLittleEndian<uint16_t>(record + 16);
        for (const uint64_t bytes : {uint64_t{RECORD}, uint64_t{18}, 18 + extra, uint64_t{40}}) {
            Chunk next;
            if (!ReadChunk(chunk.body + m_g->Padded(bytes), &next) || !m_g->IsKnown(next.bytes)) continue;
            m_head.formatBytes = bytes;
            SetSize(chunk, bytes);
            return next.at;
        }
        m_head.formatBytes = std::min<uint64_t>(chunk.size, RECORD);
        return Resync(chunk);
    }

    /// The chunk does not lead to the next one. Finds where that stands, and makes the chunk reach to there.
    uint64_t Resync(const Chunk& broken) {
        const std::optional<uint64_t> found = NextFrom(broken);
        if (!found) {
            const bool isCut =
                broken.isValid && broken.size < SEARCHED && Behind(broken) + m_g->header > m_source.Size();
            Refused(isCut ? "the file ends within its header"
                          : "at " + std::to_string(broken.at) +
                                ": the way from the header to the samples is lost");
            return broken.at;
        }
        // What the chunk tells may be right, and what lies behind it be lost.
        const uint64_t next = *found;
        const bool isWhole = m_g->IsPlausible(broken.bytes) && broken.isValid && broken.size < next &&
                             Behind(broken) + m_g->header <= next;
        const uint64_t from = isWhole ? Behind(broken) : broken.at, gap = next - from;
        Chunk target;
        const bool isSamples = ReadChunk(next, &target) && target.id == m_g->samples;
        if (isSamples && !HasFormat()) return TakeHint(from, next) ? next : broken.at;
        if (gap < m_g->header) {  // no room for a chunk
            Edit(from, gap, {}, std::to_string(gap) + " bytes that belong to no chunk are left out");
            return next;
        }
        const uint64_t payload = gap - m_g->header, pad = m_g->Padded(payload) - payload;
        if (pad)
            Edit(next, 0, std::vector<uint8_t>(pad, 0),
                 std::to_string(pad) + " bytes of padding for those that were lost");
        if (!isWhole && m_g->IsPlausible(broken.bytes))
            SetSize(broken, payload);
        else
            Edit(from, m_g->header, Header(m_g->filler, payload),
                 "no chunk stands here; skipped as filler up to " + std::to_string(next));
        return next;
    }

    /// The format, or what follows it, behind a chunk that is known and only not as long as it tells. Samples
    /// must not be taken for a header: the one of theirs is believed where its size is that of the file, or
    /// chunks follow.
    std::optional<uint64_t> NextFrom(const Chunk& broken) const {
        const uint64_t end = std::min(m_source.Size(), broken.at + SEARCHED);
        std::vector<uint8_t> bytes(end - broken.at);
        bytes.resize(m_source.ReadSome(broken.at, bytes.data(), static_cast<uint32_t>(bytes.size())));
        for (uint64_t i = 1; i + m_g->header + RECORD <= bytes.size(); i++) {
            if (!m_g->IsKnown(&bytes[i])) continue;
            Chunk chunk;
            if (!ReadChunk(broken.at + i, &chunk)) return std::nullopt;
            if (chunk.id == m_g->format && !HasFormat() && IsLikelyFormat(&bytes[i + m_g->header]) &&
                (LeadsOn(chunk) || IsConsistentFormat(&bytes[i + m_g->header])))
                return chunk.at;
            if (HasFormat() && !m_g->IsKnown(broken.bytes)) return std::nullopt;
            if (LeadsToSamples(chunk)) return chunk.at;
        }
        return std::nullopt;
    }
    bool LeadsToSamples(Chunk chunk) const {
        for (uint32_t n = 0; n < MOST_HEAD_CHUNKS && chunk.id != m_g->samples; n++)
            if (chunk.id == m_g->format || !m_g->IsKnown(chunk.bytes) || !LeadsOn(chunk) ||
                !ReadChunk(Behind(chunk), &chunk))
                return false;
        if (chunk.id != m_g->samples || !chunk.isValid || chunk.size == 0) return false;
        const uint64_t length = m_source.Size(), behind = chunk.body + chunk.size;
        return behind == length || behind + 1 == length || (behind < length && LeadsOn(chunk));
    }

    /// Puts the hint's format over what is lost.
    bool TakeHint(uint64_t from, uint64_t to) {
        if (!m_hint) {
            m_head.isFormatMissing = true;
            Refused("no format stands before the samples");
            return false;
        }
        const uint64_t gap = to - from, record = m_g->Padded(RECORD), chunk = m_g->header + record;
        std::vector<uint8_t> bytes = Header(FormatLabel(), RECORD);
        const auto* hint = reinterpret_cast<const uint8_t*>(m_hint);
        bytes.insert(bytes.end(), hint, hint + RECORD);
        uint64_t removed = gap;
        if (gap >= chunk + m_g->header) {  // the rest stays, as filler
            const std::vector<uint8_t> filler = Header(m_g->filler, gap - chunk - m_g->header);
            bytes.insert(bytes.end(), filler.begin(), filler.end());
            removed = bytes.size();
        }
        m_head.format = 0;
        m_head.formatBytes = RECORD;
        Edit(from, removed, std::move(bytes), "the format that was lost is written as given");
        return true;
    }

    std::vector<uint8_t> Header(const void* label, uint64_t payload) const {
        std::vector<uint8_t> bytes(m_g->header);
        m_g->MakeHead(bytes.data(), label, payload);
        return bytes;
    }
    const void* FormatLabel() const {
        return m_g->sizeBytes == 8 ? static_cast<const void*>(&W64_FMT) : "fmt ";
    }

    void Edit(uint64_t at, uint64_t removed, std::vector<uint8_t> bytes, std::string what) {
        m_head.edits.push_back({at, removed, std::move(bytes), std::move(what)});
    }
    void SetSize(const Chunk& chunk, uint64_t payload) {
        std::vector<uint8_t> bytes(m_g->sizeBytes);
        m_g->WriteSize(bytes.data(), m_g->Stored(payload));
        Edit(chunk.at + m_g->sizeAt, m_g->sizeBytes, std::move(bytes),
             "the size of '" + chunk.id + "' set to " + std::to_string(payload));
    }

    const ByteSource& m_source;
    const WAVEFORMATEX* m_hint;
    const ChunkGrammar* m_g = nullptr;
    DamagedHead m_head;
};

}  // namespace

DamagedHead FindDamagedHead(const ByteSource& source, const WAVEFORMATEX* hint) {
    return HeadFinder(source, hint).Find();
}

}  // namespace tarn
