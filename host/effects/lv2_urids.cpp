#include "host/effects/lv2_urids.h"

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/log/log.h>
#include <lv2/midi/midi.h>
#include <lv2/parameters/parameters.h>
#include <lv2/time/time.h>
#include <lv2/ui/ui.h>

namespace host {

Lv2Urids::Lv2Urids() {
    m_map.handle = m_unmap.handle = this;
    m_map.map = [](LV2_URID_Map_Handle handle, const char* uri) -> LV2_URID {
        try {
            return uri ? static_cast<Lv2Urids*>(handle)->Map(uri) : 0;
        } catch (...) {
            return 0;  // by the rules of the table: could not be mapped
        }
    };
    m_unmap.unmap = [](LV2_URID_Unmap_Handle handle, LV2_URID number) {
        return static_cast<Lv2Urids*>(handle)->Unmap(number);
    };
}

uint32_t Lv2Urids::Map(std::string_view uri) {
    const std::lock_guard lock(m_guard);
    if (const auto known = m_numbers.find(uri); known != m_numbers.end()) return known->second;
    m_uris.emplace_back(uri);
    return m_numbers.emplace(m_uris.back(), static_cast<uint32_t>(m_uris.size())).first->second;
}

const char* Lv2Urids::Unmap(uint32_t number) const {
    const std::lock_guard lock(m_guard);
    return number && number <= m_uris.size() ? m_uris[number - 1].c_str() : nullptr;
}

Lv2Urids& Urids() {
    static Lv2Urids& urids = *new Lv2Urids;  // plug-ins that outlive main may still ask
    return urids;
}

const Lv2Ids& Ids() {
    const auto make = [] {
        const auto id = [](const char* uri) { return Urids().Map(uri); };
        return Lv2Ids{.atomBlank = id(LV2_ATOM__Blank),
                      .atomBool = id(LV2_ATOM__Bool),
                      .atomChunk = id(LV2_ATOM__Chunk),
                      .atomDouble = id(LV2_ATOM__Double),
                      .atomEventTransfer = id(LV2_ATOM__eventTransfer),
                      .atomFloat = id(LV2_ATOM__Float),
                      .atomInt = id(LV2_ATOM__Int),
                      .atomLiteral = id(LV2_ATOM__Literal),
                      .atomLong = id(LV2_ATOM__Long),
                      .atomObject = id(LV2_ATOM__Object),
                      .atomPath = id(LV2_ATOM__Path),
                      .atomResource = id(LV2_ATOM__Resource),
                      .atomSequence = id(LV2_ATOM__Sequence),
                      .atomString = id(LV2_ATOM__String),
                      .atomTuple = id(LV2_ATOM__Tuple),
                      .atomUri = id(LV2_ATOM__URI),
                      .atomUrid = id(LV2_ATOM__URID),
                      .atomVector = id(LV2_ATOM__Vector),
                      .midiEvent = id(LV2_MIDI__MidiEvent),
                      .timePosition = id(LV2_TIME__Position),
                      .timeFrame = id(LV2_TIME__frame),
                      .timeSpeed = id(LV2_TIME__speed),
                      .timeBeat = id(LV2_TIME__beat),
                      .timeBeatsPerMinute = id(LV2_TIME__beatsPerMinute),
                      .timeBar = id(LV2_TIME__bar),
                      .timeBarBeat = id(LV2_TIME__barBeat),
                      .timeBeatsPerBar = id(LV2_TIME__beatsPerBar),
                      .timeBeatUnit = id(LV2_TIME__beatUnit),
                      .minBlockLength = id(LV2_BUF_SIZE__minBlockLength),
                      .maxBlockLength = id(LV2_BUF_SIZE__maxBlockLength),
                      .nominalBlockLength = id(LV2_BUF_SIZE__nominalBlockLength),
                      .sequenceSize = id(LV2_BUF_SIZE__sequenceSize),
                      .sampleRate = id(LV2_PARAMETERS__sampleRate),
                      .updateRate = id(LV2_UI__updateRate),
                      .logError = id(LV2_LOG__Error),
                      .logTrace = id(LV2_LOG__Trace)};
    };
    static const Lv2Ids ids = make();
    return ids;
}

}  // namespace host
