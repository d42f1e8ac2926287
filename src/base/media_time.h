// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <compare>
#include <cstdint>

namespace lumivastor {

/// A point on a movie's timeline, or a distance between two: `value` / `timescale` seconds. A fraction, because movies
/// count whole ticks of their own clocks, and rounded seconds would not say exactly which picture is shown at a cut.
/// Comparisons use the value, not its form: 1/2 equals 300/600. The timescale is always positive.
struct MediaTime {
    std::int64_t value = 0;
    std::int32_t timescale = 1;

    /// The tick nearest to `seconds`, halves away from zero, saturated to 64 bits. `seconds` must be finite.
    static MediaTime fromSeconds(double seconds, std::int32_t timescale);

    double seconds() const { return static_cast<double>(value) / timescale; }

    /// The same time in ticks of another clock: the nearest tick, halves away from zero.
    MediaTime rescaled(std::int32_t newTimescale) const;

    friend std::strong_ordering operator<=>(const MediaTime& a, const MediaTime& b);
    friend bool operator==(const MediaTime& a, const MediaTime& b) { return (a <=> b) == 0; }
};

/// Sum and difference are exact: their timescale is the least common multiple of both. Only where that exceeds 32 bits
/// (two unrelated, very fine clocks) is the result rounded to the finer of the two. Results saturate at the ends of the
/// 64-bit range.
MediaTime operator+(const MediaTime& a, const MediaTime& b);
MediaTime operator-(const MediaTime& a, const MediaTime& b);

/// From `start` until just before `start + duration`.
struct TimeRange {
    MediaTime start;
    MediaTime duration;

    static TimeRange between(const MediaTime& start, const MediaTime& end) { return {start, end - start}; }

    MediaTime end() const { return start + duration; }
    bool contains(const MediaTime& time) const { return start <= time && time < end(); }
    bool operator==(const TimeRange&) const = default;
};

}  // namespace lumivastor
