#include "audio/audio_copy.h"
#include "audio/channels.h"
#include "mediafile/meta/meta_carry.h"
#include "mediafile/sample_file.h"
#include "tools/tarn-media/media_tool.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <stdexcept>
#include <vector>

using namespace tarn;

namespace {

constexpr uint32_t PIECE_BYTES = 1 << 20;

MediaContainer ContainerByName(const std::string& name) {
    if (name == "wav" || name == "wave") return MediaContainer::Wave;
    if (name == "w64") return MediaContainer::Wave64;
    if (name == "rf64") return MediaContainer::Rf64;
    if (name == "bw64") return MediaContainer::Bw64;
    if (name == "aif" || name == "aiff") return MediaContainer::Aiff;
    if (name == "aifc" || name == "sowt") return MediaContainer::Aifc;
    return MediaContainer::Unknown;
}

MediaContainer ContainerOf(const ConvertOptions& options) {
    if (!options.container.empty()) return ContainerByName(options.container);
    std::string extension = std::filesystem::path(options.output).extension().string();
    std::ranges::transform(extension, extension.begin(),
                           [](char c) { return static_cast<char>(std::tolower(c)); });
    return extension.empty() ? MediaContainer::Unknown : ContainerByName(extension.substr(1));
}

/// Pieces of frames from one format to another. The gain and the mixing are done in doubles where channels
/// change, so that what is written is rounded once.
class Converter {
public:
    Converter(const _qmwaveformat& from, const _qmwaveformat& to, uint32_t channel, float gain)
        : m_from(from), m_to(to), m_channel(channel), m_gain(gain) {
        const bool changes = channel != 0 || from.channels != to.channels;
        m_middle = changes && channel == 0 ? QMSAMPLE_FLOAT64 : to.sampleType;
        m_first = QmAudio_GetCopyFunction2(m_middle, from.sampleType);
        m_last = QmAudio_GetCopyFunction2(to.sampleType, m_middle);
        if (!m_first) {  // the few pairs without a routine of their own
            m_middle = QMSAMPLE_FLOAT64;
            m_first = QmAudio_GetCopyFunction2(m_middle, from.sampleType);
            m_last = QmAudio_GetCopyFunction2(to.sampleType, m_middle);
        }
    }

    static bool CanChange(uint32_t from, uint32_t to) { return from == to || from == 1 || to == 1; }

    /// Of all that a frame becomes on its way.
    uint32_t MostFrameBytes() const {
        return static_cast<uint32_t>(sizeof(double)) * std::max(m_from.channels, m_to.channels);
    }

    /// Returns the samples; valid until the next call.
    const std::vector<uint8_t>& Convert(std::vector<uint8_t>& piece, int64_t frames) {
        const auto count = static_cast<size_t>(frames);
        uint32_t channels = m_from.channels;
        if (m_channel != 0 && channels > 1) {
            QmAudio_ExtractChannel(piece.data(), m_channel - 1, piece.data(), m_from.sampleType, channels,
                                   frames);
            channels = 1;
        }
        const uint32_t width = QmAudio_BytesFromSampleType(m_middle);
        const uint32_t most = std::max<uint32_t>(channels, m_to.channels);
        m_out.resize(count * std::max(width, QmAudio_BytesFromSampleType(m_to.sampleType)) * most);
        m_first(m_out.data(), piece.data(), frames * channels, m_gain);
        if (channels != m_to.channels) {
            WAVEFORMATEX format;
            QmAudio_InitWfx(&format, m_from.sampleRate, m_middle, channels);
            QmAudio_ChannelChangeAvg(m_out.data(), m_to.channels, m_out.data(), &format, frames);
        }
        if (m_middle != m_to.sampleType) m_last(m_out.data(), m_out.data(), frames * m_to.channels, 1.0f);
        m_out.resize(count * m_to.blockAlign);
        return m_out;
    }

private:
    _qmwaveformat m_from, m_to;
    uint32_t m_channel;
    float m_gain;
    QMSAMPLETYPE m_middle;
    QMAUDIOCOPYFN m_first, m_last;
    std::vector<uint8_t> m_out;
};

/// Why the samples of the file cannot be converted; empty when they can.
std::string Refusal(const MediaContents& c, const ConvertOptions& options) {
    for (const MediaProblem& p : c.problems)
        if (p.fault == MediaFault::Error && (!c.hasFormat || !c.hasData))
            return "at " + std::to_string(p.offset) + ": " + p.text;
    const _qmwaveformat& f = c.format.format;
    const std::string at = "at " + std::to_string(c.formatOffset) + ": ";
    if (f.sampleType == QMSAMPLE_UNKNOWN || f.IsCompressed() || f.channels == 0)
        return at + "samples of this format are not converted";
    if (c.isBigEndian && (f.sampleType == QMSAMPLE_FLOAT32 || f.sampleType == QMSAMPLE_FLOAT64))
        return at + "big-endian floats are not converted";
    if (f.sampleRate == 0) return at + "the format has a rate of 0";
    if (f.blockAlign != f.BytesPerSample() * f.channels)
        return at + "frames of " + std::to_string(f.blockAlign) +
               " bytes do not fit the samples; try 'repair'";
    if (options.channel > f.channels) return "has no channel " + std::to_string(options.channel);
    const uint32_t channels = options.channel ? 1 : f.channels;
    if (options.channels && !Converter::CanChange(channels, options.channels))
        return "its " + std::to_string(channels) + " channels can become one, or stay; not " +
               std::to_string(options.channels);
    return {};
}

void CopySamples(HQMFILE in, const MediaContents& c, Converter& converter, SampleFile& out) {
    const uint32_t frameBytes = c.format.format.blockAlign;
    const uint64_t framesAtOnce =
        std::max<uint64_t>(PIECE_BYTES / std::max(frameBytes, converter.MostFrameBytes()), 1);
    Progress progress("converting", c.frames * frameBytes);
    QmFile_Seek(in, static_cast<int64_t>(c.dataOffset), FILE_FROM_START);
    std::vector<uint8_t> piece;
    for (uint64_t done = 0; done < c.frames;) {
        const uint64_t frames = std::min(framesAtOnce, c.frames - done);
        piece.resize(frames * frameBytes);
        if (!QmFile_Read(in, piece.data(), static_cast<uint32_t>(piece.size()), nullptr))
            throw std::runtime_error("at " + std::to_string(c.dataOffset + done * frameBytes) + ": " +
                                     ReasonOf(MEDIA_E_READ));
        const std::vector<uint8_t>& samples = converter.Convert(piece, static_cast<int64_t>(frames));
        if (const HRESULT hr = out.Write(samples.data(), static_cast<uint32_t>(samples.size())); Failed(hr))
            throw std::runtime_error("writing " + ReasonOf(hr));
        done += frames;
        progress.Show(done * frameBytes);
    }
}

/// What goes along, and what does not, which is said before anything is written.
MetaCarried Carried(HQMFILE in, const MediaContents& contents, MediaContainer container,
                    const ConvertOptions& options) {
    if (options.dropsMetadata) return {};
    const FileSource source(in);
    MetaCarried carried = CarryMetadata(ReadMetaDocument(source, contents), container);
    for (const MetaLoss& loss : carried.losses)
        if (!options.quiet)
            Complain(options.output,
                     "'" + loss.id + "': " + loss.reason +
                         (options.dropsLost ? "; dropped" : "; kept in " + options.output + ".qml"));
    return carried;
}

void WriteMetadata(HQMFILE file, const MetaDocument& document) {
    if (document.blocks.empty()) return;
    const FileSource source(file);
    const MetaEditPlan plan = PlanMetaEdit(source, InspectMedia(source), document);
    if (plan.IsRefused())
        throw std::runtime_error("metadata: " + plan.refusal + "; --no-metadata leaves it out");
    if (const HRESULT hr = ApplyMetaEdit(file, plan); Failed(hr)) throw std::runtime_error(ReasonOf(hr));
}

}  // namespace

int Convert(const ConvertOptions& options) {
    const MediaContainer container = ContainerOf(options);
    if (container == MediaContainer::Unknown)
        return Complain(options.output, "which container? --container wav, rf64, bw64, w64, aiff or aifc",
                        EXIT_USAGE);
    const OwnedFile in = OpenFile(options.input, FILE_ACCESS_READ, FILE_OPEN_EXISTING);
    if (!in) return Complain(options.input, ReasonOf(MEDIA_E_OPEN));
    const MediaContents contents = InspectMedia(in.get());
    if (contents.container == MediaContainer::Unknown || !contents.hasFormat || !contents.hasData) {
        const MediaProblem& reason = contents.problems.front();
        return Complain(options.input, "at " + std::to_string(reason.offset) + ": " + reason.text);
    }
    if (const std::string reason = Refusal(contents, options); !reason.empty())
        return Complain(options.input, reason);

    const _qmwaveformat& from = contents.format.format;
    const QMSAMPLETYPE asked = options.type.empty() ? from.sampleType : TypeByName(options.type);
    const QMSAMPLETYPE type = StoredType(container, asked);
    if (type == QMSAMPLE_UNKNOWN)
        return Complain(options.output,
                        std::string(NameOf(container)) + " holds integers only; choose one with --type",
                        EXIT_USAGE);
    const uint32_t channels = options.channels ? options.channels : options.channel ? 1 : from.channels;
    _qmwaveformat to;
    to.Init(from.sampleRate, type, channels, channels == from.channels ? from.channelMask : 0, sizeof to);
    if (uint64_t{QmAudio_BytesFromSampleType(type)} * channels > UINT16_MAX)
        return Complain(options.output, "frames of " + std::to_string(channels) + " channels are too long",
                        EXIT_USAGE);
    if (contents.frames * to.blockAlign > LargestData(container))
        return Complain(options.output,
                        std::string(NameOf(container)) +
                            " holds at most 4 GB; RF64 (--container rf64) and Wave64 (.w64) have no limit",
                        EXIT_USAGE);
    if (!options.quiet)
        for (const MediaProblem& p : contents.problems)
            if (p.fault == MediaFault::Error)
                Complain(options.input,
                         "at " + std::to_string(p.offset) + ": " + p.text + " (goes on with what is there)");
    const MetaCarried carried = Carried(in.get(), contents, container, options);
    try {
        NewFile out(options.output, options.force);
        SampleFile writer(out.File(), container, to);
        Converter converter(from, to, options.channel, static_cast<float>(std::pow(10.0, options.gain / 20)));
        if (const HRESULT hr = writer.Begin(); Failed(hr)) throw std::runtime_error(ReasonOf(hr));
        CopySamples(in.get(), contents, converter, writer);
        if (const HRESULT hr = writer.End(); Failed(hr)) throw std::runtime_error(ReasonOf(hr));
        WriteMetadata(out.File(), carried.document);
        // The side file first: what is lost from the target must lie somewhere when that takes its name.
        if (!carried.lost.empty() && !options.dropsLost)
            if (const HRESULT hr = WriteLostMetadata(WideFromPath(options.output).c_str(), carried.lost);
                Failed(hr))
                throw std::runtime_error("its side file: " + ReasonOf(hr));
        out.Commit();
    } catch (const std::runtime_error& e) {
        return Complain(options.output, e.what());
    }
    return EXIT_FINE;
}
