// What a screen reader, or a script, finds on the page: a pane, in it what its regions offer, each with name,
// role, place and value. Names are the user's and may be alike; the word for scripts tells a strip by the
// number that its channel has at the host. All on the page's thread.
#pragma once

#include "platform/types.h"

#include <cstdint>
#include <string>

/// One thing that is offered. Whoever shows it owns it; with it goes what was handed out about it.
class AccessibleNode {
public:
    enum class Role { None, Group, Slider, Thumb, Meter, Switch, Button, ToolBar, Picture };

    AccessibleNode() = default;
    AccessibleNode(const AccessibleNode&) = delete;
    AccessibleNode& operator=(const AccessibleNode&) = delete;
    virtual ~AccessibleNode();

    /// Null where the parent is the page.
    virtual AccessibleNode* Parent() const { return nullptr; }
    /// Its place among the parent's children, or among those of its region.
    virtual int Place() const = 0;
    virtual int ChildCount() const { return 0; }
    virtual AccessibleNode* Child(int) { return nullptr; }

    virtual Role TheRole() const = 0;
    virtual std::u16string Name() const = 0;
    virtual std::u16string Description() const { return {}; }
    /// For scripts: the same in every language.
    virtual std::string Identifier() const { return {}; }
    /// Pixels of the page.
    virtual RECT Area() const = 0;
    virtual bool IsOn() const { return false; }        ///< of a switch
    virtual bool IsSelected() const { return false; }  ///< of a group

    struct Range {
        double value, min, max;
    };
    /// Of sliders and meters.
    virtual Range Value() const { return {}; }
    virtual std::u16string TextOfValue() const { return {}; }
    /// Moves a slider; a hand's whole gesture.
    virtual void SetValue(double) {}
    virtual void Press() {}
    /// The key that presses it; 0 for none.
    virtual char Key() const { return 0; }

    uint32_t handedOut = 0;  ///< the number under which it was handed out; 0 where it was not
};

class CConsoleMixerPage;
class QWidget;

/// The property of a page's window that names its CConsoleMixerPage.
inline constexpr const char* ACCESSIBLE_PAGE_PROPERTY = "tarnConsolePage";

/// Lets windows with that property answer; once for the process.
void InstallConsoleAccessibility();
/// Tells that a slider's value or a switch's state is another; nothing while nobody has asked for the part.
void TellChange(QWidget& window, AccessibleNode& part);
/// Tells that the keyboard works on another part now.
void TellFocus(CConsoleMixerPage& page, AccessibleNode& focused);
