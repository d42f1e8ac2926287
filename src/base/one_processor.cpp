// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/one_processor.h"

#include <sched.h>

#include <vector>

namespace lumivastor {

std::optional<int> backgroundProcessor(std::span<const int> allowed) {
    if (allowed.size() < 2) return std::nullopt;
    return allowed.back();
}

void confineThisThreadToOneProcessor() {
    cpu_set_t set;
    CPU_ZERO(&set);
    // Fails where there are more processors than the set has room for.
    if (::sched_getaffinity(0, sizeof set, &set) != 0) return;
    std::vector<int> allowed;
    for (int processor = 0; processor < CPU_SETSIZE; ++processor) {
        if (CPU_ISSET(processor, &set)) allowed.push_back(processor);
    }
    const std::optional<int> chosen = backgroundProcessor(allowed);
    if (!chosen) return;
    CPU_ZERO(&set);
    CPU_SET(*chosen, &set);
    // On Linux 0 means the calling thread, not the process.
    static_cast<void>(::sched_setaffinity(0, sizeof set, &set));
}

}  // namespace lumivastor
