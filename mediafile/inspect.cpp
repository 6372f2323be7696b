#include "mediafile/inspect.h"

#include "mediafile/aiff.h"
#include "mediafile/aiff_comm.h"
#include "mediafile/file_stream.h"
#include "mediafile/riff64.h"
#include "mediafile/riff_core.h"

#include <cstdio>
#include <cstring>

namespace {

/// A file with more of them is reported up to here.
constexpr size_t MOST_CHUNKS = 100000, MOST_PROBLEMS = 1000;
constexpr uint32_t MOST_FORMAT = sizeof(WAVEFORMATEX) + UINT16_MAX;

std::string Printable(const uint8_t* id) {
    std::string text(reinterpret_cast<const char*>(id), 4);
    for (char& c : text)
        if (c < ' ' || c > '~') c = '?';
    return text;
}

struct KnownLabel {
    const GUID& guid;
    const char* name;
};
const KnownLabel LABELS[] = {{W64_RIFF, "riff"}, {W64_LIST, "list"}, {W64_WAVE, "wave"},
                             {W64_FMT, "fmt "},  {W64_DATA, "data"}, {W64_JUNK, "junk"}};

std::string LabelText(const uint8_t* bytes) {
    GUID guid;
    std::memcpy(&guid, bytes, sizeof guid);
    for (const KnownLabel& label : LABELS)
        if (label.guid == guid) return label.name;
    char text[40];
    std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", guid.Data1,
                  guid.Data2, guid.Data3, guid.Data4[0], guid.Data4[1], guid.Data4[2], guid.Data4[3],
                  guid.Data4[4], guid.Data4[5], guid.Data4[6], guid.Data4[7]);
    return text;
}

/// How the chunks of a container lie.
struct Grammar {
    uint32_t header, first;  ///< bytes of a chunk's header, place of the first chunk
    uint32_t multiple;       ///< that payloads are padded to
    uint32_t type;           ///< bytes of a form's or list's type
    std::string (*id)(const uint8_t* header);
    /// Payload by the header; false for a size that cannot be.
    bool (*size)(const uint8_t* header, uint64_t* payload);
};

const Grammar WAVE = {8, 12, 2, 4, Printable, [](const uint8_t* h, uint64_t* size) {
                          *size = FromLittleEndian<uint32_t>(h + 4);
                          return true;
                      }};
const Grammar AIFF = {8, 12, 2, 4, Printable, [](const uint8_t* h, uint64_t* size) {
                          *size = FromBigEndian<uint32_t>(h + 4);
                          return true;
                      }};
const Grammar WAVE64 = {24, 40, 8, 16, LabelText, [](const uint8_t* h, uint64_t* size) {
                            const auto stored = FromLittleEndian<uint64_t>(h + 16);
                            *size = stored - std::min(stored, RIFF64_CHUNK_HEADER);
                            return stored >= RIFF64_CHUNK_HEADER && stored <= uint64_t{INT64_MAX};
                        }};

class Inspector {
public:
    Inspector(HQMFILE file, MediaContents& contents) : m_s{file}, m_contents(contents) {}

    void Run() {
        m_contents.fileBytes = static_cast<uint64_t>(std::max<int64_t>(m_s.Size(), 0));
        uint8_t head[40] = {};
        m_s.Seek(0);
        const uint32_t got = m_s.ReadSome(head, sizeof head);
        const auto is = [&](const char* id, uint32_t at) {
            return got >= at + 4 && std::memcmp(head + at, id, 4) == 0;
        };
        if (is("RIFF", 0) && is("WAVE", 8)) {
            Walk(MediaContainer::Wave, WAVE, head);
            CheckWave();
        } else if (got == sizeof head && LabelText(head) == "riff" && LabelText(head + 24) == "wave") {
            Walk(MediaContainer::Wave64, WAVE64, head);
            CheckWave();
        } else if (is("FORM", 0) && (is("AIFF", 8) || is("AIFC", 8))) {
            Walk(is("AIFC", 8) ? MediaContainer::Aifc : MediaContainer::Aiff, AIFF, head);
            CheckAiff();
        } else {
            const bool isForm = is("RIFF", 0) || is("FORM", 0), isRf64 = is("RF64", 0) || is("BW64", 0);
            m_contents.isOtherKind = isRf64 || is("RIFX", 0) || (isForm && got >= 12);
            Error(0, got == 0        ? "the file is empty"
                     : isRf64        ? "an RF64 file, which is not supported"
                     : is("RIFX", 0) ? "a big-endian RIFF file, which is not supported"
                     : !isForm       ? "neither wave, Wave64 nor AIFF"
                     : got < 12      ? "the file ends within its header"
                                     : "a form that holds no samples: '" + Printable(head + 8) + "'");
        }
    }

private:
    void Add(uint64_t offset, MediaFault fault, std::string text) {
        if (m_contents.problems.size() < MOST_PROBLEMS)
            m_contents.problems.push_back({offset, fault, std::move(text)});
    }
    void Error(uint64_t offset, std::string text) { Add(offset, MediaFault::Error, std::move(text)); }
    void Note(uint64_t offset, std::string text) { Add(offset, MediaFault::Note, std::move(text)); }

    static uint64_t Padded(const Grammar& g, uint64_t size) {
        return size + (g.multiple - size % g.multiple) % g.multiple;
    }

    /// The chunks of the form, of which its header is given.
    void Walk(MediaContainer container, const Grammar& g, const uint8_t* head) {
        m_contents.container = container;
        m_contents.chunks.push_back({g.id(head), 0, 0, 0});
        const uint64_t length = m_contents.fileBytes;
        uint64_t size = 0;
        if (!g.size(head, &size)) Error(0, "the size of the file in its header cannot be");
        m_contents.chunks[0].size = size;
        const uint64_t end = size > length ? length : std::min(length, size + g.header);
        if (size + g.header > length) {
            Error(0, "the header tells of " + std::to_string(size + g.header) + " bytes, the file has " +
                         std::to_string(length));
        } else if (size < g.type) {
            Error(0, "the header tells of no content: the file was not completed");
        } else if (Padded(g, size + g.header) < length) {
            Note(end, std::to_string(length - end) + " bytes behind the form");
        }
        // An uncompleted header is no bound.
        Chunks(g, g.first, size < g.type ? length : end, 0);
    }

    void Chunks(const Grammar& g, uint64_t at, uint64_t end, uint32_t depth) {
        uint8_t header[24];
        while (at < end) {
            if (m_contents.chunks.size() >= MOST_CHUNKS) return Note(at, "more chunks than are looked at");
            if (end - at < g.header) {
                if (end - at >= g.multiple) Note(at, std::to_string(end - at) + " bytes that are no chunk");
                return;
            }
            if (!m_s.Seek(static_cast<int64_t>(at)) || !m_s.Read(header, g.header))
                return Error(at, "cannot be read");
            const std::string id = g.id(header);
            uint64_t size = 0;
            const bool isValid = g.size(header, &size);
            const uint64_t body = at + g.header, inFile = std::min(size, m_contents.fileBytes - body);
            const uint64_t there = depth == 0 ? inFile : std::min(size, end - body);
            m_contents.chunks.push_back({id, at, size, depth});
            if (id.find('?') != id.npos) Note(at, "the id of a chunk is not printable");
            if (!isValid) return Error(at, "'" + id + "' has a size that cannot be");
            if (there < size)
                Error(at, "'" + id + "' tells of " + std::to_string(size) + " bytes, " +
                              std::to_string(there) + " are there");
            else if (body + size > end)
                Error(at, "'" + id + "' reaches beyond the form");
            if (depth == 0) Take(id, body, size, there);
            if (depth == 0 && (id == "LIST" || id == "list") && there >= g.type)
                Chunks(g, body + g.type, body + there, 1);
            if (there < size) return;
            at = body + Padded(g, size);
        }
    }

    /// Remembers the chunks that are read later; of several of a kind, the first.
    void Take(const std::string& id, uint64_t body, uint64_t size, uint64_t there) {
        const bool isAiff =
            m_contents.container == MediaContainer::Aiff || m_contents.container == MediaContainer::Aifc;
        Place* place = id == (isAiff ? "COMM" : "fmt ")   ? &m_format
                       : id == (isAiff ? "SSND" : "data") ? &m_data
                                                          : nullptr;
        if (!place) return;
        if (place->isThere) return Error(body, "'" + id + "' stands twice");
        *place = {true, body, size, there};
        if (place == &m_data && !m_format.isThere && !isAiff) Error(body, "'data' stands before 'fmt '");
    }

    bool ReadAt(uint64_t at, void* bytes, uint32_t count) {
        return m_s.Seek(static_cast<int64_t>(at)) && m_s.Read(bytes, count);
    }

    bool CheckPlaces(const char* format, const char* data) {
        if (!m_format.isThere) Error(m_contents.fileBytes, std::string("there is no '") + format + "'");
        if (!m_data.isThere) Error(m_contents.fileBytes, std::string("there is no '") + data + "'");
        m_contents.formatOffset = m_format.offset;
        return m_format.isThere;
    }

    void CheckWave() {
        if (!CheckPlaces("fmt ", "data")) return;
        const auto read = static_cast<uint32_t>(std::min<uint64_t>(m_format.there, MOST_FORMAT));
        if (m_format.there < 14) return Error(m_format.offset, "'fmt ' is too short for a format");
        std::vector<uint8_t> bytes(sizeof(WAVEFORMATEXTENSIBLE) + UINT16_MAX);
        if (!ReadAt(m_format.offset, bytes.data(), read)) return Error(m_format.offset, "cannot be read");
        auto* wfx = reinterpret_cast<WAVEFORMATEX*>(bytes.data());
        if (read < 16) Error(m_format.offset, "'fmt ' is too short for the bits of a sample");
        if (m_format.size > MOST_FORMAT) Note(m_format.offset, "'fmt ' is longer than any format");
        if (read >= sizeof *wfx && sizeof *wfx + wfx->cbSize > m_format.size) {
            Error(m_format.offset + 16, "the codec's bytes reach beyond 'fmt '");
            wfx->cbSize = static_cast<uint16_t>(read - sizeof *wfx);
        }
        m_contents.format = QmWaveFormatBlock(wfx);
        m_contents.hasFormat = true;
        // The kernel takes 24 valid bits of 32 for its own layout, in the low end of the word. Files have
        // them at the high end, as the record's publisher tells: as samples of 32 bits.
        _qmwaveformat& format = m_contents.format.format;
        if (wfx->wFormatTag == WAVE_TAG_EXTENSIBLE && format.sampleType == QMSAMPLE_PCM24IN32)
            format.sampleType = QMSAMPLE_PCM32;
        CheckFormat(*wfx, m_format.offset);
        constexpr uint32_t TAG_ALAW = 6, TAG_MULAW = 7;  // one byte a sample
        const uint32_t tag = QmAudio_GetWaveFormatTag(wfx);
        const bool isKnown = format.sampleType != QMSAMPLE_UNKNOWN;
        const bool isPacked = tag == WAVE_TAG_PCM || tag == TAG_ALAW || tag == TAG_MULAW;
        m_frameBytes = isKnown ? format.BytesPerSample() * format.channels : isPacked ? wfx->nBlockAlign : 0;
        if (m_data.isThere) Data(m_data.offset, m_data.there, m_data.size);
    }

    void CheckFormat(const WAVEFORMATEX& wfx, uint64_t at) {
        if (wfx.nChannels == 0) Error(at + 2, "the format has no channels");
        if (wfx.nSamplesPerSec == 0) Error(at + 4, "the format has a rate of 0");
        const uint32_t tag = QmAudio_GetWaveFormatTag(&wfx);
        const bool isPacked = tag == WAVE_TAG_PCM || tag == WAVE_TAG_IEEE_FLOAT;
        if (isPacked && m_contents.format.format.sampleType == QMSAMPLE_UNKNOWN)
            Error(at + 14, "samples of " + std::to_string(wfx.wBitsPerSample) + " bits are not supported");
        if (wfx.nBlockAlign == 0) Error(at + 12, "the format has frames of 0 bytes");
        if (!isPacked || wfx.nBlockAlign == 0) return;
        const uint32_t frame = (wfx.wBitsPerSample + 7u) / 8 * wfx.nChannels;
        if (wfx.nBlockAlign != frame)
            Error(at + 12, "the format has frames of " + std::to_string(wfx.nBlockAlign) +
                               " bytes, its samples make " + std::to_string(frame));
        if (wfx.nAvgBytesPerSec != uint64_t{wfx.nBlockAlign} * wfx.nSamplesPerSec)
            Note(at + 8, "the format's bytes a second are not those of its frames");
    }

    void Data(uint64_t offset, uint64_t there, uint64_t stored) {
        m_contents.hasData = true;
        m_contents.dataHeader = m_data.offset - (m_contents.container == MediaContainer::Wave64 ? 24 : 8);
        m_contents.dataOffset = offset;
        m_contents.dataBytes = there;
        const uint64_t frame = m_frameBytes;
        if (frame == 0) return;
        m_contents.frames = there / frame;
        if (stored % frame)
            Error(m_data.offset,
                  "the samples end with " + std::to_string(stored % frame) + " bytes of a frame");
        if (stored == 0 && m_contents.fileBytes >= offset + frame)
            Error(m_contents.dataHeader, "'data' tells of no samples, and " +
                                             std::to_string(m_contents.fileBytes - offset) + " bytes follow");
    }

    void CheckAiff() {
        if (!CheckPlaces("COMM", "SSND")) return;
        const bool isAifc = m_contents.container == MediaContainer::Aifc;
        const uint32_t least = isAifc ? AIFC_COMM_BYTES : AIFF_COMM_BYTES;
        uint8_t bytes[AIFC_COMM_BYTES] = {};
        if (m_format.there < least || !ReadAt(m_format.offset, bytes, least))
            return Error(m_format.offset, "'COMM' is too short for a format");
        const AiffComm comm = ReadComm(bytes);
        const bool isInteger = !isAifc || std::memcmp(bytes + 18, "NONE", 4) == 0;
        const bool isLittle = isAifc && std::memcmp(bytes + 18, "sowt", 4) == 0;
        if (!isInteger && !isLittle)
            Error(m_format.offset + 18,
                  "the samples are compressed: '" + Printable(bytes + 18) + "', which is not supported");
        if ((comm.exponent & 0x7FFF) == 0x7FFF || comm.mantissa[0] == 0 || (comm.exponent & 0x8000))
            Error(m_format.offset + 8, "the rate is no number of this world");
        const uint32_t tag = comm.bits == 8 ? WAVE_TAG_PCM_SIGNED
                             : isLittle     ? WAVE_TAG_PCM
                                            : WAVE_TAG_PCM_BIG_ENDIAN;
        WAVEFORMATEX wfx{};
        QmAudio_InitWfxFlex(&wfx, isInteger || isLittle ? tag : 0, comm.Rate(), (comm.bits + 7u) & ~7u,
                            comm.channels, 0, sizeof wfx);
        m_contents.format = QmWaveFormatBlock(&wfx);
        m_contents.hasFormat = true;
        if (comm.channels == 0) Error(m_format.offset, "the format has no channels");
        if (wfx.nSamplesPerSec == 0) Error(m_format.offset + 8, "the format has a rate of 0");
        if ((isInteger || isLittle) && m_contents.format.format.sampleType == QMSAMPLE_UNKNOWN)
            Error(m_format.offset + 6, "samples of " + std::to_string(comm.bits) + " bits are not supported");
        if (m_data.isThere) AiffData(comm);
    }

    void AiffData(const AiffComm& comm) {
        uint8_t bytes[8];
        if (m_data.there < sizeof bytes || !ReadAt(m_data.offset, bytes, sizeof bytes))
            return Error(m_data.offset, "'SSND' is too short for its offset");
        const auto offset = FromBigEndian<uint32_t>(bytes);
        const uint64_t behind = m_data.there - sizeof bytes;
        if (offset > behind) {
            Error(m_data.offset,
                  "the samples begin " + std::to_string(offset) + " bytes into 'SSND', behind its end");
            return;
        }
        const uint64_t there = behind - offset;
        const _qmwaveformat& f = m_contents.format.format;
        m_frameBytes = f.IsCompressed() ? 0 : f.blockAlign;
        Data(m_data.offset + sizeof bytes + offset, there, there);
        if (m_frameBytes == 0) return (void)(m_contents.frames = comm.frames);
        if (m_contents.frames < comm.frames)
            Error(m_format.offset + 2, "'COMM' tells of " + std::to_string(comm.frames) + " frames, " +
                                           std::to_string(m_contents.frames) + " are there");
        else if (m_contents.frames > comm.frames)
            Note(m_format.offset + 2, "'SSND' has more frames than 'COMM' tells of");
        m_contents.frames = std::min<uint64_t>(m_contents.frames, comm.frames);
        m_contents.dataBytes = m_contents.frames * f.blockAlign;
    }

    struct Place {
        bool isThere;
        uint64_t offset, size, there;
    };

    FileStream m_s;
    MediaContents& m_contents;
    Place m_format{}, m_data{};
    uint64_t m_frameBytes = 0;  ///< 0 where frames cannot be counted
};

}  // namespace

MediaContents InspectMedia(HQMFILE file) {
    MediaContents contents;
    Inspector(file, contents).Run();
    return contents;
}

const char* NameOf(MediaContainer container) {
    switch (container) {
    case MediaContainer::Wave: return "Wave";
    case MediaContainer::Wave64: return "Wave64";
    case MediaContainer::Aiff: return "AIFF";
    case MediaContainer::Aifc: return "AIFC";
    default: return "unknown";
    }
}
