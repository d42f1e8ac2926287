// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/region_policy.h"

#include <gtest/gtest.h>

namespace lumivastor::media {
namespace {

RegionPolicy::Picture picture(int macroblocksToCode, bool isKeyDue = false) {
    RegionPolicy::Picture made;
    made.isKeyDue = isKeyDue;
    made.macroblocks = 1000;
    made.macroblocksToCode = macroblocksToCode;
    return made;
}

TEST(RegionPolicy, SmallChangesAreOurs) {
    RegionPolicySettings settings;
    settings.settlingPictures = 2;
    settings.calmPictures = 0;
    RegionPolicy policy(settings);
    EXPECT_EQ(policy.next(picture(1000, true)), Turn::encoderStartsOver);
    EXPECT_EQ(policy.next(picture(1)), Turn::encoderRefines);
    EXPECT_EQ(policy.next(picture(3)), Turn::encoderRefines);
    for (int i = 0; i < 50; ++i) EXPECT_EQ(policy.next(picture(i % 101)), Turn::region);
}

TEST(RegionPolicy, AKeyPictureSettlesOnlyIfItWasCoarse) {
    RegionPolicySettings settings;
    settings.settlingPictures = 2;
    RegionPolicy policy(settings);
    RegionPolicy::Picture coarse = picture(0);
    coarse.isCoarse = true;
    EXPECT_EQ(policy.next(picture(0, true)), Turn::encoderStartsOver);
    EXPECT_EQ(policy.next(picture(0)), Turn::region);
    EXPECT_EQ(policy.next(picture(0, true)), Turn::encoderStartsOver);
    for (int i = 0; i < 2; ++i) EXPECT_EQ(policy.next(coarse), Turn::encoderRefines);
    EXPECT_EQ(policy.next(picture(0)), Turn::region);
}

TEST(RegionPolicy, LargeChangesAreTheEncodersAndSettleAtTheirEnd) {
    RegionPolicySettings settings;
    settings.settlingPictures = 1;
    settings.calmPictures = 0;
    RegionPolicy policy(settings);
    EXPECT_EQ(policy.next(picture(100)), Turn::region);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(policy.next(picture(101)), Turn::encoderMoves);
    EXPECT_EQ(policy.next(picture(101, true)), Turn::encoderStartsOver);
    EXPECT_EQ(policy.next(picture(101)), Turn::encoderMoves);
    EXPECT_EQ(policy.next(picture(3)), Turn::encoderRefines);
    for (int i = 0; i < 20; ++i) EXPECT_EQ(policy.next(picture(3)), Turn::region);
}

TEST(RegionPolicy, SettlingWaitsUntilItIsCalm) {
    RegionPolicySettings settings;
    settings.calmPictures = 2;
    RegionPolicy policy(settings);
    // A window that is painted in two parts, again and again.
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(policy.next(picture(500)), Turn::encoderMoves);
        EXPECT_EQ(policy.next(picture(90)), Turn::region);
    }
    EXPECT_EQ(policy.next(picture(1)), Turn::region);
    EXPECT_EQ(policy.next(picture(1)), Turn::encoderRefines);
    EXPECT_EQ(policy.next(picture(1)), Turn::region);
    EXPECT_EQ(policy.next(picture(1, true)), Turn::encoderStartsOver);
    RegionPolicy::Picture coarse = picture(1);
    coarse.isCoarse = true;
    EXPECT_EQ(policy.next(coarse), Turn::encoderRefines) << "no motion before";
}

TEST(RegionPolicy, WhatWasTooCoarseIsTriedAgainNowAndThen) {
    RegionPolicySettings settings;
    settings.settlingPictures = 0;
    settings.patience = 4;
    RegionPolicy policy(settings);
    EXPECT_EQ(policy.next(picture(1000, true)), Turn::encoderStartsOver);
    RegionPolicy::Picture coarse = picture(2);
    coarse.isCoarse = true;
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < 4; ++i) EXPECT_EQ(policy.next(coarse), Turn::region);
        EXPECT_EQ(policy.next(coarse), Turn::encoderRefines);
    }
    for (int i = 0; i < 20; ++i) EXPECT_EQ(policy.next(picture(2)), Turn::region);
}

TEST(RegionPolicy, WithoutSettlingTheNextPictureIsOurs) {
    RegionPolicySettings settings;
    settings.settlingPictures = 0;
    RegionPolicy policy(settings);
    EXPECT_EQ(policy.next(picture(1000, true)), Turn::encoderStartsOver);
    EXPECT_EQ(policy.next(picture(0)), Turn::region);
}

TEST(RegionPolicy, TheEncoderTakesSomePicturesBehindOneThatWasTooLarge) {
    RegionPolicySettings settings;
    settings.restAfterGivingUp = 4;
    settings.calmPictures = 0;
    RegionPolicy policy(settings);
    EXPECT_EQ(policy.next(picture(50)), Turn::region);
    policy.gaveUp();
    for (int i = 0; i < 4; ++i) EXPECT_EQ(policy.next(picture(50)), Turn::encoderMoves);
    EXPECT_EQ(policy.next(picture(50)), Turn::encoderRefines);
    EXPECT_EQ(policy.next(picture(50)), Turn::region);
    policy.gaveUp();
    // A large change meanwhile shortens nothing.
    EXPECT_EQ(policy.next(picture(900)), Turn::encoderMoves);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(policy.next(picture(50)), Turn::encoderMoves);
    EXPECT_EQ(policy.next(picture(50)), Turn::encoderRefines);
    EXPECT_EQ(policy.next(picture(50)), Turn::region);
}

TEST(RegionPolicy, BytesAreSavedUpForSomePicturesOnly) {
    RegionPolicySettings settings;
    settings.averageBytes = 1000;
    settings.savedPictures = 3;
    RegionPolicy policy(settings);
    policy.next(picture(1));
    EXPECT_EQ(policy.maxBits(), 8000u);
    for (int i = 0; i < 10; ++i) policy.next(picture(1));
    EXPECT_EQ(policy.maxBits(), 24000u);
    policy.wrote(2500);
    policy.next(picture(1));
    EXPECT_EQ(policy.maxBits(), 12000u);
    // What is overdrawn is paid back, but a picture without macroblocks is always possible.
    policy.wrote(4000);
    policy.next(picture(1));
    EXPECT_EQ(policy.maxBits(), 512u);
    EXPECT_EQ(RegionPolicy({}).maxBits(), std::nullopt);
}

TEST(RegionPolicy, BytesGoByTimeAndNotByPictures) {
    RegionPolicySettings settings;
    settings.averageBytes = 1000;
    settings.savedPictures = 3;
    RegionPolicy policy(settings);
    RegionPolicy::Picture late = picture(1);
    late.elapsed = 2.5;
    policy.next(late);
    EXPECT_EQ(policy.maxBits(), 20000u);
    late.elapsed = 60;
    policy.next(late);
    EXPECT_EQ(policy.maxBits(), 24000u) << "no more than what may be saved up";
}

TEST(RegionPolicy, TheEncoderKeepsAMotionThatItWasGivenOnce) {
    RegionPolicySettings settings;
    settings.settlingPictures = 0;
    settings.motionPictures = 5;
    RegionPolicy policy(settings);
    const auto scrolled = [](int toCode) {
        RegionPolicy::Picture made = picture(toCode);
        made.macroblocksChanged = 800;
        return made;
    };
    for (int i = 0; i < 10; ++i) EXPECT_EQ(policy.next(scrolled(20)), Turn::region);
    EXPECT_EQ(policy.next(scrolled(700)), Turn::encoderMoves);
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(policy.keepsMotion());
        EXPECT_EQ(policy.next(scrolled(i == 2 ? 700 : 20)), Turn::encoderMoves) << "prolongs nothing";
    }
    EXPECT_TRUE(policy.keepsMotion());
    EXPECT_EQ(policy.next(picture(3)), Turn::region) << "not a small change meanwhile";
    EXPECT_FALSE(policy.keepsMotion());
    EXPECT_EQ(policy.next(scrolled(700)), Turn::encoderMoves) << "another one";
    for (int i = 0; i < 5; ++i) EXPECT_EQ(policy.next(scrolled(20)), Turn::encoderMoves);
    EXPECT_FALSE(policy.keepsMotion());
    for (int i = 0; i < 10; ++i) EXPECT_EQ(policy.next(scrolled(20)), Turn::region);
}

TEST(RegionPolicy, OnlyWhereTheStreamTakesThem) {
    RegionPolicy policy({});
    RegionPolicy::Picture blocked = picture(1);
    blocked.mayBeOurs = false;
    EXPECT_EQ(policy.next(blocked), Turn::encoderRefines);
}

}  // namespace
}  // namespace lumivastor::media
