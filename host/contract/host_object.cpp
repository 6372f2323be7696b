#include "host/contract/host_object.h"

#include "platform/text.h"

using namespace tarn;

namespace host {

HostObject::HostObject(std::shared_ptr<ProjectCore> core, const SeatOptions& seat)
    : m_core(std::move(core)), m_seat(seat), m_tree(*this), m_store(*this), m_times(*this), m_ports(*this),
      m_eventOutput(*this), m_channels(*this), m_catalog(*this),
      m_connections(*this), m_points{ConnectionPointPart(*this, m_core->notificationSinks),
                                     ConnectionPointPart(*this, m_core->timeSinks),
                                     ConnectionPointPart(*this, m_core->controlSinks)} {}

HRESULT HostObject::QueryInterface(const GUID& iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid == IID_IUnknown) *out = Unknown();
    if (iid == IID_IMPProjectTree) *out = static_cast<IMPProjectTree*>(&m_tree);
    if (iid == IID_IMPPropertyStore) *out = static_cast<IMPPropertyStore*>(&m_store);
    if (iid == IID_IMPTimeConverter) *out = static_cast<IMPTimeConverter*>(&m_times);
    if (iid == IID_IMPPortList) *out = static_cast<IMPPortList*>(&m_ports);
    if (iid == IID_IMPEventOutput && m_core->midi) *out = static_cast<IMPEventOutput*>(&m_eventOutput);
    if (iid == IID_IMPCtrlChannels) *out = static_cast<IMPCtrlChannels*>(&m_channels);
    if (iid == IID_IMPPlugInCatalog) *out = static_cast<IMPPlugInCatalog*>(&m_catalog);
    if (iid == IID_IConnectionPointContainer) *out = static_cast<IConnectionPointContainer*>(&m_connections);
    if (!*out) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

ConnectionPointPart* HostObject::Point(const GUID& iid) {
    for (ConnectionPointPart& point : m_points)
        if (point.Iid() == iid) return &point;
    return nullptr;
}

HRESULT ConnectionsPart::FindConnectionPoint(const GUID& iid, IConnectionPoint** out) {
    if (!out) return E_POINTER;
    *out = m_host.Point(iid);
    if (!*out) return E_NOINTERFACE;
    m_host.AddRef();
    return S_OK;
}

HRESULT ConnectionPointPart::GetConnectionInterface(GUID* iid) {
    if (!iid) return E_POINTER;
    *iid = Iid();
    return S_OK;
}

HRESULT ConnectionPointPart::GetConnectionPointContainer(IConnectionPointContainer** out) {
    return out ? m_host.QueryInterface(IID_IConnectionPointContainer, reinterpret_cast<void**>(out))
               : E_POINTER;
}

HRESULT ConnectionPointPart::Advise(IUnknown* sink, uint32_t* cookie) {
    return m_sinks.Add(sink, cookie, m_host.Seat().number);
}

HRESULT PortListPart::GetPorts(uint32_t kind, MPPORTARRAY* out) {
    if (!out) return E_POINTER;
    *out = {};
    if (!Core().midi) return S_OK;
    return Guarded([&]() -> HRESULT {
        const std::vector<MidiPort> ports =
            kind == PORTS_OUTPUT ? Core().midi->Outputs() : Core().midi->Inputs();
        if (ports.empty()) return S_OK;
        out->ports = static_cast<MPPORT*>(CoTaskMemAlloc(ports.size() * sizeof(MPPORT)));
        if (!out->ports) return E_OUTOFMEMORY;
        for (const MidiPort& port : ports)
            out->ports[out->count++] = {port.id, port.guid,
                                        CoTaskMemString(Utf16FromUtf8(port.name).c_str())};
        return S_OK;
    });
}

HRESULT EventOutputPart::Send(uint64_t port, const MPEVENTREC* event) {
    if (!event) return E_POINTER;
    if (!Core().midi) return S_FALSE;
    return Guarded([&] { return Core().midi->Send(port, *event) ? S_OK : S_FALSE; });
}

}  // namespace host
