// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/card_sound_choice.h"

#include <gtest/gtest.h>

namespace lumivastor::platform {
namespace {

constexpr const char* kUsbCard = "/sys/devices/pci0000:00/0000:00:14.0/usb2/2-1/2-1.4/2-1.4:1.0/video4linux/video2";
constexpr const char* kUsbSound = "/sys/devices/pci0000:00/0000:00:14.0/usb2/2-1/2-1.4/2-1.4:1.3/sound/card1";
constexpr const char* kPciCard = "/sys/devices/pci0000:00/0000:00:1c.4/0000:05:00.0/video4linux/video0";
constexpr const char* kPciSound = "/sys/devices/pci0000:00/0000:00:1c.4/0000:05:00.1/sound/card2";
constexpr const char* kBuiltIn = "/sys/devices/pci0000:00/0000:00:1f.3/sound/card0";

CaptureDevice input(const char* id, const char* place) {
    CaptureDevice device{id, id};
    device.place = place;
    return device;
}

TEST(CardSoundChoice, UsuallyIsOnTheSamePieceOfHardware) {
    EXPECT_EQ(hardwareOf(kUsbCard), "/sys/devices/pci0000:00/0000:00:14.0/usb2/2-1/2-1.4");
    EXPECT_EQ(hardwareOf(kPciCard), "/sys/devices/pci0000:00/0000:00:1c.4/0000:05:00");
    EXPECT_EQ(hardwareOf("/sys/devices/virtual/video4linux/video0"), "");
    EXPECT_EQ(hardwareOf(""), "");
    const std::vector<CaptureDevice> inputs = {
        input("virtual", ""), input("built-in", kBuiltIn), input("usb", kUsbSound), input("pci", kPciSound),
        input("neighbour", "/sys/devices/pci0000:00/0000:00:14.0/usb2/2-1/2-1.1/2-1.1:1.0/sound/card4")};
    EXPECT_EQ(soundOf(kUsbCard, inputs)->id, "usb");
    EXPECT_EQ(soundOf(kPciCard, inputs)->id, "pci");
    EXPECT_FALSE(soundOf("", inputs)) << "unknown places are not one place";
    EXPECT_FALSE(soundOf("/sys/devices/pci0000:00/0000:00:14.0/usb2/2-3/2-3:1.0/video4linux/video1", inputs));
}

TEST(CardSoundChoice, IsTheChosenInputWhileThatIsThere) {
    CaptureDevice card{"card", "Karte", true};
    card.place = kUsbCard;
    std::vector<CaptureDevice> inputs = {input("usb", kUsbSound), input("built-in", kBuiltIn)};
    inputs.back().lasting = "lasting";
    EXPECT_EQ(cardInput({}, card, inputs).input->id, "usb");
    EXPECT_FALSE(cardInput({}, card, inputs).isReplacement);
    EXPECT_EQ(cardInput({"lasting"}, card, inputs).input->id, "built-in");
    EXPECT_FALSE(cardInput({"lasting"}, card, inputs).isReplacement);
    inputs.pop_back();
    EXPECT_EQ(cardInput({"lasting"}, card, inputs).input->id, "usb") << "never none in its place";
    EXPECT_TRUE(cardInput({"lasting"}, card, inputs).isReplacement);
    EXPECT_FALSE(cardInput({"lasting"}, card, {}).input);
}

}  // namespace
}  // namespace lumivastor::platform
