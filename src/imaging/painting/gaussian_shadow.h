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
    // Spans are found only between these.
    double left = 0, right = 0, top = 0, bottom = 0;
};

/// Fills `destination`, which must be transparent, with black of `alpha` in the shape blurred with a Gaussian of
/// standard deviation `sigma` (pixels).
///
/// The blurred shape is computed exactly on a grid with a spacing of a quarter of sigma and interpolated between its
/// points. A Gaussian has no finer detail, so the result is within 1 of 255 of the one computed for every pixel
/// (gaussian_shadow_test.cpp), in a fraction of the time. This holds for a sigma of 2 and above; below, shadows are
/// slightly too soft.
void fillGaussianShadow(const ConvexShape& shape, double sigma, double alpha, BgraPremultipliedBuffer& destination);

}  // namespace lumivastor::imaging
