// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <string>

namespace lumivastor::cli {

/// The text of the bar: percent, pictures per second and remaining time. `fraction` is 0...1, `elapsed` is in seconds.
/// Rate and remaining time are left out until they are known.
std::string progressLine(double fraction, double elapsed, std::int64_t totalFrames);

/// Shows the progress of a long job on one line of a terminal; silent if standard error is no terminal. One thread at a
/// time.
class ProgressBar {
  public:
    /// Writes to `err` when standard error is a terminal.
    ProgressBar(std::ostream& err, std::int64_t totalFrames);
    /// Clears the line.
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void update(double fraction);

  private:
    std::ostream& err_;
    std::int64_t totalFrames_;
    bool isTerminal_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace lumivastor::cli
