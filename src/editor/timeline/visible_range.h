// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "base/interval.h"

// The part of a recording that the strip shows, in seconds of source time, and where a time lies in it. Every function
// returns a range inside the recording.

namespace lumivastor::editor {

struct VisibleLimits {
    double duration = 0;  // of the recording, in seconds
    double least = 0;     // the shortest range that is shown, in seconds
};

/// The limits for a recording of `fps` frames a second: a few frames are the shortest range. A recording that is
/// shorter than these is always shown as a whole.
VisibleLimits visibleLimits(double duration, std::int64_t fps);

Interval wholeRange(const VisibleLimits& limits);

bool isWhole(const Interval& visible, const VisibleLimits& limits);

/// `visible` shown `factor` times as large. The time `around` stays at its position, if the ends of the recording
/// permit.
Interval zoomedRange(const Interval& visible, double factor, double around, const VisibleLimits& limits);

/// `visible` moved by `seconds`; forward if positive.
Interval scrolledRange(const Interval& visible, double seconds, const VisibleLimits& limits);

/// A range that shows `shown` with some room on both sides.
Interval rangeAround(const Interval& shown, const VisibleLimits& limits);

/// `visible` if it has the time `seconds`. Otherwise a range of this length that begins shortly before it: what follows
/// is what the user looks at next.
Interval rangeWith(const Interval& visible, double seconds, const VisibleLimits& limits);

/// Positions of times, in the widget's unit.
class TimeScale {
  public:
    /// Shows `visible` between the positions `left` and `right`.
    TimeScale(const Interval& visible, double left, double right);

    double at(double seconds) const;
    double secondsAt(double position) const;
    /// The time that a length covers.
    double seconds(double length) const { return length * secondsPerUnit_; }

    const Interval& visible() const { return visible_; }
    double left() const { return left_; }
    double right() const { return right_; }

  private:
    Interval visible_;
    double left_, right_;
    double secondsPerUnit_;
    double unitsPerSecond_;
};

}  // namespace lumivastor::editor
