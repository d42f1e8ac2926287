// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

namespace lumivastor::platform {

/// What a moment is called by the two clocks that devices stamp with.
struct ClockReading {
    double hostSeconds = 0;  // CLOCK_MONOTONIC
    double wallSeconds = 0;  // CLOCK_REALTIME

    static ClockReading now();
};

/// Maps one device's time stamps to the host clock. By the first stamp it tells which clock the device uses: the
/// host's, the wall's, or one of its own, which is then taken to run at the host's pace. Stamps that cannot be true are
/// replaced by the time of arrival. Plain value; one thread.
class DeviceClock {
  public:
    enum class Kind { unknown, host, wall, own };

    /// When the sample was taken that arrived at `arrival` and bears `stamp`, in seconds; absent stamps count as the
    /// arrival.
    double hostSeconds(std::optional<double> stamp, const ClockReading& arrival);

    Kind kind() const { return kind_; }

  private:
    Kind kind_ = Kind::unknown;
    double offset_ = 0;  // host less stamp, for a clock of its own
};

}  // namespace lumivastor::platform
