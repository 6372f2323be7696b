#include "host/engine/live_midi.h"

#include <algorithm>
#include <chrono>

namespace host {

ClockTime ClockNow() {
    using namespace std::chrono;
    return duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count();
}

void LiveMidi::Put(const LiveMidiEvent& event) {
    const size_t at = m_written.load(std::memory_order_relaxed);
    if (at - m_read.load(std::memory_order_acquire) == m_events.size()) return;
    m_events[at % m_events.size()] = event;
    m_written.store(at + 1, std::memory_order_release);
}

bool LiveMidi::Take(ClockTime until, LiveMidiEvent& event) {
    const size_t at = m_read.load(std::memory_order_relaxed);
    if (at == m_written.load(std::memory_order_acquire)) return false;
    const LiveMidiEvent& next = m_events[at % m_events.size()];
    if (next.when >= until) return false;
    event = next;
    m_read.store(at + 1, std::memory_order_release);
    return true;
}

void LiveMidiRouter::Set(std::vector<Listener> listeners) {
    const std::lock_guard lock(m_lock);
    m_listeners = std::move(listeners);
}

void LiveMidiRouter::Play(const std::string& port, std::span<const uint8_t> bytes) {
    const ClockTime now = ClockNow();
    const std::lock_guard lock(m_lock);
    while (!bytes.empty() && bytes[0] >= 0x80 && bytes[0] < 0xF0) {
        const size_t size = (bytes[0] & 0xE0) == 0xC0 ? 2 : 3;
        if (bytes.size() < size) return;
        LiveMidiEvent event{.when = now, .size = static_cast<uint8_t>(size)};
        std::copy_n(bytes.begin(), size, event.bytes);
        const uint32_t channel = (bytes[0] & 15u) + 1;
        for (const Listener& listener : m_listeners)
            if ((listener.port.empty() || listener.port == port) &&
                (listener.channel == 0 || listener.channel == channel))
                listener.to->Put(event);
        bytes = bytes.subspan(size);
    }
}

}  // namespace host
