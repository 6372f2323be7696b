// Numbers for URIs, which LV2 plug-ins and their host exchange in place of the texts. One table for the whole
// process, so that a number means the same to an effect and to its interface.
#pragma once

#include <lv2/urid/urid.h>

#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

namespace host {

class Lv2Urids {
public:
    Lv2Urids();
    /// Never 0. Throws std::bad_alloc. [any-thread]
    uint32_t Map(std::string_view uri);
    /// Null for a number that was never given. The text stays. [any-thread]
    const char* Unmap(uint32_t number) const;

    LV2_URID_Map* MapFeature() { return &m_map; }
    LV2_URID_Unmap* UnmapFeature() { return &m_unmap; }

private:
    mutable std::mutex m_guard;
    std::deque<std::string> m_uris;  ///< texts stay where they are as it grows
    std::unordered_map<std::string_view, uint32_t> m_numbers;
    LV2_URID_Map m_map{};
    LV2_URID_Unmap m_unmap{};
};

/// The process's table. [any-thread]
Lv2Urids& Urids();

/// Numbers that the host itself writes and looks for.
struct Lv2Ids {
    uint32_t atomBlank, atomBool, atomChunk, atomDouble, atomEventTransfer, atomFloat, atomInt, atomLiteral,
        atomLong, atomObject, atomPath, atomResource, atomSequence, atomString, atomTuple, atomUri, atomUrid,
        atomVector;
    uint32_t midiEvent;
    uint32_t timePosition, timeFrame, timeSpeed, timeBeat, timeBeatsPerMinute, timeBar, timeBarBeat,
        timeBeatsPerBar, timeBeatUnit;
    uint32_t minBlockLength, maxBlockLength, nominalBlockLength, sequenceSize, sampleRate, updateRate;
    uint32_t logError, logTrace;
};
/// [any-thread]
const Lv2Ids& Ids();

}  // namespace host
