// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/damage_area.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace lumivastor::imaging {

void DamageArea::add(const PixelRect& rect) {
    if (rect.isEmpty()) return;
    PixelRect grown = rect;
    // Growing over one rectangle may make it reach another.
    for (bool again = true; again;) {
        const auto met = std::find_if(rects_.begin(), rects_.end(),
                                      [&](const PixelRect& one) { return !intersection(one, grown).isEmpty(); });
        again = met != rects_.end();
        if (!again) break;
        if (met->contains(grown)) return;
        grown = united(*met, grown);
        rects_.erase(met);
    }
    rects_.push_back(grown);
    if (rects_.size() > maximumRects_) mergeTwo();
}

void DamageArea::add(const DamageArea& other) {
    for (const PixelRect& rect : other.rects()) add(rect);
}

std::int64_t DamageArea::area() const {
    std::int64_t pixels = 0;
    for (const PixelRect& rect : rects_) pixels += rect.area();
    return pixels;
}

// The two whose union wastes the fewest pixels.
void DamageArea::mergeTwo() {
    std::size_t first = 0;
    std::size_t second = 1;
    auto minimum = std::numeric_limits<std::int64_t>::max();
    for (std::size_t i = 0; i < rects_.size(); ++i) {
        for (std::size_t k = i + 1; k < rects_.size(); ++k) {
            const auto waste = united(rects_[i], rects_[k]).area() - rects_[i].area() - rects_[k].area();
            if (waste < minimum) {
                minimum = waste;
                first = i;
                second = k;
            }
        }
    }
    const PixelRect both = united(rects_[first], rects_[second]);
    rects_.erase(rects_.begin() + static_cast<std::ptrdiff_t>(second));
    rects_.erase(rects_.begin() + static_cast<std::ptrdiff_t>(first));
    add(both);
}

}  // namespace lumivastor::imaging
