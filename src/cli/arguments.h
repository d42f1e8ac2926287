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

/// An option of a verb. `value` names what follows it in the help, empty for a switch.
struct OptionSpec {
    std::string_view name;  // with its dashes
    std::string_view value;
    std::string_view help;
};

/// The command line was wrong; the message is a short German hint.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// What stands behind a verb, taken apart by the verb's options.
class Arguments {
  public:
    /// Values stand behind their option or after "=". "--" ends the options. Throws `UsageError`.
    Arguments(std::span<const std::string> words, std::span<const OptionSpec> options);

    const std::vector<std::string>& positional() const { return positional_; }
    bool has(std::string_view option) const { return values_.contains(option); }
    /// The value given last.
    std::optional<std::string> value(std::string_view option) const;

    /// The only positional argument, or `UsageError` that asks for `what`.
    const std::string& single(std::string_view what) const;
    /// Finite numbers with commas between them; empty when the option is not given. Throws `UsageError`.
    std::vector<double> numbers(std::string_view option) const;

  private:
    std::vector<std::string> positional_;
    std::map<std::string, std::string, std::less<>> values_;
};

/// A whole finite number, with a point where it has a fraction; none when `text` is anything else.
std::optional<double> parseNumber(std::string_view text);

/// "WxH" with both from 1 to `largest`. Throws `UsageError`.
PixelSize parsePixelSize(const std::string& text, int largest);

}  // namespace lumivastor::cli
