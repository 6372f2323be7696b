// CSurfacePage: the surface's property page. Ports and map are picked here, the last event is seen with what
// it did, and controls are learnt: pick a cell, move the control, its rows are written.
#pragma once

#include "plugin/base_list_page.h"

class CSurfacePage final : public CBaseListPage {
public:
    explicit CSurfacePage(IUnknown* owner) : CBaseListPage(owner) {}
    ~CSurfacePage() override;

    HRESULT Activate(HWND parent, const RECT* rect, BOOL modal) override;
    HRESULT GetPageInfo(PROPPAGEINFO* info) override;
    HRESULT SetObjects(uint32_t count, IUnknown** objects) override;

protected:
    bool Takes(COPTPlugin& plugin) const override;

private:
    class PageWindow;
};
