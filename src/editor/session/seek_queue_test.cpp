// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/session/seek_queue.h"

#include <gtest/gtest.h>

#include <vector>

namespace lumivastor::editor {
namespace {

struct SlowPlayer {
    std::vector<double> seeks;
    std::vector<std::function<void()>> endings;

    SeekQueue::Seek seek() {
        return [this](double seconds, std::function<void()> completion) {
            seeks.push_back(seconds);
            endings.push_back(std::move(completion));
        };
    }
    void end() {
        const auto ending = endings.back();
        ending();
    }
};

TEST(SeekQueue, AFastScrubSkipsWhatLiesBetweenAndEndsOnTheLastRequest) {
    SlowPlayer player;
    SeekQueue queue(player.seek());
    for (int i = 0; i <= 1000; ++i) {
        queue.request(i * 0.01);
        if (i % 250 == 249) player.end();
    }
    while (queue.isBusy()) player.end();
    EXPECT_EQ(player.seeks, (std::vector<double>{0, 2.49, 4.99, 7.49, 9.99, 10}));
}

TEST(SeekQueue, NeverHasMoreThanOneSeekUnderWay) {
    SlowPlayer player;
    SeekQueue queue(player.seek());
    EXPECT_FALSE(queue.isBusy());
    queue.request(1);
    queue.request(2);
    queue.request(3);
    EXPECT_TRUE(queue.isBusy());
    EXPECT_EQ(player.seeks, (std::vector<double>{1}));
    player.end();
    EXPECT_EQ(player.seeks, (std::vector<double>{1, 3}));
    player.end();
    EXPECT_FALSE(queue.isBusy());
    queue.request(4);
    EXPECT_EQ(player.seeks.size(), 3u);
}

TEST(SeekQueue, InAHurryTheLastRequestOvertakesTheSeekUnderWay) {
    SlowPlayer player;
    SeekQueue queue(player.seek());
    queue.request(1);
    queue.hurry();
    EXPECT_EQ(player.seeks, (std::vector<double>{1})) << "nothing else was asked for";
    queue.request(2);
    EXPECT_TRUE(queue.isWaiting());
    queue.hurry();
    EXPECT_FALSE(queue.isWaiting());
    EXPECT_EQ(player.seeks, (std::vector<double>{1, 2}));
    player.endings[0]();
    EXPECT_TRUE(queue.isBusy()) << "the one that was overtaken ends nothing";
    queue.request(3);
    player.endings[1]();
    EXPECT_EQ(player.seeks, (std::vector<double>{1, 2, 3}));
    player.endings[2]();
    EXPECT_FALSE(queue.isBusy());
}

TEST(SeekQueue, ASeekThatHasShownSomethingIsOvertaken) {
    SlowPlayer player;
    SeekQueue queue(player.seek());
    queue.letOvertake();
    queue.request(1);
    queue.request(2);
    EXPECT_EQ(player.seeks, (std::vector<double>{1}));
    queue.letOvertake();
    EXPECT_EQ(player.seeks, (std::vector<double>{1, 2})) << "one was waiting";
    queue.request(3);
    EXPECT_EQ(player.seeks, (std::vector<double>{1, 2})) << "that one has shown nothing yet";
    queue.letOvertake();
    EXPECT_EQ(player.seeks, (std::vector<double>{1, 2, 3}));
    queue.letOvertake();
    queue.request(4);
    EXPECT_EQ(player.seeks, (std::vector<double>{1, 2, 3, 4})) << "at once";
    player.endings[1]();
    EXPECT_TRUE(queue.isBusy()) << "the one that was overtaken ends nothing";
    player.end();
    EXPECT_FALSE(queue.isBusy());
}

TEST(SeekQueue, APlayerThatSeeksAtOnceIsServedInOrder) {
    std::vector<double> seeks;
    SeekQueue queue([&](double seconds, const std::function<void()>& ended) {
        seeks.push_back(seconds);
        ended();
    });
    queue.request(1);
    queue.request(2);
    EXPECT_EQ(seeks, (std::vector<double>{1, 2}));
    EXPECT_FALSE(queue.isBusy());
}

TEST(SeekQueue, ASeekThatEndsAfterTheQueueIsHarmless) {
    SlowPlayer player;
    {
        SeekQueue queue(player.seek());
        queue.request(1);
        queue.request(2);
    }
    player.end();
    EXPECT_EQ(player.seeks.size(), 1u);
}

}  // namespace
}  // namespace lumivastor::editor
