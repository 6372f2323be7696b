// CLeftToolBar: the column of buttons at the left: widths of the strips, range of the meters, and what is
// shown of channels and regions. [page-thread]
#pragma once

#include "console/tool_buttons.h"
#include "console/view_region.h"
#include "controls/trackbar.h"

// Element codes of the sliders; those of the buttons are their commands.
inline constexpr uint32_t LEFTBAR_RANGE = 779, LEFTBAR_WIDTH = 780;

class CLeftToolBar final : public CViewRegion {
public:
    explicit CLeftToolBar(RegionSite& site);
    ~CLeftToolBar() override;

    HRESULT Create() override;
    /// Takes the whole rectangle: the place that the left pane has for it.
    void ReSize(RECT& rect) override;
    uint32_t HitTest(POINT at, std::u16string& tip, RECT& area) override;
    void OnMouseAway() override;
    intptr_t OnMouse(uint32_t message, uintptr_t wparam, intptr_t lparam) override;
    void Paint(QPainter& painter, const RECT& area) override;
    void OnTimer(uint32_t id) override;
    bool OnCommand(uint32_t command) override;
    bool OnKeyDown(uint32_t message, uintptr_t wparam, intptr_t lparam) override;
    void OnChannelUpdate(ChannelEntry* channel, uint32_t dirty) override;
    void OnEntriesChanged() override { m_site.RequestStates(); }
    void OnViewChanged() override { ShowStates(); }
    void OnStatesChanged() override { ShowStates(); }
    void OnImagesChanged() override;

    /// The width at which no text is cut.
    LONG PreferredWidth() const;
    /// The least height at which it is of use, and the one that shows everything.
    LONG LeastHeight() const;
    LONG FullHeight() const;

    bool TakeKeyboard() override;
    void LeaveKeyboard() override { m_buttons.SetFocused(nullptr); }
    int PartCount() const override { return m_bounds.IsEmpty() ? 0 : 1; }
    AccessibleNode* Part(int) const override { return &m_node; }
    AccessibleNode* FocusedPart() const override { return m_buttons.Focused(); }

private:
    class Slider;

    void ShowStates();
    void OnSlider(const Slider& slider);
    Slider* SliderAt(POINT at) const;
    /// The captions above the groups of buttons, and how many rows all take.
    LONG PlaceRows(const RECT& rect, bool apply);

    mutable ToolBarNode m_node;
    ToolButtons m_buttons;
    std::unique_ptr<Slider> m_range, m_width;
    Slider* m_held = nullptr;
};
