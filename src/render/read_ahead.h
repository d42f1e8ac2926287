// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <utility>

namespace lumivastor::render {

/// Times closer than this, in seconds, count as equal, because pictures' times are rounded to their tracks' clocks.
inline constexpr double kSameTime = 0.0001;

/// Finds the sample of a track that is shown at a time: the last one at or before it. Reads one sample ahead, because
/// only the next one ends a sample. `Sample` has a time `seconds`.
template <typename Sample>
class ReadAhead {
  public:
    /// `lastSeconds()` is this until a sample has been shown.
    explicit ReadAhead(double lastSeconds) : lastSeconds_(lastSeconds) {}

    /// Sets the first sample of a reader, at the beginning or after a gap; the shown sample stays until its time.
    void setPending(std::optional<Sample> sample) { pending_ = std::move(sample); }

    /// Advances to `t`, which never falls. `readNext()` returns the next sample, nullopt at the end.
    template <typename ReadNext>
    void advance(double t, ReadNext readNext) {
        while (pending_ && pending_->seconds <= t + kSameTime) {
            lastSeconds_ = pending_->seconds;
            current_ = std::move(pending_);
            pending_ = readNext();
        }
    }

    /// The shown sample; null before the first one's time.
    const Sample* current() const { return current_ ? &*current_ : nullptr; }
    /// The sample read ahead; null at the end.
    const Sample* pending() const { return pending_ ? &*pending_ : nullptr; }
    /// The time of the last shown sample.
    double lastSeconds() const { return lastSeconds_; }

  private:
    std::optional<Sample> current_;
    std::optional<Sample> pending_;
    double lastSeconds_;
};

}  // namespace lumivastor::render
