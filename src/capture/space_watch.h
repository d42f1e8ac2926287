// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

#include "capture/recording_health.h"

namespace lumivastor::capture {

/// Says for how long the disk still has space, at the data rate that this recording has had so far. Plain value; one
/// thread.
class SpaceWatch {
  public:
    /// Below so many minutes it is said.
    static constexpr int kMinutes = 15;
    /// Seconds of a recording before which its rate is not known: movies reach the disk two seconds at a time.
    static constexpr double kMeasured = 10;

    void update(const RecordingHealth& health);

    /// A German sentence; empty while there is space enough, or nothing is known.
    std::string sentence() const;

  private:
    std::optional<double> secondsLeft() const;

    RecordingHealth health_;
    RecordingHealth recent_;      // at the beginning of the present half minute
    double recentRate_ = 0;       // of the half minute before, in bytes a second
    std::optional<int> minutes_;  // what is said
};

}  // namespace lumivastor::capture
