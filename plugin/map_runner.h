// A plug-in's control map, and what of the host's changes waits for it until the worker's next round. Under
// the plug-in's main lock, but Map.
#pragma once

#include "controlmap/control_map.h"

#include <chrono>

class MapRunner {
public:
    MapRunner() = default;
    ~MapRunner() {
        if (m_map) m_map->Release();
    }
    MapRunner(const MapRunner&) = delete;
    MapRunner& operator=(const MapRunner&) = delete;

    /// Takes the map over with the reference that it was made with.
    void Set(CControlMap* map) { m_map = map; }
    /// Null in a plug-in without one. [any-thread]
    CControlMap* Map() const { return m_map; }

    /// Channels came, went, moved, were hidden or shown.
    void LayoutChanged() { m_layoutStale = true; }
    void ValuesChanged() { m_valuesStale = true; }

    /// One round: what the surface asked for, then what it is to be told. Milliseconds until the next.
    uint32_t Run();

private:
    CControlMap* m_map = nullptr;
    bool m_layoutStale = false;
    bool m_valuesStale = false;
    std::chrono::steady_clock::time_point m_refreshed{};
};
