// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace lumivastor::platform {

/// The line that relates a sound device's frame count to the host clock, fitted through arrival times with jitter. A
/// device's own clock runs up to some hundred ppm fast or slow; the estimator learns how much.
///
/// Recursive least squares for the line's height and slope (a Kalman filter): at the beginning the slope is assumed to
/// be nominal and changes slowly; later, old arrivals are forgotten over some ten seconds. No single arrival therefore
/// moves the line by more than its weight. Plain value; one thread.
class ClockDriftEstimator {
  public:
    /// `jitterSeconds`: how far arrival times stray, as a standard deviation, above 0.
    ClockDriftEstimator(double sampleRate, double jitterSeconds);

    /// The device's frame `frame` was heard at about `hostSeconds`. Ascending frames. Outliers count less.
    void add(std::int64_t frame, double hostSeconds);

    bool isEmpty() const { return isEmpty_; }
    /// When a frame was or will be heard. Needs at least one arrival.
    double hostSeconds(double frame) const;
    /// The inverse.
    double frame(double hostSeconds) const;
    /// The host seconds of a nominal second of the device, minus one: below 0 for a clock that runs fast.
    double drift() const { return drift_; }

  private:
    /// Increases the uncertainty for `seconds` of the device.
    void moveOn(double seconds);

    double sampleRate_;
    double jitter_;
    bool isEmpty_ = true;
    std::int64_t frame_ = 0;  // where the line's height is known
    double height_ = 0;       // host seconds at frame_
    double drift_ = 0;
    // Covariance of height and drift.
    double heightVariance_ = 0;
    double covariance_ = 0;
    double driftVariance_ = 0;
};

}  // namespace lumivastor::platform
