#include "plugin/catalog_names.h"

#include "platform/text.h"

#include <algorithm>
#include <span>

using namespace tarn;

namespace {
/// Empty where the host has no such entry.
std::string EntryName(const ComPtr<IMPPlugInCatalog>& catalog, uint32_t id, uint32_t level) {
    MPCATALOGREC rec{};
    if (!catalog) return {};
    const bool isThere = catalog->Get(&id, level, &rec, CATALOG_NAMES) == S_OK;
    std::string name = isThere && rec.name ? Utf8FromUtf16(rec.name) : std::string();
    CoTaskMemFree(rec.name);
    return name;
}

/// 0 where none of them has the name.
uint32_t EntryOfName(const ComPtr<IMPPlugInCatalog>& catalog, std::span<const uint32_t> ids, uint32_t level,
                     std::string_view name) {
    const auto at = std::ranges::find_if(
        ids, [&](uint32_t id) { return !name.empty() && EntryName(catalog, id, level) == name; });
    return at == ids.end() ? 0 : *at;
}
}  // namespace

std::string CatalogNames::HostFamilyName(uint32_t family) const {
    return EntryName(m_catalog.Host(), family, LEVEL_CHANNEL);
}

uint32_t CatalogNames::HostFamilyNumber(std::string_view name) const {
    return EntryOfName(m_catalog.Host(), m_catalog.Families(), LEVEL_CHANNEL, name);
}

std::string CatalogNames::HostFunctionName(uint32_t, uint32_t function) const {
    return EntryName(m_catalog.Host(), function, LEVEL_SUB_OBJECT);
}

uint32_t CatalogNames::HostFunctionNumber(uint32_t family, std::string_view name) const {
    return EntryOfName(m_catalog.Host(), m_catalog.Items(family), LEVEL_SUB_OBJECT, name);
}
