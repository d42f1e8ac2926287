// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/interval.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace lumivastor {
namespace {

static_assert(Interval{1, 3}.length() == 2);
static_assert(intersection({1, 3}, {2, 5}) == Interval{2, 3});

std::vector<Interval> allBetween(int first, int last) {
    std::vector<Interval> all;
    for (int start = first; start <= last; ++start) {
        for (int end = first; end <= last; ++end) all.push_back({static_cast<double>(start), static_cast<double>(end)});
    }
    return all;
}

TEST(Interval, ContainsItsStartAndNotItsEnd) {
    constexpr Interval interval{1, 3};
    EXPECT_FALSE(interval.contains(0.999));
    EXPECT_TRUE(interval.contains(1));
    EXPECT_TRUE(interval.contains(2.999));
    EXPECT_FALSE(interval.contains(3));
    EXPECT_FALSE(interval.contains(std::numeric_limits<double>::quiet_NaN()));
}

TEST(Interval, IsEmptyWithoutAMomentInIt) {
    EXPECT_TRUE(Interval{}.isEmpty());
    EXPECT_TRUE((Interval{2, 2}).isEmpty());
    EXPECT_TRUE((Interval{3, 2}).isEmpty());
    EXPECT_FALSE((Interval{2, 2.001}).isEmpty());
    EXPECT_FALSE((Interval{2, 2}).contains(2));
}

TEST(Interval, TouchingIsNoOverlap) {
    EXPECT_FALSE(overlaps({0, 1}, {1, 2}));
    EXPECT_TRUE(overlaps({0, 1.001}, {1, 2}));
    EXPECT_TRUE(overlaps({0, 5}, {1, 2}));
    EXPECT_FALSE(overlaps({0, 5}, {2, 2}));
}

TEST(Interval, TheIntersectionHoldsExactlyTheMomentsOfBoth) {
    for (const Interval& a : allBetween(0, 4)) {
        for (const Interval& b : allBetween(0, 4)) {
            const Interval common = intersection(a, b);
            EXPECT_EQ(common, intersection(b, a));
            EXPECT_EQ(overlaps(a, b), !common.isEmpty());
            for (double t = -0.5; t <= 4.5; t += 0.5) {
                EXPECT_EQ(common.contains(t), a.contains(t) && b.contains(t)) << a.start << " " << b.start << " " << t;
            }
        }
    }
}

}  // namespace
}  // namespace lumivastor
