#include "host/midi/midi_message.h"

namespace host {
namespace {

constexpr uint8_t SYSEX = 0xF0, SYSEX_END = 0xF7, FIRST_REALTIME = 0xF8;
constexpr uint8_t CC_DATA_COARSE = 6, CC_DATA_FINE = 38, CC_NRPN_FINE = 98, CC_NRPN_COARSE = 99,
                  CC_RPN_FINE = 100, CC_RPN_COARSE = 101;
constexpr uint8_t NO_NUMBER = 127;

struct Kind {
    uint8_t status;
    uint32_t type;
    size_t bytes;
};
constexpr Kind KINDS[] = {{0x80, MPNOTE_OFF, 2},   {0x90, MPNOTE_ON, 2},   {0xA0, MPPOLY_AFTER, 2},
                          {0xB0, MPCNTRL_CHNG, 2}, {0xC0, MPPROG_CHNG, 1}, {0xD0, MPAFTER_TOUCH, 1},
                          {0xE0, MPPITCH_BEND, 2}};

const Kind* KindOf(uint8_t status) {
    for (const Kind& kind : KINDS)
        if (kind.status == (status & 0xF0)) return &kind;
    return nullptr;
}

/// Data bytes of a system common message.
size_t CommonBytes(uint8_t status) {
    if (status == 0xF2) return 2;
    return status == 0xF1 || status == 0xF3 ? 1 : 0;
}

}  // namespace

void MidiParser::Parse(std::span<const uint8_t> bytes, const Sink& sink) {
    for (const uint8_t byte : bytes) {
        if (byte >= FIRST_REALTIME) continue;
        if (m_inSysex) {
            const bool ends = byte == SYSEX_END;
            if (ends || byte < 0x80) {
                if (m_sysex.size() < kMaxSysexBytes)
                    m_sysex.push_back(byte);
                else
                    m_tooLong = true;
                if (!ends) continue;
                m_inSysex = false;
                MidiEvent event;
                event.rec.type = MPSYS_EX1;
                event.rec.dataSize = static_cast<uint32_t>(m_sysex.size());
                event.data = std::move(m_sysex);
                m_sysex = {};
                if (!m_tooLong) sink(std::move(event));
                continue;
            }
            m_inSysex = false;  // broken off by another message
        }
        if (byte == SYSEX) {
            m_inSysex = true;
            m_tooLong = false;
            m_status = 0;
            m_sysex.assign(1, byte);
        } else if (byte >= 0xF0) {
            m_status = 0;
            m_wanted = CommonBytes(byte);  // its bytes are passed over
            m_count = 0;
        } else if (byte >= 0x80) {
            m_status = byte;
            m_wanted = KindOf(byte)->bytes;
            m_count = 0;
        } else if (m_status) {
            m_data[m_count++] = byte;
            if (m_count < m_wanted) continue;
            m_count = 0;
            OnMessage(sink);
        }
    }
}

void MidiParser::OnMessage(const Sink& sink) {
    const Kind& kind = *KindOf(m_status);
    if (kind.type == MPCNTRL_CHNG) return OnController(m_status & 15, sink);
    MidiEvent event;
    event.rec.type = kind.type;
    event.rec.channel = m_status & 15;
    event.rec.byte1 = m_data[0];
    event.rec.byte2 = kind.bytes == 2 ? m_data[1] : 0;
    if (kind.type == MPNOTE_ON && m_data[1] == 0) event.rec.type = MPNOTE_OFF;
    // Pressure of a channel has its value where controllers have theirs.
    if (kind.type == MPAFTER_TOUCH) std::swap(event.rec.byte1, event.rec.byte2);
    sink(std::move(event));
}

void MidiParser::OnController(uint8_t channel, const Sink& sink) {
    const uint8_t number = m_data[0], value = m_data[1];
    Parameter& parameter = m_parameters[channel];
    const auto choose = [&](uint32_t type, size_t part) {
        if (parameter.type != type) parameter = {type, {NO_NUMBER, NO_NUMBER}, 0};
        parameter.number[part] = value;
        parameter.coarse = 0;
    };
    MidiEvent event;
    event.rec.channel = channel;
    const bool chosen =
        parameter.type != MPNULL && !(parameter.number[0] == NO_NUMBER && parameter.number[1] == NO_NUMBER);
    if (chosen && (number == CC_DATA_COARSE || number == CC_DATA_FINE)) {
        if (number == CC_DATA_COARSE) parameter.coarse = value;
        event.rec.type = parameter.type;
        event.rec.byte1 = parameter.number[0];
        event.rec.byte2 = parameter.number[1];
        event.rec.byte3 = parameter.coarse;
        event.rec.byte4 = number == CC_DATA_FINE ? value : 0;
        return sink(std::move(event));
    }
    switch (number) {
    case CC_NRPN_COARSE: choose(MPNRPN, 0); break;
    case CC_NRPN_FINE: choose(MPNRPN, 1); break;
    case CC_RPN_COARSE: choose(MPRPN, 0); break;
    case CC_RPN_FINE: choose(MPRPN, 1); break;
    default: break;
    }
    event.rec.type = MPCNTRL_CHNG;
    event.rec.byte1 = number;
    event.rec.byte2 = value;
    sink(std::move(event));
}

std::vector<uint8_t> MidiBytes(const MPEVENTREC& event) {
    const auto channel = static_cast<uint8_t>(event.channel > 15 ? 0 : event.channel);
    const auto data = [](uint8_t byte) { return static_cast<uint8_t>(byte & 127); };
    if (event.type == MPSYS_EX1) {
        const auto* bytes = static_cast<const uint8_t*>(event.data);
        if (!bytes || event.dataSize < 2 || event.dataSize > kMaxSysexBytes || bytes[0] != SYSEX ||
            bytes[event.dataSize - 1] != SYSEX_END)
            return {};
        for (uint32_t i = 1; i + 1 < event.dataSize; i++)
            if (bytes[i] > 127) return {};
        return {bytes, bytes + event.dataSize};
    }
    if (event.type == MPNRPN || event.type == MPRPN) {
        const auto status = static_cast<uint8_t>(0xB0 | channel);
        const bool registered = event.type == MPRPN;
        return {status,
                registered ? CC_RPN_COARSE : CC_NRPN_COARSE,
                data(event.byte1),
                status,
                registered ? CC_RPN_FINE : CC_NRPN_FINE,
                data(event.byte2),
                status,
                CC_DATA_COARSE,
                data(event.byte3),
                status,
                CC_DATA_FINE,
                data(event.byte4)};
    }
    for (const Kind& kind : KINDS) {
        if (kind.type != event.type) continue;
        const auto status = static_cast<uint8_t>(kind.status | channel);
        if (kind.type == MPAFTER_TOUCH) return {status, data(event.byte2)};
        if (kind.bytes == 1) return {status, data(event.byte1)};
        return {status, data(event.byte1), data(event.byte2)};
    }
    return {};
}

}  // namespace host
