// The MIDI ports of a control plug-in: which ones the user wants, and the host's being told of their use.
#include "plugin/control_plugin.h"

#include <algorithm>

namespace {
uint32_t PortKey(uint32_t isOutput) {
    constexpr uint32_t OUTPUT = 100, INPUT = 101;
    return isOutput ? OUTPUT : INPUT;
}
}  // namespace

HRESULT COPTControlPlugin::RequestPorts(uint32_t ending, uint32_t mode) {
    std::lock_guard lock(m_requestLock);
    const auto send = [&](uint32_t isOutput, uint32_t kind, uint32_t portMode) {
        // The selection may have moved on since the use began.
        MPPORTREQUEST request{};
        request.kind = kind;
        request.port = ending ? std::exchange(m_requestedPort[isOutput], 0) : GetPort(isOutput);
        request.mode = portMode;
        request.pluginName = Name();
        if (!ending) m_requestedPort[isOutput] = request.port;
        if (request.port)
            SetHostProperty(ending ? MPPROP_PORTS_END : MPPROP_PORTS_BEGIN, &request, sizeof request,
                            MPPROP_TABLE);
    };
    send(PORTS_INPUT, PORTREQUEST_INPUT, mode);
    send(PORTS_OUTPUT, PORTREQUEST_OUTPUT, PORTMODE_OUTPUT);
    return S_OK;
}

void COPTControlPlugin::SelectPort(uint32_t isOutput, uint64_t port) {
    SetPort(isOutput, port);
    if (isOutput) return;
    std::lock_guard lock(m_ctrlLock);
    // An empty filter would let the events of all ports through.
    m_portFilter = {port};
}

// Outside the main lock: opening a device may take its time.
void COPTControlPlugin::UsePort(uint32_t isOutput, uint64_t port) {
    SelectPort(isOutput, port);
    if (!(ControlState() & CTRLSTATE_ACTIVE)) return;
    {
        std::lock_guard lock(m_requestLock);
        if (m_requestedPort[isOutput] == port) return;
    }
    RequestPorts(1, 0);
    RequestPorts(0, PORTMODE_INPUT);
    CriticalSectionLock lock(m_mainLock);
    if (isOutput && m_map) m_map->RefreshStrips(true);
}

void COPTControlPlugin::ChoosePort(uint32_t isOutput, uint64_t port) {
    const std::vector<PortRow> ports = CopyPorts(isOutput);
    const auto at = std::ranges::find(ports, port, &PortRow::id);
    {
        std::lock_guard lock(m_ctrlLock);
        m_chosenPort[isOutput] = at == ports.end() ? GUID{} : at->guid;
    }
    UsePort(isOutput, port);
}

// A surface that was unplugged is used again when it comes back, and no other takes its place meanwhile.
HRESULT COPTControlPlugin::OnPortsChange(const MPNOTIFYREC* rec, uint32_t post) {
    const HRESULT hr = COPTPlugin::OnPortsChange(rec, post);
    for (const uint32_t isOutput : {PORTS_INPUT, PORTS_OUTPUT}) {
        if (!(ControlState() & (isOutput ? CTRLSTATE_USE_OUTPUTS : CTRLSTATE_USE_INPUTS))) continue;
        GUID chosen;
        {
            std::lock_guard lock(m_ctrlLock);
            chosen = m_chosenPort[isOutput];
        }
        const std::vector<PortRow> ports = CopyPorts(isOutput);
        const auto at = std::ranges::find(ports, chosen, &PortRow::guid);
        UsePort(isOutput, at == ports.end() ? 0 : at->id);
    }
    return hr;
}

// 1 when the port that was chosen is not there: then none is used until it is.
HRESULT COPTControlPlugin::LoadPortChoice(uint32_t isOutput) {
    const std::vector<PortRow> ports = CopyPorts(isOutput);
    const auto first = std::ranges::find(ports, GetPort(isOutput), &PortRow::id);
    // Without a choice it is the port that was selected when the list came.
    const GUID chosen = GuidPreference(PortKey(isOutput), first == ports.end() ? GUID{} : first->guid);
    {
        std::lock_guard lock(m_ctrlLock);
        m_chosenPort[isOutput] = chosen;
    }
    const auto at = std::ranges::find(ports, chosen, &PortRow::guid);
    SelectPort(isOutput, at == ports.end() ? 0 : at->id);
    return at == ports.end() ? S_FALSE : S_OK;
}

void COPTControlPlugin::SavePortChoice(uint32_t isOutput) {
    GUID chosen;
    {
        std::lock_guard lock(m_ctrlLock);
        chosen = m_chosenPort[isOutput];
    }
    SetGuidPreference(PortKey(isOutput), chosen);
}
