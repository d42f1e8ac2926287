#include "platform/pipewire/pipewire_sound_system.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <string>
#include <vector>

#include "base/host_clock.h"
#include "base/recorder_error.h"
#include "platform/pulse/pulse_sound_system.h"
#include "support/heard_sound.h"
#include "support/pipewire_beeper.h"
#include "support/sound_rig.h"
#include "support/temporary_folder.h"

namespace lumivastor {
namespace {

// A flash and a beep of the same moment have to lie this close.
constexpr double kBound = 0.020;

void expectInPlace(const HeardSound& heard, const PipeWireBeeper& beeper, const char* what) {
    const auto errors = beepErrors(heard.beeps(), beeper.beeps());
    std::cout << what << ": " << describeErrors(errors) << "\n";
    EXPECT_FALSE(errors.empty());
    for (const double error : errors) EXPECT_LT(std::abs(error), kBound);
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

TEST(PipeWireSound, systemAudioIsHeardWhenItIsPlayed) {
    const PipeWireRig rig;
    PipeWireSoundSystem sounds(rig.remote());
    const PipeWireBeeper beeper(rig.remote(), "sysout");
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

TEST(PipeWireSound, microphoneIsHeardWhenItIsSpokenInto) {
    const PipeWireRig rig;
    PipeWireSoundSystem sounds(rig.remote());
    const auto device = sounds.defaultMicrophone();
    ASSERT_TRUE(device);
    EXPECT_EQ(device->name, "Testmikrofon");
    EXPECT_EQ(device->channels, 1);
    EXPECT_FALSE(device->isExternal);
    const PipeWireBeeper beeper(rig.remote(), "micfeed");
    HeardSound heard;
    const auto source = sounds.microphone(48000);
    source->start(heard.handler(), heard.endHandler());
    EXPECT_TRUE(heard.awaitBeeps(8));
    source->stop();
    expectInPlace(heard, beeper, "microphone");
    for (const SoundBuffer& buffer : heard.buffers()) ASSERT_EQ(buffer.channels, 1);
}

TEST(PipeWireSound, otherRatesAndChannelsAreTheServersWork) {
    const PipeWireRig rig;
    PipeWireSoundSystem sounds(rig.remote());
    const PipeWireBeeper beeper(rig.remote(), "sysout");
    HeardSound heard;
    const auto source = sounds.systemAudio(44100, 1);
    source->start(heard.handler(), heard.endHandler());
    EXPECT_TRUE(heard.awaitBeeps(4));
    source->stop();
    expectInPlace(heard, beeper, "at 44100");
    EXPECT_EQ(heard.buffers().front().sampleRate, 44100);
    EXPECT_EQ(heard.buffers().front().channels, 1);
}

TEST(PipeWireSound, isHeardInPlaceOverPulseAudiosProtocolToo) {
    const PipeWireRig rig;
    PulseSoundSystem sounds(rig.pulseAddress());
    const auto server = sounds.probe();
    ASSERT_TRUE(server);
    EXPECT_TRUE(server->isPipeWire);
    for (const bool isMicrophone : {false, true}) {
        const PipeWireBeeper beeper(rig.remote(), isMicrophone ? "micfeed" : "sysout");
        HeardSound heard;
        const auto source = isMicrophone ? sounds.microphone(48000) : sounds.systemAudio(48000, 2);
        source->start(heard.handler(), heard.endHandler());
        EXPECT_TRUE(heard.awaitBeeps(10));
        source->stop();
        expectInPlace(heard, beeper,
                      isMicrophone ? "microphone, PulseAudio's protocol" : "monitor, PulseAudio's protocol");
    }
}

TEST(PipeWireSound, goesOnWhenTheServerComesBack) {
    PipeWireRig rig;
    PipeWireSoundSystem sounds(rig.remote());
    HeardSound heard;
    const auto source = sounds.systemAudio(48000, 2);
    source->start(heard.handler(), heard.endHandler());
    {
        const PipeWireBeeper beeper(rig.remote(), "sysout");
        EXPECT_TRUE(heard.awaitBeeps(3));
        rig.kill();
    }
    EXPECT_TRUE(heard.awaitEnd());
    const double gone = hostClockSeconds();
    heard.clear();
    rig.start();
    const PipeWireBeeper beeper(rig.remote(), "sysout");
    EXPECT_TRUE(heard.awaitBeeps(4));
    source->stop();
    EXPECT_TRUE(heard.ends().empty()) << "told once";
    ASSERT_FALSE(heard.buffers().empty());
    EXPECT_GT(heard.buffers().front().hostSeconds, gone - 0.5);
    expectInPlace(heard, beeper, "after a restart");
}

TEST(PipeWireSound, endIsToldInGerman) {
    PipeWireRig rig;
    PipeWireSoundSystem sounds(rig.remote());
    HeardSound heard;
    const auto source = sounds.microphone(48000);
    source->start(heard.handler(), heard.endHandler());
    rig.kill();
    EXPECT_TRUE(heard.awaitEnd());
    const double before = hostClockSeconds();
    source->stop();
    EXPECT_LT(hostClockSeconds() - before, 10) << "it does not wait for the server";
    EXPECT_EQ(heard.ends(), std::vector<std::string>{"Kein PipeWire-Server gefunden."});
}

TEST(PipeWireSound, followsTheDefaultSink) {
    PipeWireRig rig;
    PipeWireSoundSystem sounds(rig.remote());
    HeardSound heard;
    const auto source = sounds.systemAudio(48000, 2);
    source->start(heard.handler(), heard.endHandler());
    {
        const PipeWireBeeper before(rig.remote(), "sysout");
        EXPECT_TRUE(heard.awaitBeeps(2));
    }
    heard.clear();
    rig.setDefaultSink("headset");
    const PipeWireBeeper beeper(rig.remote(), "headset");
    EXPECT_TRUE(heard.awaitBeeps(3));
    source->stop();
    EXPECT_TRUE(heard.ends().empty());
    expectInPlace(heard, beeper, "behind a change of the default");
}

TEST(PipeWireSound, withoutAServerSaysSo) {
    const TemporaryFolder folder;
    PipeWireSoundSystem sounds((folder / "nobody").string());
    EXPECT_FALSE(sounds.hasSound());
    EXPECT_FALSE(sounds.defaultMicrophone());
    EXPECT_EQ(failure(*sounds.systemAudio(48000, 2)), "Kein PipeWire-Server gefunden.");
    EXPECT_EQ(failure(*sounds.microphone(48000)), "Kein PipeWire-Server gefunden.");
}

TEST(PipeWireSound, stopsAndStartsAnew) {
    const PipeWireRig rig;
    PipeWireSoundSystem sounds(rig.remote());
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
