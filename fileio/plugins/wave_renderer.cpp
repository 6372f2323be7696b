#include "fileio/plugins/wave_renderer.h"

#include "audio/audio_copy.h"
#include "fileio/extensions.h"
#include "fileio/meta_chunks.h"
#include "fileio/plugins/preset.h"
#include "mediafile/meta/meta_carry.h"
#include "mediafile/sample_file.h"
#include "platform/counted.h"
#include "platform/guarded.h"
#include "platform/text.h"

#include <algorithm>
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

struct CloseFile {
    void operator()(QMFILE* file) const { QmFile_Close(file); }
};

class File final : public Counted<IQmRenderFile, IID_IQmRenderFile> {
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
    std::unique_ptr<QMFILE, CloseFile> m_file;
    std::unique_ptr<SampleFile> m_samples;
    MediaContainer m_container = MediaContainer::Unknown;
    uint32_t m_channels = 0, m_frameBytes = 1;
    bool m_copies = false;
    QMAUDIOCOPYFN m_copy = nullptr;
    std::vector<uint8_t> m_converted;
    MetaDocument m_document;
};

class Renderer final : public Counted<IQmRenderFileClass, IID_IQmRenderFileClass> {
public:
    HRESULT Start(uint32_t) override { return S_OK; }
    HRESULT GetPreset(uint32_t index, tagQMTEMPLATExV2** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (index >= std::size(PRESETS)) return S_FALSE;
        const PresetRow& row = PRESETS[index];
        const Settings settings{static_cast<uint32_t>(row.container)};
        return MakePreset(RENDERER, row.name, FormatOf(row.type, row.rate, row.channels, row.mask), 0,
                          settings, out);
    }
    HRESULT GetDefault(const char16_t* extension, const _qmwaveformat* source,
                       tagQMTEMPLATExV2** out) override {
        if (!extension || !source || !out) return E_POINTER;
        *out = nullptr;
        return Guarded([&]() -> HRESULT {
            const MediaContainer named = ContainerOf(ExtensionOf(extension, true));
            const MediaContainer container = named == MediaContainer::Unknown ? MediaContainer::Wave : named;
            QMSAMPLETYPE type = StoredType(container, source->sampleType);
            if (type == QMSAMPLE_UNKNOWN) type = StoredType(container, QMSAMPLE_PCM24);
            const _qmwaveformat format =
                FormatOf(type, source->sampleRate, source->channels, source->channelMask);
            return MakePreset(RENDERER, u"", format, 0, Settings{static_cast<uint32_t>(named)}, out);
        });
    }
    HRESULT CheckTemplate(const tagQMTEMPLATExV2* t) override {
        Settings settings{};
        if (!DataOf(t, &settings) || t->renderer != RENDERER || !IsContainer(settings.container) ||
            t->audio.size == 0 || t->audio.streams != 1)
            return MEDIA_E_BAD_TEMPLATE;
        const auto container = static_cast<MediaContainer>(settings.container);
        return StoredType(container, t->audio.format.sampleType) ? S_OK : MEDIA_E_BAD_TEMPLATE;
    }
    HRESULT GetExtensions(const tagQMTEMPLATExV2* t, char16_t* text, uint32_t capacity) override {
        Settings settings{};
        if (!text) return E_POINTER;
        if (!DataOf(t, &settings) || !IsContainer(settings.container)) return MEDIA_E_BAD_TEMPLATE;
        return Guarded([&]() -> HRESULT {
            const auto container = static_cast<MediaContainer>(settings.container);
            std::string list;
            for (const ContainerRow& row : CONTAINERS)
                if (row.container == container || container == MediaContainer::Unknown)
                    list += (list.empty() ? "" : ";") + std::string(row.extension);
            // What is a wave to all but a few goes by its ending, too.
            if (IsLongWave(container)) list = "wav;" + list;
            if (list.size() >= capacity) return MEDIA_E_NO_ROOM;
            CopyText(text, capacity, Utf16FromUtf8(list).c_str());
            return S_OK;
        });
    }
    HRESULT CreateFile(int32_t descriptor, const char16_t* path, const tagQMTEMPLATExV2* t,
                       const _qmwaveformat* format, IQmRenderFile** out) override {
        if (!path || !format || !out) return E_POINTER;
        *out = nullptr;
        if (const HRESULT hr = CheckTemplate(t); Failed(hr)) return hr;
        return Guarded([&]() -> HRESULT {
            Settings settings{};
            DataOf(t, &settings);
            auto container = static_cast<MediaContainer>(settings.container);
            if (container == MediaContainer::Unknown) container = ContainerOf(ExtensionOf(path));
            if (container == MediaContainer::Unknown) return MEDIA_E_UNSUPPORTED_TYPE;
            const ComPtr<File> file(new File);
            const HRESULT hr = file->Begin(descriptor, container, *format);
            return Failed(hr) ? hr : GiveOut(file.Get(), out);
        });
    }
};

}  // namespace

IQmRenderFileClass* MakeRenderer() { return new Renderer; }

}  // namespace wave
