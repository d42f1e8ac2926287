// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>

#include "platform/capture_stream.h"

namespace lumivastor::platform {

/// The times at which a stream looks for a new picture: multiples of the interval from a start, so that a late tick
/// does not delay later ones. Missed ticks are skipped.
class TickSchedule {
  public:
    /// Both in seconds; `interval` is above 0.
    TickSchedule(double start, double interval) : next_(start), interval_(interval) {}

    double next() const { return next_; }
    /// The tick at `next()` has been handled; the time is `now`.
    void advance(double now);

  private:
    double next_;
    const double interval_;
};

/// Counts the intervals of a schedule in which a stream did not look for a picture although the content was moving: its
/// looks took too long, or its thread did not run. One thread.
class MissedIntervals {
  public:
    MissedIntervals(double start, double interval) : start_(start), interval_(interval) {}

    /// A look begins at `now`. `due` is its tick; nullopt when content has arrived by itself.
    void begin(double now, std::optional<double> due);
    /// The look has ended. What was missed before it counts if it found a new picture and there was another one just
    /// before the gap: what changes now and then misses nothing.
    void end(double now, bool isNew);
    std::int64_t count() const { return count_; }

  private:
    std::int64_t interval(double seconds) const;

    const double start_;
    const double interval_;
    std::int64_t lookedAt_ = 0;
    std::int64_t lookedBefore_ = 0;
    std::optional<std::int64_t> lastNew_;
    std::int64_t endedIn_ = 0;
    std::int64_t missed_ = 0;  // before the present look
    std::int64_t count_ = 0;
};

/// Decides at each tick what a stream delivers. Backends call it, take the pictures, and report the server's events.
/// One thread.
class FramePacer {
  public:
    /// Seconds after which an unchanged picture is delivered again.
    static constexpr double kRepeatAfter = 1.0;

    struct Situation {
        /// Host clock, seconds.
        double now = 0;
        /// The content differs from the last picture. True before the first.
        bool changed = false;
        /// There is no content at the moment: the window is not on the screen.
        bool hidden = false;
        /// There is a free buffer for a new picture.
        bool canTake = true;
    };
    enum class Action {
        takePicture,    // and call `taken`
        repeatLast,     // the last picture again, as complete
        tellIdle,       // a sample without a picture
        tellSuspended,  // the same
        nothing,        // new content that must wait for a buffer
    };

    Action atTick(const Situation& situation);
    /// The last action before the stream is stopped.
    Action atStop(const Situation& situation);
    /// A picture was taken at this time. Returns its sample's status.
    FrameStatus taken(double hostSeconds);

  private:
    std::optional<double> lastDelivered_;
};

}  // namespace lumivastor::platform
