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

// The edited video as a movie of tracks: what an export reads and a preview plays.

namespace lumivastor::render {

/// The movies of a recording folder, opened.
struct RecordingAssets {
    std::shared_ptr<const media::Asset> screen;
    std::shared_ptr<const media::Asset> webcam;  // null when the recording has none that can be shown
};

/// Opens "source.mov" and the webcam movie. A webcam movie that cannot be opened, or has no pictures, counts as none
/// and is logged. Throws `RecorderError` when the screen movie is missing or cannot be read, or memory is short.
/// Opens files on the disk. Any thread.
RecordingAssets openRecordingAssets(const edit::Recording& recording);

/// A kept segment as a movie shows it: with bounds on the ticks of its clock. In seconds, `sourceStart` < `sourceEnd`.
struct ShownSegment {
    double outputStart = 0;
    double sourceStart = 0;
    double sourceEnd = 0;
};

/// An edited movie and which of its tracks is what.
struct CutComposition {
    media::SegmentedMovie movie;
    std::vector<ShownSegment> shownSegments;  // back to back from zero; those that are shorter than a tick are left out
    std::optional<int> screenTrackId;         // none when the screen movie has no pictures
    std::optional<int> webcamTrackId;
    std::vector<int> audioTrackIds;  // in the source's order: system sound, then microphone
};

/// Shows the kept segments back to back, pictures, webcam and all sound. The webcam shows the same moments as the
/// screen, and an empty range wherever its movie has nothing; `webcamOffset` is the source time of its zero, in
/// seconds. Segment bounds are rounded to 1/600 s, so that after many cuts the movie may be ahead of the kept segments,
/// or behind them, by many ticks.
///
///     source   |===A===|--cut--|====B====|          output   |===A===|====B====|
///     webcam       |===============|                         |   |=A=|==B|     |
///
/// Throws `RecorderError` when there are no segments.
CutComposition makeCutComposition(std::span<const Interval> segments, const RecordingAssets& assets,
                                  double webcamOffset);

/// The source time whose picture such a movie shows at output time `t`, to be asked instead of `sourceTime` for what is
/// drawn over its pictures. Like those, a segment begins a tenth of a millisecond early, so that times which come from
/// divisions fall on its side of a cut. Past the end the last segment's end; `t` itself without segments.
double shownSourceTime(std::span<const ShownSegment> segments, double t);

/// The volume of each audio track of such a movie: the settings' for the system sound, if it was recorded, then the
/// microphone's, if it was; 1 for any further track.
std::vector<media::AudioMixInput> makeAudioMix(const model::CaptureInfo& info, const model::ProjectSettings& settings,
                                               std::span<const int> audioTrackIds);

}  // namespace lumivastor::render
