// Controls and notifications of a control plug-in: which handler they reach, on which pass, and the queue
// between.
#include "plugin/control_plugin.h"

#include "plugin/module_state.h"

using namespace tarn;

namespace {

using ControlHandler = HRESULT (COPTControlPlugin::*)(const MPCTRLREC*, uint32_t);

struct ControlRow {
    GUID id;
    ControlHandler handler;
};

/// Handled only while the plug-in is active in an open project.
constexpr ControlRow CONTROLS[] = {
    {MPCTRL_CHANNEL, &COPTControlPlugin::OnChannelChange},
    {MPCTRL_METERS, &COPTControlPlugin::OnMeterTick},
    {MPCTRL_MAP, &COPTControlPlugin::OnMapChange},
    {MPCTRL_DISPLAY, &COPTControlPlugin::OnDisplaySettings},
    {MPCTRL_LOOK, &COPTControlPlugin::OnLook},
    {MPCTRL_TRANSPORT, &COPTControlPlugin::OnTransportFlags},
    {MPCTRL_BLOCK, &COPTControlPlugin::OnBlockChange},
    {MPCTRL_JOG, &COPTControlPlugin::OnJogChange},
    {MPCTRL_SUSPEND, &COPTControlPlugin::OnSuspend},
    {MPCTRL_BUSY, &COPTControlPlugin::OnBusyState},
    {MPCTRL_NONE, &COPTControlPlugin::OnOther},
};

/// Whether the second of two neighbours in the queue makes the first one needless.
bool Supersedes(const MPCTRLREC& earlier, const MPCTRLREC& later) {
    if (earlier.id != later.id) return false;
    if (later.id == MPCTRL_METERS) return true;
    if (later.id == MPCTRL_PROJECT) return earlier.flags == later.flags;
    if (later.id == MPCTRL_CHANNEL)
        return earlier.flags == later.flags && earlier.kindMask == later.kindMask &&
               earlier.level == later.level && earlier.object == later.object &&
               earlier.second == later.second;
    return false;
}

}  // namespace

HRESULT COPTControlPlugin::OnControl(const MPCTRLREC* rec, uint32_t post) {
    CriticalSectionLock lock(m_mainLock);
    HRESULT hr = S_FALSE;
    constexpr uint32_t WORKING = CTRLSTATE_ACTIVE | CTRLSTATE_PROJECT_OPEN;
    if (rec->id == MPCTRL_ACTIVATE)
        hr = OnActivate(rec);
    else if (rec->id == MPCTRL_PROJECT)
        hr = OnProjectOpen(rec);
    else if ((ControlState() & WORKING) == WORKING)
        for (const ControlRow& row : CONTROLS)
            if (row.id == rec->id) {
                hr = (this->*row.handler)(rec, post);
                break;
            }
    SignalIfWanted();
    return hr;
}

HRESULT COPTControlPlugin::QueueControl(const MPCTRLREC* rec) {
    const HRESULT hr = m_controls.Push(*rec);
    SetControlBits(CTRLSTATE_WAKE);
    return hr;
}

HRESULT COPTControlPlugin::OnControlDeferred(const MPCTRLREC* rec) {
    return ControlState() & CTRLSTATE_INITIALISED ? QueueControl(rec) : S_FALSE;
}

HRESULT COPTControlPlugin::QueueNotification(const MPNOTIFYREC* rec) {
    const HRESULT hr = COPTPlugin::QueueNotification(rec);
    SetControlBits(CTRLSTATE_WAKE);  // the worker replays it
    return hr;
}

HRESULT COPTControlPlugin::DrainNotifications(uint32_t discard) {
    const HRESULT hr = COPTPlugin::DrainNotifications(discard);
    CriticalSectionLock lock(m_mainLock);
    const std::vector<MPCTRLREC> rows = m_controls.Take();
    if (rows.empty()) return hr;
    if (!discard)
        for (size_t i = 0; i < rows.size(); i++)
            if (i + 1 == rows.size() || !Supersedes(rows[i], rows[i + 1])) OnControl(&rows[i], 0);
    m_refs.Resort();
    return S_OK;
}

HRESULT COPTControlPlugin::OnNotify(const MPNOTIFYREC* rec, uint32_t post) {
    if (!(ControlState() & CTRLSTATE_INITIALISED)) return S_FALSE;
    const HRESULT hr = COPTPlugin::OnNotify(rec, post);
    SignalIfWanted();
    return hr;
}

HRESULT COPTControlPlugin::OnDisplayChange(const MPNOTIFYREC* rec, uint32_t post) {
    if (post && (ControlState() & CTRLSTATE_LAZY_IDLE)) return QueueNotification(rec);
    CriticalSectionLock lock(m_mainLock);
    if (Map()) Map()->RefreshStrips(true);
    return S_OK;
}

HRESULT COPTControlPlugin::OnProjectReload(const MPNOTIFYREC* rec, uint32_t post) {
    if (post) return COPTPlugin::OnProjectReload(rec, post);
    CriticalSectionLock lock(m_mainLock);
    if (!(ControlState() & CTRLSTATE_PROJECT_OPEN)) return S_FALSE;
    const HRESULT hr = FetchChannels(1, m_kindMask);
    m_runner.LayoutChanged();
    SetControlBits(CTRLSTATE_WAKE);
    return hr;
}

HRESULT COPTControlPlugin::OnActivate(const MPCTRLREC* rec) {
    const bool on = rec->flags & ACTIVATE_ON;
    if (on == static_cast<bool>(ControlState() & CTRLSTATE_ACTIVE)) return S_OK;
    if (!on && Map()) Map()->EnableMap(false);
    if (!on) OnActivateReset();
    PutControlBits(CTRLSTATE_ACTIVE, on);
    if (!on) return S_OK;
    const HRESULT hr = OnActivateStart(rec);
    if (Map()) Map()->EnableMap(true);
    return hr;
}

HRESULT COPTControlPlugin::RequestPorts(uint32_t ending, uint32_t mode) {
    if (ending)
        m_ports.End();
    else
        m_ports.Begin(mode);  // the map is enabled behind it, which sends everything
    return S_OK;
}

void COPTControlPlugin::RefreshSurface() {
    CriticalSectionLock lock(m_mainLock);
    if (Map()) Map()->RefreshStrips(true);
}

void COPTControlPlugin::ChoosePort(uint32_t isOutput, uint64_t port) {
    if (m_ports.Choose(isOutput, port)) RefreshSurface();
}

HRESULT COPTControlPlugin::OnPortsChange(const MPNOTIFYREC* rec, uint32_t post) {
    const HRESULT hr = COPTPlugin::OnPortsChange(rec, post);
    for (const uint32_t isOutput : {PORTS_INPUT, PORTS_OUTPUT})
        if (ControlState() & (isOutput ? CTRLSTATE_USE_OUTPUTS : CTRLSTATE_USE_INPUTS) &&
            m_ports.Follow(isOutput))
            RefreshSurface();
    return hr;
}

HRESULT COPTControlPlugin::OnActivateStart(const MPCTRLREC*) { return RequestPorts(0, PORTMODE_INPUT); }
HRESULT COPTControlPlugin::OnActivateReset() { return RequestPorts(1, 0); }

HRESULT COPTControlPlugin::OnProjectOpen(const MPCTRLREC* rec) {
    const bool open = rec->flags & PROJECT_OPEN;
    PutControlBits(CTRLSTATE_PROJECT_OPEN, open);
    if (!open) {
        if (Map()) Map()->ConnectProject(false, false);
        m_refs.ClearPorts();
        DestroyReferences();
        return S_OK;
    }
    const HRESULT hr = FetchChannels(1, m_kindMask);
    if (m_kindMask & (KIND_AUDIO_TRACK | KIND_BUS | KIND_FAMILY_4)) {
        m_refs.LoadPorts(KIND_INPUT_BUS);
        m_refs.LoadPorts(KIND_OUTPUT_ENTRY);
    }
    if (m_kindMask & KIND_FAMILY_40) m_refs.LoadPorts(KIND_MIDI_PORT_ENTRY);
    if (hr == S_OK && Map()) Map()->ConnectProject(true, ThisModule().channelMode != 0);
    return hr;
}

HRESULT COPTControlPlugin::OnSuspend(const MPCTRLREC* rec, uint32_t) {
    const bool suspends = rec->flags & SUSPEND_ON && !(ControlState() & CTRLSTATE_SUSPENDED);
    PutControlBits(CTRLSTATE_SUSPENDED, rec->flags & SUSPEND_ON);
    SetControlBits(CTRLSTATE_WAKE);  // rows of the map may wait for the end of it
    // What the surface shows stands for as long as nothing follows.
    if (suspends && rec->flags & SUSPEND_REFRESH && Map()) Map()->RefreshStrips(true);
    return S_OK;
}

// What follows goes to the control map; a plug-in without one defers it like the others, and the replay finds
// no taker.
HRESULT COPTControlPlugin::OnMapChange(const MPCTRLREC* rec, uint32_t post) {
    if (post) return OnControlDeferred(rec);
    if (!Map()) return S_FALSE;
    Map()->RefreshStrips(true);
    return S_OK;
}
HRESULT COPTControlPlugin::OnDisplaySettings(const MPCTRLREC* rec, uint32_t post) {
    return post ? OnControlDeferred(rec) : S_FALSE;
}
HRESULT COPTControlPlugin::OnTransportFlags(const MPCTRLREC* rec, uint32_t post) {
    return post ? OnControlDeferred(rec) : S_FALSE;
}
HRESULT COPTControlPlugin::OnBlockChange(const MPCTRLREC* rec, uint32_t post) {
    return post ? OnControlDeferred(rec) : S_FALSE;
}
HRESULT COPTControlPlugin::OnJogChange(const MPCTRLREC* rec, uint32_t post) {
    return post ? OnControlDeferred(rec) : S_FALSE;
}

HRESULT COPTControlPlugin::OnLook(const MPCTRLREC* rec, uint32_t post) {
    return post ? OnControlDeferred(rec) : S_FALSE;
}
HRESULT COPTControlPlugin::OnMeterTick(const MPCTRLREC* rec, uint32_t post) {
    return post ? OnControlDeferred(rec) : S_FALSE;
}
HRESULT COPTControlPlugin::OnBusyState(const MPCTRLREC*, uint32_t) { return S_FALSE; }
HRESULT COPTControlPlugin::OnOther(const MPCTRLREC*, uint32_t) { return S_FALSE; }
