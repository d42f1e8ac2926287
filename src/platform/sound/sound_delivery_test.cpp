// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/sound_delivery.h"

#include <gtest/gtest.h>

#include <future>
#include <vector>

namespace lumivastor::platform {
namespace {

// A tenth of a second that can be told from others by its time.
SoundBuffer tenth(int number) {
    return {number * 0.1, 1000, 1, std::vector<float>(100, 0.5F)};
}

TEST(SoundDelivery, HandsOverEverythingInOrder) {
    SerialQueue queue("test");
    std::vector<double> seen;
    SoundDelivery delivery(
        queue, [&](const SoundBuffer& sound) { seen.push_back(sound.hostSeconds); }, [] { FAIL(); });
    for (int i = 0; i < 10; ++i) delivery.push(tenth(i));
    queue.drain();
    ASSERT_EQ(seen.size(), 10U);
    for (int i = 0; i < 10; ++i) EXPECT_DOUBLE_EQ(seen[static_cast<std::size_t>(i)], i * 0.1);
}

TEST(SoundDelivery, DropsTheOldestBeyondTwoSecondsAndSaysSoOnce) {
    SerialQueue queue("test");
    std::promise<void> open;
    queue.async([gate = open.get_future().share()] { gate.wait(); });
    std::vector<double> seen;
    int told = 0;
    SoundDelivery delivery(
        queue, [&](const SoundBuffer& sound) { seen.push_back(sound.hostSeconds); }, [&] { ++told; });
    for (int i = 0; i < 50; ++i) delivery.push(tenth(i));
    open.set_value();
    queue.drain();
    EXPECT_EQ(told, 1);
    EXPECT_GE(seen.size(), 19U);
    EXPECT_LE(seen.size(), 20U);
    EXPECT_DOUBLE_EQ(seen.back(), 4.9);
    for (int i = 0; i < 5; ++i) delivery.push(tenth(50 + i));
    queue.drain();
    EXPECT_DOUBLE_EQ(seen.back(), 5.4);
    EXPECT_EQ(told, 1);
}

}  // namespace
}  // namespace lumivastor::platform
