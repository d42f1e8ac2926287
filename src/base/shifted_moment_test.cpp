// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/shifted_moment.h"

#include <gtest/gtest.h>

namespace lumivastor {
namespace {

TEST(ShiftedMoment, LiesEarlierForAMovieThatIsShownLater) {
    const Interval pictures{1, 5};
    EXPECT_DOUBLE_EQ(shiftedMoment(3, 0.2, pictures), 2.8);
    EXPECT_DOUBLE_EQ(shiftedMoment(3, -0.2, pictures), 3.2);
    EXPECT_DOUBLE_EQ(shiftedMoment(3, 0, pictures), 3);
}

TEST(ShiftedMoment, StaysWithinThePictures) {
    const Interval pictures{1, 5};
    for (double shift = -0.5; shift <= 0.5; shift += 0.05) {
        for (double moment = 0; moment < 6; moment += 0.01) {
            const double shifted = shiftedMoment(moment, shift, pictures);
            EXPECT_EQ(pictures.contains(shifted), moment >= 1) << moment << " by " << shift;
        }
    }
    EXPECT_EQ(shiftedMoment(0.9, 0.5, pictures), 0.9) << "nothing is shown there";
    EXPECT_EQ(shiftedMoment(1.1, 0.5, pictures), 1);
    EXPECT_NEAR(shiftedMoment(4.9, -0.5, pictures), 5, 0.01);
    EXPECT_NEAR(shiftedMoment(5.3, 0.5, pictures), 4.8, 1e-9);
    EXPECT_EQ(shiftedMoment(2, 0.5, {3, 2}), 2);
}

}  // namespace
}  // namespace lumivastor
