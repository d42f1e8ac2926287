// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

// Numbers as German text. Pure functions.

namespace lumivastor::capture {

/// "36.180"
std::string groupedText(std::int64_t number);

/// With a comma, and a minus sign instead of a hyphen: "−18,2".
std::string commaText(double number, int digits);

/// A place in a recording, rounded down: "0:59", "75:03".
std::string clockText(double seconds);

/// A length, rounded to the second: "10:03 min", "1:02:03 h".
std::string lengthText(double seconds);

}  // namespace lumivastor::capture
