// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/clock_drift_estimator.h"

#include <algorithm>
#include <cmath>

#include "base/precondition.h"

namespace lumivastor::platform {
namespace {

// Sound cards stay within 300 ppm of their nominal rate, most within 100.
constexpr double kDefaultDrift = 200e-6;
constexpr double kLargestDrift = 1000e-6;

// How fast the true values may move away from the estimate, as variances a second. The first lets the height follow
// deviations from a line (an unnoticed lost buffer): with a jitter of 10 ms it settles in some ten seconds, with a
// third of a millisecond of noise. The second is a crystal that warms up: 5 ppm in a minute.
constexpr double kHeightWander = 1e-8;
constexpr double kDriftWander = 25e-12 / 60;

// Arrivals further off than this many standard deviations count less, the more so the further: one that is a third of a
// second late, as when the machine stood still, must not count at all.
constexpr double kStray = 2.5;

}  // namespace

ClockDriftEstimator::ClockDriftEstimator(double sampleRate, double jitterSeconds)
    : sampleRate_(sampleRate), jitter_(jitterSeconds) {
    precondition(sampleRate > 0 && jitterSeconds > 0, "a rate and a jitter");
}

void ClockDriftEstimator::moveOn(double seconds) {
    heightVariance_ += seconds * (2 * covariance_ + seconds * driftVariance_ + kHeightWander);
    covariance_ += seconds * driftVariance_;
    driftVariance_ += seconds * kDriftWander;
}

void ClockDriftEstimator::add(std::int64_t frame, double hostSeconds) {
    if (isEmpty_) {
        isEmpty_ = false;
        frame_ = frame;
        height_ = hostSeconds;
        heightVariance_ = jitter_ * jitter_;
        driftVariance_ = kDefaultDrift * kDefaultDrift;
        return;
    }
    precondition(frame >= frame_, "frames ascend");
    const double seconds = static_cast<double>(frame - frame_) / sampleRate_;
    height_ += seconds * (1 + drift_);
    frame_ = frame;
    moveOn(seconds);

    const double off = hostSeconds - height_;
    double noise = jitter_ * jitter_;
    const double stray = std::abs(off) / (kStray * std::sqrt(heightVariance_ + noise));
    if (stray > 1) noise *= std::pow(stray, 4);

    const double total = heightVariance_ + noise;
    const double heightGain = heightVariance_ / total;
    const double driftGain = covariance_ / total;
    height_ += heightGain * off;
    drift_ = std::clamp(drift_ + driftGain * off, -kLargestDrift, kLargestDrift);
    driftVariance_ -= driftGain * covariance_;
    covariance_ -= heightGain * covariance_;
    heightVariance_ -= heightGain * heightVariance_;
}

double ClockDriftEstimator::hostSeconds(double frame) const {
    return height_ + (frame - static_cast<double>(frame_)) / sampleRate_ * (1 + drift_);
}

double ClockDriftEstimator::frame(double hostSeconds) const {
    return static_cast<double>(frame_) + (hostSeconds - height_) / (1 + drift_) * sampleRate_;
}

}  // namespace lumivastor::platform
