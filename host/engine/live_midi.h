// What a hand plays, on its way from the thread of the MIDI ports to the audio thread.
#pragma once

#include "host/effects/effect.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

namespace host {

/// Nanoseconds of the steady clock.
using ClockTime = int64_t;
ClockTime ClockNow();

struct LiveMidiEvent {
    ClockTime when = 0;
    uint8_t size = 0;  ///< 2 or 3
    uint8_t bytes[3]{};
};

/// Events for one track, in order. One writer, one reader; neither waits. What there is no room for is lost.
class LiveMidi {
public:
    void Put(const LiveMidiEvent& event);
    /// The next one, when it came before `until`. [audio-thread]
    bool Take(ClockTime until, LiveMidiEvent& event);

private:
    std::array<LiveMidiEvent, 1024> m_events{};
    std::atomic<size_t> m_written{0}, m_read{0};
};

/// Which tracks listen to which ports. [any-thread but audio]
class LiveMidiRouter {
public:
    struct Listener {
        std::string port;      ///< empty: any
        uint32_t channel = 0;  ///< 1..16, 0 any
        std::shared_ptr<LiveMidi> to;
    };
    void Set(std::vector<Listener> listeners);
    /// Messages of channels, one behind the other, without running status; others are left out.
    void Play(const std::string& port, std::span<const uint8_t> bytes);

private:
    std::mutex m_lock;
    std::vector<Listener> m_listeners;
};

}  // namespace host
