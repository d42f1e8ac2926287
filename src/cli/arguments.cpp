// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/arguments.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "base/formatted.h"

namespace lumivastor::cli {

Arguments::Arguments(std::span<const std::string> words, std::span<const OptionSpec> options) {
    bool optionsEnded = false;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (optionsEnded || !word.starts_with("--")) {
            positional_.push_back(word);
            continue;
        }
        if (word == "--") {
            optionsEnded = true;
            continue;
        }
        const std::size_t equals = word.find('=');
        const std::string name = word.substr(0, equals);
        const auto option =
            std::find_if(options.begin(), options.end(), [&name](const OptionSpec& each) { return each.name == name; });
        if (option == options.end()) throw UsageError("Unbekannte Option: " + name);
        std::string value;
        if (option->value.empty()) {
            if (equals != std::string::npos) throw UsageError(name + " nimmt keinen Wert.");
        } else if (equals != std::string::npos) {
            value = word.substr(equals + 1);
        } else if (i + 1 < words.size()) {
            value = words[++i];
        } else {
            throw UsageError(name + " braucht einen Wert: " + std::string(option->value));
        }
        values_[name] = value;
    }
}

std::optional<std::string> Arguments::value(std::string_view option) const {
    const auto found = values_.find(option);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
}

const std::string& Arguments::single(std::string_view what) const {
    if (positional_.empty()) throw UsageError("Es fehlt: " + std::string(what));
    if (positional_.size() > 1) throw UsageError("Zu viele Angaben: " + positional_[1]);
    return positional_.front();
}

std::vector<double> Arguments::numbers(std::string_view option) const {
    const auto text = value(option);
    if (!text) return {};
    std::vector<double> numbers;
    std::string_view rest = *text;
    for (;;) {
        const std::size_t comma = rest.find(',');
        const auto number = parseNumber(rest.substr(0, comma));
        if (!number) {
            throw UsageError(std::string(option) + " erwartet Zahlen mit Kommas dazwischen, nicht „" + *text + "“.");
        }
        numbers.push_back(*number);
        if (comma == std::string_view::npos) return numbers;
        rest.remove_prefix(comma + 1);
    }
}

std::optional<double> parseNumber(std::string_view text) {
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(number)) return std::nullopt;
    return number;
}

PixelSize parsePixelSize(const std::string& text, int largest) {
    PixelSize size;
    const char* const end = text.data() + text.size();
    const auto width = std::from_chars(text.data(), end, size.width);
    const bool hasCross = width.ec == std::errc() && width.ptr != end && *width.ptr == 'x';
    const auto height = hasCross ? std::from_chars(width.ptr + 1, end, size.height) : width;
    if (!hasCross || height.ec != std::errc() || height.ptr != end || size.width < 1 || size.height < 1 ||
        size.width > largest || size.height > largest) {
        throw UsageError(
            formatted("Eine Größe hat die Form BREITExHÖHE mit 1 bis %d Pixeln, nicht „%s“.", largest, text.c_str()));
    }
    return size;
}

}  // namespace lumivastor::cli
