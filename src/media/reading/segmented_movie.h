// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include "base/media_time.h"
#include "media/reading/asset.h"

namespace lumivastor::media {

/// One segment of a composition track: `source` of a movie's track is shown during `target`, at the same speed. A
/// segment without asset is an empty range.
struct MovieSegment {
    std::shared_ptr<const Asset> asset;
    int sourceTrackId = 0;
    MediaTime sourceStart;
    TimeRange target;

    bool isEmpty() const { return asset == nullptr; }
};

/// A track of a composition. Its segments are contiguous from zero.
struct SegmentedTrack {
    int id = 0;
    TrackKind kind = TrackKind::video;
    std::vector<MovieSegment> segments;

    MediaTime end() const { return segments.empty() ? MediaTime{} : segments.back().target.end(); }
};

/// An edited movie: tracks that show parts of other movies' tracks. A value; a reader copies it, so edits never affect
/// a running reader. Times are kept exactly as given.
class SegmentedMovie {
  public:
    /// The composition that shows just this movie: every track, whole, with the same id. All pictures are shown, also
    /// those beyond the length that the track states.
    static SegmentedMovie showing(std::shared_ptr<const Asset> asset);

    /// A new empty track; its id.
    int addTrack(TrackKind kind);

    /// Inserts `source` of a track of `asset` at `at`; everything from there on moves back. `at` may be beyond the
    /// track's end: the gap becomes an empty range. An empty `source` changes nothing. `source` may reach beyond its
    /// track, which then shows nothing there. The tracks must exist and be of the same kind.
    void insert(int trackId, std::shared_ptr<const Asset> asset, int sourceTrackId, const TimeRange& source,
                const MediaTime& at);

    /// Inserts an empty range in the same way.
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
