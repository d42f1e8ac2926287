// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

namespace lumivastor::platform {

/// One moment on the two clocks that devices use for stamps.
struct ClockReading {
    double hostSeconds = 0;  // CLOCK_MONOTONIC
    double wallSeconds = 0;  // CLOCK_REALTIME

    static ClockReading now();
};

/// Maps one device's time stamps to the host clock. Detects by the first stamp which clock the device uses: the host
/// clock, the wall clock, or its own, which is assumed to run at the host clock's pace. Impossible stamps are replaced
/// by the time of arrival. Plain value; one thread.
class DeviceClock {
  public:
    enum class Kind { unknown, host, wall, own };

    /// The host time of a sample with this `stamp` (seconds) that arrived at `arrival`; without a stamp the arrival.
    double hostSeconds(std::optional<double> stamp, const ClockReading& arrival);

    Kind kind() const { return kind_; }

  private:
    Kind kind_ = Kind::unknown;
    double offset_ = 0;  // host less stamp, for a clock of its own
};

}  // namespace lumivastor::platform
