// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumivastor::x11 {

/// Pixels per point for each monitor. They must equal the window toolkit's scales, or a region that a user draws would
/// be recorded in the wrong place. The rules are those of Qt 6 without rounding.
struct ScreenScales {
    /// By monitor name, from the environment.
    std::map<std::string, double, std::less<>> byName;
    /// By the monitors' order, from the environment; 0 for monitors without a scale.
    std::vector<double> byOrder;
    /// Multiplied on top of everything, from the environment.
    double factor = 1;
    /// From the resource database; nullopt when not set there.
    std::optional<int> dotsPerInch;

    double scaleOf(std::string_view monitor, std::size_t index) const;
};

/// Parses the values of QT_SCREEN_SCALE_FACTORS and QT_SCALE_FACTOR. Malformed parts count as not given.
ScreenScales parseScales(std::string_view screenFactors, std::string_view factor);

/// The setting Xft.dpi in the text of a resource database; nullopt when missing or not a sensible number.
std::optional<int> parseDotsPerInch(std::string_view resources);

}  // namespace lumivastor::x11
