// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <stdexcept>
#include <string>

namespace lumivastor {

/// The one error type of the program. Its message is a German sentence that is shown to the user unchanged. Errors of
/// libraries and the system are converted where the library is called.
class RecorderError : public std::runtime_error {
  public:
    explicit RecorderError(const std::string& message) : std::runtime_error(message) {}

    std::string message() const { return what(); }
};

}  // namespace lumivastor
