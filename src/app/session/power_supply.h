// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>

namespace lumivastor::app {

/// Where Linux describes what powers the machine, a folder for each supply.
inline constexpr const char* kPowerSupplies = "/sys/class/power_supply";

/// Whether the machine runs on mains power: a line supplies it, or there is no sign that a battery does. Such a sign is
/// a battery that is discharging, or one beside lines that are all off. Batteries of mice and headsets do not count.
/// May take some milliseconds. Any thread.
bool isOnMains(const std::filesystem::path& supplies = kPowerSupplies);

}  // namespace lumivastor::app
