#include "plugin/map_runner.h"

#include <utility>

uint32_t MapRunner::Run() {
    if (std::exchange(m_layoutStale, false)) m_map->LayoutBank(m_map->BankOffset());
    const uint32_t wait = m_map->Idle(false);
    if (!m_valuesStale) return wait;
    // A fader that is drawn on the screen changes more often than a cable of MIDI can tell.
    const auto now = std::chrono::steady_clock::now();
    if (now - m_refreshed < std::chrono::milliseconds(IDLE_BUSY)) return IDLE_BUSY;
    m_refreshed = now;
    m_valuesStale = false;
    m_map->RefreshStrips(false);
    return wait;
}
