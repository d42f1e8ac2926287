// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "base/interval.h"
#include "imaging/picture.h"
#include "media/reading/asset_reader.h"
#include "media/reading/segmented_movie.h"

namespace lumivastor::playback {

/// Makes the recipe of a finished frame from what is shown at a moment: the screen's picture, the webcam's where there
/// is one, and the moment itself in seconds of the item's timeline. Called on a thread of the player's, one call at a
/// time; may throw `RecorderError`, which costs that frame only. Two calls that mean the same frame give equal
/// pictures, so that it need not be painted again.
using VideoCompositor = std::function<imaging::Picture(const imaging::Picture& screen,
                                                       const std::optional<imaging::Picture>& webcam, double seconds)>;

/// What a player shows. A value; the settings among it can be replaced in the player one by one.
struct PlayerItem {
    /// The whole source: its times are the times that the player, the compositor and the ranges count in.
    media::SegmentedMovie movie;
    /// The picture tracks of the movie. Without a screen track there is only sound.
    std::optional<int> screenTrackId;
    std::optional<int> webcamTrackId;

    /// How loud each sound track is; one that is not named is silent. Volumes above 1 amplify; what the sum then
    /// exceeds of full scale is cut off.
    std::vector<media::AudioMixInput> audioMix;
    VideoCompositor compositor;
    /// Of what the compositor makes, in pixels, at least 1.
    int canvasWidth = 0;
    int canvasHeight = 0;
    /// How many pictures a second playing shows: those at whole multiples of this. At least 1.
    double framesPerSecond = 30;
    /// Of the timeline, in seconds. Nothing is shown or reached beyond.
    double duration = 0;
    /// What playing shows, jumping over the rest. Seeking reaches everything. Overlaps and order do not matter.
    std::vector<Interval> playedRanges;
};

}  // namespace lumivastor::playback
