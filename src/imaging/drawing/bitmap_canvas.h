// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "base/geometry.h"
#include "imaging/pixel_buffer.h"

namespace lumivastor::imaging {

/// sRGB-encoded and not premultiplied, each 0...1.
struct RgbaColour {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;

    bool operator==(const RgbaColour&) const = default;
};

/// Draws simple shapes, pictures and text over a buffer's content, with smooth edges: for the few marks of a check
/// video; painter.h paints studio frames. Coordinates are pixels with the origin at the buffer's top-left corner; what
/// lies outside is clipped.
///
/// Numbers come from recordings and may have any value: a shape that is not finite, has no area or reaches more than a
/// million pixels from the origin is not drawn. Nothing is drawn into a buffer that is empty or more than 32767 pixels
/// wide or high. The buffer must outlive the canvas. One thread at a time. Throws std::bad_alloc, or std::system_error
/// where no thread can be started for the fonts.
class BitmapCanvas {
  public:
    explicit BitmapCanvas(BgraPremultipliedBuffer& buffer);
    ~BitmapCanvas();
    BitmapCanvas(const BitmapCanvas&) = delete;
    BitmapCanvas& operator=(const BitmapCanvas&) = delete;

    /// Half of the line's width lies inside the circle, half outside.
    void strokeCircle(Point centre, double radius, double lineWidth, const RgbaColour& colour);
    void fillCircle(Point centre, double radius, const RgbaColour& colour);
    void fillRect(const Rect& rect, const RgbaColour& colour);

    /// The whole picture, upright, stretched to the rectangle.
    void drawPicture(const BgraPremultipliedBuffer& picture, const Rect& rect);

    /// One line of text that starts at `baseline`, in the first of these families that is installed (a list separated
    /// by commas). `size` is the height of the font in pixels.
    void drawText(const std::string& text, Point baseline, const std::string& families, double size,
                  const RgbaColour& colour);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace lumivastor::imaging
