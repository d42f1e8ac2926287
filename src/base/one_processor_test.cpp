// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/one_processor.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <optional>
#include <thread>
#include <vector>

namespace lumivastor {
namespace {

int processorsOfThisThread() {
    cpu_set_t set;
    CPU_ZERO(&set);
    return ::sched_getaffinity(0, sizeof set, &set) == 0 ? CPU_COUNT(&set) : 0;
}

TEST(OneProcessor, IsTheLastOfSeveral) {
    EXPECT_EQ(backgroundProcessor(std::vector{0, 1, 2, 3}), 3);
    EXPECT_EQ(backgroundProcessor(std::vector{2, 5}), 5);
    EXPECT_EQ(backgroundProcessor(std::vector{4}), std::nullopt);
    EXPECT_EQ(backgroundProcessor({}), std::nullopt);
}

TEST(OneProcessor, IsAllThatAThreadAndThoseItStartsHave) {
    const int before = processorsOfThisThread();
    const unsigned known = std::thread::hardware_concurrency();
    int confined = 0;
    int inherited = 0;
    unsigned knownThere = 0;
    std::thread([&] {
        confineThisThreadToOneProcessor();
        confined = processorsOfThisThread();
        knownThere = std::thread::hardware_concurrency();
        std::thread([&] { inherited = processorsOfThisThread(); }).join();
    }).join();
    EXPECT_EQ(confined, 1);
    EXPECT_EQ(inherited, 1);
    EXPECT_EQ(processorsOfThisThread(), before);
    // Encoders choose their threads, and with them the stream, by this number.
    EXPECT_EQ(knownThere, known);
}

}  // namespace
}  // namespace lumivastor
