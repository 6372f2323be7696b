#include "fileio/plugin_list.h"

#include "fileio/extensions.h"
#include "mediafile/media_codes.h"
#include "platform/text.h"

#include <algorithm>

namespace tarn {

namespace fs = std::filesystem;

namespace {

constexpr PluginRole ROLES[] = {PluginRole::Reader, PluginRole::Renderer};

std::string RolesText(const PluginSummary& s) {
    if (!s.Has(PluginRole::Reader)) return "renderer";
    return s.Has(PluginRole::Renderer) ? "reader|renderer" : "reader";
}

std::string Configured(const std::string& list, const std::map<std::string, bool>& changes) {
    std::string kept;
    const auto add = [&](const std::string& extension) { kept += (kept.empty() ? "" : ";") + extension; };
    for (const std::string& extension : SplitList(list))
        if (const auto it = changes.find(extension); it == changes.end() || it->second) add(extension);
    for (const auto& [extension, isWanted] : changes)
        if (isWanted && !HasExtension(list, extension)) add(extension);
    return kept;
}

}  // namespace

void PluginList::AddConfigured(const std::vector<fs::path>& folders, PluginCache& cache) {
    for (const fs::path& folder : folders) {
        std::vector<std::string> complaints;
        for (const PluginConfig& config : ReadPluginConfigs(folder, &complaints)) Add(config, cache);
        for (const std::string& complaint : complaints) m_log(complaint);
    }
}

void PluginList::AddFound(const std::vector<fs::path>& folders, PluginCache& cache) {
    for (const fs::path& folder : folders) {
        std::vector<fs::path> libraries;
        std::error_code ignored;
        for (const auto& entry : fs::directory_iterator(folder, ignored))
            if (entry.path().extension() == ".so") libraries.push_back(entry.path());
        std::ranges::sort(libraries);
        for (fs::path& library : libraries) Add({std::move(library), -1, {}, {}}, cache);
    }
}

void PluginList::Add(const PluginConfig& config, PluginCache& cache) {
    std::error_code unknown;
    fs::path library = fs::weakly_canonical(config.library, unknown);
    if (unknown) library = config.library;
    const CriticalSectionLock lock(m_lock);
    if (std::ranges::any_of(m_entries, [&](const auto& e) { return e->summary.library == library; })) return;
    auto entry = std::make_unique<Entry>();
    PluginSummary& s = entry->summary;
    s.library = library;
    const int64_t modTime = ModTimeOf(library);
    if (const std::optional<FIOPLUGININFO> info = cache.Find(library, modTime, m_langId)) {
        s.info = *info;
        s.isFromCache = true;
    } else {
        s.failure = cache.FindFailure(library, modTime);
        if (s.failure.empty()) Ask(*entry, modTime, cache);
    }
    for (const PluginRole role : ROLES)
        if (s.failure.empty() && s.Has(role) && Find(role, s.Id(role)) >= 0)
            s.failure = "has a class that " +
                        At(static_cast<size_t>(Find(role, s.Id(role)))).library.string() + " has, too";
    if (s.failure.empty()) {
        s.group = GroupOf(config, s.info);
        const bool isMeant = config.reader == GUID{} || config.reader == s.info.reader;
        const std::string read = Utf8FromUtf16(s.info.readExtensions);
        s.readExtensions = isMeant ? Configured(read, config.extensions) : read;
        s.renderExtensions = Utf8FromUtf16(s.info.renderExtensions);
        m_log(" Loading " + std::string(s.isFromCache ? "cached " : "") + RolesText(s) + " plugin '" +
              Utf8FromUtf16(s.info.name) + "' from path '" + s.library.string() + "' ");
    } else {
        s.info = {};
        m_log(s.library.string() + ": " + s.failure);
    }
    m_entries.push_back(std::move(entry));
}

int32_t PluginList::GroupOf(const PluginConfig& config, const FIOPLUGININFO& info) const {
    if (!m_surrogates) return -1;
    if (config.group >= 1) return config.group;
    return info.flags & FIO_PLUGIN_IN_PROCESS ? -1 : 0;
}

HRESULT PluginList::Load(Entry& entry, std::string* reason) {
    PluginSummary& s = entry.summary;
    if (entry.code) return S_OK;
    HRESULT status = S_OK;
    entry.code = s.group < 0 ? LoadPluginHere(s.library, reason)
                             : m_surrogates->Open(s.group, s.library, &status, reason);
    s.isLoaded = entry.code != nullptr;
    return entry.code ? S_OK : Failed(status) ? status : MEDIA_E_NOT_STARTED;
}

void PluginList::Ask(Entry& entry, int64_t modTime, PluginCache& cache) {
    PluginSummary& s = entry.summary;
    // What nobody knows yet may do anything, and is asked where that does no harm.
    const std::unique_ptr<PluginLibrary> alone =
        m_surrogates ? m_surrogates->OpenAlone(s.library, &s.failure) : nullptr;
    if (m_surrogates ? !alone : Failed(Load(entry, &s.failure))) return;
    PluginLibrary& library = alone ? *alone : *entry.code;
    const HRESULT hr = library.GetInfo(m_langId, &s.info, &s.failure);
    if (Succeeded(hr)) cache.Set(s.library, modTime, m_langId, s.info);
    if (hr == FIO_E_SURROGATE_GONE) cache.SetFailure(s.library, modTime, s.failure);
}

void PluginList::LoadOnInit() {
    const CriticalSectionLock lock(m_lock);
    for (const auto& entry : m_entries) {
        PluginSummary& s = entry->summary;
        if (s.group >= 0) continue;
        for (const std::string& name : SplitList(Utf8FromUtf16(s.info.preloadModules))) {
            // A name, so that a plug-in has only what was installed with it.
            Module module = Module::Load(s.library.parent_path() / fs::path(name).filename(), s.failure);
            if (!module) {
                m_log(s.library.string() + ": " + s.failure);
                break;
            }
            entry->preloaded.push_back(std::move(module));
        }
    }
}

void PluginList::Clear() {
    const CriticalSectionLock lock(m_lock);
    m_entries.clear();
}

size_t PluginList::Count() const {
    const CriticalSectionLock lock(m_lock);
    return m_entries.size();
}

PluginSummary PluginList::At(size_t index) const {
    const CriticalSectionLock lock(m_lock);
    return index < m_entries.size() ? m_entries[index]->summary : PluginSummary{};
}

std::vector<PluginSummary> PluginList::All() const {
    const CriticalSectionLock lock(m_lock);
    std::vector<PluginSummary> all;
    for (const auto& entry : m_entries) all.push_back(entry->summary);
    return all;
}

int32_t PluginList::Find(PluginRole role, const GUID& classId) const {
    const CriticalSectionLock lock(m_lock);
    if (classId == GUID{}) return -1;
    const auto it =
        std::ranges::find_if(m_entries, [&](const auto& e) { return e->summary.Id(role) == classId; });
    return it == m_entries.end() ? -1 : static_cast<int32_t>(it - m_entries.begin());
}

HRESULT PluginList::GetClass(size_t index, PluginRole role, ComPtr<IUnknown>* out) {
    const CriticalSectionLock lock(m_lock);
    if (index >= m_entries.size()) return MEDIA_E_UNSUPPORTED_FORMAT;
    Entry& entry = *m_entries[index];
    PluginSummary& s = entry.summary;
    if (!s.Has(role)) return MEDIA_E_UNSUPPORTED_FORMAT;
    const auto which = static_cast<size_t>(role);
    if (entry.code && !entry.code->IsAlive()) {
        m_log(s.library.string() + ": its process has ended");
        for (ComPtr<IUnknown>& made : entry.classes) made.Reset();
        std::ranges::replace(entry.status, S_OK, S_FALSE);
        entry.code.reset();
    }
    if (entry.status[which] == S_FALSE) {
        const GUID& iid = role == PluginRole::Reader ? IID_IQmReadFileClass : IID_IQmRenderFileClass;
        std::string reason;
        HRESULT hr = Load(entry, &reason);
        if (Succeeded(hr)) {
            hr = entry.code->CreateClass(s.Id(role), iid, m_langId, entry.classes[which].OutVoid());
            if (Failed(hr)) reason = "does not start";
            if (Failed(hr)) hr = MEDIA_E_NOT_STARTED;
        }
        entry.status[which] = hr;
        s.failure = reason;
        if (Failed(hr)) m_log(s.library.string() + ": " + reason);
    }
    *out = entry.classes[which];
    return entry.status[which];
}

HRESULT PluginList::GetReader(size_t index, ComPtr<IQmReadFileClass>* out) {
    ComPtr<IUnknown> any;
    const HRESULT hr = GetClass(index, PluginRole::Reader, &any);
    *out = ComPtr(static_cast<IQmReadFileClass*>(any.Get()));
    return hr;
}

HRESULT PluginList::GetRenderer(size_t index, ComPtr<IQmRenderFileClass>* out) {
    ComPtr<IUnknown> any;
    const HRESULT hr = GetClass(index, PluginRole::Renderer, &any);
    *out = ComPtr(static_cast<IQmRenderFileClass*>(any.Get()));
    return hr;
}

}  // namespace tarn
