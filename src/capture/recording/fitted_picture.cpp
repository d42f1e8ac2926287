// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/fitted_picture.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "imaging/picture.h"

namespace lumivastor::capture {

std::shared_ptr<const imaging::BgraPremultipliedBuffer> fittedPicture(
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture, int width, int height) {
    if (picture->width() == width && picture->height() == height) return picture;
    auto fitted = std::make_shared<imaging::BgraPremultipliedBuffer>(width, height);
    const auto shared = static_cast<std::size_t>(std::min(width, picture->width())) * 4;
    for (int y = 0; y < height; ++y) {
        std::size_t filled = 0;
        if (y < picture->height()) {
            std::memcpy(fitted->row(y), picture->row(y), shared);
            filled = shared;
        }
        for (std::size_t x = filled + 3; x < static_cast<std::size_t>(width) * 4; x += 4) fitted->row(y)[x] = 255;
    }
    return fitted;
}

PicturePlace containedPlace(int pictureWidth, int pictureHeight, int movieWidth, int movieHeight) {
    const double scale =
        std::min(static_cast<double>(movieWidth) / pictureWidth, static_cast<double>(movieHeight) / pictureHeight);
    PicturePlace place;
    place.width = std::clamp(static_cast<int>(std::lround(pictureWidth * scale)), 1, movieWidth);
    place.height = std::clamp(static_cast<int>(std::lround(pictureHeight * scale)), 1, movieHeight);
    place.x = (movieWidth - place.width) / 2;
    place.y = (movieHeight - place.height) / 2;
    return place;
}

std::shared_ptr<const imaging::BgraPremultipliedBuffer> PictureFitter::fit(
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture) {
    const auto isRoundedFrom = [](int movie, int size) {
        return movie == size || (size % 2 == 1 && movie == size - 1);
    };
    if (picture->isEmpty() || (isRoundedFrom(width_, picture->width()) && isRoundedFrom(height_, picture->height()))) {
        return fittedPicture(std::move(picture), width_, height_);
    }
    return scaled(std::move(picture));
}

std::shared_ptr<const imaging::BgraPremultipliedBuffer> PictureFitter::scaled(
    std::shared_ptr<const imaging::BgraPremultipliedBuffer> picture) {
    // A picture of 2556 x 1178 takes 20 ms of one processor, which is more than its time at 60 a second.
    if (!painter_) painter_ = std::make_unique<imaging::Painter>(imaging::paintingThreads());
    const PicturePlace place = containedPlace(picture->width(), picture->height(), width_, height_);
    const double scaleX = static_cast<double>(place.width) / picture->width();
    const double scaleY = static_cast<double>(place.height) / picture->height();
    const double bottom = height_ - place.y - place.height;
    auto fitted = std::make_shared<imaging::BgraPremultipliedBuffer>(width_, height_);
    painter_->paint(
        imaging::Picture(std::move(picture)).transformed({scaleX, scaleY, static_cast<double>(place.x), bottom}),
        *fitted);
    for (int y = 0; y < height_; ++y) {
        for (int x = 3; x < width_ * 4; x += 4) fitted->row(y)[x] = 255;
    }
    return fitted;
}

}  // namespace lumivastor::capture
