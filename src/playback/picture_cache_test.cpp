// SPDX-License-Identifier: GPL-3.0-or-later
#include "playback/picture_cache.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace lumivastor::playback {
namespace {

constexpr std::size_t kBytes = 10;

// Picture `number` is shown for one tick of ten a second.
ShownPicture numbered(int number, int ticks = 1) {
    return {imaging::Picture(std::make_shared<const imaging::BgraPremultipliedBuffer>(1, 1)),
            {{number, 10}, {ticks, 10}},
            kBytes};
}

TimeRange stretch(int from, int to) {
    return TimeRange::between({from, 10}, {to, 10});
}

std::set<int> kept(const PictureCache& cache) {
    std::set<int> numbers;
    for (int i = 0; i < 1000; ++i) {
        const ShownPicture* const found = cache.find({i, 10});
        if (found != nullptr) numbers.insert(static_cast<int>(found->shown.start.rescaled(10).value));
    }
    return numbers;
}

TEST(PictureCache, FindsWhatIsShownAtAMomentExactly) {
    PictureCache cache(100);
    EXPECT_EQ(cache.find({0, 1}), nullptr);
    EXPECT_TRUE(cache.insert(numbered(5, 2)));
    EXPECT_EQ(cache.find({499, 1000}), nullptr);
    ASSERT_NE(cache.find({5, 10}), nullptr);
    EXPECT_EQ(cache.find({5, 10})->shown.start, (MediaTime{5, 10}));
    EXPECT_NE(cache.find({699999, 1000000}), nullptr);
    EXPECT_EQ(cache.find({7, 10}), nullptr);
    EXPECT_EQ(cache.findBefore({9, 10})->shown.start, (MediaTime{5, 10}));
    EXPECT_EQ(cache.findBefore({4, 10}), nullptr);
}

TEST(PictureCache, FindsTheNearestPictureOfAStretch) {
    PictureCache cache(1000);
    const auto nearest = [&](int time, const std::vector<TimeRange>& within) {
        const ShownPicture* const found = cache.findNearest({time, 10}, within);
        return found == nullptr ? -1 : static_cast<int>(found->shown.start.rescaled(10).value);
    };
    EXPECT_EQ(nearest(3, {stretch(0, 100)}), -1);
    for (const int number : {10, 11, 20, 40}) cache.insert(numbered(number));
    cache.insert(numbered(30, 5));
    cache.insert({std::nullopt, {{22, 10}, {1, 10}}, 0});
    EXPECT_EQ(nearest(11, {stretch(0, 100)}), 11);
    EXPECT_EQ(nearest(15, {stretch(0, 100)}), 11) << "shown until 12";
    EXPECT_EQ(nearest(17, {stretch(0, 100)}), 20);
    EXPECT_EQ(nearest(23, {stretch(0, 100)}), 20) << "nothing is shown at 22";
    EXPECT_EQ(nearest(36, {stretch(0, 100)}), 30) << "shown until 35";
    EXPECT_EQ(nearest(12, {stretch(15, 100)}), 20);
    EXPECT_EQ(nearest(19, {stretch(0, 20)}), 11) << "20 begins behind the stretch";
    EXPECT_EQ(nearest(36, {stretch(34, 60)}), 30) << "shown when the stretch begins";
    EXPECT_EQ(nearest(36, {stretch(35, 60)}), 40);
    EXPECT_EQ(nearest(25, {stretch(0, 12), stretch(38, 60)}), 11);
    EXPECT_EQ(nearest(15, {stretch(12, 20)}), -1);
    EXPECT_EQ(nearest(15, {}), -1);
}

TEST(PictureCache, KeepsTheVerySamePictureWhenItIsDecodedAgain) {
    PictureCache cache(100);
    const ShownPicture first = numbered(3);
    cache.insert(first);
    cache.insert(numbered(3));
    EXPECT_TRUE(*cache.find({3, 10})->picture == *first.picture);
    EXPECT_EQ(cache.bytes(), kBytes);
    // Unless more is known now about how long it is shown.
    cache.insert(numbered(3, 4));
    EXPECT_NE(cache.find({6, 10}), nullptr);
    EXPECT_EQ(cache.bytes(), kBytes);
}

TEST(PictureCache, KeepsWhatIsNearestToThePlayhead) {
    PictureCache cache(5 * kBytes);
    cache.setGoals({}, {20, 10});
    for (int i = 0; i < 40; ++i) cache.insert(numbered(i));
    EXPECT_EQ(cache.count(), 5u);
    EXPECT_LE(cache.bytes(), 5 * kBytes);
    for (const int number : kept(cache)) EXPECT_NEAR(number, 20, 3);
}

TEST(PictureCache, GoalsPushOutWhatIsNearerAndTheFirstGoalTheOthers) {
    PictureCache cache(4 * kBytes);
    for (int i = 10; i < 14; ++i) cache.insert(numbered(i));
    cache.setGoals({stretch(12, 13), stretch(90, 92), stretch(50, 53)}, {12, 10});
    EXPECT_TRUE(cache.insert(numbered(50)));
    EXPECT_TRUE(cache.insert(numbered(51)));
    EXPECT_TRUE(cache.insert(numbered(52)));
    EXPECT_EQ(kept(cache), (std::set<int>{12, 50, 51, 52}));
    EXPECT_TRUE(cache.insert(numbered(90)));
    EXPECT_TRUE(cache.insert(numbered(91)));
    EXPECT_EQ(kept(cache), (std::set<int>{12, 50, 90, 91}));
    EXPECT_FALSE(cache.hasRoomFor({52, 10}, kBytes));
    EXPECT_FALSE(cache.insert(numbered(52)));
    EXPECT_FALSE(cache.insert(numbered(13)));
    EXPECT_TRUE(cache.hasRoomFor({91, 10}, kBytes));
    EXPECT_EQ(kept(cache), (std::set<int>{12, 50, 90, 91}));
}

TEST(PictureCache, SaysWhichMomentIsMissingMostUrgently) {
    PictureCache cache(1000);
    cache.setGoals({stretch(5, 6), stretch(5, 9), stretch(1, 5)}, {5, 10});
    EXPECT_EQ(cache.firstGap()->time, (MediaTime{5, 10}));
    cache.insert(numbered(4, 2));
    EXPECT_EQ(cache.firstGap()->time, (MediaTime{6, 10}));
    EXPECT_EQ(cache.firstGap()->goal, 1u);
    cache.insert(numbered(6));
    cache.insert(numbered(8));
    EXPECT_EQ(cache.firstGap()->time, (MediaTime{7, 10}));
    cache.insert(numbered(7));
    EXPECT_EQ(cache.firstGap()->time, (MediaTime{1, 10}));
    EXPECT_EQ(cache.firstGap()->goal, 2u);
    cache.insert(numbered(0, 4));
    EXPECT_FALSE(cache.firstGap());
}

TEST(PictureCache, NeverExceedsItsBudgetAndNeverGivesUpAGoalForLess) {
    std::mt19937 random(11);
    const auto upTo = [&random](int maximum) { return static_cast<int>(random() % static_cast<unsigned>(maximum)); };
    PictureCache cache(12 * kBytes);
    for (int step = 0; step < 3000; ++step) {
        const int playhead = upTo(100);
        if (step % 50 == 0) cache.setGoals({stretch(playhead, playhead + 4)}, {playhead, 10});
        const std::set<int> before = kept(cache);
        cache.insert(numbered(upTo(100)));
        ASSERT_LE(cache.bytes(), 12 * kBytes);
        ASSERT_EQ(cache.bytes(), cache.count() * kBytes);
        const TimeRange goal = cache.goals().front();
        for (const int number : before) {
            // The goal holds four pictures, and twelve have room.
            ASSERT_TRUE(!goal.contains({number, 10}) || cache.find({number, 10}) != nullptr) << number;
        }
    }
}

TEST(PictureCache, APictureLargerThanTheBudgetIsKeptAlone) {
    PictureCache cache(kBytes - 1);
    cache.setGoals({stretch(7, 8)}, {7, 10});
    EXPECT_TRUE(cache.hasRoomFor({3, 10}, kBytes));
    EXPECT_TRUE(cache.insert(numbered(3)));
    EXPECT_FALSE(cache.hasRoomFor({2, 10}, kBytes));
    EXPECT_TRUE(cache.hasRoomFor({7, 10}, kBytes));
    EXPECT_TRUE(cache.insert(numbered(7)));
    EXPECT_EQ(kept(cache), std::set<int>{7});
    EXPECT_FALSE(cache.insert(numbered(8)));
    EXPECT_EQ(kept(cache), std::set<int>{7});
}

// The prefetcher decodes as long as there is a gap with room for it. That must end also when the goals are larger than
// the budget, without decoding anything twice.
TEST(PictureCache, FillingGoalsThatDoNotFitComesToAnEnd) {
    PictureCache cache(12 * kBytes);
    cache.setGoals({stretch(50, 51), stretch(50, 58), stretch(20, 50)}, {50, 10});
    int decoded = 0;
    while (const auto gap = cache.firstGap()) {
        if (!cache.hasRoomFor(gap->time, kBytes)) break;
        cache.insert(numbered(static_cast<int>(gap->time.rescaled(10).value)));
        ASSERT_LT(++decoded, 100);
    }
    for (int i = 50; i < 58; ++i) EXPECT_NE(cache.find({i, 10}), nullptr) << i;
    EXPECT_EQ(cache.count(), 12u);
}

}  // namespace
}  // namespace lumivastor::playback
