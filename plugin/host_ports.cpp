#include "plugin/host_ports.h"

#include <span>

HRESULT HostPorts::Load(IMPPortList& host, uint32_t isOutput) {
    MPPORTARRAY fresh{};
    const HRESULT hr = host.GetPorts(isOutput ? PORTS_OUTPUT : PORTS_INPUT, &fresh);
    std::vector<Row> rows;
    if (fresh.ports)
        for (MPPORT& port : std::span(fresh.ports, fresh.count)) {
            rows.push_back({port.id, port.guid, port.name ? port.name : u""});
            CoTaskMemFree(port.name);
        }
    CoTaskMemFree(fresh.ports);
    if (hr != S_OK) return hr;

    const std::lock_guard lock(m_lock);
    Direction& ports = m_directions[isOutput ? 1 : 0];
    ports.rows = std::move(rows);
    const Row* chosen = ports.rows.empty() ? nullptr : &ports.rows[0];
    for (const Row& port : ports.rows)
        if (ports.selected && port.guid == ports.selectedGuid) chosen = &port;
    ports.selected = chosen ? chosen->id : 0;
    ports.selectedGuid = chosen ? chosen->guid : GUID{};
    return S_OK;
}

std::vector<HostPorts::Row> HostPorts::Rows(uint32_t isOutput) const {
    const std::lock_guard lock(m_lock);
    return m_directions[isOutput ? 1 : 0].rows;
}

uint64_t HostPorts::Selected(uint32_t isOutput) const {
    const std::lock_guard lock(m_lock);
    return m_directions[isOutput ? 1 : 0].selected;
}

void HostPorts::Select(uint32_t isOutput, uint64_t port) {
    const std::lock_guard lock(m_lock);
    Direction& ports = m_directions[isOutput ? 1 : 0];
    ports.selected = port;
    for (const Row& row : ports.rows)
        if (row.id == port) ports.selectedGuid = row.guid;
}
