// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <vector>

#include "platform/pictures/pixel_rect.h"

namespace lumivastor::platform {

/// The part of a picture that changed, as a few rectangles that do not overlap. It may be a little larger than what was
/// added, but always contains it.
class DamageArea {
  public:
    /// More pieces would cost more in requests than they save in pixels: one request takes as long as copying about
    /// 50,000 pixels.
    static constexpr std::size_t kMaximumRects = 4;

    void add(const PixelRect& rect);
    void add(const DamageArea& other);
    void clear() { rects_.clear(); }

    bool isEmpty() const { return rects_.empty(); }
    std::span<const PixelRect> rects() const { return rects_; }

  private:
    void mergeTwo();

    std::vector<PixelRect> rects_;
};

}  // namespace lumivastor::platform
