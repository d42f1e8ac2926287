// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/pixel_rect.h"

namespace lumivastor::imaging {

/// The part of a picture that changed, as a few rectangles that do not overlap. It may be a little larger than what was
/// added, but always contains it.
class DamageArea {
  public:
    /// More pieces would cost more in requests than they save in pixels: one request takes as long as copying about
    /// 50,000 pixels.
    static constexpr std::size_t kMaximumRects = 4;
    /// For those who paint or compare: a piece costs them no more than its pixels, but lists of them are searched.
    static constexpr std::size_t kManyRects = 16;

    DamageArea() = default;
    /// Of at most this many rectangles.
    explicit DamageArea(std::size_t maximumRects) : maximumRects_(maximumRects) {}

    void add(const PixelRect& rect);
    void add(const DamageArea& other);
    void clear() { rects_.clear(); }

    bool isEmpty() const { return rects_.empty(); }
    std::span<const PixelRect> rects() const { return rects_; }
    std::size_t maximumRects() const { return maximumRects_; }
    /// Pixels in all rectangles.
    std::int64_t area() const;

  private:
    void mergeTwo();

    std::size_t maximumRects_ = kMaximumRects;
    std::vector<PixelRect> rects_;
};

/// Where a picture of a stream may differ from the one before it; nullopt: anywhere.
using KnownDamage = std::optional<DamageArea>;

}  // namespace lumivastor::imaging
