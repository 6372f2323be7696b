// The host's catalog of effects: its families and their items, by id.
#include "plugin/control_plugin.h"

namespace {

/// Calls each(id) for the entries of one level of the catalog, below `parent` for items.
template <class F>
HRESULT ForEachCatalogEntry(IMPPlugInCatalog& host, uint32_t parent, uint32_t level, F each) {
    uint32_t id = parent, more = 0;
    MPCATALOGREC rec{};
    HRESULT hr = host.First(&id, level, &rec, &more, 0);
    while (hr == S_OK) {
        CoTaskMemFree(rec.name);
        const HRESULT kept = each(rec.id);
        if (Failed(kept)) return kept;
        if (!more) break;
        rec = {};
        hr = host.Next(&id, level, &rec, &more, 0);
    }
    return Failed(hr) ? hr : S_OK;
}

}  // namespace

HRESULT COPTControlPlugin::LoadCatalog(uint32_t reset) {
    CriticalSectionLock lock(m_mainLock);
    if (reset) FreeCatalog();
    if (m_catalog) return S_OK;
    HRESULT hr = QmList_CreateExZ(&m_catalog, sizeof(CATALOGROW), -1, -1, QMLIST_ARRAY, 0, 0, 0);
    if (Succeeded(hr)) hr = LoadCatalogFamilies();
    for (CATALOGROW& row : QmList_Records<CATALOGROW>(m_catalog))
        if (Succeeded(hr)) hr = LoadCatalogItems(&row);
    return hr;
}

HRESULT COPTControlPlugin::LoadCatalogFamilies() {
    const ComPtr<IMPPlugInCatalog> host = CatalogHost();
    if (!host) return S_FALSE;
    return ForEachCatalogEntry(*host, 0, LEVEL_CHANNEL, [&](uint32_t id) {
        const CATALOGROW row{id, 0, nullptr};
        return QmList_InsertList(m_catalog, -1, &row, 1);
    });
}

HRESULT COPTControlPlugin::LoadCatalogItems(CATALOGROW* family) {
    const ComPtr<IMPPlugInCatalog> host = CatalogHost();
    if (!host) return S_FALSE;
    if (!family->items) {
        const HRESULT hr = QmList_CreateExZ(&family->items, sizeof(uint32_t), -1, -1, QMLIST_ARRAY, 0, 0, 0);
        if (Failed(hr)) return hr;
    }
    return ForEachCatalogEntry(*host, family->family, LEVEL_SUB_OBJECT,
                               [&](uint32_t id) { return QmList_InsertList(family->items, -1, &id, 1); });
}

void COPTControlPlugin::FreeCatalog() {
    CriticalSectionLock lock(m_mainLock);
    for (CATALOGROW& row : QmList_Records<CATALOGROW>(m_catalog)) QmList_Destroy(row.items);
    QmList_Destroy(m_catalog);
    m_catalog = nullptr;
}

ComPtr<IMPPlugInCatalog> COPTControlPlugin::CatalogHost() const {
    std::lock_guard lock(m_ctrlLock);
    return m_catalogHost;
}

std::vector<uint32_t> COPTControlPlugin::CatalogFamilies() const {
    CriticalSectionLock lock(m_mainLock);
    std::vector<uint32_t> families;
    for (const CATALOGROW& row : QmList_Records<CATALOGROW>(m_catalog)) families.push_back(row.family);
    return families;
}

std::vector<uint32_t> COPTControlPlugin::CatalogItems(uint32_t family) const {
    CriticalSectionLock lock(m_mainLock);
    for (const CATALOGROW& row : QmList_Records<CATALOGROW>(m_catalog))
        if (row.family == family) {
            const std::span<uint32_t> items = QmList_Records<uint32_t>(row.items);
            return {items.begin(), items.end()};
        }
    return {};
}
