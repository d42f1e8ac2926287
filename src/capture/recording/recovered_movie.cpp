// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/recovered_movie.h"

#include <fcntl.h>

#include <algorithm>
#include <memory>
#include <system_error>

#include "base/recorder_error.h"
#include "base/unique_descriptor.h"
#include "media/isobmff/fragments.h"
#include "media/reading/asset.h"
#include "media/reading/asset_reader.h"
#include "media/writing/movie_repair.h"

namespace lumivastor::capture {

namespace {

// Pictures come every second at least; sound may end later than they do.
constexpr MediaTime kLookBack{10, 1};

double lastPictureOf(const std::shared_ptr<const media::Asset>& asset, const media::AssetTrack& track) {
    media::AssetReader reader(asset);
    const MediaTime start = std::max(track.start, track.end - kLookBack);
    reader.setTimeRange(TimeRange::between(start, std::max(track.end, asset->duration())));
    media::StoredSampleOutput& output = reader.addStoredSampleOutput(track.id);
    MediaTime last = track.start;
    if (!reader.startReading()) throw reader.error().value_or(RecorderError("Der Film kann nicht gelesen werden."));
    while (const auto sample = output.copyNextSample()) last = std::max(last, sample->presentationTime);
    return last.seconds();
}

}  // namespace

RecoveredMovie recoverMovie(const std::filesystem::path& path) {
    const media::MovieRepair repair = media::repairMovie(path);
    const auto asset = std::make_shared<const media::Asset>(path);
    const auto videos = asset->tracks(media::TrackKind::video);
    if (videos.empty() || repair.videoFrames == 0) {
        // A minimised window delivers only sound, which is worth keeping.
        if (asset->tracks(media::TrackKind::audio).empty()) throw RecorderError("Der Film enthält kein Bild.");
        return {asset->duration().seconds(), 0};
    }
    return {lastPictureOf(asset, videos.front()), repair.videoFrames};
}

bool mayStillBeRecovered(const std::filesystem::path& path) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error || size == 0) return false;
    const UniqueDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    if (!file.isOpen()) return true;
    const auto movie = media::scanFragments(file.get(), size);
    return !movie || movie->fragments > 0;
}

}  // namespace lumivastor::capture
