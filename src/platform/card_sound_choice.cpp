// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/card_sound_choice.h"

#include <regex>

namespace lumivastor::platform {

std::string hardwareOf(const std::string& place) {
    // The last of each kind: hubs lie above a USB device, bridges above a PCI card. "1-2.4" is a device, "1-2.4:1.0"
    // one of its interfaces.
    static const std::regex usb("^(.*/[0-9]+-[0-9]+(?:\\.[0-9]+)*)(?:/.*)?$");
    static const std::regex pci("^(.*/[0-9a-f]{4}:[0-9a-f]{2}:[0-9a-f]{2})\\.[0-7](?:/.*)?$");
    std::smatch found;
    if (std::regex_match(place, found, usb) || std::regex_match(place, found, pci)) return found[1];
    return {};
}

std::optional<CaptureDevice> soundOf(const std::string& cardPlace, const std::vector<CaptureDevice>& inputs) {
    const std::string hardware = hardwareOf(cardPlace);
    if (hardware.empty()) return std::nullopt;
    for (const CaptureDevice& each : inputs) {
        if (hardwareOf(each.place) == hardware) return each;
    }
    return std::nullopt;
}

CardInput cardInput(const CardSound& choice, const CaptureDevice& card, const std::vector<CaptureDevice>& inputs) {
    if (!choice.input.empty()) {
        for (const CaptureDevice& each : inputs) {
            if (each.lastingId() == choice.input) return {each, false};
        }
    }
    return {soundOf(card.place, inputs), !choice.input.empty()};
}

}  // namespace lumivastor::platform
