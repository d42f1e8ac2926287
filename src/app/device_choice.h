// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/main_window_state.h"
#include "app/session/preferences.h"
#include "platform/capture_device.h"

// The pop-ups with microphones and cameras: decisions as functions of values.

namespace lumivastor::app {

/// Whether a device was chosen that is not there.
bool isMissing(const ChosenDevice& chosen, const std::vector<platform::CaptureDevice>& devices);

/// First the default, with the name of the device that it is; then all devices; last the chosen one if it is missing.
DevicePopup devicePopup(const std::vector<platform::CaptureDevice>& devices, const ChosenDevice& chosen);

/// What an item of that pop-up means; nullopt for an index that it has not, and for the missing device.
std::optional<ChosenDevice> deviceAt(int index, const std::vector<platform::CaptureDevice>& devices);

/// The sound inputs beside a capture card: as `devicePopup`, with the card's own input as the default, and "Ohne Ton"
/// behind that.
DevicePopup cardSoundPopup(const platform::CaptureDevice& card, const std::vector<platform::CaptureDevice>& inputs,
                           const ChosenDevice& chosen);
/// What an item of that pop-up means; nullopt as with `deviceAt`.
std::optional<ChosenDevice> cardSoundAt(int index, const std::vector<platform::CaptureDevice>& inputs);

/// What is recorded in place of a missing device, as a sentence.
std::string missingDeviceText(const ChosenDevice& chosen, const std::vector<platform::CaptureDevice>& devices);
/// The same for a card's sound.
std::string missingCardSoundText(const platform::CaptureDevice& card, const ChosenDevice& chosen,
                                 const std::vector<platform::CaptureDevice>& inputs);

}  // namespace lumivastor::app
