// CMixerView: the strips of all visible channels side by side, in the console's order, scrolled when they do
// not fit. It paints them, gives them the mouse and the keys, and turns selection and fader movements into
// calls of the host.
#pragma once

#include "console/fader_gesture.h"
#include "console/strip.h"
#include "console/view_region.h"

#include <span>

class CMixerView final : public CViewRegion {
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
    bool OnKeyDown(uint32_t message, uintptr_t wparam, intptr_t lparam) override;
    void OnKeyUp(uintptr_t wparam, intptr_t lparam) override;
    void OnFocus() override { EnsureFocus(); }
    void EndKeyGesture() override;
    void OnChannelUpdate(ChannelEntry* channel, uint32_t dirty) override;
    /// Makes the controls of channels that have none yet, and lays all out.
    void OnEntriesChanged() override;
    void OnEntryGoing(const ChannelEntry* channel) override;
    void OnTick(uint32_t what) override;
    void OnImagesChanged() override;

    LONG IdealWidth() const override { return m_totalWidth; }
    int PartCount() const override { return static_cast<int>(m_strips.size()); }
    AccessibleNode* Part(int index) const override { return m_strips[static_cast<size_t>(index)]; }
    AccessibleNode* PartAt(POINT at) const override { return StripAt(at.x); }
    AccessibleNode* FocusedPart() const override { return FocusedStrip(); }

private:
    enum class SelectMode { Alone, Toggle, Extend };

    void CollectStrips();
    static void OnFader(tQMFADER* fader, uint32_t id, uintptr_t userData, uint32_t code,
                        const int32_t* values, uint32_t channelMask);
    void HandleFader(Strip& strip, uint32_t code, int32_t position);
    Strip* StripAt(LONG x) const;
    void LayoutStrips();
    void PlaceStrip(Strip& strip, LONG x);
    bool IsOffBySolo(const Strip& strip) const;
    void InvalidateValues();
    void SetScroll(LONG offset);
    /// The strip with the keyboard focus: the one that had it, else the first selected, else the first.
    void EnsureFocus();
    /// Null for none.
    Strip* FocusedStrip() const;
    /// The strips that lie within the bounds.
    std::span<Strip* const> OnView() const;
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
    void ToggleByKey(uint32_t bit);
    std::vector<Strip*> KeyTargets(bool alone) const;
    RECT ScrollLane() const;
    void PaintScrollLane(QPainter& painter) const;
    void ShowFaderTip(const Strip& strip);

    CConsoleControlPlugin& m_plugin;
    const ConsoleImages& m_images;
    FaderGesture m_gesture;
    std::vector<Strip*> m_strips;  ///< those that are shown, from left to right
    LONG m_totalWidth = 0;         ///< of them all
    LONG m_offset = 0;
    ChannelEntry* m_focus = nullptr;
    ChannelEntry* m_anchor = nullptr;  ///< where Shift extends the selection from

    // What the mouse holds from press to release.
    Strip* m_held = nullptr;
    uint32_t m_heldElement = ELEMENT_NONE;
    uint32_t m_pressed = ELEMENT_NONE;  ///< drawn pressed: the mouse is still over it
    bool m_anySolo = false;
};
