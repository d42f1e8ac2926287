#pragma once

#include <memory>

#include "imaging/pixel_buffer.h"

namespace lumivastor {

/// The picture itself when it has this size. Otherwise a copy at the top-left corner, cut off where the picture is
/// larger and black where it is smaller: a track of pictures keeps the size that it began with, which for devices is
/// also rounded down to even numbers.
std::shared_ptr<const BgraPremultipliedBuffer> fittedPicture(std::shared_ptr<const BgraPremultipliedBuffer> picture,
                                                             int width, int height);

}  // namespace lumivastor
