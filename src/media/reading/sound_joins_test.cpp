// SPDX-License-Identifier: GPL-3.0-or-later
#include "media/reading/sound_joins.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace lumivastor::media {
namespace {

constexpr int kRate = 48000;

TEST(SoundJoins, OnlyTheTwoAndAHalfMillisecondsBesideAJoinAreSoftened) {
    for (const bool before : {false, true}) {
        for (const bool behind : {false, true}) {
            const SoundStretch stretch{1000, 2000, before, behind};
            for (std::int64_t frame = stretch.start; frame < stretch.end; ++frame) {
                const bool isClose = (before && frame < 1120) || (behind && frame >= 1880);
                const float gain = joinGain(stretch, frame, kRate);
                ASSERT_EQ(gain < 1, isClose) << frame;
                ASSERT_GT(gain, 0) << frame;
            }
        }
    }
    EXPECT_LT(joinGain({0, 1000, true, false}, 0, kRate), 1e-4);
    EXPECT_LT(joinGain({0, 1000, false, true}, 999, kRate), 1e-4);
    EXPECT_NEAR(joinGain({0, 1000, true, false}, 60, kRate), 0.5, 0.01);
    EXPECT_EQ(joinFrames(16000), 40);
}

TEST(SoundJoins, ShortStretchesRiseAndFallWithoutAStep) {
    // From one frame to well beyond two slopes, around which nothing is heard.
    for (std::int64_t length = 1; length < 300; ++length) {
        const SoundStretch stretch{50, 50 + length, true, true};
        const double steepest = M_PI / 2 / static_cast<double>(std::min<std::int64_t>(120, (length + 1) / 2)) + 1e-6;
        double last = 0;
        double maximum = 0;
        for (std::int64_t frame = stretch.start; frame < stretch.end; ++frame) {
            const double gain = joinGain(stretch, frame, kRate);
            ASSERT_LE(std::abs(gain - last), steepest) << length << " " << frame;
            ASSERT_NEAR(gain, joinGain(stretch, stretch.end - 1 - (frame - stretch.start), kRate), 1e-6);
            maximum = std::max(maximum, gain);
            last = gain;
        }
        ASSERT_LE(last, steepest) << length;
        ASSERT_LE(maximum, 1);
        if (length >= 240) {
            ASSERT_GT(maximum, 0.999) << length;
        }
    }
}

TEST(SoundJoins, BlocksOfAnySizeGiveTheSame) {
    for (const std::int64_t length : {3, 130, 239, 1000}) {
        const SoundStretch stretch{7, 7 + length, true, true};
        for (const std::int64_t block : {1, 17, 100, 5000}) {
            for (std::int64_t at = stretch.start; at < stretch.end; at += block) {
                const auto frames = static_cast<std::size_t>(std::min(block, stretch.end - at));
                std::vector<float> values(2 * frames, 0.5F);
                softenJoins(stretch, at, values, {});
                for (std::size_t i = 0; i < frames; ++i) {
                    const float gain = joinGain(stretch, at + static_cast<std::int64_t>(i), kRate);
                    ASSERT_EQ(values[2 * i], 0.5F * gain) << length << " " << block;
                    ASSERT_EQ(values[2 * i + 1], 0.5F * gain) << length << " " << block;
                }
            }
        }
    }
}

}  // namespace
}  // namespace lumivastor::media
