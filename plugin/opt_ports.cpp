// The host's MIDI ports as the plug-in sees them, and which one of each direction is selected.
#include "plugin/opt_plugin.h"

#include <span>

namespace {

std::span<MPPORT> Rows(const MPPORTARRAY& ports) {
    return ports.ports ? std::span(ports.ports, ports.count) : std::span<MPPORT>();
}

}  // namespace

void COPTPlugin::FreePorts(PortArray& ports) {
    for (MPPORT& port : Rows(ports.rows)) CoTaskMemFree(port.name);
    CoTaskMemFree(ports.rows.ports);
    ports.rows = {};
}

HRESULT COPTPlugin::LoadPorts(uint32_t isOutput) {
    const ComPtr<IMPPortList> list = PortList();
    if (!list) return E_UNEXPECTED;
    MPPORTARRAY fresh{};
    const HRESULT hr = list->GetPorts(isOutput ? PORTS_OUTPUT : PORTS_INPUT, &fresh);
    if (hr != S_OK) return hr;

    CriticalSectionLock lock(m_treeLock);
    PortArray& ports = m_ports[isOutput ? 1 : 0];
    FreePorts(ports);
    ports.rows = fresh;
    const std::span<MPPORT> rows = Rows(fresh);
    const MPPORT* chosen = rows.empty() ? nullptr : &rows[0];
    for (const MPPORT& port : rows)
        if (ports.selected && port.guid == ports.selectedGuid) chosen = &port;
    ports.selected = chosen ? chosen->id : 0;
    ports.selectedGuid = chosen ? chosen->guid : GUID{};
    return S_OK;
}

std::vector<COPTPlugin::PortRow> COPTPlugin::CopyPorts(uint32_t isOutput) const {
    CriticalSectionLock lock(m_treeLock);
    std::vector<PortRow> rows;
    for (const MPPORT& port : Rows(m_ports[isOutput ? 1 : 0].rows))
        rows.push_back({port.id, port.guid, port.name ? port.name : u""});
    return rows;
}

uint64_t COPTPlugin::GetPort(uint32_t isOutput) {
    CriticalSectionLock lock(m_treeLock);
    return m_ports[isOutput ? 1 : 0].selected;
}

void COPTPlugin::SetPort(uint32_t isOutput, uint64_t id) {
    CriticalSectionLock lock(m_treeLock);
    PortArray& ports = m_ports[isOutput ? 1 : 0];
    ports.selected = id;
    for (const MPPORT& port : Rows(ports.rows))
        if (port.id == id) ports.selectedGuid = port.guid;
}
