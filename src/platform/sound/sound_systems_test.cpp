// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <initializer_list>
#include <mutex>
#include <string>
#include <vector>

#include "base/host_clock.h"
#include "base/recorder_error.h"
#include "platform/pipewire/pipewire_sound_system.h"
#include "platform/pulse/pulse_sound_system.h"
#include "support/await.h"
#include "support/beeper.h"
#include "support/heard_sound.h"
#include "support/pipewire_beeper.h"
#include "support/sound_rig.h"

// What every sound system does, each with a server of its own kind.

namespace lumivastor::platform {
namespace {

struct OverPulseAudio {
    using Rig = PulseRig;
    using System = pulse::PulseSoundSystem;
    using Beeper = lumivastor::Beeper;
    static constexpr const char* kName = "PulseAudio";
    static constexpr const char* kNobody = "Kein Tonserver gefunden.";
    static std::string address(const Rig& rig) { return rig.address(); }
    static std::string pulseAddress(const Rig& rig) { return rig.address(); }
};

struct OverPipeWire {
    using Rig = PipeWireRig;
    using System = pipewire::PipeWireSoundSystem;
    using Beeper = PipeWireBeeper;
    static constexpr const char* kName = "PipeWire";
    static constexpr const char* kNobody = "Kein PipeWire-Server gefunden.";
    static std::string address(const Rig& rig) { return rig.remote(); }
    static std::string pulseAddress(const Rig& rig) { return rig.pulseAddress(); }
};

struct BackendNames {
    template <typename Backend>
    static std::string GetName(int) {
        return Backend::kName;
    }
};

/// The latest state that a source has told.
class ToldState {
  public:
    SoundSource::StateHandler handler() {
        return [this](const InputState& state) {
            const std::lock_guard hold(lock_);
            latest_ = state;
        };
    }
    /// False when that state does not come.
    bool await(const InputState& expected) {
        return lumivastor::await([&] {
            const std::lock_guard hold(lock_);
            return latest_ == expected;
        });
    }

  private:
    std::mutex lock_;
    InputState latest_;  // guarded by lock_
};

const InputState kTestMicrophone{"testmic", "Testmikrofon", false, false};

template <typename Backend>
class SoundSystems : public testing::Test {};
using Backends = testing::Types<OverPulseAudio, OverPipeWire>;
TYPED_TEST_SUITE(SoundSystems, Backends, BackendNames);

TYPED_TEST(SoundSystems, SystemAudioIsHeardWhenItIsPlayed) {
    const typename TypeParam::Rig rig;
    typename TypeParam::System sounds(TypeParam::address(rig));
    const typename TypeParam::Beeper beeper(TypeParam::address(rig), "sysout");
    HeardSound heard;
    const auto source = sounds.systemAudio(48000, 2);
    source->start(heard.handler(), heard.endHandler());
    EXPECT_TRUE(heard.awaitBeeps(8));
    source->stop();
    expectInPlace(heard, beeper.beeps(), "monitor of a sink");
    // A server without priority may lose a cycle on a busy machine; what arrives in pieces would jump at each of them.
    EXPECT_LE(heard.jumps(), 2);
    EXPECT_TRUE(heard.ends().empty());
    for (const SoundBuffer& buffer : heard.buffers()) {
        ASSERT_EQ(buffer.sampleRate, 48000);
        ASSERT_EQ(buffer.channels, 2);
    }
}

TYPED_TEST(SoundSystems, MicrophoneIsHeardWhenItIsSpokenInto) {
    const typename TypeParam::Rig rig;
    typename TypeParam::System sounds(TypeParam::address(rig));
    const auto device = sounds.defaultMicrophone();
    ASSERT_TRUE(device);
    EXPECT_EQ(device->name, "Testmikrofon");
    EXPECT_EQ(device->channels, 1);
    EXPECT_FALSE(device->isExternal);
    const typename TypeParam::Beeper beeper(TypeParam::address(rig), "micfeed");
    HeardSound heard;
    const auto source = sounds.microphone(48000);
    source->start(heard.handler(), heard.endHandler());
    EXPECT_TRUE(heard.awaitBeeps(8));
    source->stop();
    expectInPlace(heard, beeper.beeps(), "microphone");
    for (const SoundBuffer& buffer : heard.buffers()) ASSERT_EQ(buffer.channels, 1);
}

TYPED_TEST(SoundSystems, AMutedMicrophoneIsTold) {
    const typename TypeParam::Rig rig;
    typename TypeParam::System sounds(TypeParam::address(rig));
    HeardSound heard;
    ToldState told;
    const auto source = sounds.microphone(48000);
    source->onState(told.handler());
    source->start(heard.handler(), heard.endHandler());
    EXPECT_TRUE(told.await(kTestMicrophone));
    const auto ask = [&](std::initializer_list<std::string> question) {
        askSoundServer(TypeParam::pulseAddress(rig), question);
    };
    InputState muted = kTestMicrophone;
    muted.isMuted = true;
    ask({"set-source-mute", "testmic", "1"});
    EXPECT_TRUE(told.await(muted));
    ask({"set-source-mute", "testmic", "0"});
    EXPECT_TRUE(told.await(kTestMicrophone));
    ask({"set-source-volume", "testmic", "0"});
    EXPECT_TRUE(told.await(muted)) << "it does not matter by which control";
    source->stop();
}

TYPED_TEST(SoundSystems, AChosenMicrophoneIsRecordedWhileItIsThere) {
    const typename TypeParam::Rig rig;
    PluggedMicrophone plugged(TypeParam::pulseAddress(rig));
    plugged.plugIn();
    typename TypeParam::System sounds(TypeParam::address(rig));
    ASSERT_TRUE(await([&] {
        const auto all = sounds.microphones();
        return std::any_of(all.begin(), all.end(), [](const auto& each) { return each.id == "usbmic"; });
    }));
    const auto all = sounds.microphones();
    EXPECT_EQ(all.size(), 2u) << "monitors are none";
    for (const CaptureDevice& each : all) {
        EXPECT_EQ(each.name, each.id == "usbmic" ? "Funkmikrofon" : "Testmikrofon");
        EXPECT_EQ(each.channels, 1) << each.id;
    }
    const InputState usb{"usbmic", "Funkmikrofon", false, false};
    HeardSound heard;
    ToldState told;
    const auto source = sounds.input(48000, {"usbmic", false});
    source->onState(told.handler());
    source->start(heard.handler(), heard.endHandler());
    EXPECT_TRUE(told.await(usb));
    plugged.plugOut();
    EXPECT_TRUE(told.await(kTestMicrophone)) << "the default takes over";
    plugged.plugIn();
    EXPECT_TRUE(told.await(usb)) << "it is followed when it is back";
    source->stop();
}

TYPED_TEST(SoundSystems, OnlyTheChosenInputIsRecordedWhereNoOtherWillDo) {
    const typename TypeParam::Rig rig;
    typename TypeParam::System sounds(TypeParam::address(rig));
    const auto source = sounds.input(48000, {"usbmic", true});
    EXPECT_THROW(source->start([](const SoundBuffer&) {}, nullptr), RecorderError);
}

TYPED_TEST(SoundSystems, OtherRatesAndChannelsAreTheServersWork) {
    const typename TypeParam::Rig rig;
    typename TypeParam::System sounds(TypeParam::address(rig));
    const typename TypeParam::Beeper beeper(TypeParam::address(rig), "sysout");
    HeardSound heard;
    const auto source = sounds.systemAudio(44100, 1);
    source->start(heard.handler(), heard.endHandler());
    EXPECT_TRUE(heard.awaitBeeps(4));
    source->stop();
    expectInPlace(heard, beeper.beeps(), "at 44100");
    EXPECT_EQ(heard.buffers().front().sampleRate, 44100);
    EXPECT_EQ(heard.buffers().front().channels, 1);
}

TYPED_TEST(SoundSystems, GoesOnWhenTheServerComesBack) {
    typename TypeParam::Rig rig;
    typename TypeParam::System sounds(TypeParam::address(rig));
    HeardSound heard;
    const auto source = sounds.systemAudio(48000, 2);
    std::atomic<int> returns = 0;
    source->onReturn([&returns] { ++returns; });
    source->start(heard.handler(), heard.endHandler());
    {
        const typename TypeParam::Beeper beeper(TypeParam::address(rig), "sysout");
        EXPECT_TRUE(heard.awaitBeeps(3));
        EXPECT_EQ(returns, 0);
        rig.kill();
    }
    EXPECT_TRUE(heard.awaitEnd());
    const double gone = hostClockSeconds();
    heard.clear();
    rig.start();
    const typename TypeParam::Beeper beeper(TypeParam::address(rig), "sysout");
    EXPECT_TRUE(heard.awaitBeeps(4));
    source->stop();
    EXPECT_TRUE(heard.ends().empty()) << "told once";
    EXPECT_EQ(returns, 1);
    ASSERT_FALSE(heard.buffers().empty());
    EXPECT_GT(heard.buffers().front().hostSeconds, gone - 0.5);
    expectInPlace(heard, beeper.beeps(), "after a restart");
}

TYPED_TEST(SoundSystems, EndIsToldInGerman) {
    typename TypeParam::Rig rig;
    typename TypeParam::System sounds(TypeParam::address(rig));
    HeardSound heard;
    const auto source = sounds.microphone(48000);
    source->start(heard.handler(), heard.endHandler());
    rig.kill();
    EXPECT_TRUE(heard.awaitEnd());
    const double before = hostClockSeconds();
    source->stop();
    // Real time, because the server is a real one: its answer would never come.
    EXPECT_LT(hostClockSeconds() - before, kPatience) << "it does not wait for the server";
    EXPECT_EQ(heard.ends(), std::vector<std::string>{TypeParam::kNobody});
}

TYPED_TEST(SoundSystems, FollowsTheDefaultSink) {
    typename TypeParam::Rig rig;
    typename TypeParam::System sounds(TypeParam::address(rig));
    HeardSound heard;
    const auto source = sounds.systemAudio(48000, 2);
    source->start(heard.handler(), heard.endHandler());
    {
        const typename TypeParam::Beeper before(TypeParam::address(rig), "sysout");
        EXPECT_TRUE(heard.awaitBeeps(2));
    }
    heard.clear();
    rig.setDefaultSink("headset");
    const typename TypeParam::Beeper beeper(TypeParam::address(rig), "headset");
    EXPECT_TRUE(heard.awaitBeeps(3));
    source->stop();
    EXPECT_TRUE(heard.ends().empty());
    expectInPlace(heard, beeper.beeps(), "behind a change of the default");
}

TYPED_TEST(SoundSystems, StopsAndStartsAnew) {
    const typename TypeParam::Rig rig;
    typename TypeParam::System sounds(TypeParam::address(rig));
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
        // A server without priority hands a cycle over later than it should.
        EXPECT_GT(last.hostSeconds + static_cast<double>(last.frames()) / 48000, stopped - 0.2)
            << "what was heard before the stop has been handed over";
        EXPECT_EQ(heard.frames(), frames) << "nothing follows";
    }
}

}  // namespace
}  // namespace lumivastor::platform
