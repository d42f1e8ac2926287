// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <span>
#include <string>

namespace lumivastor::platform {

/// Where the package puts the rule that lets the user of a seat read its pointer devices, and where it takes effect.
inline constexpr const char* kPointerRule = "/usr/share/doc/lumivastor/examples/70-lumivastor-pointer.rules";
inline constexpr const char* kRuleFolder = "/etc/udev/rules.d/";

/// An input device as the system's device database describes it.
struct InputDevice {
    std::string node;  // "/dev/input/event5"
    std::string name;
    std::string seat = "seat0";
    bool isMouse = false;
    bool isTouchpad = false;
    bool isPointingStick = false;
    bool isKeyboard = false;
    bool isReadable = false;
};

/// Whether the device may be opened: it moves the pointer of the first seat, and no keys of a keyboard come from it.
bool isPointerDevice(const InputDevice& device);

/// Why clicks cannot be seen, or not all of them, as a German sentence; nullopt when every pointer device is readable.
std::optional<std::string> whyNoClicks(std::span<const InputDevice> devices);

}  // namespace lumivastor::platform
