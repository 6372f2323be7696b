// CMixerView: the strips of all visible channels side by side, in the console's order, scrolled when they do
// not fit. It paints them, gives them the mouse and the keys, and turns selection and fader movements into
// calls of the host.
#pragma once

#include "console/fader_gesture.h"
#include "console/strip.h"
#include "console/view_region.h"

class CMixerView final : public CViewRegion {
public:
    CMixerView(CConsoleMixerPage& page, CConsoleControlPlugin& plugin, const ConsoleImages& images);
    ~CMixerView() override;

    HRESULT Create() override;
    void ReSize(RECT& rect) override;
    uint32_t HitTest(POINT at, std::u16string& tip, RECT& area) override;
    uint32_t GetCursorForHit(uint32_t element) override;
    void OnMouseAway() override;
    intptr_t OnMouse(uint32_t message, uintptr_t wparam, intptr_t lparam) override;
    void Paint(QPainter& painter, const RECT& area) override;
    void OnTimer(uint32_t id) override;
    bool OnKeyDown(uint32_t message, uintptr_t wparam, intptr_t lparam) override;
    void OnChannelUpdate(ChannelEntry* channel, uint32_t dirty) override;
    void OnImagesChanged() override;

    /// Makes the controls of channels that have none yet, and lays all out.
    void OnEntriesChanged();
    void OnEntryGoing(const ChannelEntry* channel);
    /// Values read back from the host while it runs, then the meters.
    void OnTick(bool meters);
    void OnKeyUp(uintptr_t wparam, intptr_t lparam);
    /// Ends the gesture of a key that is still down: its release will not come here, or something else
    /// begins.
    void EndKeyGesture();

    /// The strip with the keyboard focus: the one that had it, else the first selected, else the first.
    void EnsureFocus();
    ChannelEntry* Focused() const { return m_focus; }

    /// Strips that are shown, from left to right.
    std::vector<Strip*> VisibleStrips() const;
    LONG TotalWidth() const;
    LONG ScrollOffset() const { return m_offset; }
    void SetScroll(LONG offset);

private:
    enum class SelectMode { Alone, Toggle, Extend };

    static void OnFader(tQMFADER* fader, uint32_t id, uintptr_t userData, uint32_t code,
                        const int32_t* values, uint32_t channelMask);
    void HandleFader(Strip& strip, uint32_t code, int32_t position);
    Strip* StripAt(LONG x) const;
    void LayoutStrips();
    void PlaceStrip(Strip& strip, LONG x);
    bool IsOffBySolo(const Strip& strip) const;
    void InvalidateValues();
    void Press(Strip& strip, uint32_t element, uintptr_t keys);
    void Release(POINT at);
    void OnFaderMouse(Strip& strip, uint32_t message, uintptr_t wparam, intptr_t lparam);
    bool HoldsFader() const { return m_held && m_heldElement == ELEMENT_FADER; }
    void SendToHeldFader(uint32_t message, uintptr_t wparam, intptr_t lparam);
    intptr_t OnWheel(uint32_t message, uintptr_t wparam, intptr_t lparam);
    void Select(ChannelEntry& channel, SelectMode mode);
    void SelectAll();
    void SetFocus(ChannelEntry* channel);
    bool MoveFocus(uint32_t key);
    bool MoveFaders(uint32_t key, uintptr_t wparam, intptr_t lparam);
    void ToggleByKey(const StripSwitch& s);
    std::vector<Strip*> KeyTargets(bool alone) const;
    RECT ScrollLane() const;
    void PaintScrollLane(QPainter& painter) const;
    void ShowFaderTip(const Strip& strip);

    CConsoleControlPlugin& m_plugin;
    const ConsoleImages& m_images;
    FaderGesture m_gesture;
    LONG m_offset = 0;
    ChannelEntry* m_focus = nullptr;
    ChannelEntry* m_anchor = nullptr;  ///< where Shift extends the selection from

    // What the mouse holds from press to release.
    Strip* m_held = nullptr;
    uint32_t m_heldElement = ELEMENT_NONE;
    uint32_t m_pressed = ELEMENT_NONE;  ///< drawn pressed: the mouse is still over it
    bool m_anySolo = false;
};
