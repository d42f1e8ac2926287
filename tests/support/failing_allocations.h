// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace lumivastor {

/// While it lives, `new` fails in this program on all threads, like a shortage of memory. Only for programs that are
/// linked with failing_allocations.cpp, which replaces `new` and `delete`; FFmpeg and other C libraries are not
/// affected. One at a time.
class FailingAllocations {
  public:
    enum class Mode { one, all };

    /// Fails allocation number `first` (from 0), and with `Mode::all` every later one.
    FailingAllocations(std::int64_t first, Mode mode);
    ~FailingAllocations();
    FailingAllocations(const FailingAllocations&) = delete;
    FailingAllocations& operator=(const FailingAllocations&) = delete;

    /// The number of allocations so far, including failed ones.
    std::int64_t count() const;
};

}  // namespace lumivastor
