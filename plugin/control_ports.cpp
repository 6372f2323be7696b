#include "plugin/control_ports.h"

#include <algorithm>

using namespace tarn;

namespace {
uint32_t PortKey(uint32_t isOutput) {
    constexpr uint32_t OUTPUT = 100, INPUT = 101;
    return isOutput ? OUTPUT : INPUT;
}

/// 0 where none of them has the id that the user chose.
uint64_t PortOf(const std::vector<HostPorts::Row>& ports, const GUID& guid) {
    const auto at = std::ranges::find(ports, guid, &HostPorts::Row::guid);
    return at == ports.end() ? 0 : at->id;
}

GUID GuidOf(const std::vector<HostPorts::Row>& ports, uint64_t port) {
    const auto at = std::ranges::find(ports, port, &HostPorts::Row::id);
    return at == ports.end() ? GUID{} : at->guid;
}
}  // namespace

bool ControlPorts::Tell() {
    std::unique_lock lock(m_lock);
    if (m_teller != std::thread::id()) return false;
    m_teller = std::this_thread::get_id();
    const auto step = [this](uint32_t isOutput, MPPORTREQUEST& request, bool& begins) {
        Use& use = m_use[isOutput];
        if (use.begun == use.wanted) return false;
        begins = use.begun == 0;
        request.kind = isOutput ? PORTREQUEST_OUTPUT : PORTREQUEST_INPUT;
        request.mode = isOutput ? PORTMODE_OUTPUT : m_inputMode;
        request.port = begins ? use.wanted : use.begun;
        use.begun = begins ? use.wanted : 0;
        return true;
    };
    bool newOutput = false;
    for (;;) {
        MPPORTREQUEST request{};
        bool begins = false;
        if (!step(PORTS_INPUT, request, begins) && !step(PORTS_OUTPUT, request, begins)) break;
        request.pluginName = m_plugin.Name();
        newOutput |= begins && request.kind == PORTREQUEST_OUTPUT;
        lock.unlock();
        m_plugin.SetHostProperty(begins ? MPPROP_PORTS_BEGIN : MPPROP_PORTS_END, &request, sizeof request,
                                 MPPROP_TABLE);
        lock.lock();
    }
    m_teller = {};
    m_told.notify_all();
    return newOutput;
}

void ControlPorts::WaitUntilTold() {
    std::unique_lock lock(m_lock);
    if (m_teller == std::this_thread::get_id()) return;  // inside the host's call: what called it goes on
    m_told.wait(lock, [this] { return m_teller == std::thread::id(); });
}

bool ControlPorts::Select(uint32_t isOutput, uint64_t port) {
    m_plugin.SetPort(isOutput, port);
    {
        const std::lock_guard lock(m_lock);
        // An empty filter would let the events of all ports through.
        if (!isOutput) m_filter = {port};
        if (!m_inUse) return false;
        m_use[isOutput].wanted = port;
    }
    return Tell();
}

bool ControlPorts::Begin(uint32_t inputMode) {
    const uint64_t ports[] = {m_plugin.GetPort(PORTS_INPUT), m_plugin.GetPort(PORTS_OUTPUT)};
    {
        const std::lock_guard lock(m_lock);
        m_inUse = true;
        m_inputMode = inputMode;
        for (const uint32_t isOutput : {PORTS_INPUT, PORTS_OUTPUT}) m_use[isOutput].wanted = ports[isOutput];
    }
    return Tell();
}

void ControlPorts::End() {
    {
        const std::lock_guard lock(m_lock);
        m_inUse = false;
        for (Use& use : m_use) use.wanted = 0;
    }
    Tell();
}

bool ControlPorts::Choose(uint32_t isOutput, uint64_t port) {
    const GUID guid = GuidOf(m_plugin.Ports(isOutput), port);
    {
        const std::lock_guard lock(m_lock);
        m_use[isOutput].chosen = guid;
    }
    return Select(isOutput, port);
}

// A surface that was unplugged is used again when it comes back, and no other takes its place meanwhile.
bool ControlPorts::Follow(uint32_t isOutput) {
    const std::vector<HostPorts::Row> ports = m_plugin.Ports(isOutput);
    GUID chosen;
    {
        const std::lock_guard lock(m_lock);
        chosen = m_use[isOutput].chosen;
    }
    return Select(isOutput, PortOf(ports, chosen));
}

HRESULT ControlPorts::LoadChoice(uint32_t isOutput) {
    const std::vector<HostPorts::Row> ports = m_plugin.Ports(isOutput);
    // Without a choice it is the port that was selected when the list came.
    const GUID chosen = m_preferences.Guid(PortKey(isOutput), GuidOf(ports, m_plugin.GetPort(isOutput)));
    {
        const std::lock_guard lock(m_lock);
        m_use[isOutput].chosen = chosen;
    }
    const uint64_t port = PortOf(ports, chosen);
    Select(isOutput, port);
    return port ? S_OK : S_FALSE;
}

void ControlPorts::SaveChoice(uint32_t isOutput) {
    GUID chosen;
    {
        const std::lock_guard lock(m_lock);
        chosen = m_use[isOutput].chosen;
    }
    m_preferences.SetGuid(PortKey(isOutput), chosen);
}

std::vector<uint64_t> ControlPorts::Filter() const {
    const std::lock_guard lock(m_lock);
    return m_filter;
}

void ControlPorts::SetOutput(ComPtr<IMPEventOutput> output) {
    // What was there is released outside the lock, by the argument's end.
    const std::lock_guard lock(m_lock);
    std::swap(m_output, output);
}

void ControlPorts::Send(const MPEVENTREC& event) {
    ComPtr<IMPEventOutput> output;
    {
        const std::lock_guard lock(m_lock);
        output = m_output;
    }
    const uint64_t port = m_plugin.GetPort(PORTS_OUTPUT);
    if (output && port) output->Send(port, &event);
}
