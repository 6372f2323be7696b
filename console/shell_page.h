// Pages that a host creates to fill a tab of its own: an empty window in the colour of faces.
#pragma once

#include "console/text_ids.h"
#include "plugin/base_list_page.h"

class CConsoleShellPage : public CBaseListPage {
public:
    ~CConsoleShellPage() override;

    HRESULT Activate(HWND parent, const RECT* rect, BOOL modal) override;
    HRESULT GetPageInfo(PROPPAGEINFO* info) override;

protected:
    CConsoleShellPage(IUnknown* owner, ConsoleTextId title) : CBaseListPage(owner), m_title(title) {}
    bool Takes(COPTPlugin& plugin) const override;

private:
    class PageWindow;
    ConsoleTextId m_title;
};

class CConsolePage final : public CConsoleShellPage {
public:
    explicit CConsolePage(IUnknown* owner) : CConsoleShellPage(owner, IDS_CONSOLE) {}
};

class CConsoleCfgPage final : public CConsoleShellPage {
public:
    explicit CConsoleCfgPage(IUnknown* owner) : CConsoleShellPage(owner, IDS_CONSOLE_SETTINGS) {}
};
