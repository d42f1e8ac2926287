// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/finished_movie.h"

#include <cmath>
#include <string>

#include "base/formatted.h"
#include "base/log.h"
#include "base/recorder_error.h"
#include "media/reading/asset.h"

namespace lumivastor::render {

namespace {

// AAC packets have 1024 frames: the last one may be padded.
constexpr double kSoundTolerance = 0.05;

// The difference as text for the log; empty without one.
std::string differences(const media::Asset& movie, const FinishedMovie& expected) {
    const auto videos = movie.tracks(media::TrackKind::video);
    const auto sounds = movie.tracks(media::TrackKind::audio);
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

void checkFinishedMovie(const std::filesystem::path& path, const FinishedMovie& expected) {
    std::string wrong;
    try {
        wrong = differences(media::Asset(path), expected);
    } catch (const RecorderError& error) {
        wrong = error.message();
    }
    if (wrong.empty()) return;
    Log::write("Studio", "Prüfung des fertigen Films: " + wrong);
    throw RecorderError("Das Studio-Video konnte nicht geschrieben werden.");
}

}  // namespace lumivastor::render
