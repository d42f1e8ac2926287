// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/thread_priority.h"

#include <sched.h>
#include <sys/resource.h>

namespace lumivastor {

void lowerPriorityOfThisThread() {
    // Each step of niceness is a factor of 1.25.
    constexpr int kNiceness = 10;
    const sched_param none{};
    // On Linux both mean the calling thread, not the process.
    static_cast<void>(::sched_setscheduler(0, SCHED_BATCH, &none));
    static_cast<void>(::setpriority(PRIO_PROCESS, 0, kNiceness));
}

}  // namespace lumivastor
