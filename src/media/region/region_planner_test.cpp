// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/region_planner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "support/h264_decoders.h"

namespace lumivastor::media {
namespace {

constexpr int kWidth = 160;  // ten macroblocks
constexpr int kHeight = 320;

PlainPicture page(unsigned seed) {
    std::mt19937 random(seed);
    PlainPicture picture(kWidth, kHeight);
    for (auto& sample : picture.samples) sample = static_cast<std::uint8_t>(random());
    return picture;
}

// Changes one sample of a macroblock.
void touch(PlainPicture& picture, int mb) {
    picture.row(0, mb / 10 * 16 + 3)[mb % 10 * 16 + 5] ^= 0x40;
}

TEST(RegionPlanner, ChangedMacroblocksAreCodedAndOthersSkipped) {
    RegionPlanner planner(kWidth, kHeight, {});
    const PlainPicture before = page(1);
    PlainPicture picture = before;
    touch(picture, 7);
    touch(picture, 30);
    const auto changes = planner.look(picture.view(), before.view(), std::nullopt);
    EXPECT_EQ(changes.changed, 2);
    EXPECT_EQ(changes.toCode, 2);
    const RegionPlan plan = planner.plan(picture.view(), nullptr, 15);
    EXPECT_TRUE(plan.qps.empty());
    for (std::size_t mb = 0; mb < plan.kinds.size(); ++mb) {
        EXPECT_EQ(plan.kinds[mb], mb == 7 || mb == 30 ? MacroblockKind::coded : MacroblockKind::skipped) << mb;
    }
}

TEST(RegionPlanner, WhatIsAsTheEncoderLeftItComesFromThere) {
    RegionPlanner planner(kWidth, kHeight, {});
    const PlainPicture base = page(2);
    PlainPicture before = base;
    touch(before, 12);
    touch(before, 13);
    PlainPicture picture = base;
    touch(picture, 13);
    picture.row(1, 9)[26] ^= 1;  // colour of 13
    planner.look(picture.view(), before.view(), std::nullopt);
    const imaging::YuvPicture encoders = base.view();
    const RegionPlan plan = planner.plan(picture.view(), &encoders, 15);
    EXPECT_EQ(plan.kinds[12], MacroblockKind::base);
    EXPECT_EQ(plan.kinds[13], MacroblockKind::coded);
}

TEST(RegionPlanner, WhatMovedIsNotCoded) {
    RegionPlanner planner(kWidth, kHeight, {});
    const PlainPicture before = page(3);
    PlainPicture picture = before;
    for (int plane = 0; plane < 3; ++plane) {
        const int lines = plane == 0 ? 32 : 16;
        for (int y = 0; y + lines < picture.planeHeight(plane); ++y) {
            std::copy_n(before.row(plane, y + lines), picture.planeWidth(plane), picture.row(plane, y));
        }
    }
    touch(picture, 40);
    const auto changes = planner.look(picture.view(), before.view(), std::nullopt);
    EXPECT_EQ(changes.changed, 180);  // all but the last two rows
    const RegionPlan plan = planner.plan(picture.view(), nullptr, 15);
    EXPECT_EQ(plan.kinds[40], MacroblockKind::coded);
    EXPECT_EQ(changes.toCode, std::count(plan.kinds.begin(), plan.kinds.end(), MacroblockKind::coded));
    EXPECT_EQ(plan.kinds[41], MacroblockKind::moved);
    EXPECT_EQ(plan.displacements[41], (Displacement{0, 32}));
}

TEST(RegionPlanner, ACameraHasItsOwnQuantiser) {
    RegionPlannerSettings settings;
    settings.camera = PixelRect{20, 40, 30, 30};
    settings.cameraQp = 22;
    RegionPlanner planner(kWidth, kHeight, settings);
    const PlainPicture before = page(4);
    planner.look(before.view(), before.view(), std::nullopt);
    const RegionPlan plan = planner.plan(before.view(), nullptr, 15);
    for (int mb = 0; mb < 200; ++mb) {
        const bool inside = mb % 10 >= 1 && mb % 10 <= 3 && mb / 10 >= 2 && mb / 10 <= 4;
        EXPECT_EQ(plan.qps[static_cast<std::size_t>(mb)], inside ? 22 : 15) << mb;
    }
}

TEST(RegionPlanner, WhatChangedWhileTheEncoderRefinedIsCodedOnce) {
    RegionPlanner planner(kWidth, kHeight, {});
    const PlainPicture key = page(5);
    planner.encoderTook(true);
    PlainPicture refined = key;
    touch(refined, 55);
    planner.look(refined.view(), key.view(), std::nullopt);
    planner.encoderTook(false);
    // The screen rests from here on.
    planner.look(refined.view(), refined.view(), std::nullopt);
    EXPECT_EQ(planner.plan(refined.view(), nullptr, 15).kinds[55], MacroblockKind::coded);
    const imaging::YuvPicture base = refined.view();
    planner.look(refined.view(), refined.view(), std::nullopt);
    EXPECT_EQ(planner.plan(refined.view(), &base, 15).kinds[55], MacroblockKind::skipped);
    // And never comes back from the encoder's picture, where it is coarse.
    PlainPicture other = refined;
    touch(other, 55);
    touch(other, 56);
    planner.look(other.view(), refined.view(), std::nullopt);
    planner.plan(other.view(), &base, 15);
    planner.look(refined.view(), other.view(), std::nullopt);
    const RegionPlan back = planner.plan(refined.view(), &base, 15);
    EXPECT_EQ(back.kinds[55], MacroblockKind::coded);
    EXPECT_EQ(back.kinds[56], MacroblockKind::base);
    planner.encoderTook(true);
    planner.look(refined.view(), refined.view(), std::nullopt);
    EXPECT_EQ(planner.plan(refined.view(), nullptr, 15).kinds[55], MacroblockKind::skipped);
}

}  // namespace
}  // namespace lumivastor::media
