#include "fileio/plugins/wave_renderer.h"

#include "audio/audio_copy.h"
#include "fileio/meta_chunks.h"
#include "fileio/plugins/sound_renderer.h"
#include "mediafile/meta/meta_carry.h"
#include "mediafile/sample_file.h"

#include <memory>

using namespace tarn;

namespace wave {

namespace {

/// The renderer's own data in a template.
struct Settings {
    uint32_t container;  ///< MediaContainer; Unknown: by the file's ending
};

struct ContainerRow {
    const char* extension;
    MediaContainer container;
};
constexpr ContainerRow CONTAINERS[] = {
    {"wav", MediaContainer::Wave},  {"w64", MediaContainer::Wave64}, {"aif", MediaContainer::Aiff},
    {"aiff", MediaContainer::Aiff}, {"aifc", MediaContainer::Aifc},  {"rf64", MediaContainer::Rf64},
    {"bw64", MediaContainer::Bw64},
};

MediaContainer ContainerOf(const std::string& extension) {
    const auto* row = std::ranges::find(CONTAINERS, extension, &ContainerRow::extension);
    return row == std::end(CONTAINERS) ? MediaContainer::Unknown : row->container;
}
bool IsContainer(uint32_t number) {
    return number == static_cast<uint32_t>(MediaContainer::Unknown) ||
           std::ranges::any_of(CONTAINERS, [&](const ContainerRow& row) {
               return static_cast<uint32_t>(row.container) == number;
           });
}

struct PresetRow {
    const char16_t* name;
    QMSAMPLETYPE type;
    uint32_t rate, channels, mask;
    MediaContainer container;
};
constexpr PresetRow PRESETS[] = {
    {u"44,100 Hz, 16 Bit, Stereo", QMSAMPLE_PCM16, 44100, 2, 0, MediaContainer::Unknown},
    {u"44,100 Hz, 16 Bit, Mono", QMSAMPLE_PCM16, 44100, 1, 0, MediaContainer::Unknown},
    {u"44,100 Hz, 24 Bit, Stereo", QMSAMPLE_PCM24, 44100, 2, 0, MediaContainer::Unknown},
    {u"48,000 Hz, 16 Bit, Stereo", QMSAMPLE_PCM16, 48000, 2, 0, MediaContainer::Unknown},
    {u"48,000 Hz, 24 Bit, Stereo", QMSAMPLE_PCM24, 48000, 2, 0, MediaContainer::Unknown},
    {u"48,000 Hz, 24 Bit, 5.1", QMSAMPLE_PCM24, 48000, 6, 0x3F, MediaContainer::Unknown},
    {u"96,000 Hz, 24 Bit, Stereo", QMSAMPLE_PCM24, 96000, 2, 0, MediaContainer::Unknown},
    {u"48,000 Hz, 32 Bit (IEEE Float), Stereo", QMSAMPLE_FLOAT32, 48000, 2, 0, MediaContainer::Wave},
    {u"RF64, 48,000 Hz, 24 Bit, Stereo", QMSAMPLE_PCM24, 48000, 2, 0, MediaContainer::Rf64},
    {u"Wave64, 48,000 Hz, 24 Bit, Stereo", QMSAMPLE_PCM24, 48000, 2, 0, MediaContainer::Wave64},
    {u"16 Bit, as the source", QMSAMPLE_PCM16, 0, 0, 0, MediaContainer::Unknown},
    {u"24 Bit, as the source", QMSAMPLE_PCM24, 0, 0, 0, MediaContainer::Unknown},
    {u"32 Bit (IEEE Float), as the source", QMSAMPLE_FLOAT32, 0, 0, 0, MediaContainer::Wave},
};

class RenderedFile final : public Counted<IQmRenderFile, IID_IQmRenderFile> {
public:
    HRESULT Begin(int descriptor, MediaContainer container, const _qmwaveformat& format) {
        const QMSAMPLETYPE type = StoredType(container, format.sampleType);
        m_copy = QmAudio_GetCopyFunction2(type, format.sampleType);
        m_file.reset(QmFile_OpenDescriptor(descriptor));
        if (!m_copy || format.channels == 0 || format.sampleRate == 0) return MEDIA_E_UNSUPPORTED_TYPE;
        if (!m_file) return MEDIA_E_OPEN;
        m_container = container;
        m_channels = format.channels;
        m_copies = type != format.sampleType;
        m_frameBytes = QmAudio_BytesFromSampleType(type) * format.channels;
        if (m_frameBytes > UINT16_MAX) return MEDIA_E_UNSUPPORTED_TYPE;
        _qmwaveformat stored{};
        stored.Init(format.sampleRate, type, format.channels, format.channelMask, sizeof stored);
        SampleFileGrowth growth;
        growth.mayBecomeLong = container == MediaContainer::Wave;
        m_samples = std::make_unique<SampleFile>(m_file.get(), container, stored, growth);
        return m_samples->Begin();
    }

    HRESULT Write(const void* samples, uint32_t frames) override {
        if (!samples) return E_POINTER;
        if (frames > UINT32_MAX / m_frameBytes) return E_INVALIDARG;
        return Guarded([&] {
            const uint32_t bytes = frames * m_frameBytes;
            if (!m_copies) return m_samples->Write(samples, bytes);
            m_converted.resize(bytes);
            m_copy(m_converted.data(), samples, static_cast<long>(uint64_t{frames} * m_channels), 1.0f);
            return m_samples->Write(m_converted.data(), bytes);
        });
    }
    HRESULT SetMeta(IQmReadMeta* meta) override {
        if (!meta) return E_POINTER;
        return Guarded([&] {
            MetaCarried carried = CarryMetadata(ReadMeta(*meta), m_container);
            m_document = std::move(carried.document);
            return carried.losses.empty() ? S_OK : S_FALSE;
        });
    }
    HRESULT End() override {
        return Guarded([&]() -> HRESULT {
            if (const HRESULT hr = m_samples->End(); Failed(hr) || m_document.blocks.empty()) return hr;
            const FileSource source(m_file.get());
            const MetaEditPlan plan = PlanMetaEdit(source, InspectMedia(source), m_document);
            return plan.IsRefused() ? MEDIA_E_MALFORMED : ApplyMetaEdit(m_file.get(), plan);
        });
    }

private:
    OwnedFile m_file;
    std::unique_ptr<SampleFile> m_samples;
    MediaContainer m_container = MediaContainer::Unknown;
    uint32_t m_channels = 0, m_frameBytes = 1;
    bool m_copies = false;
    QMAUDIOCOPYFN m_copy = nullptr;
    std::vector<uint8_t> m_converted;
    MetaDocument m_document;
};

class Renderer final : public SoundRenderer<Settings> {
public:
    Renderer() : SoundRenderer(RENDERER) {}

protected:
    const char16_t* Preset(uint32_t index, Parts* parts) const override {
        if (index >= std::size(PRESETS)) return nullptr;
        const PresetRow& row = PRESETS[index];
        parts->format = FormatOf(row.type, row.rate, row.channels, row.mask);
        parts->settings.container = static_cast<uint32_t>(row.container);
        return row.name;
    }
    Parts Default(const std::string& ending, const _qmwaveformat& source) const override {
        const MediaContainer named = ContainerOf(ending);
        const MediaContainer container = named == MediaContainer::Unknown ? MediaContainer::Wave : named;
        QMSAMPLETYPE type = StoredType(container, source.sampleType);
        if (type == QMSAMPLE_UNKNOWN) type = StoredType(container, QMSAMPLE_PCM24);
        return {FormatOf(type, source.sampleRate, source.channels, source.channelMask), 0,
                Settings{static_cast<uint32_t>(named)}};
    }
    bool IsPossible(const Parts& parts) const override {
        return IsContainer(parts.settings.container) &&
               StoredType(static_cast<MediaContainer>(parts.settings.container), parts.format.sampleType);
    }
    std::string Extensions(const Settings& settings) const override {
        if (!IsContainer(settings.container)) return {};
        const auto container = static_cast<MediaContainer>(settings.container);
        std::string list;
        for (const ContainerRow& row : CONTAINERS)
            if (row.container == container || container == MediaContainer::Unknown)
                list += (list.empty() ? "" : ";") + std::string(row.extension);
        // What is a wave to all but a few goes by its ending, too.
        return IsLongWave(container) ? "wav;" + list : list;
    }
    std::vector<FIOTEMPLATEFIELD> Fields(const Parts& parts) const override {
        const auto container = static_cast<MediaContainer>(parts.settings.container);
        const _qmwaveformat& f = parts.format;
        std::vector<uint32_t> types;
        for (const QMSAMPLETYPE type : {QMSAMPLE_PCM16, QMSAMPLE_PCM24, QMSAMPLE_PCM32, QMSAMPLE_FLOAT32})
            if (StoredType(container, type) == type) types.push_back(type);
        return {FieldOf(FIO_FIELD_TYPE, f.sampleType, types),
                FieldOf(FIO_FIELD_RATE, f.sampleRate, USUAL_RATES),
                FieldOf(FIO_FIELD_CHANNELS, f.channels, USUAL_CHANNELS)};
    }
    void Change(uint32_t, uint32_t, Parts&) const override {}
    HRESULT Begin(int descriptor, const std::string& ending, const Settings& settings,
                  const _qmwaveformat& format, IQmRenderFile** out) const override {
        auto container = static_cast<MediaContainer>(settings.container);
        if (container == MediaContainer::Unknown) container = ContainerOf(ending);
        if (container == MediaContainer::Unknown) return MEDIA_E_UNSUPPORTED_TYPE;
        const ComPtr<RenderedFile> file(new RenderedFile);
        const HRESULT hr = file->Begin(descriptor, container, format);
        return Failed(hr) ? hr : GiveOut(file.Get(), out);
    }
};

}  // namespace

IQmRenderFileClass* MakeRenderer() { return new Renderer; }

}  // namespace wave
