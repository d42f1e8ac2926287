// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/recorder_error.h"
#include "ffmpeg/picture_conversion.h"
#include "media/reading/picture_decoder.h"
#include "media/reading/segmented_movie.h"
#include "playback/picture_cache.h"

namespace lumivastor::playback {

/// Lookups of pictures treat times that differ by less than this as equal: times of pictures are rounded to their
/// tracks' clocks, those of frames to another. An export has the same tolerance.
inline constexpr double kPictureTolerance = 0.0001;

/// The moment for looking up the pictures of a frame: `seconds` plus the tolerance.
MediaTime momentOf(double seconds);

/// Finds the picture that a track of a composition shows at any moment, by the rules of an export: the last picture is
/// held in empty ranges, in ranges that a source does not cover, and over damage until the next key picture that can be
/// decoded. Opens the files on first use. One thread at a time.
class FrameSeeker {
  public:
    /// The result before a track's first picture.
    enum class Before { nothing, firstPicture };

    FrameSeeker(const media::SegmentedTrack& track, Before before);
    ~FrameSeeker();

    /// Called for each picture that is decoded on the way; returns whether to go on.
    using Passing = std::function<bool(const ShownPicture&)>;

    /// The picture shown at `time`, and its range; nullopt when `passing` ended the search. Jumps to a key picture or
    /// decodes on, whichever is quicker. Throws `RecorderError` when a file cannot be opened at all.
    std::optional<ShownPicture> find(const MediaTime& time, const Passing& passing = {});

  private:
    // A segment together with the empty ranges behind it, on the timeline.
    struct Stretch {
        media::MovieSegment segment;
        TimeRange shown;

        MediaTime onTimeline(const MediaTime& source) const;
        MediaTime inSource(const MediaTime& time) const;
    };
    struct Hole {
        TimeRange shown;
        ShownPicture held;
    };

    const Stretch* stretchAt(const MediaTime& time) const;
    void openDecoder(const Stretch& stretch);
    ShownPicture current(const Stretch& stretch) const;
    ShownPicture beyondDamage(const Stretch& stretch, const MediaTime& time, const RecorderError& reason,
                              const Passing& passing);
    bool canSeek(const MediaTime& source);
    std::optional<ShownPicture> lastBefore(const Stretch& stretch, const MediaTime& source);

    const Before before_;
    std::vector<Stretch> stretches_;
    std::vector<Hole> holes_;
    std::unique_ptr<media::PictureDecoder> decoder_;
    const Stretch* decoded_ = nullptr;  // that decoder_ is open on
    mutable ffmpeg::PictureConverter converter_;
};

}  // namespace lumivastor::playback
