// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/devices/card_sound.h"

#include <gtest/gtest.h>

#include "base/serial_queue.h"
#include "platform/synthetic/synthetic_devices.h"
#include "platform/synthetic/synthetic_sound.h"

namespace lumivastor::devices {
namespace {

TEST(CardSound, RunsBesideThePictures) {
    using Kind = synthetic::SyntheticSoundSystem::Kind;
    SerialQueue queue("test");
    synthetic::SyntheticDevice card({"card", "Karte", true});
    synthetic::SyntheticSoundSystem sounds;
    CardSession session("Karte", card.open(), sounds.input(48000, {"usb", true}), "Ein anderer Eingang.");
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
    EXPECT_EQ(notices, (std::vector<std::string>{"Ein anderer Eingang.", "Der Ton von „Karte“ ist ausgefallen: weg",
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
