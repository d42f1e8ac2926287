// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/media_time.h"

#include <gtest/gtest.h>

#include <limits>

namespace lumivastor {
namespace {

TEST(MediaTime, RoundsSecondsToTheNearestTickHalvesAwayFromZero) {
    EXPECT_EQ(MediaTime::fromSeconds(1.0, 600).value, 600);
    EXPECT_EQ(MediaTime::fromSeconds(0.5 / 600, 600).value, 1);
    EXPECT_EQ(MediaTime::fromSeconds(-0.5 / 600, 600).value, -1);
    EXPECT_EQ(MediaTime::fromSeconds(0.49 / 600, 600).value, 0);
    EXPECT_EQ(MediaTime::fromSeconds(1.0 / 3, 600).value, 200);
    EXPECT_EQ(MediaTime::fromSeconds(1e300, 600).value, std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(MediaTime::fromSeconds(-1e300, 600).value, std::numeric_limits<std::int64_t>::min());
}

TEST(MediaTime, ComparesMomentsAcrossTimescalesExactly) {
    EXPECT_EQ((MediaTime{1, 2}), (MediaTime{300, 600}));
    EXPECT_LT((MediaTime{1, 3}), (MediaTime{333334, 1000000}));
    EXPECT_GT((MediaTime{1, 3}), (MediaTime{333333, 1000000}));
    // Two times that are the same double.
    const MediaTime a{9007199254740993, 1};
    const MediaTime b{9007199254740992, 1};
    EXPECT_EQ(a.seconds(), b.seconds());
    EXPECT_GT(a, b);
    EXPECT_LT((MediaTime{-1, 600}), MediaTime{});
    // The largest products still compare.
    EXPECT_GT((MediaTime{std::numeric_limits<std::int64_t>::max(), 1}),
              (MediaTime{std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int32_t>::max()}));
}

TEST(MediaTime, AddsWithoutRoundingWhereACommonClockExists) {
    const MediaTime sum = MediaTime{1, 600} + MediaTime{1, 15360};
    EXPECT_EQ(sum.timescale, 76800);
    EXPECT_EQ(sum.value, 128 + 5);
    EXPECT_EQ(sum - (MediaTime{1, 15360}), (MediaTime{1, 600}));
    for (std::int64_t tick = -1000; tick < 1000; ++tick) {
        const MediaTime time{tick, 1001};
        EXPECT_EQ(time + MediaTime({7, 600}) - MediaTime({7, 600}), time);
    }
}

TEST(MediaTime, RoundsToTheFinerClockWhereNoCommonOneFits) {
    const MediaTime sum = MediaTime{1, 2147483629} + MediaTime{1, 2147483587};  // both prime
    EXPECT_EQ(sum.timescale, 2147483629);
    EXPECT_EQ(sum.value, 2);
}

TEST(MediaTime, SticksAtTheEndsOfTheRange) {
    const MediaTime last{std::numeric_limits<std::int64_t>::max(), 600};
    EXPECT_EQ((last + MediaTime{1, 600}).value, last.value);
    EXPECT_EQ((last.rescaled(1200)).value, std::numeric_limits<std::int64_t>::max());
}

TEST(MediaTime, RescalesToNearestHalvesAwayFromZero) {
    EXPECT_EQ((MediaTime{1, 1200}.rescaled(600).value), 1);
    EXPECT_EQ((MediaTime{-1, 1200}.rescaled(600).value), -1);
    EXPECT_EQ((MediaTime{1, 1201}.rescaled(600).value), 0);
    EXPECT_EQ((MediaTime{1001, 30000}.rescaled(600).value), 20);
}

TEST(TimeRange, HoldsItsStartButNotItsEnd) {
    const auto range = TimeRange::between({1, 2}, {3, 2});
    EXPECT_EQ(range.duration, (MediaTime{1, 1}));
    EXPECT_TRUE(range.contains({300, 600}));
    EXPECT_TRUE(range.contains({899, 600}));
    EXPECT_FALSE(range.contains({900, 600}));
    EXPECT_FALSE(range.contains({299, 600}));
}

}  // namespace
}  // namespace lumivastor
