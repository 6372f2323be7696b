#include "controls/game_controller.h"

#include <algorithm>

namespace {
constexpr int32_t kUnit = 10000, kMiddle = 32768;

GAMECONTROLLER*& Device() {
    static GAMECONTROLLER* device = nullptr;
    return device;
}
}  // namespace

StickEvent TrackStick(uint32_t& state, StickBits bits, bool mayStart, uint32_t message, uintptr_t wparam,
                      intptr_t lparam) {
    switch (message) {
    case GAMEM_DEVICE: Device() = reinterpret_cast<GAMECONTROLLER*>(lparam); return StickEvent::Taken;
    case GAMEM_FOCUS: state = wparam ? state | bits.focused : state & ~bits.focused; return StickEvent::Focus;
    case GAMEM_BUTTONDOWN:
        if (!(state & bits.focused) || !mayStart) return StickEvent::Unused;
        state |= bits.held;
        return StickEvent::Start;
    case GAMEM_AXIS: return state & bits.held ? StickEvent::Track : StickEvent::Unused;
    case GAMEM_BUTTONUP:
        if (!(state & bits.held)) return StickEvent::Unused;
        state &= ~bits.held;
        return StickEvent::End;
    default: return StickEvent::Unused;
    }
}

std::optional<int32_t> ControllerPosition(uint32_t axis) {
    const GAMECONTROLLER* device = Device();
    if (!device || device->unusable & 1) return {};
    const int64_t reading = axis == 0 ? device->axisX : device->axisY;
    return static_cast<int32_t>(
        std::clamp<int64_t>((reading - kMiddle) * device->gain / kUnit + kMiddle, 0, kControllerTravel));
}

void PullController(uint32_t axis, int32_t position, uint32_t saturation) {
    const GAMECONTROLLER* device = Device();
    if (!device || !device->setSpring) return;
    const int32_t center = static_cast<int32_t>(int64_t{position} * 2 * kUnit / kControllerTravel) - kUnit;
    const GAMEEFFECT effect{std::clamp(center, -kUnit, kUnit), kUnit, kUnit, saturation};
    device->setSpring(device->context, axis, &effect);
}
