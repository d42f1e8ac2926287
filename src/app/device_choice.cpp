// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/device_choice.h"

#include <algorithm>

#include "platform/card_sound_choice.h"

namespace lumivastor::app {

namespace {

const platform::CaptureDevice* defaultOf(const std::vector<platform::CaptureDevice>& devices) {
    const auto found = std::find_if(devices.begin(), devices.end(),
                                    [](const platform::CaptureDevice& each) { return each.isDefault; });
    return found == devices.end() ? nullptr : &*found;
}

// Two devices of one make have one name.
std::string distinct(const std::string& name, const std::vector<std::string>& taken) {
    std::string text = name;
    for (int number = 2; std::find(taken.begin(), taken.end(), text) != taken.end(); ++number) {
        text = name + " (" + std::to_string(number) + ")";
    }
    return text;
}

// The inputs, with the one on the card's own hardware as the default.
std::vector<platform::CaptureDevice> inputsOf(const platform::CaptureDevice& card,
                                              std::vector<platform::CaptureDevice> inputs) {
    const auto own = platform::soundOf(card.place, inputs);
    for (platform::CaptureDevice& each : inputs) each.isDefault = own && each.id == own->id;
    return inputs;
}

constexpr int kNoSound = 1;  // its place in the pop-up

}  // namespace

bool isMissing(const ChosenDevice& chosen, const std::vector<platform::CaptureDevice>& devices) {
    return !chosen.id.empty() && std::none_of(devices.begin(), devices.end(), [&](const platform::CaptureDevice& each) {
        return each.lastingId() == chosen.id;
    });
}

DevicePopup devicePopup(const std::vector<platform::CaptureDevice>& devices, const ChosenDevice& chosen) {
    DevicePopup popup;
    const platform::CaptureDevice* const standard = defaultOf(devices);
    popup.items.push_back(standard == nullptr ? "Standard" : "Standard: " + standard->name);
    for (const platform::CaptureDevice& each : devices) {
        if (!chosen.id.empty() && each.lastingId() == chosen.id) popup.index = static_cast<int>(popup.items.size());
        popup.items.push_back(distinct(each.name, popup.items));
    }
    if (isMissing(chosen, devices)) {
        popup.index = static_cast<int>(popup.items.size());
        popup.items.push_back(chosen.name + " (nicht angeschlossen)");
    }
    return popup;
}

std::optional<ChosenDevice> deviceAt(int index, const std::vector<platform::CaptureDevice>& devices) {
    if (index == 0) return ChosenDevice{};
    const auto number = static_cast<std::size_t>(index - 1);
    if (index < 0 || number >= devices.size()) return std::nullopt;
    return ChosenDevice{devices[number].lastingId(), devices[number].name};
}

DevicePopup cardSoundPopup(const platform::CaptureDevice& card, const std::vector<platform::CaptureDevice>& inputs,
                           const ChosenDevice& chosen) {
    DevicePopup popup = devicePopup(inputsOf(card, inputs), chosen);
    popup.items.insert(popup.items.begin() + kNoSound, "Ohne Ton");
    if (chosen.isNone) {
        popup.index = kNoSound;
    } else if (popup.index >= kNoSound) {
        ++popup.index;
    }
    return popup;
}

std::optional<ChosenDevice> cardSoundAt(int index, const std::vector<platform::CaptureDevice>& inputs) {
    if (index == kNoSound) return ChosenDevice{"", "", true};
    return deviceAt(index > kNoSound ? index - 1 : index, inputs);
}

std::string missingDeviceText(const ChosenDevice& chosen, const std::vector<platform::CaptureDevice>& devices) {
    const platform::CaptureDevice* const standard = defaultOf(devices);
    const std::string away = "„" + chosen.name + "“ ist nicht angeschlossen; ";
    if (standard != nullptr) return away + "aufgenommen wird „" + standard->name + "“.";
    return away + (devices.empty() ? "ein anderes Gerät gibt es nicht." : "aufgenommen wird das Standardgerät.");
}

std::string missingCardSoundText(const platform::CaptureDevice& card, const ChosenDevice& chosen,
                                 const std::vector<platform::CaptureDevice>& inputs) {
    const std::string away = "„" + chosen.name + "“ ist nicht angeschlossen; ";
    if (const auto own = platform::soundOf(card.place, inputs)) return away + "der Ton kommt von „" + own->name + "“.";
    return away + "der Ton kommt vom Gerät selbst, wenn es welchen liefert.";
}

}  // namespace lumivastor::app
