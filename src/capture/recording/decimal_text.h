// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace lumivastor::capture {

/// A number as logs show it: always with a fraction ("2.0", "1.25").
std::string decimalText(double number);

}  // namespace lumivastor::capture
