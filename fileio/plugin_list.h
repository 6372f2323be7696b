// The plug-ins that are there: found in folders, told by configuration files, remembered by the cache, loaded
// when one of their classes is wanted. [any-thread]
#pragma once

#include "fileio/plugin_cache.h"
#include "fileio/plugin_config.h"
#include "fileio/plugin_library.h"
#include "fileio/surrogates.h"
#include "platform/event.h"
#include "platform/module.h"

#include <functional>

namespace tarn {

enum class PluginRole { Reader, Renderer };

struct PluginSummary {
    std::filesystem::path library;
    FIOPLUGININFO info{};                          ///< names and ids are empty where `failure` is not
    std::string readExtensions, renderExtensions;  ///< with those of the configuration
    int32_t group = -1;                            ///< of the surrogate; -1 in this process
    bool isFromCache = false, isLoaded = false;
    std::string failure;  ///< why it is of no use, or its class does not start

    const GUID& Id(PluginRole role) const { return role == PluginRole::Reader ? info.reader : info.renderer; }
    bool Has(PluginRole role) const { return Id(role) != GUID{}; }
    const std::string& Extensions(PluginRole role) const {
        return role == PluginRole::Reader ? readExtensions : renderExtensions;
    }
};

class PluginList {
public:
    using Log = std::function<void(const std::string& line)>;

    PluginList(uint32_t langId, Log log) : m_langId(langId), m_log(std::move(log)) {}

    /// Before any is added: where plug-ins run that are not to run here. Null, the usual state: all run here.
    void SetSurrogates(Surrogates* surrogates) { m_surrogates = surrogates; }

    /// The plug-ins that configuration files of the folders name.
    void AddConfigured(const std::vector<std::filesystem::path>& folders, PluginCache& cache);
    /// All other libraries of the folders, by name.
    void AddFound(const std::vector<std::filesystem::path>& folders, PluginCache& cache);
    /// A library; one that is there already is not added twice, nor one with a class that another has.
    void Add(const PluginConfig& config, PluginCache& cache);
    /// Loads what plug-ins that run here name as their preload modules.
    void LoadOnInit();
    /// Classes that were given out have to be gone.
    void Clear();

    size_t Count() const;
    /// By its place in the list.
    PluginSummary At(size_t index) const;
    std::vector<PluginSummary> All() const;
    /// -1 when no plug-in has it.
    int32_t Find(PluginRole role, const GUID& classId) const;

    /// The class of a plug-in, which is loaded and started at the first call, and again where its process has
    /// ended. What did not start is not tried again.
    HRESULT GetReader(size_t index, ComPtr<IQmReadFileClass>* out);
    HRESULT GetRenderer(size_t index, ComPtr<IQmRenderFileClass>* out);

private:
    struct Entry {
        PluginSummary summary;
        std::vector<Module> preloaded;
        std::unique_ptr<PluginLibrary> code;
        ComPtr<IUnknown> classes[2];
        HRESULT status[2] = {S_FALSE, S_FALSE};  ///< S_FALSE: not asked for yet
    };

    int32_t GroupOf(const PluginConfig& config, const FIOPLUGININFO& info) const;
    /// MEDIA_E_NOT_STARTED, or why its process cannot be.
    HRESULT Load(Entry& entry, std::string* reason);
    void Ask(Entry& entry, int64_t modTime, PluginCache& cache);
    HRESULT GetClass(size_t index, PluginRole role, ComPtr<IUnknown>* out);

    mutable CriticalSection m_lock;
    const uint32_t m_langId;
    const Log m_log;
    Surrogates* m_surrogates = nullptr;
    std::vector<std::unique_ptr<Entry>> m_entries;
};

}  // namespace tarn
