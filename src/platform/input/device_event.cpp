// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/input/device_event.h"

#include <linux/input-event-codes.h>

namespace lumivastor::platform {
namespace {

constexpr double kWheelUnits = 120;
// What X11's driver for libinput counts as one notch when fingers scroll, so that recordings of both are alike.
constexpr double kFingerUnits = 15;

// The numbers that X11 gives the buttons: 4 to 7 are the wheel's. 0 for what is no button of a pointer.
int buttonOf(std::uint32_t code) {
    switch (code) {
        case BTN_LEFT:
            return 1;
        case BTN_MIDDLE:
            return 2;
        case BTN_RIGHT:
            return 3;
        default:
            return code >= BTN_SIDE && code <= BTN_TASK ? static_cast<int>(code - BTN_SIDE) + 8 : 0;
    }
}

}  // namespace

std::optional<RawPointerEvent> rawEvent(const DeviceEvent& event) {
    RawPointerEvent raw;
    raw.hostSeconds = static_cast<double>(event.microseconds) / 1e6;
    if (event.kind == DeviceEvent::Kind::button) {
        raw.kind = event.isPressed ? RawPointerEvent::Kind::press : RawPointerEvent::Kind::release;
        raw.button = buttonOf(event.code);
        return raw.button == 0 ? std::nullopt : std::optional(raw);
    }
    if (event.horizontal == 0 && event.vertical == 0) return std::nullopt;
    const double units = event.kind == DeviceEvent::Kind::wheel ? kWheelUnits : kFingerUnits;
    raw.kind = RawPointerEvent::Kind::scroll;
    // 0 - x rather than -x: no negative zero in documents.
    raw.notchesX = 0 - event.horizontal / units;
    raw.notchesY = 0 - event.vertical / units;
    return raw;
}

}  // namespace lumivastor::platform
