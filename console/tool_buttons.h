// Buttons of commands, as the console's two tool bars have them: drawn, pressed, offered to screen readers.
// The bar that they stand on lays them out and gives them mouse and keys. [page-thread]
#pragma once

#include "console/accessible.h"
#include "console/command_state.h"
#include "console/text_ids.h"
#include "console/view_region.h"

#include <memory>
#include <optional>
#include <vector>

class ImageList;

/// Sides of a command's image, and the room of the arrow that says that a button opens a menu.
inline constexpr LONG COMMAND_IMAGE = 16, DROP_ARROW_WIDTH = 10;

/// A bar, and in it what has room on it.
class ToolBarNode final : public AccessibleNode {
public:
    ToolBarNode(ConsoleTextId name, const char* identifier, const RECT& area)
        : m_name(name), m_identifier(identifier), m_area(area) {}

    std::vector<AccessibleNode*> parts;  ///< in the order in which they are laid out

    int Place() const override { return 0; }
    int ChildCount() const override { return static_cast<int>(parts.size()); }
    AccessibleNode* Child(int index) override { return parts[static_cast<size_t>(index)]; }
    Role TheRole() const override { return Role::ToolBar; }
    std::u16string Name() const override;
    std::string Identifier() const override { return m_identifier; }
    RECT Area() const override { return m_area; }

private:
    const ConsoleTextId m_name;
    const char* const m_identifier;
    const RECT& m_area;
};

class ToolButton final : public AccessibleNode {
public:
    using Run = std::function<void(ToolButton& button)>;

    /// With a label the text stands beside the image; without, it is the tip. `tip` 0: the command's own.
    ToolButton(ToolBarNode& bar, uint32_t buttonCommand, ConsoleTextId buttonText, bool hasLabel, Run run)
        : command(buttonCommand), text(buttonText), label(hasLabel), m_bar(bar), m_run(std::move(run)) {}

    RECT area{};
    const uint32_t command;
    const ConsoleTextId text;
    const bool label;
    bool dropDown = false;
    ConsoleTextId tip{};
    int place = 0;
    bool enabled = true, checked = false, isSwitch = false;

    AccessibleNode* Parent() const override { return &m_bar; }
    int Place() const override { return place; }
    Role TheRole() const override { return isSwitch ? Role::Switch : Role::Button; }
    std::u16string Name() const override;
    std::u16string Description() const override;
    std::string Identifier() const override;
    RECT Area() const override { return area; }
    bool IsOn() const override { return checked; }
    void Press() override {
        if (enabled) m_run(*this);
    }

private:
    ToolBarNode& m_bar;
    const Run m_run;
};

class ToolButtons {
public:
    ToolButtons(RegionSite& site, ToolBarNode& bar) : m_site(site), m_bar(bar) {}

    /// The one added is without a place until the bar gives it one.
    ToolButton& Add(uint32_t command, ConsoleTextId text, bool label = false);
    void Clear();
    std::vector<std::unique_ptr<ToolButton>>& All() { return m_buttons; }
    const std::vector<std::unique_ptr<ToolButton>>& All() const { return m_buttons; }
    /// What runs instead of the command; before Add.
    void OnRun(ToolButton::Run run) { m_run = std::move(run); }

    /// Reads the states anew; what changed is painted soon.
    void ShowStates();
    ToolButton* At(POINT at) const;
    /// True when the message was about a button.
    bool OnMouse(uint32_t message, POINT at);
    void OnMouseAway();
    void Paint(QPainter& painter, const RECT& area, const ImageList& images) const;

    // The keyboard, while it is on the bar.

    ToolButton* Focused() const { return m_focused; }
    void SetFocused(ToolButton* button);
    bool OnKeyDown(uint32_t key);

private:
    void Invalidate(const ToolButton* button);

    RegionSite& m_site;
    ToolBarNode& m_bar;
    ToolButton::Run m_run;
    std::vector<std::unique_ptr<ToolButton>> m_buttons;
    ToolButton* m_pressed = nullptr;
    ToolButton* m_hot = nullptr;
    ToolButton* m_focused = nullptr;
    bool m_inside = false;  ///< the mouse is over the pressed one
};
