// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include "base/media_time.h"
#include "media/reading/asset.h"

namespace lumivastor::media {

/// One stretch of a composition track: `source` of a movie's track is shown during `target`, at the same speed. A
/// segment without asset is an empty range.
struct MovieSegment {
    std::shared_ptr<const Asset> asset;
    int sourceTrackId = 0;
    MediaTime sourceStart;
    TimeRange target;

    bool isEmpty() const { return asset == nullptr; }
};

/// A track of a composition. Its segments lie back to back from zero.
struct SegmentedTrack {
    int id = 0;
    TrackKind kind = TrackKind::video;
    std::vector<MovieSegment> segments;

    MediaTime end() const { return segments.empty() ? MediaTime{} : segments.back().target.end(); }
};

/// An edited movie: tracks that show stretches of other movies' tracks. A value, copied when a reader is made on it, so
/// that edits never reach a running reader. Times are kept exactly as they are given.
class SegmentedMovie {
  public:
    /// Every track of the movie, whole, under the id it has there: the composition that shows just that movie. Pictures
    /// are shown to the very last, also where they reach beyond the length that the track states.
    static SegmentedMovie showing(std::shared_ptr<const Asset> asset);

    /// A new empty track; its id.
    int addTrack(TrackKind kind);

    /// Shows `source` of a track of `asset` from `at` on; what the track shows from there on moves back. `at` may lie
    /// beyond the track's end: the gap becomes an empty range. A range of no length changes nothing. `source` may reach
    /// beyond its track, which then has nothing to show there. The tracks exist and are of the same kind.
    void insert(int trackId, std::shared_ptr<const Asset> asset, int sourceTrackId, const TimeRange& source,
                const MediaTime& at);

    /// Inserts a stretch that shows nothing, in the same way.
    void insertEmpty(int trackId, const TimeRange& target);

    const std::vector<SegmentedTrack>& tracks() const { return tracks_; }
    std::vector<SegmentedTrack> tracks(TrackKind kind) const;
    /// Null when there is none.
    const SegmentedTrack* track(int id) const;

    /// The latest end of all tracks.
    MediaTime duration() const;

  private:
    void insertSegment(int trackId, MovieSegment segment);

    std::vector<SegmentedTrack> tracks_;
    int lastId_ = 0;
};

}  // namespace lumivastor::media
