#include "plugin/base_list_page.h"

#include <cassert>

using namespace tarn;

HRESULT CBaseListPage::QueryInterface(const GUID& iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid != IID_IUnknown && iid != IID_IPropertyPage) return E_NOINTERFACE;
    *out = static_cast<IPropertyPage*>(this);
    AddRef();
    return S_OK;
}

uint32_t CBaseListPage::AddRef() { return m_refs.Increment(); }

uint32_t CBaseListPage::Release() {
    const uint32_t left = m_refs.Decrement();
    if (left == 0) delete this;
    return left;
}

ComPtr<COPTPlugin> CBaseListPage::ThePlugin() const {
    std::lock_guard lock(m_lock);
    return m_plugin;
}

MessagePoster CBaseListPage::Poster() const {
    std::lock_guard lock(m_lock);
    return m_poster;
}

void CBaseListPage::SetWindow(std::unique_ptr<MessageWindow> window) {
    std::unique_ptr<MessageWindow> old = std::move(m_window);
    m_window = std::move(window);
    std::lock_guard lock(m_lock);
    m_poster = m_window ? m_window->Poster() : MessagePoster();
}

HRESULT CBaseListPage::SetPageSite(IPropertyPageSite* site) {
    assert(m_thread.IsHere());
    m_site = ComPtr<IPropertyPageSite>(site);
    return S_OK;
}

HRESULT CBaseListPage::Activate(HWND, const RECT* rect, BOOL) {
    assert(m_thread.IsHere());
    if (!rect) return E_POINTER;
    const ComPtr<COPTPlugin> plugin = ThePlugin();
    if (!plugin) return E_UNEXPECTED;
    const HRESULT drained = plugin->DrainNotifications(1);
    return plugin->ReloadProjectTree(drained == S_OK ? 1 : 0);
}

HRESULT CBaseListPage::Embed(std::unique_ptr<MessageWindow> window, HWND parent, const RECT* rect) {
    assert(m_thread.IsHere());
    if (!rect) return E_POINTER;
    if (m_window || !ThePlugin()) return E_UNEXPECTED;
    MessageWindow* made = window.get();
    if (!made->EmbedIn(parent)) return E_INVALIDARG;
    made->setGeometry(ToQRect(*rect));
    SetWindow(std::move(window));
    if (made->Create()) return S_OK;
    SetWindow(nullptr);
    return E_OUTOFMEMORY;
}

HRESULT CBaseListPage::TellPage(PROPPAGEINFO* info, const char16_t* title, SIZE size) const {
    if (!info) return E_POINTER;
    info->title = CoTaskMemString(title);
    info->pageSize = size;
    info->docString = info->helpFile = nullptr;
    info->helpContext = 0;
    if (info->size == sizeof(PROPPAGEINFOEX)) {
        auto* extended = reinterpret_cast<PROPPAGEINFOEX*>(info);
        extended->window = m_window ? m_window->Handle() : 0;
        extended->menuName = nullptr;
    }
    return info->title ? S_OK : E_OUTOFMEMORY;
}

HRESULT CBaseListPage::Deactivate() {
    assert(m_thread.IsHere());
    if (!m_window) return E_UNEXPECTED;
    m_window->Destroy();
    SetWindow(nullptr);
    if (const ComPtr<COPTPlugin> plugin = ThePlugin())  // the posts died with the window
        plugin->ClearStateBits(OPTSTATE_REFRESH_POSTED | OPTSTATE_UPDATE_POSTED);
    return S_OK;
}

HRESULT CBaseListPage::SetObjects(uint32_t count, IUnknown** objects) {
    assert(m_thread.IsHere());
    if (count > 1) return E_UNEXPECTED;
    if (count == 1 && (!objects || !objects[0])) return E_POINTER;
    ComPtr<COPTPlugin> plugin;
    if (count == 1) {
        const HRESULT hr = objects[0]->QueryInterface(IID_COPTPlugin, plugin.OutVoid());
        if (Failed(hr)) return hr;
        if (!Takes(*plugin)) return E_NOINTERFACE;
    }
    ComPtr<COPTPlugin> old = plugin;
    {
        std::lock_guard lock(m_lock);
        std::swap(m_plugin, old);
    }
    if (old) old->DetachPage(this);
    return plugin ? plugin->AttachPage(this) : S_OK;
}

HRESULT CBaseListPage::Show(uint32_t cmd) {
    assert(m_thread.IsHere());
    if (!m_window) return E_UNEXPECTED;
    m_window->setVisible(cmd != SW_HIDE);
    return S_OK;
}

HRESULT CBaseListPage::Move(const RECT* rect) {
    assert(m_thread.IsHere());
    if (!rect) return E_POINTER;
    if (!m_window) return E_UNEXPECTED;
    m_window->setGeometry(ToQRect(*rect));
    return S_OK;
}

HRESULT CBaseListPage::RequestUpdate() {
    const ComPtr<COPTPlugin> plugin = ThePlugin();
    if (!plugin || !plugin->ClaimStateBits(OPTSTATE_UPDATE_POSTED)) return S_FALSE;
    if (!Poster().Post(PAGEMSG_UPDATE)) plugin->ClearStateBits(OPTSTATE_UPDATE_POSTED);
    return S_OK;
}

HRESULT CBaseListPage::RequestRefresh(const MPNOTIFYREC* rec) {
    const ComPtr<COPTPlugin> plugin = ThePlugin();
    if (!plugin) return S_FALSE;
    if (plugin->ClaimStateBits(OPTSTATE_REFRESH_POSTED) &&
        !Poster().Post(PAGEMSG_REFRESH, rec->flags >> 31, static_cast<intptr_t>(rec->flags)))
        plugin->ClearStateBits(OPTSTATE_REFRESH_POSTED);
    if (plugin->State() & OPTSTATE_REFRESH_POSTED) plugin->ClearStateBits(OPTSTATE_REFRESH_DUE);
    return S_OK;
}
