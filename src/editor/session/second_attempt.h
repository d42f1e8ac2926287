// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

namespace lumivastor::editor {

/// The status after the first attempt to close a window, or to quit, while a video is rendered.
inline constexpr const char* kCloseWhileRendering = "Ein Video wird gerendert – noch einmal schließen bricht ab.";

/// An action that would lose something needs two attempts: the first shows a sentence, the second counts if the
/// sentence is still shown. A plain value; times are seconds of any clock that never runs backward.
class SecondAttempt {
  public:
    /// How long the sentence is shown, in seconds.
    static constexpr double kSeconds = 10;

    /// Whether this is the second attempt. If not, the sentence is shown from now on.
    bool attempt(double now) {
        if (stands(now)) return true;
        until_ = now + kSeconds;
        return false;
    }
    bool stands(double now) const { return until_ && now < *until_; }
    /// Nothing can be lost any more; the next attempt is a first one again.
    void forget() { until_.reset(); }

  private:
    std::optional<double> until_;
};

}  // namespace lumivastor::editor
