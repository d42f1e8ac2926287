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

/// Estimates how many pictures of moving content a stream did not look for in time: its looks took too long, or its
/// thread did not run. Content that was seen to change slower than the schedule misses as many fewer; before anything
/// was seen in time, it counts as fast as the schedule. One thread.
class MissedIntervals {
  public:
    MissedIntervals(double start, double interval) : start_(start), interval_(interval) {}

    /// A look begins at `now`, at a tick of the schedule or because content has arrived by itself.
    void begin(double now, bool isTick);
    /// The look has ended. What was missed before it counts if it found a new picture and there was another one just
    /// before the gap: what changes now and then misses nothing.
    void end(double now, bool isNew);
    std::int64_t count() const;

  private:
    std::int64_t interval(double seconds) const;
    void followPace(std::int64_t apart);

    const double start_;
    const double interval_;
    std::int64_t lookedAt_ = 0;
    std::int64_t lookedBefore_ = 0;
    std::optional<std::int64_t> lastNew_;
    std::int64_t missed_ = 0;  // intervals before the present look
    double pace_ = 1;          // intervals from one new picture to the next, when none was missed
    double count_ = 0;         // pictures
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
