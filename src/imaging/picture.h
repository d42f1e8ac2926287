// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <vector>

#include "base/geometry.h"
#include "imaging/affine_transform.h"
#include "imaging/pixel_buffer.h"
#include "imaging/yuv_picture.h"

namespace lumivastor::imaging {

struct PictureNode;
struct StudioBackground;

/// A picture as a recipe: what it is made of, not yet its pixels. The frame compositor stacks pictures; a painter
/// (painter.h, or reference_painter.h for the plain one) turns the finished recipe into pixels once. A cheap immutable
/// value that threads may copy and share.
///
/// Pictures live in a pixel space with the origin at the bottom-left: pixel (0, 0) of a source covers the square from
/// (0, 0) to (1, 1) and is the leftmost one of its bottom row. Outside its extent a picture is transparent.
///
/// What the operations mean for the pixels, in either painter:
/// - A source is resampled once, from its own pixels to the destination's, however many transforms and crops lie in
///   between: with a Catmull-Rom kernel that widens with the reduction when the picture shrinks. Placed at whole pixels
///   without scaling it is copied exactly.
/// - A studio background is the gradient itself; a painter may round it up or down by its pattern.
/// - Edges of extents and crops that cut through a destination pixel cover their part of it; the kernel itself never
///   reaches beyond a source or over a crop's edge, so that neither darkness nor what was cropped away bleeds in.
/// - A crop of several stacked pictures is a crop of each of them.
class Picture {
  public:
    /// The empty picture: no extent, transparent everywhere.
    Picture();
    explicit Picture(std::shared_ptr<const BgraPremultipliedBuffer> buffer);
    explicit Picture(YuvPicture picture);
    explicit Picture(std::shared_ptr<const StudioBackground> background);

    /// Where the picture is not known to be transparent. Empty for the empty picture; `isInfinite` for endless ones.
    const Rect& extent() const;
    bool isEmpty() const { return extent().isEmpty(); }

    /// Scaled and moved. Scales must be finite and at least 0; a scale of 0 leaves the empty picture.
    Picture transformed(const AffineTransform& transform) const;
    /// Only what lies inside `rect`.
    Picture cropped(const Rect& rect) const;
    /// This picture in front of `background`.
    Picture over(const Picture& background) const;
    /// The pixels at the extent's edges repeated endlessly outward.
    Picture clampedToExtent() const;
    /// With areas shown as squares of `side` pixels (at least 1), the first of which begins at its area's bottom-left
    /// corner; the areas lie on whole pixels, and so do the picture's edges. Areas are applied one after the other: a
    /// later one averages the result of the earlier ones. First they are clipped to the picture. Squares end at their
    /// area's edges but average all pixels of a whole square; beyond the picture's edge the pixels at the edge are
    /// repeated.
    ///
    /// Each square shows the average of all its pixels: unlike the pixel in a square's middle, the average does not
    /// flicker when text below it scrolls, and it never shows an original pixel.
    Picture pixellated(const std::vector<Rect>& areas, int side) const;
    /// Multiplied by the alpha of `matte`; transparent where the matte is.
    Picture blendedWithMatte(const Picture& matte) const;
    /// All four premultiplied channels times `alpha`, which is limited to 0...1.
    Picture faded(double alpha) const;

    /// True when both recipes are the same: equal steps with equal numbers on the same buffers, which are compared by
    /// identity. Equal pictures paint equal pixels as long as their buffers are not modified. Both pictures' sources
    /// must still be held (they are, by the values themselves). A part that a recipe uses several times is compared
    /// once, and the depth of the recipe does not grow the stack.
    bool operator==(const Picture& other) const;

    const PictureNode& node() const { return *node_; }

  private:
    friend struct PictureNode;
    explicit Picture(std::shared_ptr<const PictureNode> node);

    std::shared_ptr<const PictureNode> node_;
};

/// The extent of a picture that never ends (one clamped to its extent and not cropped since).
inline constexpr Rect kInfiniteRect{-1e9, -1e9, 2e9, 2e9};
inline bool isInfinite(const Rect& rect) {
    return rect == kInfiniteRect;
}

}  // namespace lumivastor::imaging
