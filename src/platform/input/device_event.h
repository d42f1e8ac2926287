// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>

#include "platform/input/pointer_interpreter.h"

namespace lumivastor::platform {

/// What a pointer device did, as libinput reports it: after the user's natural scrolling and left-handed settings, as
/// far as libinput knows them.
struct DeviceEvent {
    enum class Kind : std::uint8_t {
        button,
        wheel,   // in 120ths of a notch
        finger,  // scrolling without notches, in the units of libinput's pointer motion
    };

    Kind kind = Kind::button;
    std::uint64_t microseconds = 0;  // of the monotonic clock
    std::uint32_t code = 0;          // buttons: the kernel's code
    bool isPressed = false;
    /// Scrolling only; positive is to the right and down, the reverse of `RawPointerEvent`.
    double horizontal = 0;
    double vertical = 0;
};

/// The event as an interpreter takes it, without a position. nullopt for what is no press, release or scroll: keys that
/// some mice have, and the zero that ends scrolling with fingers.
std::optional<RawPointerEvent> rawEvent(const DeviceEvent& event);

}  // namespace lumivastor::platform
