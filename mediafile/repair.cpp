#include "mediafile/repair.h"

#include "audio/format_text.h"
#include "mediafile/aiff_comm.h"
#include "mediafile/file_stream.h"
#include "mediafile/lost_samples.h"
#include "mediafile/riff64.h"
#include "mediafile/riff_core.h"
#include "mediafile/wave_file.h"

#include <cstring>

namespace {

/// The samples of a header that was lost begin within so many bytes.
constexpr uint64_t SEARCHED = 1 << 20;

class Repairer {
public:
    Repairer(HQMFILE file, const WAVEFORMATEX* hint, MediaRepair& repair)
        : m_s{file}, m_hint(hint), m_repair(repair) {}

    HRESULT Run() {
        const MediaContents contents = InspectMedia(m_s.file);
        m_length = contents.fileBytes;
        if (contents.isOtherKind) return MEDIA_E_UNSUPPORTED_FORMAT;
        if (contents.container == MediaContainer::Aiff || contents.container == MediaContainer::Aifc)
            return MendAiff(contents);
        if (CanMend(contents)) return MendWave(contents);
        const bool is64 = contents.container == MediaContainer::Wave64 || LooksLikeWave64();
        if (const HRESULT hr = NewHeader(is64); Failed(hr)) return hr;
        const MediaContents after = InspectMedia(m_s.file);
        return CanMend(after) ? MendWave(after) : S_OK;
    }

private:
    static bool CanMend(const MediaContents& c) {
        const bool isWave = c.container == MediaContainer::Wave || c.container == MediaContainer::Wave64;
        return isWave && c.hasFormat && c.hasData && (!c.format.format.IsForeign() || IsOfACodec(c));
    }

    /// Compressed by a codec that has a name: its format is left alone, and only sizes are mended.
    static bool IsOfACodec(const MediaContents& c) {
        char16_t name[64];
        const uint32_t tag = c.format.format.FormatTag();
        return c.format.format.IsForeign() && tag != WAVE_TAG_PCM && tag != WAVE_TAG_IEEE_FLOAT &&
               QmAudio_GetCompressionTypeName(tag, name, 64, 1) == 0;
    }

    /// Where the form ends when the samples are its last chunk: behind their pad, if there is one.
    uint64_t EndOf(uint64_t offset, uint64_t bytes, uint64_t multiple) const {
        return std::min(offset + bytes + (multiple - bytes % multiple) % multiple, m_length);
    }

    /// As the header tells, where the file reaches so far and no chunk farther.
    uint64_t EndOfChunks(const MediaContents& c, uint64_t header) const {
        uint64_t end = c.chunks[0].size > m_length ? m_length : c.chunks[0].size + header;
        for (size_t i = 1; i < c.chunks.size(); i++)
            if (c.chunks[i].depth == 0)
                end = std::max(end, c.chunks[i].offset + header + std::min(c.chunks[i].size, m_length));
        return std::min(end, m_length);
    }

    bool LooksLikeWave64() {
        // Labels that a damaged head may still have: the form's, or the format's.
        GUID found;
        for (const auto& [at, label] :
             {std::pair{0, &W64_RIFF}, {24, &W64_WAVE}, {40, &W64_FMT}, {88, &W64_DATA}})
            if (m_s.Seek(at) && m_s.Read(&found, sizeof found) && found == *label) return true;
        return false;
    }

    template <class Number>
    HRESULT Patch(uint64_t at, Number value, bool bigEndian, const std::string& what) {
        uint8_t bytes[sizeof value], old[sizeof value];
        bigEndian ? ToBigEndian(bytes, value) : ToLittleEndian(bytes, value);
        if (!m_s.Seek(static_cast<int64_t>(at)) || !m_s.Read(old, sizeof old)) return MEDIA_E_READ;
        if (std::memcmp(bytes, old, sizeof old) == 0) return S_OK;
        if (!m_s.Seek(static_cast<int64_t>(at)) || !m_s.Write(bytes, sizeof bytes)) return MEDIA_E_WRITE;
        m_repair.changes.push_back("at " + std::to_string(at) + ": " + what + " set to " +
                                   std::to_string(value));
        return S_OK;
    }

    HRESULT MendWave(const MediaContents& c) {
        const bool is64 = c.container == MediaContainer::Wave64;
        if (const HRESULT hr = MendFormat(c); Failed(hr)) return hr;
        const uint64_t frame = m_frame, header = is64 ? RIFF64_CHUNK_HEADER : RIFF_CHUNK_HEADER;
        // A size that was never set, or that reaches beyond the end, means all that follows.
        uint64_t bytes = c.dataBytes;
        if (!ChunksFollow(c)) bytes = m_length - c.dataOffset;
        bytes -= bytes % frame;
        m_repair.frames = IsOfACodec(c) ? c.frames : bytes / frame;
        // The pieces of a frame stay in the chunk where other chunks follow: their places depend on its size.
        if (!ChunksFollow(c) || bytes > c.dataBytes) {
            if (!is64 && bytes > RIFF_LARGEST) return MEDIA_E_TOO_LARGE;
            const HRESULT hr = is64 ? Patch<uint64_t>(c.dataHeader + 16, bytes + header, false,
                                                      "the size of the samples' chunk")
                                    : Patch<uint32_t>(c.dataHeader + 4, static_cast<uint32_t>(bytes), false,
                                                      "the size of the samples' chunk");
            if (Failed(hr)) return hr;
        }
        if (!is64 && m_length - header > RIFF_LARGEST) return MEDIA_E_TOO_LARGE;
        if (const HRESULT hr = MendCutChunks(c, header, false); Failed(hr)) return hr;
        const uint64_t end =
            ChunksFollow(c) ? EndOfChunks(c, header) : EndOf(c.dataOffset, bytes, is64 ? 8 : 2);
        if (is64) return Patch<uint64_t>(16, end, false, "the size of the file");
        return Patch<uint32_t>(4, static_cast<uint32_t>(end - header), false, "the size of the file");
    }

    /// What follows the samples' chunk by its stored size is a chunk, and not more samples.
    static bool ChunksFollow(const MediaContents& c) {
        if (c.formatOffset > c.dataHeader) return true;
        for (const MediaChunk& chunk : c.chunks)
            if (chunk.offset > c.dataHeader) return chunk.id.find('?') == std::string::npos;
        return false;
    }

    /// Sizes of other chunks that reach beyond the end of the file.
    HRESULT MendCutChunks(const MediaContents& c, uint64_t header, bool bigEndian) {
        bool isCut = false;  // the list that a chunk is in
        for (const MediaChunk& chunk : c.chunks) {
            const uint64_t body = chunk.offset + header;
            if (chunk.depth == 0)
                isCut = chunk.size > m_length - body;
            else if (!isCut)
                continue;
            if (chunk.offset == 0 || chunk.offset == c.dataHeader || chunk.size <= m_length - body) continue;
            const std::string what = "the size of '" + chunk.id + "'";
            const uint64_t there = m_length - body;
            const HRESULT hr =
                header == RIFF64_CHUNK_HEADER
                    ? Patch<uint64_t>(chunk.offset + 16, there + header, bigEndian, what)
                    : Patch<uint32_t>(chunk.offset + 4, static_cast<uint32_t>(there), bigEndian, what);
            if (Failed(hr)) return hr;
        }
        return S_OK;
    }

    /// Frames and bytes a second as the samples make them.
    HRESULT MendFormat(const MediaContents& c) {
        const _qmwaveformat& f = c.format.format;
        const uint64_t at = c.formatOffset;
        if (IsOfACodec(c)) return m_frame = std::max<uint64_t>(f.blockAlign, 1), S_OK;
        m_frame = f.BytesPerSample() * f.channels;
        if (m_frame == 0 || f.sampleType == QMSAMPLE_UNKNOWN) return MEDIA_E_UNKNOWN_FORMAT;
        const HRESULT hr =
            Patch<uint16_t>(at + 12, static_cast<uint16_t>(m_frame), false, "the bytes of a frame");
        return Failed(hr) ? hr
                          : Patch<uint32_t>(at + 8, static_cast<uint32_t>(m_frame * f.sampleRate), false,
                                            "the bytes of a second");
    }

    HRESULT MendAiff(const MediaContents& c) {
        const _qmwaveformat& f = c.format.format;
        if (!c.hasFormat || !c.hasData || f.IsCompressed() || f.blockAlign == 0)
            return MEDIA_E_UNKNOWN_FORMAT;
        uint8_t ssnd[8];
        if (!m_s.Seek(static_cast<int64_t>(c.dataHeader) + 8) || !m_s.Read(ssnd, sizeof ssnd))
            return MEDIA_E_READ;
        // Chunks that follow are whole where the form is; else the samples reach to the end.
        const bool isLast = c.chunks.back().offset == c.dataHeader;
        const uint64_t room = isLast ? m_length - c.dataOffset : c.dataBytes;
        const uint64_t frames = std::min<uint64_t>(room / f.blockAlign, UINT32_MAX),
                       bytes = frames * f.blockAlign;
        m_repair.frames = frames;
        if (m_length - 8 > UINT32_MAX) return MEDIA_E_TOO_LARGE;
        HRESULT hr =
            Patch<uint32_t>(c.formatOffset + 2, static_cast<uint32_t>(frames), true, "the number of frames");
        if (Succeeded(hr) && isLast)
            hr = Patch<uint32_t>(c.dataHeader + 4,
                                 static_cast<uint32_t>(c.dataOffset + bytes - c.dataHeader - 8), true,
                                 "the size of the samples' chunk");
        const uint64_t end = isLast ? EndOf(c.dataOffset, bytes, 2) : EndOfChunks(c, RIFF_CHUNK_HEADER);
        if (Succeeded(hr))
            hr = Patch<uint32_t>(4, static_cast<uint32_t>(end - 8), true, "the size of the file");
        return hr;
    }

    HRESULT NewHeader(bool is64) {
        LostSamples found{};
        const HRESULT looked =
            is64 ? FindLostW64Samples(m_s.file, m_hint, std::min(m_length, SEARCHED), &found)
                 : FindWaveSamples(&found);
        if (Failed(looked) || found.start >= m_length) return MEDIA_E_UNKNOWN_FORMAT;
        HRESULT hr = is64 ? QmInsertW64Header(m_s.file, &found.format, found.bytes, found.start)
                          : QmInsertWavHeader(m_s.file, &found.format, found.bytes, found.start);
        if (hr == MEDIA_E_MALFORMED && !is64) hr = ShortHeader(found);
        if (Failed(hr)) return hr == MEDIA_E_MALFORMED ? MEDIA_E_UNKNOWN_FORMAT : hr;
        m_repair.frames = found.bytes / found.format.nBlockAlign;
        m_repair.changes.push_back("at 0: a new header of " + std::to_string(found.start) + " bytes");
        return S_OK;
    }

    /// Most writers put a format of 16 bytes, and the samples at 44, where ours do not look.
    HRESULT FindWaveSamples(LostSamples* found) {
        constexpr int64_t SHORT_DATA = 36;
        uint8_t label[4];
        const HRESULT hr = FindLostWavSamples(m_s.file, m_hint, std::min(m_length, SEARCHED), found);
        if (Failed(hr) || !m_s.Seek(SHORT_DATA) || !m_s.Read(label, 4) || std::memcmp(label, "data", 4) != 0)
            return hr;
        found->start = SHORT_DATA + RIFF_CHUNK_HEADER;
        found->bytes = (m_length - found->start) / found->format.nBlockAlign * found->format.nBlockAlign;
        return S_OK;
    }
    HRESULT ShortHeader(const LostSamples& found) {
        constexpr uint32_t HEADER = 44, FORMAT = 16;
        if (found.start != HEADER || found.format.wFormatTag != WAVE_TAG_PCM) return MEDIA_E_MALFORMED;
        if (found.bytes > RIFF_LARGEST - HEADER) return MEDIA_E_TOO_LARGE;
        const auto bytes = static_cast<uint32_t>(found.bytes);
        m_s.Seek(0);
        const bool done =
            Succeeded(riff_WriteFileID(m_s.file, FourCC("WAVE"), HEADER - RIFF_CHUNK_HEADER + bytes)) &&
            Succeeded(riff_WriteChunk(m_s.file, FourCC("fmt "), &found.format, FORMAT, nullptr)) &&
            Succeeded(riff_WriteChunkHeader(m_s.file, FourCC("data"), bytes));
        return done ? S_OK : MEDIA_E_WRITE;
    }

    FileStream m_s;
    const WAVEFORMATEX* m_hint;
    MediaRepair& m_repair;
    uint64_t m_length = 0, m_frame = 0;
};

}  // namespace

HRESULT RepairMedia(HQMFILE file, const WAVEFORMATEX* hint, MediaRepair* repair) {
    return Repairer(file, hint, *repair).Run();
}
