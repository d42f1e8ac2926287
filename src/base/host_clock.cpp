// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/host_clock.h"

#include <ctime>

namespace lumivastor {

double hostClockSeconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

}  // namespace lumivastor
