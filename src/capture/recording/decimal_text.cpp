// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/decimal_text.h"

#include <array>
#include <charconv>
#include <system_error>

namespace lumivastor::capture {

std::string decimalText(double number) {
    std::array<char, 32> text{};
    const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), number);
    std::string shortest(text.data(), end);
    if (error == std::errc() && shortest.find_first_not_of("-0123456789") == std::string::npos) shortest += ".0";
    return shortest;
}

}  // namespace lumivastor::capture
