// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/synthetic/synthetic_devices.h"

#include <gtest/gtest.h>

#include <future>
#include <string>
#include <vector>

#include "base/recorder_error.h"

namespace lumivastor::synthetic {
namespace {

TEST(SyntheticDevices, DeliverWhatTheTestEmits) {
    SerialQueue queue("test.device");
    const auto camera = std::make_shared<SyntheticDevice>(platform::CaptureDevice{"cam", "Kamera", false, 0});
    camera->setPresets({{1280, 720}});
    SyntheticCaptureDevices devices;
    EXPECT_FALSE(devices.defaultCamera());
    devices.setDefaultCamera(camera);
    const auto session = devices.open(*devices.defaultCamera());
    EXPECT_FALSE(session->canSetPreset({1920, 1080}));
    ASSERT_TRUE(session->canSetPreset({1280, 720}));
    session->setPreset({1280, 720});
    EXPECT_EQ(session->activeFormat(), (PixelSize{640, 480}));

    std::vector<platform::DeviceSample> seen;
    EXPECT_FALSE(session->addAudioOutput(queue, [](const platform::SoundBuffer&) {}));
    ASSERT_TRUE(
        session->addVideoOutput(queue, true, [&](const platform::DeviceSample& sample) { seen.push_back(sample); }));
    EXPECT_FALSE(camera->emitPicture(1));
    session->startRunning();
    EXPECT_TRUE(camera->emitPicture(2, std::uint8_t{200}));
    session->stopRunning();
    EXPECT_FALSE(camera->emitPicture(3));
    queue.drain();
    ASSERT_EQ(seen.size(), 1U);
    EXPECT_EQ(seen[0].hostSeconds, 2);
    EXPECT_EQ(seen[0].image->width(), 1280);
    EXPECT_EQ(seen[0].image->pixel(5, 5)[0], 200);
    EXPECT_EQ(seen[0].image->pixel(5, 5)[3], 255);
}

// Emits six pictures while the queue is held up by the first, and counts those that arrive.
int arrived(bool discardsLate, int pictures) {
    SerialQueue queue("test.device");
    SyntheticDevice camera(platform::CaptureDevice{"cam", "Kamera", false, 0});
    const auto session = camera.open();
    std::promise<void> release;
    queue.async([gate = release.get_future().share()] { gate.wait(); });
    int count = 0;
    EXPECT_TRUE(session->addVideoOutput(queue, discardsLate, [&](const platform::DeviceSample&) { ++count; }));
    session->startRunning();
    for (int i = 0; i < pictures; ++i) camera.emitPicture(i);
    release.set_value();
    queue.drain();
    session->stopRunning();
    return count;
}

TEST(SyntheticDevices, LatePicturesAreDroppedAsDocumented) {
    EXPECT_EQ(arrived(true, 6), 2);
    EXPECT_EQ(arrived(false, 6), 6);
    EXPECT_EQ(arrived(false, 40), 30);
}

TEST(SyntheticDevices, InterruptionIsToldAndEndsTheSession) {
    SyntheticDevice card(platform::CaptureDevice{"card", "Karte", true, 2});
    std::vector<std::string> told;
    const auto session = card.open();
    session->onInterruption([&](const std::string& reason) { told.push_back(reason); });
    session->startRunning();
    EXPECT_TRUE(card.interrupt("abgezogen"));
    EXPECT_FALSE(card.interrupt("abgezogen"));
    EXPECT_FALSE(card.isRunning());
    EXPECT_EQ(told, std::vector<std::string>{"abgezogen"});
}

TEST(SyntheticDevices, FailAsAsked) {
    SyntheticCaptureDevices devices;
    const auto card = std::make_shared<SyntheticDevice>(platform::CaptureDevice{"card", "Karte", true, 2});
    devices.addExternalDevice(card);
    ASSERT_EQ(devices.externalDevices().size(), 1U);
    EXPECT_THROW(devices.open({"other", "Anderes", true, 0}), RecorderError);
    card->failOpens("Belegt.");
    EXPECT_THROW(devices.open(card->description()), RecorderError);
    card->failOpens(std::nullopt);
    card->failStarts("Kein Signal.");
    std::string told;
    const auto session = devices.open(card->description());
    session->onInterruption([&](const std::string& reason) { told = reason; });
    session->startRunning();
    EXPECT_EQ(told, "Kein Signal.");
    EXPECT_FALSE(card->isRunning());
}

}  // namespace
}  // namespace lumivastor::synthetic
