// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace lumivastor {

[[noreturn]] void preconditionFailed(const char* what, const char* file, int line);

/// Stops the program with a line on standard error when `holds` is false, in every build. For bugs in our own code
/// only; bad input from a file, a device or the user is a `RecorderError`. The last two arguments are the caller's
/// location (built-ins, because clang 14 lacks std::source_location).
inline void precondition(bool holds, const char* what, const char* file = __builtin_FILE(),
                         int line = __builtin_LINE()) {
    if (!holds) [[unlikely]] {
        preconditionFailed(what, file, line);
    }
}

}  // namespace lumivastor
