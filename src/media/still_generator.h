#pragma once

#include <memory>
#include <optional>

#include "imaging/painter.h"
#include "imaging/pixel_buffer.h"
#include "media/picture_finder.h"
#include "media/player_item.h"

namespace lumivastor {

/// Single frames of an item, for thumbnails: what a player shows at a moment, made at once on the calling thread. Keeps
/// its files open from frame to frame, and is quickest with ascending moments. One thread at a time.
class StillGenerator {
  public:
    /// Frames of the largest size of the canvas's shape that fits into `width` by `height` pixels, never larger than
    /// the canvas.
    StillGenerator(PlayerItem item, int width, int height);

    /// The frame at a moment, limited to the timeline. `writePng` makes a file of it. Throws `RecorderError` when there
    /// is none to be had.
    BgraPremultipliedBuffer still(double seconds);

  private:
    const PlayerItem item_;
    const int width_;
    const int height_;
    std::optional<PictureFinder> screen_;
    std::optional<PictureFinder> webcam_;
    Painter painter_;
};

}  // namespace lumivastor
