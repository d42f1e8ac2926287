// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/playback_position_map.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace lumivastor::playback {
namespace {

TEST(PlaybackPositionMap, BeginsWhereTheRunBegins) {
    PlaybackPositionMap positions;
    positions.start(500);
    EXPECT_EQ(positions.sourceAt(0), 500);
    positions.waited(100);
    EXPECT_EQ(positions.sourceAt(40), 500);
    EXPECT_EQ(positions.soundEnd(), 0);
}

TEST(PlaybackPositionMap, JumpsWhereTheSoundJumps) {
    PlaybackPositionMap positions;
    positions.start(0);
    positions.wrote(100, 0);
    positions.wrote(100, 100);
    positions.wrote(50, 9000);
    EXPECT_EQ(positions.sourceAt(0), 0);
    EXPECT_EQ(positions.sourceAt(150), 150);
    EXPECT_EQ(positions.sourceAt(199), 199);
    EXPECT_EQ(positions.sourceAt(200), 9000);
    EXPECT_EQ(positions.sourceAt(249), 9049);
    EXPECT_EQ(positions.sourceAt(250), 9050);
    EXPECT_EQ(positions.sourceAt(1000), 9050);
    EXPECT_EQ(positions.soundEnd(), 250);
}

TEST(PlaybackPositionMap, StandsStillWhileTheSourceIsWaitedFor) {
    PlaybackPositionMap positions;
    positions.start(0);
    positions.wrote(10, 0);
    positions.waited(5);
    positions.waited(5);
    positions.wrote(10, 10);
    EXPECT_EQ(positions.sourceAt(9), 9);
    EXPECT_EQ(positions.sourceAt(10), 10);
    EXPECT_EQ(positions.sourceAt(19), 10);
    EXPECT_EQ(positions.sourceAt(20), 10);
    EXPECT_EQ(positions.sourceAt(25), 15);
    EXPECT_EQ(positions.soundEnd(), 30);
    positions.waited(7);
    EXPECT_EQ(positions.soundEnd(), 30);
    EXPECT_EQ(positions.sourceAt(33), 20);
}

TEST(PlaybackPositionMap, AgreesWithAListOfEveryFrameForAnyRun) {
    std::mt19937 random(3);
    const auto upTo = [&random](int maximum) {
        return static_cast<std::int64_t>(random() % static_cast<unsigned>(maximum));
    };
    for (int run = 0; run < 200; ++run) {
        PlaybackPositionMap positions;
        std::int64_t source = upTo(1000);
        positions.start(source);
        std::vector<std::int64_t> each;
        for (int piece = 0; piece < 20; ++piece) {
            const std::int64_t count = upTo(5);
            if (random() % 3 == 0) {
                positions.waited(count);
                each.insert(each.end(), static_cast<std::size_t>(count), source);
                continue;
            }
            if (count > 0 && random() % 3 == 0) source += upTo(50);
            positions.wrote(count, source);
            for (std::int64_t i = 0; i < count; ++i) each.push_back(source++);
        }
        for (std::size_t heard = 0; heard < each.size(); heard += 1 + random() % 3) {
            ASSERT_EQ(positions.sourceAt(static_cast<std::int64_t>(heard)), each[heard]) << heard << " of run " << run;
        }
    }
}

}  // namespace
}  // namespace lumivastor::playback
