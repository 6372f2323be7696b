// The host's MIDI: ports with ids that last, what comes in handed to plug-ins, what they send handed out. A
// thread of its own stands between the devices and everyone else.
#pragma once

#include "host/midi/event_stream.h"
#include "host/midi/midi_driver.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace host {

struct MidiPort {
    uint64_t id;  ///< of its name and direction, the same in every run; never 0
    GUID guid;    ///< likewise
    std::string name;
};

/// What went through a port last, for the eye.
struct MidiActivity {
    std::string port;
    std::vector<uint8_t> bytes;  ///< of the last message, the first few
    uint64_t messages = 0;
};

class MidiPorts {
public:
    /// `onEvents` is called with what has come in, `onPortsChanged` when ports came or went; both on the MIDI
    /// thread.
    MidiPorts(std::unique_ptr<MidiDriver> driver, std::function<void(std::vector<ReceivedEvent>&)> onEvents,
              std::function<void()> onPortsChanged);
    ~MidiPorts();
    MidiPorts(const MidiPorts&) = delete;
    MidiPorts& operator=(const MidiPorts&) = delete;

    // All [any-thread].

    std::vector<MidiPort> Inputs() const;
    std::vector<MidiPort> Outputs() const;
    /// Counted: a port is open while anybody uses it, and opened again when it comes back.
    void Use(uint32_t isOutput, uint64_t port);
    void Leave(uint32_t isOutput, uint64_t port);
    /// False for a port that is not used.
    bool Send(uint64_t port, const MPEVENTREC& event);

    MidiActivity LastIn() const;
    MidiActivity LastOut() const;
    /// Ports that can't be opened, with the reason, and messages that were lost; one line each.
    std::vector<std::string> Problems() const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace host
