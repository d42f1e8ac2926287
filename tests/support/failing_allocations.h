// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace lumivastor {

/// While one of these lives, `new` fails in this program on all threads, as it does when memory is short. Only for
/// programs that are linked with failing_allocations.cpp, which replaces `new` and `delete`; FFmpeg and other libraries
/// in C are not touched. One at a time.
class FailingAllocations {
  public:
    enum class Mode { one, all };

    /// Fails allocation number `first` (from 0), and with `Mode::all` every later one.
    FailingAllocations(std::int64_t first, Mode mode);
    ~FailingAllocations();
    FailingAllocations(const FailingAllocations&) = delete;
    FailingAllocations& operator=(const FailingAllocations&) = delete;

    /// How many there have been so far, those that failed among them.
    std::int64_t count() const;
};

}  // namespace lumivastor
