// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <concepts>
#include <limits>

namespace lumivastor {

/// `value` without its fraction; the end of the type's range where it lies beyond that, and 0 where it is no number. A
/// plain cast is undefined there, and times and sizes from documents may be anything.
template <std::signed_integral Integer>
constexpr Integer saturated(double value) {
    // A power of two, so exact as a double, unlike the largest value.
    constexpr auto minimum = static_cast<double>(std::numeric_limits<Integer>::min());
    if (value >= -minimum) return std::numeric_limits<Integer>::max();
    if (value <= minimum) return std::numeric_limits<Integer>::min();
    return value == value ? static_cast<Integer>(value) : Integer{0};
}

/// The nearest whole number, halves away from zero; saturated like the above.
template <std::signed_integral Integer>
Integer saturatedRound(double value) {
    return saturated<Integer>(std::round(value));
}

}  // namespace lumivastor
