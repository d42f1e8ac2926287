// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "base/media_time.h"
#include "imaging/yuv_picture.h"
#include "media/reading/asset.h"

namespace lumivastor::media {

/// When the pictures of a video track are shown, by its index alone: what a `PictureDecoder` finds in a movie without
/// damage whose pictures are shown in the order of decoding, as those of recordings are. One thread at a time.
class PictureTimes {
  public:
    /// Throws when the file cannot be opened.
    PictureTimes(const std::shared_ptr<const Asset>& asset, int trackId);

    /// Makes the picture shown at `time` the current one: the track's first picture if all are later, none if the track
    /// is empty.
    void seek(const MediaTime& time);

    bool hasCurrent() const { return current_ < times_.size(); }
    MediaTime currentTime() const { return times_[current_]; }
    std::optional<MediaTime> nextTime() const;
    /// The next picture's time; of the last one the track's end, which decoders may know otherwise.
    MediaTime currentEnd() const;

    /// Makes the next picture the current one; none at the end.
    void advance() { ++current_; }

    /// Stands for the current picture: of the track's size, without samples, and with an owner of its own.
    imaging::YuvPicture picture() const;

  private:
    std::vector<MediaTime> times_;  // ascending
    AssetTrack track_;
    std::size_t current_ = 0;
};

}  // namespace lumivastor::media
