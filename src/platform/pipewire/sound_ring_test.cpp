// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/pipewire/sound_ring.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace lumivastor::pipewire {
namespace {

TEST(SoundRing, DropsWhatDoesNotFit) {
    SoundRing ring(10);
    EXPECT_TRUE(ring.put(0, 1, std::vector<float>(6, 0.5F)));
    EXPECT_FALSE(ring.put(6, 2, std::vector<float>(6, 0.6F)));
    EXPECT_TRUE(ring.put(12, 3, std::vector<float>(4, 0.7F)));
    std::vector<std::int64_t> frames;
    const auto take = [&](std::int64_t frame, double, std::span<const float>) { frames.push_back(frame); };
    ring.takeAll(take);
    EXPECT_EQ(frames, (std::vector<std::int64_t>{0, 12}));
    EXPECT_TRUE(ring.put(16, 4, std::vector<float>(10, 0.8F)));
    ring.takeAll(take);
    EXPECT_EQ(frames, (std::vector<std::int64_t>{0, 12, 16}));
}

TEST(SoundRing, CarriesEverythingBetweenTwoThreads) {
    constexpr std::int64_t kFrames = 200000;
    SoundRing ring(1000);
    std::thread putting([&] {
        std::vector<float> values;
        for (std::int64_t frame = 0; frame < kFrames;) {
            values.clear();
            for (std::int64_t i = 0; i < 1 + frame % 97 && frame + i < kFrames; ++i) {
                values.push_back(static_cast<float>((frame + i) % 1000));
            }
            while (!ring.put(frame, static_cast<double>(frame), values)) std::this_thread::yield();
            frame += static_cast<std::int64_t>(values.size());
        }
    });
    std::int64_t next = 0;
    int wrong = 0;
    while (next < kFrames) {
        ring.takeAll([&](std::int64_t frame, double hostSeconds, std::span<const float> values) {
            if (frame != next || hostSeconds != static_cast<double>(frame)) ++wrong;
            for (const float value : values) {
                if (value != static_cast<float>(next++ % 1000)) ++wrong;
            }
        });
        std::this_thread::yield();
    }
    putting.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(next, kFrames);
}

}  // namespace
}  // namespace lumivastor::pipewire
