// One force-feedback game controller that drives whichever control has its focus: an axis for the value, a
// button that is held while it counts, and a spring that pulls the stick to where the thumb is.
//
// The device's record is handed over by GAMEM_DEVICE and held for the process. Its owner changes the record
// and then sends the message that says so. All on the window's thread.
#pragma once

#include "platform/types.h"

#include <optional>

inline constexpr uint32_t GAMEM_DEVICE = 32522,  ///< -; GAMECONTROLLER*, null takes it away
    GAMEM_BUTTONDOWN = 32523,                    ///< -; -
    GAMEM_AXIS = 32524,                          ///< -; -
    GAMEM_BUTTONUP = 32525,                      ///< -; -
    GAMEM_FOCUS = 32526;                         ///< non-zero: the control has the controller from now on; -

/// A message that a control does not use goes to its owner in a notification with this code.
inline constexpr int32_t CONTROLN_UNUSED = -108;

struct GAMEEFFECT {
    int32_t center;  ///< -10000..10000
    int32_t positiveCoefficient, negativeCoefficient;
    uint32_t saturation;
};

struct GAMECONTROLLER {
    int32_t axisX, axisY;  ///< 0..65535, 32768 in the middle
    int32_t gain;          ///< 10000 takes the axes as they are
    uint32_t unusable;     ///< bit 0: the axis cannot be used
    void* context;
    /// May be null. `axis` is 0 for X, 1 for Y.
    void (*setSpring)(void* context, uint32_t axis, const GAMEEFFECT* effect);
};

constexpr bool IsControllerMessage(uint32_t message) {
    return message >= GAMEM_DEVICE && message <= GAMEM_FOCUS;
}

/// What a message of the controller means to a control.
enum class StickEvent { Unused, Taken, Focus, Start, Track, End };
/// Bits of a control's state: it has the controller's focus; the button is held.
struct StickBits {
    uint32_t focused, held;
};
/// Keeps the device and the two bits. A button counts only where the control may start.
StickEvent TrackStick(uint32_t& state, StickBits bits, bool mayStart, uint32_t message, uintptr_t wparam,
                      intptr_t lparam);

/// An axis goes from 0 to this.
inline constexpr int32_t kControllerTravel = 65535;
/// Where an axis stands; nothing without a usable device.
std::optional<int32_t> ControllerPosition(uint32_t axis);
/// Pulls an axis to `position`.
void PullController(uint32_t axis, int32_t position, uint32_t saturation);
inline constexpr uint32_t kSpringMoving = 10000, kSpringResting = 5000;
