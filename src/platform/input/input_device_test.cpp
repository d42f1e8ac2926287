// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/input/input_device.h"

#include <gtest/gtest.h>

#include <vector>

namespace lumivastor::platform {
namespace {

InputDevice mouse() {
    InputDevice device;
    device.node = "/dev/input/event5";
    device.name = "Kabelmaus";
    device.isMouse = true;
    device.isReadable = true;
    return device;
}

TEST(InputDevice, OnlyWhatMovesThePointerOfTheFirstSeatIsOpened) {
    EXPECT_FALSE(isPointerDevice({}));
    for (bool InputDevice::*kind : {&InputDevice::isMouse, &InputDevice::isTouchpad, &InputDevice::isPointingStick}) {
        InputDevice device;
        device.*kind = true;
        EXPECT_TRUE(isPointerDevice(device));
        device.seat = "seat1";
        EXPECT_FALSE(isPointerDevice(device));
        device.seat = "seat0";
        device.isKeyboard = true;
        EXPECT_FALSE(isPointerDevice(device)) << "a keyboard is never opened, whatever else the device is";
    }
}

TEST(InputDevice, ClicksAreSeenWhenEveryPointerDeviceIsReadable) {
    InputDevice keyboard;
    keyboard.isKeyboard = true;
    const std::vector<InputDevice> devices = {keyboard, mouse()};
    EXPECT_EQ(whyNoClicks(devices), std::nullopt);
}

TEST(InputDevice, WithoutAPointerDeviceThereAreNoClicks) {
    InputDevice keyboard;
    keyboard.isKeyboard = keyboard.isReadable = true;
    const std::vector<InputDevice> devices = {keyboard};
    EXPECT_EQ(whyNoClicks(devices),
              "Klicks lassen sich nicht sehen, weil an diesem Rechner weder Maus noch Touchpad zu finden ist.");
    EXPECT_EQ(whyNoClicks({}), whyNoClicks(devices));
}

TEST(InputDevice, ADeviceThatMustNotBeReadIsNamedTogetherWithTheWayOut) {
    InputDevice touchpad = mouse();
    touchpad.isMouse = false;
    touchpad.isTouchpad = true;
    touchpad.isReadable = false;
    touchpad.name = "Touchpad";
    const std::vector<InputDevice> devices = {mouse(), touchpad};
    EXPECT_EQ(whyNoClicks(devices),
              "Klicks lassen sich nicht sehen, weil LumiVastor „Touchpad“ nicht lesen darf; „sudo cp "
              "/usr/share/doc/lumivastor/examples/70-lumivastor-pointer.rules /etc/udev/rules.d/“ und ein Neustart "
              "geben Mäuse und Touchpads frei.");
    touchpad.name.clear();
    EXPECT_NE(whyNoClicks(std::vector{touchpad})->find("„/dev/input/event5“"), std::string::npos);
}

}  // namespace
}  // namespace lumivastor::platform
