// IMPEventStream over the events that have just come in.
#pragma once

#include "host/midi/midi_message.h"

#include <vector>

namespace host {

struct ReceivedEvent {
    uint64_t port = 0;
    MidiEvent event;
    bool consumed = false;
};

/// Lives in the call that it is handed to. Events that a plug-in has consumed are not shown again. One
/// thread.
class EventStream final : public IMPEventStream {
public:
    explicit EventStream(std::vector<ReceivedEvent>& events) : m_events(events) {}

    HRESULT QueryInterface(const GUID&, void** out) override;
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 1; }
    HRESULT SetFilter(const MPFILTERKEY* key, uint32_t) override;
    HRESULT First(MPEVENTREC* rec, uint32_t* cookie, uint32_t* more, uint32_t typeMask) override;
    HRESULT Next(MPEVENTREC* rec, uint32_t* cookie, uint32_t* more, uint32_t typeMask) override;
    HRESULT Consume(uint32_t cookie) override;

private:
    size_t Find(size_t from, uint32_t typeMask) const;

    std::vector<ReceivedEvent>& m_events;
    std::vector<uint64_t> m_ports;  ///< empty: all
    size_t m_at = 0;
};

}  // namespace host
