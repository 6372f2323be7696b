#include "surface/surface_texts.h"

#include "kernel/print/print_text.h"
#include "plugin/module_state.h"

using namespace tarn;

namespace {
struct EventRow {
    uint32_t type;
    SurfaceTextId text, cell;
    /// The number of the control, and its value; no number where the channel is the control.
    int32_t (*number)(const MPEVENTREC&);
    int32_t (*value)(const MPEVENTREC&);
};
int32_t First(const MPEVENTREC& e) { return e.byte1; }
int32_t Second(const MPEVENTREC& e) { return e.byte2; }
int32_t FirstTwo(const MPEVENTREC& e) { return e.byte1 * 128 + e.byte2; }
int32_t LastTwo(const MPEVENTREC& e) { return e.byte3 * 128 + e.byte4; }
int32_t Bend(const MPEVENTREC& e) { return e.byte2 * 128 + e.byte1 - 8192; }

constexpr EventRow EVENTS[] = {
    {MPCNTRL_CHNG, IDS_CONTROLLER, IDS_CELL_CONTROLLER, First, Second},
    {MPNOTE_ON, IDS_NOTE_ON, IDS_CELL_NOTE, First, Second},
    {MPNOTE_OFF, IDS_NOTE_OFF, IDS_CELL_NOTE, First, Second},
    {MPPITCH_BEND, IDS_BEND, IDS_CELL_BEND, nullptr, Bend},
    {MPAFTER_TOUCH, IDS_PRESSURE, IDS_CELL_PRESSURE, nullptr, Second},
    {MPNRPN, IDS_NRPN, IDS_CELL_NRPN, FirstTwo, LastTwo},
    {MPRPN, IDS_RPN, IDS_CELL_RPN, FirstTwo, LastTwo},
};
const EventRow* RowOf(uint32_t type) {
    for (const EventRow& row : EVENTS)
        if (row.type == type) return &row;
    return nullptr;
}
/// People count channels from 1.
int32_t ChannelNumber(const MPEVENTREC& event) {
    return event.channel == MIDI_CHANNEL_ANY ? 0 : static_cast<int32_t>(event.channel) + 1;
}
}  // namespace

const char16_t* SurfaceText(SurfaceTextId id) { return QmGetString(ThisModule().texts, QmTextId(id)); }

std::u16string EventText(const MPEVENTREC& event) {
    const EventRow* row = RowOf(event.type);
    const int32_t channel = ChannelNumber(event);
    if (!row) return PrintText(SurfaceText(IDS_OTHER_EVENT), channel);
    if (!row->number) return PrintText(SurfaceText(row->text), channel, row->value(event));
    return PrintText(SurfaceText(row->text), row->number(event), channel, row->value(event));
}

std::u16string ControlText(const MPEVENTREC& event) {
    const EventRow* row = RowOf(event.type);
    if (!row) return SurfaceText(IDS_CELL_OTHER);
    return PrintText(SurfaceText(row->cell), row->number ? row->number(event) : ChannelNumber(event));
}

std::u16string StripText(int32_t channel) {
    if (channel == STRIP_MASTER) return SurfaceText(IDS_MASTER);
    return PrintText(SurfaceText(IDS_STRIP), channel + 1);
}
