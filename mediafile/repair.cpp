#include "mediafile/repair.h"

#include "mediafile/aiff_comm.h"
#include "mediafile/byte_order.h"
#include "mediafile/damaged_head.h"
#include "mediafile/edited_source.h"
#include "mediafile/file_stream.h"
#include "mediafile/riff64.h"
#include "mediafile/sample_extent.h"

#include <algorithm>
#include <cstring>

namespace tarn {

namespace {

/// Wave formats whose samples stand for themselves.
bool IsPacked(uint32_t tag) {
    constexpr uint32_t ALAW = 6, MULAW = 7;
    return tag == WAVE_TAG_PCM || tag == WAVE_TAG_IEEE_FLOAT || tag == ALAW || tag == MULAW;
}

class RepairPlanner {
public:
    RepairPlanner(const ByteSource& source, const MediaRepairOptions& options)
        : m_source(source), m_options(options), m_length(source.Size()) {}

    MediaRepairPlan Plan() {
        m_before = InspectMedia(m_source);
        m_head = FindDamagedHead(m_source, m_options.format);
        if (!m_head.refusal.empty())
            return Refused(m_head.refusal,
                           m_head.isFormatMissing ? MediaRepairNeeds::Format : MediaRepairNeeds::Nothing);
        m_g = &GrammarOf(m_head.container);
        m_plan.edits = m_head.edits;
        if (!FindSamples() || !FindFrame()) return m_plan;
        const SampleExtent extent = Extent();
        if (!extent.unclear.empty()) return Refused(extent.unclear, MediaRepairNeeds::SamplesEnd);
        m_plan.frames = extent.bytes / m_frame;
        if (!SetSizes(extent)) return m_plan;
        std::ranges::sort(m_plan.edits, {}, &MediaEdit::offset);
        return Checked(extent.bytes);
    }

private:
    MediaRepairPlan Refused(std::string why, MediaRepairNeeds needs = MediaRepairNeeds::Nothing) {
        m_plan.refusal = std::move(why);
        m_plan.needs = needs;
        m_plan.edits.clear();
        return m_plan;
    }
    bool Refuse(std::string why) { return Refused(std::move(why)), false; }

    void Edit(uint64_t at, std::vector<uint8_t> bytes, const std::string& what) {
        const uint64_t count = bytes.size();
        std::vector<uint8_t> old(count);
        if (m_source.Read(at, old.data(), static_cast<uint32_t>(count)) && old == bytes) return;
        m_plan.edits.push_back({at, count, std::move(bytes), what});
    }
    template <class Number>
    void EditNumber(uint64_t at, Number value, const std::string& what) {
        std::vector<uint8_t> bytes(sizeof value);
        m_g->isBigEndian ? ToBigEndian(bytes.data(), value) : ToLittleEndian(bytes.data(), value);
        Edit(at, std::move(bytes), what + " set to " + std::to_string(value));
    }
    void EditSize(uint64_t header, uint64_t payload, const std::string& what) {
        const uint64_t at = header + m_g->sizeAt, stored = m_g->Stored(payload);
        if (IsLong(header)) {
            constexpr uint64_t DATA = 8;  // behind the form's
            return EditNumber<uint64_t>(m_head.longSizes.offset + (header == 0 ? 0 : DATA), payload, what);
        }
        m_g->sizeBytes == 8 ? EditNumber<uint64_t>(at, stored, what)
                            : EditNumber<uint32_t>(at, static_cast<uint32_t>(stored), what);
    }

    /// The size in the header at that place is told in "ds64".
    bool IsLong(uint64_t header) const {
        uint8_t stored[4];
        return m_head.longSizes.isThere && m_source.Read(header + m_g->sizeAt, stored, sizeof stored) &&
               FromLittleEndian<uint32_t>(stored) == LongSizes::ELSEWHERE;
    }
    uint64_t LargestPayload(uint64_t header) const {
        return IsLong(header) ? uint64_t{INT64_MAX} / 2 : m_g->LargestPayload();
    }

    bool FindSamples() {
        const uint64_t body = m_head.dataHeader + m_g->header;
        m_extra = 0;
        if (m_g->IsAiff()) {
            uint8_t offset[8];
            if (!m_source.Read(body, offset, sizeof offset)) return Refuse("the file ends within its header");
            m_extra = sizeof offset + FromBigEndian<uint32_t>(offset);
        }
        m_plan.samples = body + m_extra;
        if (m_plan.samples <= m_length) return true;
        m_plan.samples = 0;
        return Refuse("the file ends before its first sample");
    }

    bool FindFrame() { return m_g->IsAiff() ? FindAiffFrame() : FindWaveFrame(); }

    bool FindWaveFrame() {
        WAVEFORMATEXTENSIBLE record{};
        WAVEFORMATEX& wfx = record.Format;
        const auto bytes = static_cast<uint32_t>(std::min<uint64_t>(m_head.formatBytes, sizeof record));
        if (m_head.format == 0)
            std::memcpy(&wfx, m_options.format, bytes);
        else if (bytes < 14 || !m_source.Read(m_head.format, &record, bytes))
            return Refuse("'fmt ' is too short for a format");
        if (wfx.wFormatTag == WAVE_TAG_EXTENSIBLE && bytes == sizeof record)
            wfx.cbSize = WAVE_EXTENSIBLE_EXTRA;
        m_isPackedWave = IsPacked(QmAudio_GetWaveFormatTag(&wfx));
        // What part of a last packet is there, its codec may make something of.
        if (!m_isPackedWave) return m_frame = 1, true;
        m_frame = (wfx.wBitsPerSample + 7u) / 8 * wfx.nChannels;
        if (m_frame == 0 || m_frame > UINT16_MAX) return Refuse("the format has no channels or no bits");
        if (wfx.nBlockAlign == m_frame) return true;
        // Of three that must agree the two others do.
        if (wfx.nBlockAlign != 0 && wfx.nAvgBytesPerSec != m_frame * wfx.nSamplesPerSec)
            return Refuse("the format has frames of " + std::to_string(wfx.nBlockAlign) +
                          " bytes, its samples make " + std::to_string(m_frame) +
                          ", and nothing tells which is right");
        EditNumber(m_head.format + 12, static_cast<uint16_t>(m_frame), "the bytes of a frame");
        return true;
    }

    bool FindAiffFrame() {
        const bool isAifc = m_head.container == MediaContainer::Aifc;
        const uint32_t bytes = isAifc ? AIFC_COMM_BYTES : AIFF_COMM_BYTES;
        uint8_t record[AIFC_COMM_BYTES] = {'N', 'O', 'N', 'E'};
        if (m_head.formatBytes < bytes || !m_source.Read(m_head.format, record, bytes))
            return Refuse("'COMM' is too short for a format");
        const AiffComm comm = ReadComm(record);
        m_countedFrames = comm.frames;
        const char* id = isAifc ? reinterpret_cast<const char*>(record + AIFF_COMM_BYTES) : "NONE";
        const AifcCompression* packing = FindAifcCompression(id);
        if (!packing || packing->codec == SampleCodec::ImaPackets) {
            // The frames of a packet are known to its codec alone.
            if (!m_before.HasErrors()) return false;
            return Refuse("its samples are compressed: '" + std::string(id, 4) +
                          "', and where they end only the codec knows");
        }
        m_frame = ((packing->bits ? packing->bits : comm.bits) + 7u) / 8 * comm.channels;
        return m_frame > 0 || Refuse("the format has no channels or no bits");
    }

    SampleExtent Extent() const {
        const bool isSet = m_head.isPayloadValid && m_head.payload > m_extra &&
                           (m_g->sizeBytes == 8 || m_head.longSizes.isThere || m_head.payload != UINT32_MAX);
        const ExtentFacts facts = {m_plan.samples, m_head.payload - std::min(m_head.payload, m_extra),
                                   isSet,          m_head.formEnd,
                                   m_frame,        uint64_t{m_countedFrames} * m_frame};
        return m_options.samplesEnd ? SampleExtentUpTo(m_source, *m_g, facts, *m_options.samplesEnd)
                                    : FindSampleExtent(m_source, *m_g, facts);
    }

    /// Of the samples' chunk, of the form, and the numbers of frames.
    bool SetSizes(const SampleExtent& extent) {
        uint64_t end = extent.formEnd;
        for (const MediaEdit& edit : m_plan.edits) end = end - edit.removed + edit.bytes.size();
        if (!m_head.isFormWhole) end = end - m_head.formBytes + m_g->first;
        const bool isTooLong = extent.bytes + m_extra > LargestPayload(m_head.dataHeader);
        if ((isTooLong || end - m_g->header > LargestPayload(0)) && BecomeLong(extent, end)) return true;
        if (isTooLong) return Refuse("the samples are more than such a file can tell of");
        if (extent.isChanged || !m_head.isPayloadValid)
            EditSize(m_head.dataHeader, extent.bytes + m_extra, "the size of the samples' chunk");
        if (m_g->IsAiff()) {
            if (m_plan.frames > UINT32_MAX)
                return Refuse("the samples are more than such a file can tell of");
            EditNumber(m_head.format + 2, static_cast<uint32_t>(m_plan.frames), "the number of frames");
        } else if (extent.isChanged) {
            SetFact();
            if (m_head.longSizes.isThere)
                EditNumber<uint64_t>(m_head.longSizes.offset + 16, m_plan.frames, "the frames of 'ds64'");
        }
        if (end - m_g->header > LargestPayload(0))
            return Refuse("the file is longer than its header can tell");
        if (m_head.isFormWhole)
            EditSize(0, end - m_g->header, "the size of the file");
        else
            WriteForm(end - m_g->header);
        return true;
    }

    /// A recorder leaves a filler behind the form's head for the sizes of a file that outgrows 32 bits. In
    /// the reverse of their order no edit makes a file that another run does not take for what it was.
    bool BecomeLong(const SampleExtent& extent, uint64_t end) {
        const uint64_t filler = m_head.isFormWhole ? m_g->first : m_head.formBytes;
        uint8_t head[8];
        if (m_head.container != MediaContainer::Wave || !m_source.Read(filler, head, sizeof head))
            return false;
        const auto is = [&](const char* id) { return std::memcmp(head, id, 4) == 0; };
        if ((!is("JUNK") && !is("junk") && !is("ds64")) ||
            FromLittleEndian<uint32_t>(head + 4) < LongSizes::BYTES)
            return false;
        std::vector<uint8_t> form(m_g->first), sizes(sizeof head + LongSizes::BYTES),
            elsewhere(sizeof(uint32_t), 0xFF);
        RF64_GRAMMAR.MakeHead(form.data(), RF64_GRAMMAR.form, LongSizes::ELSEWHERE);
        std::memcpy(&form[m_g->header], "WAVE", m_g->type);
        std::memcpy(sizes.data(), "ds64", 4);
        std::memcpy(&sizes[4], head + 4, 4);
        ToLittleEndian(&sizes[8], end - m_g->header);
        ToLittleEndian(&sizes[16], extent.bytes);
        ToLittleEndian(&sizes[24], m_plan.frames);
        Edit(m_head.dataHeader + m_g->sizeAt, elsewhere, "the size of the samples' chunk goes to 'ds64'");
        Edit(filler, std::move(sizes), "the filler becomes 'ds64', with the sizes of a file of its length");
        SetFact();
        m_plan.edits.push_back({0, m_head.formBytes, std::move(form), "the file becomes RF64"});
        return true;
    }

    /// The count that formats other than plain PCM have beside the size.
    void SetFact() {
        if (!m_isPackedWave || !m_head.edits.empty()) return;
        for (const MediaChunk& chunk : m_before.chunks)
            if (chunk.id == "fact" && chunk.depth == 0 && chunk.size >= 4 &&
                chunk.offset + m_g->header + 4 <= m_head.dataHeader)
                EditNumber(chunk.offset + m_g->header,
                           static_cast<uint32_t>(std::min<uint64_t>(m_plan.frames, UINT32_MAX)),
                           "the frames of 'fact'");
    }

    void WriteForm(uint64_t payload) {
        std::vector<uint8_t> bytes(m_g->first);
        m_g->MakeHead(bytes.data(), m_g->form, payload);
        const void* type = m_g->sizeBytes == 8                        ? static_cast<const void*>(&W64_WAVE)
                           : !m_g->IsAiff()                           ? "WAVE"
                           : m_head.container == MediaContainer::Aifc ? "AIFC"
                                                                      : "AIFF";
        std::memcpy(&bytes[m_g->header], type, m_g->type);
        m_plan.edits.push_back(
            {0, m_head.formBytes, std::move(bytes), "the head of the file is written anew"});
    }

    /// The plan is carried out for the eyes of the inspector, and refused where anything is left.
    MediaRepairPlan Checked(uint64_t bytes) {
        uint64_t samples = m_plan.samples;
        for (const MediaEdit& edit : m_plan.edits) {
            if (edit.offset + edit.removed > m_plan.samples)
                return Refused("what is wrong at " + std::to_string(edit.offset) +
                               " lies behind the first sample");
            samples = samples - edit.removed + edit.bytes.size();
        }
        const MediaContents after =
            m_plan.edits.empty() ? m_before : InspectMedia(EditedSource(m_source, m_plan.edits));
        for (const MediaProblem& p : after.problems)
            if (p.fault == MediaFault::Error)
                return Refused("at " + std::to_string(p.offset) + ": " + p.text);
        if (after.dataOffset != samples || after.dataBytes / m_frame != bytes / m_frame)
            return Refused("its header can be read in more than one way");
        m_plan.frames = after.frames;
        return m_plan;
    }

    const ByteSource& m_source;
    const MediaRepairOptions& m_options;
    const uint64_t m_length;
    const ChunkGrammar* m_g = nullptr;
    MediaContents m_before;
    DamagedHead m_head;
    MediaRepairPlan m_plan;
    uint64_t m_extra = 0;  ///< bytes of the samples' chunk before them
    uint64_t m_frame = 0;
    uint32_t m_countedFrames = 0;  ///< of "COMM"
    bool m_isPackedWave = false;
};

}  // namespace

MediaRepairPlan PlanMediaRepair(HQMFILE file, const MediaRepairOptions& options) {
    return RepairPlanner(FileSource(file), options).Plan();
}

HRESULT ApplyMediaRepair(HQMFILE file, const MediaRepairPlan& plan) {
    if (plan.MovesSamples()) return E_INVALIDARG;
    const FileStream s{file};
    // From behind: with the size of the samples set, nothing about them is in doubt any more.
    for (auto edit = plan.edits.rbegin(); edit != plan.edits.rend(); ++edit)
        if (!s.Seek(static_cast<int64_t>(edit->offset)) ||
            !s.Write(edit->bytes.data(), static_cast<uint32_t>(edit->bytes.size())))
            return MEDIA_E_WRITE;
    return S_OK;
}

HRESULT WriteRepairedMedia(HQMFILE from, const MediaRepairPlan& plan, HQMFILE to,
                           const std::function<void(uint64_t)>& progress) {
    constexpr uint32_t PIECE = 1 << 20;
    const FileSource source(from);
    const EditedSource edited(source, plan.edits);
    std::vector<uint8_t> piece(PIECE);
    const FileStream out{to};
    for (uint64_t at = 0; at < edited.Size(); at += PIECE) {
        const auto count = static_cast<uint32_t>(std::min<uint64_t>(edited.Size() - at, PIECE));
        if (!edited.Read(at, piece.data(), count)) return MEDIA_E_READ;
        if (!out.Write(piece.data(), count)) return MEDIA_E_WRITE;
        if (progress) progress(at + count);
    }
    return S_OK;
}

}  // namespace tarn
