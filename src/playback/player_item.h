// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "base/interval.h"
#include "base/pixel_size.h"
#include "imaging/picture.h"
#include "media/reading/asset_reader.h"
#include "media/reading/segmented_movie.h"

namespace lumivastor::playback {

/// A frame that a compositor is to make.
struct FrameRequest {
    /// Its moment on the item's timeline.
    double seconds = 0;
    /// The size at which it will be painted, in pixels.
    PixelSize size;
    /// It stays until something changes; while playing, each gives way to the next.
    bool isStill = false;
};

/// Makes the recipe of a finished frame on the item's canvas, from the screen's picture and the webcam's if there is
/// one. Called on one of the player's threads, one call at a time; may throw `RecorderError`, which drops only that
/// frame. Calls for the same frame must return equal pictures, so that it need not be painted again.
using VideoCompositor = std::function<imaging::Picture(
    const imaging::Picture& screen, const std::optional<imaging::Picture>& webcam, const FrameRequest& frame)>;

/// What a player shows. A value; the player can replace each of the settings in it.
struct PlayerItem {
    /// The whole source: player, compositor and ranges count in its times.
    media::SegmentedMovie movie;
    /// The picture tracks of the movie. Without a screen track there is only sound.
    std::optional<int> screenTrackId;
    std::optional<int> webcamTrackId;

    /// Seconds by which the webcam's pictures are shown later than in the movie; see `shiftedMoment`.
    double webcamShift = 0;

    /// The volume of each sound track; tracks that are not listed are silent. Volumes above 1 amplify; the sum is
    /// limited to full scale.
    std::vector<media::AudioMixInput> audioMix;
    VideoCompositor compositor;
    /// The size of the compositor's frames, in pixels, at least 1.
    int canvasWidth = 0;
    int canvasHeight = 0;
    /// The frames a second that playing shows: those at whole multiples of its inverse. At least 1.
    double framesPerSecond = 30;
    /// The length of the timeline, in seconds. Nothing beyond it is shown or can be sought.
    double duration = 0;
    /// The ranges that playing shows; it jumps over the rest. Seeking reaches everything. Overlaps and order do not
    /// matter.
    std::vector<Interval> playedRanges;
};

}  // namespace lumivastor::playback
