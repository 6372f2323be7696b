// CUpperToolBar: the row of buttons above everything, and the project's audio format. [page-thread]
#pragma once

#include "console/tool_buttons.h"
#include "console/view_region.h"

class CUpperToolBar final : public CViewRegion {
public:
    explicit CUpperToolBar(RegionSite& site);

    HRESULT Create() override;
    void ReSize(RECT& rect) override;
    uint32_t HitTest(POINT at, std::u16string& tip, RECT& area) override;
    void OnMouseAway() override { m_buttons.OnMouseAway(); }
    intptr_t OnMouse(uint32_t message, uintptr_t wparam, intptr_t lparam) override;
    void Paint(QPainter& painter, const RECT& area) override;
    bool OnKeyDown(uint32_t message, uintptr_t wparam, intptr_t lparam) override;
    bool OnCommand(uint32_t command) override;
    void OnChannelUpdate(ChannelEntry* channel, uint32_t dirty) override;
    void OnEntriesChanged() override { m_site.RequestStates(); }
    void OnViewChanged() override { m_buttons.ShowStates(); }
    void OnStatesChanged() override { m_buttons.ShowStates(); }
    void OnTick(uint32_t what) override;
    /// The host is busy: the title stands before the format. It takes another layout.
    void SetBusy(bool busy);

    bool TakeKeyboard() override;
    void LeaveKeyboard() override { m_buttons.SetFocused(nullptr); }
    int PartCount() const override { return 1; }
    AccessibleNode* Part(int) const override { return &m_node; }
    AccessibleNode* FocusedPart() const override { return m_buttons.Focused(); }

private:
    /// What of the project the bar shows; zeros from a host that tells nothing.
    MPAUDIOFORMAT ReadFormat() const;
    void Press(ToolButton& button);
    void ShowMenu(const ToolButton& button);

    mutable ToolBarNode m_node;
    ToolButtons m_buttons;
    std::vector<ToolButton*> m_parts;  ///< those that have room, from the left
    std::vector<uint32_t> m_hidden;    ///< commands of those that have not
    std::vector<LONG> m_separators;    ///< x
    RECT m_formatArea{};
    MPAUDIOFORMAT m_format{};
    bool m_busy = false;
};
