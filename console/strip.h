// Strip: the drawn form of one channel entry. It embeds the channel's controls, shows the host's values on
// them, and is laid out, painted and hit-tested by the mixer view. All on the page's thread.
#pragma once

#include "console/accessible.h"
#include "console/channel_entry.h"
#include "console/strip_layout.h"
#include "console/text_ids.h"
#include "controls/fader.h"
#include "controls/meter.h"
#include "platform/ui/control_host.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

class CConsoleControlPlugin;
class ConsoleImages;
class QPainter;
class CMixerView;
class Strip;
class WindowPainter;

/// Element codes of a strip, the low part of a hit word.
inline constexpr uint32_t ELEMENT_NONE = 0;
inline constexpr uint32_t ELEMENT_TITLE = 0x106;
inline constexpr uint32_t ELEMENT_NAME = 0x107;
inline constexpr uint32_t ELEMENT_FADER = 0x15B;
inline constexpr uint32_t ELEMENT_VALUE = 0x15C;
inline constexpr uint32_t ELEMENT_METER = 0x15E;
inline constexpr uint32_t ELEMENT_MUTE = 0x16D;
inline constexpr uint32_t ELEMENT_SOLO = 0x16E;
inline constexpr uint32_t ELEMENT_PHASE = 0x16F;
inline constexpr uint32_t ELEMENT_REST = 0x174;

/// What a press on a part does.
enum class PartAction { None, Select, Toggle, Fader, Meter };

/// How a strip is shown, beyond its own state.
struct StripLook {
    bool focused;
    uint32_t pressed;  ///< element that is drawn pressed
    bool offBySolo;
};

/// A part of a strip. Painting, hit-testing, keys, screen readers and scripts read these rows, and nothing
/// else says what a strip has.
struct StripPart {
    uint32_t element = ELEMENT_NONE;
    RECT (*area)(const Strip& strip) = nullptr;  ///< empty where a strip has no such part
    void (*paint)(Strip& strip, QPainter& painter, const StripPart& part, const StripLook& look) = nullptr;
    std::u16string (*tip)(const Strip& strip, const StripPart& part) = nullptr;
    PartAction action = PartAction::None;
    AccessibleNode::Role role = AccessibleNode::Role::None;  ///< None: not offered
    uint32_t parent = ELEMENT_NONE;                          ///< the part below which it is offered
    ConsoleTextId name{};                                    ///< 0 for none
    char key = 0;                                            ///< toggles it

    // Of a switch.
    uint32_t bit = 0;  ///< SWITCH_
    const char16_t* letter = nullptr;
    const char* identifier = "";  ///< for scripts: the same in every language
    int32_t litColour = 0;        ///< UI colour index
};
/// In the order in which they are hit and offered.
std::span<const StripPart> StripParts();
/// Null for none.
const StripPart* PartOfElement(uint32_t element);
const StripPart* PartOfKey(uint32_t key);

inline constexpr double METER_SILENCE_DB = -144.0;

/// What a strip's controls are made on.
struct StripSite {
    CConsoleControlPlugin& plugin;
    ControlHost& window;
    const ConsoleImages& images;
    FADERSCROLLPROC onFader;  ///< user data is the Strip
    CMixerView& view;
};

class Strip final : public EntryView, public AccessibleNode {
public:
    Strip(ChannelEntry& entry, const StripSite& site);
    ~Strip() override;
    Strip(const Strip&) = delete;
    Strip& operator=(const Strip&) = delete;

    static Strip* Of(ChannelEntry& entry) { return static_cast<Strip*>(entry.view.get()); }

    ChannelEntry& Entry() { return m_entry; }
    CMixerView& View() { return m_site.view; }
    const ChannelEntry& Entry() const { return m_entry; }
    const StripRects& Rects() const { return m_rects; }
    tQMFADER& Fader() { return m_fader; }
    const tQMFADER& Fader() const { return m_fader; }
    tQMMETER& Meter() { return m_meter; }
    LONG Width() const;
    bool IsSelected() const override { return m_switches & SWITCH_SELECTED; }
    /// Whether one of these switches is set: SWITCH_.
    bool Has(uint32_t bits) const { return m_switches & bits; }
    int32_t Position() const;
    /// The louder side's level as last read, METER_SILENCE_DB at least.
    double PeakDb() const;
    /// The text below the fader.
    std::u16string ValueText(bool offBySolo) const;
    std::u16string KindWord() const;

    void Layout(const RECT& rect);
    void Paint(QPainter& painter, const RECT& area, const StripLook& look);
    uint32_t HitTest(POINT at, std::u16string& tip, RECT& area) const;

    /// Shows the host's values, and repaints the elements that changed. True when a switch changed.
    bool ReadBack();
    /// Reads the levels and draws what of the meter changed.
    void TickMeters(WindowPainter& painter);
    /// Flips a switch at the host: SWITCH_.
    void Toggle(uint32_t bit);
    void SetSelected(bool on);

    // What it is to screen readers: a group of its parts.
    int Place() const override { return place; }
    int ChildCount() const override { return static_cast<int>(Nodes().size()); }
    AccessibleNode* Child(int index) override { return Nodes()[static_cast<size_t>(index)].get(); }
    Role TheRole() const override { return Role::Group; }
    std::u16string Name() const override { return m_entry.Name(); }
    std::u16string Description() const override { return KindWord(); }
    std::string Identifier() const override { return std::to_string(m_entry.id.channel); }
    RECT Area() const override { return m_rects.strip; }

    // Painters of its parts.
    void PaintTitle(QPainter& painter) const;
    void PaintNamePlate(QPainter& painter, bool focused) const;
    void PaintSwitch(QPainter& painter, const StripPart& part, bool pressed) const;
    void PaintValue(QPainter& painter, bool offBySolo) const;

    int place = -1;  ///< among the strips that are shown

private:
    using PartNodes = std::vector<std::unique_ptr<AccessibleNode>>;
    /// Of the parts that it has, made when they are first asked for.
    PartNodes& Nodes() const;
    bool WriteSwitches(uint32_t set, uint32_t clear);

    ChannelEntry& m_entry;
    StripSite m_site;
    tQMFADER m_fader;
    tQMMETER m_meter;
    StripRects m_rects{};
    uint32_t m_switches = 0;
    float m_levels[2] = {};
    mutable PartNodes m_nodes;
    uint32_t m_present = 0;  ///< bit a row: the strip has the part
};
