// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/backends/device_backend.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <string>
#include <vector>

#include "base/host_clock.h"
#include "base/pixel_size.h"
#include "base/recorder_error.h"
#include "platform/synthetic/synthetic_sound.h"
#include "support/heard_sound.h"
#include "support/seen_pictures.h"

namespace lumivastor::platform {
namespace {

// A white flash for one picture at each full second, and a beep that begins with it.
constexpr const char* kFlashAndBeep =
    "color=c=black:s=320x240:r=30,drawbox=c=white:t=fill:enable='lt(mod(t,1),0.02)'[out0];"
    "aevalsrc=exprs='0.5*cos(2*PI*1000*t)*lt(mod(t,1),0.02)':s=48000[out1]";

std::shared_ptr<SoundSystem> noSounds() {
    return std::make_shared<synthetic::SyntheticSoundSystem>();
}

DeviceAddresses addresses(const std::string& camera, const std::string& device = {}) {
    // No PipeWire of the machine's own.
    return {"/nonexistent/pipewire-0", camera, device};
}

std::string failure(CaptureDevices& devices, const CaptureDevice& device) {
    try {
        devices.open(device);
    } catch (const RecorderError& error) {
        return error.message();
    }
    return "(it opened)";
}

TEST(DeviceBackend, FlashAndBeepOfADeviceLieTogether) {
    const auto devices = openCaptureDevices(noSounds(), addresses({}, kFlashAndBeep));
    const auto found = devices->externalDevices();
    ASSERT_FALSE(found.empty());
    EXPECT_TRUE(found[0].isExternal);
    const auto session = devices->open(found[0]);
    EXPECT_EQ(session->activeFormat(), (PixelSize{320, 240}));
    SeenPictures seen;
    seen.watch(*session);
    EXPECT_TRUE(seen.hasSound());
    const double started = hostClockSeconds();
    session->startRunning();
    EXPECT_TRUE(seen.awaitPictures(140));
    session->stopRunning();
    seen.drain();

    std::vector<double> flashes;
    double last = 0;
    for (const auto& picture : seen.pictures()) {
        EXPECT_GT(picture.hostSeconds, last);
        EXPECT_LE(picture.hostSeconds, picture.arrived);
        EXPECT_GE(picture.hostSeconds, started);
        last = picture.hostSeconds;
        if (picture.grey > 128) flashes.push_back(picture.hostSeconds);
    }
    const std::vector<double> beeps = seen.sound().beeps();
    ASSERT_GE(flashes.size(), 4U);
    ASSERT_GE(beeps.size(), 4U);
    double worst = 0;
    for (std::size_t i = 0; i < 4; ++i) worst = std::max(worst, std::abs(flashes[i] - beeps[i]));
    std::cout << "flash and beep up to " << worst * 1000 << " ms apart\n";
    EXPECT_LT(worst, 0.020);
    EXPECT_EQ(seen.sound().buffers().front().sampleRate, 48000);
    EXPECT_EQ(seen.sound().buffers().front().channels, 2);
    EXPECT_TRUE(seen.interruptions().empty());
}

TEST(DeviceBackend, TestCameraComesFirstAndHasItsOwnSizeOnly) {
    const auto devices = openCaptureDevices(noSounds(), addresses("testsrc2=size=1280x720:rate=30"));
    const auto camera = devices->defaultCamera();
    ASSERT_TRUE(camera);
    EXPECT_FALSE(camera->isExternal);
    const auto session = devices->open(*camera);
    EXPECT_FALSE(session->canSetPreset({1920, 1080}));
    ASSERT_TRUE(session->canSetPreset({1280, 720}));
    session->setPreset({1280, 720});
    SeenPictures seen;
    seen.watch(*session, true);
    EXPECT_FALSE(seen.hasSound());
    session->startRunning();
    EXPECT_TRUE(seen.awaitPictures(10));
    session->stopRunning();
    EXPECT_EQ(seen.pictures().back().width, 1280);
    EXPECT_EQ(seen.pictures().back().height, 720);
}

TEST(DeviceBackend, PresetsFillTheSizeThatAGraphLeavesOpen) {
    const auto devices = openCaptureDevices(noSounds(), addresses("testsrc2=size={size}:rate=30"));
    for (const PixelSize size : {PixelSize{0, 0}, {1280, 720}, {1920, 1080}}) {
        const auto session = devices->open(*devices->defaultCamera());
        EXPECT_EQ(session->activeFormat(), (PixelSize{640, 480}));
        EXPECT_FALSE(session->canSetPreset({640, 360}));
        if (size.width > 0) {
            ASSERT_TRUE(session->canSetPreset(size));
            session->setPreset(size);
        }
        SeenPictures seen;
        seen.watch(*session, true);
        session->startRunning();
        EXPECT_TRUE(seen.awaitPictures(2));
        session->stopRunning();
        EXPECT_EQ(seen.pictures().back().width, size.width > 0 ? size.width : 640);
    }
}

TEST(DeviceBackend, PicturesComeAtTheGraphsOwnRate) {
    const auto devices = openCaptureDevices(noSounds(), addresses("testsrc2=size=64x64:rate=20"));
    const auto session = devices->open(*devices->defaultCamera());
    SeenPictures seen;
    seen.watch(*session);
    session->startRunning();
    EXPECT_TRUE(seen.awaitPictures(41));
    session->stopRunning();
    const auto pictures = seen.pictures();
    for (std::size_t i = 1; i < pictures.size(); ++i) {
        EXPECT_NEAR(pictures[i].hostSeconds - pictures[i - 1].hostSeconds, 0.05, 1e-6);
    }
}

TEST(DeviceBackend, SoundOfAnyRateComesAsTheRecordersTakeIt) {
    const auto devices = openCaptureDevices(
        noSounds(), addresses({},
                              "testsrc2=size=64x64:rate=30:duration=2[out0];"
                              "sine=frequency=440:sample_rate=22050:duration=2,aformat=channel_layouts=mono[out1]"));
    const auto session = devices->open(devices->externalDevices()[0]);
    SeenPictures seen;
    seen.watch(*session);
    session->startRunning();
    EXPECT_TRUE(seen.awaitInterruption());
    session->stopRunning();
    seen.drain();
    const auto buffers = seen.sound().buffers();
    ASSERT_FALSE(buffers.empty());
    for (const SoundBuffer& buffer : buffers) {
        EXPECT_EQ(buffer.sampleRate, 48000);
        EXPECT_EQ(buffer.channels, 2);
        for (std::size_t i = 0; i < buffer.frames(); ++i) ASSERT_EQ(buffer.values[2 * i], buffer.values[2 * i + 1]);
    }
    EXPECT_EQ(seen.sound().jumps(), 0);
    EXPECT_NEAR(static_cast<double>(seen.sound().frames()), 96000, 200);
    EXPECT_NEAR(buffers.front().hostSeconds, seen.pictures().front().hostSeconds, 0.005);
}

TEST(DeviceBackend, ADeviceThatEndsIsAnInterruption) {
    const auto devices = openCaptureDevices(noSounds(), addresses({}, "testsrc2=size=64x64:rate=30:duration=0.3"));
    const auto session = devices->open(devices->externalDevices()[0]);
    SeenPictures seen;
    seen.watch(*session);
    session->startRunning();
    EXPECT_TRUE(seen.awaitInterruption());
    session->stopRunning();
    seen.drain();
    EXPECT_EQ(seen.interruptions(), std::vector<std::string>{"Das Gerät „Testgerät“ wurde getrennt."});
    EXPECT_EQ(seen.pictures().size(), 9U);
}

TEST(DeviceBackend, StopsBetweenTwoPicturesThatAreFarApart) {
    // Real time, because the device is one that keeps to the clock. A stop that waited for the next picture would take
    // ten times as long as the limit.
    constexpr int kBetween = 600;  // seconds
    const auto devices =
        openCaptureDevices(noSounds(), addresses("testsrc2=size=64x64:rate=1/" + std::to_string(kBetween)));
    for (int i = 0; i < 3; ++i) {
        const auto session = devices->open(*devices->defaultCamera());
        SeenPictures seen;
        seen.watch(*session);
        session->startRunning();
        EXPECT_TRUE(seen.awaitPictures(1));
        const double before = hostClockSeconds();
        session->stopRunning();
        EXPECT_LT(hostClockSeconds() - before, kBetween / 10);
        EXPECT_TRUE(seen.interruptions().empty());
    }
}

TEST(DeviceBackend, EverythingTakenHasBeenHandedOverWhenItStops) {
    const auto devices = openCaptureDevices(noSounds(), addresses({}, kFlashAndBeep));
    const auto session = devices->open(devices->externalDevices()[0]);
    SeenPictures seen;
    seen.watch(*session);
    session->startRunning();
    EXPECT_TRUE(seen.awaitPictures(5));
    session->stopRunning();
    seen.drain();
    const std::size_t pictures = seen.pictures().size();
    const std::size_t frames = seen.sound().frames();
    EXPECT_GT(frames, 0U);
    seen.drain();
    EXPECT_EQ(seen.pictures().size(), pictures);
    EXPECT_EQ(seen.sound().frames(), frames);
}

TEST(DeviceBackend, GraphsThatAreNoneAreRefused) {
    const auto devices = openCaptureDevices(noSounds(), addresses("nosuchfilter", "sine,nullsink"));
    EXPECT_EQ(failure(*devices, *devices->defaultCamera()), "Das Gerät konnte nicht geöffnet werden.");
    EXPECT_EQ(failure(*devices, devices->externalDevices()[0]), "Das Gerät konnte nicht geöffnet werden.");
    EXPECT_EQ(failure(*devices, {"v4l2:/dev/video63", "Kamera"}), "Das Gerät „Kamera“ ist nicht mehr angeschlossen.");
}

TEST(DeviceBackend, ADeviceIsHeardByTheChosenInput) {
    const auto sounds = std::make_shared<synthetic::SyntheticSoundSystem>();
    sounds->setOtherMicrophones({{"usb", "Adapter", false, 2}});
    const auto selection = std::make_shared<DeviceSelection>();
    const auto devices = openCaptureDevices(sounds, addresses({}, kFlashAndBeep), selection);
    const CaptureDevice device = devices->externalDevices()[0];
    const auto isHeardByAnInput = [&] {
        const auto session = devices->open(device);
        SeenPictures seen;
        seen.watch(*session);
        EXPECT_TRUE(seen.hasSound());
        session->startRunning();
        const bool isHeard = sounds->emit(synthetic::SyntheticSoundSystem::Kind::microphone, 1, 480);
        session->stopRunning();
        return isHeard;
    };
    EXPECT_FALSE(isHeardByAnInput()) << "its own";
    selection->setCardSound(device.lastingId(), {"usb", false});
    EXPECT_TRUE(isHeardByAnInput());
    EXPECT_EQ(sounds->lastChoice().id, "usb");
    EXPECT_TRUE(sounds->lastChoice().only) << "never the microphone in its place";
    selection->setCardSound(device.lastingId(), {"gone", false});
    EXPECT_FALSE(isHeardByAnInput());
}

TEST(DeviceBackend, TheMicrophoneIsTheSoundSystems) {
    const auto sounds = std::make_shared<synthetic::SyntheticSoundSystem>();
    const auto devices = openCaptureDevices(sounds, addresses({}));
    const auto microphone = devices->defaultMicrophone();
    ASSERT_TRUE(microphone);
    EXPECT_EQ(microphone->name, "Testmikrofon");
    EXPECT_EQ(microphone->channels, 1);
    const auto session = devices->open(*microphone);
    EXPECT_FALSE(session->canSetPreset({1280, 720}));
    SerialQueue queue("test.mic");
    std::vector<std::string> told;
    std::size_t frames = 0;
    EXPECT_FALSE(session->addVideoOutput(queue, true, [](const DeviceSample&) {}));
    EXPECT_TRUE(session->addAudioOutput(queue, [&](const SoundBuffer& buffer) { frames += buffer.frames(); }));
    session->onInterruption([&](const std::string& reason) { told.push_back(reason); });
    session->startRunning();
    sounds->emit(synthetic::SyntheticSoundSystem::Kind::microphone, 1, 480);
    sounds->end(synthetic::SyntheticSoundSystem::Kind::microphone, "abgezogen");
    session->stopRunning();
    EXPECT_FALSE(sounds->emit(synthetic::SyntheticSoundSystem::Kind::microphone, 2, 480));
    queue.drain();
    EXPECT_EQ(frames, 480U);
    EXPECT_EQ(told, std::vector<std::string>{"abgezogen"});

    sounds->failStarts(synthetic::SyntheticSoundSystem::Kind::microphone, "Kein Mikrofon gefunden.");
    const auto second = devices->open(*microphone);
    second->onInterruption([&](const std::string& reason) { told.push_back(reason); });
    second->startRunning();
    second->stopRunning();
    EXPECT_EQ(told.back(), "Kein Mikrofon gefunden.");
    sounds->setDefaultMicrophone(std::nullopt);
    EXPECT_FALSE(devices->defaultMicrophone());
}

}  // namespace
}  // namespace lumivastor::platform
