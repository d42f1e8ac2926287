// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <mutex>

#include "imaging/background_kernels.h"
#include "imaging/pixel_buffer.h"

// The studio background: a gradient so gentle that 8 bits would show it as bands many pixels wide. It is therefore
// dithered: an ordered pattern that repeats every 8 pixels rounds each pixel up or down, and 8 x 8 pixels have the
// exact mean. The pattern does not move from frame to frame.

namespace lumivastor::imaging {

/// sRGB-encoded, each 0...1.
struct RgbColour {
    double red = 0;
    double green = 0;
    double blue = 0;

    bool operator==(const RgbColour&) const = default;
};

/// Opaque: a linear gradient from `tone` x 1.45 at the top-left corner to `tone` x 0.55 at the bottom-right one, each
/// channel limited to 1, and over it a radial highlight of white from alpha 0.08 at (0.5 width, 0.55 height from below)
/// to nothing at a distance of 0.6 x width.
struct StudioBackground {
    int width = 0;
    int height = 0;
    RgbColour tone;

    /// Sizes in pixels, at least 0.
    StudioBackground(int width, int height, const RgbColour& tone);

    bool isEmpty() const { return width == 0 || height == 0; }

    /// Made when first asked for, because planar frames do without them. Any thread.
    const BgraPremultipliedBuffer& pixels() const;

    /// The exact colour at a point, in pixels from the top-left corner.
    RgbColour colourAt(double x, double y) const;

  private:
    mutable std::once_flag made_;
    mutable BgraPremultipliedBuffer pixels_;
};

/// A row of samples for the kernels, the first of which lies at (x, y) in pixels from the top-left corner, `spacing`
/// pixels apart.
BackgroundRow backgroundRow(const StudioBackground& background, double x, double y, double spacing);

}  // namespace lumivastor::imaging
