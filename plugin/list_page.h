// What a plug-in object needs of its attached page.
#pragma once

#include "contract/host_contract.h"

/// Own messages of a page's window.
inline constexpr uint32_t PAGEMSG_REFRESH = 32769;
inline constexpr uint32_t PAGEMSG_UPDATE = 32770;

/// The plug-in's view of CBaseListPage; the page knows the plug-in, not the other way round.
class CListPage : public IPropertyPage {
public:
    /// Posts PAGEMSG_UPDATE unless one is in flight. [any-thread]
    virtual HRESULT RequestUpdate() = 0;
    /// Posts PAGEMSG_REFRESH unless one is in flight. [any-thread]
    virtual HRESULT RequestRefresh(const MPNOTIFYREC* rec) = 0;
    virtual HRESULT OnEvent(const MPEVENTREC* event) = 0;

protected:
    ~CListPage() = default;
};
