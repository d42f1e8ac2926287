// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/recording/sound_samples.h"

#include <gtest/gtest.h>

#include "capture/recording_progress.h"

namespace lumivastor::capture {
namespace {

TEST(PcmSamples, KeepTimeRateAndValues) {
    const media::PcmSample sample = pcmSample({1234.5, 48000, 2, {0.5F, -0.5F, 1, -1}}, 2);
    EXPECT_EQ(sample.presentationTime, hostTime(1234.5));
    EXPECT_EQ(sample.format, (PcmFormat{48000, 2}));
    EXPECT_EQ(sample.values, (std::vector<float>{0.5F, -0.5F, 1, -1}));
}

TEST(PcmSamples, OneChannelIsGivenToAll) {
    EXPECT_EQ(pcmSample({0, 48000, 1, {0.25F, 0.5F}}, 2).values, (std::vector<float>{0.25F, 0.25F, 0.5F, 0.5F}));
}

TEST(PcmSamples, AllChannelsAreAveragedIntoOne) {
    EXPECT_EQ(pcmSample({0, 48000, 2, {0.25F, 0.75F, -1, 1}}, 1).values, (std::vector<float>{0.5F, 0}));
}

TEST(PcmSamples, SurplusChannelsAreLeftOutAndMissingOnesSilent) {
    EXPECT_EQ(pcmSample({0, 48000, 3, {1, 2, 3, 4, 5, 6}}, 2).values, (std::vector<float>{1, 2, 4, 5}));
    EXPECT_EQ(pcmSample({0, 48000, 2, {1, 2, 3, 4}}, 3).values, (std::vector<float>{1, 2, 0, 3, 4, 0}));
}

TEST(MicrophoneChannels, AreThoseOfTheDeviceOrOne) {
    EXPECT_EQ(microphoneChannels(0), 1);
    EXPECT_EQ(microphoneChannels(-3), 1);
    EXPECT_EQ(microphoneChannels(1), 1);
    EXPECT_EQ(microphoneChannels(2), 2);
    for (int channels = 0; channels < 70; ++channels) {
        EXPECT_TRUE(canAddSound(liveSoundSettings(microphoneChannels(channels)))) << channels;
    }
    EXPECT_EQ(microphoneChannels(18), 2);
}

TEST(LiveSoundSettings, GiveMoreBitsToMoreChannels) {
    EXPECT_EQ(liveSoundSettings(1).bitRate, 128000);
    EXPECT_EQ(liveSoundSettings(2).bitRate, 192000);
    EXPECT_EQ(liveSoundSettings(2).sampleRate, 48000);
}

}  // namespace
}  // namespace lumivastor::capture
