// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/thread_priority.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>

#include <thread>

namespace lumivastor {
namespace {

TEST(ThreadPriority, IsLoweredForOneThreadAndThoseThatItStarts) {
    const int before = ::getpriority(PRIO_PROCESS, 0);
    int lowered = 0;
    int inherited = 0;
    int policy = -1;
    std::thread([&] {
        lowerPriorityOfThisThread();
        lowered = ::getpriority(PRIO_PROCESS, 0);
        policy = ::sched_getscheduler(0);
        std::thread([&] { inherited = ::getpriority(PRIO_PROCESS, 0); }).join();
    }).join();
    EXPECT_GE(lowered, 10);
    EXPECT_EQ(inherited, lowered);
    EXPECT_EQ(policy, SCHED_BATCH);
    EXPECT_EQ(::getpriority(PRIO_PROCESS, 0), before);
}

}  // namespace
}  // namespace lumivastor
