// The parts of a strip as rows of a table. Painting, hit-testing, mouse, keys, screen readers and scripts
// read these rows, and nothing else says what a strip has.
#pragma once

#include "console/accessible.h"
#include "console/text_ids.h"
#include "platform/types.h"

#include <cstdint>
#include <span>
#include <string>

class QPainter;
class Strip;
struct StripPart;

// Element codes, the low part of a hit word.
inline constexpr uint32_t ELEMENT_NONE = 0, ELEMENT_EDGE = 0x101, ELEMENT_TITLE = 0x106, ELEMENT_NAME = 0x107,
                          ELEMENT_INPUT = 0x108, ELEMENT_OUTPUT = 0x109, ELEMENT_OUTPUT_REAR = 0x10A,
                          ELEMENT_OUTPUT_CENTER = 0x10B, ELEMENT_AUTOMATION = 0x10C,
                          ELEMENT_MIDI_CHANNEL = 0x10D, ELEMENT_CHAIN = 0x10F, ELEMENT_INSERT_SCROLL = 0x111,
                          ELEMENT_INSERT = 0x112, ELEMENT_INSERTS_EDGE = 0x132, ELEMENT_SEND = 0x133,
                          ELEMENT_SEND_PAN = 0x137, ELEMENT_SEND_LEVEL = 0x13B, ELEMENT_ADD_SEND = 0x13F,
                          ELEMENT_SEND_PREPOST_BELOW = 0x140,  // of the second row and those after it
    ELEMENT_SEND_SCROLL = 0x143, ELEMENT_SEND_PREPOST = 0x150, ELEMENT_SENDS_EDGE = 0x151,
                          ELEMENT_SCOPE = 0x152, ELEMENT_VU = 0x153, ELEMENT_VU_EDGE = 0x154,
                          ELEMENT_PEAK = 0x155, ELEMENT_PEAKS_EDGE = 0x156, ELEMENT_FADER = 0x15B,
                          ELEMENT_VALUE = 0x15C, ELEMENT_VALUE_RIGHT = 0x15D, ELEMENT_METER = 0x15E,
                          ELEMENT_REAR_FADER = 0x15F, ELEMENT_CENTER_FADER = 0x163, ELEMENT_LFE_FADER = 0x166,
                          ELEMENT_PAN = 0x169, ELEMENT_SURROUND_PAN = 0x16A, ELEMENT_ARM = 0x16B,
                          ELEMENT_MONITOR = 0x16C, ELEMENT_MUTE = 0x16D, ELEMENT_SOLO = 0x16E,
                          ELEMENT_PHASE = 0x16F, ELEMENT_SOLO_SAFE = 0x170, ELEMENT_LOCK = 0x171,
                          ELEMENT_REST = 0x174, ELEMENT_STRIP = 0x175;

/// What the mouse does with a part.
enum class PartAction {
    None,
    Select,   ///< a press selects the strip
    Name,     ///< and a drag moves it, a double-click renames
    Toggle,   ///< a switch of the channel: the release inside flips it
    Push,     ///< a button that is no switch of the channel
    Control,  ///< fader, slider, pad
    Meter,
    Menu,    ///< a press opens the part's menu
    Insert,  ///< an effect: lamp, drag, double-click
    Scroll,  ///< the column beside effects or sends
    Width,   ///< a drag changes the strip's width
    Resize,  ///< a drag changes the region above
};

/// How a strip is shown, beyond its own state.
struct StripLook {
    bool focused;
    uint32_t pressed;  ///< element that is drawn pressed
    uint32_t hot;      ///< element under the mouse
    uint32_t marked;   ///< element that the keyboard is on
    bool offBySolo;
};

/// A row may stand for several parts, whose codes follow each other: effects, sends.
struct StripPart {
    uint32_t element = ELEMENT_NONE;
    uint32_t count = 1;
    RECT (*area)(const Strip& strip, uint32_t index) = nullptr;  ///< empty where a strip has no such part
    void (*paint)(Strip& strip, QPainter& painter, const StripPart& part, uint32_t index,
                  const StripLook& look) = nullptr;
    std::u16string (*tip)(const Strip& strip, const StripPart& part, uint32_t index) = nullptr;
    PartAction action = PartAction::None;
    AccessibleNode::Role role = AccessibleNode::Role::None;  ///< None: not offered
    uint32_t parent = ELEMENT_NONE;                          ///< the part below which it is offered
    ConsoleTextId name{};                                    ///< 0 for none
    std::u16string (*value)(const Strip& strip, uint32_t index) = nullptr;  ///< what a button shows
    char key = 0;                                                           ///< toggles it

    // Of a switch.
    uint32_t bit = 0;  ///< SWITCH_
    const char16_t* letter = nullptr;
    const char* identifier = "";  ///< for scripts: the same in every language
    int32_t litColour = 0;        ///< UI colour index

    bool Covers(uint32_t code) const { return element && code >= element && code < element + count; }
};
/// Of a row of sends.
constexpr bool IsOfSend(uint32_t element) {
    return (element >= ELEMENT_SEND && element <= ELEMENT_SEND_SCROLL) || element == ELEMENT_SEND_PREPOST;
}
/// In the order in which they are hit and offered.
std::span<const StripPart> StripParts();
/// Null for none.
const StripPart* PartOfElement(uint32_t element);
const StripPart* PartOfKey(uint32_t key);
/// Empty for none.
RECT AreaOfElement(const Strip& strip, uint32_t element);
