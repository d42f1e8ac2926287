// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <utility>

namespace lumivastor::render {

/// Times closer than this, in seconds, are the same: those of pictures are rounded to their tracks' clocks.
inline constexpr double kSameTime = 0.0001;

/// Which of a track's samples is shown: the last one at or before the moment asked for, found by reading one sample
/// ahead, because only the next one tells how long a sample lasts. `Sample` has a time `seconds`.
template <typename Sample>
class ReadAhead {
  public:
    /// `lastSeconds` as long as nothing has been shown.
    explicit ReadAhead(double lastSeconds) : lastSeconds_(lastSeconds) {}

    /// Begins with, or goes on with after a gap, what a reader gives first; what is shown stays until its turn.
    void setPending(std::optional<Sample> sample) { pending_ = std::move(sample); }

    /// Moves on to `t`, which never goes back. `readNext()` gives the next sample, none at the end.
    template <typename ReadNext>
    void advance(double t, ReadNext readNext) {
        while (pending_ && pending_->seconds <= t + kSameTime) {
            lastSeconds_ = pending_->seconds;
            current_ = std::move(pending_);
            pending_ = readNext();
        }
    }

    /// The sample shown; null before the first one's time.
    const Sample* current() const { return current_ ? &*current_ : nullptr; }
    /// The one read ahead; null when the reader gave no more.
    const Sample* pending() const { return pending_ ? &*pending_ : nullptr; }
    /// The time of the sample shown last.
    double lastSeconds() const { return lastSeconds_; }

  private:
    std::optional<Sample> current_;
    std::optional<Sample> pending_;
    double lastSeconds_;
};

}  // namespace lumivastor::render
