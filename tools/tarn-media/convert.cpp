#include "fileio/convert/loudness.h"
#include "fileio/convert/sample_chain.h"
#include "mediafile/meta/meta_carry.h"
#include "mediafile/meta/meta_retime.h"
#include "mediafile/sample_file.h"
#include "tools/tarn-media/convert_file.h"
#include "tools/tarn-media/media_tool.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <vector>

using namespace tarn;

namespace {

/// A stream has no place beside it.
bool KeepsLost(const ConvertOptions& options) {
    return !options.dropsLost && options.output != STANDARD_STREAM;
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

bool Dithers(const ConvertOptions& options, const ChainPlan& plan, QMSAMPLETYPE from) {
    if (options.dither == "none") return false;
    ChainPlan reckoned = plan;
    // Asked for, or with a level that is not known yet.
    if (options.dither == "tpdf" || options.normalize.kind != Normalize::Nothing) reckoned.gain = 0;
    return reckoned.LosesSteps(from);
}

/// The gain that brings the whole to the level asked for.
double NormalizingGain(const Input& in, const ChainPlan& plan, const ConvertOptions& options, uint32_t mask) {
    if (options.normalize.kind == Normalize::Nothing) return 1;
    const auto samples64 = in.Samples();
    SampleChain chain(*samples64, plan);
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

void WriteSamples(SampleChain& chain, const ChainPlan& plan, Output& out) {
    Progress progress("converting", plan.frames);
    for (;;) {
        const std::vector<uint8_t>& samples = chain.NextStored();
        if (samples.empty()) return;
        out.Write(samples);
        progress.Show(chain.FramesRead());
    }
}

/// What goes along, and what does not, which is said before anything is written.
MetaCarried Carried(const Input& in, const Target& target, const ConvertOptions& options) {
    if (options.dropsMetadata) return {};
    const MediaContainer shape = target.IsOwn() ? target.container : MediaContainer::Wave;
    MetaCarried carried = CarryMetadata(in.Metadata(), shape);
    for (const MetaLoss& loss : carried.losses)
        if (!options.quiet)
            Complain(options.output,
                     "'" + loss.id + "': " + loss.reason +
                         (KeepsLost(options) ? "; kept in " + options.output + ".qml" : "; dropped"));
    return carried;
}

/// What the template leaves open is told by the options or the source. Throws Refused.
ConvertOptions WithTemplate(const ConvertOptions& options, const Target& target) {
    ConvertOptions with = options;
    if (!target.settings) return with;
    const _qmwaveformat& format = target.settings->audio.format;
    const bool isNamed = !options.settings.empty();
    const auto differs = [&](const char* option) {
        return Refused{options.output, std::string("the template tells another ") + option, EXIT_USAGE};
    };
    if (isNamed && !options.type.empty() && TypeByName(options.type) != format.sampleType)
        throw differs("--type");
    if (isNamed && options.rate && format.sampleRate && options.rate != format.sampleRate)
        throw differs("--rate");
    const bool isMixed = options.channels || !options.map.empty() || !options.matrix.empty();
    if (!with.rate) with.rate = format.sampleRate;
    if (!isMixed && isNamed) with.channels = format.channels;
    return with;
}

struct Work {
    Target target;
    ChainPlan plan;
    _qmwaveformat format;
};

Work PlanOf(const Input& in, const ConvertOptions& asked) {
    const auto usage = [&](const std::string& reason) { return Refused{asked.output, reason, EXIT_USAGE}; };
    const _qmwaveformat& from = in.Format();
    Work work{TargetOf(asked, from), {}, {}};
    const Target& target = work.target;
    const ConvertOptions options = WithTemplate(asked, target);
    ChainPlan& plan = work.plan;
    plan.fromRate = from.sampleRate;
    plan.toRate = options.rate ? options.rate : from.sampleRate;
    plan.gain = std::pow(10.0, options.gain / 20);
    const QMSAMPLETYPE wanted = options.type.empty() ? in.Type() : TypeByName(options.type);
    plan.type =
        target.IsOwn() ? StoredType(target.container, wanted) : target.settings->audio.format.sampleType;
    if (plan.type == QMSAMPLE_UNKNOWN)
        throw usage(target.name + " holds integers only; choose one with --type");
    try {
        plan.matrix = MatrixOf(from, options);
        SetPart(options, in.Frames(), plan);
    } catch (const std::invalid_argument& e) {
        throw Refused{options.input, e.what()};
    }
    plan.dithers = Dithers(options, plan, in.Type());
    const uint32_t channels = plan.matrix.to, mask = plan.matrix.IsSame() ? from.channelMask : 0;
    if (target.settings && target.settings->audio.format.channels &&
        channels != target.settings->audio.format.channels)
        throw usage("the template is for " + std::to_string(target.settings->audio.format.channels) +
                    " channels");
    work.format.Init(plan.toRate, plan.type, channels, mask, sizeof work.format);
    if (uint64_t{QmAudio_BytesFromSampleType(plan.type)} * channels > UINT16_MAX)
        throw usage("frames of " + std::to_string(channels) + " channels are too long");
    const double length = std::ceil(static_cast<double>(plan.frames) * plan.toRate / plan.fromRate);
    if (target.IsOwn() &&
        length * work.format.blockAlign > static_cast<double>(LargestData(target.container)))
        throw usage(target.name +
                    " holds at most 4 GB; RF64 (--container rf64) and Wave64 (.w64) have no limit");
    return work;
}

void Write(const Input& in, Work& work, const ConvertOptions& options) {
    ChainPlan& plan = work.plan;
    MetaCarried carried = Carried(in, work.target, options);
    NewFile out(options.output, options.force);
    plan.gain *= NormalizingGain(in, plan, options, work.format.channelMask);
    const bool isPart = plan.frames < in.Frames();
    RetimeMetadata(carried.document,
                   {plan.fromRate, plan.toRate, plan.start, isPart ? plan.frames : UINT64_MAX,
                    plan.gain != 1 || !plan.matrix.IsSame()});
    const auto writer = BeginOutput(out.File(), options.output, work.target, work.format, carried.document);
    for (MetaBlock& block : writer->Lost()) {
        if (!options.quiet)
            Complain(options.output,
                     "'" + block.id + "': such files have no place for all of it" +
                         (KeepsLost(options) ? "; kept in " + options.output + ".qml" : "; dropped"));
        carried.lost.push_back(std::move(block));
    }
    const auto samples = in.Samples();
    SampleChain chain(*samples, plan);
    WriteSamples(chain, plan, *writer);
    writer->End();
    if (in.HasChanged())
        throw Refused{options.input, "another program has written it meanwhile; nothing was written"};
    // The side file first: what is lost from the target must lie somewhere when that takes its name.
    if (!carried.lost.empty() && KeepsLost(options))
        if (const HRESULT hr = WriteLostMetadata(WideFromPath(options.output).c_str(), carried.lost);
            Failed(hr))
            throw std::runtime_error("its side file: " + ReasonOf(hr));
    out.Commit();
    if (options.quiet) return;
    if (samples->DamagedBlocks())
        Complain(options.input, std::to_string(samples->DamagedBlocks()) +
                                    " blocks of the codec have headers that cannot be, and sound wrong");
    if (chain.Clipped())
        Complain(options.output, std::to_string(chain.Clipped()) +
                                     " samples were beyond full scale and are cut; --gain lowers the level");
}

}  // namespace

int Convert(const ConvertOptions& options) try {
    const Input in(options.input);
    Work work = PlanOf(in, options);
    if (!options.quiet)
        for (const MediaProblem& p : in.Problems())
            if (p.fault == MediaFault::Error)
                Complain(options.input,
                         "at " + std::to_string(p.offset) + ": " + p.text + " (goes on with what is there)");
    Write(in, work, options);
    return EXIT_FINE;
} catch (const Refused& refused) {
    return Complain(refused.file, refused.reason, refused.code);
} catch (const std::runtime_error& e) {
    return Complain(options.output, e.what());
}
