// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "base/interval.h"
#include "playback/player_item.h"

namespace lumivastor::playback {

/// The ranges that playing goes through, and the frames that it shows. An immutable value; seconds of the item's
/// timeline.
///
///     timeline   0----|=====A=====|------|===B===|----     playing jumps from A's end to B's start
///     frames          a  a  a  a         b  b  b           whole multiples of the frame's length, and each start
///
/// A range includes its start and excludes its end.
class PlayedRanges {
  public:
    /// Without ranges: nothing is played.
    PlayedRanges() = default;
    /// Ranges in any order, cut off at 0 and at `duration`; those that touch become one. `framesPerSecond` above 0.
    PlayedRanges(std::vector<Interval> ranges, double duration, double framesPerSecond);

    /// Where playing from `seconds` begins: there, or at the next range's start. nullopt behind the last range.
    std::optional<double> playableFrom(double seconds) const;
    /// Up to when playing runs from a moment without a jump; the moment itself when it is in no range.
    double runsUntil(double seconds) const;
    /// Since when playing that reaches a moment has run without a jump; the moment itself when it is in no range.
    double runsSince(double seconds) const;
    /// The range that contains a moment, or the gap; the first gap begins before everything, the last never ends.
    Interval stretchAt(double seconds) const;
    /// Ascending, with gaps between them.
    const std::vector<Interval>& ranges() const { return ranges_; }
    /// Whether playing enters the range that contains a moment by a jump, and whether it leaves it by one. Both false
    /// when no range contains it.
    bool isJumpedTo(double seconds) const;
    bool isJumpedFrom(double seconds) const;
    /// The ranges that are played next from a moment, `length` seconds in total or as much as there is.
    std::vector<Interval> ahead(double seconds, double length) const;

    /// The moment of the frame that is shown at `seconds`, also in gaps, whose frames are on the same grid.
    double frameAt(double seconds) const;
    /// The moment of the frame that follows one, if playing shows another.
    std::optional<double> frameAfter(double frame) const;
    /// The moment of the frame that playing shows when it stops at `seconds`: the one shown there, or at the end of a
    /// range its last one, because what is behind it is not played.
    double standingFrame(double seconds) const;

    bool operator==(const PlayedRanges&) const = default;

  private:
    const Interval* rangeAt(double seconds) const;

    std::vector<Interval> ranges_;  // ascending, with gaps between them
    double framesPerSecond_ = 1;
};

}  // namespace lumivastor::playback
