// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/sound/stream_sound.h"

#include <gtest/gtest.h>

#include <vector>

namespace lumivastor::platform {
namespace {

// What a test drives by hand; it outlives the sources.
struct Played {
    SoundSource::Handler handler;
    SoundSource::EndHandler ended;
    SoundSource::ReturnHandler returned;
    bool isRunning = false;
    bool fails = false;
};

class HandSource : public SoundSource {
  public:
    explicit HandSource(Played& played) : played_(played) {}
    void onReturn(ReturnHandler handler) override { played_.returned = std::move(handler); }
    void start(Handler handler, EndHandler ended) override {
        if (played_.fails) throw RecorderError("Kein Mikrofon.");
        played_.handler = std::move(handler);
        played_.ended = std::move(ended);
        played_.isRunning = true;
    }
    void stop() override { played_.isRunning = false; }

  private:
    Played& played_;
};

class HandSystem : public SoundSystem {
  public:
    std::unique_ptr<SoundSource> systemAudio(int sampleRate, int channels) override {
        askedRate = sampleRate;
        askedChannels = channels;
        return std::make_unique<HandSource>(speakers);
    }
    std::unique_ptr<SoundSource> microphone(int /*sampleRate*/) override { return std::make_unique<HandSource>(voice); }
    std::optional<CaptureDevice> defaultMicrophone() override { return std::nullopt; }

    Played speakers;
    Played voice;
    int askedRate = 0;
    int askedChannels = 0;
};

StreamConfiguration both() {
    StreamConfiguration configuration;
    configuration.capturesAudio = true;
    configuration.captureMicrophone = true;
    return configuration;
}

TEST(StreamSound, StartsOnlyWhatIsAskedForAndHasAnOutput) {
    const auto system = std::make_shared<HandSystem>();
    SerialQueue queue("test");
    StreamSound sound(system, both());
    sound.addSystemAudioOutput(queue, [](const SoundBuffer&) {});
    sound.start();
    EXPECT_TRUE(system->speakers.isRunning);
    EXPECT_FALSE(system->voice.isRunning);
    EXPECT_EQ(system->askedRate, 48000);
    EXPECT_EQ(system->askedChannels, 2);
    sound.stop();
    EXPECT_FALSE(system->speakers.isRunning);
}

TEST(StreamSound, DeliversEachKindToItsOutput) {
    const auto system = std::make_shared<HandSystem>();
    SerialQueue queue("test");
    std::vector<double> heard;
    std::vector<double> said;
    StreamSound sound(system, both());
    sound.addSystemAudioOutput(queue, [&](const SoundBuffer& buffer) { heard.push_back(buffer.hostSeconds); });
    sound.addMicrophoneOutput(queue, [&](const SoundBuffer& buffer) {
        EXPECT_TRUE(queue.isCurrent());
        said.push_back(buffer.hostSeconds);
    });
    sound.start();
    system->speakers.handler({1, 48000, 2, std::vector<float>(960)});
    system->voice.handler({2, 48000, 1, std::vector<float>(480)});
    sound.stop();
    queue.drain();
    EXPECT_EQ(heard, std::vector<double>{1});
    EXPECT_EQ(said, std::vector<double>{2});
}

TEST(StreamSound, StopsWhatRanWhenTheOtherKindFails) {
    const auto system = std::make_shared<HandSystem>();
    system->voice.fails = true;
    SerialQueue queue("test");
    StreamSound sound(system, both());
    sound.addSystemAudioOutput(queue, [](const SoundBuffer&) {});
    sound.addMicrophoneOutput(queue, [](const SoundBuffer&) {});
    EXPECT_THROW(sound.start(), RecorderError);
    EXPECT_FALSE(system->speakers.isRunning);
}

TEST(StreamSound, FailsWithoutASoundSystemOnlyWhenSoundIsAskedFor) {
    SerialQueue queue("test");
    StreamSound silent(nullptr, {});
    silent.addSystemAudioOutput(queue, [](const SoundBuffer&) {});
    silent.start();
    StreamSound sound(nullptr, both());
    sound.addMicrophoneOutput(queue, [](const SoundBuffer&) {});
    EXPECT_THROW(sound.start(), RecorderError);
}

TEST(StreamSound, TellsEachTimeSoundEndsByItselfAndComesBack) {
    const auto system = std::make_shared<HandSystem>();
    SerialQueue queue("test");
    std::vector<std::string> told;
    StreamSound sound(system, both());
    sound.onNotice([&](const std::string& notice) { told.push_back(notice); });
    sound.addMicrophoneOutput(queue, [](const SoundBuffer&) {});
    sound.start();
    for (int i = 0; i < 2; ++i) {
        system->voice.ended("Der Tonserver antwortet nicht.");
        system->voice.returned();
    }
    const std::string gone = "Der Mikrofonton ist ausgefallen: Der Tonserver antwortet nicht.";
    const std::string back = "Der Mikrofonton ist wieder da.";
    EXPECT_EQ(told, (std::vector<std::string>{gone, back, gone, back}));
}

}  // namespace
}  // namespace lumivastor::platform
