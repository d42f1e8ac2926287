// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

namespace lumivastor::editor {

/// Estimates how long a job still takes, from its speed so far. Times are seconds of any clock that never runs
/// backward.
class RemainingTime {
  public:
    explicit RemainingTime(double now) : start_(now) {}

    /// `fraction` of the job is done, 0 to 1. The estimate changes at most once a second, so that it can be read;
    /// nullopt while too little is known.
    std::optional<double> update(double fraction, double now);

  private:
    double start_;
    std::optional<double> lastUpdate_;
    std::optional<double> remaining_;
};

}  // namespace lumivastor::editor
