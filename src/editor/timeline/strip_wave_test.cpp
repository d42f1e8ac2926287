// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/timeline/strip_wave.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace lumivastor::editor {
namespace {

TEST(StripWave, IsHigherWithMoreVolume) {
    EXPECT_DOUBLE_EQ(waveHeight(1, 1), 1);
    // 6 dB of 48 for each doubling.
    EXPECT_NEAR(waveHeight(0.1, 2) - waveHeight(0.1, 1), 6.02 / 48, 1e-3);
    EXPECT_NEAR(waveHeight(0.1, 1) - waveHeight(0.1, 0.5), 6.02 / 48, 1e-3);
    EXPECT_DOUBLE_EQ(waveHeight(1, 2), 1) << "no higher than its lane";
    for (double volume = 0.01; volume < 2; volume += 0.01) {
        EXPECT_LE(waveHeight(0.2, volume), waveHeight(0.2, volume + 0.01)) << volume;
    }
}

TEST(StripWave, OfAMutedTrackIsFlat) {
    for (const double peak : {0.0, 0.001, 0.3, 1.0}) {
        EXPECT_EQ(waveHeight(peak, 0), 0);
        EXPECT_EQ(waveHeight(peak, 0.0049), 0);
    }
    EXPECT_TRUE(isMuted(0));
    EXPECT_TRUE(isMuted(-1));
    EXPECT_TRUE(isMuted(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_FALSE(isMuted(0.005));
    EXPECT_EQ(waveHeight(0, 1), 0);
}

TEST(StripWave, SilenceHasNoLane) {
    const auto wave = [](std::uint8_t last) {
        std::vector<std::uint8_t> levels(1000, 0);
        levels.back() = last;
        return std::make_shared<const render::Waveform>(std::move(levels));
    };
    render::RecordingOverview overview;
    overview.isComplete = true;
    EXPECT_EQ(dataOf(overview), StripData());
    overview.systemSound = wave(0);
    overview.microphone = wave(1);
    EXPECT_EQ(dataOf(overview), (StripData{false, false, true})) << "the softest click is sound";
    overview.pictures.push_back({});
    overview.systemSound = wave(255);
    overview.microphone = std::make_shared<const render::Waveform>();
    EXPECT_EQ(dataOf(overview), (StripData{true, true, false}));
}

}  // namespace
}  // namespace lumivastor::editor
