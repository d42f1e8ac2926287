// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/reading/sound_joins.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace lumivastor::media {

namespace {

// Half a period of a cosine, smooth at both ends; `distance` frames from the join, the nearest being 0.
double slope(std::int64_t distance, std::int64_t length) {
    if (distance >= length) return 1;
    const double part = (static_cast<double>(distance) + 0.5) / static_cast<double>(length);
    const double root = std::sin(part * std::numbers::pi / 2);
    return root * root;
}

}  // namespace

float joinGain(const SoundStretch& stretch, std::int64_t frame, int sampleRate) {
    const std::int64_t frames = stretch.end - stretch.start;
    const bool isShared = stretch.isJoinedBefore && stretch.isJoinedBehind;
    const std::int64_t length = std::min(joinFrames(sampleRate), isShared ? (frames + 1) / 2 : frames);
    double gain = 1;
    if (stretch.isJoinedBefore) gain *= slope(frame - stretch.start, length);
    if (stretch.isJoinedBehind) gain *= slope(stretch.end - 1 - frame, length);
    return static_cast<float>(gain);
}

void softenJoins(const SoundStretch& stretch, std::int64_t frame, std::span<float> values, const PcmFormat& format) {
    if (!stretch.isJoinedBefore && !stretch.isJoinedBehind) return;
    const auto channels = static_cast<std::size_t>(format.channels);
    const auto soften = [&](std::int64_t from, std::int64_t to) {
        const std::int64_t last = frame + static_cast<std::int64_t>(values.size() / channels);
        for (std::int64_t at = std::max(from, frame); at < std::min(to, last); ++at) {
            const float gain = joinGain(stretch, at, format.sampleRate);
            for (float& value : values.subspan(static_cast<std::size_t>(at - frame) * channels, channels))
                value *= gain;
        }
    };
    const std::int64_t length = joinFrames(format.sampleRate);
    const std::int64_t opened = std::min(stretch.start + length, stretch.end);
    soften(stretch.start, opened);
    soften(std::max(opened, stretch.end - length), stretch.end);
}

}  // namespace lumivastor::media
