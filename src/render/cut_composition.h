// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "base/interval.h"
#include "edit/recording.h"
#include "edit/timeline.h"
#include "media/reading/asset.h"
#include "media/reading/asset_reader.h"
#include "media/reading/segmented_movie.h"
#include "model/capture_info.h"
#include "model/project_settings.h"

// The edited video as a composition of tracks, which an export reads and a preview plays.

namespace lumivastor::render {

/// The movies of a recording folder, opened.
struct RecordingAssets {
    std::shared_ptr<const media::Asset> screen;
    std::shared_ptr<const media::Asset> webcam;  // null without a usable webcam movie
};

/// Opens "source.mov" and the webcam movie. A webcam movie that cannot be opened, or has no pictures, is logged and
/// ignored. Throws `RecorderError` when the screen movie is missing or unreadable, or memory is short. Blocks for the
/// disk. Any thread.
RecordingAssets openRecordingAssets(const edit::Recording& recording);
/// The same with a screen movie that is open already; see `openScreenAsset`.
RecordingAssets openRecordingAssets(const edit::Recording& recording, std::shared_ptr<const media::Asset> screen);
/// The screen movie of the recording in a folder. Throws `RecorderError`.
std::shared_ptr<const media::Asset> openScreenAsset(const std::filesystem::path& folder);

/// A kept segment with its bounds rounded to the movie's clock. Seconds; `sourceStart` < `sourceEnd`.
struct ShownSegment {
    double outputStart = 0;
    double sourceStart = 0;
    double sourceEnd = 0;
};

/// An edited movie and the roles of its tracks.
struct CutComposition {
    media::SegmentedMovie movie;
    std::vector<ShownSegment> shownSegments;  // back to back from zero; those that are shorter than a tick are left out
    std::optional<int> screenTrackId;         // none when the screen movie has no pictures
    std::optional<int> webcamTrackId;
    std::vector<int> audioTrackIds;  // in the source's order: system sound, then microphone
};

/// Joins the kept segments of screen, webcam and all sound back to back. The webcam shows the same source times as the
/// screen, with an empty range where its movie has no pictures; `webcamOffset` is the source time of its zero, in
/// seconds. Segment bounds are rounded to 1/600 s, so after many cuts the movie may differ from the kept segments by
/// many ticks.
///
///     source   |===A===|--cut--|====B====|          output   |===A===|====B====|
///     webcam       |===============|                         |   |=A=|==B|     |
///
/// Throws `RecorderError` when there are no segments.
CutComposition makeCutComposition(std::span<const Interval> segments, const RecordingAssets& assets,
                                  double webcamOffset, double webcamShift = 0);

/// The source time whose picture such a movie shows at output time `t`. Use it instead of `sourceTime` for everything
/// drawn over the movie's pictures. As for pictures, a segment begins 0.1 ms early, so that quotients fall on the right
/// side of a cut. Past the end the last segment's end; `t` itself without segments.
double shownSourceTime(std::span<const ShownSegment> segments, double t);

/// The volume of each audio track of such a movie: that of the system sound, if it was recorded, then that of the
/// microphone, if it was recorded; 1 for any further track.
std::vector<media::AudioMixInput> makeAudioMix(const model::CaptureInfo& info, const model::ProjectSettings& settings,
                                               std::span<const int> audioTrackIds);

}  // namespace lumivastor::render
