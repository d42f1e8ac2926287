// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include "imaging/pixel_buffer.h"

namespace lumivastor::imaging {

/// A filled shape, convex in every row: for a height `y` (pixels from the top) the part of the row inside the shape,
/// from `left` to `right`, empty when left >= right.
struct RowSpan {
    double left = 0;
    double right = 0;
};
struct ConvexShape {
    std::function<RowSpan(double y)> spanAt;
    // Where spans can be found at all.
    double left = 0, right = 0, top = 0, bottom = 0;
};

/// Fills `destination`, which must be transparent, with black of `alpha` in the shape blurred with a Gaussian of
/// standard deviation `sigma` (pixels).
///
/// The blurred shape is computed exactly on a grid as coarse as a quarter of sigma and interpolated from there: a
/// Gaussian holds nothing finer than that, and the result is within 1 of 255 of the one computed for every pixel
/// (gaussian_shadow_test.cpp), at a small part of the time. That holds from a sigma of 2 on; smaller ones come out
/// slightly too soft.
void fillGaussianShadow(const ConvexShape& shape, double sigma, double alpha, BgraPremultipliedBuffer& destination);

}  // namespace lumivastor::imaging
