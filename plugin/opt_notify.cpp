// Notifications of the host: dispatch, the deferred queue and its replay.
#include "plugin/list_page.h"
#include "plugin/opt_plugin.h"

using namespace tarn;

namespace {

using NotifyHandler = HRESULT (COPTPlugin::*)(const MPNOTIFYREC*, uint32_t);

struct NotifyRow {
    GUID id;
    NotifyHandler handler;
};

constexpr NotifyRow NOTIFICATIONS[] = {
    {MPNOTIFY_OBJECT, &COPTPlugin::OnObjectChange},
    {MPNOTIFY_E4, &COPTPlugin::OnNotifyE4},
    {MPNOTIFY_E5, &COPTPlugin::OnNotifyE5},
    {MPNOTIFY_E3, &COPTPlugin::OnNotifyE3},
    {MPNOTIFY_PORTS, &COPTPlugin::OnPortsChange},
    {MPNOTIFY_E7, &COPTPlugin::OnNotifyE7},
    {MPNOTIFY_EE, &COPTPlugin::OnNotifyEE},
    {MPNOTIFY_E8, &COPTPlugin::OnNotifyE8},
    {MPNOTIFY_DISPLAY, &COPTPlugin::OnDisplayChange},
    {MPNOTIFY_EA, &COPTPlugin::OnNotifyEA},
    {MPNOTIFY_EB, &COPTPlugin::OnNotifyEB},
    {MPNOTIFY_EC, &COPTPlugin::OnNotifyEC},
    {MPNOTIFY_PROJECT_RELOAD, &COPTPlugin::OnProjectReload},
};

NotifyHandler HandlerFor(const GUID& id) {
    for (const NotifyRow& row : NOTIFICATIONS)
        if (row.id == id) return row.handler;
    return &COPTPlugin::OnNotifyOther;
}

}  // namespace

HRESULT COPTPlugin::OnNotify(const MPNOTIFYREC* rec, uint32_t post) {
    const uint32_t flags = rec->flags;
    const HRESULT hr = (this->*HandlerFor(rec->id))(rec, post);
    if (hr == S_OK && post && ((State() & OPTSTATE_REFRESH_DUE) || (flags & NOTIFY_URGENT)))
        if (ComPtr<CListPage> page = Page()) page->RequestRefresh(rec);
    return hr;
}

HRESULT COPTPlugin::OnNotifyE4(const MPNOTIFYREC* rec, uint32_t post) {
    return post ? QueueNotification(rec) : S_FALSE;
}
HRESULT COPTPlugin::OnNotifyEE(const MPNOTIFYREC* rec, uint32_t post) {
    return post ? QueueNotification(rec) : S_FALSE;
}
HRESULT COPTPlugin::OnDisplayChange(const MPNOTIFYREC* rec, uint32_t post) {
    return post ? QueueNotification(rec) : S_OK;
}
HRESULT COPTPlugin::OnNotifyEA(const MPNOTIFYREC* rec, uint32_t post) {
    return post ? QueueNotification(rec) : S_OK;
}
HRESULT COPTPlugin::OnProjectReload(const MPNOTIFYREC* rec, uint32_t post) {
    if (post) QueueNotification(rec);
    return S_OK;
}
HRESULT COPTPlugin::OnNotifyE5(const MPNOTIFYREC*, uint32_t) { return S_FALSE; }
HRESULT COPTPlugin::OnNotifyE3(const MPNOTIFYREC*, uint32_t) { return S_FALSE; }
HRESULT COPTPlugin::OnNotifyE7(const MPNOTIFYREC*, uint32_t) { return S_FALSE; }
HRESULT COPTPlugin::OnNotifyE8(const MPNOTIFYREC*, uint32_t) { return S_FALSE; }
HRESULT COPTPlugin::OnNotifyEB(const MPNOTIFYREC*, uint32_t) { return S_FALSE; }
HRESULT COPTPlugin::OnNotifyOther(const MPNOTIFYREC*, uint32_t) { return S_FALSE; }
HRESULT COPTPlugin::OnNotifyEC(const MPNOTIFYREC*, uint32_t) {
    SetStateBits(OPTSTATE_REFRESH_DUE);
    return S_OK;
}

HRESULT COPTPlugin::OnPortsChange(const MPNOTIFYREC*, uint32_t) {
    LoadPorts(PORTS_OUTPUT);
    LoadPorts(PORTS_INPUT);
    SetStateBits(OPTSTATE_REFRESH_DUE);
    return S_OK;
}

HRESULT COPTPlugin::QueueNotification(const MPNOTIFYREC* rec) {
    const HRESULT hr = m_notifications.Push(*rec);
    if (Succeeded(hr)) SetStateBits(OPTSTATE_REFRESH_DUE);
    return hr;
}

HRESULT COPTPlugin::DrainNotifications(uint32_t discard) {
    const std::vector<MPNOTIFYREC> rows = m_notifications.Take();
    if (!discard)
        for (const MPNOTIFYREC& row : rows) OnNotify(&row, 0);
    ClearStateBits(OPTSTATE_REFRESH_POSTED);
    return rows.empty() ? S_FALSE : S_OK;
}

HRESULT COPTPlugin::OnTimeTick(uint64_t, uint64_t, uint64_t) {
    if (ComPtr<CListPage> page = Page()) page->RequestUpdate();
    return S_OK;
}
