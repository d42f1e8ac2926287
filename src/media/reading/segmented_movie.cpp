// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/reading/segmented_movie.h"

#include <algorithm>
#include <utility>

#include "base/precondition.h"

namespace lumivastor::media {

namespace {

// Longer than any movie; see `showing`.
constexpr MediaTime kBeyondAnyEnd{std::int64_t{1} << 40, 1};

}  // namespace

SegmentedMovie SegmentedMovie::showing(std::shared_ptr<const Asset> asset) {
    precondition(asset != nullptr, "a movie to show");
    SegmentedMovie composition;
    for (const AssetTrack& track : asset->tracks()) {
        const MediaTime end = track.kind == TrackKind::video ? kBeyondAnyEnd : track.end;
        composition.tracks_.push_back({track.id, track.kind, {{asset, track.id, MediaTime{}, {MediaTime{}, end}}}});
        composition.lastId_ = std::max(composition.lastId_, track.id);
    }
    return composition;
}

int SegmentedMovie::addTrack(TrackKind kind) {
    tracks_.push_back({++lastId_, kind, {}});
    return lastId_;
}

void SegmentedMovie::insert(int trackId, std::shared_ptr<const Asset> asset, int sourceTrackId, const TimeRange& source,
                            const MediaTime& at) {
    precondition(asset != nullptr, "a movie to insert from");
    const AssetTrack* const sourceTrack = asset->track(sourceTrackId);
    const SegmentedTrack* const targetTrack = track(trackId);
    precondition(sourceTrack != nullptr && targetTrack != nullptr && sourceTrack->kind == targetTrack->kind,
                 "source and target are tracks of one kind");
    insertSegment(trackId, {std::move(asset), sourceTrackId, source.start, {at, source.duration}});
}

void SegmentedMovie::insertEmpty(int trackId, const TimeRange& target) {
    insertSegment(trackId, {nullptr, 0, MediaTime{}, target});
}

void SegmentedMovie::insertSegment(int trackId, MovieSegment segment) {
    const auto found = std::find_if(tracks_.begin(), tracks_.end(),
                                    [trackId](const SegmentedTrack& track) { return track.id == trackId; });
    precondition(found != tracks_.end(), "a track of this composition");
    precondition(segment.target.start >= MediaTime{} && segment.target.duration >= MediaTime{},
                 "segments lie after zero and never run backward");
    if (segment.target.duration == MediaTime{}) return;
    std::vector<MovieSegment>& segments = found->segments;
    const MediaTime at = segment.target.start;
    const MediaTime end = found->end();
    if (at > end) segments.push_back({nullptr, 0, MediaTime{}, TimeRange::between(end, at)});

    auto position = std::find_if(segments.begin(), segments.end(),
                                 [&at](const MovieSegment& other) { return other.target.end() > at; });
    if (position != segments.end() && position->target.start < at) {  // split the segment at this place
        MovieSegment rest = *position;
        rest.target = TimeRange::between(at, position->target.end());
        if (!rest.isEmpty()) rest.sourceStart = rest.sourceStart + (at - position->target.start);
        position->target = TimeRange::between(position->target.start, at);
        position = segments.insert(position + 1, std::move(rest));
    }
    const MediaTime shift = segment.target.duration;
    position = segments.insert(position, std::move(segment));
    for (auto later = position + 1; later != segments.end(); ++later) {
        later->target.start = later->target.start + shift;
    }
}

std::vector<SegmentedTrack> SegmentedMovie::tracks(TrackKind kind) const {
    std::vector<SegmentedTrack> found;
    std::copy_if(tracks_.begin(), tracks_.end(), std::back_inserter(found),
                 [kind](const SegmentedTrack& track) { return track.kind == kind; });
    return found;
}

const SegmentedTrack* SegmentedMovie::track(int id) const {
    const auto found =
        std::find_if(tracks_.begin(), tracks_.end(), [id](const SegmentedTrack& track) { return track.id == id; });
    return found == tracks_.end() ? nullptr : &*found;
}

MediaTime SegmentedMovie::duration() const {
    MediaTime longest;
    for (const SegmentedTrack& track : tracks_) {
        const MediaTime end = track.end();
        const bool isWholeMovie = end == kBeyondAnyEnd;
        const MovieSegment* const last = isWholeMovie ? &track.segments.back() : nullptr;
        longest = std::max(longest, isWholeMovie ? last->asset->track(last->sourceTrackId)->end : end);
    }
    return longest;
}

}  // namespace lumivastor::media
