// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

namespace lumivastor::platform {

/// A device's clock without its jitter: sound servers tell how much has been heard in steps, and some are off by 20 ms
/// from one moment to the next, which would show as uneven pictures. Runs at the host clock's pace and is drawn towards
/// what the device says. Never runs backward. A plain value; seconds.
class SmoothClock {
  public:
    /// How quickly a difference is made up for: two thirds of it within this time.
    static constexpr double kSettling = 0.5;
    /// A difference of more than this is no jitter, and is jumped over.
    static constexpr double kJump = 0.1;

    /// The time at `host`, given what the device says then. Host times ascend.
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
