#include "plugin/control_plugin.h"

#include "platform/guarded.h"
#include "platform/user_folders.h"
#include "plugin/control_sinks.h"
#include "plugin/list_page.h"
#include "plugin/module_state.h"
#include "plugin/sinks.h"
#include "plugin/text_ids.h"

#include <new>
#include <utility>

using namespace tarn;

COPTControlPlugin::COPTControlPlugin(IUnknown* owner)
    : COPTPlugin(owner), m_control(CTRLSTATE_WANT_WORKER | CTRLSTATE_USE_INPUTS | CTRLSTATE_USE_OUTPUTS |
                                   CTRLSTATE_CONSTRUCTED) {
    m_capabilities |= CAPABILITY_CONTROL;
    m_filterState = 1;
}

COPTControlPlugin::~COPTControlPlugin() {
    if (m_controlSink) m_controlSink->Orphan();
    if (m_driver) m_driver->Orphan();
}

HRESULT COPTControlPlugin::FinalConstruct() {
    const HRESULT hr = COPTPlugin::FinalConstruct();
    if (Failed(hr)) return hr;
    m_filter = ComPtr<COPTFilter>(new (std::nothrow) COPTFilter(this));
    m_persist = ComPtr<COPTPluginPersit>(new (std::nothrow) COPTPluginPersit(this));
    m_driver = ComPtr<CMPControlSurfaceDriver>(new (std::nothrow) CMPControlSurfaceDriver(this));
    m_controlSink = ComPtr<CIMPCtrlChannelSink>(new (std::nothrow) CIMPCtrlChannelSink(this));
    return m_filter && m_persist && m_driver && m_controlSink ? S_OK : E_OUTOFMEMORY;
}

HRESULT COPTControlPlugin::QueryInterface(const GUID& iid, void** out) {
    const HRESULT hr = COPTPlugin::QueryInterface(iid, out);
    if (Failed(hr) && iid == IID_IMPControlSurfaceDriver && m_driver)
        return m_driver->QueryInterface(iid, out);
    return hr;
}

HRESULT COPTControlPlugin::Initialise(IUnknown* host, IUnknown* hostSite, uint32_t flags, uint32_t reserved,
                                      uint32_t* capabilities) {
    if (!(flags & INITFLAG_CONTROL)) {
        Terminate();
        return E_FAIL;
    }
    HRESULT hr = COPTPlugin::Initialise(host, hostSite, flags, reserved, capabilities);
    if (Failed(hr)) return hr;

    hr = Guarded([&] { return Connect(*host); });
    if (Failed(hr)) Terminate();
    return hr;
}

HRESULT COPTControlPlugin::Connect(IUnknown& host) {
    ModuleState& module = ThisModule();
    uint32_t mode = 0;
    GetHostProperty(MPPROP_CHANNEL_MODE, &mode, sizeof mode);
    module.channelMode = mode;
    module.channelModeEx = {};
    GetHostProperty(MPPROP_CHANNEL_MODE_EX, &module.channelModeEx, sizeof module.channelModeEx);

    ComPtr<IMPCtrlChannels> channels;
    ComPtr<IMPPlugInCatalog> catalog;
    HRESULT hr = host.QueryInterface(IID_IMPCtrlChannels, channels.OutVoid());
    if (Succeeded(hr)) hr = Advise(IID_IMPCtrlChannelSink, m_controlSink.Get(), &m_controlCookie);
    if (Failed(hr)) return hr;
    ComPtr<IMPEventOutput> output;
    host.QueryInterface(IID_IMPPlugInCatalog, catalog.OutVoid());  // optional, as the next one
    host.QueryInterface(IID_IMPEventOutput, output.OutVoid());
    m_ports.SetOutput(std::move(output));
    m_channels.Connect(std::move(channels));
    m_catalog.Connect(std::move(catalog));
    if (ComPtr<IMPTimeConverter> times = TimeConverter()) times->GetRate(TIMEFORMAT_NANO, &m_hostTimeRate);
    if (ControlState() & CTRLSTATE_USE_OUTPUTS) LoadPorts(PORTS_OUTPUT);
    if (ControlState() & CTRLSTATE_USE_INPUTS) LoadPorts(PORTS_INPUT);
    PostInitialise();

    m_wake.Reset();
    m_workerWait = ManualResetEvent::INFINITE_WAIT;
    SetControlBits(CTRLSTATE_INITIALISED);
    if (ControlState() & CTRLSTATE_WANT_WORKER) {
        try {
            m_worker = std::thread([this] { RunWorker(); });
        } catch (const std::system_error&) {
            // Without a worker nothing is replayed until Terminate; the page still works on its own changes.
        }
    }
    return S_OK;
}

HRESULT COPTControlPlugin::Terminate() {
    ClearControlBits(CTRLSTATE_INITIALISED);
    m_wake.Set();
    if (m_worker.joinable()) m_worker.join();
    Unadvise(IID_IMPCtrlChannelSink, &m_controlCookie);
    m_catalog.Connect({});
    if (Host()) Guarded([this] { return PreTerminate(); });
    m_channels.Connect({});
    m_ports.SetOutput({});
    {
        // A later Initialise starts from a closed project, whether or not the host has closed this one.
        CriticalSectionLock lock(m_mainLock);
        DestroyReferences();
        ClearControlBits(CTRLSTATE_ACTIVE | CTRLSTATE_PROJECT_OPEN | CTRLSTATE_SUSPENDED | CTRLSTATE_WAKE);
    }
    return COPTPlugin::Terminate();
}

HRESULT COPTControlPlugin::PostInitialise() {
    if (ComPtr<IMPPropertyStore> store = PropertyStore()) {
        char16_t* folder = nullptr;
        if (Succeeded(store->GetHostInfo(&folder, &m_hostVersion)) && folder) m_hostFolder = folder;
        CoTaskMemFree(folder);
    }
    m_userDataPath = UserDataFolder();
    if (!m_userDataPath.empty() && !m_hostFolder.empty()) {
        m_userDataPath /= std::filesystem::path(m_hostFolder).filename();
        m_userDataPath /= std::to_string(m_hostVersion) + ".0";
        std::error_code
            ignored;  // a read-only home leaves the plug-in without a folder, not without a console
        std::filesystem::create_directories(m_userDataPath, ignored);
    }
    GetProjectInfo();
    m_catalog.LoadCatalog();
    m_preferences.BeginReading();
    LoadMaps();
    const HRESULT hr = LoadPreferences();
    if (Failed(hr)) m_preferences.NoteUnread();
    return hr;
}

HRESULT COPTControlPlugin::PreTerminate() {
    RequestPorts(1, 0);
    m_ports.WaitUntilTold();
    if (m_preferences.AllRead()) SavePreferences();
    m_preferences.NoteUnread();  // the next host has its own
    m_catalog.FreeCatalog();
    return S_OK;
}

void COPTControlPlugin::RunWorker() {
    while (ControlState() & CTRLSTATE_INITIALISED) {
        m_wake.Wait(m_workerWait);
        if (!(ControlState() & CTRLSTATE_INITIALISED)) break;
        // What memory does not suffice for is dropped; the next round begins anew.
        Guarded([this] {
            CriticalSectionLock lock(m_mainLock);
            m_workerWait = ManualResetEvent::INFINITE_WAIT;
            DrainNotifications(0);
            if (Map() && !(ControlState() & CTRLSTATE_SUSPENDED)) m_workerWait = m_runner.Run();
            return S_OK;
        });
        m_wake.Reset();
        // What was queued between the round and the reset has signalled an event that is gone by now.
        CriticalSectionLock lock(m_mainLock);
        if (!m_controls.IsEmpty() || HasQueuedNotifications()) m_wake.Set();
    }
    if (Map()) Map()->Idle(true);
    DrainNotifications(1);
}

void COPTControlPlugin::SignalIfWanted() {
    if (m_control.fetch_and(~CTRLSTATE_WAKE) & CTRLSTATE_WAKE) m_wake.Set();
}

HRESULT COPTControlPlugin::GetProjectInfo() {
    MPPROJECTINFO info{};
    info.size = sizeof info;
    info.words[0] = 1;
    info.words[1] = 0xFFFFFFFF;
    const HRESULT hr = GetHostProperty(MPPROP_PROJECT_INFO, &info, sizeof info);
    CriticalSectionLock lock(m_mainLock);
    if (hr == S_OK) m_projectInfo = info;
    return hr;
}

HRESULT COPTControlPlugin::GetDriverString(char16_t* out, uint32_t size) {
    QmLoadString(ThisModule().texts, QmTextId(IDS_DRIVER), out, size);
    return S_OK;
}

HRESULT COPTControlPlugin::LoadPreferences() {
    struct NamedBit {
        const char16_t* name;
        uint32_t bit;
    };
    constexpr NamedBit BITS[] = {{u"DelayDataDeletes", CTRLSTATE_DELAY_DELETES},
                                 {u"DelayDataInserts", CTRLSTATE_DELAY_INSERTS},
                                 {u"DelayDataReloads", CTRLSTATE_DELAY_RELOADS},
                                 {u"LazyIdle", CTRLSTATE_LAZY_IDLE}};
    for (const NamedBit& row : BITS) PutControlBits(row.bit, m_preferences.Number(row.name, 0) != 0);
    if (ControlState() & CTRLSTATE_USE_OUTPUTS) m_ports.LoadChoice(PORTS_OUTPUT);
    if (ControlState() & CTRLSTATE_USE_INPUTS) m_ports.LoadChoice(PORTS_INPUT);
    FetchChannels(0, m_kindMask);
    return S_OK;
}

HRESULT COPTControlPlugin::SavePreferences() {
    if (ControlState() & CTRLSTATE_USE_OUTPUTS) m_ports.SaveChoice(PORTS_OUTPUT);
    if (ControlState() & CTRLSTATE_USE_INPUTS) m_ports.SaveChoice(PORTS_INPUT);
    SaveMaps();
    return S_OK;
}

// The event filter
// -------------------------------------------------------------------------------------------------

HRESULT COPTControlPlugin::FilterEvents(IMPEventStream* stream, const MPFILTERINFO* info) {
    if (!(m_capabilities & info->capabilities)) {
        stream->SetFilter(nullptr, 0);
        return S_OK;
    }
    std::vector<uint64_t> ports = m_ports.Filter();
    const MPFILTERKEY key{static_cast<uint32_t>(ports.size()), ports.data()};
    stream->SetFilter(ports.empty() ? nullptr : &key, 0);

    bool seen = false;
    MPEVENTREC event{};
    uint32_t cookie = 0, more = 0;
    HRESULT hr = stream->First(&event, &cookie, &more, m_filterTypes);
    while (hr == S_OK) {
        seen = true;
        HRESULT taken = S_FALSE;
        if (ControlState() & CTRLSTATE_CAPTURE) {
            OnCaptureEvent(&event);
        } else {
            if (Map()) taken = Map()->OnEvent(event, info->capabilities & FILTER_PEEK_ONLY);
            if (taken == S_OK) stream->Consume(cookie);
            OnEventSeen(event, taken == S_OK);
            const bool toPage =
                !(ControlState() & CTRLSTATE_SUSPENDED) && !(info->capabilities & FILTER_NOT_TO_PAGE);
            if (ComPtr<CListPage> page = Page(); page && toPage) page->OnEvent(&event);
        }
        if ((event.type & MPOWNED_DATA_TYPES) && event.dataSize) CoTaskMemFree(event.data);
        if (!more || Failed(taken)) break;
        event = {};
        hr = stream->Next(&event, &cookie, &more, m_filterTypes);
    }
    if (seen) m_wake.Set();
    stream->SetFilter(nullptr, 0);
    return S_OK;
}

HRESULT COPTControlPlugin::GetFilterState(uint32_t* a, uint32_t* state, uint32_t* b) {
    *a = 2;
    *state = m_filterState;
    *b = 2;
    return S_OK;
}

HRESULT COPTControlPlugin::SetFilterState(uint32_t state) {
    m_filterState = state;
    return S_OK;
}

HRESULT COPTControlPlugin::OnCaptureEvent(const MPEVENTREC*) { return S_OK; }
