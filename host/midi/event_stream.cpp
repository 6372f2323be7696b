#include "host/midi/event_stream.h"

#include "platform/memory.h"

#include <algorithm>
#include <cstring>

namespace host {

HRESULT EventStream::QueryInterface(const GUID&, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return E_NOINTERFACE;
}

HRESULT EventStream::SetFilter(const MPFILTERKEY* key, uint32_t) {
    m_ports.clear();
    if (key && key->ports) m_ports.assign(key->ports, key->ports + key->count);
    return S_OK;
}

size_t EventStream::Find(size_t from, uint32_t typeMask) const {
    for (size_t i = from; i < m_events.size(); i++) {
        const ReceivedEvent& event = m_events[i];
        const bool passes = m_ports.empty() || std::ranges::find(m_ports, event.port) != m_ports.end();
        if (passes && !event.consumed && event.event.rec.type & typeMask) return i;
    }
    return m_events.size();
}

HRESULT EventStream::First(MPEVENTREC* rec, uint32_t* cookie, uint32_t* more, uint32_t typeMask) {
    m_at = 0;
    return Next(rec, cookie, more, typeMask);
}

HRESULT EventStream::Next(MPEVENTREC* rec, uint32_t* cookie, uint32_t* more, uint32_t typeMask) {
    if (!rec || !cookie || !more) return E_POINTER;
    *more = 0;
    const size_t at = Find(m_at, typeMask);
    if (at == m_events.size()) return S_FALSE;
    const MidiEvent& event = m_events[at].event;
    *rec = event.rec;
    if (!event.data.empty()) {
        rec->data = CoTaskMemAlloc(event.data.size());
        if (!rec->data) return E_OUTOFMEMORY;
        std::memcpy(rec->data, event.data.data(), event.data.size());
    }
    *cookie = static_cast<uint32_t>(at);
    m_at = at + 1;
    *more = Find(m_at, typeMask) != m_events.size();
    return S_OK;
}

HRESULT EventStream::Consume(uint32_t cookie) {
    if (cookie >= m_events.size()) return E_INVALIDARG;
    m_events[cookie].consumed = true;
    return S_OK;
}

}  // namespace host
