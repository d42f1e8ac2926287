// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/live_video.h"

#include <gtest/gtest.h>

#include "media/region/region_video_encoder.h"

namespace lumivastor::capture {
namespace {

TEST(BitRates, AreEightHundredthsOfABitForEachPixel) {
    EXPECT_EQ(averageBitRate(1920, 1080, 60), 9953280);
    EXPECT_EQ(averageBitRate(2560, 1440, 30), 8847360);
    EXPECT_EQ(averageBitRate(2, 2, 30), 9);  // cut off, not rounded
    EXPECT_EQ(deviceBitRate(1178, 2556), 14452646);
    EXPECT_EQ(deviceBitRate(640, 480), 8000000);
}

TEST(LiveVideoSettings, HaveAKeyPictureEveryTwoSecondsOfMotionAndEveryTenAtRest) {
    const media::VideoSettings settings = liveVideoSettings(1280, 720, 30, 5'000'000);
    EXPECT_EQ(settings.maxKeyFrameInterval, 60);
    EXPECT_EQ(settings.maxKeyFrameSeconds, 10);
    EXPECT_EQ(settings.constantQuality, 20);
    EXPECT_EQ(settings.frameRate, 30);
    EXPECT_EQ(settings.averageBitRate, 5'000'000);
    EXPECT_EQ(settings.timescale % 600, 0);
    EXPECT_TRUE(settings.lowLatency);
    EXPECT_TRUE(canAddVideo(settings));
    EXPECT_FALSE(canAddVideo(liveVideoSettings(20000, 720, 30, 1)));
    EXPECT_FALSE(canAddVideo(liveVideoSettings(1280, 0, 30, 1)));
}

TEST(LiveVideoSettings, OfAScreenLetSmallChangesBeRegionPictures) {
    media::VideoSettings settings = screenVideoSettings(320, 240, 30, 5'000'000);
    media::EncodingJob job = screenEncodingJob({320, 240}, 30);
    const auto slow = [](const media::EncoderCandidate&, const media::EncodingJob&) {
        return media::EncoderTrial{true, 1};
    };
    media::decideRecordingEncoder(job, {}, slow).applyTo(settings);
    const auto encoder = media::makePictureEncoder(settings);
    const auto* const region = dynamic_cast<const media::RegionVideoEncoder*>(encoder.get());
    ASSERT_NE(region, nullptr);
    EXPECT_EQ(region->obstacle(), "");
    EXPECT_FALSE(liveVideoSettings(320, 240, 30, 5'000'000).make) << "a camera's noise changes everything";
}

}  // namespace
}  // namespace lumivastor::capture
