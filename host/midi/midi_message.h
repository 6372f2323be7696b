// MIDI 1.0 between bytes and the contract's events.
#pragma once

#include "contract/host_contract.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace host {

/// An event with its long data.
struct MidiEvent {
    MPEVENTREC rec{};  ///< `data` null: the bytes are here
    std::vector<uint8_t> data;
};

inline constexpr size_t kMaxSysexBytes = 65536;

/// Makes events of the bytes of one port, in pieces of any size: with running status, and with real-time
/// bytes in between. A note on with velocity 0 is a note off. Data entry after a parameter number was chosen
/// is an event of that parameter (MMA RP-018); the parts of the number are controllers as well. What is
/// broken off or has no meaning is left out. One thread.
class MidiParser {
public:
    using Sink = std::function<void(MidiEvent&&)>;
    void Parse(std::span<const uint8_t> bytes, const Sink& sink);

private:
    void OnMessage(const Sink& sink);
    void OnController(uint8_t channel, const Sink& sink);

    uint8_t m_status = 0;  ///< running; 0 for none
    uint8_t m_data[2] = {};
    size_t m_count = 0, m_wanted = 0;
    bool m_inSysex = false, m_tooLong = false;
    std::vector<uint8_t> m_sysex;

    /// What data entry of a channel is for.
    struct Parameter {
        uint32_t type = MPNULL;
        uint8_t number[2] = {127, 127};
        uint8_t coarse = 0;
    };
    Parameter m_parameters[16];
};

/// The bytes of an event; empty for one that MIDI does not have. An event on any channel goes to the first.
std::vector<uint8_t> MidiBytes(const MPEVENTREC& event);

}  // namespace host
