// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "base/media_time.h"
#include "imaging/pixel_buffer.h"

namespace lumivastor::capture {

/// The one picture of a stream that could not be appended to the movie when it came: taken before the session's start,
/// or while the writer had no room. It waits here, because on a screen that then stands still nothing else would show
/// what it shows. Only the newest waits; docs/decisions/0011-late-pictures.md says what is counted, and why. One
/// thread.
class WaitingPicture {
  public:
    using Image = std::shared_ptr<const imaging::BgraPremultipliedBuffer>;
    struct Picture {
        Image image;
        MediaTime time;
    };

    /// Keeps a picture from before the session's start: the newest of them is what the movie begins with. One that it
    /// replaces was never in the session, and is not counted.
    void keepForStart(Image image, const MediaTime& sessionStart);

    /// Keeps a picture for which there is no room, without holding it: see `CaptureStream`, which keeps it alive while
    /// it is the newest. So it takes none of the stream's buffers, and the stream goes on delivering. How many pictures
    /// are lost by that. The same picture once more is not a new one: the first showing keeps its time, and the last is
    /// remembered, because it may give the movie its length.
    std::int64_t keep(const Image& image, const MediaTime& time);

    /// What is to be appended when the samples have come to `now` and there is room, one after the other; nothing when
    /// nothing waits, it is not yet time, or the stream has taken a newer picture, which is on its way.
    std::optional<Picture> next(const MediaTime& now);

    /// A newer picture is appended, or none will be any more. How many pictures are lost by that.
    std::int64_t giveUp();

    /// When what waits is shown last; nothing when nothing waits.
    std::optional<MediaTime> lastTime() const { return again_ ? again_ : first_; }
    bool isEmpty() const { return !first_ && !again_; }

  private:
    std::int64_t count() const { return (first_ ? 1 : 0) + (again_ ? 1 : 0); }

    Image early_;                                                 // from before the session's start
    std::weak_ptr<const imaging::BgraPremultipliedBuffer> late_;  // while there was no room
    std::optional<MediaTime> first_;                              // when it is shown first; once appended, nothing
    std::optional<MediaTime> again_;                              // when it was delivered last, if more than once
};

}  // namespace lumivastor::capture
