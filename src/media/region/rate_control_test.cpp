// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/rate_control.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <vector>

namespace lumivastor::media {
namespace {

using Kind = RateControl::Kind;

constexpr double kFps = 60;

RateControlSettings settings() {
    RateControlSettings made;
    made.restFactor = 16;
    made.motionFactor = 22;
    made.bytesPerSecond = 2.4e6;
    return made;
}

TEST(RateControl, AsFineAsWantedWhereThereIsRoom) {
    RateControl rate(settings());
    EXPECT_EQ(rate.factorFor(Kind::rest, kFps), 16);
    EXPECT_EQ(rate.factorFor(Kind::motion, kFps), 22);
    rate.learnMotion(22, 30'000);
    EXPECT_EQ(rate.factorFor(Kind::motion, kFps), 22);
    EXPECT_EQ(rate.saved(), 4.8e6);
    rate.advance(100);
    EXPECT_EQ(rate.saved(), 4.8e6);
}

TEST(RateControl, APictureThatStaysIsCoarserWhenLittleIsSavedAndFineLater) {
    RateControl rate(settings());
    rate.learnKey(16, 600'000);
    EXPECT_EQ(rate.factorFor(Kind::rest, kFps), 16);
    // Half of the rest is a quarter of what it would take, but not less than a quarter of a second.
    rate.wrote(4'500'000);
    EXPECT_EQ(rate.factorFor(Kind::rest, kFps), 16);
    rate.learnKey(16, 2'400'000);
    EXPECT_EQ(rate.factorFor(Kind::rest, kFps), 28);
    rate.wrote(50'000'000);
    EXPECT_EQ(rate.factorFor(Kind::rest, kFps), 28);
    rate.advance(30);
    EXPECT_EQ(rate.factorFor(Kind::rest, kFps), 16);
}

TEST(RateControl, APictureBehindMotionMayTakeWhatThatWouldHave) {
    RateControl rate(settings());
    rate.wrote(4'200'000);
    rate.learnMotion(40, 75'000);
    EXPECT_EQ(rate.factorFor(Kind::rest, kFps), 22);
    rate.endMotion();
    EXPECT_EQ(rate.factorFor(Kind::rest, kFps), 16);
}

TEST(RateControl, MotionThatWasTooLargeBecomesCoarserAtOnceAndFinerStepByStep) {
    RateControl rate(settings());
    // A full store allows 160,000 bytes for each of half a second's pictures.
    rate.learnMotion(22, 640'000);
    EXPECT_NEAR(rate.factorFor(Kind::motion, kFps), 34, 1e-9);
    rate.learnMotion(44, 10'000'000);
    EXPECT_EQ(rate.factorFor(Kind::motion, kFps), 60);
    rate.learnMotion(60, 10);
    EXPECT_EQ(rate.factorFor(Kind::motion, kFps), 57);
    rate.endMotion();
    EXPECT_EQ(rate.factorFor(Kind::motion, kFps), 22);
}

TEST(RateControl, TheFirstPictureOfAMotionIsTakenForAKeyPicture) {
    RateControl rate(settings());
    rate.learnKey(16, 3'200'000);
    EXPECT_GT(rate.factorFor(Kind::motion, kFps), 38);
    rate.learnKey(16, 100'000);
    EXPECT_EQ(rate.factorFor(Kind::motion, kFps), 22);
}

TEST(RateControl, OverspendingLeavesAShareOfTheRate) {
    RateControl rate(settings());
    rate.wrote(50'000'000);
    rate.learnMotion(30, 10'000);
    EXPECT_NEAR(rate.factorFor(Kind::motion, kFps), 30, 0.01);
}

// An encoder whose pictures have `bytesAt22` at 22, and half as many six steps further.
std::vector<double> sizesOfMotion(RateControl& rate, double bytesAt22, int pictures) {
    std::vector<double> sizes;
    for (int i = 0; i < pictures; ++i) {
        rate.advance(1 / kFps);
        const double factor = rate.factorFor(Kind::motion, kFps);
        const double bytes = bytesAt22 * std::exp2((22 - factor) / 6);
        rate.learnMotion(factor, static_cast<std::size_t>(bytes));
        rate.wrote(static_cast<std::size_t>(bytes));
        sizes.push_back(bytes);
    }
    return sizes;
}

TEST(RateControl, MotionUsesWhatWasSavedAndThenTheRate) {
    RateControl rate(settings());
    const auto sizes = sizesOfMotion(rate, 400'000, 600);
    // At first finer than the rate would last, at the end exactly at it.
    EXPECT_GT(sizes[5], 100'000);
    EXPECT_NEAR(sizes.back(), 40'000, 1000);
    // A share is kept for the picture at the end.
    EXPECT_NEAR(rate.saved(), 1.2e6, 0.1e6);
    // Whatever was saved before, two seconds of motion hold at most twice the rate.
    const std::size_t length = 2 * static_cast<std::size_t>(kFps);
    for (std::size_t i = length; i < sizes.size(); ++i) {
        const auto end = sizes.begin() + static_cast<std::ptrdiff_t>(i);
        ASSERT_LE(std::accumulate(end - static_cast<std::ptrdiff_t>(length), end, 0.0), 2 * 4.8e6);
    }
}

TEST(RateControl, TheEndOfAZoomMayUseWhatItsBeginningDidNot) {
    RateControl rate(settings());
    sizesOfMotion(rate, 20'000, 30);
    // Half a second of a zoom is over: what was saved is for the rest of it, and the same pictures grow.
    EXPECT_EQ(rate.factorFor(Kind::motion, kFps), 22);
    rate.learnMotion(22, 200'000);
    EXPECT_EQ(rate.factorFor(Kind::motion, kFps), 22);
    rate.endMotion();
    rate.learnMotion(22, 200'000);
    EXPECT_GT(rate.factorFor(Kind::motion, kFps), 23) << "the same at the beginning of another one";
}

TEST(RateControl, WithoutARateItLimitsNothing) {
    RateControlSettings free = settings();
    free.bytesPerSecond = 0;
    RateControl rate(free);
    rate.learnMotion(22, 10'000'000);
    rate.wrote(10'000'000);
    EXPECT_EQ(rate.factorFor(Kind::motion, kFps), 22);
    EXPECT_EQ(rate.factorFor(Kind::rest, kFps), 16);
}

TEST(RateControl, WhatOnlySeeksNeedWaitsWhileLittleIsSaved) {
    RateControl rate(settings());
    EXPECT_FALSE(rate.isShort());
    rate.wrote(1'400'000);  // of 4,800,000
    EXPECT_FALSE(rate.isShort());
    rate.wrote(100'000);
    EXPECT_TRUE(rate.isShort());
    rate.advance(0.1);
    EXPECT_FALSE(rate.isShort());
    EXPECT_FALSE(RateControl({}).isShort()) << "without a rate";
}

TEST(RateControl, AGroupFarFromTheLimitLeavesNothingToTheNext) {
    RateControl rate(settings());
    rate.learnKey(16, 400'000);
    rate.wrote(400'000);
    rate.advance(2);
    rate.wrote(12);
    EXPECT_EQ(rate.carry(false), RateCarry{});
}

TEST(RateControl, AGroupAtTheLimitTellsTheNextWhatItKnows) {
    RateControl rate(settings());
    rate.wrote(4'000'000);
    rate.learnKey(16, 2'400'000);
    const RateCarry carry = rate.carry(false);
    EXPECT_TRUE(isPossible(carry));
    EXPECT_LT(carry.saved, RateCarry::kSteps / 4);
    const RateControl next(settings(), carry);
    EXPECT_LE(next.saved(), rate.saved());
    // No finer than it would have been, and not much coarser.
    EXPECT_GE(next.factorFor(Kind::rest, kFps), rate.factorFor(Kind::rest, kFps));
    EXPECT_LE(next.factorFor(Kind::rest, kFps), rate.factorFor(Kind::rest, kFps) + 8);
}

TEST(RateControl, MotionGoesOnInTheNextGroup) {
    RateControl rate(settings());
    rate.wrote(4'300'000);
    rate.learnKey(22, 500'000);
    rate.learnMotion(34, 60'000);
    rate.advance(0.5);
    const RateCarry carry = rate.carry(true);
    EXPECT_TRUE(isPossible(carry));
    EXPECT_TRUE(carry.isInMotion);
    const RateControl next(settings(), carry);
    EXPECT_NEAR(next.factorFor(Kind::motion, kFps), rate.factorFor(Kind::motion, kFps), 6);
    // At rest it would be another beginning.
    EXPECT_FALSE(rate.carry(false).isInMotion);
}

TEST(RateControl, WhatWasSpentAheadIsKnownToTheNextGroup) {
    RateControl rate(settings());
    rate.wrote(100'000'000);
    EXPECT_EQ(rate.carry(false).saved, -RateCarry::kSteps);
    EXPECT_LT(RateControl(settings(), rate.carry(false)).saved(), 0);
}

TEST(RateControl, ImpossibleCarriesAreSeen) {
    EXPECT_TRUE(isPossible({}));
    EXPECT_FALSE(isPossible({.saved = RateCarry::kSteps + 1}));
    EXPECT_FALSE(isPossible({.motionTenths = -1}));
    EXPECT_FALSE(isPossible({.motionFactor = 90}));
    EXPECT_FALSE(isPossible({.motionSize = 100000}));
    EXPECT_FALSE(isPossible({.largestSize = -3}));
}

}  // namespace
}  // namespace lumivastor::media
