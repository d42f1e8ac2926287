// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/finished_movie.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string>
#include <vector>

#include "base/formatted.h"
#include "base/log.h"
#include "base/recorder_error.h"
#include "media/reading/asset.h"
#include "media/reading/webm_tracks.h"

namespace lumivastor::render {

namespace {

// AAC packets have 1024 frames: the last one may be padded.
constexpr double kSoundTolerance = 0.05;

std::vector<media::AssetTrack> ofKind(const std::vector<media::AssetTrack>& tracks, media::TrackKind kind) {
    std::vector<media::AssetTrack> found;
    std::copy_if(tracks.begin(), tracks.end(), std::back_inserter(found),
                 [kind](const media::AssetTrack& track) { return track.kind == kind; });
    return found;
}

// The difference as text for the log; empty without one.
std::string differences(const std::vector<media::AssetTrack>& tracks, const FinishedMovie& expected) {
    const auto videos = ofKind(tracks, media::TrackKind::video);
    const auto sounds = ofKind(tracks, media::TrackKind::audio);
    if (videos.size() != 1) return formatted("%zu Bildspuren", videos.size());
    const media::AssetTrack& video = videos.front();
    if (video.width != expected.canvas.width || video.height != expected.canvas.height) {
        return formatted("%dx%d Pixel statt %dx%d", video.width, video.height, expected.canvas.width,
                         expected.canvas.height);
    }
    if (expected.pictures < 1 || video.sampleCount != expected.pictures) {
        return formatted("%lld Bilder statt %lld", static_cast<long long>(video.sampleCount),
                         static_cast<long long>(expected.pictures));
    }
    if (!(std::abs(video.end.seconds() - expected.seconds) <= expected.secondsPerPicture)) {
        return formatted("%.3f s statt %.3f s", video.end.seconds(), expected.seconds);
    }
    if (sounds.size() != (expected.soundSeconds ? 1u : 0u)) return formatted("%zu Tonspuren", sounds.size());
    if (expected.soundSeconds &&
        !(std::abs(sounds.front().end.seconds() - *expected.soundSeconds) <= kSoundTolerance)) {
        return formatted("%.3f s Ton statt %.3f s", sounds.front().end.seconds(), *expected.soundSeconds);
    }
    return {};
}

}  // namespace

void checkFinishedMovie(const std::filesystem::path& path, FilmForm form, const FinishedMovie& expected) {
    std::string wrong;
    try {
        wrong = differences(form == FilmForm::webm ? media::webMTracks(path) : media::Asset(path).tracks(), expected);
    } catch (const RecorderError& error) {
        wrong = error.message();
    }
    if (wrong.empty()) return;
    Log::write("Studio", "Prüfung des fertigen Films: " + wrong);
    throw RecorderError("Das Studio-Video konnte nicht geschrieben werden.");
}

}  // namespace lumivastor::render
