// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

namespace lumivastor::editor {

/// How long a job will still take, from how fast it has been so far. Times in seconds of any clock that never runs
/// backward.
class RemainingTime {
  public:
    explicit RemainingTime(double now) : start_(now) {}

    /// `fraction` of the job is done, 0 to 1. The estimate changes once a second at most, so that it can be read; none
    /// as long as too little is known.
    std::optional<double> update(double fraction, double now);

  private:
    double start_;
    std::optional<double> lastUpdate_;
    std::optional<double> remaining_;
};

}  // namespace lumivastor::editor
