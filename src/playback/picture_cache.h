// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "base/media_time.h"
#include "imaging/picture.h"

namespace lumivastor::playback {

/// A decoded picture and when a track shows it: from `shown.start` until just before `shown.end()`.
struct ShownPicture {
    /// None where the track shows nothing.
    std::optional<imaging::Picture> picture;
    TimeRange shown;
    std::size_t bytes = 0;
};

/// Decoded pictures of one track within a fixed number of bytes. When they do not all fit, goals decide which are kept:
/// stretches of the timeline that will be shown soon, the most urgent first. Pictures in an earlier goal replace those
/// in a later one, and pictures in any goal replace all others; among equals the one nearer to the playhead stays. A
/// picture larger than the budget is kept alone.
///
/// One thread at a time.
class PictureCache {
  public:
    explicit PictureCache(std::size_t budget) : budget_(budget) {}

    /// The playhead is the beginning of the first goal, if there is one.
    void setGoals(std::vector<TimeRange> goals, const MediaTime& playhead);
    const std::vector<TimeRange>& goals() const { return goals_; }

    /// The picture shown at a moment; nullopt when that is not known (yet).
    const ShownPicture* find(const MediaTime& time) const;
    /// The last picture that is known to be shown at or before a moment.
    const ShownPicture* findBefore(const MediaTime& time) const;

    /// The picture that is shown nearest to a moment, among those that are shown within one of some stretches for a
    /// while; nullptr when there is none.
    const ShownPicture* findNearest(const MediaTime& time, std::span<const TimeRange> within) const;

    /// The first uncovered moment of the most urgent incomplete goal, and which goal that is.
    struct Gap {
        MediaTime time;
        std::size_t goal = 0;
    };
    std::optional<Gap> firstGap() const;

    /// Whether `insert` would take a picture of this size that is shown at `time`.
    bool hasRoomFor(const MediaTime& time, std::size_t bytes) const;
    /// Takes a picture and drops others for it, or drops it when all others matter more. A picture that is already
    /// there is not replaced, so that recipes made from it stay equal. Returns whether the range of the picture is now
    /// covered.
    bool insert(ShownPicture picture);

    std::size_t bytes() const { return bytes_; }
    std::size_t count() const { return pictures_.size(); }

  private:
    // The rank of a picture; low ranks matter most: the goal that it belongs to, then its distance from the playhead.
    struct Rank {
        std::size_t goal = 0;
        MediaTime distance;

        auto operator<=>(const Rank&) const = default;
    };
    using Pictures = std::map<MediaTime, ShownPicture>;

    Rank rankOf(const TimeRange& shown) const;
    Pictures::const_iterator leastWanted() const;

    const std::size_t budget_;
    std::size_t bytes_ = 0;
    Pictures pictures_;  // by their starts
    std::vector<TimeRange> goals_;
    MediaTime playhead_;
};

}  // namespace lumivastor::playback
