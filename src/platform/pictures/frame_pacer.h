// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "platform/capture_stream.h"

namespace lumivastor::platform {

/// The moments at which a stream looks for a new picture: multiples of the interval from a start, so that a tick that
/// comes late does not delay those behind it. Ticks that were missed are left out.
class TickSchedule {
  public:
    /// Both in seconds; `interval` is above 0.
    TickSchedule(double start, double interval) : next_(start), interval_(interval) {}

    double next() const { return next_; }
    /// The tick at `next()` has been dealt with, and now it is `now`.
    void advance(double now);

  private:
    double next_;
    const double interval_;
};

/// Decides at each tick of a stream what it delivers. Backends ask; they take the pictures and tell the server's news.
/// One thread.
class FramePacer {
  public:
    /// Seconds after which a picture that still holds is delivered again.
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
        repeatLast,     // the last picture once more, as complete
        tellIdle,       // a sample without a picture
        tellSuspended,  // the same
        nothing,        // new content that has to wait for a buffer
    };

    Action atTick(const Situation& situation);
    /// The last thing before the stream is stopped.
    Action atStop(const Situation& situation);
    /// A picture was taken at this time: what its sample's status is.
    FrameStatus taken(double hostSeconds);

  private:
    std::optional<double> lastDelivered_;
};

}  // namespace lumivastor::platform
