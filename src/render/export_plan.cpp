// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/export_plan.h"

#include <algorithm>
#include <cmath>

#include "base/formatted.h"
#include "base/recorder_error.h"
#include "base/saturated.h"

namespace lumivastor::render {

namespace {

// The largest picture that H.264 knows a level for is 8192 x 4320.
constexpr std::int64_t kMinimumHeight = 2;
constexpr std::int64_t kLargestHeight = 4320;

// Within a zoom nobody looks for scrolls but at these intervals.
constexpr int kMotionPictures = 6;

// Of libvpx, from 0 to 63: docs/decisions/0017-forms-of-films.md.
constexpr int kWebMQuality = 32;

constexpr std::int64_t kFramesPerReport = 30;
constexpr double kUnfinished = 0.97;
constexpr float kNoGain = 0.001F;
constexpr double kHeldAtEnd = 0.05;

}  // namespace

PixelSize exportCanvas(std::int64_t height) {
    if (height < kMinimumHeight || height > kLargestHeight) {
        throw RecorderError(formatted("Die Höhe des Videos ist unzulässig: %lld.", static_cast<long long>(height)));
    }
    return {static_cast<int>(height * 16 / 9), static_cast<int>(height)};
}

void checkFrameRate(std::int64_t fps) {
    if (fps >= 1 && fps <= kExportTimescale) return;
    throw RecorderError(formatted("Die Bildrate der Aufnahme ist unzulässig: %lld.", static_cast<long long>(fps)));
}

std::int64_t frameCount(double seconds, std::int64_t fps) {
    return std::max<std::int64_t>(1, saturated<std::int64_t>(seconds * static_cast<double>(fps)));
}

double frameSeconds(std::int64_t index, std::int64_t fps) {
    return static_cast<double>(index) / static_cast<double>(fps);
}

std::int64_t exportBitRate(PixelSize canvas, std::int64_t fps) {
    constexpr double kBitsPerPixel = 0.1;
    return saturated<std::int64_t>(static_cast<double>(canvas.width) * static_cast<double>(canvas.height) *
                                   static_cast<double>(fps) * kBitsPerPixel);
}

media::VideoSettings exportVideoSettings(PixelSize canvas, std::int64_t fps, const std::optional<PixelRect>& camera) {
    media::VideoSettings settings;
    settings.width = canvas.width;
    settings.height = canvas.height;
    settings.averageBitRate = exportBitRate(canvas, fps);
    settings.maxKeyFrameInterval = static_cast<int>(fps * 2);
    settings.frameRate = static_cast<int>(fps);
    settings.make = media::regionEncoderMaker(exportRegionSettings(canvas, fps, camera));
    return settings;
}

media::RegionVideoSettings exportRegionSettings(PixelSize canvas, std::int64_t fps,
                                                const std::optional<PixelRect>& camera) {
    media::RegionVideoSettings regions;
    regions.policy.averageBytes = static_cast<double>(exportBitRate(canvas, fps)) / 8 / static_cast<double>(fps) / 2;
    regions.policy.motionPictures = kMotionPictures;
    regions.planner.camera = camera;
    return regions;
}

media::VideoSettings webMVideoSettings(PixelSize canvas, std::int64_t fps) {
    media::VideoSettings settings;
    settings.codec = media::VideoCodec::vp9;
    settings.width = canvas.width;
    settings.height = canvas.height;
    settings.averageBitRate = exportBitRate(canvas, fps);
    settings.maxKeyFrameInterval = static_cast<int>(fps * 2);
    settings.frameRate = static_cast<int>(fps);
    settings.timescale = kExportTimescale;
    settings.constantQuality = kWebMQuality;
    settings.limitsQuality = false;
    return settings;
}

media::AudioSettings webMAudioSettings() {
    media::AudioSettings settings;
    settings.codec = media::AudioCodec::opus;
    settings.bitRate = 128000;  // what AAC at 192 kbit/s sounds like
    return settings;
}

PixelRect pixelsTouchedBy(const Rect& rect, PixelSize canvas) {
    const double height = canvas.height;
    const int left = saturated<int>(std::floor(rect.minX()));
    const int top = saturated<int>(std::floor(height - rect.maxY()));
    const PixelRect touched{left, top, saturated<int>(std::ceil(rect.maxX())) - left,
                            saturated<int>(std::ceil(height - rect.minY())) - top};
    return intersection(touched, {0, 0, canvas.width, canvas.height});
}

std::optional<double> progressAfter(std::int64_t told, std::int64_t done, std::int64_t total, double before) {
    if (done / kFramesPerReport == told / kFramesPerReport) return std::nullopt;
    return std::min(before + (1 - before) * static_cast<double>(done) / static_cast<double>(total), kUnfinished);
}

SplitMix splitMix(std::vector<media::AudioMixInput> inputs) {
    SplitMix mix{std::move(inputs), 1};
    for (const media::AudioMixInput& input : mix.inputs) mix.gain = std::max(mix.gain, input.volume);
    for (media::AudioMixInput& input : mix.inputs) input.volume /= mix.gain;
    return mix;
}

void amplify(std::span<float> values, float gain) {
    if (!(std::abs(gain - 1.0F) > kNoGain)) return;
    for (float& value : values) value = std::clamp(value * gain, -1.0F, 1.0F);
}

bool RestartPolicy::isCalledFor(bool readerFailed, double t, double duration) {
    return readerFailed && t < duration - kHeldAtEnd;
}

std::optional<RestartPolicy::Attempt> RestartPolicy::next(double lastSeconds) {
    if (attempts_ == kLimit) return std::nullopt;
    const int before = attempts_++;
    constexpr double kNextTick = 0.001;
    const double skip = before <= 1 ? kNextTick : (before - 1) / 2.0;
    return Attempt{attempts_, MediaTime::fromSeconds(std::max(lastSeconds, 0.0) + skip, kExportTimescale)};
}

}  // namespace lumivastor::render
