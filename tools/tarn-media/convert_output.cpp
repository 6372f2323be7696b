#include "fileio/extensions.h"
#include "fileio/meta_chunks.h"
#include "fileio/template_list.h"
#include "mediafile/sample_file.h"
#include "platform/text.h"
#include "tools/tarn-media/convert_file.h"

#include <filesystem>
#include <stdexcept>

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

std::string EndingOf(const ConvertOptions& options) {
    const std::u16string ending = Utf16FromUtf8(options.container);
    return options.container.empty() ? ExtensionOf(WideFromPath(options.output)) : ExtensionOf(ending, true);
}

/// Each renderer for the ending, until one answers.
template <class Use>
void ForRenderers(const std::string& ending, Use use) {
    uint32_t position = 0;
    GUID id{};
    const std::u16string wide = Utf16FromUtf8(ending);
    while (Succeeded(FileManager().FindNextRenderClassByExt(wide.c_str(), &position, &id)))
        if (use(id)) return;
}

void CheckResult(HRESULT hr) {
    if (Failed(hr)) throw std::runtime_error("writing " + ReasonOf(hr));
}

class OwnOutput final : public Output {
public:
    OwnOutput(HQMFILE file, MediaContainer container, const _qmwaveformat& format,
              const MetaDocument& metadata)
        : m_file(file), m_samples(file, container, format), m_metadata(metadata) {
        CheckResult(m_samples.Begin());
    }
    void Write(const std::vector<uint8_t>& samples) override {
        CheckResult(m_samples.Write(samples.data(), static_cast<uint32_t>(samples.size())));
    }
    void End() override {
        CheckResult(m_samples.End());
        if (m_metadata.blocks.empty()) return;
        const FileSource source(m_file);
        const MetaEditPlan plan = PlanMetaEdit(source, InspectMedia(source), m_metadata);
        if (plan.IsRefused())
            throw std::runtime_error("metadata: " + plan.refusal + "; --no-metadata leaves it out");
        if (const HRESULT hr = ApplyMetaEdit(m_file, plan); Failed(hr))
            throw std::runtime_error(ReasonOf(hr));
    }

private:
    HQMFILE m_file;
    SampleFile m_samples;
    const MetaDocument m_metadata;
};

class PluginOutput final : public Output {
public:
    PluginOutput(HQMFILE file, const std::string& path, const Target& target, const _qmwaveformat& format,
                 const MetaDocument& metadata)
        : m_frameBytes(format.blockAlign) {
        CheckResult(target.renderer->CreateFile(QmFile_Descriptor(file), WideFromPath(path).c_str(),
                                                target.settings.get(), &format, m_file.Out()));
        const ComPtr<IQmReadMeta> meta = Counted(MakeMeta(metadata));
        if (meta && m_file->SetMeta(meta.Get()) != S_OK) m_lost = metadata.blocks;
    }
    void Write(const std::vector<uint8_t>& samples) override {
        CheckResult(m_file->Write(samples.data(), static_cast<uint32_t>(samples.size() / m_frameBytes)));
    }
    void End() override { CheckResult(m_file->End()); }
    std::vector<MetaBlock> Lost() const override { return m_lost; }

private:
    static ComPtr<IQmReadMeta> Counted(IQmReadMeta* made) {
        ComPtr<IQmReadMeta> meta;
        *meta.Out() = made;
        return meta;
    }

    const uint32_t m_frameBytes;
    ComPtr<IQmRenderFile> m_file;
    std::vector<MetaBlock> m_lost;
};

}  // namespace

Target TargetOf(const ConvertOptions& options, const _qmwaveformat& source) {
    Target target;
    const std::string ending = EndingOf(options);
    const auto usage = [&](const std::string& reason) { return Refused{options.output, reason, EXIT_USAGE}; };
    target.container = ContainerByName(ending);
    if (options.settings.empty() && target.IsOwn()) {
        target.name = NameOf(target.container);
        return target;
    }
    target.container = MediaContainer::Unknown;
    target.name = "'" + ending + "'";
    if (ending.empty()) throw usage("which container? Name it by the output's ending or --container");
    bool isRenderer = false;
    ForRenderers(ending, [&](const GUID& id) {
        tagQMTEMPLATExV2* made = nullptr;
        isRenderer = true;
        if (Failed(FileManager().GetRendererClass(id, target.renderer.Out()))) return false;
        if (options.settings.empty())
            target.renderer->GetDefault(Utf16FromUtf8(ending).c_str(), &source, &made);
        else
            QmFio_GetTemplateByName(&FileManager(), &id, Utf16FromUtf8(options.settings).c_str(), &made);
        target.settings.reset(made);
        char16_t endings[256] = {};
        return IsSoundTemplate(made) && Succeeded(target.renderer->CheckTemplate(made)) &&
               Succeeded(target.renderer->GetExtensions(made, endings, std::size(endings) - 1)) &&
               HasExtension(Utf8FromUtf16(endings), ending);
    });
    if (!isRenderer) throw usage("nothing writes " + target.name + " files; 'plugins' lists what does");
    char16_t endings[256] = {};
    if (target.settings && Succeeded(target.renderer->GetExtensions(target.settings.get(), endings, 255)) &&
        !HasExtension(Utf8FromUtf16(endings), ending))
        throw usage("the template is for " + Utf8FromUtf16(endings) + " files");
    if (!target.settings)
        throw usage(options.settings.empty() ? "what writes " + target.name + " files does not start"
                                             : "there is no template '" + options.settings + "' for " +
                                                   target.name + " files; 'plugins --templates' lists them");
    return target;
}

std::unique_ptr<Output> BeginOutput(HQMFILE file, const std::string& path, const Target& target,
                                    const _qmwaveformat& format, const MetaDocument& metadata) {
    if (target.IsOwn()) return std::make_unique<OwnOutput>(file, target.container, format, metadata);
    return std::make_unique<PluginOutput>(file, path, target, format, metadata);
}
