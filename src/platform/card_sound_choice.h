// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/capture_device.h"
#include "platform/device_selection.h"

// Which sound input is recorded with a capture card, whose sound is a device of its own for the sound server. Pure
// functions.

namespace lumivastor::platform {

/// The piece of hardware that a path below /sys/devices belongs to, as a path: the USB device, or else the card in a
/// PCI slot, whose functions count as one. Empty when the path has neither.
std::string hardwareOf(const std::string& place);

/// The sound input on the same piece of hardware as a capture card; nullopt when there is none, or when the card's
/// place is not known.
std::optional<CaptureDevice> soundOf(const std::string& cardPlace, const std::vector<CaptureDevice>& inputs);

struct CardInput {
    /// nullopt: what the card itself delivers, if anything.
    std::optional<CaptureDevice> input;
    /// An input was chosen and is not there, so this is the usual one.
    bool isReplacement = false;
};
/// The input that a choice means. `isNone` is not looked at: without sound no input is asked for.
CardInput cardInput(const CardSound& choice, const CaptureDevice& card, const std::vector<CaptureDevice>& inputs);

}  // namespace lumivastor::platform
