#include "platform/pulse/pulse_sound_system.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <string>
#include <vector>

#include "base/host_clock.h"
#include "base/recorder_error.h"
#include "support/beeper.h"
#include "support/heard_sound.h"
#include "support/sound_rig.h"
#include "support/temporary_folder.h"

namespace lumivastor {
namespace {

// A flash and a beep of the same moment have to lie this close.
constexpr double kBound = 0.020;

void expectInPlace(const HeardSound& heard, const Beeper& beeper, const char* what) {
    const auto errors = beepErrors(heard.beeps(), beeper.beeps());
    std::cout << what << ": " << describeErrors(errors) << "\n";
    // A busy machine makes single beeps late before they are heard; a wrong clock makes them all.
    std::vector<double> distances;
    for (const double error : errors) distances.push_back(std::abs(error));
    std::sort(distances.begin(), distances.end());
    ASSERT_FALSE(distances.empty());
    EXPECT_LT(distances[distances.size() / 2], kBound);
    EXPECT_FALSE(heard.ranBackward());
}

// What a start says that fails.
std::string failure(SoundSource& source) {
    try {
        source.start([](const SoundBuffer&) {}, [](const std::string&) {});
    } catch (const RecorderError& error) {
        return error.message();
    }
    return "(it started)";
}

TEST(PulseSound, systemAudioIsHeardWhenItIsPlayed) {
    const PulseRig rig;
    PulseSoundSystem sounds(rig.address());
    const Beeper beeper(rig.address(), "sysout");
    HeardSound heard;
    const auto source = sounds.systemAudio(48000, 2);
    source->start(heard.handler(), heard.endHandler());
    EXPECT_TRUE(heard.awaitBeeps(8));
    source->stop();
    expectInPlace(heard, beeper, "monitor of a sink");
    EXPECT_EQ(heard.jumps(), 0);
    EXPECT_TRUE(heard.ends().empty());
    for (const SoundBuffer& buffer : heard.buffers()) {
        ASSERT_EQ(buffer.sampleRate, 48000);
        ASSERT_EQ(buffer.channels, 2);
    }
}

TEST(PulseSound, microphoneIsHeardWhenItIsSpokenInto) {
    const PulseRig rig;
    PulseSoundSystem sounds(rig.address());
    const auto device = sounds.defaultMicrophone();
    ASSERT_TRUE(device);
    EXPECT_EQ(device->name, "Testmikrofon");
    EXPECT_EQ(device->channels, 1);
    EXPECT_FALSE(device->isExternal);
    const Beeper beeper(rig.address(), "micfeed");
    HeardSound heard;
    const auto source = sounds.microphone(48000);
    source->start(heard.handler(), heard.endHandler());
    EXPECT_TRUE(heard.awaitBeeps(8));
    source->stop();
    expectInPlace(heard, beeper, "microphone");
    for (const SoundBuffer& buffer : heard.buffers()) ASSERT_EQ(buffer.channels, 1);
}

TEST(PulseSound, otherRatesAndChannelsAreTheServersWork) {
    const PulseRig rig;
    PulseSoundSystem sounds(rig.address());
    const Beeper beeper(rig.address(), "sysout");
    HeardSound heard;
    const auto source = sounds.systemAudio(44100, 1);
    source->start(heard.handler(), heard.endHandler());
    EXPECT_TRUE(heard.awaitBeeps(4));
    source->stop();
    expectInPlace(heard, beeper, "at 44100");
    EXPECT_EQ(heard.buffers().front().sampleRate, 44100);
    EXPECT_EQ(heard.buffers().front().channels, 1);
}

TEST(PulseSound, goesOnWhenTheServerComesBack) {
    PulseRig rig;
    PulseSoundSystem sounds(rig.address());
    HeardSound heard;
    const auto source = sounds.systemAudio(48000, 2);
    source->start(heard.handler(), heard.endHandler());
    {
        const Beeper beeper(rig.address(), "sysout");
        EXPECT_TRUE(heard.awaitBeeps(3));
        rig.kill();
    }
    EXPECT_TRUE(heard.awaitEnd());
    const double gone = hostClockSeconds();
    heard.clear();
    rig.start();
    const Beeper beeper(rig.address(), "sysout");
    EXPECT_TRUE(heard.awaitBeeps(4));
    source->stop();
    EXPECT_TRUE(heard.ends().empty()) << "told once";
    ASSERT_FALSE(heard.buffers().empty());
    EXPECT_GT(heard.buffers().front().hostSeconds, gone - 0.5);
    expectInPlace(heard, beeper, "after a restart");
}

TEST(PulseSound, endIsToldInGerman) {
    PulseRig rig;
    PulseSoundSystem sounds(rig.address());
    HeardSound heard;
    const auto source = sounds.microphone(48000);
    source->start(heard.handler(), heard.endHandler());
    rig.kill();
    EXPECT_TRUE(heard.awaitEnd());
    const double before = hostClockSeconds();
    source->stop();
    EXPECT_LT(hostClockSeconds() - before, 10) << "it does not wait for the server";
    EXPECT_EQ(heard.ends(), std::vector<std::string>{"Kein Tonserver gefunden."});
}

TEST(PulseSound, followsTheDefaultSink) {
    PulseRig rig;
    PulseSoundSystem sounds(rig.address());
    HeardSound heard;
    const auto source = sounds.systemAudio(48000, 2);
    source->start(heard.handler(), heard.endHandler());
    {
        const Beeper before(rig.address(), "sysout");
        EXPECT_TRUE(heard.awaitBeeps(2));
    }
    heard.clear();
    rig.setDefaultSink("headset");
    const Beeper beeper(rig.address(), "headset");
    EXPECT_TRUE(heard.awaitBeeps(3));
    source->stop();
    EXPECT_TRUE(heard.ends().empty());
    expectInPlace(heard, beeper, "behind a change of the default");
}

TEST(PulseSound, withoutAServerSaysSo) {
    const TemporaryFolder folder;
    PulseSoundSystem sounds(nobodysAddress(folder));
    EXPECT_FALSE(sounds.probe());
    EXPECT_FALSE(sounds.defaultMicrophone());
    EXPECT_EQ(failure(*sounds.systemAudio(48000, 2)), "Kein Tonserver gefunden.");
    EXPECT_EQ(failure(*sounds.microphone(48000)), "Kein Tonserver gefunden.");
}

TEST(PulseSound, aServerThatSaysNothingIsGivenUp) {
    PulseRig rig;
    PulseSoundSystem sounds(rig.address());
    EXPECT_TRUE(sounds.probe());
    rig.freeze(true);
    EXPECT_EQ(failure(*sounds.systemAudio(48000, 2)), "Der Tonserver antwortet nicht.");
    rig.freeze(false);
}

TEST(PulseSound, stopsAndStartsAnew) {
    const PulseRig rig;
    PulseSoundSystem sounds(rig.address());
    // An idle null sink has rendered two seconds ahead, which a monitor that comes later does not get to see.
    HeardSound all;
    const auto first = sounds.systemAudio(48000, 2);
    first->start(all.handler(), all.endHandler());
    EXPECT_TRUE(all.awaitFrames(1));
    for (int i = 0; i < 3; ++i) {
        HeardSound heard;
        const auto source = sounds.systemAudio(48000, 2);
        source->start(heard.handler(), heard.endHandler());
        EXPECT_TRUE(heard.awaitFrames(1));
        const double stopped = hostClockSeconds();
        source->stop();
        const std::size_t frames = heard.frames();
        EXPECT_GT(frames, 0U);
        if (frames == 0) continue;
        const SoundBuffer last = heard.buffers().back();
        EXPECT_GT(last.hostSeconds + static_cast<double>(last.frames()) / 48000, stopped - kBound)
            << "what was heard before the stop has been handed over";
        EXPECT_EQ(heard.frames(), frames) << "nothing follows";
    }
}

}  // namespace
}  // namespace lumivastor
