// The names of functions for map files: those of the name table, and the host's own from its catalog.
#pragma once

#include "controlmap/name_table.h"
#include "plugin/catalog.h"

class CatalogNames final : public NameTable {
public:
    explicit CatalogNames(const EffectCatalog& catalog) : m_catalog(catalog) {}

    std::string HostFamilyName(uint32_t family) const override;
    uint32_t HostFamilyNumber(std::string_view name) const override;
    std::string HostFunctionName(uint32_t family, uint32_t function) const override;
    uint32_t HostFunctionNumber(uint32_t family, std::string_view name) const override;

private:
    const EffectCatalog& m_catalog;
};
