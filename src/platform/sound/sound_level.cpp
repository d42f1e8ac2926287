// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/sound_level.h"

#include <algorithm>
#include <cmath>

namespace lumivastor::platform {
namespace {

// 16 bits reach 0.99997, and a resampler may take a little off.
constexpr double kFullScale = 0.999;

}  // namespace

double decibels(double amplitude) {
    if (!(amplitude > 0) || !std::isfinite(amplitude)) return kSilentLevel;
    return std::max(kSilentLevel, 20 * std::log10(amplitude));
}

SoundLevel levelOf(std::span<const float> values) {
    double highest = 0;
    double energy = 0;
    for (const float value : values) {
        if (!std::isfinite(value)) continue;
        const double amplitude = std::abs(static_cast<double>(value));
        highest = std::max(highest, amplitude);
        energy += amplitude * amplitude;
    }
    if (values.empty()) return {};
    return {decibels(highest), decibels(std::sqrt(energy / static_cast<double>(values.size()))), highest >= kFullScale};
}

void LevelMeter::fall(double now) {
    const double by = kFall * std::max(0.0, now - fallenTo_);
    const double holdBy = kFall * std::max(0.0, now - std::max(fallenTo_, holdUntil_));
    shown_.rms = std::max(kSilentLevel, shown_.rms - by);
    shown_.peak = std::max(kSilentLevel, shown_.peak - by);
    shown_.hold = std::max(shown_.peak, shown_.hold - holdBy);
    shown_.isClipped = shown_.isClipped && now < clipUntil_;
    fallenTo_ = std::max(fallenTo_, now);
}

void LevelMeter::add(const SoundLevel& level, double now) {
    fall(now);
    shown_.rms = std::max(shown_.rms, level.rms);
    shown_.peak = std::max(shown_.peak, level.peak);
    if (level.peak >= shown_.hold) {
        shown_.hold = level.peak;
        holdUntil_ = now + kHoldSeconds;
    }
    if (!level.isClipped) return;
    shown_.isClipped = true;
    clipUntil_ = now + kClipSeconds;
}

LevelMeter::Reading LevelMeter::read(double now) {
    fall(now);
    return shown_;
}

}  // namespace lumivastor::platform
