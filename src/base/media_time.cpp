// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/media_time.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "base/precondition.h"
#include "base/saturated.h"

namespace lumivastor {

namespace {

// 64 bits times 31 bits fit with room for a sum.
__extension__ using Wide = __int128;

constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kHighest = std::numeric_limits<std::int64_t>::max();

std::int64_t saturated(Wide value) {
    return static_cast<std::int64_t>(std::clamp<Wide>(value, kLowest, kHighest));
}

// numerator / denominator, nearest, halves away from zero. The denominator is positive.
Wide divided(Wide numerator, Wide denominator) {
    const Wide half = denominator / 2;
    return numerator >= 0 ? (numerator + half) / denominator : -((-numerator + half) / denominator);
}

// A clock in which both times are whole, or the finer of theirs when that would not fit.
std::int32_t commonTimescale(std::int32_t a, std::int32_t b) {
    if (a == b) return a;
    const std::int64_t common = std::lcm(std::int64_t{a}, std::int64_t{b});
    return common <= std::numeric_limits<std::int32_t>::max() ? static_cast<std::int32_t>(common) : std::max(a, b);
}

}  // namespace

MediaTime MediaTime::fromSeconds(double seconds, std::int32_t timescale) {
    precondition(timescale > 0, "a timescale is positive");
    precondition(std::isfinite(seconds), "a time in seconds is a number");
    return {saturatedRound<std::int64_t>(seconds * timescale), timescale};
}

MediaTime MediaTime::rescaled(std::int32_t newTimescale) const {
    precondition(timescale > 0 && newTimescale > 0, "a timescale is positive");
    if (newTimescale == timescale) return *this;
    return {saturated(divided(Wide{value} * newTimescale, timescale)), newTimescale};
}

std::strong_ordering operator<=>(const MediaTime& a, const MediaTime& b) {
    const Wide left = Wide{a.value} * b.timescale;
    const Wide right = Wide{b.value} * a.timescale;
    return left < right   ? std::strong_ordering::less
           : left > right ? std::strong_ordering::greater
                          : std::strong_ordering::equal;
}

MediaTime operator+(const MediaTime& a, const MediaTime& b) {
    const std::int32_t timescale = commonTimescale(a.timescale, b.timescale);
    return {saturated(Wide{a.rescaled(timescale).value} + b.rescaled(timescale).value), timescale};
}

MediaTime operator-(const MediaTime& a, const MediaTime& b) {
    const std::int32_t timescale = commonTimescale(a.timescale, b.timescale);
    return {saturated(Wide{a.rescaled(timescale).value} - b.rescaled(timescale).value), timescale};
}

}  // namespace lumivastor
