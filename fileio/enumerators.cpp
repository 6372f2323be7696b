#include "fileio/enumerators.h"

#include "platform/counted.h"
#include "platform/file.h"
#include "platform/text.h"

#include <algorithm>

namespace tarn {

namespace {

template <class Interface, const GUID& Id, class Item>
class Enumerator final : public Counted<Interface, Id> {
public:
    Enumerator(IUnknown* manager, std::vector<Item> items) : m_manager(manager), m_items(std::move(items)) {}

    HRESULT Next(uint32_t count, Item* items, uint32_t* got) override {
        if (!items && count) return E_POINTER;
        const auto part = static_cast<uint32_t>(std::min<size_t>(count, m_items.size() - m_at));
        std::copy_n(m_items.begin() + static_cast<ptrdiff_t>(m_at), part, items);
        m_at += part;
        if (got) *got = part;
        return part == count ? S_OK : S_FALSE;
    }
    HRESULT Skip(uint32_t count) override {
        const size_t part = std::min<size_t>(count, m_items.size() - m_at);
        m_at += part;
        return part == count ? S_OK : S_FALSE;
    }
    HRESULT Reset() override {
        m_at = 0;
        return S_OK;
    }

private:
    const ComPtr<IUnknown> m_manager;
    const std::vector<Item> m_items;
    size_t m_at = 0;
};

using CQmFileIOTypeEnum = Enumerator<IQmFileIOTypeEnum, IID_IQmFileIOTypeEnum, FIOTYPEINFO>;
using CQmFIOPluginEnum = Enumerator<IQmFIOPluginEnum, IID_IQmFIOPluginEnum, FIOPLUGINSTATE>;

template <size_t N>
void FillText(char16_t (&to)[N], const std::string& from) {
    CopyText(to, N, Utf16FromUtf8(from).c_str());
}

}  // namespace

FIOPLUGINSTATE StateOf(const PluginSummary& s) {
    FIOPLUGINSTATE state{};
    state.info = s.info;
    FillText(state.info.readExtensions, s.readExtensions);
    if (s.group >= 0) state.info.flags |= FIO_PLUGIN_OUT_OF_PROCESS;
    CopyText(state.library, std::size(state.library), WideFromPath(s.library).c_str());
    FillText(state.failure, s.failure);
    state.group = s.group;
    state.isFromCache = s.isFromCache;
    state.isLoaded = s.isLoaded;
    return state;
}

IQmFileIOTypeEnum* MakeTypeEnum(IUnknown* manager, const PluginList& plugins, PluginRole role) {
    std::vector<FIOTYPEINFO> items;
    for (const PluginSummary& s : plugins.All()) {
        if (!s.failure.empty() || !s.Has(role)) continue;
        FIOTYPEINFO& item = items.emplace_back();
        item.id = s.Id(role);
        CopyText(item.name, std::size(item.name), s.info.name);
        FillText(item.extensions, s.Extensions(role));
    }
    return new CQmFileIOTypeEnum(manager, std::move(items));
}

IQmFIOPluginEnum* MakePluginEnum(IUnknown* manager, const PluginList& plugins) {
    std::vector<FIOPLUGINSTATE> items;
    for (const PluginSummary& s : plugins.All()) items.push_back(StateOf(s));
    return new CQmFIOPluginEnum(manager, std::move(items));
}

}  // namespace tarn
