// The controls of a strip that a hand moves, alike for who routes messages to them: a fader, a slider, the
// surround pad. Each shows one parameter of the channel, or two, and tells the view what the hand does. All
// on the page's thread.
#pragma once

#include "console/strip_gesture.h"
#include "platform/types.h"

#include <memory>
#include <span>
#include <string>

class ImageList;
class QPainter;
class Strip;
class StripControl;
struct ControlHost;

/// What a hand does with a control. Between Begin and End values come; a value alone is a movement of its own
/// until End.
enum class HandCode { Begin, Change, Drag, End };

class StripControlSite {
public:
    virtual void OnHand(StripControl& control, HandCode code, const StripPositions& positions) = 0;

protected:
    ~StripControlSite() = default;
};

class StripControl {
public:
    StripControl(const StripControl&) = delete;
    StripControl& operator=(const StripControl&) = delete;
    virtual ~StripControl() = default;

    virtual intptr_t Message(uint32_t message, uintptr_t wparam, intptr_t lparam) = 0;
    virtual void Draw(QPainter& painter) = 0;
    virtual void Move(const RECT& rect) = 0;
    /// A thumb or the puck is under the mouse: it is ahead of the host.
    virtual bool IsHeld() const = 0;
    virtual RECT ThumbArea() const = 0;
    virtual StripPositions Positions() const = 0;
    /// What the host says; repaints what moves and tells nobody.
    virtual void Show(const StripPositions& positions) = 0;
    /// Of a pair: a hand moves both parts.
    virtual void SetLinked(bool) {}
    /// Of a fader: numbers beside its scale.
    virtual void SetLabels(bool) {}
    virtual void SetThumbs(const ImageList&) {}

    const RECT& Area() const { return m_area; }
    bool IsThere() const { return !m_area.IsEmpty(); }
    Strip& Owner() const { return m_strip; }
    uint32_t Element() const { return m_element; }
    std::span<const StripParameter> Parameters() const { return {m_parameters, m_parameterCount}; }
    const StripParameter& Parameter() const { return m_parameters[0]; }
    /// The value as a person reads it; of a pair the left part's, or the part's.
    std::u16string ValueText(size_t part = 0) const;

protected:
    StripControl(Strip& strip, StripControlSite& site, uint32_t element,
                 std::span<const StripParameter> parameters);
    void Tell(uint32_t code);

    Strip& m_strip;
    RECT m_area{};

private:
    StripControlSite& m_site;
    uint32_t m_element;
    StripParameter m_parameters[2];
    size_t m_parameterCount;
};

struct StripControlPlace {
    Strip& strip;
    StripControlSite& site;
    ControlHost& window;
    uint32_t element;
    uint32_t id;
};
std::unique_ptr<StripControl> MakeFader(const StripControlPlace& place, const StripParameter& parameter,
                                        bool ticks);
std::unique_ptr<StripControl> MakeSlider(const StripControlPlace& place, const StripParameter& parameter);
/// `parameters` are x and y.
std::unique_ptr<StripControl> MakePad(const StripControlPlace& place,
                                      std::span<const StripParameter> parameters, uint32_t speakers);
