// Strip: the drawn form of one channel entry. It embeds the channel's controls, shows the host's values on
// them, and is laid out, painted and hit-tested by the mixer view. All on the page's thread.
//
// Sessions have thousands of channels and a window shows twenty of them: until a strip comes on view it has
// no controls, and of the host it knows its switches alone.
#pragma once

#include "console/accessible.h"
#include "console/channel_entry.h"
#include "console/strip_control.h"
#include "console/strip_layout.h"
#include "console/strip_meters.h"
#include "console/strip_part.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

class CConsoleControlPlugin;
class CMixerView;
class ConsoleImages;
class WindowPainter;

/// What a strip's controls are made on.
struct StripSite {
    CConsoleControlPlugin& plugin;
    ControlHost& window;
    const ConsoleImages& images;
    StripControlSite& hand;
    CMixerView& view;
};

/// An effect of the chain.
struct StripInsert {
    MPCHANNELID id;
    std::u16string name;
    uint32_t state;  ///< EFFECT_
};

struct StripSend {
    MPCHANNELID id;
    uint64_t target;
    std::u16string name;  ///< of the target
    uint32_t switches;    ///< SENDSWITCH_
};

struct StripRoute {
    uint64_t target = 0;
    int32_t index = 0;  ///< MIDI channel, 0 all
    std::u16string name;
};

class Strip final : public EntryView, public AccessibleNode {
public:
    Strip(ChannelEntry& entry, const StripSite& site);
    ~Strip() override;
    Strip(const Strip&) = delete;
    Strip& operator=(const Strip&) = delete;

    static Strip* Of(ChannelEntry& entry) { return static_cast<Strip*>(entry.view.get()); }

    ChannelEntry& Entry() { return m_entry; }
    const ChannelEntry& Entry() const { return m_entry; }
    CMixerView& View() { return m_site.view; }
    const StripRects& Rects() const { return m_rects; }
    LONG Width() const;
    /// Cut to what its kind allows.
    void SetWidth(LONG width);

    /// Where it is to stand; what is in it comes with Prepare.
    void Place(const RECT& rect);
    /// Makes, reads and lays out what is missing: before it is painted, hit or read out.
    void Prepare();
    bool IsPrepared() const { return m_made && m_read; }
    /// Effects, sends and routes are read anew by the next Prepare.
    void Unread() { m_read = false; }
    /// It is out of view, and what the host says of it is not read.
    void LeaveView() { m_meters.LeaveView(); }
    /// Other regions are shown, or their sizes or the controls' styles are others.
    void ViewChanged(bool rebuild);

    void Paint(QPainter& painter, const RECT& area, const StripLook& look);
    /// ELEMENT_NONE for none.
    uint32_t HitTest(POINT at, std::u16string& tip, RECT& area) const;

    // Controls. Null for an element that is none or is not there.
    StripControl* Control(uint32_t element) const;
    StripMeters& Meters() { return m_meters; }
    /// The parameter that a gesture on another strip's moves here; nothing where there is none.
    std::optional<StripParameter> Alike(Strip& source, const StripParameter& parameter);

    // What the host says of the channel, as last read.
    bool IsSelected() const override { return m_switches & SWITCH_SELECTED; }
    /// Asked anew.
    bool IsSelectedNow();
    /// Whether one of these switches is set: SWITCH_.
    bool Has(uint32_t bits) const { return m_switches & bits; }
    uint32_t AutomationModes() const { return m_automation & AUTOMATION_MODES; }
    const std::vector<StripInsert>& Inserts() const { return m_inserts; }
    const std::vector<StripSend>& Sends() const { return m_sends; }
    const StripRoute& Input() const { return m_input; }
    const StripRoute& Output() const { return m_output; }
    uint32_t PanModel() const { return m_panModel; }
    bool IsLocked() const { return !(m_entry.state & ENTRY_UNLOCKED); }
    const StripTraits& Traits() const { return m_traits; }
    /// The position of a value at the host; nothing where the channel has no such value.
    std::optional<int32_t> PositionOf(const StripParameter& parameter) const;

    /// Shows the host's values, and repaints the elements that changed. True when a switch changed.
    bool ReadBack();
    /// Reads effects and sends, and the routes, anew.
    void ReadParts();
    void ReadRoutes();
    /// Reads the levels and draws what of the meters changed.
    void TickMeters(WindowPainter& painter);

    // Wishes to the host. What it refuses is left as it is.
    void Toggle(uint32_t bit);
    void SetSelected(bool on);
    void ToggleLock();
    void SetAutomation(uint32_t mode);
    void SetEffectState(size_t insert, uint32_t state, uint32_t mask);
    void MoveEffect(size_t insert, size_t place);
    void RemovePart(const MPCHANNELID& id);
    void SetSendSwitches(size_t send, uint32_t switches);
    void SetSendTarget(size_t send, uint64_t target);
    void AddSend(uint64_t target);
    void AddEffect(const GUID& effectClass);
    void SetRoute(uint32_t mask, uint64_t target, int32_t index);
    void SetPanModel(uint32_t model);
    void Rename(const std::u16string& name);

    /// The rows that an element is one of: effects, or sends.
    const ShownRows& RowsOf(uint32_t element) const {
        return IsOfSend(element) ? m_rects.sendRows : m_rects.insertRows;
    }
    /// False where these rows are at their end.
    bool ScrollRows(uint32_t element, int by);
    /// Which send a row shows.
    size_t SendOf(uint32_t row) const { return static_cast<size_t>(m_rects.sendRows.first) + row; }

    // Texts.
    std::u16string ValueText(bool offBySolo, size_t part = 0) const;
    /// The parts of a pair stand at different values.
    bool HasTwoValues() const;
    std::u16string KindWord() const;
    std::u16string InsertText(size_t insert) const;
    /// Of any channel or port entry.
    std::u16string NameOf(uint64_t channel) const;
    /// The values below the faders are repainted.
    void InvalidateNumbers() const;

    // What it is to screen readers: a group of its parts.
    int Place() const override { return place; }
    int ChildCount() const override { return static_cast<int>(Nodes().size()); }
    AccessibleNode* Child(int index) override { return Nodes()[static_cast<size_t>(index)].get(); }
    Role TheRole() const override { return Role::Group; }
    std::u16string Name() const override { return m_entry.Name(); }
    std::u16string Description() const override { return KindWord(); }
    std::string Identifier() const override { return std::to_string(m_entry.id.channel); }
    RECT Area() const override { return m_rects.strip; }
    /// To screen readers: the value or the state of a part is another.
    void TellChange(uint32_t element) const;
    /// The node of an element, null for none.
    AccessibleNode* NodeOf(uint32_t element);
    /// The elements that the keyboard can be on, from top to bottom.
    std::vector<uint32_t> KeyElements();

    // Painters of its parts.
    void PaintTitle(QPainter& painter) const;
    void PaintNamePlate(QPainter& painter, bool focused) const;
    void PaintSwitch(QPainter& painter, const StripPart& part, const RECT& area, bool on, bool pressed) const;
    void PaintButton(QPainter& painter, const RECT& area, const std::u16string& text, bool pressed,
                     bool empty) const;
    void PaintInsert(QPainter& painter, uint32_t row, bool pressed) const;
    static void PaintScroll(QPainter& painter, const ShownRows& rows);
    void PaintValue(QPainter& painter, const RECT& area, size_t part, bool offBySolo) const;
    void PaintSend(QPainter& painter, uint32_t row, bool pressed) const;

    int place = -1;  ///< among the strips that are shown

private:
    using PartNodes = std::vector<std::unique_ptr<AccessibleNode>>;
    /// Of the parts that it has, made when they are first asked for.
    PartNodes& Nodes() const;
    void MakeControls();
    void MakeSendControls();
    void MeasureTraits();
    void Layout();
    void Shift();
    void PlaceControls();
    void PaintRegions(QPainter& painter) const;
    void PaintNumber(QPainter& painter, const RECT& at, const std::u16string& text, bool silent) const;
    bool ReadSwitches();
    bool ReadControl(StripControl& control);
    bool WriteSwitches(uint32_t set, uint32_t clear);
    HRESULT Get(const MPCHANNELID& id, MPCHANNELREC& rec, uint32_t mask) const;
    HRESULT Set(const MPCHANNELID& id, MPCHANNELREC& rec, uint32_t mask) const;

    ChannelEntry& m_entry;
    StripSite m_site;
    StripMeters m_meters;
    mutable PartNodes m_nodes;  ///< outlive the controls, which let go of a thumb as they go
    std::vector<std::unique_ptr<StripControl>> m_controls;
    StripTraits m_traits;
    StripRects m_rects{};
    bool m_made = false, m_read = false, m_laidOut = false, m_moved = false;

    uint32_t m_switches = 0, m_automation = 0, m_panModel = 0;
    std::vector<StripInsert> m_inserts;
    std::vector<StripSend> m_sends;
    StripRoute m_input, m_output;
    int m_firstInsert = 0, m_firstSend = 0;
};
