// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/region/motion_field.h"

#include <gtest/gtest.h>

namespace lumivastor::media {
namespace {

TEST(MotionField, PredictsTheMedianOfThreeNeighbours) {
    MotionField field(3, 2);
    field.setInter(0, 0, {4, 40}, 0);
    field.setInter(1, 0, {8, -8}, 0);
    field.setInter(2, 0, {12, 0}, 0);
    field.setInter(0, 1, {0, 4}, 0);
    EXPECT_EQ(field.predicted(1, 1, 0), (MotionVector{8, 0}));  // left, above, above on the right
    EXPECT_EQ(field.predicted(0, 1, 0), (MotionVector{4, 0}));  // nothing on the left counts as no motion
    field.setInter(1, 1, {16, 16}, 0);
    EXPECT_EQ(field.predicted(2, 1, 0), (MotionVector{12, 0}));  // above on the left in place of the right
}

TEST(MotionField, TheOnlyNeighbourWithTheReferenceCounts) {
    MotionField field(3, 2);
    field.setInter(0, 0, {4, 4}, 0);
    field.setInter(1, 0, {20, 20}, 1);
    field.setIntra(2, 0);
    field.setInter(0, 1, {8, 8}, 0);
    EXPECT_EQ(field.predicted(1, 1, 0), (MotionVector{8, 8}));
    EXPECT_EQ(field.predicted(1, 1, 1), (MotionVector{20, 20}));
}

TEST(MotionField, InTheFirstRowTheLeftNeighbourCounts) {
    MotionField field(3, 1);
    field.setInter(0, 0, {12, 8}, 0);
    EXPECT_EQ(field.predicted(1, 0, 0), (MotionVector{12, 8}));
    EXPECT_EQ(field.predicted(1, 0, 1), (MotionVector{12, 8}));
    EXPECT_EQ(field.predicted(0, 0, 0), (MotionVector{}));
}

TEST(MotionField, SkippedMacroblocksRestAtEdgesAndBesideWhatRests) {
    MotionField field(3, 3);
    for (int x = 0; x < 3; ++x) field.setInter(x, 0, {4, 4}, 0);
    field.setInter(0, 1, {4, 4}, 0);
    EXPECT_EQ(field.ofSkipped(1, 0), (MotionVector{}));
    EXPECT_EQ(field.ofSkipped(0, 1), (MotionVector{}));
    EXPECT_EQ(field.ofSkipped(1, 1), (MotionVector{4, 4}));
    field.setInter(0, 1, {0, 0}, 0);
    EXPECT_EQ(field.ofSkipped(1, 1), (MotionVector{}));
    field.setInter(0, 1, {0, 0}, 1);  // rests, but on the base
    EXPECT_EQ(field.ofSkipped(1, 1), (MotionVector{4, 4}));
}

}  // namespace
}  // namespace lumivastor::media
