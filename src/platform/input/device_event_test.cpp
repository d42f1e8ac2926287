// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/input/device_event.h"

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <cmath>
#include <utility>

namespace lumivastor::platform {
namespace {

using Kind = RawPointerEvent::Kind;

TEST(DeviceEvent, ButtonsHaveTheirNumbersAndTimes) {
    const std::pair<std::uint32_t, int> buttons[] = {{BTN_LEFT, 1},  {BTN_MIDDLE, 2},   {BTN_RIGHT, 3}, {BTN_SIDE, 8},
                                                     {BTN_EXTRA, 9}, {BTN_FORWARD, 10}, {BTN_BACK, 11}, {BTN_TASK, 12}};
    for (const auto& [code, number] : buttons) {
        DeviceEvent event;
        event.code = code;
        event.microseconds = 81'234'567'890;
        for (const bool isPressed : {true, false}) {
            event.isPressed = isPressed;
            const auto raw = rawEvent(event);
            ASSERT_TRUE(raw) << code;
            EXPECT_EQ(raw->kind, isPressed ? Kind::press : Kind::release);
            EXPECT_EQ(raw->button, number);
            EXPECT_NEAR(raw->hostSeconds, 81234.567890, 1e-7);
            EXPECT_EQ(raw->pixel, std::nullopt);
        }
    }
}

TEST(DeviceEvent, KeysOfAMouseAreNoButtons) {
    for (const int code : {KEY_A, KEY_LEFTCTRL, KEY_VOLUMEUP, BTN_0, BTN_TOUCH, BTN_TOOL_FINGER}) {
        DeviceEvent event;
        event.code = static_cast<std::uint32_t>(code);
        event.isPressed = true;
        EXPECT_EQ(rawEvent(event), std::nullopt) << code;
    }
}

DeviceEvent scroll(DeviceEvent::Kind kind, double horizontal, double vertical) {
    DeviceEvent event;
    event.kind = kind;
    event.microseconds = 2'500'000;
    event.horizontal = horizontal;
    event.vertical = vertical;
    return event;
}

TEST(DeviceEvent, AWheelScrollsByNotchesUpAndLeft) {
    const auto down = rawEvent(scroll(DeviceEvent::Kind::wheel, 0, 120));
    ASSERT_TRUE(down);
    EXPECT_EQ(down->kind, Kind::scroll);
    EXPECT_EQ(down->hostSeconds, 2.5);
    EXPECT_EQ(down->notchesY, -1);
    EXPECT_EQ(down->notchesX, 0);
    EXPECT_FALSE(std::signbit(down->notchesX));
    // Wheels with a high resolution report parts of a notch.
    EXPECT_EQ(rawEvent(scroll(DeviceEvent::Kind::wheel, 0, -30))->notchesY, 0.25);
    EXPECT_EQ(rawEvent(scroll(DeviceEvent::Kind::wheel, -240, 0))->notchesX, 2);
}

// With natural scrolling, libinput turns the signs around; what arrives is the direction in which the content moves.
TEST(DeviceEvent, FingersScrollInTheDirectionOfTheContent) {
    const auto event = rawEvent(scroll(DeviceEvent::Kind::finger, 7.5, -15));
    ASSERT_TRUE(event);
    EXPECT_EQ(event->notchesX, -0.5);
    EXPECT_EQ(event->notchesY, 1);
    const auto natural = rawEvent(scroll(DeviceEvent::Kind::finger, -7.5, 15));
    EXPECT_EQ(natural->notchesX, 0.5);
    EXPECT_EQ(natural->notchesY, -1);
    EXPECT_EQ(rawEvent(scroll(DeviceEvent::Kind::finger, 0, 0)), std::nullopt);
}

}  // namespace
}  // namespace lumivastor::platform
