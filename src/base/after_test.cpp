// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/after.h"

#include <gtest/gtest.h>

#include "support/manual_main_loop.h"

namespace lumivastor {
namespace {

TEST(After, RunsOnceAndLeavesNoTimerBehind) {
    ManualMainLoop loop;
    int runs = 0;
    const auto timer = after(loop, 2, [&] { ++runs; });
    EXPECT_EQ(loop.timers(), 1U);
    loop.advance(1.9);
    EXPECT_EQ(runs, 0);
    loop.advance(0.2);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(loop.timers(), 0U);
    loop.advance(10);
    EXPECT_EQ(runs, 1);
}

TEST(After, TheWorkMayDestroyItsTimerAndStartAnother) {
    ManualMainLoop loop;
    int runs = 0;
    std::unique_ptr<MainLoop::Timer> timer;
    timer = after(loop, 1, [&] { timer = after(loop, 1, [&] { ++runs; }); });
    loop.advance(1.5);
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(loop.timers(), 1U);
    loop.advance(1);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(loop.timers(), 0U);
}

TEST(After, DoesNotRunOnceItIsDestroyed) {
    ManualMainLoop loop;
    int runs = 0;
    auto timer = after(loop, 1, [&] { ++runs; });
    timer.reset();
    loop.advance(2);
    EXPECT_EQ(runs, 0);
}

}  // namespace
}  // namespace lumivastor
