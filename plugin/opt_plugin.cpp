#include "plugin/opt_plugin.h"

#include "platform/clipboard.h"
#include "plugin/list_page.h"
#include "plugin/module_state.h"
#include "plugin/sinks.h"

#include <new>

using namespace tarn;

COPTPlugin::COPTPlugin(IUnknown* owner) : m_owner(owner) {}

COPTPlugin::~COPTPlugin() {
    if (m_notificationSink) m_notificationSink->Orphan();
    if (m_timeSink) m_timeSink->Orphan();
    if (m_pages) m_pages->Orphan();
    if (m_filter) m_filter->Orphan();
    if (m_persist) m_persist->Orphan();
    DestroyTracks();
    QmList_Destroy(m_tracks);
    QmList_Destroy(m_filtered);
}

HRESULT COPTPlugin::FinalConstruct() {
    LoadPreferences();  // no host yet: everything takes its default
    ComPtr<CMPNotificationSink> notificationSink(new (std::nothrow) CMPNotificationSink(this));
    ComPtr<CMPTimeSink> timeSink(new (std::nothrow) CMPTimeSink(this));
    if (!notificationSink || !timeSink) return E_OUTOFMEMORY;
    m_notificationSink = std::move(notificationSink);
    m_timeSink = std::move(timeSink);
    m_pages = ComPtr<CSpecifyPropertyPages>(new (std::nothrow) CSpecifyPropertyPages(this));
    m_clipboardFormat = RegisterClipboardFormat(u"Tarn OPT 1.0");
    return S_OK;
}

HRESULT COPTPlugin::QueryInterface(const GUID& iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid == IID_IUnknown || iid == IID_IMPInitialise)
        *out = static_cast<IMPInitialise*>(this);
    else if (iid == IID_IQmTranslationInfo)
        *out = static_cast<IQmTranslationInfo*>(this);
    else if (iid == IID_COPTPlugin)
        *out = this;
    if (*out) {
        AddRef();
        return S_OK;
    }
    // The delegates pass unknown ids back here, so only their own ids may reach them.
    if (iid == IID_IMPEventFilter && m_filter) return m_filter->QueryInterface(iid, out);
    if ((iid == IID_IPersistStream || iid == IID_IPersist) && m_persist)
        return m_persist->QueryInterface(iid, out);
    return m_pages ? m_pages->QueryInterface(iid, out) : E_NOINTERFACE;
}

uint32_t COPTPlugin::AddRef() { return m_refs.Increment(); }

uint32_t COPTPlugin::Release() {
    const uint32_t left = m_refs.Decrement();
    if (left > 0) return left;
    // A host that forgets Terminate must leave neither a thread nor a connection behind. What the work's end
    // takes of references and gives back is counted from 1, so that it does not come here again.
    m_refs.Increment();
    Terminate();
    delete this;
    return 0;
}

HRESULT COPTPlugin::Initialise(IUnknown* host, IUnknown* hostSite, uint32_t, uint32_t,
                               uint32_t* capabilities) {
    if (!host || !capabilities) return E_POINTER;
    {
        std::lock_guard lock(m_hostLock);
        if (m_host) return E_UNEXPECTED;  // at work already, and it goes on
        m_host = ComPtr<IUnknown>(host);
        m_hostSite = ComPtr<IUnknown>(hostSite);
    }
    *capabilities &= m_capabilities;

    ComPtr<IMPProjectTree> projectTree;
    ComPtr<IMPPropertyStore> propertyStore;
    ComPtr<IMPTimeConverter> timeConverter;
    ComPtr<IMPPortList> portList;
    HRESULT hr = host->QueryInterface(IID_IMPProjectTree, projectTree.OutVoid());
    if (Succeeded(hr)) hr = host->QueryInterface(IID_IMPPropertyStore, propertyStore.OutVoid());
    if (Succeeded(hr)) hr = host->QueryInterface(IID_IMPTimeConverter, timeConverter.OutVoid());
    if (Succeeded(hr)) hr = host->QueryInterface(IID_IMPPortList, portList.OutVoid());
    if (Succeeded(hr)) {
        std::lock_guard lock(m_hostLock);
        m_projectTree = std::move(projectTree);
        m_propertyStore = std::move(propertyStore);
        m_timeConverter = std::move(timeConverter);
        m_portList = std::move(portList);
    }
    if (Succeeded(hr)) hr = Advise(IID_IMPNotificationSink, m_notificationSink.Get(), &m_notificationCookie);
    if (Succeeded(hr)) hr = Advise(IID_IMPTimeSink, m_timeSink.Get(), &m_timeCookie);
    if (Failed(hr)) Terminate();
    return hr;
}

HRESULT COPTPlugin::Terminate() {
    ComPtr<IMPProjectTree> projectTree;
    ComPtr<IMPPropertyStore> propertyStore;
    ComPtr<IMPPortList> portList;
    ComPtr<IMPTimeConverter> timeConverter;
    {
        std::lock_guard lock(m_hostLock);
        projectTree = std::move(m_projectTree);
        propertyStore = std::move(m_propertyStore);
        portList = std::move(m_portList);
        timeConverter = std::move(m_timeConverter);
    }
    projectTree.Reset();
    propertyStore.Reset();
    portList.Reset();
    timeConverter.Reset();

    Unadvise(IID_IMPNotificationSink, &m_notificationCookie);
    Unadvise(IID_IMPTimeSink, &m_timeCookie);

    ComPtr<IUnknown> host, hostSite;
    {
        std::lock_guard lock(m_hostLock);
        hostSite = std::move(m_hostSite);
        host = std::move(m_host);
    }
    hostSite.Reset();
    host.Reset();
    return S_OK;
}

HRESULT COPTPlugin::Advise(const GUID& point, IUnknown* sink, uint32_t* cookie) {
    ComPtr<IUnknown> host = Host();
    ComPtr<IConnectionPointContainer> container;
    ComPtr<IConnectionPoint> connection;
    if (!host) return E_UNEXPECTED;
    HRESULT hr = host->QueryInterface(IID_IConnectionPointContainer, container.OutVoid());
    if (Succeeded(hr)) hr = container->FindConnectionPoint(point, connection.Out());
    if (Succeeded(hr)) hr = connection->Advise(sink, cookie);
    if (Failed(hr)) *cookie = 0;
    return hr;
}

void COPTPlugin::Unadvise(const GUID& point, uint32_t* cookie) {
    if (*cookie == 0) return;
    ComPtr<IUnknown> host = Host();
    ComPtr<IConnectionPointContainer> container;
    ComPtr<IConnectionPoint> connection;
    if (host && Succeeded(host->QueryInterface(IID_IConnectionPointContainer, container.OutVoid())) &&
        Succeeded(container->FindConnectionPoint(point, connection.Out())))
        connection->Unadvise(*cookie);
    *cookie = 0;
}

ComPtr<IMPProjectTree> COPTPlugin::ProjectTree() const {
    std::lock_guard lock(m_hostLock);
    return m_projectTree;
}
ComPtr<IMPPropertyStore> COPTPlugin::PropertyStore() const {
    std::lock_guard lock(m_hostLock);
    return m_propertyStore;
}
ComPtr<IMPTimeConverter> COPTPlugin::TimeConverter() const {
    std::lock_guard lock(m_hostLock);
    return m_timeConverter;
}
ComPtr<IMPPortList> COPTPlugin::PortList() const {
    std::lock_guard lock(m_hostLock);
    return m_portList;
}
ComPtr<IUnknown> COPTPlugin::Host() const {
    std::lock_guard lock(m_hostLock);
    return m_host;
}
ComPtr<CListPage> COPTPlugin::Page() const {
    std::lock_guard lock(m_hostLock);
    return m_page;
}

HRESULT COPTPlugin::GetHostProperty(const GUID& id, void* buffer, uint32_t size) {
    ComPtr<IMPPropertyStore> store = PropertyStore();
    return store ? store->GetProperty(&id, 0, 0, size, buffer) : E_UNEXPECTED;
}

HRESULT COPTPlugin::SetHostProperty(const GUID& id, const void* buffer, uint32_t size, uint32_t index) {
    ComPtr<IMPPropertyStore> store = PropertyStore();
    return store ? store->SetProperty(&id, index, size, buffer) : E_UNEXPECTED;
}

HRESULT COPTPlugin::DetachPage(CListPage* page) {
    ComPtr<CListPage> old;
    {
        std::lock_guard lock(m_hostLock);
        if (!page && !m_page) return E_UNEXPECTED;
        old = std::move(m_page);
    }
    return S_OK;
}

HRESULT COPTPlugin::AttachPage(CListPage* page) {
    ComPtr<CListPage> old(page);
    std::lock_guard lock(m_hostLock);
    std::swap(m_page, old);
    return S_OK;
}

HRESULT COPTPlugin::FilterEvents(IMPEventStream*, const MPFILTERINFO*) { return E_NOTIMPL; }
HRESULT COPTPlugin::GetFilterState(uint32_t*, uint32_t*, uint32_t*) { return E_NOTIMPL; }
HRESULT COPTPlugin::SetFilterState(uint32_t) { return E_NOTIMPL; }
HRESULT COPTPlugin::IsDirty() { return m_dirty == 0; }
HRESULT COPTPlugin::Load(IStream*) { return E_NOTIMPL; }
HRESULT COPTPlugin::Save(IStream*, BOOL) { return E_NOTIMPL; }
HRESULT COPTPlugin::GetSizeMax(uint64_t*) { return E_NOTIMPL; }
HRESULT COPTPlugin::SavePreferences() { return S_OK; }
HRESULT COPTPlugin::LoadPreferences() { return S_OK; }

HRESULT COPTPlugin::LoadPorts(uint32_t isOutput) {
    const ComPtr<IMPPortList> list = PortList();
    return list ? m_ports.Load(*list, isOutput) : E_UNEXPECTED;
}
uint64_t COPTPlugin::GetPort(uint32_t isOutput) { return m_ports.Selected(isOutput); }
void COPTPlugin::SetPort(uint32_t isOutput, uint64_t id) { m_ports.Select(isOutput, id); }

HRESULT COPTPlugin::SetLCID(uint32_t, uint32_t lcid) { return ApplyModuleLcid(lcid); }
