// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/qt_main_loop.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <algorithm>
#include <thread>
#include <vector>

#include "support/qt_await.h"

namespace lumivastor::ui {
namespace {

TEST(QtMainLoop, RunsDetachedOnlyWhatIsHandedOver) {
    QtMainLoop loop;
    int ticks = 0;
    int steps = 0;
    const auto timer = loop.every(0.001, [&] { ++ticks; });
    // From within work of its own, as the end of the program may come there.
    loop.async([&] {
        std::thread other([&] {
            for (int i = 0; i < 10; ++i) loop.async([&] { ++steps; });
        });
        loop.runDetached([&] { return steps == 10; });
        other.join();
    });
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(steps, 10);
    EXPECT_EQ(ticks, 0);
}

TEST(QtMainLoop, RunsWorkOfOtherThreadsInOrderOnTheMainThread) {
    QtMainLoop loop;
    std::vector<int> order;
    std::thread::id where;
    std::thread other([&] {
        for (int i = 0; i < 100; ++i) loop.async([&, i] { order.push_back(i); });
        loop.async([&] { where = std::this_thread::get_id(); });
    });
    other.join();
    EXPECT_TRUE(order.empty());
    EXPECT_TRUE(awaitInLoop([&] { return where != std::thread::id(); }));
    EXPECT_EQ(order.size(), 100u);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
    EXPECT_EQ(where, std::this_thread::get_id());
}

TEST(QtMainLoop, WorkThatIsStillWaitingGoesWithTheLoop) {
    {
        QtMainLoop loop;
        loop.async([] { FAIL(); });
    }
    QCoreApplication::processEvents();
}

TEST(QtMainLoop, TimersRepeatUntilTheyAreDestroyedEvenByTheirOwnWork) {
    QtMainLoop loop;
    int quick = 0;
    std::unique_ptr<MainLoop::Timer> timer;
    timer = loop.every(0.001, [&] {
        if (++quick == 3) timer.reset();
    });
    int slow = 0;
    const auto slowTimer = loop.every(0.05, [&] { ++slow; });
    EXPECT_TRUE(awaitInLoop([&] { return slow >= 2 && quick >= 3; }));
    EXPECT_EQ(quick, 3);
}

}  // namespace
}  // namespace lumivastor::ui
