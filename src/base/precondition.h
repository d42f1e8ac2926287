#pragma once

#include <source_location>

namespace lumivastor {

/// Stops the program with a line on standard error when `holds` is false, in every build. For mistakes of our own
/// code only; whatever comes from a file, a device or the user is checked elsewhere and ends in a `RecorderError`.
inline void precondition(bool holds, const char* what, std::source_location where = std::source_location::current());

[[noreturn]] void preconditionFailed(const char* what, std::source_location where);

inline void precondition(bool holds, const char* what, std::source_location where) {
    if (!holds) [[unlikely]] {
        preconditionFailed(what, where);
    }
}

}  // namespace lumivastor
