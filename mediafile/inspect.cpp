#include "mediafile/inspect.h"

#include "audio/adpcm.h"
#include "mediafile/aiff.h"
#include "mediafile/aiff_comm.h"
#include "mediafile/byte_source.h"
#include "mediafile/chunk_io.h"
#include "mediafile/riff64.h"

#include <cstring>

namespace tarn {

namespace {

/// A file with more of them is reported up to here.
constexpr size_t MOST_LISTED = 100000, MOST_PROBLEMS = 1000;
constexpr uint32_t MOST_FORMAT = sizeof(WAVEFORMATEX) + UINT16_MAX;

class Inspector {
public:
    Inspector(const ByteSource& source, MediaContents& contents) : m_source(source), m_contents(contents) {}

    void Run() {
        m_contents.fileBytes = m_source.Size();
        uint8_t head[40] = {};
        const uint32_t got = m_source.ReadSome(0, head, sizeof head);
        const auto is = [&](const char* id, uint32_t at) {
            return got >= at + 4 && std::memcmp(head + at, id, 4) == 0;
        };
        m_contents.container = ContainerOf(head, got);
        if (m_contents.container == MediaContainer::Unknown) {
            const bool isForm =
                is("RIFF", 0) || is("FORM", 0) || is("RF64", 0) || is("BW64", 0) || is("RIFX", 0);
            m_contents.isOtherKind = isForm && got >= 12;
            return Error(0, got == 0   ? "the file is empty"
                            : !isForm  ? "neither wave, Wave64 nor AIFF"
                            : got < 12 ? "the file ends within its header"
                                       : "a form that holds no samples: '" + AIFF_GRAMMAR.Id(head + 8) + "'");
        }
        if (IsLongWave(m_contents.container)) m_longSizes = ReadLongSizes(m_source);
        Walk(head);
        IsAiff(m_contents.container) ? CheckAiff() : CheckWave();
    }

private:
    void Add(uint64_t offset, MediaFault fault, std::string text) {
        if (m_contents.problems.size() < MOST_PROBLEMS)
            m_contents.problems.push_back({offset, fault, std::move(text)});
    }
    void Error(uint64_t offset, std::string text) { Add(offset, MediaFault::Error, std::move(text)); }
    void Note(uint64_t offset, std::string text) { Add(offset, MediaFault::Note, std::move(text)); }

    /// The chunks of the form, of which its header is given.
    void Walk(const uint8_t* head) {
        const ChunkGrammar& g = GrammarOf(m_contents.container);
        const uint64_t length = m_contents.fileBytes;
        uint64_t size = 0;
        const bool isValid = g.Payload(head, &size);
        size = m_longSizes.Of(head, size);
        if (!isValid || size > uint64_t{INT64_MAX}) Error(0, "the size of the file in its header cannot be");
        const bool needsLongSizes =
            m_contents.container == MediaContainer::Rf64 ||
            (m_contents.container == MediaContainer::Bw64 && size == LongSizes::ELSEWHERE);
        if (needsLongSizes && !m_longSizes.isThere)
            Error(g.first, "there is no 'ds64' with the sizes of the file");
        m_contents.chunks.push_back({g.Id(head), 0, size, 0});
        const uint64_t end = size > length ? length : std::min(length, size + g.header);
        if (size > length || size + g.header > length) {
            const std::string told = size > uint64_t{INT64_MAX} ? "more" : std::to_string(size + g.header);
            Error(0, "the header tells of " + told + " bytes, the file has " + std::to_string(length));
        } else if (size < g.type) {
            Error(0, "the header tells of no content: the file was not completed");
        }
        // An uncompleted header is no bound.
        Chunks(g, g.first, size < g.type ? length : end, 0);
        if (end == length || size < g.type) return;
        if (!m_format.isThere || !m_data.isThere) {
            Error(0, "the header tells of " + std::to_string(end) + " bytes, and the sound lies behind them");
            m_contents.chunks.resize(1);
            m_format = m_data = {};
            Chunks(g, g.first, length, 0);
        } else if (g.Padded(size + g.header) < length) {
            Note(end, std::to_string(length - end) + " bytes behind the form");
        }
    }

    void Chunks(const ChunkGrammar& g, uint64_t at, uint64_t end, uint32_t depth) {
        ChunkIo<SourceStream> chunks(SourceStream(m_source), g, &m_longSizes);
        ChunkHead head;
        while (at < end) {
            if (m_contents.chunks.size() >= MOST_LISTED) return Note(at, "more chunks than are looked at");
            if (end - at < g.header) {
                if (end - at >= g.multiple) Note(at, std::to_string(end - at) + " bytes that are no chunk");
                return;
            }
            if (!chunks.ReadHeadAt(at, &head)) return Error(at, "cannot be read");
            const std::string id = g.Id(head.bytes);
            const uint64_t size = head.size, body = at + g.header,
                           inFile = std::min(size, m_contents.fileBytes - body);
            const uint64_t there = depth == 0 ? inFile : std::min(size, end - body);
            m_contents.chunks.push_back({id, at, size, depth});
            if (!g.IsPlausible(head.bytes)) Note(at, "the id of a chunk is not printable");
            if (!head.isValid) return Error(at, "'" + id + "' has a size that cannot be");
            if (there < size)
                Error(at, "'" + id + "' tells of " + std::to_string(size) + " bytes, " +
                              std::to_string(there) + " are there");
            else if (body + size > end)
                Error(at, "'" + id + "' reaches beyond the form");
            if (depth == 0) Take(id, body, size, there);
            if (depth == 0 && g.IsList(head.bytes) && there >= g.type)
                Chunks(g, body + g.type, body + there, 1);
            if (there < size) return;
            at = body + g.Padded(size);
        }
    }

    /// Remembers the chunks that are read later; of several of a kind, the first.
    void Take(const std::string& id, uint64_t body, uint64_t size, uint64_t there) {
        const ChunkGrammar& g = GrammarOf(m_contents.container);
        if (id == "fact" && !m_fact.isThere) m_fact = {true, body, size, there};
        Place* place = id == g.format ? &m_format : id == g.samples ? &m_data : nullptr;
        if (!place) return;
        if (place->isThere) return Error(body, "'" + id + "' stands twice");
        *place = {true, body, size, there};
        if (place == &m_data && !m_format.isThere && !g.IsAiff()) Error(body, "'data' stands before 'fmt '");
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
        if (!m_source.Read(m_format.offset, bytes.data(), read))
            return Error(m_format.offset, "cannot be read");
        auto* wfx = reinterpret_cast<WAVEFORMATEX*>(bytes.data());
        m_contents.isBigEndian = m_contents.container == MediaContainer::Rifx;
        if (m_contents.isBigEndian) SwapFormat(bytes.data(), read);
        if (read < 16) Error(m_format.offset, "'fmt ' is too short for the bits of a sample");
        if (m_format.size > MOST_FORMAT) Note(m_format.offset, "'fmt ' is longer than any format");
        if (read >= sizeof *wfx && sizeof *wfx + wfx->cbSize > m_format.size) {
            // Plain samples have no codec, and readers do not look.
            const bool isPlain = wfx->wFormatTag == WAVE_TAG_PCM || wfx->wFormatTag == WAVE_TAG_IEEE_FLOAT;
            Add(m_format.offset + 16, isPlain ? MediaFault::Note : MediaFault::Error,
                "the codec's bytes reach beyond 'fmt '");
            wfx->cbSize = static_cast<uint16_t>(read - sizeof *wfx);
        }
        m_contents.format = QmWaveFormatBlock(wfx);
        m_contents.hasFormat = true;
        // The kernel takes 24 valid bits of 32 for its own layout, in the low end of the word. Files have
        // them at the high end, as the record's publisher tells: as samples of 32 bits.
        _qmwaveformat& format = m_contents.format.format;
        if (wfx->wFormatTag == WAVE_TAG_EXTENSIBLE && format.sampleType == QMSAMPLE_PCM24IN32)
            format.sampleType = QMSAMPLE_PCM32;
        if (m_contents.isBigEndian) format.sampleType = Reversed(format.sampleType);
        std::string fault;
        SampleCoding& coding = m_contents.coding = WaveCoding(*wfx, format, m_contents.isBigEndian, &fault);
        if (!fault.empty()) Note(m_format.offset + 12, fault);
        CheckFormat(*wfx, m_format.offset);
        const bool isPacked = QmAudio_GetWaveFormatTag(wfx) == WAVE_TAG_PCM;
        const bool isFrame = coding.codec != SampleCodec::None && !coding.IsAdpcm();
        m_frameBytes = isFrame ? coding.blockBytes : isPacked ? wfx->nBlockAlign : 0;
        if (m_data.isThere) Data(m_data.offset, m_data.there, m_data.size);
        if (m_data.isThere && coding.IsAdpcm()) m_contents.frames = BlockFrames();
    }

    /// A codec's last block is filled up; how much of it counts is told apart.
    uint64_t BlockFrames() const {
        const uint64_t held = m_contents.coding.FramesIn(m_contents.dataBytes);
        uint8_t bytes[4];
        if (m_fact.there < sizeof bytes || !m_source.Read(m_fact.offset, bytes, sizeof bytes)) return held;
        const auto told =
            m_contents.isBigEndian ? FromBigEndian<uint32_t>(bytes) : FromLittleEndian<uint32_t>(bytes);
        return told > 0 ? std::min<uint64_t>(held, told) : held;
    }

    static QMSAMPLETYPE Reversed(QMSAMPLETYPE type) {
        switch (type) {
        case QMSAMPLE_PCM16: return QMSAMPLE_BE16;
        case QMSAMPLE_PCM24: return QMSAMPLE_BE24;
        case QMSAMPLE_PCM32: return QMSAMPLE_BE32;
        default: return type;
        }
    }
    /// The numbers of a big-endian record of so many bytes. What samples of more than a byte are told by lies
    /// in the tag. All that a codec of four bits tells is words; its blocks are bytes and the same in both
    /// orders.
    static void SwapFormat(uint8_t* record, uint32_t length) {
        for (const uint32_t at : {0, 2, 12, 14, 16}) iff_ByteSwap16(record + at, 1);
        for (const uint32_t at : {4, 8}) iff_ByteSwap32(record + at, 1);
        if (reinterpret_cast<WAVEFORMATEX*>(record)->wFormatTag != WAVE_TAG_EXTENSIBLE) {
            for (uint32_t at = sizeof(WAVEFORMATEX); at + 2 <= length; at += 2)
                iff_ByteSwap16(record + at, 1);
            return;
        }
        for (const uint32_t at : {18, 28, 30}) iff_ByteSwap16(record + at, 1);
        for (const uint32_t at : {20, 24}) iff_ByteSwap32(record + at, 1);
    }

    void CheckFormat(const WAVEFORMATEX& wfx, uint64_t at) {
        if (wfx.nChannels == 0) Error(at + 2, "the format has no channels");
        if (wfx.nSamplesPerSec == 0) Error(at + 4, "the format has a rate of 0");
        const uint32_t tag = QmAudio_GetWaveFormatTag(&wfx);
        const bool isPacked = tag == WAVE_TAG_PCM || tag == WAVE_TAG_IEEE_FLOAT;
        if (isPacked && m_contents.coding.codec == SampleCodec::None)
            Note(at + 14, "samples of " + std::to_string(wfx.wBitsPerSample) + " bits are not supported");
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
            Note(m_data.offset,
                 "the samples end with " + std::to_string(stored % frame) + " bytes of a frame");
        // Empty, with chunks behind it, is fine where all of them are.
        if (stored == 0 && m_contents.fileBytes >= offset + frame &&
            (m_contents.HasErrors() || m_contents.chunks.back().offset == m_contents.dataHeader))
            Error(m_contents.dataHeader, "'data' tells of no samples, and " +
                                             std::to_string(m_contents.fileBytes - offset) + " bytes follow");
    }

    void CheckAiff() {
        if (!CheckPlaces("COMM", "SSND")) return;
        const bool isAifc = m_contents.container == MediaContainer::Aifc;
        const uint32_t least = isAifc ? AIFC_COMM_BYTES : AIFF_COMM_BYTES;
        uint8_t bytes[AIFC_COMM_BYTES] = {};
        if (m_format.there < least || !m_source.Read(m_format.offset, bytes, least))
            return Error(m_format.offset, "'COMM' is too short for a format");
        const AiffComm comm = ReadComm(bytes);
        const AifcCompression* compression =
            FindAifcCompression(isAifc ? bytes + AIFF_COMM_BYTES : reinterpret_cast<const uint8_t*>("NONE"));
        if (!compression)
            Note(m_format.offset + 18,
                 "the samples are compressed: '" + AIFF_GRAMMAR.Id(bytes + 18) + "', which is not supported");
        if ((comm.exponent & 0x7FFF) == 0x7FFF || comm.mantissa[0] == 0 || (comm.exponent & 0x8000))
            Error(m_format.offset + 8, "the rate is not a number");
        const bool isPlain = compression && compression->codec == SampleCodec::Plain;
        const uint32_t bits = compression && compression->bits ? compression->bits : (comm.bits + 7u) & ~7u;
        const bool isSigned8 = isPlain && bits == 8 && compression->bits == 0;
        WAVEFORMATEX wfx{};
        QmAudio_InitWfxFlex(&wfx,
                            isSigned8     ? static_cast<uint32_t>(WAVE_TAG_PCM_SIGNED)
                            : compression ? compression->tag
                                          : 0,
                            comm.Rate(), bits, comm.channels, 0, sizeof wfx);
        if (compression && compression->codec == SampleCodec::ImaPackets) {
            wfx.nBlockAlign = static_cast<uint16_t>(IMA_PACKET_BYTES * comm.channels);
            wfx.nAvgBytesPerSec =
                static_cast<uint32_t>(uint64_t{wfx.nSamplesPerSec} * wfx.nBlockAlign / IMA_PACKET_FRAMES);
        }
        m_contents.format = QmWaveFormatBlock(&wfx);
        m_contents.hasFormat = true;
        if (comm.channels == 0) Error(m_format.offset, "the format has no channels");
        if (wfx.nSamplesPerSec == 0) Error(m_format.offset + 8, "the format has a rate of 0");
        SetAiffCoding(compression, wfx);
        if (isPlain && m_contents.coding.codec == SampleCodec::None)
            Note(m_format.offset + 6, "samples of " + std::to_string(comm.bits) + " bits are not supported");
        if (m_data.isThere) AiffData(comm);
    }

    void SetAiffCoding(const AifcCompression* compression, const WAVEFORMATEX& wfx) {
        const QMSAMPLETYPE known = m_contents.format.format.sampleType;
        const bool isLine =
            compression && known == QMSAMPLE_UNKNOWN && compression->codec != SampleCodec::Plain;
        if (!compression || (known == QMSAMPLE_UNKNOWN && !isLine)) return;
        m_contents.coding = {compression->codec, isLine ? QMSAMPLE_PCM16 : known, wfx.nChannels,
                             wfx.nBlockAlign};
        m_contents.isBigEndian = compression->codec == SampleCodec::Reversed;
    }

    /// The chunk counts packets, of some writers the frames in them. One that tells of fewer than there are
    /// is wrong: others do not look.
    uint64_t PacketFrames(uint64_t told, uint64_t there) {
        m_contents.frames = there;
        if (told <= there / IMA_PACKET_FRAMES) {
            if (told * IMA_PACKET_FRAMES < there)
                Note(m_format.offset + 2, "'COMM' tells of " + std::to_string(told) + " packets, " +
                                              std::to_string(there / IMA_PACKET_FRAMES) + " are there");
            return there;
        }
        const bool isFrames = told <= there && told + IMA_PACKET_FRAMES > there;
        return isFrames ? told : told * IMA_PACKET_FRAMES;
    }

    void AiffData(const AiffComm& comm) {
        uint8_t bytes[8];
        if (m_data.there < sizeof bytes || !m_source.Read(m_data.offset, bytes, sizeof bytes))
            return Error(m_data.offset, "'SSND' is too short for its offset");
        const auto offset = FromBigEndian<uint32_t>(bytes);
        const uint64_t behind = m_data.there - sizeof bytes;
        if (offset > behind) {
            Error(m_data.offset,
                  "the samples begin " + std::to_string(offset) + " bytes into 'SSND', behind its end");
            return;
        }
        const uint64_t there = behind - offset;
        const SampleCoding& coding = m_contents.coding;
        m_frameBytes = coding.codec == SampleCodec::None || coding.IsAdpcm() ? 0 : coding.blockBytes;
        Data(m_data.offset + sizeof bytes + offset, there, there);
        if (coding.codec == SampleCodec::None) return (void)(m_contents.frames = comm.frames);
        const bool isPackets = coding.codec == SampleCodec::ImaPackets;
        const uint64_t told = isPackets ? PacketFrames(comm.frames, coding.FramesIn(there)) : comm.frames;
        if (m_contents.frames < told)
            Error(m_format.offset + 2, "'COMM' tells of " + std::to_string(told) + " frames, " +
                                           std::to_string(m_contents.frames) + " are there");
        else if (m_contents.frames > told)
            Note(m_format.offset + 2, "'SSND' has more frames than 'COMM' tells of");
        m_contents.frames = std::min(m_contents.frames, told);
        if (!isPackets) m_contents.dataBytes = m_contents.frames * coding.blockBytes;
    }

    struct Place {
        bool isThere;
        uint64_t offset, size, there;
    };

    const ByteSource& m_source;
    MediaContents& m_contents;
    Place m_format{}, m_data{}, m_fact{};
    LongSizes m_longSizes;      ///< of RF64 and BW64
    uint64_t m_frameBytes = 0;  ///< 0 where frames cannot be counted
};

}  // namespace

MediaContents InspectMedia(const ByteSource& source) {
    MediaContents contents;
    Inspector(source, contents).Run();
    return contents;
}
MediaContents InspectMedia(HQMFILE file) { return InspectMedia(FileSource(file)); }

const char* NameOf(MediaContainer container) {
    switch (container) {
    case MediaContainer::Wave: return "Wave";
    case MediaContainer::Wave64: return "Wave64";
    case MediaContainer::Aiff: return "AIFF";
    case MediaContainer::Aifc: return "AIFC";
    case MediaContainer::Rf64: return "RF64";
    case MediaContainer::Bw64: return "BW64";
    case MediaContainer::Rifx: return "RIFX";
    default: return "unknown";
    }
}

}  // namespace tarn
