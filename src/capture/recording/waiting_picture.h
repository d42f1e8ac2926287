// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "base/media_time.h"
#include "imaging/pixel_buffer.h"

namespace lumivastor::capture {

/// The newest picture of a stream that could not be appended to the movie on arrival: it was taken before the session's
/// start, or while the writer had no room. It waits here, because if the screen then stands still, no other picture has
/// its content. docs/decisions/0011-late-pictures.md says what is counted, and why. One thread.
class WaitingPicture {
  public:
    using Image = std::shared_ptr<const imaging::BgraPremultipliedBuffer>;
    struct Picture {
        Image image;
        MediaTime time;
        std::uint64_t number = 0;  // see `AppendedDamage`
    };

    /// Keeps a picture from before the session's start: the movie begins with the newest of them. A replaced one was
    /// never in the session, and is not counted.
    void keepForStart(Image image, const MediaTime& sessionStart, std::uint64_t number);

    /// Keeps a picture for which there is no room, without owning it: see `CaptureStream`, which keeps it alive while
    /// it is the newest. It therefore occupies none of the stream's buffers, and the stream goes on delivering. Returns
    /// how many pictures are lost by that. A repeat of the same picture is not a new one: the first time is kept, and
    /// the last is remembered, because it may determine the movie's length.
    std::int64_t keep(const Image& image, const MediaTime& time, std::uint64_t number);

    /// The next picture to append when the samples have reached `now` and there is room; call it until it returns
    /// nullopt: when nothing waits, it is not yet time, or the stream has taken a newer picture, which will arrive
    /// soon.
    std::optional<Picture> next(const MediaTime& now);

    /// Call it when a newer picture is appended, or none will follow. Returns how many pictures are lost by that.
    std::int64_t giveUp();

    /// The last time of the waiting picture; nullopt when none waits.
    std::optional<MediaTime> lastTime() const { return again_ ? again_ : first_; }
    bool isEmpty() const { return !first_ && !again_; }

  private:
    std::int64_t count() const { return (first_ ? 1 : 0) + (again_ ? 1 : 0); }

    Image early_;                                                 // from before the session's start
    std::weak_ptr<const imaging::BgraPremultipliedBuffer> late_;  // while there was no room
    std::uint64_t number_ = 0;                                    // of the one that waits
    std::optional<MediaTime> first_;                              // when it is shown first; nullopt once it is appended
    std::optional<MediaTime> again_;                              // when it was delivered last, if more than once
};

}  // namespace lumivastor::capture
