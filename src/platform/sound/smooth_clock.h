// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

namespace lumivastor::platform {

/// A device's clock without its jitter: sound servers report how much has been heard in steps, and some reports are off
/// by 20 ms, which would show as uneven pictures. Runs at the host clock's pace and is corrected towards the device's
/// reports. Never runs backward. A plain value; seconds.
class SmoothClock {
  public:
    /// How quickly a difference is corrected: two thirds of it within this time.
    static constexpr double kSettling = 0.5;
    /// A larger difference is not jitter; the clock jumps over it.
    static constexpr double kJump = 0.1;

    /// The time at `host`; `device` is the time that the device reports then. Host times ascend.
    double at(double host, double device);

  private:
    struct Moment {
        double host = 0;
        double time = 0;
    };

    std::optional<Moment> last_;
    double told_ = 0;
};

}  // namespace lumivastor::platform
