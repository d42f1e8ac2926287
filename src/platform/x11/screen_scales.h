// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumivastor::x11 {

/// How many pixels a point is wide on each monitor: the same that the toolkit of this program's windows works with, or
/// what users draw on the screen would be recorded somewhere else. The rules are those of Qt 6 without rounding.
struct ScreenScales {
    /// By monitor name, from the environment.
    std::map<std::string, double, std::less<>> byName;
    /// By the monitors' order, from the environment; 0 for those it leaves out.
    std::vector<double> byOrder;
    /// Multiplied on top of everything, from the environment.
    double factor = 1;
    /// Of the resource database; nothing where it says nothing.
    std::optional<int> dotsPerInch;

    double scaleOf(std::string_view monitor, std::size_t index) const;
};

/// From the values of QT_SCREEN_SCALE_FACTORS and QT_SCALE_FACTOR. What cannot be read counts as not given.
ScreenScales parseScales(std::string_view screenFactors, std::string_view factor);

/// The setting Xft.dpi in the text of a resource database; nothing when it is not there or not a sensible number.
std::optional<int> parseDotsPerInch(std::string_view resources);

}  // namespace lumivastor::x11
