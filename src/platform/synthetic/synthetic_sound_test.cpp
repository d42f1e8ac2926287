// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/synthetic/synthetic_sound.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/recorder_error.h"

namespace lumivastor::synthetic {
namespace {

using Kind = SyntheticSoundSystem::Kind;

TEST(SyntheticSound, EmitsToRunningSourcesOnly) {
    SyntheticSoundSystem sounds;
    std::vector<platform::SoundBuffer> heard;
    const auto source = sounds.systemAudio(48000, 2);
    EXPECT_FALSE(sounds.emit(Kind::systemAudio, 1, 480));
    source->start([&](const platform::SoundBuffer& buffer) { heard.push_back(buffer); }, nullptr);
    EXPECT_EQ(sounds.running(Kind::systemAudio), 1);
    EXPECT_TRUE(sounds.emit(Kind::systemAudio, 2, 480, 0.5F));
    EXPECT_FALSE(sounds.emit(Kind::microphone, 2, 480));
    source->stop();
    EXPECT_FALSE(sounds.emit(Kind::systemAudio, 3, 480));
    ASSERT_EQ(heard.size(), 1U);
    EXPECT_EQ(heard[0].hostSeconds, 2);
    EXPECT_EQ(heard[0].frames(), 480U);
    EXPECT_EQ(heard[0].channels, 2);
    EXPECT_EQ(heard[0].values[959], 0.5F);
}

TEST(SyntheticSound, TellsTheEndOnceAndGoesOn) {
    SyntheticSoundSystem sounds;
    std::vector<std::string> reasons;
    int heard = 0;
    const auto source = sounds.microphone(48000);
    source->start([&](const platform::SoundBuffer& buffer) { heard += buffer.channels; },
                  [&](const std::string& reason) { reasons.push_back(reason); });
    sounds.end(Kind::microphone, "weg");
    sounds.end(Kind::microphone, "weg");
    sounds.emit(Kind::microphone, 1, 10);
    EXPECT_EQ(reasons, std::vector<std::string>{"weg"});
    EXPECT_EQ(heard, 1);
}

TEST(SyntheticSound, TellsEachReturnAndTheNextOutage) {
    SyntheticSoundSystem sounds;
    std::vector<std::string> told;
    const auto source = sounds.systemAudio(48000, 2);
    source->onReturn([&] { told.emplace_back("da"); });
    source->start(nullptr, [&](const std::string& reason) { told.push_back(reason); });
    sounds.comeBack(Kind::systemAudio);
    for (int i = 0; i < 2; ++i) {
        sounds.end(Kind::systemAudio, "weg");
        sounds.comeBack(Kind::systemAudio);
    }
    EXPECT_EQ(told, (std::vector<std::string>{"weg", "da", "weg", "da"}));
}

TEST(SyntheticSound, StartFailsAsAsked) {
    SyntheticSoundSystem sounds;
    sounds.failStarts(Kind::systemAudio, "Kein Ton.");
    EXPECT_THROW(sounds.systemAudio(48000, 2)->start(nullptr, nullptr), RecorderError);
    sounds.setDefaultMicrophone(std::nullopt);
    EXPECT_FALSE(sounds.defaultMicrophone());
    EXPECT_THROW(sounds.microphone(48000)->start(nullptr, nullptr), RecorderError);
}

}  // namespace
}  // namespace lumivastor::synthetic
