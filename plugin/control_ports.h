// The MIDI ports of a control plug-in: which ones the user wants, whose events come in, and the host's being
// told of their use.
//
// No lock is held across a call of the host, which may notify of ports inside it. Whoever changes what is
// wanted leaves the telling to a thread that is at it already. [any-thread] where nothing else is said.
#pragma once

#include "plugin/control_preferences.h"

#include <condition_variable>
#include <thread>

class ControlPorts {
public:
    ControlPorts(COPTPlugin& plugin, ControlPreferences& preferences)
        : m_plugin(plugin), m_preferences(preferences) {}

    // These three are true when an output port was opened: all is to be sent to it anew.

    /// The user's choice of a port, 0 for none: kept, and taken up again when a port that went comes back.
    bool Choose(uint32_t isOutput, uint64_t port);
    /// The host's ports are others: what was chosen is in use while it is there, and nothing else.
    bool Follow(uint32_t isOutput);
    /// Begins the use of the selected ports.
    bool Begin(uint32_t inputMode);

    void End();
    /// Until the host has been told of all that was wanted. Not under the main lock.
    void WaitUntilTold();

    /// S_FALSE when the port that was chosen is not there: then none is used until it is.
    HRESULT LoadChoice(uint32_t isOutput);
    void SaveChoice(uint32_t isOutput);

    /// The ports whose events are let through; empty: all.
    std::vector<uint64_t> Filter() const;

    /// Where the events of SendEvent go; null for nowhere.
    void SetOutput(tarn::ComPtr<IMPEventOutput> output);
    /// To the selected output port.
    void Send(const MPEVENTREC& event);

private:
    struct Use {
        uint64_t wanted = 0;  ///< 0 for none
        uint64_t begun = 0;   ///< what the host was told to begin with
        GUID chosen{};        ///< zeros for none; may not be there now
    };

    bool Select(uint32_t isOutput, uint64_t port);
    bool Tell();

    COPTPlugin& m_plugin;
    ControlPreferences& m_preferences;

    mutable std::mutex m_lock;  ///< guards all below
    Use m_use[2];               ///< by isOutput
    bool m_inUse = false;
    uint32_t m_inputMode = PORTMODE_INPUT;
    std::thread::id m_teller;  ///< of the thread that is telling the host
    std::condition_variable m_told;
    std::vector<uint64_t> m_filter;
    tarn::ComPtr<IMPEventOutput> m_output;
};
