#include "host/media/template_render.h"

#include "fileio/convert/loudness.h"
#include "fileio/convert/sample_chain.h"
#include "fileio/extensions.h"
#include "fileio/meta_chunks.h"
#include "fileio/template_list.h"
#include "host/engine/clip_player.h"
#include "host/engine/gain.h"
#include "host/engine/offline_mix.h"
#include "host/engine/render_metadata.h"
#include "host/engine/speakers.h"
#include "mediafile/meta/meta_retime.h"
#include "mediafile/meta/meta_values.h"
#include "platform/file.h"
#include "platform/text.h"

#include <algorithm>
#include <cmath>

using namespace tarn;

namespace fs = std::filesystem;

namespace host {
namespace {

constexpr uint32_t SURROUND_MASK = 0x3F;

uint32_t SidesOf(const Session& session) {
    return session.mode == ChannelMode::Surround51 ? kMaxSides : kStereoSides;
}
uint32_t MaskOf(uint32_t sides) { return sides == kMaxSides ? SURROUND_MASK : 0; }

/// The mix as what it is made into reads it: frames side by side, measured on the way.
class MixSamples final : public SampleSource {
public:
    MixSamples(OfflineMix& mix, uint32_t rate)
        : m_mix(mix), m_sides(static_cast<uint32_t>(mix.Sides())),
          m_loudness(m_sides, rate, MaskOf(m_sides), true), m_buffers(m_sides, std::vector<float>(BLOCK)) {
        for (auto& buffer : m_buffers) m_into.push_back(buffer.data());
    }

    QMSAMPLETYPE Type() const override { return QMSAMPLE_FLOAT32; }
    uint32_t FrameBytes() const override { return m_sides * static_cast<uint32_t>(sizeof(float)); }
    uint64_t Read(void* samples, uint64_t frames) override {
        auto* out = static_cast<float*>(samples);
        for (uint64_t done = 0; done < frames;) {
            const auto n = static_cast<size_t>(std::min<uint64_t>(BLOCK, frames - done));
            m_mix.Process(m_into.data(), n);
            for (size_t i = 0; i < n; i++) Put(i, out + (done + i) * m_sides);
            m_loudness.Add(out + done * m_sides, n);
            done += n;
        }
        m_frames += frames;
        return frames;
    }
    bool Skip(uint64_t frames) override { return frames == 0; }
    std::string Place() const override { return "at frame " + std::to_string(m_frames) + ": "; }

    void Tell(RenderResult& result, bool isCut) const {
        result.frames = static_cast<int64_t>(m_frames);
        result.peak = m_peak;
        result.clippedFrames = isCut ? m_beyond : 0;
        result.loudnessLufs = m_loudness.Loudness().value_or(kSilenceDb);
        result.truePeakDbtp =
            std::max(kSilenceDb, double{DbFromLevel(static_cast<float>(m_loudness.TruePeak()))});
    }

private:
    static constexpr size_t BLOCK = 4096;

    void Put(size_t i, float* frame) {
        float highest = 0;
        for (uint32_t c = 0; c < m_sides; c++) {
            const float x = m_buffers[c][i];
            frame[c] = x != x ? 0 : x;
            highest = std::max(highest, std::fabs(frame[c]));
        }
        m_peak = std::max(m_peak, highest);
        m_beyond += highest > 1;
    }

    OfflineMix& m_mix;
    const uint32_t m_sides;
    LoudnessMeter m_loudness;
    std::vector<std::vector<float>> m_buffers;
    std::vector<float*> m_into;
    uint64_t m_frames = 0;
    float m_peak = 0;
    int64_t m_beyond = 0;
};

[[noreturn]] void Fail(const fs::path& file, const std::string& reason) {
    throw RenderError("cannot write " + file.string() + ": " + reason);
}
void Check(const fs::path& file, HRESULT hr) {
    if (Failed(hr)) Fail(file, ReasonOfStatus(hr));
}

std::string Endings(IQmRenderFileClass& renderer, const tagQMTEMPLATExV2& settings) {
    char16_t text[256] = {};
    return Succeeded(renderer.GetExtensions(&settings, text, std::size(text) - 1)) ? Utf8FromUtf16(text)
                                                                                   : std::string();
}

ChainPlan PlanOf(const fs::path& file, const Session& session, const FIOTEMPLATEAUDIO& audio) {
    const uint32_t sides = SidesOf(session), channels = audio.format.channels ? audio.format.channels : sides;
    ChainPlan plan;
    plan.fromRate = static_cast<uint32_t>(session.sample_rate);
    plan.toRate = audio.format.sampleRate ? audio.format.sampleRate : plan.fromRate;
    plan.type = audio.format.sampleType;
    const auto matrix = MixMatrix::ForChannels(sides, MaskOf(sides), channels);
    if (channels != sides && !matrix)
        Fail(file, "the template is for " + std::to_string(channels) + " channels, and the mix has " +
                       std::to_string(sides));
    plan.matrix = channels == sides ? MixMatrix::Same(sides) : *matrix;
    // At 24 bits noise is below any converter's own, and what passes the mixer at unity stays what it is.
    constexpr uint32_t FINE = 24;
    plan.dithers = QmAudio_BitsFromSampleType(plan.type) < FINE && plan.LosesSteps(QMSAMPLE_FLOAT32);
    return plan;
}

MetaDocument MetadataOf(const Session& session, const fs::path& folder, const ChainPlan& plan,
                        RenderResult measured = {}) {
    measured.frames = static_cast<int64_t>(plan.frames);
    MetaDocument document = RenderMetadata(session, folder, 0, measured);
    RetimeMetadata(document, {plan.fromRate, plan.toRate, 0, UINT64_MAX, !plan.matrix.IsSame()});
    const char* const mode = plan.matrix.to == 1 ? "mono" : plan.matrix.to == 2 ? "stereo" : "multichannel";
    SetMetaValue(document, "bext.CodingHistory",
                 "A=PCM,F=" + std::to_string(plan.toRate) + ",W=" +
                     std::to_string(QmAudio_BitsFromSampleType(plan.type)) + ",M=" + mode + ",T=Tarn\r\n");
    return document;
}

bool IsWave(int descriptor) {
    const OwnedFile file(QmFile_OpenDescriptor(descriptor));
    const MediaContainer container = file ? InspectMedia(file.get()).container : MediaContainer::Unknown;
    return container == MediaContainer::Wave || IsLongWave(container);
}

}  // namespace

OwnedTemplate TemplateFor(IQmFileIOMgrForApp& manager, const Session& session, const fs::path& file,
                          const std::string& name) {
    const std::string ending = ExtensionOf(WideFromPath(file));
    const std::u16string wide = Utf16FromUtf8(ending), wideName = Utf16FromUtf8(name);
    _qmwaveformat mix{};
    const uint32_t sides = SidesOf(session);
    mix.Init(static_cast<uint32_t>(session.sample_rate), QMSAMPLE_PCM24, sides, MaskOf(sides), sizeof mix);
    uint32_t position = 0;
    GUID id{};
    bool isWritten = false;
    std::string others;
    while (Succeeded(manager.FindNextRenderClassByExt(wide.c_str(), &position, &id))) {
        ComPtr<IQmRenderFileClass> renderer;
        if (Failed(manager.GetRendererClass(id, renderer.Out()))) continue;
        isWritten = true;
        tagQMTEMPLATExV2* made = nullptr;
        const HRESULT hr = name.empty() ? renderer->GetDefault(wide.c_str(), &mix, &made)
                                        : QmFio_GetTemplateByName(&manager, &id, wideName.c_str(), &made);
        OwnedTemplate settings(made);
        if (Failed(hr) || !IsSoundTemplate(made)) continue;
        const std::string endings = Endings(*renderer, *made);
        if (HasExtension(endings, ending)) return settings;
        others = endings;
    }
    if (!isWritten) Fail(file, "nothing writes files of this ending");
    if (!others.empty()) Fail(file, "the template is for " + others + " files");
    Fail(file, name.empty() ? "what writes such files does not start"
                            : "there is no template \"" + name + "\" for such files");
}

RenderResult RenderByTemplate(Project& project, IQmFileIOMgrForApp& manager, const fs::path& file,
                              const tagQMTEMPLATExV2& settings, std::optional<double> seconds,
                              const std::function<bool(double)>& progress) {
    const Session session = project.CompleteSnapshot();
    const fs::path folder = project.Path().parent_path();
    CheckSession(session);
    ComPtr<IQmRenderFileClass> renderer;
    Check(file, manager.GetRendererClass(settings.renderer, renderer.Out()));
    Check(file, renderer->CheckTemplate(&settings));
    const std::string endings = Endings(*renderer, settings);
    if (!HasExtension(endings, ExtensionOf(WideFromPath(file))))
        Fail(file, "the template is for " + endings + " files");
    ChainPlan plan = PlanOf(file, session, settings.audio);
    const double end = seconds.value_or(0) > 0 ? *seconds : session.length;
    const int64_t total = end <= kMaxSeconds ? FrameAt(end, session.sample_rate) : 0;
    if (total <= 0) Fail(file, "the range is empty");
    plan.frames = static_cast<uint64_t>(total);

    ProblemLog problems;
    OfflineMix mix(session, folder, 0, problems, {project.Effects(), 0});
    MixSamples samples(mix, plan.fromRate);
    _qmwaveformat format{};
    format.Init(plan.toRate, plan.type, plan.matrix.to, MaskOf(plan.matrix.to), sizeof format);
    std::string error;
    ReplacingFile made;
    if (!made.Open(file, error)) throw RenderError(error);
    ComPtr<IQmRenderFile> writer;
    Check(file, renderer->CreateFile(made.Descriptor(), WideFromPath(file).c_str(), &settings, &format,
                                     writer.Out()));
    ComPtr<IQmReadMeta> meta;
    *meta.Out() = MakeMeta(MetadataOf(session, folder, plan));
    // What such files have no place for is in the session.
    if (meta) Check(file, writer->SetMeta(meta.Get()));
    SampleChain chain(samples, plan);
    RenderResult result;
    for (;;) {
        const std::vector<uint8_t>& piece = chain.NextStored();
        if (piece.empty()) break;
        Check(file, writer->Write(piece.data(), static_cast<uint32_t>(piece.size() / format.blockAlign)));
        const double done = static_cast<double>(chain.FramesRead()) / static_cast<double>(total);
        if (progress && !progress(done)) throw RenderError(file.string() + ": cancelled");
    }
    Check(file, writer->End());
    writer.Reset();
    samples.Tell(result, FullScaleOf(plan.type) > 0);
    // Only now it is known how loud it is, and waves can still be told.
    if (IsWave(made.Descriptor())) {
        const std::string refusal =
            WriteRenderMetadata(made.Descriptor(), MetadataOf(session, folder, plan, result));
        if (!refusal.empty()) Fail(file, refusal);
    }
    if (!made.Commit(error)) throw RenderError(error);
    result.problems = problems.Lines();
    for (std::string& fault : mix.Faults()) result.problems.push_back(std::move(fault));
    result.finished = true;
    return result;
}

}  // namespace host
