// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/waiting_picture.h"

#include <gtest/gtest.h>

#include "capture/recording_progress.h"

namespace lumivastor::capture {
namespace {

WaitingPicture::Image image() {
    return std::make_shared<const imaging::BgraPremultipliedBuffer>(2, 2);
}

TEST(WaitingPicture, IsGivenOnceWithItsOwnTime) {
    const auto one = image();
    WaitingPicture waiting;
    EXPECT_TRUE(waiting.isEmpty());
    EXPECT_FALSE(waiting.next(hostTime(5)));
    EXPECT_EQ(waiting.keep(one, hostTime(5), 1), 0);
    EXPECT_FALSE(waiting.isEmpty());
    const auto given = waiting.next(hostTime(5.5));
    ASSERT_TRUE(given);
    EXPECT_EQ(given->image, one);
    EXPECT_EQ(given->time, hostTime(5));
    EXPECT_TRUE(waiting.isEmpty());
    EXPECT_FALSE(waiting.next(hostTime(6)));
    EXPECT_EQ(waiting.giveUp(), 0) << "what was given is not lost";
}

TEST(WaitingPicture, OnlyTheNewestWaitsAndTheOthersAreLost) {
    const auto one = image();
    const auto other = image();
    WaitingPicture waiting;
    EXPECT_EQ(waiting.keep(one, hostTime(5), 1), 0);
    EXPECT_EQ(waiting.keep(other, hostTime(6), 1), 1);
    EXPECT_EQ(waiting.next(hostTime(7))->image, other);
    EXPECT_EQ(waiting.keep(one, hostTime(8), 1), 0);
    EXPECT_EQ(waiting.giveUp(), 1);
    EXPECT_TRUE(waiting.isEmpty());
}

TEST(WaitingPicture, IsNotKeptFromTheStream) {
    auto one = image();
    const auto other = image();
    WaitingPicture waiting;
    waiting.keep(one, hostTime(5), 1);
    one.reset();  // the stream has taken a newer one
    EXPECT_FALSE(waiting.next(hostTime(6)));
    EXPECT_EQ(waiting.keep(other, hostTime(6), 1), 1) << "counted when the newer one comes";
    EXPECT_EQ(waiting.next(hostTime(6))->image, other);
}

TEST(WaitingPicture, ShownOnceMoreIsGivenAtItsFirstAndItsLastTime) {
    const auto one = image();
    WaitingPicture waiting;
    EXPECT_EQ(waiting.keep(one, hostTime(5), 1), 0);
    EXPECT_EQ(waiting.keep(one, hostTime(6), 1), 0);
    EXPECT_EQ(waiting.keep(one, hostTime(7), 1), 1) << "the showing at 6";
    EXPECT_EQ(waiting.lastTime(), hostTime(7));
    EXPECT_EQ(waiting.next(hostTime(8))->time, hostTime(5));
    const auto again = waiting.next(hostTime(8));
    ASSERT_TRUE(again);
    EXPECT_EQ(again->image, one);
    EXPECT_EQ(again->time, hostTime(7));
    EXPECT_TRUE(waiting.isEmpty());
}

TEST(WaitingPicture, FromBeforeTheStartWaitsForItAndTheNewestWins) {
    auto one = image();
    const std::weak_ptr<const imaging::BgraPremultipliedBuffer> held = one;
    WaitingPicture waiting;
    waiting.keepForStart(image(), hostTime(10), 1);
    waiting.keepForStart(std::move(one), hostTime(10), 1);
    EXPECT_FALSE(held.expired()) << "the stream may go on to newer pictures";
    EXPECT_FALSE(waiting.next(hostTime(9.99)));
    const auto given = waiting.next(hostTime(10));
    ASSERT_TRUE(given);
    EXPECT_EQ(given->image, held.lock());
    EXPECT_EQ(given->time, hostTime(10));
    EXPECT_TRUE(waiting.isEmpty());
}

}  // namespace
}  // namespace lumivastor::capture
