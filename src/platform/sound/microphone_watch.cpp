// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/microphone_watch.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace lumivastor::platform {
namespace {

constexpr double kNever = -std::numeric_limits<double>::infinity();
// Sound arrives up to half a second late; a server that was busy for a moment longer is no trouble.
constexpr double kLate = 1;

}  // namespace

void MicrophoneWatch::begin(std::string wanted, double now) {
    isRunning_ = true;
    wanted_ = std::move(wanted);
    heardTo_ = lastSignal_ = lastNoise_ = now;
    clipTo_ = clipReportedTo_ = kNever;
}

void MicrophoneWatch::add(const SoundLevel& level, double start, double stop) {
    heardTo_ = std::max(heardTo_, stop);
    if (level.peak > kSilentLevel) lastNoise_ = std::max(lastNoise_, stop);
    if (level.peak >= kNoise) lastSignal_ = std::max(lastSignal_, stop);
    if (!level.isClipped) return;
    if (start > clipTo_ + kClipPauseSeconds) clipFrom_ = start;
    clipTo_ = std::max(clipTo_, stop);
    if (clipTo_ - clipFrom_ > kClipSeconds) clipReportedTo_ = clipTo_;
}

MicrophoneTrouble MicrophoneWatch::trouble(double now) const {
    if (!isRunning_) return MicrophoneTrouble::none;
    if (state_ && state_->isMuted) return MicrophoneTrouble::muted;
    if (state_ && state_->isMonitor) return MicrophoneTrouble::monitor;
    if (state_ && !wanted_.empty() && state_->id != wanted_) return MicrophoneTrouble::replaced;
    const double noiseAge = std::max(heardTo_, now - kLate) - lastNoise_;
    if (noiseAge >= kQuietSeconds) return MicrophoneTrouble::noSignal;
    if (heardTo_ - lastSignal_ >= kQuietSeconds) return MicrophoneTrouble::onlyNoise;
    return now < clipReportedTo_ + kClipAfterSeconds ? MicrophoneTrouble::clipping : MicrophoneTrouble::none;
}

MicrophoneReport MicrophoneWatch::report(double now) const {
    return {trouble(now), state_ ? state_->name : ""};
}

}  // namespace lumivastor::platform
