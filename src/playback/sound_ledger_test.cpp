// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/sound_ledger.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace lumivastor::playback {
namespace {

TEST(SoundLedger, BeginsWhereTheRunBegins) {
    SoundLedger ledger;
    ledger.start(500);
    EXPECT_EQ(ledger.sourceAt(0), 500);
    ledger.waited(100);
    EXPECT_EQ(ledger.sourceAt(40), 500);
    EXPECT_EQ(ledger.soundEnd(), 0);
}

TEST(SoundLedger, JumpsWhereTheSoundJumps) {
    SoundLedger ledger;
    ledger.start(0);
    ledger.wrote(100, 0);
    ledger.wrote(100, 100);
    ledger.wrote(50, 9000);
    EXPECT_EQ(ledger.sourceAt(0), 0);
    EXPECT_EQ(ledger.sourceAt(150), 150);
    EXPECT_EQ(ledger.sourceAt(199), 199);
    EXPECT_EQ(ledger.sourceAt(200), 9000);
    EXPECT_EQ(ledger.sourceAt(249), 9049);
    EXPECT_EQ(ledger.sourceAt(250), 9050);
    EXPECT_EQ(ledger.sourceAt(1000), 9050);
    EXPECT_EQ(ledger.soundEnd(), 250);
}

TEST(SoundLedger, StandsStillWhileTheSourceIsWaitedFor) {
    SoundLedger ledger;
    ledger.start(0);
    ledger.wrote(10, 0);
    ledger.waited(5);
    ledger.waited(5);
    ledger.wrote(10, 10);
    EXPECT_EQ(ledger.sourceAt(9), 9);
    EXPECT_EQ(ledger.sourceAt(10), 10);
    EXPECT_EQ(ledger.sourceAt(19), 10);
    EXPECT_EQ(ledger.sourceAt(20), 10);
    EXPECT_EQ(ledger.sourceAt(25), 15);
    EXPECT_EQ(ledger.soundEnd(), 30);
    ledger.waited(7);
    EXPECT_EQ(ledger.soundEnd(), 30);
    EXPECT_EQ(ledger.sourceAt(33), 20);
}

TEST(SoundLedger, AgreesWithAListOfEveryFrameForAnyRun) {
    std::mt19937 random(3);
    const auto upTo = [&random](int most) { return static_cast<std::int64_t>(random() % static_cast<unsigned>(most)); };
    for (int run = 0; run < 200; ++run) {
        SoundLedger ledger;
        std::int64_t source = upTo(1000);
        ledger.start(source);
        std::vector<std::int64_t> each;
        for (int piece = 0; piece < 20; ++piece) {
            const std::int64_t count = upTo(5);
            if (random() % 3 == 0) {
                ledger.waited(count);
                each.insert(each.end(), static_cast<std::size_t>(count), source);
                continue;
            }
            if (count > 0 && random() % 3 == 0) source += upTo(50);
            ledger.wrote(count, source);
            for (std::int64_t i = 0; i < count; ++i) each.push_back(source++);
        }
        for (std::size_t heard = 0; heard < each.size(); heard += 1 + random() % 3) {
            ASSERT_EQ(ledger.sourceAt(static_cast<std::int64_t>(heard)), each[heard]) << heard << " of run " << run;
        }
    }
}

}  // namespace
}  // namespace lumivastor::playback
