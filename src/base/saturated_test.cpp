// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/saturated.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace lumivastor {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

template <typename Integer>
void checkEnds() {
    constexpr Integer lowest = std::numeric_limits<Integer>::min();
    constexpr Integer highest = std::numeric_limits<Integer>::max();
    constexpr double power = -static_cast<double>(lowest);
    for (const double beyond : {power, power * 1.5, 1e300, kInfinity}) {
        EXPECT_EQ(saturated<Integer>(beyond), highest) << beyond;
        EXPECT_EQ(saturated<Integer>(-beyond), lowest) << -beyond;
        EXPECT_EQ(saturatedRound<Integer>(beyond), highest) << beyond;
    }
    const double inside = std::nextafter(power, 0.0);
    EXPECT_EQ(saturated<Integer>(inside), static_cast<Integer>(std::trunc(inside)));
    EXPECT_EQ(saturated<Integer>(-inside), static_cast<Integer>(std::trunc(-inside)));
}

TEST(Saturated, KeepsToTheEndsOfTheType) {
    checkEnds<int>();
    checkEnds<std::int64_t>();
    checkEnds<std::int16_t>();
}

TEST(Saturated, CutsTheFractionOff) {
    EXPECT_EQ(saturated<int>(2.99), 2);
    EXPECT_EQ(saturated<int>(-2.99), -2);
    EXPECT_EQ(saturated<std::int64_t>(9007199254740993.0), 9007199254740992);
}

TEST(Saturated, RoundsHalvesAwayFromZero) {
    EXPECT_EQ(saturatedRound<int>(2.5), 3);
    EXPECT_EQ(saturatedRound<int>(-2.5), -3);
    EXPECT_EQ(saturatedRound<int>(2.49), 2);
}

TEST(Saturated, NoNumberIsZero) {
    EXPECT_EQ(saturated<int>(std::nan("")), 0);
    EXPECT_EQ(saturatedRound<std::int64_t>(std::nan("")), 0);
}

}  // namespace
}  // namespace lumivastor
