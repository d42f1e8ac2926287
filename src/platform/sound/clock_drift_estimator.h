// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace lumivastor::platform {

/// The line that relates a sound device's count of frames to the host clock, fitted through arrival times of which each
/// is off by some jitter. A device's own clock runs up to some hundred millionths fast or slow; how much is learned.
///
/// Recursive least squares over the line's height and slope (a Kalman filter): at the beginning the slope is taken to
/// be the nominal one and gives way slowly, later old arrivals are forgotten over some ten seconds, so that no single
/// arrival moves the line by more than it deserves. Plain value; one thread.
class ClockDriftEstimator {
  public:
    /// `jitterSeconds`: how far arrival times stray, as a standard deviation, above 0.
    ClockDriftEstimator(double sampleRate, double jitterSeconds);

    /// The device's frame `frame` was heard at about `hostSeconds`. Ascending frames. Stray arrivals count less.
    void add(std::int64_t frame, double hostSeconds);

    bool isEmpty() const { return isEmpty_; }
    /// When a frame was or will be heard. Once an arrival was added.
    double hostSeconds(double frame) const;
    /// The same the other way round.
    double frame(double hostSeconds) const;
    /// How many host seconds a nominal second of the device takes, less one: below 0 for a clock that runs fast.
    double drift() const { return drift_; }

  private:
    /// Lets the uncertainty grow over the device's `seconds`.
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
