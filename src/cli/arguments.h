// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "base/pixel_size.h"

namespace lumivastor::cli {

/// An option of a verb. `value` is the placeholder of its value in the help; empty for a switch.
struct OptionSpec {
    std::string_view name;  // with its dashes
    std::string_view value;
    std::string_view help;
};

/// A wrong command line; the message is a short German hint.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The words behind a verb, parsed by the verb's options.
class Arguments {
  public:
    /// A value follows its option as the next word or after "=". "--" ends the options. Throws `UsageError`.
    Arguments(std::span<const std::string> words, std::span<const OptionSpec> options);

    const std::vector<std::string>& positional() const { return positional_; }
    bool has(std::string_view option) const { return values_.contains(option); }
    /// The last given value of an option; nullopt when not given.
    std::optional<std::string> value(std::string_view option) const;

    /// The only positional argument. Throws `UsageError` without one (the message asks for `what`) and for more than
    /// one.
    const std::string& single(std::string_view what) const;
    /// Finite numbers separated by commas; empty when the option is not given. Throws `UsageError`.
    std::vector<double> numbers(std::string_view option) const;

  private:
    std::vector<std::string> positional_;
    std::map<std::string, std::string, std::less<>> values_;
};

/// Parses all of `text` as a finite number with a decimal point; nullopt for any other text.
std::optional<double> parseNumber(std::string_view text);

/// "WxH" with both from 1 to `largest`. Throws `UsageError`.
PixelSize parsePixelSize(const std::string& text, int largest);

}  // namespace lumivastor::cli
