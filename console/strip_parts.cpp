// The rows of a strip's parts, and what they are to screen readers.
#include "console/mixer_view.h"
#include "console/strip.h"
#include "console/texts.h"
#include "kernel/ui/ui_colors.h"
#include "platform/ui/window.h"

#include <algorithm>
#include <cmath>

namespace {

using Role = AccessibleNode::Role;

template <RECT StripRects::*Rect>
RECT Area(const Strip& strip, uint32_t) {
    return strip.Rects().*Rect;
}
template <uint32_t Element>
RECT ControlArea(const Strip& strip, uint32_t index) {
    const StripControl* control = strip.Control(Element + index);
    return control ? control->Area() : RECT{};
}
template <uint32_t Element>
RECT ThumbArea(const Strip& strip, uint32_t index) {
    const StripControl* control = strip.Control(Element + index);
    return control ? control->ThumbArea() : RECT{};
}
template <uint32_t Element>
RECT ScrollArea(const Strip& strip, uint32_t) {
    return strip.RowsOf(Element).column;
}
template <StripRegion Region>
RECT BottomEdge(const Strip& strip, uint32_t) {
    const RECT& region = strip.Rects().Region(Region);
    return region.IsEmpty() ? RECT{} : RECT{region.left, region.bottom - 2, region.right, region.bottom + 2};
}
template <StripRegion Region>
RECT RegionArea(const Strip& strip, uint32_t) {
    return strip.Rects().Region(Region);
}
RECT EdgeArea(const Strip& strip, uint32_t) {
    const RECT& rect = strip.Rects().strip;
    return {rect.right - 2, rect.top, rect.right + 2, rect.bottom};
}
RECT InsertArea(const Strip& strip, uint32_t index) {
    const StripRects& rects = strip.Rects();
    const auto row = static_cast<int>(index) - rects.insertRows.first;
    return row >= 0 && row < rects.insertRows.count ? rects.inserts[row] : RECT{};
}
RECT OutputArea(const Strip& strip, uint32_t index) { return strip.Rects().outputs[index]; }
RECT SendArea(const Strip& strip, uint32_t index) { return strip.Rects().sends[index].target; }
RECT PrePostArea(const Strip& strip, uint32_t index) { return strip.Rects().sends[index].prePost; }
RECT PrePostBelowArea(const Strip& strip, uint32_t index) { return PrePostArea(strip, index + 1); }
/// Two parts at one value share one number.
RECT ValueArea(const Strip& strip, uint32_t index) {
    const RECT(&value)[2] = strip.Rects().value;
    if (strip.HasTwoValues() || value[1].IsEmpty()) return value[index];
    return index == 0 ? RECT{value[0].left, value[0].top, value[1].right, value[0].bottom} : RECT{};
}
RECT MeterArea(const Strip& strip, uint32_t) { return strip.Rects().meter[0]; }

// Tips.
std::u16string NameTip(const Strip&, const StripPart& part, uint32_t) { return ConsoleText(part.name); }
std::u16string ChannelTip(const Strip& strip, const StripPart&, uint32_t) {
    const char16_t* name = strip.Entry().Name();
    return name[0] ? name : ConsoleText(IDS_TRACK_NAME);
}
std::u16string WithValue(const std::u16string& name, const std::u16string& value) {
    return value.empty() ? name : name + u": " + value;
}
std::u16string ValueTip(const Strip& strip, const StripPart& part, uint32_t index) {
    return WithValue(ConsoleText(part.name), part.value(strip, index));
}
std::u16string ControlTip(const Strip& strip, const StripPart& part, uint32_t index) {
    const StripControl* control = strip.Control(part.element + index);
    return control ? WithValue(ConsoleText(part.name), control->ValueText()) : std::u16string();
}
std::u16string OutputTip(const Strip& strip, const StripPart& part, uint32_t index) {
    constexpr const char16_t* SIDES[] = {u"", u"Rear ", u"C/LFE "};
    return SIDES[index] + ValueTip(strip, part, index);
}
std::u16string ChainTip(const Strip& strip, const StripPart&, uint32_t) {
    return ConsoleText(strip.Has(SWITCH_STRIP_10000) ? IDS_CHAIN_BYPASSED : IDS_CHAIN);
}
std::u16string LockTip(const Strip& strip, const StripPart&, uint32_t) {
    return ConsoleText(strip.IsLocked() ? IDS_UNLOCK_PAIR : IDS_LOCK_PAIR);
}

// What buttons show.
std::u16string InputText(const Strip& strip, uint32_t) {
    return strip.Input().target ? strip.Input().name : ConsoleText(IDS_NO_INPUT);
}
std::u16string OutputText(const Strip& strip, uint32_t) {
    return strip.Output().target ? strip.Output().name : ConsoleText(IDS_NO_OUTPUT);
}
std::u16string MidiChannelText(const Strip& strip, uint32_t) {
    const int32_t channel = strip.Input().index;
    return channel ? std::u16string(1, static_cast<char16_t>(channel > 9 ? u'1' : u'0' + channel)) +
                         (channel > 9 ? std::u16string(1, static_cast<char16_t>(u'0' + channel - 10)) : u"")
                   : ConsoleText(IDS_ALL_MIDI_CHANNELS);
}
std::u16string AutomationText(const Strip& strip, uint32_t) {
    constexpr struct {
        uint32_t mode;
        ConsoleTextId text;
    } MODES[] = {{AUTOMATION_WRITE, IDS_AUTOMATION_WRITE},
                 {AUTOMATION_LATCH, IDS_AUTOMATION_LATCH},
                 {AUTOMATION_TOUCH_MODE, IDS_AUTOMATION_TOUCH},
                 {AUTOMATION_READ, IDS_AUTOMATION_READ}};
    for (const auto& row : MODES)
        if (strip.AutomationModes() & row.mode) return ConsoleText(row.text);
    return ConsoleText(IDS_AUTOMATION_OFF);
}
std::u16string InsertText(const Strip& strip, uint32_t index) { return strip.InsertText(index); }
std::u16string SendText(const Strip& strip, uint32_t index) {
    const size_t send = strip.SendOf(index);
    return send < strip.Sends().size() ? strip.Sends()[send].name : ConsoleText(IDS_ADD_SEND);
}
std::u16string PrePostText(const Strip& strip, uint32_t index) {
    const size_t send = strip.SendOf(index);
    const bool pre = send < strip.Sends().size() && strip.Sends()[send].switches & SENDSWITCH_PRE;
    return ConsoleText(pre ? IDS_PRE : IDS_POST);
}
std::u16string PrePostBelowText(const Strip& strip, uint32_t index) { return PrePostText(strip, index + 1); }

// Painters.
void PaintSwitch(Strip& strip, QPainter& painter, const StripPart& part, uint32_t, const StripLook& look) {
    strip.PaintSwitch(painter, part, part.area(strip, 0), strip.Has(part.bit), look.pressed == part.element);
}
void PaintChain(Strip& strip, QPainter& painter, const StripPart& part, uint32_t, const StripLook& look) {
    const bool on = !strip.Inserts().empty() && !strip.Has(SWITCH_STRIP_10000);
    strip.PaintSwitch(painter, part, part.area(strip, 0), on, look.pressed == part.element);
}
void PaintLock(Strip& strip, QPainter& painter, const StripPart& part, uint32_t, const StripLook& look) {
    strip.PaintSwitch(painter, part, part.area(strip, 0), strip.IsLocked(), look.pressed == part.element);
}
void PaintButton(Strip& strip, QPainter& painter, const StripPart& part, uint32_t index,
                 const StripLook& look) {
    strip.PaintButton(painter, part.area(strip, index), part.value(strip, index),
                      look.pressed == part.element + index, false);
}
template <uint32_t Element>
void PaintControl(Strip& strip, QPainter& painter, const StripPart&, uint32_t index, const StripLook&) {
    if (StripControl* control = strip.Control(Element + index)) control->Draw(painter);
}
void PaintMeter(Strip& strip, QPainter& painter, const StripPart& part, uint32_t, const StripLook&) {
    strip.Meters().Draw(painter, part.element);
}
void PaintValue(Strip& strip, QPainter& painter, const StripPart&, uint32_t index, const StripLook& look) {
    strip.PaintValue(painter, ValueArea(strip, index), index, look.offBySolo);
}
void PaintNamePlate(Strip& strip, QPainter& painter, const StripPart&, uint32_t, const StripLook& look) {
    strip.PaintNamePlate(painter, look.focused);
}
void PaintTitle(Strip& strip, QPainter& painter, const StripPart&, uint32_t, const StripLook&) {
    strip.PaintTitle(painter);
}
void PaintInsert(Strip& strip, QPainter& painter, const StripPart& part, uint32_t index,
                 const StripLook& look) {
    strip.PaintInsert(painter, index, look.pressed == part.element + index);
}
void PaintScroll(Strip& strip, QPainter& painter, const StripPart& part, uint32_t, const StripLook&) {
    Strip::PaintScroll(painter, strip.RowsOf(part.element));
}
void PaintSend(Strip& strip, QPainter& painter, const StripPart& part, uint32_t index,
               const StripLook& look) {
    strip.PaintSend(painter, index, look.pressed == part.element + index);
}

constexpr StripPart PARTS[] = {
    {.element = ELEMENT_EDGE, .area = EdgeArea, .action = PartAction::Width},
    {.element = ELEMENT_INSERTS_EDGE, .area = BottomEdge<StripRegion::Inserts>, .action = PartAction::Resize},
    {.element = ELEMENT_SENDS_EDGE, .area = BottomEdge<StripRegion::Sends>, .action = PartAction::Resize},
    {.element = ELEMENT_VU_EDGE, .area = BottomEdge<StripRegion::Vu>, .action = PartAction::Resize},
    {.element = ELEMENT_PEAKS_EDGE, .area = BottomEdge<StripRegion::Peaks>, .action = PartAction::Resize},
    {.element = ELEMENT_INSERT_SCROLL,
     .area = ScrollArea<ELEMENT_INSERT_SCROLL>,
     .paint = PaintScroll,
     .action = PartAction::Scroll},
    {.element = ELEMENT_INSERT,
     .count = INSERT_ROWS,
     .area = InsertArea,
     .paint = PaintInsert,
     .tip = ValueTip,
     .action = PartAction::Insert,
     .role = Role::Button,
     .name = IDS_INSERT,
     .value = InsertText,
     .identifier = "insert"},
    {.element = ELEMENT_SEND,
     .count = SEND_ROWS,
     .area = SendArea,
     .paint = PaintSend,
     .tip = ValueTip,
     .action = PartAction::Menu,
     .role = Role::Button,
     .name = IDS_SEND,
     .value = SendText,
     .identifier = "send"},
    {.element = ELEMENT_SEND_SCROLL,
     .area = ScrollArea<ELEMENT_SEND_SCROLL>,
     .paint = PaintScroll,
     .action = PartAction::Scroll},
    {.element = ELEMENT_SEND_PAN,
     .count = SEND_ROWS,
     .area = ControlArea<ELEMENT_SEND_PAN>,
     .paint = PaintControl<ELEMENT_SEND_PAN>,
     .tip = ControlTip,
     .action = PartAction::Control,
     .role = Role::Slider,
     .name = IDS_SEND_PAN},
    {.element = ELEMENT_SEND_LEVEL,
     .count = SEND_ROWS,
     .area = ControlArea<ELEMENT_SEND_LEVEL>,
     .paint = PaintControl<ELEMENT_SEND_LEVEL>,
     .tip = ControlTip,
     .action = PartAction::Control,
     .role = Role::Slider,
     .name = IDS_SEND_LEVEL,
     .identifier = "send-level"},
    {.element = ELEMENT_SEND_PREPOST,
     .area = PrePostArea,
     .paint = PaintButton,
     .tip = ValueTip,
     .action = PartAction::Push,
     .role = Role::Button,
     .name = IDS_SEND_PLACE,
     .value = PrePostText,
     .identifier = "send-place"},
    {.element = ELEMENT_SEND_PREPOST_BELOW,
     .count = SEND_ROWS - 1,
     .area = PrePostBelowArea,
     .paint = PaintButton,
     .tip = ValueTip,
     .action = PartAction::Push,
     .role = Role::Button,
     .name = IDS_SEND_PLACE,
     .value = PrePostBelowText,
     .identifier = "send-place-below"},
    {.element = ELEMENT_ADD_SEND,
     .area = Area<&StripRects::addSend>,
     .paint = PaintButton,
     .tip = NameTip,
     .action = PartAction::Menu,
     .role = Role::Button,
     .name = IDS_ADD_SEND,
     .value = [](const Strip&, uint32_t) -> std::u16string { return u"+"; },
     .identifier = "add-send"},
    {.element = ELEMENT_MIDI_CHANNEL,
     .area = Area<&StripRects::midiChannel>,
     .paint = PaintButton,
     .tip = ValueTip,
     .action = PartAction::Menu,
     .role = Role::Button,
     .name = IDS_MIDI_CHANNEL,
     .value = MidiChannelText,
     .identifier = "midi-channel"},
    {.element = ELEMENT_INPUT,
     .area = Area<&StripRects::input>,
     .paint = PaintButton,
     .tip = ValueTip,
     .action = PartAction::Menu,
     .role = Role::Button,
     .name = IDS_INPUT,
     .value = InputText,
     .identifier = "input"},
    {.element = ELEMENT_OUTPUT,
     .count = 3,
     .area = OutputArea,
     .paint = PaintButton,
     .tip = OutputTip,
     .action = PartAction::Menu,
     .role = Role::Button,
     .name = IDS_OUTPUT,
     .value = OutputText,
     .identifier = "output"},
    {.element = ELEMENT_SCOPE,
     .area = Area<&StripRects::scope>,
     .paint = PaintMeter,
     .action = PartAction::Meter,
     .role = Role::Picture,
     .name = IDS_REGION_SCOPE},
    {.element = ELEMENT_VU,
     .area = Area<&StripRects::vu>,
     .paint = PaintMeter,
     .action = PartAction::Meter,
     .role = Role::Meter,
     .name = IDS_REGION_VU},
    {.element = ELEMENT_PEAK,
     .area = Area<&StripRects::peak>,
     .paint = PaintMeter,
     .action = PartAction::Meter,
     .role = Role::Meter,
     .name = IDS_LEVEL},
    {.element = ELEMENT_AUTOMATION,
     .area = Area<&StripRects::automation>,
     .paint = PaintButton,
     .tip = ValueTip,
     .action = PartAction::Menu,
     .role = Role::Button,
     .name = IDS_AUTOMATION,
     .value = AutomationText,
     .identifier = "automation"},
    {.element = ELEMENT_PAN,
     .area = ControlArea<ELEMENT_PAN>,
     .paint = PaintControl<ELEMENT_PAN>,
     .tip = ControlTip,
     .action = PartAction::Control,
     .role = Role::Slider,
     .name = IDS_PAN,
     .identifier = "pan"},
    {.element = ELEMENT_SURROUND_PAN,
     .area = ControlArea<ELEMENT_SURROUND_PAN>,
     .paint = PaintControl<ELEMENT_SURROUND_PAN>,
     .tip = ControlTip,
     .action = PartAction::Control,
     .role = Role::Slider,
     .name = IDS_SURROUND_PAN,
     .identifier = "surround-pan"},
    {.element = ELEMENT_FADER,
     .area = ControlArea<ELEMENT_FADER>,
     .paint = PaintControl<ELEMENT_FADER>,
     .tip = ControlTip,
     .action = PartAction::Control,
     .role = Role::Slider,
     .name = IDS_FADER,
     .identifier = "fader"},
    {.area = ThumbArea<ELEMENT_FADER>, .role = Role::Thumb, .parent = ELEMENT_FADER, .name = IDS_THUMB},
    {.area = ThumbArea<ELEMENT_PAN>, .role = Role::Thumb, .parent = ELEMENT_PAN, .name = IDS_THUMB},
    {.area = ThumbArea<ELEMENT_SURROUND_PAN>,
     .role = Role::Thumb,
     .parent = ELEMENT_SURROUND_PAN,
     .name = IDS_THUMB},
    {.area = ThumbArea<ELEMENT_SEND_LEVEL>,
     .role = Role::Thumb,
     .parent = ELEMENT_SEND_LEVEL,
     .name = IDS_THUMB},
    {.area = ThumbArea<ELEMENT_SEND_PAN>, .role = Role::Thumb, .parent = ELEMENT_SEND_PAN, .name = IDS_THUMB},
    {.area = ThumbArea<ELEMENT_REAR_FADER>,
     .role = Role::Thumb,
     .parent = ELEMENT_REAR_FADER,
     .name = IDS_THUMB},
    {.area = ThumbArea<ELEMENT_CENTER_FADER>,
     .role = Role::Thumb,
     .parent = ELEMENT_CENTER_FADER,
     .name = IDS_THUMB},
    {.area = ThumbArea<ELEMENT_LFE_FADER>,
     .role = Role::Thumb,
     .parent = ELEMENT_LFE_FADER,
     .name = IDS_THUMB},
    {.element = ELEMENT_REAR_FADER,
     .area = ControlArea<ELEMENT_REAR_FADER>,
     .paint = PaintControl<ELEMENT_REAR_FADER>,
     .tip = ControlTip,
     .action = PartAction::Control,
     .role = Role::Slider,
     .name = IDS_REAR_FADER},
    {.element = ELEMENT_CENTER_FADER,
     .area = ControlArea<ELEMENT_CENTER_FADER>,
     .paint = PaintControl<ELEMENT_CENTER_FADER>,
     .tip = ControlTip,
     .action = PartAction::Control,
     .role = Role::Slider,
     .name = IDS_CENTER_FADER},
    {.element = ELEMENT_LFE_FADER,
     .area = ControlArea<ELEMENT_LFE_FADER>,
     .paint = PaintControl<ELEMENT_LFE_FADER>,
     .tip = ControlTip,
     .action = PartAction::Control,
     .role = Role::Slider,
     .name = IDS_LFE_FADER},
    {.element = ELEMENT_METER,
     .area = MeterArea,
     .paint = PaintMeter,
     .action = PartAction::Meter,
     .role = Role::Meter,
     .name = IDS_LEVEL},
    {.element = ELEMENT_MUTE,
     .area = Area<&StripRects::mute>,
     .paint = PaintSwitch,
     .tip = NameTip,
     .action = PartAction::Toggle,
     .role = Role::Switch,
     .name = IDS_MUTE,
     .key = 'Z',
     .bit = SWITCH_MUTE,
     .letter = u"M",
     .identifier = "mute",
     .litColour = UICOLOR_METER_HIGH},
    {.element = ELEMENT_SOLO,
     .area = Area<&StripRects::solo>,
     .paint = PaintSwitch,
     .tip = NameTip,
     .action = PartAction::Toggle,
     .role = Role::Switch,
     .name = IDS_SOLO,
     .key = 'X',
     .bit = SWITCH_SOLO,
     .letter = u"S",
     .identifier = "solo",
     .litColour = UICOLOR_METER_MID},
    {.element = ELEMENT_CHAIN,
     .area = Area<&StripRects::chain>,
     .paint = PaintChain,
     .tip = ChainTip,
     .action = PartAction::Toggle,
     .role = Role::Switch,
     .name = IDS_CHAIN_BYPASS,
     .bit = SWITCH_STRIP_10000,
     .letter = u"fx",
     .identifier = "chain",
     .litColour = UICOLOR_METER_LOW},
    {.element = ELEMENT_PHASE,
     .area = Area<&StripRects::phase>,
     .paint = PaintSwitch,
     .tip = NameTip,
     .action = PartAction::Toggle,
     .role = Role::Switch,
     .name = IDS_PHASE,
     .bit = SWITCH_PHASE,
     .letter = u"\u00D8",
     .identifier = "phase",
     .litColour = COLOR_HIGHLIGHT},
    {.element = ELEMENT_SOLO_SAFE,
     .area = Area<&StripRects::soloSafe>,
     .paint = PaintSwitch,
     .tip = NameTip,
     .action = PartAction::Toggle,
     .role = Role::Switch,
     .name = IDS_SOLO_SAFE,
     .bit = SWITCH_STRIP_80,
     .letter = u"SS",
     .identifier = "solo-safe",
     .litColour = UICOLOR_METER_MID},
    {.element = ELEMENT_ARM,
     .area = Area<&StripRects::arm>,
     .paint = PaintSwitch,
     .tip = NameTip,
     .action = PartAction::Toggle,
     .role = Role::Switch,
     .name = IDS_ARM,
     .bit = SWITCH_ARM,
     .letter = u"\u25CF",
     .identifier = "arm",
     .litColour = UICOLOR_METER_HIGH},
    {.element = ELEMENT_MONITOR,
     .area = Area<&StripRects::monitor>,
     .paint = PaintSwitch,
     .tip = NameTip,
     .action = PartAction::Toggle,
     .role = Role::Switch,
     .name = IDS_MONITOR,
     .bit = SWITCH_MONITOR,
     .letter = u"I",
     .identifier = "monitor",
     .litColour = UICOLOR_METER_LOW},
    {.element = ELEMENT_LOCK,
     .area = Area<&StripRects::lock>,
     .paint = PaintLock,
     .tip = LockTip,
     .action = PartAction::Push,
     .role = Role::Switch,
     .name = IDS_LOCK_PAIR,
     .letter = u"=",
     .identifier = "lock",
     .litColour = UICOLOR_TICK},
    {.element = ELEMENT_VALUE,
     .count = 2,
     .area = ValueArea,
     .paint = PaintValue,
     .tip = NameTip,
     .action = PartAction::Select,
     .name = IDS_FADER},
    {.element = ELEMENT_NAME,
     .area = Area<&StripRects::namePlate>,
     .paint = PaintNamePlate,
     .tip = ChannelTip,
     .action = PartAction::Name},
    {.element = ELEMENT_TITLE,
     .area = Area<&StripRects::title>,
     .paint = PaintTitle,
     .action = PartAction::Name},
    {.element = ELEMENT_REST, .area = RegionArea<StripRegion::Faders>, .action = PartAction::Select},
    {.element = ELEMENT_STRIP, .area = Area<&StripRects::strip>, .action = PartAction::Select},
};

class PartNode final : public AccessibleNode {
public:
    PartNode(Strip& strip, const StripPart& part, uint32_t index, AccessibleNode& parent, int place)
        : m_strip(strip), m_part(part), m_index(index), m_parent(parent), m_place(place) {
        for (const StripPart& below : PARTS)
            if (below.parent != ELEMENT_NONE && below.parent == part.element)
                m_below.push_back(
                    std::make_unique<PartNode>(strip, below, index, *this, static_cast<int>(m_below.size())));
    }

    uint32_t Element() const { return m_part.element + m_index; }

    AccessibleNode* Parent() const override { return &m_parent; }
    int Place() const override { return m_place; }
    int ChildCount() const override { return static_cast<int>(m_below.size()); }
    AccessibleNode* Child(int index) override { return m_below[static_cast<size_t>(index)].get(); }
    Role TheRole() const override { return m_part.role; }
    std::u16string Name() const override {
        std::u16string name = ConsoleText(m_part.name);
        if (m_part.count == 1 || m_part.element == ELEMENT_OUTPUT) return name;
        const uint32_t number = Number();
        return name + u' ' +
               (number > 9 ? std::u16string(1, static_cast<char16_t>(u'0' + number / 10)) : u"") +
               static_cast<char16_t>(u'0' + number % 10);
    }
    std::u16string Description() const override {
        return m_part.value ? m_part.value(m_strip, m_index) : std::u16string();
    }
    std::string Identifier() const override {
        const std::string word = m_part.identifier;
        return m_part.count == 1 || word.empty() ? word : word + std::to_string(Number());
    }
    RECT Area() const override { return m_part.area(m_strip, m_index); }
    bool IsOn() const override {
        return m_part.element == ELEMENT_LOCK ? m_strip.IsLocked() : m_strip.Has(m_part.bit);
    }
    Range Value() const override {
        const StripControl* control = m_strip.Control(Element());
        if (m_part.role != Role::Slider || !control)
            return {m_strip.Meters().LoudestDb(m_part.element), METER_SILENCE_DB, 0};
        const StripParameter& p = control->Parameter();
        const double unit = Unit();
        return {control->Positions()[0] / unit, p.Least() / unit, p.Most() / unit};
    }
    std::u16string TextOfValue() const override {
        if (m_part.role == Role::Button) return Description();
        const StripControl* control = m_strip.Control(Element());
        if (m_part.role != Role::Slider || !control) return {};
        const bool decibels = control->Parameter().scale == StripParameter::Scale::Gain;
        const std::u16string text =
            m_part.element == ELEMENT_FADER ? m_strip.ValueText(false) : control->ValueText();
        return text + (decibels ? u" dB" : u"");
    }
    void SetValue(double value) override {
        if (m_part.role == Role::Slider)
            m_strip.View().MoveControl(m_strip, Element(), static_cast<int32_t>(std::lround(value * Unit())));
    }
    void Press() override { m_strip.View().PressElement(m_strip, Element()); }
    char Key() const override { return m_part.key; }

private:
    /// Of an effect or a send among the channel's, from 1.
    uint32_t Number() const {
        const bool below = m_part.element == ELEMENT_SEND_PREPOST_BELOW;
        const size_t first = IsOfSend(m_part.element) ? m_strip.SendOf(below) : 0;
        return static_cast<uint32_t>(first) + m_index + 1;
    }
    /// Positions in one of what a person reads: decibels, hundredths.
    double Unit() const {
        const StripControl* control = m_strip.Control(Element());
        if (!control) return 1;
        switch (control->Parameter().scale) {
        case StripParameter::Scale::Gain: return 10;
        case StripParameter::Scale::Place: return 100;
        default: return 1;
        }
    }

    Strip& m_strip;
    const StripPart& m_part;
    uint32_t m_index;
    AccessibleNode& m_parent;
    int m_place;
    std::vector<std::unique_ptr<PartNode>> m_below;
};

}  // namespace

std::span<const StripPart> StripParts() { return PARTS; }

const StripPart* PartOfElement(uint32_t element) {
    const auto* part =
        std::ranges::find_if(PARTS, [element](const StripPart& p) { return p.Covers(element); });
    return part == std::end(PARTS) ? nullptr : part;
}

const StripPart* PartOfKey(uint32_t key) {
    const auto* part = std::ranges::find_if(
        PARTS, [key](const StripPart& p) { return p.key && static_cast<uint32_t>(p.key) == key; });
    return part == std::end(PARTS) ? nullptr : part;
}

RECT AreaOfElement(const Strip& strip, uint32_t element) {
    const StripPart* part = PartOfElement(element);
    return part ? part->area(strip, element - part->element) : RECT{};
}

Strip::PartNodes& Strip::Nodes() const {
    auto& strip = const_cast<Strip&>(*this);
    strip.Prepare();
    if (m_nodes.empty())
        for (const StripPart& part : PARTS) {
            if (part.role == Role::None || part.parent != ELEMENT_NONE) continue;
            for (uint32_t i = 0; i < part.count; i++)
                if (!part.area(*this, i).IsEmpty())
                    m_nodes.push_back(
                        std::make_unique<PartNode>(strip, part, i, strip, static_cast<int>(m_nodes.size())));
        }
    return m_nodes;
}

AccessibleNode* Strip::NodeOf(uint32_t element) {
    for (const auto& node : Nodes())
        if (static_cast<PartNode&>(*node).Element() == element) return node.get();
    return nullptr;
}

void Strip::TellChange(uint32_t element) const {
    for (const auto& node : m_nodes)
        if (static_cast<PartNode&>(*node).Element() == element)
            ::TellChange(m_site.view.ThePageWindow(), *node);
}

std::vector<uint32_t> Strip::KeyElements() {
    std::vector<uint32_t> elements;
    for (const auto& node : Nodes())
        if (node->TheRole() != Role::Meter && node->TheRole() != Role::Picture)
            elements.push_back(static_cast<PartNode&>(*node).Element());
    std::ranges::stable_sort(elements, {}, [this](uint32_t element) {
        const RECT area = AreaOfElement(*this, element);
        return std::pair(area.top, area.left);
    });
    return elements;
}
