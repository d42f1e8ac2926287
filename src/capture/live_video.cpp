// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/live_video.h"

#include <algorithm>

#include "base/saturated.h"
#include "imaging/picture_limits.h"
#include "media/region/region_video_encoder.h"

namespace lumivastor::capture {

namespace {

// Keeps a desktop's text sharp; see `VideoSettings::constantQuality`.
constexpr int kQuality = 20;
// With what else a seek does, 95 of 100 take no longer than a tenth of a second.
constexpr double kSeekSeconds = 0.08;
constexpr double kKeySecondsAfterChange = 10;
constexpr double kBitsPerPixel = 0.08;
// Of the rate; the encoder gets what they leave. Half would not do for a whole screen that scrolls at 60 a second,
// where the encoder needs no less for each picture, and forty times as much for the first one behind ours.
constexpr double kRegionShare = 0.75;
// Of the macroblocks: 9 ms at 2560 x 1440, where the encoder's fastest preset takes 10 to 16.
constexpr double kLargestShare = 0.15;
constexpr double kMotionSeconds = 1;

}  // namespace

std::int64_t averageBitRate(int width, int height, int fps) {
    return saturated<std::int64_t>(static_cast<double>(width) * height * fps * kBitsPerPixel);
}

media::EncodingJob screenEncodingJob(PixelSize size, int fps) {
    return {size.width, size.height, fps, averageBitRate(size.width, size.height, fps)};
}

std::int64_t deviceBitRate(int width, int height) {
    return std::max<std::int64_t>(averageBitRate(width, height, 60), 8'000'000);
}

bool canAddVideo(const media::VideoSettings& settings) {
    constexpr int kLeast = 2;
    return settings.width >= kLeast && settings.height >= kLeast &&
           imaging::isDecodablePictureSize(settings.width, settings.height);
}

media::VideoSettings liveVideoSettings(int width, int height, int fps, std::int64_t bitRate) {
    media::VideoSettings settings;
    settings.width = width;
    settings.height = height;
    settings.averageBitRate = bitRate;
    settings.maxKeyFrameInterval = 2 * fps;
    settings.maxSeekSeconds = kSeekSeconds;
    settings.keySecondsAfterChange = kKeySecondsAfterChange;
    settings.frameRate = fps;
    settings.timescale = kLiveTimescale;
    settings.lowLatency = true;
    settings.constantQuality = kQuality;
    return settings;
}

media::VideoSettings screenVideoSettings(int width, int height, int fps, std::int64_t bitRate) {
    media::VideoSettings settings = liveVideoSettings(width, height, fps, bitRate);
    media::RegionVideoSettings regions;
    regions.policy.averageBytes = static_cast<double>(bitRate) / 8 / fps * kRegionShare;
    regions.policy.savedPictures = std::max(1, fps / 2);
    regions.policy.largestShare = kLargestShare;
    regions.policy.motionPictures = regions.policy.restAfterGivingUp = static_cast<int>(kMotionSeconds * fps);
    settings.make = media::regionEncoderMaker(regions);
    return settings;
}

}  // namespace lumivastor::capture
