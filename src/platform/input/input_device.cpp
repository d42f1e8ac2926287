// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/input/input_device.h"

#include <algorithm>

namespace lumivastor::platform {

bool isPointerDevice(const InputDevice& device) {
    const bool movesPointer = device.isMouse || device.isTouchpad || device.isPointingStick;
    return movesPointer && !device.isKeyboard && device.seat == "seat0";
}

std::optional<std::string> whyNoClicks(std::span<const InputDevice> devices) {
    if (std::none_of(devices.begin(), devices.end(), isPointerDevice)) {
        return "Klicks lassen sich nicht sehen, weil an diesem Rechner weder Maus noch Touchpad zu finden ist.";
    }
    const auto refused = std::find_if(devices.begin(), devices.end(), [](const InputDevice& device) {
        return isPointerDevice(device) && !device.isReadable;
    });
    if (refused == devices.end()) return std::nullopt;
    return "Klicks lassen sich nicht sehen, weil LumiVastor „" +
           (refused->name.empty() ? refused->node : refused->name) + "“ nicht lesen darf; „sudo cp " + kPointerRule +
           " " + kRuleFolder + "“ und ein Neustart geben Mäuse und Touchpads frei.";
}

}  // namespace lumivastor::platform
