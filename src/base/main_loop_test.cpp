// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/main_loop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

namespace lumivastor {
namespace {

TEST(BlockingMainLoop, RunsWorkOfOtherThreadsInOrderOnTheThreadThatRunsIt) {
    BlockingMainLoop loop;
    std::vector<int> order;
    std::thread::id where;
    std::thread other([&] {
        for (int i = 0; i < 100; ++i) loop.async([&, i] { order.push_back(i); });
        loop.async([&] {
            where = std::this_thread::get_id();
            loop.stop();
        });
    });
    loop.run();
    other.join();
    EXPECT_EQ(order.size(), 100U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
    EXPECT_EQ(where, std::this_thread::get_id());
}

TEST(BlockingMainLoop, TimersRepeatUntilTheyAreDestroyed) {
    BlockingMainLoop loop;
    int quick = 0;
    int slow = 0;
    std::unique_ptr<MainLoop::Timer> quickTimer;
    quickTimer = loop.every(0.001, [&] {
        if (++quick == 3) quickTimer.reset();
    });
    const auto slowTimer = loop.every(0.05, [&] {
        if (++slow == 2) loop.stop();
    });
    loop.run();
    EXPECT_EQ(quick, 3);
    EXPECT_EQ(slow, 2);
}

TEST(BlockingMainLoop, ATimerThatOutlivesItsLoopIsHarmless) {
    std::unique_ptr<MainLoop::Timer> timer;
    {
        BlockingMainLoop loop;
        timer = loop.every(1, [] { FAIL(); });
    }
    timer.reset();
}

TEST(BlockingMainLoop, CanBeRunAgain) {
    BlockingMainLoop loop;
    loop.stop();
    loop.run();
    bool ran = false;
    loop.async([&] {
        ran = true;
        loop.stop();
    });
    loop.run();
    EXPECT_TRUE(ran);
}

}  // namespace
}  // namespace lumivastor
