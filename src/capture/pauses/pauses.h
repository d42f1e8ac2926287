// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

namespace lumivastor::capture {

/// A stretch of host time that is left out of a recording: from `from` on, up to `to`.
struct Pause {
    double from = 0;
    std::optional<double> to = std::nullopt;  // nullopt: it lasts
    /// A press of a pointer button began it. That press, like the one that ends a recording, is not part of it.
    bool isByPointer = false;

    bool operator==(const Pause&) const = default;
};

/// The pauses of a recording, and the one relation between host time and movie time: the host clock minus all pauses
/// so far. Without a pause both are the same. Times are seconds. A plain value.
class Pauses {
  public:
    /// A pause begins; without effect while one lasts. It cannot begin before the last one ended.
    void begin(double hostSeconds, bool isByPointer);
    /// The pause ends, not before it began. Without effect while none lasts.
    void end(double hostSeconds);

    bool isPaused() const { return !list_.empty() && !list_.back().to; }
    /// In order, without overlaps.
    const std::vector<Pause>& list() const { return list_; }

    /// nullopt within a pause: the movie has no such time.
    std::optional<double> movieTime(double hostSeconds) const;
    /// The same, but every time within a pause has the one movie time where the pause lies.
    double nearestMovieTime(double hostSeconds) const;
    /// The host time of a movie time; where a pause lies, that at which it ends. If it lasts, that at which it began.
    double hostTime(double movieSeconds) const;

    bool operator==(const Pauses&) const = default;

  private:
    std::vector<Pause> list_;
};

}  // namespace lumivastor::capture
