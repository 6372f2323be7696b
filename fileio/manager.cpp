#include "fileio/manager.h"

#include "fileio/enumerators.h"
#include "fileio/extensions.h"
#include "fileio/filter_builder.h"
#include "fileio/hardware_decoders.h"
#include "fileio/identify.h"
#include "fileio/media_properties.h"
#include "fileio/open_files.h"
#include "fileio/template_list.h"
#include "kernel/codes.h"
#include "kernel/lang/lang.h"
#include "kernel/metrics/metrics.h"
#include "mediafile/media_codes.h"
#include "platform/counted.h"
#include "platform/file.h"
#include "platform/guarded.h"
#include "platform/module.h"
#include "platform/named_lock.h"
#include "platform/text.h"
#include "platform/user_folders.h"

#include <algorithm>
#include <optional>
#include <utility>

using namespace tarn;

namespace fs = std::filesystem;

namespace {

/// Held around every pass over the plug-ins, so that two processes do not ask and remember at once.
constexpr char SCAN_LOCK[] = "Local\\Tarn Media Software FileIO";

enum OwnMetric : int32_t {
    METRIC_READER = 2001,
    METRIC_RENDERER,
    METRIC_DECODER,
    METRIC_CALL_LIMIT,  ///< milliseconds
};
constexpr int32_t CALL_LIMIT = 60000, LEAST_CALL_LIMIT = 100, MOST_CALL_LIMIT = 3600000;

constexpr int64_t LONG_FILE = int64_t{256} << 20;  ///< to look through which takes a while

const char HERE = 0;

uint32_t LanguageOfTexts() {
    const uint32_t chosen = QmLang_GetLCID(KernelLang());
    return chosen ? chosen : UserLanguageLcid();
}

std::vector<fs::path> UsualFolders() {
    std::vector<fs::path> folders;
    if (const fs::path own = Module::FolderOf(&HERE); !own.empty()) {
        folders.push_back(own / "fileio");
        folders.push_back(own / "tarn" / "fileio");
    }
    if (const fs::path data = UserDataFolder(); !data.empty()) folders.push_back(data / "Tarn" / "fileio");
    return folders;
}

fs::path CacheFile() {
    const fs::path cache = UserCacheFolder();
    return cache.empty() ? cache : cache / "Tarn" / "fileio-plugins.ini";
}

std::vector<fs::path> PathsOf(HQMLIST list) {
    std::vector<fs::path> paths;
    for (const char16_t* path : QmList_Pointers<const char16_t>(list))
        if (path) paths.push_back(PathFromWide(path));
    return paths;
}

class CQmFileIOManager final
    : public Counted<IQmFileIOMgrForApp, IID_IQmFileIOManager, IID_IQmFileIOMgrForApp> {
public:
    CQmFileIOManager(const char16_t* application, uint32_t version, IQmFioLogger* logger)
        : m_langId(LanguageOfTexts()), m_logger(logger),
          m_plugins(m_langId, [this](const std::string& line) { Log(line); }),
          m_identifier(m_plugins, [this](const std::string& line) { Log(line); }) {
        SetMetrics(application, version);
        Log("*** Start of FileIO Manager log ***");
        DetectDecoders();
    }
    ~CQmFileIOManager() override {
        CleanUp();
        QmMetric_Close(m_metrics);
    }

    uint32_t GetLangID() override { return m_langId; }

    HRESULT GetMetric(int32_t id, uint32_t* value) override {
        if (!value) return E_POINTER;
        const CriticalSectionLock lock(m_lock);
        *value = QmGetMetric(m_metrics, id);
        return QmDoesMetricExist(m_metrics, id, QMMETRIC_NUMBER) == 0 ? S_OK : S_FALSE;
    }
    HRESULT SetMetric(int32_t id, uint32_t value) override {
        const CriticalSectionLock lock(m_lock);
        return QmSetMetric(m_metrics, id, value);
    }
    HRESULT GetMetricString(int32_t id, char16_t* text, uint32_t capacity) override {
        if (!text) return E_POINTER;
        const CriticalSectionLock lock(m_lock);
        uint32_t size = 0;
        const HRESULT hr = QmGetMetricAny(m_metrics, id, QMMETRIC_TEXT, text,
                                          capacity * static_cast<uint32_t>(sizeof *text), &size);
        return hr == QM_E_MORE_DATA ? MEDIA_E_NO_ROOM : Failed(hr) ? S_FALSE : S_OK;
    }
    HRESULT SetMetricString(int32_t id, const char16_t* text) override {
        const CriticalSectionLock lock(m_lock);
        return text ? QmSetMetricString(m_metrics, id, text) : E_POINTER;
    }
    HRESULT DeleteMetric(int32_t id) override {
        const CriticalSectionLock lock(m_lock);
        return QmDeleteMetric(m_metrics, id);
    }
    HRESULT GetMetricBinary(int32_t id, void* data, uint32_t capacity, uint32_t* size) override {
        if (!data || !size) return E_POINTER;
        const CriticalSectionLock lock(m_lock);
        const HRESULT hr = QmGetMetricAny(m_metrics, id, QMMETRIC_BINARY, data, capacity, size);
        return hr == QM_E_MORE_DATA ? MEDIA_E_NO_ROOM : Failed(hr) ? S_FALSE : S_OK;
    }
    HRESULT SetMetricBinary(int32_t id, const void* data, uint32_t size) override {
        const CriticalSectionLock lock(m_lock);
        return data ? QmSetMetricBinary(m_metrics, id, data, size) : E_POINTER;
    }

    HRESULT MediaInfo_Initialize() override { return S_OK; }
    HRESULT MediaInfo_Open(const char16_t* path) override {
        const CriticalSectionLock lock(m_lock);
        return OpenReader(path, m_described.Out());
    }
    HRESULT MediaInfo_GetVideoProperty(uint32_t stream, const char16_t* name, char16_t* text,
                                       uint32_t capacity) override {
        return Property(VideoPropertyOf, stream, name, text, capacity);
    }
    HRESULT MediaInfo_GetAudioProperty(uint32_t stream, const char16_t* name, char16_t* text,
                                       uint32_t capacity) override {
        return Property(AudioPropertyOf, stream, name, text, capacity);
    }
    HRESULT MediaInfo_Close() override {
        const CriticalSectionLock lock(m_lock);
        m_described.Reset();
        return S_OK;
    }
    HRESULT MediaInfo_Uninitialize() override { return MediaInfo_Close(); }

    HRESULT FindReaderClassFromId(const GUID& id, IQmReadFileClass** out) override {
        return GetReaderClass(id, out);
    }
    HRESULT FindReaderClass(const char16_t* path, IQmReadFileClass** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        GUID reader{};
        HRESULT status = S_OK;
        if (const HRESULT hr = IdentifyFileType(path, &reader, &status); Failed(hr)) return hr;
        return GetReaderClass(reader, out);
    }
    HRESULT FindRendererClass(const GUID& id, IQmRenderFileClass** out) override {
        return GetRendererClass(id, out);
    }

    HRESULT SetLogger(IQmFioLogger* logger) override {
        const CriticalSectionLock lock(m_logLock);
        m_logger = logger;
        return S_OK;
    }
    HRESULT GetLogger(IQmFioLogger** out) override {
        if (!out) return E_POINTER;
        const CriticalSectionLock lock(m_logLock);
        *out = ComPtr(m_logger).Detach();
        return *out ? S_OK : S_FALSE;
    }

    HRESULT GetGPUAcceleration(uint32_t* decoder) override {
        if (!decoder) return E_POINTER;
        uint32_t bit = 0;
        // What was chosen on a machine with other hardware is as good as nothing.
        *decoder = GetMetric(METRIC_DECODER, &bit) == S_OK && IsSupported(bit) ? bit : FIO_DECODER_AUTO;
        return S_OK;
    }
    HRESULT SetGPUAcceleration(uint32_t decoder) override {
        return IsSupported(decoder) ? SetMetric(METRIC_DECODER, decoder) : E_INVALIDARG;
    }
    HRESULT GetSupportedHardwareDecoders(uint32_t* decoders) override {
        if (!decoders) return E_POINTER;
        *decoders = 0;
        for (const HardwareDecoder& d : m_decoders) *decoders |= d.kind;
        return S_OK;
    }
    HRESULT GetSupportedHardwareDecoders(uint32_t capacity, uint32_t* decoders, uint32_t* count) override {
        if (!decoders || !count) return E_POINTER;
        *count = static_cast<uint32_t>(m_decoders.size());
        if (*count > capacity) return MEDIA_E_NO_ROOM;
        for (size_t i = 0; i < m_decoders.size(); i++) decoders[i] = m_decoders[i].kind;
        return S_OK;
    }

    HRESULT FindNextReaderClassByExt(const char16_t* extension, uint32_t* position, GUID* id) override {
        return FindNextByExt(PluginRole::Reader, extension, position, id);
    }
    HRESULT FindNextRenderClassByExt(const char16_t* extension, uint32_t* position, GUID* id) override {
        return FindNextByExt(PluginRole::Renderer, extension, position, id);
    }
    HRESULT OpenReader(const char16_t* path, IQmReadFile** out) override {
        GUID reader{};
        return OpenReaderEx(path, &reader, out);
    }
    HRESULT OpenReaderEx(const char16_t* path, GUID* reader, IQmReadFile** out) override {
        if (!path || !reader || !out) return E_POINTER;
        *out = nullptr;
        return Guarded([&] {
            FileIdentity found;
            const HRESULT hr = *reader == GUID{} ? m_identifier.Identify(path, LastUsedReader(), &found)
                                                 : m_identifier.OpenWith(path, *reader, &found);
            *reader = found.reader;
            if (Succeeded(hr)) *out = OpenFiles::Track(m_open, std::move(found.file), found.reader, path);
            return hr;
        });
    }
    HRESULT EditTemplate(const GUID& renderer, tagQMTEMPLATExV2** settings) override {
        if (!settings) return E_POINTER;
        TemplateEditor editor;
        {
            const CriticalSectionLock lock(m_logLock);
            editor = m_editor;
        }
        if (!editor.proc) return E_NOTIMPL;
        ComPtr<IQmRenderFileClass> code;
        if (const HRESULT hr = GetRendererClass(renderer, code.Out()); Failed(hr)) return hr;
        tagQMTEMPLATExV2* block = nullptr;
        HRESULT hr = *settings ? QmFio_CopyTemplate(&block, *settings)
                               : QmFio_MakeProjectDefaultTemplate(this, &renderer, &block);
        if (Succeeded(hr) && block->renderer != renderer) hr = MEDIA_E_BAD_TEMPLATE;
        if (Succeeded(hr)) hr = editor.proc(editor.context, code.Get(), &block);
        OwnedTemplate edited(block);
        if (hr != S_OK) return hr;
        if (!IsSoundTemplate(block) || block->renderer != renderer || code->CheckTemplate(block) != S_OK)
            return MEDIA_E_BAD_TEMPLATE;
        hr = QmFio_InitGUIDFromTemplateMD5DataHash(&block->id, block, 1);
        if (Failed(hr)) return hr;
        CoTaskMemFree(std::exchange(*settings, edited.release()));
        return S_OK;
    }
    HRESULT SetTemplateEditor(FIOEDITTEMPLATEPROC proc, uintptr_t context) override {
        const CriticalSectionLock lock(m_logLock);
        m_editor = {proc, context};
        return S_OK;
    }

    HRESULT Init(uint32_t flags) override {
        return Guarded([&] { return Start(flags, UsualFolders()); });
    }
    HRESULT Init(uint32_t flags, const char16_t* folders) override {
        if (!folders) return E_POINTER;
        return Guarded([&] {
            std::vector<fs::path> paths;
            for (const std::string& folder : SplitList(PathFromWide(folders).native()))
                if (!folder.empty()) paths.emplace_back(folder);
            return Start(flags, std::move(paths));
        });
    }
    HRESULT CleanUp() override {
        const NamedLock scan(SCAN_LOCK);
        const CriticalSectionLock lock(m_lock);
        m_described.Reset();
        m_plugins.Clear();
        m_surrogates.reset();
        m_folders.clear();
        m_cache.reset();
        return S_OK;
    }

    HRESULT GetReaderEnum(IQmFileIOTypeEnum** out) override {
        return Give(out, [&] { return MakeTypeEnum(this, m_plugins, PluginRole::Reader); });
    }
    HRESULT GetRendererEnum(IQmFileIOTypeEnum** out) override {
        return Give(out, [&] { return MakeTypeEnum(this, m_plugins, PluginRole::Renderer); });
    }
    HRESULT IdentifyFileType(const char16_t* path, GUID* reader, HRESULT* status) override {
        return Identify(&FileIdentifier::Identify, path, reader, status);
    }
    HRESULT IdentifyFileTypeSlow(const char16_t* path, GUID* reader, HRESULT* status) override {
        return Identify(&FileIdentifier::IdentifySlow, path, reader, status);
    }
    HRESULT IdentifyFileTypeFromId(const char16_t* path, const GUID& reader, HRESULT* status) override {
        if (!path || !status) return E_POINTER;
        FileIdentity found;
        return *status = Guarded([&] { return m_identifier.OpenWith(path, reader, &found); });
    }
    HRESULT GetReaderClass(const GUID& id, IQmReadFileClass** out) override {
        if (!out) return E_POINTER;
        ComPtr<IQmReadFileClass> made;
        const HRESULT hr = Guarded([&] {
            const int32_t index = m_plugins.Find(PluginRole::Reader, id);
            return index < 0 ? MEDIA_E_UNSUPPORTED_FORMAT
                             : m_plugins.GetReader(static_cast<size_t>(index), &made);
        });
        *out = made.Detach();
        return hr;
    }
    HRESULT GetRendererClass(const GUID& id, IQmRenderFileClass** out) override {
        if (!out) return E_POINTER;
        ComPtr<IQmRenderFileClass> made;
        const HRESULT hr = Guarded([&] {
            const int32_t index = m_plugins.Find(PluginRole::Renderer, id);
            return index < 0 ? MEDIA_E_UNSUPPORTED_FORMAT
                             : m_plugins.GetRenderer(static_cast<size_t>(index), &made);
        });
        *out = made.Detach();
        return hr;
    }
    HRESULT FindRenderClassByName(const char16_t* name, IQmRenderFileClass** out) override {
        if (!name || !out) return E_POINTER;
        *out = nullptr;
        return Guarded([&] {
            for (const PluginSummary& s : m_plugins.All())
                if (s.Has(PluginRole::Renderer) && std::u16string_view(s.info.name) == name)
                    return GetRendererClass(s.info.renderer, out);
            return MEDIA_E_UNSUPPORTED_FORMAT;
        });
    }
    HRESULT FindLockedReader(const char16_t* path, GUID* reader) override {
        if (!path || !reader) return E_POINTER;
        *reader = {};
        return Guarded([&] {
            const std::optional<GUID> held = m_open->ReaderOf(path);
            if (held) *reader = *held;
            return held ? S_OK : MEDIA_E_UNSUPPORTED_FORMAT;
        });
    }
    HRESULT IsOpenProgressNeeded(const char16_t* path) override {
        if (!path) return E_POINTER;
        return Guarded([&]() -> HRESULT {
            const auto stamp = StampOf(PathFromWide(path));
            if (!stamp) return MEDIA_E_OPEN;
            const std::string extension = ExtensionOf(path);
            for (const PluginSummary& s : m_plugins.All()) {
                if (!s.Has(PluginRole::Reader) || !HasExtension(s.readExtensions, extension)) continue;
                // Another process may have to be started for it.
                return s.group >= 0 || stamp->bytes > LONG_FILE ? S_OK : S_FALSE;
            }
            return S_OK;  // all readers are asked
        });
    }
    HRESULT GetPluginCount(uint32_t* count) override {
        if (!count) return E_POINTER;
        *count = static_cast<uint32_t>(m_plugins.Count());
        return S_OK;
    }
    HRESULT IsPluginLoaded(uint32_t index) override {
        if (index >= m_plugins.Count()) return MEDIA_E_UNSUPPORTED_FORMAT;
        return Guarded([&] { return m_plugins.At(index).isLoaded ? S_OK : S_FALSE; });
    }
    HRESULT GetPluginEnum(IQmFIOPluginEnum** out) override {
        return Give(out, [&] { return MakePluginEnum(this, m_plugins); });
    }
    HRESULT GetPluginInfo(uint32_t index, FIOPLUGINSTATE* state) override {
        if (!state) return E_POINTER;
        if (index >= m_plugins.Count()) return MEDIA_E_UNSUPPORTED_FORMAT;
        return Guarded([&] { return *state = StateOf(m_plugins.At(index)), S_OK; });
    }
    HRESULT GetFilterBuilder(IQmFioFilterBuilder** out) override {
        return Give(out, [&]() -> IQmFioFilterBuilder* { return MakeFilterBuilder(this, m_plugins); });
    }
    HRESULT GetFilterBuilder2(IQmFioFilterBuilder2** out) override {
        return Give(out, [&] { return MakeFilterBuilder(this, m_plugins); });
    }
    HRESULT IsRendererActive(const GUID& id) override {
        ComPtr<IQmRenderFileClass> renderer;
        return Succeeded(GetRendererClass(id, renderer.Out())) ? S_OK : S_FALSE;
    }

    HRESULT GrovelSpecifiedPlugins(HQMLIST paths) override {
        return Guarded([&] {
            return Pass([&] {
                for (const fs::path& path : PathsOf(paths)) m_plugins.Add({path, -1, {}, {}}, *m_cache);
            });
        });
    }
    HRESULT GrovelPlugins1() override {
        return Guarded([&] { return Pass([&] { m_plugins.AddConfigured(m_folders, *m_cache); }); });
    }
    HRESULT GrovelPlugins2() override {
        return Guarded([&] { return Pass([&] { m_plugins.AddFound(m_folders, *m_cache); }); });
    }
    HRESULT SetMetrics(const char16_t* application, uint32_t version) override {
        if (!application) return E_POINTER;
        const CriticalSectionLock lock(m_lock);
        HQMMETRIC metrics = nullptr;
        const HRESULT hr = QmMetric_Open(&metrics, application, version, u"main");
        if (!metrics) return hr;
        QmMetric_Close(m_metrics);
        m_metrics = metrics;
        return S_OK;
    }
    HRESULT SetPluginList(HQMLIST paths) override {
        return Guarded([&] {
            const CriticalSectionLock lock(m_lock);
            m_specified.reset();
            if (paths) m_specified = PathsOf(paths);
            return S_OK;
        });
    }
    HRESULT UpdatePluginCache() override {
        return Guarded([&] { return Pass([] {}); });
    }

    HRESULT GetLastUsedReader(GUID* id) override { return GetLastUsed(METRIC_READER, id); }
    HRESULT SetLastUsedReader(const GUID& id) override {
        return SetMetricBinary(METRIC_READER, &id, sizeof id);
    }
    HRESULT GetLastUsedRenderer(GUID* id) override { return GetLastUsed(METRIC_RENDERER, id); }
    HRESULT SetLastUsedRenderer(const GUID& id) override {
        return SetMetricBinary(METRIC_RENDERER, &id, sizeof id);
    }

    HRESULT Reserved1() override { return E_NOTIMPL; }
    HRESULT Reserved2() override { return E_NOTIMPL; }
    HRESULT Reserved3() override { return E_NOTIMPL; }
    HRESULT Reserved4() override { return E_NOTIMPL; }
    HRESULT Reserved5() override { return E_NOTIMPL; }
    HRESULT Reserved6() override { return E_NOTIMPL; }
    HRESULT Reserved7() override { return E_NOTIMPL; }
    HRESULT Reserved9() override { return E_NOTIMPL; }

private:
    void Log(const std::string& line) {
        ComPtr<IQmFioLogger> logger;
        {
            const CriticalSectionLock lock(m_logLock);
            logger = m_logger;
        }
        if (logger) logger->Log(Utf16FromUtf8(line).c_str());
    }

    void DetectDecoders() {
        Log("== Start Hardware Decoders Auto-detection ==");
        m_decoders = DetectHardwareDecoders();
        Log(" Total Hardware Decoders detected = " + std::to_string(m_decoders.size()));
        Log(" Hardware Decoders detected (in order of preference):");
        for (size_t i = 0; i < m_decoders.size(); i++) {
            const std::string maker = m_decoders[i].maker;
            Log(" " + std::to_string(i + 1) + ". " + m_decoders[i].name +
                (maker.empty() ? "" : " on " + maker));
        }
    }
    bool IsSupported(uint32_t decoder) const {
        return std::ranges::any_of(m_decoders, [&](const HardwareDecoder& d) { return d.kind == decoder; });
    }

    HRESULT Start(uint32_t flags, std::vector<fs::path> folders) {
        const NamedLock scan(SCAN_LOCK);
        const CriticalSectionLock lock(m_lock);
        if (m_cache) return QM_E_ALREADY;
        m_cache.emplace(flags & FIO_INIT_NO_CACHE ? fs::path() : CacheFile());
        if (!m_specified) m_folders = std::move(folders);
        const bool hasSurrogates = !(flags & FIO_INIT_NO_SURROGATES) && !Surrogates::Program().empty();
        if (hasSurrogates)
            m_surrogates.emplace(
                m_langId, std::chrono::milliseconds(QmGetMetricEx(
                              m_metrics, METRIC_CALL_LIMIT, LEAST_CALL_LIMIT, MOST_CALL_LIMIT, CALL_LIMIT)));
        m_plugins.SetSurrogates(hasSurrogates ? &*m_surrogates : nullptr);
        m_plugins.AddConfigured(m_folders, *m_cache);
        m_plugins.AddFound(m_folders, *m_cache);
        if (m_specified)
            for (const fs::path& path : *m_specified) m_plugins.Add({path, -1, {}, {}}, *m_cache);
        m_plugins.LoadOnInit();
        return SaveCache();
    }
    /// Over plug-ins, with the cache written behind it. E_UNEXPECTED before Init.
    template <class Work>
    HRESULT Pass(Work work) {
        const NamedLock scan(SCAN_LOCK);
        const CriticalSectionLock lock(m_lock);
        if (!m_cache) return E_UNEXPECTED;
        work();
        return SaveCache();
    }
    HRESULT SaveCache() {
        // It is a matter of speed, and no plug-in is the worse for it.
        if (!m_cache->Save()) Log("The cache of plug-ins cannot be written");
        return S_OK;
    }

    GUID LastUsedReader() {
        GUID id{};
        GetLastUsedReader(&id);
        return id;
    }
    HRESULT GetLastUsed(OwnMetric metric, GUID* id) {
        if (!id) return E_POINTER;
        uint32_t size = 0;
        const HRESULT hr = GetMetricBinary(metric, id, sizeof *id, &size);
        if (hr == S_OK && size == sizeof *id && *id != GUID{}) return S_OK;
        *id = {};
        return S_FALSE;
    }

    HRESULT FindNextByExt(PluginRole role, const char16_t* extension, uint32_t* position, GUID* id) {
        if (!extension || !position || !id) return E_POINTER;
        return Guarded([&]() -> HRESULT {
            const std::string wanted = ExtensionOf(extension, true);
            for (; *position < m_plugins.Count(); ++*position) {
                const PluginSummary s = m_plugins.At(*position);
                if (!s.failure.empty() || !s.Has(role) || !HasExtension(s.Extensions(role), wanted)) continue;
                *id = s.Id(role);
                ++*position;
                return S_OK;
            }
            return MEDIA_E_UNSUPPORTED_FORMAT;
        });
    }

    HRESULT Identify(HRESULT (FileIdentifier::*way)(std::u16string_view, const GUID&, FileIdentity*) const,
                     const char16_t* path, GUID* reader, HRESULT* status) {
        if (!path || !reader || !status) return E_POINTER;
        FileIdentity found;
        *status = Guarded([&] { return (m_identifier.*way)(path, LastUsedReader(), &found); });
        *reader = found.reader;
        return *status;
    }

    using PropertyOf = std::optional<std::string>(IQmReadFile&, uint32_t, std::string_view);
    HRESULT Property(PropertyOf* of, uint32_t stream, const char16_t* name, char16_t* text,
                     uint32_t capacity) {
        if (!name || !text) return E_POINTER;
        return Guarded([&]() -> HRESULT {
            const CriticalSectionLock lock(m_lock);
            if (!m_described) return E_UNEXPECTED;
            const std::optional<std::string> value = of(*m_described, stream, Utf8FromUtf16(name));
            if (!value) return MEDIA_E_NOT_FOUND;
            const std::u16string wide = Utf16FromUtf8(*value);
            if (wide.size() >= capacity) return MEDIA_E_NO_ROOM;
            CopyText(text, capacity, wide.c_str());
            return S_OK;
        });
    }

    template <class Interface, class Make>
    HRESULT Give(Interface** out, Make make) {
        if (!out) return E_POINTER;
        *out = nullptr;
        return Guarded([&] { return GiveOut(make(), out); });
    }

    const uint32_t m_langId;
    CriticalSection m_lock, m_logLock;
    ComPtr<IQmFioLogger> m_logger;
    struct TemplateEditor {
        FIOEDITTEMPLATEPROC proc = nullptr;
        uintptr_t context = 0;
    } m_editor;
    HQMMETRIC m_metrics = nullptr;
    std::vector<HardwareDecoder> m_decoders;
    std::vector<fs::path> m_folders;
    std::optional<std::vector<fs::path>> m_specified;
    std::optional<PluginCache> m_cache;
    std::optional<Surrogates> m_surrogates;
    PluginList m_plugins;
    FileIdentifier m_identifier;
    const std::shared_ptr<OpenFiles> m_open = std::make_shared<OpenFiles>();
    ComPtr<IQmReadFile> m_described;
};

}  // namespace

extern "C" {

HRESULT QMFileIO_CreateInstance(const char16_t* application, uint32_t version, IQmFioLogger* logger,
                                IQmFileIOMgrForApp** out) {
    if (!application || !out) return E_POINTER;
    *out = nullptr;
    return Guarded(
        [&]() -> HRESULT { return GiveOut(new CQmFileIOManager(application, version, logger), out); });
}

HRESULT QmFio_LoadPluginAndGetInterface(IQmFileIOMgrForApp* manager, const GUID* classId, const GUID* iid,
                                        void** out) {
    if (!manager || !classId || !iid || !out) return E_POINTER;
    *out = nullptr;
    ComPtr<IQmReadFileClass> reader;
    ComPtr<IQmRenderFileClass> renderer;
    if (const HRESULT hr = manager->GetReaderClass(*classId, reader.Out()); hr != MEDIA_E_UNSUPPORTED_FORMAT)
        return Failed(hr) ? hr : reader->QueryInterface(*iid, out);
    const HRESULT hr = manager->GetRendererClass(*classId, renderer.Out());
    return Failed(hr) ? hr : renderer->QueryInterface(*iid, out);
}

HRESULT QmFio_ProcessPluginList(IQmFileIOMgrForApp* manager, HQMLIST paths, FIOPLUGINPROC proc,
                                uintptr_t context) {
    if (!manager || !paths || !proc) return E_POINTER;
    return Guarded([&]() -> HRESULT {
        HRESULT result = S_OK;
        for (const fs::path& path : PathsOf(paths)) {
            std::error_code unknown;
            const std::u16string wanted = WideFromPath(fs::weakly_canonical(path, unknown));
            FIOPLUGINSTATE state{};
            uint32_t i = 0;
            while (Succeeded(manager->GetPluginInfo(i, &state)) && state.library != wanted) i++;
            if (state.library != wanted) {
                result = S_FALSE;
                continue;
            }
            if (const HRESULT hr = proc(context, &state); Failed(hr)) return hr;
        }
        return result;
    });
}

}  // extern "C"
