// CViewRegion: the base of the console's panes. A region is no window: it owns a rectangle of the page's
// window and is given that window's messages. All operations on the page's thread.
#pragma once

#include "console/accessible.h"
#include "console/channel_entry.h"
#include "platform/ui/control_host.h"
#include "platform/ui/messages.h"

#include <functional>
#include <string>

class CConsoleControlPlugin;
class CMixerView;
class ConsoleImages;
class MessageWindow;
class QPainter;
class WindowPainter;
struct Menu;

/// The high part of a hit word names the region, the low part the element.
inline constexpr uint32_t HIT_MIXER_VIEW = 0x10000;
inline constexpr uint32_t HIT_HORZ_SCROLL = 0x20000;
inline constexpr uint32_t HIT_LEFT_TOOLBAR = 0x40000;
inline constexpr uint32_t HIT_CHANNEL_LIST = 0x80000;
inline constexpr uint32_t HIT_UPPER_TOOLBAR = 0x100000;
inline constexpr uint32_t HIT_ELEMENT_MASK = 0xFFFF;

/// What a region sees of the page that it is a part of.
class RegionSite {
public:
    virtual CConsoleControlPlugin& Console() = 0;
    virtual const ConsoleImages& Images() = 0;
    /// The page's window as controls see it: repaint requests, capture, timers, keys, the tip that follows a
    /// value.
    virtual ControlHost& Host() = 0;
    /// For windows of their own that regions put into it.
    virtual MessageWindow& ThePageWindow() const = 0;
    virtual CMixerView& Strips() = 0;
    virtual POINT ToClient(POINT screen) const = 0;
    virtual void InvalidateAll() = 0;
    /// A region wants more or less room: all are laid out anew.
    virtual void LayoutChanged() = 0;
    /// Carries out a command of a menu, a button or a key, wherever it belongs; at last at the host.
    virtual bool RunCommand(uint32_t command) = 0;
    /// What decides the states of commands has changed; once for many changes OnStatesChanged follows.
    virtual void RequestStates() = 0;
    /// Lets the user edit a channel's name in the list, if that has the keyboard; false when it has not.
    virtual bool EditNameInList(const ChannelEntry& channel) = 0;
    /// Calls `draw` with the window, outside Paint; not while a paint is due.
    virtual void DrawNow(const std::function<void(WindowPainter&)>& draw) = 0;
    virtual bool HasKeyboardFocus() const = 0;
    /// What the keyboard works on, or its place, is another: the caret follows.
    virtual void FocusMoved() = 0;
    /// Shows the menu at a point of the page and waits; the command that was chosen, or 0. Channels may come
    /// and go in between.
    virtual uint32_t TrackMenu(Menu& menu, POINT at) = 0;
    /// Lets the user edit a text in place; `done` is called with a new one.
    virtual void EditText(const RECT& area, const std::u16string& text,
                          std::function<void(const std::u16string&)> done) = 0;

protected:
    ~RegionSite() = default;
};

class CViewRegion {
public:
    explicit CViewRegion(RegionSite& site) : m_site(site) {}
    CViewRegion(const CViewRegion&) = delete;
    CViewRegion& operator=(const CViewRegion&) = delete;

    virtual ~CViewRegion() = default;
    virtual HRESULT Create() { return S_OK; }
    /// Takes what it needs of the rectangle and leaves the rest in it.
    virtual void ReSize(RECT& rect) = 0;
    /// The width at which it shows everything; 0 where it takes what there is.
    virtual LONG IdealWidth() const { return 0; }
    /// Hit word of a point of the page, 0 outside; fills the tip's text and area.
    virtual uint32_t HitTest(POINT at, std::u16string& tip, RECT& area) = 0;
    virtual uint32_t GetCursorForHit(uint32_t) { return CURSOR_ARROW; }
    /// The mouse went to another region.
    virtual void OnMouseAway() = 0;
    virtual intptr_t OnMouse(uint32_t message, uintptr_t wparam, intptr_t lparam) = 0;
    virtual void Paint(QPainter& painter, const RECT& area) = 0;
    virtual void OnTimer(uint32_t) {}
    /// True when it took the command.
    virtual bool OnCommand(uint32_t) { return false; }
    /// True when the key was taken.
    virtual bool OnKeyDown(uint32_t, uintptr_t, intptr_t) { return false; }
    virtual void OnKeyUp(uintptr_t, intptr_t) {}
    /// The keyboard goes to the region, by F6 or back from a menu; false for one that has nothing for it.
    virtual bool TakeKeyboard() { return false; }
    virtual void LeaveKeyboard() {}
    /// The page has the keyboard now.
    virtual void OnFocus() {}
    /// Ends the gesture of a key that is still down: its release will not come here, or something else
    /// begins.
    virtual void EndKeyGesture() {}
    /// Null is every channel.
    virtual void OnChannelUpdate(ChannelEntry*, uint32_t) {}
    /// Entries came, went or changed places.
    virtual void OnEntriesChanged() {}
    /// The entry is about to be destroyed; null is all of them.
    virtual void OnEntryGoing(const ChannelEntry*) {}
    /// TICK_: values read back from the host, then the meters.
    virtual void OnTick(uint32_t) {}
    virtual void OnImagesChanged() {}
    /// The plug-in's view or pane is another.
    virtual void OnViewChanged() {}
    virtual void OnGroupsChanged() {}
    /// A command was carried out: what shows the states of commands reads them anew.
    virtual void OnStatesChanged() {}
    /// The keyboard works on another strip.
    virtual void OnFocusMoved() {}
    /// Opens an editor for the channel's name if the region has the keyboard.
    virtual bool EditName(const ChannelEntry&) { return false; }

    // What it offers to screen readers, in constant time.

    virtual int PartCount() const { return 0; }
    virtual AccessibleNode* Part(int) const { return nullptr; }
    /// Null for none.
    virtual AccessibleNode* PartAt(POINT) const { return nullptr; }
    virtual AccessibleNode* FocusedPart() const { return nullptr; }

    const RECT& Bounds() const { return m_bounds; }

protected:
    RegionSite& m_site;
    RECT m_bounds{};
    uint32_t m_hitWord = 0;
};
