// The host's catalog of effects: its families and their items, by id. [any-thread]
#pragma once

#include "contract/host_contract.h"

#include <mutex>
#include <string>
#include <vector>

struct CATALOGROW {
    uint32_t family;
    std::vector<uint32_t> items;
};

/// The catalog as a person chooses from it.
struct EffectItem {
    std::u16string name;
    GUID effectClass;
    bool unusable;
};
struct EffectFamily {
    std::u16string name;
    std::vector<EffectItem> items;
};

/// A command that another plug-in has registered.
struct CatalogCommand {
    uint32_t family, item;
    std::u16string name;
};

class EffectCatalog {
public:
    /// Null for a host without one, and at the end.
    void Connect(tarn::ComPtr<IMPPlugInCatalog> host);
    tarn::ComPtr<IMPPlugInCatalog> Host() const;

    /// S_FALSE without a host. What came before a failure stays.
    HRESULT LoadCatalog();
    void FreeCatalog();

    /// As they were loaded.
    std::vector<uint32_t> Families() const;
    std::vector<uint32_t> Items(uint32_t family) const;

    /// The commands of plug-ins that the host lists, as they were loaded; what it has no name for is left
    /// out.
    std::vector<CatalogCommand> Commands() const;
    /// Asked of the host anew; what it has no name for is left out.
    std::vector<EffectFamily> Tree() const;

private:
    mutable std::mutex m_lock;  ///< never held across a call of the host
    tarn::ComPtr<IMPPlugInCatalog> m_host;
    std::vector<CATALOGROW> m_rows;
};
