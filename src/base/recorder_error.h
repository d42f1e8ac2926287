// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <stdexcept>
#include <string>

namespace lumivastor {

/// The one error of the program: a German sentence that the user reads as it stands. Library and system errors are
/// turned into one of these where the library is called.
class RecorderError : public std::runtime_error {
  public:
    explicit RecorderError(const std::string& message) : std::runtime_error(message) {}

    std::string message() const { return what(); }
};

}  // namespace lumivastor
