// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/devices/card_sound.h"

#include <gtest/gtest.h>

#include "base/serial_queue.h"
#include "platform/synthetic/synthetic_devices.h"
#include "platform/synthetic/synthetic_sound.h"

namespace lumivastor::devices {
namespace {

constexpr const char* kUsbCard = "/sys/devices/pci0000:00/0000:00:14.0/usb2/2-1/2-1.4/2-1.4:1.0/video4linux/video2";
constexpr const char* kUsbSound = "/sys/devices/pci0000:00/0000:00:14.0/usb2/2-1/2-1.4/2-1.4:1.3/sound/card1";
constexpr const char* kPciCard = "/sys/devices/pci0000:00/0000:00:1c.4/0000:05:00.0/video4linux/video0";
constexpr const char* kPciSound = "/sys/devices/pci0000:00/0000:00:1c.4/0000:05:00.1/sound/card2";
constexpr const char* kBuiltIn = "/sys/devices/pci0000:00/0000:00:1f.3/sound/card0";

platform::CaptureDevice input(const char* id, const char* place) {
    platform::CaptureDevice device{id, id};
    device.place = place;
    return device;
}

TEST(CardSound, IsOnTheSamePieceOfHardware) {
    EXPECT_EQ(hardwareOf(kUsbCard), "/sys/devices/pci0000:00/0000:00:14.0/usb2/2-1/2-1.4");
    EXPECT_EQ(hardwareOf(kPciCard), "/sys/devices/pci0000:00/0000:00:1c.4/0000:05:00");
    EXPECT_EQ(hardwareOf("/sys/devices/virtual/video4linux/video0"), "");
    EXPECT_EQ(hardwareOf(""), "");
    const std::vector<platform::CaptureDevice> inputs = {
        input("virtual", ""), input("built-in", kBuiltIn), input("usb", kUsbSound), input("pci", kPciSound),
        input("neighbour", "/sys/devices/pci0000:00/0000:00:14.0/usb2/2-1/2-1.1/2-1.1:1.0/sound/card4")};
    EXPECT_EQ(soundOf(kUsbCard, inputs)->id, "usb");
    EXPECT_EQ(soundOf(kPciCard, inputs)->id, "pci");
    EXPECT_FALSE(soundOf("", inputs)) << "unknown places are not one place";
    EXPECT_FALSE(soundOf("/sys/devices/pci0000:00/0000:00:14.0/usb2/2-3/2-3:1.0/video4linux/video1", inputs));
}

TEST(CardSound, RunsBesideThePictures) {
    using Kind = synthetic::SyntheticSoundSystem::Kind;
    SerialQueue queue("test");
    synthetic::SyntheticDevice card({"card", "Karte", true});
    synthetic::SyntheticSoundSystem sounds;
    CardSession session("Karte", card.open(), sounds.input(48000, {"usb", true}));
    EXPECT_TRUE(sounds.lastChoice().only) << "never the user's microphone instead";
    int pictures = 0;
    int buffers = 0;
    std::vector<std::string> notices;
    session.addVideoOutput(queue, false, [&](const platform::DeviceSample&) { ++pictures; });
    EXPECT_TRUE(session.addAudioOutput(queue, [&](const platform::SoundBuffer&) { ++buffers; }));
    session.onNotice([&](const std::string& sentence) { notices.push_back(sentence); });
    session.startRunning();
    card.emitPicture(1.0);
    sounds.emit(Kind::microphone, 1.0, 480);
    sounds.end(Kind::microphone, "weg");
    sounds.comeBack(Kind::microphone);
    session.stopRunning();
    queue.drain();
    EXPECT_EQ(pictures, 1);
    EXPECT_EQ(buffers, 1);
    EXPECT_EQ(notices, (std::vector<std::string>{"Der Ton von „Karte“ ist ausgefallen: weg",
                                                 "Der Ton von „Karte“ ist wieder da."}));
    EXPECT_EQ(sounds.running(Kind::microphone), 0);
}

TEST(CardSound, ThatDoesNotStartLeavesThePictures) {
    SerialQueue queue("test");
    synthetic::SyntheticDevice card({"card", "Karte", true});
    synthetic::SyntheticSoundSystem sounds;
    sounds.failStarts(synthetic::SyntheticSoundSystem::Kind::microphone, "Kein Zugriff.");
    CardSession session("Karte", card.open(), sounds.input(48000, {"usb", true}));
    std::vector<std::string> notices;
    session.addVideoOutput(queue, false, [](const platform::DeviceSample&) {});
    session.addAudioOutput(queue, [](const platform::SoundBuffer&) {});
    session.onNotice([&](const std::string& sentence) { notices.push_back(sentence); });
    session.startRunning();
    EXPECT_TRUE(card.isRunning());
    EXPECT_EQ(notices, std::vector<std::string>{"Der Ton von „Karte“ ist ausgefallen: Kein Zugriff."});
    session.stopRunning();
}

}  // namespace
}  // namespace lumivastor::devices
