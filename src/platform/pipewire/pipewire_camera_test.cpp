// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/pipewire_camera.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <string>
#include <vector>

#include "base/host_clock.h"
#include "base/recorder_error.h"
#include "platform/backends/device_backend.h"
#include "platform/synthetic/synthetic_sound.h"
#include "support/await.h"
#include "support/child_process.h"
#include "support/seen_pictures.h"
#include "support/sound_rig.h"

namespace lumivastor::pipewire {
namespace {

class PipeWireCamera : public testing::Test {
  protected:
    // Plugs in a camera, and waits until the server has it.
    std::unique_ptr<ChildProcess> plugIn(std::vector<std::string> options = {}) {
        std::vector<std::string> arguments{LUMI_VIDEO_SOURCE, rig_.remote(), "kamera", "640", "360"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        auto camera = std::make_unique<ChildProcess>(arguments, rig_.environment(), rig_.folder() / "camera.log");
        await([&] { return devices_->defaultCamera() || !camera->isRunning(); });
        if (!devices_->defaultCamera()) throw std::runtime_error("no camera came");
        return camera;
    }

    void expectOnTheHostClock(const std::vector<SeenPictures::Seen>& pictures, double started) {
        ASSERT_GT(pictures.size(), 30U);
        double oldest = 0;
        for (std::size_t i = 0; i < pictures.size(); ++i) {
            EXPECT_EQ(pictures[i].width, 640);
            EXPECT_EQ(pictures[i].height, 360);
            EXPECT_GE(pictures[i].hostSeconds, started);
            EXPECT_LE(pictures[i].hostSeconds, pictures[i].arrived);
            oldest = std::max(oldest, pictures[i].arrived - pictures[i].hostSeconds);
            if (i > 0) {
                EXPECT_GT(pictures[i].hostSeconds, pictures[i - 1].hostSeconds);
            }
        }
        const double span = pictures.back().hostSeconds - pictures.front().hostSeconds;
        const double each = span / static_cast<double>(pictures.size() - 1);
        std::cout << pictures.size() << " pictures, one every " << each * 1000 << " ms, at most " << oldest * 1000
                  << " ms old\n";
        // A busy machine leaves pictures out; more than there are it cannot make.
        EXPECT_GT(each, 1 / 30.0 - 0.003);
    }

    PipeWireRig rig_;
    std::unique_ptr<platform::CaptureDevices> devices_ =
        platform::openCaptureDevices(std::make_shared<synthetic::SyntheticSoundSystem>(), {rig_.remote(), {}, {}});
};

TEST_F(PipeWireCamera, DeliversThirtyPicturesASecondOnTheHostClock) {
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{}, {"--bare"}, {"--yuv"}, {"--yuv", "--bare"}}) {
        const auto camera = plugIn(options);
        const auto session = devices_->open(*devices_->defaultCamera());
        EXPECT_EQ(session->activeFormat(), (PixelSize{640, 360}));
        EXPECT_TRUE(session->canSetPreset({640, 360}));
        EXPECT_FALSE(session->canSetPreset({1280, 720}));
        SeenPictures seen;
        seen.watch(*session);
        EXPECT_FALSE(seen.hasSound());
        const double started = hostClockSeconds();
        session->startRunning();
        EXPECT_TRUE(seen.awaitPictures(60));
        session->stopRunning();
        seen.drain();
        EXPECT_TRUE(seen.interruptions().empty());
        const auto pictures = seen.pictures();
        expectOnTheHostClock(pictures, started);
        // The greys grow by one from picture to picture sent, and begin again behind 255. As YUV the darkest and the
        // brightest look alike.
        const bool isYuv = !options.empty() && options[0] == "--yuv";
        for (std::size_t i = 1; i < pictures.size() && !isYuv; ++i) {
            const int sent = (pictures[i].grey - pictures[i - 1].grey + 256) % 256;
            EXPECT_GE(sent, 1);
            EXPECT_LT(sent, 200);
        }
        const auto [minimum, maximum] = std::minmax_element(
            pictures.begin(), pictures.end(), [](const auto& a, const auto& b) { return a.grey < b.grey; });
        EXPECT_GT(maximum->grey - minimum->grey, 30);
    }
}

TEST_F(PipeWireCamera, ACameraThatVanishesIsAnInterruptionAndCanComeBack) {
    auto camera = plugIn();
    const platform::CaptureDevice device = *devices_->defaultCamera();
    const auto session = devices_->open(device);
    SeenPictures seen;
    seen.watch(*session);
    session->startRunning();
    EXPECT_TRUE(seen.awaitPictures(5));
    camera->kill();
    EXPECT_TRUE(seen.awaitInterruption());
    session->stopRunning();
    EXPECT_EQ(seen.interruptions(), std::vector<std::string>{"Die Kamera „kamera“ wurde getrennt."});
    EXPECT_THROW(devices_->open(device), RecorderError);

    camera = plugIn();
    const auto again = devices_->open(*devices_->defaultCamera());
    SeenPictures seenAgain;
    seenAgain.watch(*again);
    again->startRunning();
    EXPECT_TRUE(seenAgain.awaitPictures(5));
    again->stopRunning();
    EXPECT_TRUE(seenAgain.interruptions().empty());
}

TEST_F(PipeWireCamera, AServerThatDiesIsAnInterruption) {
    const auto camera = plugIn();
    const auto session = devices_->open(*devices_->defaultCamera());
    SeenPictures seen;
    seen.watch(*session);
    session->startRunning();
    EXPECT_TRUE(seen.awaitPictures(2));
    rig_.kill();
    EXPECT_TRUE(seen.awaitInterruption());
    session->stopRunning();
    EXPECT_EQ(seen.interruptions().size(), 1U);
    EXPECT_FALSE(devices_->defaultCamera());
}

TEST_F(PipeWireCamera, StopsBeforeTheFirstPicture) {
    const auto camera = plugIn();
    for (int i = 0; i < 3; ++i) {
        const auto session = devices_->open(*devices_->defaultCamera());
        SeenPictures seen;
        seen.watch(*session);
        session->startRunning();
        session->stopRunning();
        EXPECT_TRUE(seen.interruptions().empty());
    }
}

TEST_F(PipeWireCamera, WithoutACameraThereIsNone) {
    EXPECT_TRUE(findPipeWireCameras(rig_.remote(), [](const std::string&) { return true; }).empty());
    EXPECT_THROW(PipeWireCameraSession(rig_.remote(), "kamera", "Kamera"), RecorderError);
}

}  // namespace
}  // namespace lumivastor::pipewire
