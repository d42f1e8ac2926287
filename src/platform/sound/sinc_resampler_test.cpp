// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/sinc_resampler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

namespace lumivastor::platform {
namespace {

std::vector<float> tone(double hertz, int frames) {
    std::vector<float> values;
    for (int i = 0; i < frames; ++i) {
        values.push_back(static_cast<float>(std::sin(2 * std::numbers::pi * hertz * i / 48000)));
    }
    return values;
}

TEST(SincResampler, ReadsTonesAnywhereBetweenFrames) {
    for (const double hertz : {50.0, 1000.0, 10000.0, 18000.0}) {
        SincResampler sound(1);
        sound.push(tone(hertz, 4000));
        for (double position = 100; position < 3900; position += 0.9993) {
            std::vector<float> value;
            sound.read(position, value);
            ASSERT_NEAR(value[0], std::sin(2 * std::numbers::pi * hertz * position / 48000), 5e-4)
                << hertz << " Hz at " << position;
        }
    }
}

TEST(SincResampler, AtAFrameItIsTheFrame) {
    SincResampler sound(2);
    std::vector<float> values;
    for (int i = 0; i < 200; ++i) {
        values.push_back(static_cast<float>(i % 7));
        values.push_back(static_cast<float>(-(i % 5)));
    }
    sound.push(values);
    for (int i = 20; i < 180; ++i) {
        std::vector<float> frame;
        sound.read(i, frame);
        ASSERT_EQ(frame.size(), 2U);
        EXPECT_NEAR(frame[0], i % 7, 1e-5);
        EXPECT_NEAR(frame[1], -(i % 5), 1e-5);
    }
}

TEST(SincResampler, ForgettingChangesNothingBehindIt) {
    SincResampler whole(1);
    SincResampler part(1);
    whole.push(tone(440, 1000));
    part.push(tone(440, 1000));
    part.forgetBefore(500.5);
    EXPECT_EQ(part.end(), whole.end());
    for (double position = 500.5; position < 1010; position += 0.3) {
        std::vector<float> a;
        std::vector<float> b;
        whole.read(position, a);
        part.read(position, b);
        ASSERT_EQ(a, b);
    }
}

}  // namespace
}  // namespace lumivastor::platform
