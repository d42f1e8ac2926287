// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/device_choice.h"

#include <gtest/gtest.h>

namespace lumivastor::app {
namespace {

std::vector<platform::CaptureDevice> threeDevices() {
    std::vector<platform::CaptureDevice> devices = {{"a", "Eingebaut"}, {"b", "Headset"}, {"c", "Headset"}};
    devices[0].isDefault = true;
    devices[2].lasting = "usb-7:Headset";
    return devices;
}

TEST(DeviceChoices, ListTheDefaultFirst) {
    const DevicePopup popup = devicePopup(threeDevices(), {});
    EXPECT_EQ(popup.items, (std::vector<std::string>{"Standard: Eingebaut", "Eingebaut", "Headset", "Headset (2)"}));
    EXPECT_EQ(popup.index, 0);
    EXPECT_EQ(devicePopup({}, {}).items, std::vector<std::string>{"Standard"});
}

TEST(DeviceChoices, AreFoundByTheLastingId) {
    EXPECT_EQ(devicePopup(threeDevices(), {"b", "Headset"}).index, 2);
    EXPECT_EQ(devicePopup(threeDevices(), {"usb-7:Headset", "Headset"}).index, 3);
    for (int index = 0; index <= 3; ++index) {
        const auto chosen = deviceAt(index, threeDevices());
        ASSERT_TRUE(chosen);
        EXPECT_EQ(devicePopup(threeDevices(), *chosen).index, index);
        EXPECT_FALSE(isMissing(*chosen, threeDevices()));
    }
    EXPECT_FALSE(deviceAt(4, threeDevices()));
    EXPECT_FALSE(deviceAt(-1, threeDevices()));
}

TEST(DeviceChoices, AMissingDeviceStaysChosen) {
    const ChosenDevice away{"x", "Funkmikrofon"};
    EXPECT_TRUE(isMissing(away, threeDevices()));
    const DevicePopup popup = devicePopup(threeDevices(), away);
    EXPECT_EQ(popup.items.back(), "Funkmikrofon (nicht angeschlossen)");
    EXPECT_EQ(popup.index, 4);
    EXPECT_FALSE(deviceAt(4, threeDevices())) << "choosing it changes nothing";
    EXPECT_EQ(missingDeviceText(away, threeDevices()),
              "„Funkmikrofon“ ist nicht angeschlossen; aufgenommen wird „Eingebaut“.");
    EXPECT_EQ(missingDeviceText(away, {}), "„Funkmikrofon“ ist nicht angeschlossen; ein anderes Gerät gibt es nicht.");
}

}  // namespace
}  // namespace lumivastor::app
