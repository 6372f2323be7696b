// Strip: the drawn form of one channel entry. It embeds the channel's controls, shows the host's values on
// them, and is laid out, painted and hit-tested by the mixer view. All on the page's thread.
#pragma once

#include "console/channel_entry.h"
#include "console/strip_layout.h"
#include "console/text_ids.h"
#include "controls/fader.h"
#include "controls/meter.h"
#include "platform/ui/control_host.h"

#include <span>
#include <string>

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

/// A strip's switch: the element, the bit at the host, its letter and its text.
struct StripSwitch {
    uint32_t element;
    uint32_t bit;
    const char16_t* letter;
    const char* identifier;  ///< for scripts: the same in every language
    ConsoleTextId textId;
    RECT StripRects::*rect;
    int32_t litColour;  ///< UI colour index
};
std::span<const StripSwitch> StripSwitches();

inline constexpr double METER_SILENCE_DB = -144.0;

/// What a strip's controls are made on.
struct StripSite {
    CConsoleControlPlugin& plugin;
    ControlHost& window;
    const ConsoleImages& images;
    FADERSCROLLPROC onFader;  ///< user data is the Strip
    CMixerView& view;
};

class Strip final : public EntryView {
public:
    Strip(ChannelEntry& entry, const StripSite& site);
    ~Strip() override;
    Strip(const Strip&) = delete;
    Strip& operator=(const Strip&) = delete;

    static Strip* Of(ChannelEntry& entry) { return static_cast<Strip*>(entry.view.get()); }

    ChannelEntry& Entry() { return m_entry; }
    CMixerView& View() { return m_site.view; }
    const StripRects& Rects() const { return m_rects; }
    tQMFADER& Fader() { return m_fader; }
    tQMMETER& Meter() { return m_meter; }
    LONG Width() const;
    bool IsSelected() const { return m_switches & SWITCH_SELECTED; }
    bool IsOn(const StripSwitch& s) const { return m_switches & s.bit; }
    bool HasSwitch(const StripSwitch& s) const { return !(m_rects.*s.rect).IsEmpty(); }
    int32_t Position() const;
    /// The louder side's level as last read, METER_SILENCE_DB at least.
    double PeakDb() const;
    /// The text below the fader.
    std::u16string ValueText(bool offBySolo) const;
    std::u16string KindWord() const;

    void Layout(const RECT& rect);
    void Paint(QPainter& painter, const RECT& area, bool focused, uint32_t pressed, bool offBySolo);
    uint32_t HitTest(POINT at, std::u16string& tip, RECT& area) const;

    /// Shows the host's values, and repaints the elements that changed. True when a switch changed.
    bool ReadBack();
    /// Reads the levels and draws what of the meter changed.
    void TickMeters(WindowPainter& painter);
    /// Flips a switch at the host.
    void Toggle(const StripSwitch& s);
    void SetSelected(bool on);

    /// Whether the strip lies on the screen, so that its meters are worth reading.
    bool painted = false;

private:
    bool WriteSwitches(uint32_t set, uint32_t clear);
    void PaintSwitch(QPainter& painter, const StripSwitch& s, bool pressed) const;
    void PaintTitle(QPainter& painter) const;
    void PaintNamePlate(QPainter& painter, bool focused) const;

    ChannelEntry& m_entry;
    StripSite m_site;
    tQMFADER m_fader;
    tQMMETER m_meter;
    StripRects m_rects{};
    uint32_t m_switches = 0;
    float m_levels[2] = {};
};
