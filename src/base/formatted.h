// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace lumivastor {

/// What printf would print, as a string. The decimal point is always a point, because the numeric locale stays "C".
[[gnu::format(printf, 1, 2)]] std::string formatted(const char* format, ...);

}  // namespace lumivastor
