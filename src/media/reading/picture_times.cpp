// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/reading/picture_times.h"

#include <algorithm>

#include "base/precondition.h"
#include "media/reading/key_pictures.h"

namespace lumivastor::media {

PictureTimes::PictureTimes(const std::shared_ptr<const Asset>& asset, int trackId) {
    const AssetTrack* const track = asset->track(trackId);
    precondition(track != nullptr && track->kind == TrackKind::video, "a video track of the movie");
    track_ = *track;
    for (const IndexedSample& sample : sampleIndex(*asset, trackId)) times_.push_back(sample.decodeTime);
    std::sort(times_.begin(), times_.end());
}

void PictureTimes::seek(const MediaTime& time) {
    const auto later = std::upper_bound(times_.begin(), times_.end(), time);
    current_ = later == times_.begin() ? 0 : static_cast<std::size_t>(later - times_.begin()) - 1;
}

std::optional<MediaTime> PictureTimes::nextTime() const {
    if (current_ + 1 >= times_.size()) return std::nullopt;
    return times_[current_ + 1];
}

MediaTime PictureTimes::currentEnd() const {
    precondition(hasCurrent(), "a current picture");
    return nextTime().value_or(std::max(track_.end, currentTime()));
}

imaging::YuvPicture PictureTimes::picture() const {
    imaging::YuvPicture picture;
    picture.width = track_.width;
    picture.height = track_.height;
    picture.encoding = track_.encoding;
    // Recipes take pictures of one owner for one picture.
    picture.owner = std::make_shared<const std::size_t>(current_);
    return picture;
}

}  // namespace lumivastor::media
