// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "base/pixel_size.h"
#include "imaging/pixel_buffer.h"
#include "imaging/yuv_picture.h"
#include "media/reading/key_pictures.h"

namespace lumivastor::render {

/// The size of a small picture: the picture's own if it is no higher, else `kSmallPictureHeight` high. No side is 0.
PixelSize smallPictureSize(PixelSize picture);

/// A picture averaged down to a size that is no larger, in sRGB.
std::shared_ptr<const imaging::BgraPremultipliedBuffer> shrunk(const imaging::YuvPicture& picture, PixelSize size);

/// The samples whose pictures are shown small, as positions in `samples`: key pictures, at least two seconds apart, no
/// more than 400 of them, spread over the movie. Their order is that in which they are made: first a few far apart,
/// then those between.
std::vector<std::size_t> smallPictureOrder(std::span<const media::IndexedSample> samples, double duration);

}  // namespace lumivastor::render
