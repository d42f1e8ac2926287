// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>

namespace lumivastor {

/// A stretch of time in seconds, from `start` until just before `end`. One whose end does not lie behind its start is
/// empty. For times that are computed; those that movies store are `TimeRange` (base/media_time.h).
struct Interval {
    double start = 0;
    double end = 0;

    /// Negative where the end lies before the start.
    constexpr double length() const { return end - start; }
    constexpr bool isEmpty() const { return !(start < end); }
    constexpr bool contains(double seconds) const { return start <= seconds && seconds < end; }

    constexpr bool operator==(const Interval&) const = default;
};

/// The intersection; empty when there is none.
constexpr Interval intersection(const Interval& a, const Interval& b) {
    return {std::max(a.start, b.start), std::min(a.end, b.end)};
}

/// Whether they have a moment in common; touching is not enough.
constexpr bool overlaps(const Interval& a, const Interval& b) {
    return !intersection(a, b).isEmpty();
}

}  // namespace lumivastor
