#include "plugin/catalog.h"

#include <utility>

using namespace tarn;

namespace {

/// Calls each(id) for the entries of one level of the catalog, below `parent` for items.
template <class F>
HRESULT ForEachCatalogEntry(IMPPlugInCatalog& host, uint32_t parent, uint32_t level, F each) {
    uint32_t id = parent, more = 0;
    MPCATALOGREC rec{};
    HRESULT hr = host.First(&id, level, &rec, &more, 0);
    for (;;) {
        CoTaskMemFree(rec.name);
        if (hr != S_OK) return Failed(hr) ? hr : S_OK;
        each(rec.id);
        if (!more) return S_OK;
        rec = {};
        hr = host.Next(&id, level, &rec, &more, 0);
    }
}

}  // namespace

void EffectCatalog::Connect(ComPtr<IMPPlugInCatalog> host) {
    // What was there is released outside the lock, by the argument's end.
    const std::lock_guard lock(m_lock);
    std::swap(m_host, host);
}

ComPtr<IMPPlugInCatalog> EffectCatalog::Host() const {
    const std::lock_guard lock(m_lock);
    return m_host;
}

HRESULT EffectCatalog::LoadCatalog() {
    const ComPtr<IMPPlugInCatalog> host = Host();
    if (!host) return S_FALSE;
    std::vector<CATALOGROW> rows;
    HRESULT hr = ForEachCatalogEntry(*host, 0, LEVEL_CHANNEL, [&](uint32_t id) { rows.push_back({id, {}}); });
    for (CATALOGROW& row : rows)
        if (Succeeded(hr))
            hr = ForEachCatalogEntry(*host, row.family, LEVEL_SUB_OBJECT,
                                     [&](uint32_t id) { row.items.push_back(id); });
    const std::lock_guard lock(m_lock);
    m_rows = std::move(rows);
    return hr;
}

void EffectCatalog::FreeCatalog() {
    const std::lock_guard lock(m_lock);
    m_rows.clear();
}

std::vector<uint32_t> EffectCatalog::Families() const {
    const std::lock_guard lock(m_lock);
    std::vector<uint32_t> families;
    for (const CATALOGROW& row : m_rows) families.push_back(row.family);
    return families;
}

std::vector<uint32_t> EffectCatalog::Items(uint32_t family) const {
    const std::lock_guard lock(m_lock);
    for (const CATALOGROW& row : m_rows)
        if (row.family == family) return row.items;
    return {};
}

namespace {

std::u16string NameOf(IMPPlugInCatalog& host, uint32_t id, uint32_t level, uint32_t* subKind = nullptr) {
    MPCATALOGREC rec{};
    const HRESULT hr = host.Get(&id, level, &rec, CATALOG_NAMES);
    std::u16string name = hr == S_OK && rec.name ? rec.name : u"";
    if (subKind) *subKind = hr == S_OK ? rec.subKind : 0;
    CoTaskMemFree(rec.name);
    return name;
}

}  // namespace

std::vector<CatalogCommand> EffectCatalog::Commands() const {
    const ComPtr<IMPPlugInCatalog> host = Host();
    std::vector<CatalogCommand> commands;
    if (!host) return commands;
    for (const uint32_t family : Families()) {
        uint32_t subKind = 0;
        NameOf(*host, family, LEVEL_CHANNEL, &subKind);
        if (subKind != CATALOG_COMMAND) continue;
        for (const uint32_t item : Items(family))
            if (std::u16string name = NameOf(*host, item, LEVEL_SUB_OBJECT); !name.empty())
                commands.push_back({family, item, std::move(name)});
    }
    return commands;
}

std::vector<EffectFamily> EffectCatalog::Tree() const {
    const ComPtr<IMPPlugInCatalog> host = Host();
    std::vector<EffectFamily> families;
    if (!host) return families;
    std::vector<uint32_t> ids;
    ForEachCatalogEntry(*host, 0, LEVEL_CHANNEL, [&](uint32_t id) { ids.push_back(id); });
    for (const uint32_t family : ids) {
        EffectFamily row{NameOf(*host, family, LEVEL_CHANNEL), {}};
        std::vector<uint32_t> items;
        ForEachCatalogEntry(*host, family, LEVEL_SUB_OBJECT, [&](uint32_t id) { items.push_back(id); });
        for (uint32_t item : items) {
            std::u16string name = NameOf(*host, item, LEVEL_SUB_OBJECT);
            MPCATALOGITEM data{};
            data.size = sizeof data;
            if (!name.empty() && host->GetItemData(&item, &data) == S_OK)
                row.items.push_back({std::move(name), data.effectClass, data.unusable != 0});
        }
        if (!row.name.empty() && !row.items.empty()) families.push_back(std::move(row));
    }
    return families;
}
