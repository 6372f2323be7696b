// CMixerView: the strips of all visible channels side by side, in the console's order, scrolled when they do
// not fit. It paints them, gives them the mouse and the keys, and turns what hands do into calls of the host.
#pragma once

#include "console/horz_scroll.h"
#include "console/strip.h"
#include "console/strip_gesture.h"
#include "console/view_region.h"

#include <span>

/// Values of a parameter for a menu.
struct ValueMenu {
    ConsoleTextId name;
    StripParameter parameter;
    std::vector<int32_t> positions;
    std::u16string (*text)(int32_t position);
};

class CMixerView final : public CViewRegion, private StripControlSite {
public:
    explicit CMixerView(RegionSite& site);
    ~CMixerView() override;

    HRESULT Create() override;
    void ReSize(RECT& rect) override;
    uint32_t HitTest(POINT at, std::u16string& tip, RECT& area) override;
    uint32_t GetCursorForHit(uint32_t element) override;
    void OnMouseAway() override;
    intptr_t OnMouse(uint32_t message, uintptr_t wparam, intptr_t lparam) override;
    void Paint(QPainter& painter, const RECT& area) override;
    void OnTimer(uint32_t id) override;
    bool OnCommand(uint32_t command) override;
    bool OnKeyDown(uint32_t message, uintptr_t wparam, intptr_t lparam) override;
    void OnKeyUp(uintptr_t wparam, intptr_t lparam) override;
    void OnFocus() override { EnsureFocus(); }
    void EndKeyGesture() override;
    void OnChannelUpdate(ChannelEntry* channel, uint32_t dirty) override;
    /// Makes the strips of channels that have none yet, and lays all out.
    void OnEntriesChanged() override;
    void OnEntryGoing(const ChannelEntry* channel) override;
    void OnTick(uint32_t what) override;
    void OnImagesChanged() override;
    void OnViewChanged() override { ViewChanged(true); }

    LONG IdealWidth() const override { return m_totalWidth; }
    int PartCount() const override { return static_cast<int>(m_strips.size()); }
    AccessibleNode* Part(int index) const override { return m_strips[static_cast<size_t>(index)]; }
    AccessibleNode* PartAt(POINT at) const override { return StripAt(at.x); }
    AccessibleNode* FocusedPart() const override;

    // For the channel list.

    /// Null for none.
    const ChannelEntry* FocusedChannel() const { return m_focus; }
    void FocusChannel(ChannelEntry& channel) { SetFocus(&channel); }
    /// The menu of a strip, also of one that is hidden.
    void ShowChannelMenu(Strip& strip, POINT at) { ChannelMenu(strip, at); }

    // For strips and their nodes.

    /// Does what a press of the part does.
    void PressElement(Strip& strip, uint32_t element);
    /// Moves a control to a position, as one gesture.
    void MoveControl(Strip& strip, uint32_t element, int32_t position);
    /// The same for a value that has no control.
    void MoveParameter(Strip& strip, const StripParameter& parameter, int32_t position);
    /// The strip's controls are about to be destroyed.
    void OnControlsGoing(Strip& strip);
    MessageWindow& ThePageWindow() const { return m_site.ThePageWindow(); }

private:
    enum class SelectMode { Alone, Toggle, Extend };

    /// What the mouse holds from press to release.
    struct Drag {
        PartAction action = PartAction::None;
        Strip* strip = nullptr;
        uint32_t element = ELEMENT_NONE;
        StripControl* control = nullptr;
        POINT from{};
        LONG start = 0;      ///< of the size that is changed
        bool moved = false;  ///< beyond what a hand trembles
        bool inside = true;  ///< the mouse is still over the part
        int target = -1;     ///< place that an effect or a strip would be dropped at
    };

    // Strips and their places.
    void CollectStrips();
    Strip* StripAt(LONG x) const;
    Strip* StripOf(uint64_t channel) const;
    void LayoutStrips();
    /// Other regions, sizes or styles: everything is laid out anew.
    void ViewChanged(bool rebuild);
    bool OnViewCommand(uint32_t command, bool& rebuild);
    std::vector<uint64_t> CommandTargets() const;
    bool IsOffBySolo(const Strip& strip) const;
    void InvalidateValues();
    void SetScroll(LONG offset);
    /// The strips that lie within the bounds, ready to be painted.
    std::span<Strip* const> OnView() const;
    /// The strips are `length` wide from an offset on: another length makes all of them wider or narrower.
    void ZoomTo(LONG offset, LONG length);
    LONG ViewWidth() const { return m_bounds.Width(); }

    // Hands.
    void OnHand(StripControl& control, HandCode code, const StripPositions& positions) override;
    void ShowTip(const StripControl& control);
    void SendToControl(uint32_t message, uintptr_t wparam, intptr_t lparam);
    bool HoldsControl() const { return m_drag.control != nullptr; }

    // Mouse.
    void Press(Strip& strip, uint32_t element, POINT at, uintptr_t keys);
    void DoublePress(Strip& strip, uint32_t element, POINT at);
    void DragTo(POINT at);
    void Drop(POINT at);
    void CancelDrag();
    void SetHot(Strip* strip, uint32_t element);
    intptr_t OnWheel(uint32_t message, uintptr_t wparam, intptr_t lparam);
    bool StepMeterRange(int32_t direction);
    LONG* SizeOf(uint32_t edge);
    int InsertPlaceAt(const Strip& strip, POINT at) const;
    bool EdgeContains(const Strip& strip, POINT at) const;

    // Menus.
    void ShowMenu(Strip& strip, uint32_t element);
    void ShowContextMenu(Strip* strip, uint32_t element, POINT at);
    uint32_t Track(struct Menu& menu, POINT at);
    void RouteMenu(Strip& strip, uint32_t element);
    void AddInputs(struct Menu& menu, const Strip& strip, const std::vector<uint64_t>& targets);
    void SendMenu(Strip& strip, uint32_t element);
    void InsertMenu(Strip& strip, size_t insert, POINT at);
    void AddInsertMenu(Strip& strip, POINT at);
    void AutomationMenu(Strip& strip);
    void MidiChannelMenu(Strip& strip);
    void AddValues(struct Menu& menu, const ValueMenu& values, const Strip& strip) const;
    void PanMenu(Strip& strip, uint32_t element, POINT at);
    void ChannelMenu(Strip& strip, POINT at);
    /// Shows a menu of commands, and has the one that was chosen carried out.
    void RunMenu(struct Menu menu, POINT at);
    void StartRename(Strip& strip);

    // Selection, focus, keys.
    void Select(ChannelEntry& channel, SelectMode mode);
    void SelectAll();
    void SetFocus(ChannelEntry* channel);
    /// The strip with the keyboard focus: the one that had it, else the first selected, else the first.
    void EnsureFocus();
    /// Null for none.
    Strip* FocusedStrip() const;
    bool MoveFocus(uint32_t key);
    bool MoveMark(bool back);
    bool ScrollMark(Strip& strip, bool back);
    void SetMark(uint32_t element);
    bool MoveFaders(uintptr_t wparam, intptr_t lparam);
    bool KeyToMark(uint32_t key, uintptr_t wparam, intptr_t lparam);
    void ToggleByKey(uint32_t bit);
    std::vector<Strip*> KeyTargets(bool alone) const;

    CConsoleControlPlugin& m_plugin;
    const ConsoleImages& m_images;
    StripGesture m_gesture;
    CHorzScroll m_scroll;
    std::vector<Strip*> m_strips;    ///< those that are shown, from left to right
    std::vector<Strip*> m_prepared;  ///< those that were on view last
    LONG m_totalWidth = 0;           ///< of them all
    LONG m_offset = 0;
    ChannelEntry* m_focus = nullptr;
    ChannelEntry* m_anchor = nullptr;      ///< where Shift extends the selection from
    uint32_t m_mark = ELEMENT_NONE;        ///< element of the focused strip that the keyboard is on
    StripControl* m_keyControl = nullptr;  ///< moved by a key that is down
    Drag m_drag;
    Strip* m_hotStrip = nullptr;
    uint32_t m_hot = ELEMENT_NONE;
    bool m_anySolo = false;
};
