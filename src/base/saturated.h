// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <concepts>
#include <limits>

namespace lumivastor {

/// `value` without its fraction, clamped to the type's range; 0 for NaN. A plain cast would be undefined for such
/// values, and times and sizes from documents are untrusted.
template <std::signed_integral Integer>
constexpr Integer saturated(double value) {
    // A power of two, so exact as a double, unlike the largest value.
    constexpr auto minimum = static_cast<double>(std::numeric_limits<Integer>::min());
    if (value >= -minimum) return std::numeric_limits<Integer>::max();
    if (value <= minimum) return std::numeric_limits<Integer>::min();
    return value == value ? static_cast<Integer>(value) : Integer{0};
}

/// The nearest whole number, halves away from zero; clamped like `saturated`.
template <std::signed_integral Integer>
Integer saturatedRound(double value) {
    return saturated<Integer>(std::round(value));
}

}  // namespace lumivastor
