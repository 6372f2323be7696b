#include "mediafile/meta/meta_carry.h"
#include "mediafile/meta/meta_retime.h"
#include "mediafile/sample_file.h"
#include "tools/tarn-media/loudness.h"
#include "tools/tarn-media/media_tool.h"
#include "tools/tarn-media/sample_chain.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <stdexcept>
#include <vector>

using namespace tarn;

namespace {

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

/// A stream has no place beside it.
bool KeepsLost(const ConvertOptions& options) {
    return !options.dropsLost && options.output != STANDARD_STREAM;
}

/// Why the samples of the file cannot be converted; empty when they can.
std::string Refusal(const MediaContents& c) {
    if (!c.hasFormat || !c.hasData)
        for (const MediaProblem& p : c.problems)
            if (p.fault == MediaFault::Error) return "at " + std::to_string(p.offset) + ": " + p.text;
    const _qmwaveformat& f = c.format.format;
    const std::string at = "at " + std::to_string(c.formatOffset) + ": ";
    if (c.coding.codec == SampleCodec::None || f.channels == 0) {
        for (const MediaProblem& p : c.problems)
            if (p.offset >= c.formatOffset && p.text.find("codec") != p.text.npos) return at + p.text;
        return at + "samples of this format are not converted";
    }
    if (f.sampleRate == 0) return at + "the format has a rate of 0";
    if (!c.coding.IsAdpcm() && f.blockAlign != c.coding.blockBytes)
        return at + "frames of " + std::to_string(f.blockAlign) +
               " bytes do not fit the samples; try 'repair'";
    return {};
}

/// Throws std::invalid_argument for what the file's channels cannot become.
MixMatrix MatrixOf(const _qmwaveformat& from, const ConvertOptions& options) {
    const uint32_t there = from.channels;
    const auto has = [&](uint32_t channel) {
        if (channel > there) throw std::invalid_argument("has no channel " + std::to_string(channel));
    };
    if (!options.map.empty()) {
        MixMatrix m{there, static_cast<uint32_t>(options.map.size()), {}};
        m.gains.resize(size_t{there} * m.to);
        for (uint32_t made = 0; made < m.to; made++) {
            has(options.map[made]);
            if (options.map[made]) m.At(made, options.map[made] - 1) = 1;
        }
        return m;
    }
    if (!options.matrix.empty()) {
        MixMatrix m{there, static_cast<uint32_t>(options.matrix.size()), {}};
        for (const std::vector<double>& row : options.matrix) {
            if (row.size() != there)
                throw std::invalid_argument("a row of the matrix has " + std::to_string(row.size()) +
                                            " gains for " + std::to_string(there) + " channels");
            m.gains.insert(m.gains.end(), row.begin(), row.end());
        }
        return m;
    }
    if (options.channels == 0) return MixMatrix::Same(there);
    const std::optional<MixMatrix> m = MixMatrix::ForChannels(there, from.channelMask, options.channels);
    if (!m)
        throw std::invalid_argument("how " + std::to_string(there) + " channels become " +
                                    std::to_string(options.channels) + " only --map or --matrix can tell");
    return *m;
}

/// Of a file of so many frames. Throws std::invalid_argument.
uint64_t FrameOf(const TimePoint& time, uint32_t rate, uint64_t otherwise) {
    if (!time.isGiven) return otherwise;
    return time.isFrames ? time.frames : static_cast<uint64_t>(std::floor(time.seconds * rate + 0.5));
}
void SetPart(const ConvertOptions& options, uint64_t frames, ChainPlan& plan) {
    plan.start = FrameOf(options.start, plan.fromRate, 0);
    if (plan.start > frames)
        throw std::invalid_argument("has " + std::to_string(frames) + " frames and ends before --start");
    const uint64_t length = FrameOf(options.length, plan.fromRate, frames - plan.start),
                   end = FrameOf(options.end, plan.fromRate, frames);
    if (end < plan.start) throw std::invalid_argument("--end is before --start");
    plan.frames = std::min({length, end - plan.start, frames - plan.start});
}

/// Integers that have fewer steps than what they are made of are made with noise.
bool Dithers(const ConvertOptions& options, const ChainPlan& plan, QMSAMPLETYPE from) {
    const auto isFloat = [](QMSAMPLETYPE t) { return t == QMSAMPLE_FLOAT32 || t == QMSAMPLE_FLOAT64; };
    constexpr uint32_t FINEST = 24;  // beyond it the noise is below any converter's own
    const uint32_t bits = QmAudio_BitsFromSampleType(plan.type);
    if (isFloat(plan.type) || bits > FINEST || options.dither == "none") return false;
    if (options.dither == "tpdf") return true;
    const bool isLess = isFloat(from) || QmAudio_BitsFromSampleType(from) > bits;
    const bool isReckoned = plan.gain != 1 || plan.fromRate != plan.toRate || !plan.matrix.MovesOnly();
    return isLess || isReckoned || options.normalize.kind != Normalize::Nothing;
}

/// The gain that brings the whole to the level asked for.
double NormalizingGain(const ByteSource& source, const MediaContents& contents, const ChainPlan& plan,
                       const ConvertOptions& options, uint32_t mask) {
    if (options.normalize.kind == Normalize::Nothing) return 1;
    SampleChain chain(source, contents, plan);
    Progress progress("measuring", plan.frames);
    const bool isPeak = options.normalize.kind == Normalize::Peak;
    double peak = 0;
    LoudnessMeter meter(plan.matrix.to, plan.toRate, mask);
    for (;;) {
        const std::vector<double>& samples = chain.NextDoubles();
        if (samples.empty()) break;
        if (!isPeak) meter.Add(samples);
        for (const double sample : samples)
            if (std::isfinite(sample)) peak = std::max(peak, std::fabs(sample));
        progress.Show(chain.FramesRead());
    }
    if (peak == 0) return 1;
    const double level = std::pow(10.0, options.normalize.level / 20), fullScale = FullScaleOf(plan.type);
    // The highest integer is a step below full scale, and the noise takes another.
    if (isPeak) return (fullScale > 0 ? std::min(level, 1 - (1 + plan.dithers) / fullScale) : level) / peak;
    const std::optional<double> loudness = meter.Loudness();
    if (!loudness) throw std::runtime_error("it is too short or too quiet for its loudness to be measured");
    return std::pow(10.0, (options.normalize.level - *loudness) / 20);
}

void WriteSamples(SampleChain& chain, const ChainPlan& plan, SampleFile& out) {
    Progress progress("converting", plan.frames);
    for (;;) {
        const std::vector<uint8_t>& samples = chain.NextStored();
        if (samples.empty()) return;
        if (const HRESULT hr = out.Write(samples.data(), static_cast<uint32_t>(samples.size())); Failed(hr))
            throw std::runtime_error("writing " + ReasonOf(hr));
        progress.Show(chain.FramesRead());
    }
}

/// What goes along, and what does not, which is said before anything is written.
MetaCarried Carried(const ByteSource& source, const MediaContents& contents, MediaContainer container,
                    const ConvertOptions& options) {
    if (options.dropsMetadata) return {};
    MetaCarried carried = CarryMetadata(ReadMetaDocument(source, contents), container);
    for (const MetaLoss& loss : carried.losses)
        if (!options.quiet)
            Complain(options.output,
                     "'" + loss.id + "': " + loss.reason +
                         (KeepsLost(options) ? "; kept in " + options.output + ".qml" : "; dropped"));
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

/// What ends a conversion before anything is written.
struct Refused {
    std::string file, reason;
    int code = EXIT_UNREADABLE;
};

struct Input {
    explicit Input(const std::string& path)
        : file(OpenFile(path, FILE_ACCESS_READ, FILE_OPEN_EXISTING)), source(file.get()) {
        if (!file) throw Refused{path, ReasonOf(MEDIA_E_OPEN)};
        stamp = StampOf(file.get());
        contents = InspectMedia(source);
        if (contents.container == MediaContainer::Unknown || !contents.hasFormat || !contents.hasData) {
            const MediaProblem& reason = contents.problems.front();
            throw Refused{path, "at " + std::to_string(reason.offset) + ": " + reason.text};
        }
        if (const std::string reason = Refusal(contents); !reason.empty()) throw Refused{path, reason};
    }

    OwnedFile file;
    FileStamp stamp;
    FileSource source;
    MediaContents contents;
};

struct Target {
    MediaContainer container;
    ChainPlan plan;
    _qmwaveformat format;
};

Target TargetOf(const MediaContents& contents, const ConvertOptions& options) {
    const auto usage = [&](const std::string& reason) { return Refused{options.output, reason, EXIT_USAGE}; };
    const _qmwaveformat& from = contents.format.format;
    Target target{ContainerOf(options), {}, {}};
    if (target.container == MediaContainer::Unknown)
        throw usage("which container? --container wav, rf64, bw64, w64, aiff or aifc");
    const std::string name = NameOf(target.container);
    ChainPlan& plan = target.plan;
    plan.fromRate = from.sampleRate;
    plan.toRate = options.rate ? options.rate : from.sampleRate;
    plan.gain = std::pow(10.0, options.gain / 20);
    plan.type =
        StoredType(target.container, options.type.empty() ? contents.coding.type : TypeByName(options.type));
    if (plan.type == QMSAMPLE_UNKNOWN) throw usage(name + " holds integers only; choose one with --type");
    try {
        plan.matrix = MatrixOf(from, options);
        SetPart(options, contents.frames, plan);
    } catch (const std::invalid_argument& e) {
        throw Refused{options.input, e.what()};
    }
    plan.dithers = Dithers(options, plan, contents.coding.type);
    const uint32_t channels = plan.matrix.to, mask = plan.matrix.IsSame() ? from.channelMask : 0;
    target.format.Init(plan.toRate, plan.type, channels, mask, sizeof target.format);
    if (uint64_t{QmAudio_BytesFromSampleType(plan.type)} * channels > UINT16_MAX)
        throw usage("frames of " + std::to_string(channels) + " channels are too long");
    const double length = std::ceil(static_cast<double>(plan.frames) * plan.toRate / plan.fromRate);
    if (length * target.format.blockAlign > static_cast<double>(LargestData(target.container)))
        throw usage(name + " holds at most 4 GB; RF64 (--container rf64) and Wave64 (.w64) have no limit");
    return target;
}

void Write(const Input& in, Target& target, const ConvertOptions& options) {
    const auto check = [](HRESULT hr) {
        if (Failed(hr)) throw std::runtime_error(ReasonOf(hr));
    };
    ChainPlan& plan = target.plan;
    MetaCarried carried = Carried(in.source, in.contents, target.container, options);
    NewFile out(options.output, options.force);
    plan.gain *= NormalizingGain(in.source, in.contents, plan, options, target.format.channelMask);
    const bool isPart = plan.frames < in.contents.frames;
    RetimeMetadata(carried.document,
                   {plan.fromRate, plan.toRate, plan.start, isPart ? plan.frames : UINT64_MAX,
                    plan.gain != 1 || !plan.matrix.IsSame()});
    SampleFile writer(out.File(), target.container, target.format);
    check(writer.Begin());
    SampleChain chain(in.source, in.contents, plan);
    WriteSamples(chain, plan, writer);
    check(writer.End());
    WriteMetadata(out.File(), carried.document);
    if (StampOf(in.file.get()) != in.stamp)
        throw Refused{options.input, "another program has written it meanwhile; nothing was written"};
    // The side file first: what is lost from the target must lie somewhere when that takes its name.
    if (!carried.lost.empty() && KeepsLost(options))
        if (const HRESULT hr = WriteLostMetadata(WideFromPath(options.output).c_str(), carried.lost);
            Failed(hr))
            throw std::runtime_error("its side file: " + ReasonOf(hr));
    out.Commit();
    if (options.quiet) return;
    if (chain.DamagedBlocks())
        Complain(options.input, std::to_string(chain.DamagedBlocks()) +
                                    " blocks of the codec have headers that cannot be, and sound wrong");
    if (chain.Clipped())
        Complain(options.output, std::to_string(chain.Clipped()) +
                                     " samples were beyond full scale and are cut; --gain lowers the level");
}

}  // namespace

int Convert(const ConvertOptions& options) try {
    const Input in(options.input);
    Target target = TargetOf(in.contents, options);
    if (!options.quiet)
        for (const MediaProblem& p : in.contents.problems)
            if (p.fault == MediaFault::Error)
                Complain(options.input,
                         "at " + std::to_string(p.offset) + ": " + p.text + " (goes on with what is there)");
    Write(in, target, options);
    return EXIT_FINE;
} catch (const Refused& refused) {
    return Complain(refused.file, refused.reason, refused.code);
} catch (const std::runtime_error& e) {
    return Complain(options.output, e.what());
}
