// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overview/level_meter.h"

#include <algorithm>
#include <cmath>

#include "render/overview/waveform.h"

namespace lumivastor::render {

// Rates need not be multiples of 100, so the ends of levels are computed from their numbers.
void LevelMeter::add(std::span<const float> values) {
    const auto channels = static_cast<std::size_t>(channels_);
    for (std::size_t at = 0; at + channels <= values.size();) {
        if (frames_ == levelEnd_) {
            if (levelEnd_ > 0) levels_.push_back(Waveform::levelOf(peak_));
            peak_ = 0;
            const auto next = static_cast<std::int64_t>(levels_.size()) + 1;
            levelEnd_ = next * sampleRate_ / Waveform::kLevelsPerSecond;
        }
        const std::size_t left = (values.size() - at) / channels;
        const std::size_t count = std::min(left, static_cast<std::size_t>(levelEnd_ - frames_));
        float peak = peak_;
        for (const float value : values.subspan(at, count * channels)) peak = std::max(peak, std::fabs(value));
        peak_ = peak;
        frames_ += static_cast<std::int64_t>(count);
        at += count * channels;
    }
}

std::vector<std::uint8_t> LevelMeter::levels() const {
    std::vector<std::uint8_t> levels = levels_;
    if (frames_ > 0) levels.push_back(Waveform::levelOf(peak_));
    return levels;
}

}  // namespace lumivastor::render
