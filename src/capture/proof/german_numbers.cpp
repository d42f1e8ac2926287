// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/proof/german_numbers.h"

#include <algorithm>
#include <cmath>

#include "base/formatted.h"
#include "base/saturated.h"

namespace lumivastor::capture {

std::string groupedText(std::int64_t number) {
    std::string text = std::to_string(number);
    const std::size_t digitsFrom = number < 0 ? 1 : 0;
    for (std::size_t at = text.size(); at > digitsFrom + 3;) {
        at -= 3;
        text.insert(at, ".");
    }
    return number < 0 ? "−" + text.substr(1) : text;
}

std::string commaText(double number, int digits) {
    std::string text = formatted("%.*f", digits, std::abs(number));
    const bool isZero = text.find_first_of("123456789") == std::string::npos;
    std::replace(text.begin(), text.end(), '.', ',');
    return number < 0 && !isZero ? "−" + text : text;
}

std::string clockText(double seconds) {
    const auto whole = saturated<long long>(std::clamp(seconds, 0.0, 1e9));
    return formatted("%lld:%02lld", whole / 60, whole % 60);
}

std::string lengthText(double seconds) {
    const auto whole = saturated<long long>(std::clamp(std::round(seconds), 0.0, 1e9));
    if (whole < 3600) return clockText(static_cast<double>(whole)) + " min";
    return formatted("%lld:%02lld:%02lld h", whole / 3600, whole / 60 % 60, whole % 60);
}

}  // namespace lumivastor::capture
