// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/screen_scales.h"

#include <charconv>

namespace lumivastor::x11 {
namespace {

// Beyond these no desktop can be used; a slip in the environment must not make a recording of no pixels.
constexpr double kMinimum = 0.25;
constexpr double kMaximum = 8;

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

std::optional<double> parseScale(std::string_view text) {
    text = trimmed(text);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !(value >= kMinimum && value <= kMaximum)) {
        return std::nullopt;
    }
    return value;
}

// Calls `use` with each part between separators, the last one included.
template <typename Use>
void split(std::string_view text, char separator, Use use) {
    for (;;) {
        const auto end = text.find(separator);
        use(text.substr(0, end));
        if (end == std::string_view::npos) return;
        text.remove_prefix(end + 1);
    }
}

}  // namespace

double ScreenScales::scaleOf(std::string_view monitor, std::size_t index) const {
    if (const auto named = byName.find(monitor); named != byName.end()) return named->second * factor;
    if (index < byOrder.size() && byOrder[index] > 0) return byOrder[index] * factor;
    return (dotsPerInch ? *dotsPerInch / 96.0 : 1.0) * factor;
}

ScreenScales parseScales(std::string_view screenFactors, std::string_view factor) {
    ScreenScales scales;
    scales.factor = parseScale(factor).value_or(1);
    if (screenFactors.empty()) return scales;
    split(screenFactors, ';', [&](std::string_view part) {
        const auto equals = part.rfind('=');
        const auto value = parseScale(equals == std::string_view::npos ? part : part.substr(equals + 1));
        if (equals == std::string_view::npos) {
            scales.byOrder.push_back(value.value_or(0));
        } else if (value) {
            scales.byName[std::string(trimmed(part.substr(0, equals)))] = *value;
        }
    });
    return scales;
}

std::optional<int> parseDotsPerInch(std::string_view resources) {
    std::optional<int> found;
    split(resources, '\n', [&](std::string_view line) {
        const auto colon = line.find(':');
        if (colon == std::string_view::npos || trimmed(line.substr(0, colon)) != "Xft.dpi") return;
        const std::string_view value = trimmed(line.substr(colon + 1));
        int number = 0;
        const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
        if (error == std::errc() && end == value.data() + value.size() && number >= 96 * kMinimum &&
            number <= 96 * kMaximum) {
            found = number;
        }
    });
    return found;
}

}  // namespace lumivastor::x11
