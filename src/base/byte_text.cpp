// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/byte_text.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "base/formatted.h"

namespace lumivastor {

std::string byteText(std::uint64_t bytes) {
    static constexpr std::array kUnits = {"kB", "MB", "GB", "TB"};
    double number = static_cast<double>(bytes) / 1000;
    std::size_t unit = 0;
    // What would be written as 1000 is 1 of the next unit.
    while (number >= 999.5 && unit + 1 < kUnits.size()) {
        number /= 1000;
        ++unit;
    }
    const int decimals = unit == 0 || number >= 99.95 ? 0 : 1;
    std::string text = formatted("%.*f ", decimals, number);
    std::replace(text.begin(), text.end(), '.', ',');
    return text + kUnits.at(unit);
}

}  // namespace lumivastor
