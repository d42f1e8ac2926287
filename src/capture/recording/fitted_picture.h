// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "imaging/painting/painter.h"
#include "imaging/pixel_buffer.h"

namespace lumivastor::capture {

/// The picture itself if it has this size. Otherwise a copy at the top-left corner, cut off where the picture is larger
/// and black where it is smaller: a picture track keeps its initial size, which for devices is also rounded down to
/// even numbers.
std::shared_ptr<const imaging::BgraPremultipliedBuffer> fittedPicture(
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture, int width, int height);

/// Whole pixels of a movie's picture, from its top-left corner.
struct PicturePlace {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool operator==(const PicturePlace&) const = default;
};

/// The place of a picture in a movie of another shape: whole, as large as it fits, in the middle. All sizes are above
/// 0.
PicturePlace containedPlace(int pictureWidth, int pictureHeight, int movieWidth, int movieHeight);

/// Fits a device's pictures to the initial size of its movie. A picture that is larger by an odd row or column loses
/// it, which keeps the rest sharp. A picture of another size, as from a phone that is turned, is scaled to fit whole,
/// with black around it. Keeps its working memory from picture to picture. One thread at a time.
class PictureFitter {
  public:
    PictureFitter(int width, int height) : width_(width), height_(height) {}

    std::shared_ptr<const imaging::BgraPremultipliedBuffer> fit(
        std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture);

  private:
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> scaled(
        std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture);

    int width_;
    int height_;
    std::unique_ptr<imaging::Painter> painter_;  // from the first scaled picture on
};

}  // namespace lumivastor::capture
