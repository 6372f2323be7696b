// CBaseListPage: the base of the console's pages. It holds the site, the plug-in and the window, and posts
// the two messages by which other threads ask the page to look again.
#pragma once

#include "platform/thread_check.h"
#include "platform/ui/window.h"
#include "plugin/list_page.h"
#include "plugin/opt_plugin.h"

#include <memory>

class CBaseListPage : public CListPage {
public:
    explicit CBaseListPage(IUnknown* owner) : m_owner(owner) {}
    CBaseListPage(const CBaseListPage&) = delete;
    CBaseListPage& operator=(const CBaseListPage&) = delete;

    HRESULT QueryInterface(const GUID& iid, void** out) override;
    uint32_t AddRef() override;
    uint32_t Release() override;

    HRESULT SetPageSite(IPropertyPageSite* site) override;
    HRESULT Activate(HWND parent, const RECT* rect, BOOL modal) override;
    HRESULT Deactivate() override;
    HRESULT GetPageInfo(PROPPAGEINFO* info) override = 0;
    HRESULT SetObjects(uint32_t count, IUnknown** objects) override;
    HRESULT Show(uint32_t cmd) override;
    HRESULT Move(const RECT* rect) override;
    HRESULT IsPageDirty() override { return S_FALSE; }
    HRESULT Apply() override { return S_OK; }
    HRESULT Help(const char16_t*) override { return E_NOTIMPL; }
    HRESULT TranslateAccelerator(MSG*) override { return S_FALSE; }

    virtual ~CBaseListPage() = default;
    /// Second phase of construction.
    virtual HRESULT Init() { return S_OK; }
    HRESULT RequestUpdate() override;
    HRESULT RequestRefresh(const MPNOTIFYREC* rec) override;
    HRESULT OnEvent(const MPEVENTREC*) override { return E_NOTIMPL; }

protected:
    /// Whether the page shows plug-ins of this kind; asked before one is attached.
    virtual bool Takes(COPTPlugin&) const { return true; }
    /// The plug-in that SetObjects found, kept alive by the copy.
    tarn::ComPtr<COPTPlugin> ThePlugin() const;
    /// What Activate does with a new window: it becomes the page's, at its place in the host's. A page that
    /// has one, and one without a plug-in, is E_UNEXPECTED.
    HRESULT Embed(std::unique_ptr<MessageWindow> window, HWND parent, const RECT* rect);
    /// Fills the shorter record, and of the longer one the window.
    HRESULT TellPage(PROPPAGEINFO* info, const char16_t* title, SIZE size) const;
    /// Puts the page's window in place of the old one, or takes it away.
    void SetWindow(std::unique_ptr<MessageWindow> window);
    MessageWindow* Window() const { return m_window.get(); }
    IPropertyPageSite* Site() const { return m_site.Get(); }
    MessagePoster Poster() const;

    tarn::ThreadCheck m_thread;

private:
    tarn::RefCount m_refs;
    tarn::ComPtr<IUnknown> m_owner;
    tarn::ComPtr<IPropertyPageSite> m_site;
    std::unique_ptr<MessageWindow> m_window;

    mutable std::mutex m_lock;  ///< guards what other threads read
    tarn::ComPtr<COPTPlugin> m_plugin;
    MessagePoster m_poster;
};
