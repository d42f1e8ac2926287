// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/reading/still_picture.h"

#include <algorithm>
#include <vector>

#include "media/reading/asset_reader.h"

namespace lumivastor::media {

namespace {

// Fine enough to tell any two pictures apart.
constexpr std::int32_t kTimescale = 90'000;

}  // namespace

std::optional<imaging::YuvPicture> stillPicture(const std::shared_ptr<const Asset>& asset, double seconds) {
    const std::vector<AssetTrack> tracks = asset->tracks(TrackKind::video);
    if (tracks.empty()) return std::nullopt;
    const AssetTrack& track = tracks.front();
    // The last tick at which something is shown; a range beyond the end would be empty.
    const double last = track.end.seconds() - 1.0 / kTimescale;
    const double shown = std::min(seconds, last);
    if (shown < track.start.seconds()) return std::nullopt;

    AssetReader reader(asset);
    const MediaTime start = MediaTime::fromSeconds(std::max(shown, 0.0), kTimescale);
    reader.setTimeRange({start, MediaTime::fromSeconds(1, kTimescale)});
    VideoTrackOutput& output = reader.addVideoOutput(track.id, PictureFormat::planar);
    std::optional<VideoSample> sample;
    if (reader.startReading()) sample = output.copyNextSample();
    if (sample) return sample->planar();
    if (const auto error = reader.error()) throw *error;
    return std::nullopt;
}

}  // namespace lumivastor::media
