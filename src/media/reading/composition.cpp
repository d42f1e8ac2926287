// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/reading/composition.h"

#include <algorithm>
#include <utility>

#include "base/precondition.h"

namespace lumivastor::media {

namespace {

// Longer than any movie; see `showing`.
constexpr MediaTime kBeyondAnyEnd{std::int64_t{1} << 40, 1};

}  // namespace

MutableComposition MutableComposition::showing(std::shared_ptr<const Asset> asset) {
    precondition(asset != nullptr, "a movie to show");
    MutableComposition composition;
    for (const AssetTrack& track : asset->tracks()) {
        const MediaTime end = track.kind == TrackKind::video ? kBeyondAnyEnd : track.end;
        composition.tracks_.push_back({track.id, track.kind, {{asset, track.id, MediaTime{}, {MediaTime{}, end}}}});
        composition.lastId_ = std::max(composition.lastId_, track.id);
    }
    return composition;
}

int MutableComposition::addTrack(TrackKind kind) {
    tracks_.push_back({++lastId_, kind, {}});
    return lastId_;
}

void MutableComposition::insert(int trackId, std::shared_ptr<const Asset> asset, int sourceTrackId,
                                const TimeRange& source, const MediaTime& at) {
    precondition(asset != nullptr, "a movie to insert from");
    const AssetTrack* const sourceTrack = asset->track(sourceTrackId);
    const CompositionTrack* const targetTrack = track(trackId);
    precondition(sourceTrack != nullptr && targetTrack != nullptr && sourceTrack->kind == targetTrack->kind,
                 "source and target are tracks of one kind");
    insertSegment(trackId, {std::move(asset), sourceTrackId, source.start, {at, source.duration}});
}

void MutableComposition::insertEmpty(int trackId, const TimeRange& target) {
    insertSegment(trackId, {nullptr, 0, MediaTime{}, target});
}

void MutableComposition::insertSegment(int trackId, CompositionSegment segment) {
    const auto found = std::find_if(tracks_.begin(), tracks_.end(),
                                    [trackId](const CompositionTrack& track) { return track.id == trackId; });
    precondition(found != tracks_.end(), "a track of this composition");
    precondition(segment.target.start >= MediaTime{} && segment.target.duration >= MediaTime{},
                 "segments lie after zero and never run backward");
    if (segment.target.duration == MediaTime{}) return;
    std::vector<CompositionSegment>& segments = found->segments;
    const MediaTime at = segment.target.start;
    const MediaTime end = found->end();
    if (at > end) segments.push_back({nullptr, 0, MediaTime{}, TimeRange::between(end, at)});

    auto position = std::find_if(segments.begin(), segments.end(),
                                 [&at](const CompositionSegment& other) { return other.target.end() > at; });
    if (position != segments.end() && position->target.start < at) {  // cut the one in the way in two
        CompositionSegment rest = *position;
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

std::vector<CompositionTrack> MutableComposition::tracks(TrackKind kind) const {
    std::vector<CompositionTrack> found;
    std::copy_if(tracks_.begin(), tracks_.end(), std::back_inserter(found),
                 [kind](const CompositionTrack& track) { return track.kind == kind; });
    return found;
}

const CompositionTrack* MutableComposition::track(int id) const {
    const auto found =
        std::find_if(tracks_.begin(), tracks_.end(), [id](const CompositionTrack& track) { return track.id == id; });
    return found == tracks_.end() ? nullptr : &*found;
}

MediaTime MutableComposition::duration() const {
    MediaTime longest;
    for (const CompositionTrack& track : tracks_) {
        const MediaTime end = track.end();
        const bool isWholeMovie = end == kBeyondAnyEnd;
        const CompositionSegment* const last = isWholeMovie ? &track.segments.back() : nullptr;
        longest = std::max(longest, isWholeMovie ? last->asset->track(last->sourceTrackId)->end : end);
    }
    return longest;
}

}  // namespace lumivastor::media
