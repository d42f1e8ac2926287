// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

namespace lumivastor::editor {

/// Asked for when a window is to close, or the program to end, while a video is rendered.
inline constexpr const char* kCloseWhileRendering = "Ein Video wird gerendert – noch einmal schließen bricht ab.";

/// What would lose something takes two attempts: the first is answered by a sentence, the second counts while that
/// sentence stands. A plain value; times are seconds of any clock that never runs backward.
class SecondAttempt {
  public:
    /// How long the sentence stands.
    static constexpr double kSeconds = 10;

    /// Whether this is the second attempt. If not, the sentence stands from now on.
    bool attempt(double now) {
        if (stands(now)) return true;
        until_ = now + kSeconds;
        return false;
    }
    bool stands(double now) const { return until_ && now < *until_; }
    /// What would have been lost is over; the next attempt is a first one again.
    void forget() { until_.reset(); }

  private:
    std::optional<double> until_;
};

}  // namespace lumivastor::editor
