// The rows of a strip's parts, and what they are to screen readers.
#include "console/strip.h"
#include "console/texts.h"
#include "kernel/ui/ui_colors.h"

#include <algorithm>

namespace {

using Role = AccessibleNode::Role;

template <RECT StripRects::*Rect>
RECT Area(const Strip& strip) {
    return strip.Rects().*Rect;
}
RECT ThumbArea(const Strip& strip) {
    return strip.Rects().fader.IsEmpty() ? RECT{} : strip.Fader().thumbs[0].rect;
}

std::u16string NameTip(const Strip&, const StripPart& part) { return ConsoleText(part.name); }
std::u16string ChannelTip(const Strip& strip, const StripPart&) {
    const char16_t* name = strip.Entry().Name();
    return name[0] ? name : ConsoleText(IDS_TRACK_NAME);
}

void PaintSwitch(Strip& strip, QPainter& painter, const StripPart& part, const StripLook& look) {
    strip.PaintSwitch(painter, part, look.pressed == part.element);
}
void PaintFader(Strip& strip, QPainter& painter, const StripPart&, const StripLook&) {
    FaderInst_Draw(&strip.Fader(), &painter);
}
void PaintMeter(Strip& strip, QPainter& painter, const StripPart&, const StripLook&) {
    MeterInst_Draw(&strip.Meter(), &painter);
}
void PaintValue(Strip& strip, QPainter& painter, const StripPart&, const StripLook& look) {
    strip.PaintValue(painter, look.offBySolo);
}
void PaintNamePlate(Strip& strip, QPainter& painter, const StripPart&, const StripLook& look) {
    strip.PaintNamePlate(painter, look.focused);
}
void PaintTitle(Strip& strip, QPainter& painter, const StripPart&, const StripLook&) {
    strip.PaintTitle(painter);
}

constexpr StripPart PARTS[] = {
    {.element = ELEMENT_FADER,
     .area = Area<&StripRects::fader>,
     .paint = PaintFader,
     .tip = NameTip,
     .action = PartAction::Fader,
     .role = Role::Slider,
     .name = IDS_FADER},
    {.area = ThumbArea, .role = Role::Thumb, .parent = ELEMENT_FADER, .name = IDS_THUMB},
    {.element = ELEMENT_METER,
     .area = Area<&StripRects::meter>,
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
    {.element = ELEMENT_VALUE,
     .area = Area<&StripRects::valueLabel>,
     .paint = PaintValue,
     .tip = NameTip,
     .action = PartAction::Select,
     .name = IDS_FADER},
    {.element = ELEMENT_NAME,
     .area = Area<&StripRects::namePlate>,
     .paint = PaintNamePlate,
     .tip = ChannelTip,
     .action = PartAction::Select},
    {.element = ELEMENT_TITLE,
     .area = Area<&StripRects::title>,
     .paint = PaintTitle,
     .action = PartAction::Select},
    {.element = ELEMENT_REST, .area = Area<&StripRects::strip>, .action = PartAction::Select},
};

class PartNode final : public AccessibleNode {
public:
    PartNode(Strip& strip, const StripPart& part, AccessibleNode& parent, int place)
        : m_strip(strip), m_part(part), m_parent(parent), m_place(place) {
        for (const StripPart& below : PARTS)
            if (below.parent != ELEMENT_NONE && below.parent == part.element)
                m_below.push_back(
                    std::make_unique<PartNode>(strip, below, *this, static_cast<int>(m_below.size())));
    }

    AccessibleNode* Parent() const override { return &m_parent; }
    int Place() const override { return m_place; }
    int ChildCount() const override { return static_cast<int>(m_below.size()); }
    AccessibleNode* Child(int index) override { return m_below[static_cast<size_t>(index)].get(); }
    Role TheRole() const override { return m_part.role; }
    std::u16string Name() const override { return ConsoleText(m_part.name); }
    std::string Identifier() const override { return m_part.identifier; }
    RECT Area() const override { return m_part.area(m_strip); }
    bool IsOn() const override { return m_strip.Has(m_part.bit); }
    Range Value() const override {
        if (m_part.role != Role::Slider) return {m_strip.PeakDb(), METER_SILENCE_DB, 0};
        const double unit = m_strip.Entry().IsMidi() ? 1 : 10;
        const FaderScale& scale = m_strip.Fader().scale;
        return {m_strip.Position() / unit, scale.min / unit, scale.max / unit};
    }
    std::u16string TextOfValue() const override {
        if (m_part.role != Role::Slider) return {};
        return m_strip.ValueText(false) + (m_strip.Entry().IsMidi() ? u"" : u" dB");
    }
    void Press() override {
        if (m_part.action == PartAction::Toggle) m_strip.Toggle(m_part.bit);
    }
    char Key() const override { return m_part.key; }

private:
    Strip& m_strip;
    const StripPart& m_part;
    AccessibleNode& m_parent;
    int m_place;
    std::vector<std::unique_ptr<PartNode>> m_below;
};

}  // namespace

std::span<const StripPart> StripParts() { return PARTS; }

const StripPart* PartOfElement(uint32_t element) {
    const auto* part = std::ranges::find(PARTS, element, &StripPart::element);
    return element == ELEMENT_NONE || part == std::end(PARTS) ? nullptr : part;
}

const StripPart* PartOfKey(uint32_t key) {
    const auto* part = std::ranges::find_if(
        PARTS, [key](const StripPart& p) { return p.key && static_cast<uint32_t>(p.key) == key; });
    return part == std::end(PARTS) ? nullptr : part;
}

Strip::PartNodes& Strip::Nodes() const {
    if (m_nodes.empty())
        for (const StripPart& part : PARTS)
            if (part.role != Role::None && part.parent == ELEMENT_NONE && !part.area(*this).IsEmpty()) {
                auto& strip = const_cast<Strip&>(*this);
                m_nodes.push_back(
                    std::make_unique<PartNode>(strip, part, strip, static_cast<int>(m_nodes.size())));
            }
    return m_nodes;
}
