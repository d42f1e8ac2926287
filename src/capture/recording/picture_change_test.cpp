// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/picture_change.h"

#include <gtest/gtest.h>

namespace lumivastor::capture {
namespace {

TEST(PictureChange, ComparesTwiceASecond) {
    PictureChange change;
    imaging::BgraPremultipliedBuffer picture(32, 24);
    EXPECT_TRUE(change.isNew(picture, 10));
    picture.pixel(5, 8)[0] = 1;
    EXPECT_FALSE(change.isNew(picture, 10.4));
    EXPECT_TRUE(change.isNew(picture, 10.5));
    EXPECT_FALSE(change.isNew(picture, 11));
    EXPECT_FALSE(change.isNew(picture, 60));
    picture.pixel(31, 16)[3] = 9;
    EXPECT_TRUE(change.isNew(picture, 60.5));
    // The clock of a device that began again.
    picture.pixel(0, 0)[0] = 7;
    EXPECT_TRUE(change.isNew(picture, 1));
}

}  // namespace
}  // namespace lumivastor::capture
