#pragma once

#include <span>

#include "imaging/pixel_buffer.h"

namespace lumivastor {

/// One pixel for each square of a grid that lies over `pixels`: the mean of the pixels that the square holds, each
/// weighted by how much of it the square holds. Squares may begin and end within pixels; what of them lies outside of
/// the picture counts as transparent. `lefts` and `tops`: where the grid's columns and rows begin, in pixels from the
/// picture's top left; `side` (> 0): how long the squares are, in pixels.
BgraPremultipliedBuffer squareMeans(const BgraPremultipliedBuffer& pixels, std::span<const double> lefts,
                                    std::span<const double> tops, double side);

}  // namespace lumivastor
