// SPDX-License-Identifier: GPL-3.0-or-later
#include "imaging/damage_history.h"

#include <algorithm>
#include <utility>

#include "base/precondition.h"

namespace lumivastor::imaging {

std::uint64_t DamageHistory::add(KnownDamage damage) {
    recent_.push_back(std::move(damage));
    if (recent_.size() > kLength) recent_.pop_front();
    return ++newest_;
}

KnownDamage DamageHistory::since(std::uint64_t picture) const {
    precondition(picture <= newest_, "a picture of the stream");
    const std::uint64_t missing = newest_ - picture;
    if (picture == 0 || missing > recent_.size()) return std::nullopt;
    // As finely divided as the finest of them.
    std::size_t rects = DamageArea::kMaximumRects;
    const auto first = recent_.end() - static_cast<std::ptrdiff_t>(missing);
    for (auto each = first; each != recent_.end(); ++each) {
        if (!*each) return std::nullopt;
        rects = std::max(rects, (*each)->maximumRects());
    }
    DamageArea all(rects);
    for (auto each = first; each != recent_.end(); ++each) all.add(**each);
    return all;
}

}  // namespace lumivastor::imaging
