// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/serial_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace lumivastor {
namespace {

TEST(SerialQueue, RunsItemsInTheOrderTheyWereHandedOver) {
    std::vector<int> order;
    SerialQueue queue("test.order");
    for (int i = 0; i < 1000; ++i) {
        queue.async([&order, i] { order.push_back(i); });
    }
    queue.drain();
    ASSERT_EQ(order.size(), 1000u);
    for (int i = 0; i < 1000; ++i) EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
}

TEST(SerialQueue, KeepsTheOrderOfEachThreadThatFeedsIt) {
    constexpr int kThreads = 8;
    constexpr int kItems = 500;
    std::vector<std::pair<int, int>> seen;
    SerialQueue queue("test.threads");
    std::vector<std::thread> feeders;
    for (int thread = 0; thread < kThreads; ++thread) {
        feeders.emplace_back([&, thread] {
            for (int i = 0; i < kItems; ++i) queue.async([&seen, thread, i] { seen.emplace_back(thread, i); });
        });
    }
    for (auto& feeder : feeders) feeder.join();
    queue.drain();
    ASSERT_EQ(seen.size(), static_cast<std::size_t>(kThreads * kItems));
    std::vector<int> next(kThreads, 0);
    for (const auto& [thread, i] : seen) EXPECT_EQ(i, next[static_cast<std::size_t>(thread)]++);
}

TEST(SerialQueue, RunsWhatIsWaitingBeforeItEnds) {
    int ran = 0;
    {
        SerialQueue queue("test.end");
        for (int i = 0; i < 100; ++i) queue.async([&ran] { ++ran; });
    }
    EXPECT_EQ(ran, 100);
}

TEST(SerialQueue, AnItemMayHandOverTheNext) {
    bool second = false;
    SerialQueue queue("test.nested");
    queue.async([&] {
        EXPECT_TRUE(queue.isCurrent());
        queue.async([&second] { second = true; });
    });
    queue.drain();
    queue.drain();
    EXPECT_TRUE(second);
    EXPECT_FALSE(queue.isCurrent());
}

TEST(SerialQueue, PreparedWorkMayBeHandedOverAgainFromWithin) {
    std::vector<int> order;
    SerialQueue queue("test.prepared");
    std::shared_ptr<SerialQueue::Prepared> again;
    again = std::make_shared<SerialQueue::Prepared>([&] {
        const int round = static_cast<int>(order.size());
        order.push_back(round);
        if (round < 99) queue.async(again);
    });
    // Both are handed over before either runs.
    std::promise<void> bothWait;
    queue.async([&] { bothWait.get_future().wait(); });
    queue.async(again);
    queue.async([&] { order.push_back(-1); });
    bothWait.set_value();
    for (int round = 0; round < 100; ++round) queue.drain();
    ASSERT_EQ(order.size(), 100u);
    EXPECT_EQ(order[0], 0);
    EXPECT_EQ(order[1], -1) << "what waits already comes first";
    EXPECT_EQ(order[99], 99);
}

TEST(SerialQueue, DrainingWaitsForWhatCameBefore) {
    std::atomic<int> done = 0;
    SerialQueue queue("test.drain");
    std::vector<std::thread> others;
    for (int i = 0; i < 4; ++i) {
        others.emplace_back([&] {
            for (int round = 1; round <= 200; ++round) {
                int mine = 0;
                queue.async([&mine, &done] {
                    mine = 1;
                    ++done;
                });
                queue.drain();
                EXPECT_EQ(mine, 1);
            }
        });
    }
    for (std::thread& other : others) other.join();
    EXPECT_EQ(done, 800);
}

}  // namespace
}  // namespace lumivastor
